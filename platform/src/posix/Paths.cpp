#include "kvx/platform/Paths.h"

namespace kvx::platform {

wchar_t PathSeparator() { return L'/'; }

std::wstring JoinPath(const std::wstring& folder, const std::wstring& name) {
  return folder + PathSeparator() + name;
}

std::wstring ParentPath(const std::wstring& path) {
  const auto pos = path.find_last_of(PathSeparator());
  return pos == std::wstring::npos ? std::wstring() : path.substr(0, pos);
}

std::wstring FileNamePart(const std::wstring& path) {
  const auto pos = path.find_last_of(L"/\\");
  return pos == std::wstring::npos ? path : path.substr(pos + 1);
}

}  // namespace kvx::platform
