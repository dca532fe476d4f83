#include "kvx/utility/LocationHelper.h"

#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Environment.h"
#include "kvx/platform/Locale.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Text.h"

namespace {
struct LanguageEntry {
  const wchar_t* name;
  unsigned id;
};
constexpr LanguageEntry kLanguages[] = {
    {L"chinese-simplified", 2052}, {L"chinese", 1028}, {L"czech", 1029},  {L"english", 1033},
    {L"french", 1036},             {L"german", 1031},  {L"italian", 1040}, {L"japanese", 1041},
    {L"korean", 1042},             {L"polish", 1045},  {L"russian", 1049}, {L"spanish", 1034},
    {L"portuguese-brazilian", 1046},
};
}  // namespace

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
  return LanguageIdToName(kvx::platform::UserDefaultLangId());
}

unsigned CLanguageUtil::LanguageNameToId(const std::wstring& name) {
  for (const auto& entry : kLanguages) {
    if (kvx::platform::EqualsNoCase(name, entry.name)) return entry.id;
  }
  return 1033;
}

std::wstring CLanguageUtil::LanguageIdToName(unsigned id) {
  for (const auto& entry : kLanguages) {
    if (entry.id == id) return entry.name;
  }
  return L"english";
}
