#include "kvx/utility/LocationHelper.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Environment.h"
#include "kvx/platform/FileSystem.h"
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

// Where the resource root lies from the folder of the binary that asks: beside it in the build tree, and in
// the installed layout as seen from the library folder or from the program folder (set by the build).
constexpr const wchar_t* kResourceRootsFromBinary[] = {L"res", KVX_RESOURCE_ROOT_FROM_LIBDIR,
                                                       KVX_RESOURCE_ROOT_FROM_BINDIR};

// The folder under `root` whose name is `language` without regard to case; `root` + `language` when
// there is none, so that a failed load names the folder that was looked for.
std::wstring LanguageFolder(const std::wstring& root, const std::wstring& language) {
  const std::wstring exact = kvx::platform::JoinPath(root, language);
  std::error_code error;
  if (std::filesystem::is_directory(exact, error)) return exact;
  for (const auto& entry : std::filesystem::directory_iterator(root, error)) {
    const std::wstring name = entry.path().filename().wstring();
    if (entry.is_directory(error) && kvx::platform::EqualsNoCase(name, language)) {
      return kvx::platform::JoinPath(root, name);
    }
  }
  return exact;
}

}  // namespace

std::wstring CLocationHelper::GetResourceRoot() {
  if (auto root = kvx::platform::GetEnvWide(L"KVX_RESOURCE_ROOT"); root && !root->empty()) return *root;
  // Resolved from this code's own binary, so the module finds the folder installed beside it.
  const std::wstring self = kvx::platform::PathOfBinaryContaining(reinterpret_cast<const void*>(&GetResourceRoot));
  const std::wstring folder = kvx::platform::ParentPath(self);
  for (const wchar_t* relative : kResourceRootsFromBinary) {
    const std::wstring root = kvx::platform::JoinPath(folder, relative);
    if (kvx::platform::DirectoryExists(root)) return root;
  }
  return kvx::platform::JoinPath(folder, L"res");
}

std::wstring CLocationHelper::GetLocalizedResPath() {
  return LanguageFolder(GetResourceRoot(), CLanguageUtil::GetKorvexLang());
}

std::wstring CLocationHelper::GetDefaultResPath() { return LanguageFolder(GetResourceRoot(), L"english"); }

std::wstring CLanguageUtil::GetKorvexLang() {
  std::wstring language = kvx::platform::HostUiLanguage();
  if (language.empty()) language = kvx::platform::GetEnvWide(L"KVX_LANGUAGE").value_or(L"");
  if (!language.empty()) {
    const std::wstring known = KnownLanguage(language);
    return known.empty() ? language : known;
  }
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

std::vector<std::wstring> CLanguageUtil::LanguageNames() {
  std::vector<std::wstring> names;
  for (const auto& entry : kLanguages) names.emplace_back(entry.name);
  return names;
}

std::wstring CLanguageUtil::KnownLanguage(const std::wstring& name) {
  // The name table maps an unknown name to English, so a name is known when it comes back from it.
  const std::wstring known = LanguageIdToName(LanguageNameToId(name));
  return kvx::platform::EqualsNoCase(known, name) ? known : std::wstring();
}

std::vector<std::wstring> CLanguageUtil::InstalledLanguages() {
  const std::wstring root = CLocationHelper::GetResourceRoot();
  const std::wstring library = kvx::platform::LibraryFileName(L"KVXIMRulesResu");
  std::vector<std::wstring> installed;
  for (const std::wstring& language : LanguageNames()) {
    std::error_code error;
    if (std::filesystem::is_regular_file(kvx::platform::JoinPath(LanguageFolder(root, language), library), error)) {
      installed.push_back(language);
    }
  }
  std::ranges::sort(installed);
  return installed;
}

std::wstring CLanguageUtil::UnknownLanguageMessage(const std::wstring& name) {
  std::wstring message = L"unknown language \"" + name + L"\"; installed languages:";
  const std::vector<std::wstring> installed = InstalledLanguages();
  if (installed.empty()) return message + L" none (no resource library under " + CLocationHelper::GetResourceRoot() + L")";
  for (std::size_t i = 0; i < installed.size(); ++i) message += (i == 0 ? L" " : L", ") + installed[i];
  return message;
}
