#pragma once
// The rule-set round trip as a host does it, through the module's exports (loaded by kvxim's ModuleHost):
// load a rule-set file, GetRule on every "Rule" node, GetXML of every rule into a new document, save.
// Also writes the sample rule sets: the factory records repeated, their numeric values varied.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "ModuleHost.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/framework/RulePointerArray.h"
#include "kvx/platform/Text.h"

namespace kvx::bench {

// Rules made by the module, handed back to it when done.
class RuleBatch {
 public:
  explicit RuleBatch(kvxim::ModuleHost& host) : host_(host) {}
  ~RuleBatch() { Release(); }
  RuleBatch(const RuleBatch&) = delete;
  RuleBatch& operator=(const RuleBatch&) = delete;
  void Add(CKvxRule* rule) { rules_.push_back(rule); }
  void Release() {
    for (CKvxRule*& rule : rules_) host_.DeleteRule(&rule);
    rules_.clear();
  }
  const std::vector<CKvxRule*>& All() const { return rules_; }

 private:
  kvxim::ModuleHost& host_;
  std::vector<CKvxRule*> rules_;
};

inline void CollectAllRules(kvxim::ModuleHost& host, RuleBatch& batch) {
  RulePointerArray array;
  host.GetAllRules(&array);
  for (int i = 0; i < array.GetSize(); ++i) batch.Add(array.GetAt(i));
}

// Makes a rule of every "Rule" node of `input` into `rules`; false when the file cannot be loaded. The file's
// document lives only while the rules are made: they keep no reference into it, and a host converting a file
// need not hold its source beside the rules and the document they are written into.
inline bool BuildRules(kvxim::ModuleHost& host, const std::string& input, RuleBatch& rules) {
  KvxXMLDocument source;
  std::wstring error;
  if (!source.LoadFile(kvx::platform::Widen(input), error)) return false;
  auto root = source.GetRootNode();
  if (!root) return false;
  host.SetXMLDoc(&source);
  const auto nodes = root->GetNodeList(L"Rule");
  for (int i = 0; i < nodes->GetSize(); ++i) {
    CKvxRule* rule = nullptr;
    host.GetRule(nodes->GetItem(i).get(), &rule);
    if (rule) rules.Add(rule);
  }
  host.SetXMLDoc(&host.Document());
  return true;
}

// Loads `input`, makes a rule of every node and writes them all into a fresh document saved as `output`.
// Returns the number of rules written; 0 on failure.
inline std::size_t RuleSetRoundTrip(kvxim::ModuleHost& host, const std::string& input, const std::string& output) {
  RuleBatch rules(host);
  if (!BuildRules(host, input, rules)) return 0;
  KvxXMLDocument written;
  host.SetXMLDoc(&written);
  auto writtenRoot = written.CreateRootNode(L"RuleSet");
  writtenRoot->AddAttribute(L"Unit", L"0");
  writtenRoot->AddAttribute(L"AngularUnit", L"0");
  std::size_t count = 0;
  for (CKvxRule* rule : rules.All()) {
    if (auto node = rule->GetXML()) count += writtenRoot->AppendNode(node.get()) ? 1 : 0;
  }
  std::wstring error;
  const bool saved = written.SaveFile(kvx::platform::Widen(output), error);
  rules.Release();
  host.SetXMLDoc(&host.Document());
  return saved ? count : 0;
}

// Every number text under a "Value" element scaled by a factor of the copy, so copies differ.
inline void VaryValues(pugi::xml_node rule, int copy) {
  const double factor = 1.0 + (copy % 97) / 100.0;
  for (pugi::xpath_node found : rule.select_nodes(".//Value")) {
    pugi::xml_node value = found.node();
    char* end = nullptr;
    const char* text = value.child_value();
    const double number = std::strtod(text, &end);
    if (end == text || *end != '\0') continue;
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%f", number * factor);
    value.text().set(buffer);
  }
}

// The sample of `count` rules at `path`, written once from the module's factory records.
inline bool WriteSampleRuleSet(kvxim::ModuleHost& host, int count, const std::string& path) {
  if (std::filesystem::exists(path)) return true;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  const std::string factory = path + ".factory";
  {
    RuleBatch rules(host);
    CollectAllRules(host, rules);
    auto root = host.Document().CreateRootNode(L"RuleSet");
    for (CKvxRule* rule : rules.All()) {
      if (auto node = rule->GetXML()) root->AppendNode(node.get());
    }
    std::wstring error;
    if (!host.Document().SaveFile(kvx::platform::Widen(factory), error)) return false;
  }
  pugi::xml_document records;
  if (!records.load_file(factory.c_str())) return false;
  std::filesystem::remove(factory);
  std::vector<pugi::xml_node> factoryRules;
  for (pugi::xml_node rule : records.child("RuleSet").children("Rule")) factoryRules.push_back(rule);
  if (factoryRules.empty()) return false;

  pugi::xml_document sample;
  pugi::xml_node root = sample.append_child("RuleSet");
  root.append_attribute("Unit") = 0;
  root.append_attribute("AngularUnit") = 0;
  for (int i = 0; i < count; ++i) {
    VaryValues(root.append_copy(factoryRules[static_cast<size_t>(i) % factoryRules.size()]),
               i / static_cast<int>(factoryRules.size()));
  }
  const std::string partial = path + ".partial";
  return sample.save_file(partial.c_str(), "  ", pugi::format_indent, pugi::encoding_utf8) &&
         std::rename(partial.c_str(), path.c_str()) == 0;
}

}  // namespace kvx::bench
