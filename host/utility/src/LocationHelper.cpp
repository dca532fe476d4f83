#include "kvx/utility/LocationHelper.h"

#include "kvx/params/ValueUtils.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Environment.h"
#include "kvx/platform/Locale.h"
#include "kvx/platform/Paths.h"

std::wstring CLocationHelper::GetResourceRoot() {
  if (auto root = kvx::platform::GetEnvWide(L"KVX_RESOURCE_ROOT"); root && !root->empty()) return *root;
  // Resolved from this code's own binary, so the module finds the folder installed beside it.
  const std::wstring self = kvx::platform::PathOfBinaryContaining(reinterpret_cast<const void*>(&GetResourceRoot));
  return kvx::platform::JoinPath(kvx::platform::ParentPath(self), L"res");
}

std::wstring CLocationHelper::GetLocalizedResPath() {
  return kvx::platform::JoinPath(GetResourceRoot(), CLanguageUtil::GetKorvexLang());
}

std::wstring CLocationHelper::GetDefaultResPath() { return kvx::platform::JoinPath(GetResourceRoot(), L"english"); }

std::wstring CLanguageUtil::GetKorvexLang() {
  if (auto language = kvx::platform::GetEnvWide(L"KVX_LANGUAGE"); language && !language->empty()) return *language;
  return kvx::params::LanguageIdToName(kvx::platform::UserDefaultLangId());
}
