#pragma once
// The reference host's hold on the rule module: the module library loaded at run time with its seven
// exports, the material database library loaded beside it, and the rule-set document handed to it.
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "kvx/framework/KvxXML.h"
#include "kvx/module/KVXIMRulesExports.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx_db/KVXDataHelper.h"

namespace kvxim {

class ModuleHost {
 public:
  // Loads the database library and the module from their folder (KVX_MODULE_DIR when set, else the folder
  // of kvxim in the build tree or the library folder of the installed layout), opens the database
  // `databasePath` (the default one when empty), and calls SetXMLDoc and
  // SetDBModuleList. Null with a one-line reason when the module or one of its exports is missing; a
  // database that cannot be used only yields `warning` (the tolerance rule then has an empty table).
  static std::unique_ptr<ModuleHost> Load(const std::wstring& databasePath, std::wstring& error, std::wstring& warning);
  ~ModuleHost();

  KvxXMLDocument& Document() { return *document_; }
  // The database helper, or null when the database library is missing.
  kvx_db::KVXDataHelper* Database() const { return database_; }

  SetXMLDocFn SetXMLDoc = nullptr;
  SetDBModuleListFn SetDBModuleList = nullptr;
  GetModuleNameFn GetModuleName = nullptr;
  GetModuleSummaryFn GetModuleSummary = nullptr;
  GetRuleFn GetRule = nullptr;
  GetAllRulesFn GetAllRules = nullptr;
  DeleteRuleFn DeleteRule = nullptr;

 private:
  ModuleHost() = default;
  std::unique_ptr<kvx::platform::DynamicLibrary> databaseLibrary_;
  std::unique_ptr<kvx::platform::DynamicLibrary> module_;
  kvx_db::KVXDataHelper* database_ = nullptr;
  std::unique_ptr<KvxXMLDocument> document_;
};

// Rules taken from the module, handed back to it (DeleteRule) when the holder goes or is cleared.
class HeldRules {
 public:
  explicit HeldRules(ModuleHost& host) : host_(host) {}
  ~HeldRules() { Clear(); }
  HeldRules(const HeldRules&) = delete;
  HeldRules& operator=(const HeldRules&) = delete;

  // Keeps `rule`; null (the module built none) is skipped.
  void Add(CKvxRule* rule);
  // The rule the module builds from the rule node `node`, kept; null when it builds none.
  CKvxRule* AddFor(KvxXMLNode* node);
  // Keeps the rules of a fresh rule set, in their order.
  void AddFresh();
  // Hands every rule back now.
  void Clear();
  const std::vector<CKvxRule*>& All() const { return rules_; }

 private:
  ModuleHost& host_;
  std::vector<CKvxRule*> rules_;
};

// Loads a rule-set file into the host's document and returns its "RuleSet" root; null after one line to `err`.
std::unique_ptr<KvxXMLNode> LoadRuleSet(ModuleHost& host, const std::string& file, std::ostream& err);

// Writes the host's document to `file` atomically ("-": to `out`), then "wrote FILE" to `out`; false after
// one line with the reason to `err`.
bool SaveRuleSet(ModuleHost& host, const std::string& file, std::ostream& out, std::ostream& err);

// The folder kvxim runs from.
std::wstring HostFolder();

// The folder kvxim loads the module and its other libraries from: KVX_MODULE_DIR when set, else its own
// folder in the build tree, or the library folder of the installed layout.
std::wstring LibraryFolder();

}  // namespace kvxim
