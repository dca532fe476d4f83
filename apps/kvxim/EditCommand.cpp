#include "EditCommand.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <sstream>

#include "kvx/framework/KvxRule.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/platform/Text.h"

namespace kvxim {

namespace {

using kvx::platform::Narrow;
using kvx::platform::Widen;

// True when `rule` is the one asked for: its key name without regard to case, or its id.
bool Matches(const CKvxRule& rule, const std::string& wanted) {
  if (kvx::platform::EqualsNoCase(rule.m_csRuleName, Widen(wanted))) return true;
  char* end = nullptr;
  const long id = std::strtol(wanted.c_str(), &end, 10);
  return !wanted.empty() && *end == '\0' && id == rule.m_iRuleId;
}

// A rule record as text, to tell whether a dialog changed anything; empty for no record.
std::string RecordText(const KvxXMLNode* record) {
  if (!record) return {};
  std::ostringstream text;
  record->Raw().print(text);
  return text.str();
}

}  // namespace

int RunEdit(ModuleHost& host, const EditOptions& options, std::ostream& out, std::ostream& err) {
  auto root = LoadRuleSet(host, options.input, err);
  if (!root) return kEditFailed;

  HeldRules held(host);  // the rule being edited, handed back when the command ends
  CKvxRule* rule = nullptr;
  std::unique_ptr<KvxXMLNode> ruleNode;
  const auto nodes = root->GetNodeList(L"Rule");
  for (int i = 0; i < nodes->GetSize() && !ruleNode; ++i) {
    auto node = nodes->GetItem(i);
    rule = held.AddFor(node.get());
    if (rule && Matches(*rule, options.rule)) ruleNode = std::move(node);
    else held.Clear();
  }
  if (!ruleNode) {
    err << "kvxim: " << options.input << " has no rule \"" << options.rule << "\"\n";
    return kEditFailed;
  }

  // The module opens the dialog through the rule's dialog service; it loads the toolkit only now.
  const std::string before = RecordText(rule->GetXML().get());
  rule->EditRule();
  switch (rule->LastDialogResult()) {
    case KVX_IDOK: break;
    case KVX_IDCANCEL: err << "kvxim: cancelled; nothing was written\n"; return kEditCancelled;
    default: err << "kvxim: the rule could not be edited here; nothing was written\n"; return kEditFailed;
  }

  const std::string target = options.output.empty() ? options.input : options.output;
  auto edited = rule->GetXML();
  // Accepted without a change: the rule set stays exactly as it was read.
  const bool changed = !edited || RecordText(edited.get()) != before;
  if (!changed && target == options.input) {
    out << "no changes; nothing was written\n";
    return kEditSaved;
  }
  if (changed && (!edited || !root->ReplaceChild(edited.get(), ruleNode.get()))) {
    err << "kvxim: the edited rule could not be put back into the rule set; nothing was written\n";
    return kEditFailed;
  }
  return SaveRuleSet(host, target, out, err) ? kEditSaved : kEditFailed;
}

void AddEditCommand(CLI::App& app, CommandTable& table) {
  auto options = std::make_shared<EditOptions>();
  auto* edit = app.add_subcommand("edit", "open a rule's dialog and save the rule set when it is accepted");
  edit->add_option("file", options->input, "rule-set file")->required();
  edit->add_option("--rule", options->rule, "the rule's key name (any case) or id")->required();
  edit->add_option("-o,--output", options->output, "file to write (default: in place; -: standard output)");
  table.push_back({edit, Needs::Module, [options](ModuleHost* host) { return RunEdit(*host, *options, std::cout, std::cerr); }});
}

}  // namespace kvxim
