#include "kvx/utility/LocationHelper.h"

#include <filesystem>
#include <system_error>

#include "kvx/params/ValueUtils.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Environment.h"
#include "kvx/platform/Locale.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Text.h"

namespace {
// The entry of `folder` named `name` without regard to case ("GERMAN" finds "german"); `name` itself when
// there is none, so that the caller's load fails as it would have.
std::wstring EntryNamedNoCase(const std::wstring& folder, const std::wstring& name) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(kvx::platform::Narrow(folder), error)) {
    const std::wstring candidate = kvx::platform::Widen(entry.path().filename().string());
    if (kvx::platform::EqualsNoCase(candidate, name)) return candidate;
  }
  return name;
}
}  // namespace

std::wstring CLocationHelper::GetResourceRoot() {
  if (auto root = kvx::platform::GetEnvWide(L"KVX_RESOURCE_ROOT"); root && !root->empty()) return *root;
  // Resolved from this code's own binary, so the module finds the folder installed beside it.
  const std::wstring self = kvx::platform::PathOfBinaryContaining(reinterpret_cast<const void*>(&GetResourceRoot));
  return kvx::platform::JoinPath(kvx::platform::ParentPath(self), L"res");
}

std::wstring CLocationHelper::GetLocalizedResPath() {
  const std::wstring root = GetResourceRoot();
  return kvx::platform::JoinPath(root, EntryNamedNoCase(root, CLanguageUtil::GetKorvexLang()));
}

std::wstring CLocationHelper::GetDefaultResPath() { return kvx::platform::JoinPath(GetResourceRoot(), L"english"); }

std::wstring CLanguageUtil::GetKorvexLang() {
  if (std::wstring chosen = kvx::platform::HostUiLanguage(); !chosen.empty()) return chosen;
  if (auto language = kvx::platform::GetEnvWide(L"KVX_LANGUAGE"); language && !language->empty()) return *language;
  return kvx::params::LanguageIdToName(kvx::platform::UserDefaultLangId());
}
