#include "kvx/platform/Environment.h"

#include <cstdlib>
#include <cstring>

#include "kvx/platform/Text.h"

namespace kvx::platform {

std::optional<std::string> GetEnvNarrow(const char* name) {
  const char* value = std::getenv(name);
  if (!value) return std::nullopt;
  return std::string(value);
}

std::optional<std::wstring> GetEnvWide(const wchar_t* name) {
  const char* value = std::getenv(Narrow(name).c_str());
  if (!value) return std::nullopt;
  return Widen(value);
}

bool EnvEquals(const char* name, const char* expected) {
  const char* value = std::getenv(name);
  return value && std::strcmp(value, expected) == 0;
}

}  // namespace kvx::platform
