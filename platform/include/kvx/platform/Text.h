#pragma once
// Conversions between the wide texts used inside the system and UTF-8 at its edges.
#include <string>
#include <string_view>

#include "kvx/platform/Export.h"

namespace kvx::platform {

// Decodes UTF-8; malformed sequences become U+FFFD, never an error.
KVX_PLATFORM_API std::wstring Widen(std::string_view utf8);
// Encodes as UTF-8; unpaired surrogates become U+FFFD.
KVX_PLATFORM_API std::string Narrow(std::wstring_view wide);
// Case-insensitive equality in the sense of a wide CompareNoCase (per-character towlower).
KVX_PLATFORM_API bool EqualsNoCase(std::wstring_view a, std::wstring_view b);

}  // namespace kvx::platform
