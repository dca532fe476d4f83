#pragma once
// The dialogs of the dialog library on Qt: the service the module hands its rules (the module's own
// dialogs for the rules that have one, the generic rule dialog for the others) and the dialogs themselves.
// In a process without a QApplication every dialog shows "no user interface is available" instead.
#include <QString>
#include <string>

#include "kvx/framework/KvxUiServices.h"
#include "kvx/framework/gui/QtUiServices.h"
#include "kvx/platform/Resources.h"
#include "kvx/ui/DialogSupport.h"

namespace kvx::params {
struct ModuleContext;
}

class CKvxRule;
class CKVXRecoMoldTolRule;
class QWidget;

namespace kvx::ui::qt {

// The open-file dialog of Qt.
class QtFileDialog final : public IFileDialog {
 public:
  explicit QtFileDialog(QWidget* parent = nullptr) : parent_(parent) {}
  std::optional<std::wstring> AskOpenFile(const std::wstring& filter, unsigned options) override;
  // "Text (*.a;*.b)|*.a; *.b|..." as Qt writes it ("Text (*.a *.b);;..."); empty for an empty filter.
  static QString QtFilter(const std::wstring& filter);

 private:
  QWidget* parent_;
};

// The rule dialog service of the dialog library. It makes the Qt application when the process has none and
// a display is there, loads Qt's own translations for `language` (a product language name), and runs the
// rules' code with the module's context while a dialog is open. KVX_IDOK or KVX_IDCANCEL as the dialog
// ended; KVX_DIALOG_UNAVAILABLE when no user interface is available. `module` must outlive the service.
class RuleDialogService final : public IKvxRuleDialogService {
 public:
  RuleDialogService(const kvx::params::ModuleContext& module, std::wstring language);
  int ConfigureRule(CKvxRule& rule, const kvx::platform::Picture& picture) override;

 private:
  const kvx::params::ModuleContext& module_;
  const std::wstring language_;
  QtRuleDialogService generic_;
};

// Runs the tolerance dialog modally on `rule` with values in `unitText`; KVX_IDOK when accepted, KVX_IDCANCEL
// otherwise (also without a user interface). `files`
// replaces Qt's file dialog (tests); null uses Qt's.
int RunRecoMoldTolDialog(CKVXRecoMoldTolRule& rule, const std::wstring& unitText, IFileDialog* files = nullptr);
// Runs the rib clearance dialog modally on `rule`; KVX_IDOK when accepted.
int RunMinRibClearanceDialog(CKvxRule& rule, const kvx::platform::Picture& picture);

}  // namespace kvx::ui::qt
