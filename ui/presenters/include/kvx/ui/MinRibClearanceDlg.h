#pragma once
// The minimum rib clearance dialog without a toolkit (CKVXIMMinRibClearanceDlg): the clearance value in a
// numeric edit box, the operator (">" or ">=") and the severity in combo boxes, and the rule's picture.
// Nothing reaches the rule before OK.
#include <string>
#include <vector>

#include "kvx/platform/Locale.h"
#include "kvx/platform/Resources.h"
#include "kvx/res/StringIds.h"

class CKvxRule;

namespace kvx::ui {

// What the dialog tells its view: the selections it sets itself.
class IMinRibClearanceDlgView {
 public:
  virtual ~IMinRibClearanceDlgView();
  virtual void ShowOperator(int index) = 0;  // -1: none
  virtual void ShowSeverity(int index) = 0;  // -1: none
};

class CKVXIMMinRibClearanceDlg {
 public:
  static constexpr int kDialogTemplate = 10;
  static constexpr int kValueEditId = 1032;
  static constexpr int kOperatorComboId = 1030;
  static constexpr int kSeverityComboId = 1035;
  static constexpr int kPictureId = 1033;
  static constexpr long kClearanceParameter = kvx::res::kRibClearanceParam;

  // `rule` may be null: the dialog then shows nothing and OK only closes. Values are typed with a point or
  // with `decimalSeparator`, the user's.
  CKVXIMMinRibClearanceDlg(CKvxRule* rule, kvx::platform::Picture picture,
                           std::wstring decimalSeparator = kvx::platform::UserDecimalSeparator());
  void SetView(IMinRibClearanceDlgView* view) { view_ = view; }

  // Fills the lists and, when the rule has its clearance parameter, the selections and the value.
  void Open();

  const std::wstring& Title() const { return title_; }
  const std::wstring& ValueLabel() const { return valueLabel_; }
  const std::wstring& SeverityLabel() const { return severityLabel_; }
  const std::vector<std::wstring>& OperatorTexts() const { return operatorTexts_; }
  const std::vector<std::wstring>& SeverityNames() const { return severityNames_; }
  int SelectedOperator() const { return selectedOperator_; }
  int SelectedSeverity() const { return selectedSeverity_; }
  const std::wstring& ValueText() const { return valueText_; }
  const kvx::platform::Picture& Picture() const { return picture_; }

  void SelectOperator(int index);
  void SelectSeverity(int index);
  void SetValueText(const std::wstring& text);
  // The numeric edit box takes digits and "." (or the user's decimal separator) only.
  static bool AcceptsValueText(const std::wstring& text,
                               const std::wstring& decimalSeparator = kvx::platform::UserDecimalSeparator());

  // OK, with the rule and its parameter present: the severity, then the operator (an empty selection is
  // reset to the rule's current one instead), then the value read as a decimal number into element 0.
  // No range check. The dialog always closes with OK afterwards.
  void OnOK();

 private:
  CKvxRule* rule_;
  kvx::platform::Picture picture_;
  IMinRibClearanceDlgView* view_ = nullptr;
  std::wstring title_;
  std::wstring valueLabel_;
  std::wstring severityLabel_;
  std::vector<std::wstring> operatorTexts_;
  std::vector<std::wstring> severityNames_;
  int selectedOperator_ = -1;
  int selectedSeverity_ = -1;
  std::wstring valueText_;  // with the point
  std::wstring decimalSeparator_;
};

}  // namespace kvx::ui
