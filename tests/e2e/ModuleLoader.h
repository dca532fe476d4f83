#pragma once
// Test support: loads the built rule module the way a host does (by path, exports looked up by name) and
// unloads it again, so each test starts the module afresh under its own environment.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "../support/ScopedEnv.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/framework/RulePointerArray.h"
#include "kvx/module/KVXIMRulesExports.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Text.h"

namespace kvx::test {

inline std::wstring BinPath(const std::wstring& file) { return kvx::platform::Widen(KVX_BIN_DIR) + L"/" + file; }

// What `command` (run by the shell) prints on its standard output.
inline std::string CommandOutput(const std::string& command) {
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  char buffer[512];
  while (pipe && std::fgets(buffer, sizeof buffer, pipe)) output += buffer;
  if (pipe) pclose(pipe);
  return output;
}

class LoadedModule {
 public:
  LoadedModule() {
    std::wstring error;
    library_ = kvx::platform::DynamicLibrary::Load(BinPath(L"libKVXIMRulesu.so"), &error);
    if (!library_) throw std::runtime_error(kvx::platform::Narrow(error));
    SetXMLDoc = Get<SetXMLDocFn>("SetXMLDoc");
    SetDBModuleList = Get<SetDBModuleListFn>("SetDBModuleList");
    GetModuleName = Get<GetModuleNameFn>("GetModuleName");
    GetModuleSummary = Get<GetModuleSummaryFn>("GetModuleSummary");
    GetRule = Get<GetRuleFn>("GetRule");
    GetAllRules = Get<GetAllRulesFn>("GetAllRules");
    DeleteRule = Get<DeleteRuleFn>("DeleteRule");
    SetXMLDoc(&document);
  }
  ~LoadedModule() { SetXMLDoc(nullptr); }

  // Every rule of a fresh rule set; released by the module when the vector's owner calls Release.
  std::vector<CKvxRule*> AllRules() {
    RulePointerArray array;
    GetAllRules(&array);
    std::vector<CKvxRule*> rules;
    for (int i = 0; i < array.GetSize(); ++i) rules.push_back(array.GetAt(i));
    return rules;
  }
  void Release(std::vector<CKvxRule*>& rules) {
    for (CKvxRule*& rule : rules) DeleteRule(&rule);
    rules.clear();
  }

  KvxXMLDocument document;
  SetXMLDocFn SetXMLDoc;
  SetDBModuleListFn SetDBModuleList;
  GetModuleNameFn GetModuleName;
  GetModuleSummaryFn GetModuleSummary;
  GetRuleFn GetRule;
  GetAllRulesFn GetAllRules;
  DeleteRuleFn DeleteRule;

 private:
  template <typename Fn>
  Fn Get(const char* name) {
    auto fn = library_->Function<Fn>(name);
    if (!fn) throw std::runtime_error(std::string("missing export ") + name);
    return fn;
  }
  std::unique_ptr<kvx::platform::DynamicLibrary> library_;
};

}  // namespace kvx::test
