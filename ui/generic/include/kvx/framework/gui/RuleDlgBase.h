#pragma once
// The framework's generic rule dialog, without a toolkit: the state and rules of the dialog that
// CKvxRule::ConfigureRule opens. It shows the rule's picture and, for each parameter, its name and symbol,
// an operator chosen from the parameter's operator options, the value (two for a range), the unit text and,
// where the rule uses it, the enabled flag; and the rule's severity. Nothing reaches the rule before Accept.
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "kvx/platform/Resources.h"

class CKvxRule;
class CKvxParamStorage;

namespace kvx::framework::gui {

// One parameter as the dialog shows it.
struct RuleDialogRow {
  long id = 0;
  std::wstring name;    // the parameter's name; "Parameter <id>" (translated) when it has none
  std::wstring symbol;  // shown before the operator
  std::vector<int> operatorCodes;         // the choices, in the parameter's order
  std::vector<std::wstring> operatorTexts;
  int selectedOperator = -1;              // index into operatorCodes; -1: none
  bool editable = false;                  // only numeric (double) parameters are edited here
  std::wstring valueText;                 // element 0
  std::wstring secondValueText;           // element 1: the upper limit of a range
  std::wstring unit;
  bool showEnabled = false;
  bool enabled = true;
};

class CKVXRuleDlgBase {
 public:
  // Reads the rule's current state; the rule must outlive the presenter.
  CKVXRuleDlgBase(CKvxRule& rule, kvx::platform::Picture picture);

  const std::wstring& Title() const { return title_; }
  const kvx::platform::Picture& Picture() const { return picture_; }
  const std::vector<RuleDialogRow>& Rows() const { return rows_; }
  // The severity names in code order (0 to 4), from the current resource library.
  static std::vector<std::wstring> SeverityNames();
  int SelectedSeverity() const { return selectedSeverity_; }
  // True when row `row` shows two value fields (its selected operator is the range operator).
  bool IsRange(size_t row) const;

  // --- what the view reports; out-of-range rows and indexes are ignored ---
  void SelectOperator(size_t row, int optionIndex);
  void SetValueText(size_t row, int field, const std::wstring& text);
  void SetEnabled(size_t row, bool enabled);
  void SelectSeverity(int index);

  // OK: every value field of an editable row must be empty (the value stays as it was) or hold a number,
  // else a message box names the first one that does not and nothing changes (false). Otherwise the edits
  // go into the rule's parameters in place and the severity into the rule.
  bool Accept();

  // The framework's word for an operator code ("=", "<", ">", ">=", "<=", "RANGE"); empty for others.
  static std::wstring OperatorText(int code);
  // A value as the dialog shows it: the shortest text that reads back the same, with ".0" for whole numbers.
  static std::wstring ValueToText(double value);
  // Reads a decimal number with '.' whatever the locale, ignoring blanks around it; false when the text is
  // anything else.
  static bool ParseValue(const std::wstring& text, double& value);

 private:
  using FieldValues = std::array<std::optional<double>, 2>;
  RuleDialogRow MakeRow(CKvxParamStorage& parameter, bool showEnabled) const;
  void Apply(const RuleDialogRow& row, bool range, CKvxParamStorage& parameter, const FieldValues& values) const;

  CKvxRule& rule_;
  kvx::platform::Picture picture_;
  std::wstring title_;
  std::vector<RuleDialogRow> rows_;
  int selectedSeverity_ = -1;
};

}  // namespace kvx::framework::gui
