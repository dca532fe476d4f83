// A minimal host of the rule module: load it, list its rules, load a rule set, save it.
//   example-host [RULESET.xml]   (without a file, a factory rule set is written and loaded again)
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "kvx/framework/KvxRule.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/framework/RulePointerArray.h"
#include "kvx/module/KVXIMRulesExports.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Text.h"

namespace {

using kvx::platform::Narrow;
using kvx::platform::Widen;

struct Module {
  std::unique_ptr<kvx::platform::DynamicLibrary> library;
  SetXMLDocFn SetXMLDoc = nullptr;
  GetRuleFn GetRule = nullptr;
  GetAllRulesFn GetAllRules = nullptr;
  DeleteRuleFn DeleteRule = nullptr;
};

bool LoadModule(Module& module) {
  const std::wstring path =
      kvx::platform::JoinPath(Widen(KVXIM_MODULE_DIR), kvx::platform::LibraryFileName(kvx::module::kModuleLibraryBaseName));
  std::wstring error;
  module.library = kvx::platform::DynamicLibrary::Load(path, &error);
  if (!module.library) {
    std::fprintf(stderr, "example-host: %s\n", Narrow(error).c_str());
    return false;
  }
  module.SetXMLDoc = module.library->Function<SetXMLDocFn>("SetXMLDoc");
  module.GetRule = module.library->Function<GetRuleFn>("GetRule");
  module.GetAllRules = module.library->Function<GetAllRulesFn>("GetAllRules");
  module.DeleteRule = module.library->Function<DeleteRuleFn>("DeleteRule");
  return module.SetXMLDoc && module.GetRule && module.GetAllRules && module.DeleteRule;
}

// Lists the rules of a fresh rule set and writes them as one to `file`.
bool WriteFactoryRuleSet(Module& module, KvxXMLDocument& document, const std::string& file) {
  RulePointerArray rules;
  module.GetAllRules(&rules);
  auto root = document.CreateRootNode(L"RuleSet");
  for (int i = 0; i < rules.GetSize(); ++i) {
    CKvxRule* rule = rules.GetAt(i);
    std::printf("%d  %s\n", rule->m_iRuleId, Narrow(rule->m_csRuleName).c_str());
    if (auto node = rule->GetXML()) root->AppendNode(node.get());
    module.DeleteRule(&rule);
  }
  std::wstring error;
  if (document.SaveFile(Widen(file), error)) return true;
  std::fprintf(stderr, "example-host: %s\n", Narrow(error).c_str());
  return false;
}

// Loads `file`, builds each rule from its node, and saves the rule set again.
bool RoundTrip(Module& module, KvxXMLDocument& document, const std::string& file) {
  std::wstring error;
  if (!document.LoadFile(Widen(file), error)) {
    std::fprintf(stderr, "example-host: %s\n", Narrow(error).c_str());
    return false;
  }
  auto root = document.GetRootNode();
  const auto nodes = root->GetNodeList(L"Rule");
  int built = 0;
  for (int i = 0; i < nodes->GetSize(); ++i) {
    const auto node = nodes->GetItem(i);
    CKvxRule* rule = nullptr;
    module.GetRule(node.get(), &rule);
    if (!rule) continue;
    ++built;
    if (auto saved = rule->GetXML()) root->ReplaceChild(saved.get(), node.get());
    module.DeleteRule(&rule);
  }
  std::printf("loaded %d of %d rules from %s\n", built, nodes->GetSize(), file.c_str());
  if (document.SaveFile(Widen(file), error)) return built == nodes->GetSize();
  std::fprintf(stderr, "example-host: %s\n", Narrow(error).c_str());
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  Module module;
  if (!LoadModule(module)) return 1;
  KvxXMLDocument document;
  module.SetXMLDoc(&document);
  const std::string file = argc > 1 ? argv[1] : "example-rules.xml";
  const bool ok = (argc > 1 || WriteFactoryRuleSet(module, document, file)) && RoundTrip(module, document, file);
  module.SetXMLDoc(nullptr);
  return ok ? 0 : 1;
}
