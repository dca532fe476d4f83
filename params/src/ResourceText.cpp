#include "kvx/params/ResourceText.h"

#include "kvx/platform/Resources.h"

namespace kvx::params {

namespace {
const kvx::platform::ResourceLibrary* g_localized = nullptr;
const kvx::platform::ResourceLibrary* g_english = nullptr;
}  // namespace

const kvx::platform::ResourceLibrary* LocalizedResources() { return g_localized; }
const kvx::platform::ResourceLibrary* DefaultResources() { return g_english; }

void RegisterModuleResources(const kvx::platform::ResourceLibrary* localized,
                             const kvx::platform::ResourceLibrary* english) {
  g_localized = localized;
  g_english = english;
}

std::wstring LoadLocalizedString(int id) {
  kvx::platform::ResourceScope scope(g_localized);
  return kvx::platform::LoadResString(id);
}

std::wstring LoadDefaultString(int id) {
  kvx::platform::ResourceScope scope(g_english);
  return kvx::platform::LoadResString(id);
}

std::wstring FormatFallback(const std::wstring& format, std::initializer_list<std::wstring> args) {
  std::wstring text = format;
  const wchar_t* separator = L" (";
  for (const auto& arg : args) {
    text += separator + arg;
    separator = L", ";
  }
  if (args.size() > 0) text += L")";
  return text;
}

}  // namespace kvx::params
