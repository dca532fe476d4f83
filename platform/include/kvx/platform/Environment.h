#pragma once
// Environment variables.
#include <optional>
#include <string>

#include "kvx/platform/Export.h"

namespace kvx::platform {

// The narrow value of `name`, or nothing when the variable does not exist.
KVX_PLATFORM_API std::optional<std::string> GetEnvNarrow(const char* name);
// The value of `name` as wide text, or nothing when the variable does not exist.
KVX_PLATFORM_API std::optional<std::wstring> GetEnvWide(const wchar_t* name);
// True exactly when `name` exists and its value equals `expected` (case-sensitive).
KVX_PLATFORM_API bool EnvEquals(const char* name, const char* expected);

}  // namespace kvx::platform
