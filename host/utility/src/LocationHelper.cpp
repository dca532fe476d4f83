#include "kvx/utility/LocationHelper.h"

#include <filesystem>
#include <system_error>

#include "kvx/params/ValueUtils.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Environment.h"
#include "kvx/platform/FileSystem.h"
#include "kvx/platform/Locale.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Text.h"

namespace {
// Where the resource root lies from the folder of the binary that asks: beside it in the build tree, and in
// the installed layout as seen from the library folder or from the program folder (set by the build).
constexpr const wchar_t* kResourceRootsFromBinary[] = {L"res", KVX_RESOURCE_ROOT_FROM_LIBDIR,
                                                       KVX_RESOURCE_ROOT_FROM_BINDIR};

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
  const std::wstring folder = kvx::platform::ParentPath(self);
  for (const wchar_t* relative : kResourceRootsFromBinary) {
    const std::wstring root = kvx::platform::JoinPath(folder, relative);
    if (kvx::platform::DirectoryExists(root)) return root;
  }
  return kvx::platform::JoinPath(folder, L"res");
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
