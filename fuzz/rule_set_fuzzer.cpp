// A rule-set document through the module's exports, as a host uses them: load the text, build every
// rule of its "Rule" elements, write the rules back into a fresh rule set and save it, then load that
// save and do it again. Any document may be refused; a document the module saved must come back the
// same, so the second save has to equal the first.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "kvx/framework/KvxRule.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/module/KVXIMRulesExports.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Text.h"

namespace {

struct Module {
  std::unique_ptr<kvx::platform::DynamicLibrary> library;
  KvxXMLDocument document;
  GetRuleFn GetRule = nullptr;
  DeleteRuleFn DeleteRule = nullptr;

  Module() {
    std::wstring error;
    library = kvx::platform::DynamicLibrary::Load(kvx::platform::Widen(KVX_BIN_DIR "/libKVXIMRulesu.so"), &error);
    if (!library) {
      std::fprintf(stderr, "rule_set_fuzzer: %s\n", kvx::platform::Narrow(error).c_str());
      std::abort();
    }
    GetRule = library->Function<GetRuleFn>("GetRule");
    DeleteRule = library->Function<DeleteRuleFn>("DeleteRule");
    library->Function<SetXMLDocFn>("SetXMLDoc")(&document);
  }
};

// The module stays loaded for the whole run, as in a host.
Module& TheModule() {
  static Module* module = new Module();
  return *module;
}

// Loads `text` and saves the rules it describes; false when the text is no rule set.
bool SaveRules(Module& module, const std::string& text, std::string& saved) {
  std::wstring error;
  if (!module.document.LoadText(text, error)) return false;
  auto root = module.document.GetRootNode();
  if (!root || root->GetNodeName() != L"RuleSet") return false;
  std::wstring unit = L"0", angle = L"0";
  root->GetAttributeValue(L"Unit", unit);
  root->GetAttributeValue(L"AngularUnit", angle);

  std::vector<CKvxRule*> rules;
  const auto nodes = root->GetNodeList(L"Rule");
  for (int i = 0; i < nodes->GetSize(); ++i) {
    CKvxRule* rule = nullptr;
    module.GetRule(nodes->GetItem(i).get(), &rule);
    if (rule) rules.push_back(rule);
  }
  auto fresh = module.document.CreateRootNode(L"RuleSet");
  fresh->AddAttribute(L"Unit", unit);
  fresh->AddAttribute(L"AngularUnit", angle);
  for (CKvxRule*& rule : rules) {
    if (auto node = rule->GetXML()) fresh->AppendNode(node.get());
    module.DeleteRule(&rule);
  }
  saved = module.document.ToText();
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Module& module = TheModule();
  std::string first;
  if (!SaveRules(module, std::string(reinterpret_cast<const char*>(data), size), first)) return 0;
  std::string second;
  if (!SaveRules(module, first, second)) {
    std::fprintf(stderr, "a saved rule set does not load again:\n%s\n", first.c_str());
    std::abort();
  }
  if (second != first) {
    std::fprintf(stderr, "the second save differs from the first:\n--- first\n%s\n--- second\n%s\n", first.c_str(),
                 second.c_str());
    std::abort();
  }
  return 0;
}
