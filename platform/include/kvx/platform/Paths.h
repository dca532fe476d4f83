#pragma once
// Path helpers that follow the platform's separator.
#include <string>

#include "kvx/platform/Export.h"

namespace kvx::platform {

// The separator between folder and file names on this platform.
KVX_PLATFORM_API wchar_t PathSeparator();
// `folder` + separator + `name`; `folder` is taken as given (no separator is removed).
KVX_PLATFORM_API std::wstring JoinPath(const std::wstring& folder, const std::wstring& name);
// The text before the last separator; empty when there is none.
KVX_PLATFORM_API std::wstring ParentPath(const std::wstring& path);
// The text after the last separator (either '/' or '\\'); the whole text when there is none.
KVX_PLATFORM_API std::wstring FileNamePart(const std::wstring& path);

}  // namespace kvx::platform
