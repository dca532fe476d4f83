#include "kvx/framework/gui/RuleDlgBase.h"

#include <fmt/printf.h>
#include <fmt/xchar.h>

#include <array>
#include <charconv>
#include <cmath>
#include <optional>

#include "kvx/framework/KvxOperators.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/framework/KvxUiServices.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"
#include "kvx/res/StringIds.h"

namespace kvx::framework::gui {

namespace {

constexpr wchar_t kCaption[] = L"Korvex";

std::wstring Text(int id) { return kvx::platform::LoadResString(id); }

std::wstring Trimmed(const std::wstring& text) {
  const auto first = text.find_first_not_of(L" \t");
  if (first == std::wstring::npos) return {};
  const auto last = text.find_last_not_of(L" \t");
  return text.substr(first, last - first + 1);
}

void OverwriteOrAppend(std::vector<double>& values, size_t index, double value) {
  if (index < values.size()) {
    values[index] = value;
    return;
  }
  // A missing first element is added before the second one, so the indexes keep their meaning.
  while (values.size() < index) values.push_back(0.0);
  values.push_back(value);
}

// An empty field leaves its value as it was; anything else must be a number.
bool ReadField(const std::wstring& text, const std::wstring& decimalSeparator, std::optional<double>& value) {
  if (Trimmed(text).empty()) return true;
  double number = 0.0;
  if (!CKVXRuleDlgBase::ParseValue(text, number, decimalSeparator)) return false;
  value = number;
  return true;
}

bool IsDefaultEntry(const CKVXConstraint& constraint) {
  return kvx::platform::EqualsNoCase(constraint.csName, kvx::res::kDefaultConstraintText);
}

// The parameter whose values are in force for `own`: that of the last "Default" entry that has one (the
// entry the summaries read), else the rule's own.
CKvxParamStorage& InForce(const CKvxRule& rule, CKvxParamStorage& own) {
  CKvxParamStorage* found = &own;
  for (const auto& constraint : rule.Constraints()) {
    if (!IsDefaultEntry(*constraint)) continue;
    if (CKvxParamStorage* parameter = constraint->FindParameterInArray(own.lId)) found = parameter;
  }
  return *found;
}

}  // namespace

bool RuleDialogRow::SameEdits(const RuleDialogRow& other) const {
  return selectedOperator == other.selectedOperator && valueText == other.valueText &&
         secondValueText == other.secondValueText && enabled == other.enabled;
}

CKVXRuleDlgBase::CKVXRuleDlgBase(CKvxRule& rule, kvx::platform::Picture picture, std::wstring decimalSeparator)
    : rule_(rule), picture_(std::move(picture)), decimalSeparator_(std::move(decimalSeparator)) {
  title_ = rule.m_csDisplayName.empty() ? rule.m_csRuleName : rule.m_csDisplayName;
  // A rule with several limits lets each be switched on and off (its summary then leaves that limit out);
  // a rule with a single limit is switched on and off as a whole, by its status.
  const bool showEnabled = rule.Parameters().size() > 1;
  for (const auto& parameter : rule.Parameters()) {
    rows_.push_back(MakeRow(*parameter, InForce(rule, *parameter), showEnabled));
  }
  opened_ = rows_;
  if (rule.m_lRuleSeverity >= 0 && rule.m_lRuleSeverity < static_cast<int>(SeverityNames().size())) {
    selectedSeverity_ = rule.m_lRuleSeverity;
  }
}

std::vector<std::wstring> CKVXRuleDlgBase::SeverityNames() {
  std::vector<std::wstring> names;
  for (int id = kvx::res::kSeverityVeryLow; id <= kvx::res::kSeverityVeryHigh; ++id) names.push_back(Text(id));
  return names;
}

std::wstring CKVXRuleDlgBase::OperatorText(int code) { return std::wstring(KvxOperatorWordOf(code)); }

std::wstring CKVXRuleDlgBase::ValueToText(double value) {
  std::array<char, 64> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  std::string text(buffer.data(), result.ptr);
  if (std::isfinite(value) && text.find_first_of(".e") == std::string::npos) text += ".0";
  return kvx::platform::Widen(text);
}

bool CKVXRuleDlgBase::ParseValue(const std::wstring& text, double& value, const std::wstring& decimalSeparator) {
  std::wstring trimmed = Trimmed(text);
  const size_t separator = decimalSeparator.empty() ? std::wstring::npos : trimmed.find(decimalSeparator);
  if (decimalSeparator != L"." && separator != std::wstring::npos && trimmed.find(L'.') == std::wstring::npos) {
    trimmed.replace(separator, decimalSeparator.size(), L".");
  }
  const std::string narrow = kvx::platform::Narrow(trimmed);
  if (narrow.empty()) return false;
  const char* begin = narrow.data();
  const char* end = begin + narrow.size();
  if (*begin == '+') ++begin;  // from_chars takes no plus sign
  const auto result = std::from_chars(begin, end, value);
  return result.ec == std::errc() && result.ptr == end && std::isfinite(value);
}

RuleDialogRow CKVXRuleDlgBase::MakeRow(const CKvxParamStorage& own, CKvxParamStorage& parameter,
                                       bool showEnabled) const {
  RuleDialogRow row;
  row.id = parameter.lId;
  // Rule modules name their parameters by resource strings of the same number; EditRule makes the rule
  // module's library current while the dialog is open.
  row.name = own.csName;
  if (row.name.empty()) row.name = kvx::platform::LoadResString(static_cast<int>(own.lId));
  if (row.name.empty()) row.name = fmt::sprintf(Text(kvx::res::kUnnamedParameter), std::to_wstring(own.lId));
  row.symbol = parameter.csSymbol;
  row.unit = parameter.csUnit;
  for (long option : parameter.operatorOptions) {
    row.operatorCodes.push_back(static_cast<int>(option));
    row.operatorTexts.push_back(OperatorText(static_cast<int>(option)));
  }
  // A parameter without options keeps its operator: it is offered as the only choice.
  if (row.operatorCodes.empty() && !OperatorText(parameter.iOperator).empty()) {
    row.operatorCodes.push_back(parameter.iOperator);
    row.operatorTexts.push_back(OperatorText(parameter.iOperator));
  }
  for (size_t i = 0; i < row.operatorCodes.size(); ++i) {
    if (row.operatorCodes[i] == parameter.iOperator) row.selectedOperator = static_cast<int>(i);
  }
  if (const std::vector<double>* values = parameter.GetDoubleValues()) {
    row.editable = true;
    if (!values->empty()) row.valueText = ValueToText((*values)[0]);
    if (values->size() > 1) row.secondValueText = ValueToText((*values)[1]);
  }
  row.showEnabled = showEnabled;
  row.enabled = parameter.bStatus;
  row.lowest = parameter.dRangeMin;
  row.highest = parameter.dRangeMax;
  return row;
}

bool CKVXRuleDlgBase::IsRange(size_t row) const {
  if (row >= rows_.size()) return false;
  const RuleDialogRow& shown = rows_[row];
  return shown.selectedOperator >= 0 && shown.operatorCodes[shown.selectedOperator] == KVX_OP_RANGE;
}

void CKVXRuleDlgBase::SelectOperator(size_t row, int optionIndex) {
  if (row >= rows_.size()) return;
  if (optionIndex < -1 || optionIndex >= static_cast<int>(rows_[row].operatorCodes.size())) return;
  rows_[row].selectedOperator = optionIndex;
}

void CKVXRuleDlgBase::SetValueText(size_t row, int field, const std::wstring& text) {
  if (row >= rows_.size() || !rows_[row].editable) return;
  if (field == 0) rows_[row].valueText = text;
  if (field == 1) rows_[row].secondValueText = text;
}

void CKVXRuleDlgBase::SetEnabled(size_t row, bool enabled) {
  if (row < rows_.size() && rows_[row].showEnabled) rows_[row].enabled = enabled;
}

void CKVXRuleDlgBase::SelectSeverity(int index) {
  if (index >= -1 && index < static_cast<int>(SeverityNames().size())) selectedSeverity_ = index;
}

std::optional<std::wstring> CKVXRuleDlgBase::CheckRow(size_t i, FieldValues& values) const {
  const RuleDialogRow& row = rows_[i];
  if (!row.editable) return std::nullopt;
  const bool range = IsRange(i);
  if (!ReadField(row.valueText, decimalSeparator_, values[0]) ||
      (range && !ReadField(row.secondValueText, decimalSeparator_, values[1]))) {
    return fmt::sprintf(Text(kvx::res::kValueNotANumber), row.name);
  }
  // The limits of these rules are sizes, ratios and angles: none is below zero.
  const bool bounded = row.highest > row.lowest;
  const double lowest = bounded ? row.lowest : 0.0;
  for (const auto& value : values) {
    if (!value) continue;
    if (*value < lowest || (bounded && *value > row.highest)) {
      if (!bounded) return fmt::sprintf(Text(kvx::res::kValueBelowZero), row.name);
      return fmt::sprintf(Text(kvx::res::kValueOutOfRange), row.name, ValueToText(row.lowest), ValueToText(row.highest));
    }
  }
  if (range && values[0] && values[1] && *values[1] < *values[0]) {
    return fmt::sprintf(Text(kvx::res::kRangeUpperBelowLower), row.name);
  }
  return std::nullopt;
}

bool CKVXRuleDlgBase::Accept() {
  // Every field is checked before anything is written, so a refused OK leaves the rule as it was.
  // A row left as it opened is not written, so it is not checked either.
  std::vector<FieldValues> parsed(rows_.size());
  for (size_t i = 0; i < rows_.size(); ++i) {
    if (rows_[i].SameEdits(opened_[i])) continue;
    const std::optional<std::wstring> problem = CheckRow(i, parsed[i]);
    if (!problem) continue;
    KvxMessageBox(*problem, kCaption, KvxMessageIcon::Exclamation);
    return false;
  }
  for (size_t i = 0; i < rows_.size(); ++i) {
    // OK without edits leaves the rule exactly as it was.
    if (rows_[i].SameEdits(opened_[i])) continue;
    const std::vector<CKvxParamStorage*> targets = Targets(rows_[i].id);
    for (CKvxParamStorage* parameter : targets) Apply(rows_[i], IsRange(i), *parameter, parsed[i]);
    // The rule's own values now are the entry's, so they are in the entry's unit too.
    if (targets.size() > 1) targets.back()->csUnit = targets.front()->csUnit;
  }
  if (selectedSeverity_ >= 0) rule_.m_lRuleSeverity = selectedSeverity_;
  return true;
}

std::vector<CKvxParamStorage*> CKVXRuleDlgBase::Targets(long id) const {
  std::vector<CKvxParamStorage*> targets;
  for (const auto& constraint : rule_.Constraints()) {
    if (!IsDefaultEntry(*constraint)) continue;
    if (CKvxParamStorage* parameter = constraint->FindParameterInArray(id)) targets.push_back(parameter);
  }
  if (CKvxParamStorage* own = rule_.FindParameterInArray(id)) targets.push_back(own);
  return targets;
}

void CKVXRuleDlgBase::Apply(const RuleDialogRow& row, bool range, CKvxParamStorage& parameter,
                            const FieldValues& values) const {
  if (row.selectedOperator >= 0) parameter.iOperator = row.operatorCodes[row.selectedOperator];
  if (row.showEnabled) parameter.bStatus = row.enabled;
  std::vector<double>* stored = parameter.GetDoubleValues();
  if (!row.editable || !stored) return;
  if (values[0]) OverwriteOrAppend(*stored, 0, *values[0]);
  if (range && values[1]) OverwriteOrAppend(*stored, 1, *values[1]);
}

}  // namespace kvx::framework::gui
