#pragma once
// The framework's generic rule dialog, without a toolkit: the state and rules of the dialog that
// CKvxRule::ConfigureRule opens. It shows the rule's picture and, for each parameter, its name and symbol,
// an operator chosen from the parameter's operator options, the value (two for a range), the unit text and,
// where the rule uses it, the enabled flag; and the rule's severity. Nothing reaches the rule before Accept.
// A rule that keeps a "Default" material entry is shown and edited with that entry's values, the ones its
// summary and its checks read; the rule's own parameter is kept in step with them.
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "kvx/platform/Locale.h"
#include "kvx/platform/Resources.h"

class CKvxRule;
class CKvxParamStorage;

namespace kvx::framework::gui {

// One parameter as the dialog shows it.
struct RuleDialogRow {
  long id = 0;
  std::wstring name;    // the parameter's name, else the text of its id in the current resource library,
                        // else "Parameter <id>" (translated)
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
  double lowest = 0.0;   // the permitted range of the values; lowest == highest: only "not negative"
  double highest = 0.0;

  // True when the user changed nothing that Accept would write.
  bool SameEdits(const RuleDialogRow& other) const;
};

class CKVXRuleDlgBase {
 public:
  // Reads the rule's current state; the rule must outlive the presenter. Numbers are read with a point or
  // with `decimalSeparator`, the user's.
  CKVXRuleDlgBase(CKvxRule& rule, kvx::platform::Picture picture,
                  std::wstring decimalSeparator = kvx::platform::UserDecimalSeparator());

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

  // OK: every value field of an editable row must be empty (the value stays as it was) or hold a number in
  // the parameter's permitted range (never negative; a range's upper value not below its lower one), else a
  // message box names the first one that does not and nothing changes (false). Otherwise the edited rows go
  // into the rule's parameters in place (rows left as they were are not written) and the severity into the rule.
  bool Accept();

  // The framework's word for an operator code ("=", "<", ">", ">=", "<=", "RANGE"); empty for others.
  static std::wstring OperatorText(int code);
  // A value as the dialog shows it: the shortest text that reads back the same, with ".0" for whole numbers.
  static std::wstring ValueToText(double value);
  // Reads a decimal number written with '.' or, when the text has no '.', with `decimalSeparator`, ignoring
  // blanks around it; false when the text is anything else (so "1,5" is never read as 15 or as 1).
  static bool ParseValue(const std::wstring& text, double& value, const std::wstring& decimalSeparator = L".");

 private:
  using FieldValues = std::array<std::optional<double>, 2>;
  // `own` is the rule's parameter, `shown` the one whose values are in force.
  RuleDialogRow MakeRow(const CKvxParamStorage& own, CKvxParamStorage& shown, bool showEnabled) const;
  // None when the fields of `row` can be written; else the message that says why not (which may be empty
  // when no resource library is current).
  std::optional<std::wstring> CheckRow(size_t row, FieldValues& values) const;
  void Apply(const RuleDialogRow& row, bool range, CKvxParamStorage& parameter, const FieldValues& values) const;
  // The parameters that row `id` writes: every "Default" entry's parameter of that id, and the rule's own.
  std::vector<CKvxParamStorage*> Targets(long id) const;

  CKvxRule& rule_;
  kvx::platform::Picture picture_;
  std::wstring title_;
  std::vector<RuleDialogRow> rows_;
  std::vector<RuleDialogRow> opened_;  // the rows as the dialog opened
  std::wstring decimalSeparator_;
  int selectedSeverity_ = -1;
};

}  // namespace kvx::framework::gui
