#include "kvx/params/ResourceText.h"

#include "kvx/platform/Resources.h"

namespace kvx::params {

namespace {
// The library-wide state the host protocol demands (one document, one pair of resource libraries per
// library); changed only through ModuleContextScope.
constinit const ModuleContext kNoContext{};
constinit const ModuleContext* g_installed = nullptr;
}  // namespace

const ModuleContext& Module() { return g_installed ? *g_installed : kNoContext; }

ModuleContextScope::ModuleContextScope(const ModuleContext& context) : previous_(g_installed) {
  g_installed = &context;
}

ModuleContextScope::~ModuleContextScope() { g_installed = previous_; }

std::wstring LoadLocalizedString(int id) {
  kvx::platform::ResourceScope scope(Module().localizedResources);
  return kvx::platform::LoadResString(id);
}

std::wstring LoadDefaultString(int id) {
  kvx::platform::ResourceScope scope(Module().defaultResources);
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
