// The module's seven exports. Each runs with the localized resource library current (except the three
// that load no text) and lets no exception out.
#include "kvx/module/KVXIMRulesExports.h"

#include "DialogLibrary.h"
#include "kvx/module/RuleCatalogue.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/framework/RulePointerArray.h"
#include "kvx/module/KVXIMRulesApp.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/params/ResourceText.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"
#include "kvx/res/StringIds.h"
#include "kvx/rules/KVXIMRuleBase.h"

#define KVX_MODULE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {
// The application object lives as long as the library is loaded.
CKVXIMRulesApp theApp;
kvx::platform::ModuleApplicationLifetime theAppLifetime(theApp);

// Every rule the module hands out opens its dialogs through this service, which loads the dialog library
// on the first dialog: a host that opens none loads no toolkit.
kvx::module::DialogLibrary theDialogs(kvx::params::Module(), theApp.m_csLanguage);

const kvx::platform::ResourceLibrary* Localized() { return kvx::params::Module().localizedResources; }

std::wstring ModuleAttribute(KvxXMLNode& node) {
  std::wstring module;
  node.GetAttributeValue(L"Module", module);
  return module;
}

// Runs `body`, swallowing anything it throws: no exception may cross into the host.
template <typename Body>
void Guarded(Body&& body) noexcept {
  try {
    body();
  } catch (...) {
  }
}
}  // namespace

KVX_MODULE_EXPORT void SetXMLDoc(KvxXMLDocument* doc) {
  Guarded([&] {
    if (CKVXIMRulesApp* app = GetModuleApp()) app->Context().xmlDocument = doc;
    if (CommonRulesSetXMLDocFn forward = CommonRulesSetXMLDoc()) forward(doc);
  });
}

KVX_MODULE_EXPORT void SetDBModuleList(const KvxStringList* modules) {
  Guarded([&] {
    CKVXIMRulesApp* app = GetModuleApp();
    if (!app) return;
    app->m_dbModuleList.clear();
    if (modules) app->m_dbModuleList.assign(modules->begin(), modules->end());
  });
}

KVX_MODULE_EXPORT void GetModuleName(std::wstring* out) {
  Guarded([&] {
    kvx::platform::ResourceScope scope(Localized());
    if (out) *out = kvx::platform::LoadResString(kvx::res::kModuleName);
  });
}

KVX_MODULE_EXPORT void GetModuleSummary(std::wstring* out) {
  Guarded([&] {
    kvx::platform::ResourceScope scope(Localized());
    if (out) *out = kvx::platform::LoadResString(kvx::res::kModuleSummary);
  });
}

KVX_MODULE_EXPORT void GetRule(KvxXMLNode* ruleNode, CKvxRule** out) {
  Guarded([&] {
    if (!ruleNode || !out) return;
    if (!kvx::platform::EqualsNoCase(ModuleAttribute(*ruleNode), kvx::rules::kModuleKey)) return;
    kvx::platform::ResourceScope scope(Localized());
    std::wstring name;
    ruleNode->GetAttributeValue(L"Name", name);
    if (!kvx::platform::EqualsNoCase(ModuleAttribute(*ruleNode), kvx::rules::kModuleKey)) return;
    const std::wstring moduleDisplayName = kvx::platform::LoadResString(kvx::res::kRuleModuleName);
    kvx::module::BuildRuleByName(name, moduleDisplayName, ruleNode, out);
    // Also when *out was set on entry: the object handed in reads the node. Kept as hosts rely on it.
    if (*out) {
      (*out)->PopulateParametersFromXML(ruleNode);
      (*out)->SetDialogService(&theDialogs);
    }
  });
}

KVX_MODULE_EXPORT void GetAllRules(RulePointerArray* rules) {
  Guarded([&] {
    if (!GetModuleApp() || !rules) return;
    kvx::platform::ResourceScope scope(Localized());
    const std::wstring moduleDisplayName = kvx::platform::LoadResString(kvx::res::kRuleModuleName);
    const int first = rules->GetSize();
    kvx::module::BuildAllRules(moduleDisplayName, *rules);
    for (int i = first; i < rules->GetSize(); ++i) {
      if (CKvxRule* rule = rules->GetAt(i)) rule->SetDialogService(&theDialogs);
    }
  });
}

KVX_MODULE_EXPORT void DeleteRule(CKvxRule** rule) {
  Guarded([&] {
    if (!rule || !*rule) return;
    delete *rule;
    *rule = nullptr;
  });
}
