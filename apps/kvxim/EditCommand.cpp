#include "EditCommand.h"

#include <clocale>
#include <cstdlib>
#include <memory>
#include <optional>
#include <sstream>
#include <vector>

#include "kvx/framework/KvxRule.h"
#include "kvx/framework/KvxUiServices.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/platform/Environment.h"
#include "kvx/platform/Text.h"

#ifdef KVXIM_WITH_QT
#include <QApplication>

#include "kvx/framework/gui/QtUiServices.h"
#endif

namespace kvxim {

namespace {

using kvx::platform::Narrow;
using kvx::platform::Widen;

// The rule being edited, handed back to the module when the command ends.
class EditedRule {
 public:
  explicit EditedRule(ModuleHost& host) : host_(host) {}
  ~EditedRule() { Release(); }
  void Release() {
    if (rule_) host_.DeleteRule(&rule_);
  }
  CKvxRule*& Get() { return rule_; }

 private:
  ModuleHost& host_;
  CKvxRule* rule_ = nullptr;
};

#ifdef KVXIM_WITH_QT
// The Qt application of this command, and the framework's Qt services while it runs. A process that has
// a Qt application already (a test) keeps it. Without a display nothing is created, and the dialogs then
// report that no user interface is available.
class DialogSession {
 public:
  DialogSession() {
    if (!QCoreApplication::instance() && DisplayAvailable()) {
      application_ = std::make_unique<QApplication>(argc_, argv_);
      // Qt takes the user's locale for the C library too; numbers in files stay in the "C" notation.
      std::setlocale(LC_NUMERIC, "C");
    }
    if (qobject_cast<QApplication*>(QCoreApplication::instance())) services_.emplace();
  }
  bool HasUserInterface() const { return services_.has_value(); }

 private:
  static bool DisplayAvailable() {
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"}) {
      const auto value = kvx::platform::GetEnvNarrow(name);
      if (value && !value->empty()) return true;
    }
    return false;
  }
  static inline int argc_ = 1;
  static inline char name_[] = "kvxim";
  static inline char* argv_[] = {name_, nullptr};
  std::unique_ptr<QApplication> application_;
  std::optional<QtUiServicesScope> services_;
};
#else
// A build without Qt has no user interface: EditRule answers through the module's fallback.
class DialogSession {
 public:
  bool HasUserInterface() const { return false; }
};
#endif

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

  EditedRule rule(host);
  std::unique_ptr<KvxXMLNode> ruleNode;
  const auto nodes = root->GetNodeList(L"Rule");
  for (int i = 0; i < nodes->GetSize() && !ruleNode; ++i) {
    auto node = nodes->GetItem(i);
    host.GetRule(node.get(), &rule.Get());
    if (rule.Get() && Matches(*rule.Get(), options.rule)) ruleNode = std::move(node);
    else rule.Release();
  }
  if (!ruleNode) {
    err << "kvxim: " << options.input << " has no rule \"" << options.rule << "\"\n";
    return kEditFailed;
  }

  const DialogSession session;
  const std::string before = RecordText(rule.Get()->GetXML().get());
  KvxSetLastDialogResult(KVX_IDCANCEL);
  rule.Get()->EditRule();
  if (KvxLastDialogResult() != KVX_IDOK) {
    if (!session.HasUserInterface()) {
      err << "kvxim: the rule could not be edited here; nothing was written\n";
      return kEditFailed;
    }
    err << "kvxim: cancelled; nothing was written\n";
    return kEditCancelled;
  }

  const std::string target = options.output.empty() ? options.input : options.output;
  auto edited = rule.Get()->GetXML();
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
  std::wstring error;
  if (!host.Document().SaveFile(Widen(target), error)) {
    err << "kvxim: " << Narrow(error) << "\n";
    return kEditFailed;
  }
  out << "wrote " << target << "\n";
  return kEditSaved;
}

}  // namespace kvxim
