#pragma once
// The module's own dialogs on Qt, and their registration through the rules' editor hooks. Every dialog
// reports how it ended with KvxSetLastDialogResult; in a process without a QApplication it shows "no user
// interface is available" instead and reports KVX_IDCANCEL.
#include <QString>
#include <string>

#include "kvx/platform/Resources.h"
#include "kvx/ui/DialogSupport.h"

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

// Installs the tolerance and rib clearance dialogs as the rules' editors (through their editor hooks).
// Never fails; calling it again changes nothing.
void RegisterRuleDialogs();

// Runs the tolerance dialog modally on `rule` with values in `unitText`; KVX_IDOK when accepted. `files`
// replaces Qt's file dialog (tests); null uses Qt's.
int RunRecoMoldTolDialog(CKVXRecoMoldTolRule& rule, const std::wstring& unitText, IFileDialog* files = nullptr);
// Runs the rib clearance dialog modally on `rule`; KVX_IDOK when accepted.
int RunMinRibClearanceDialog(CKvxRule& rule, const kvx::platform::Picture& picture);

}  // namespace kvx::ui::qt
