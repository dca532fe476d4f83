#include "kvx/params/ResourceText.h"

#include "kvx/platform/Resources.h"

namespace kvx::params {

namespace {
ModuleContext g_context;
}  // namespace

ModuleContext& Module() { return g_context; }

std::wstring LoadLocalizedString(int id) {
  kvx::platform::ResourceScope scope(g_context.localizedResources);
  return kvx::platform::LoadResString(id);
}

std::wstring LoadDefaultString(int id) {
  kvx::platform::ResourceScope scope(g_context.defaultResources);
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
