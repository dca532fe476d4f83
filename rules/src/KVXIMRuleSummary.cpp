// The summary: a resource format (or a row of piece formats) filled with the texts of the values shown.
#include <algorithm>

#include "RuleFormat.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/params/ParamUtils.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Text.h"
#include "kvx/res/StringIds.h"
#include "kvx/rules/KVXIMRuleFrame.h"

using kvx::params::Module;
using kvx::platform::LoadResString;
using kvx::rules::EmptyValues;
using kvx::rules::MissingParameter;
using kvx::rules::SummaryDefinition;
using kvx::rules::UnitKind;
using kvx::rules::Wording;

// The texts of one slot, and the parameter they were taken from (null while none was).
struct CKVXIMRuleFrame::SlotTexts {
  const CKvxParamStorage* parameter = nullptr;
  std::wstring wording;
  std::wstring value;
};

namespace {

bool HasNoValues(const CKvxParamStorage* parameter) { return parameter->GetValueCount() == 0; }

// Element `index` of the values as a short number text ("2.0", "2.5"); empty when there is none.
std::wstring ValueText(CKvxParamStorage& parameter, size_t index) {
  const std::vector<double>* values = kvx::params::DoubleValues(&parameter);
  if (!values || index >= values->size()) return {};
  std::wstring text = kvx::params::DoubleToShortText((*values)[index]);
  kvx::params::TrimNumberText(text);
  return text;
}

// The word of an operator in the rules that name their operator, and the value text it goes with.
void OperatorWords(CKvxParamStorage& parameter, std::wstring& wording, std::wstring& value) {
  value = ValueText(parameter, 0);
  switch (parameter.iOperator) {
    case KVX_OP_GREATER_EQUAL: wording = LoadResString(kvx::res::kOperatorAtLeast); break;
    case KVX_OP_GREATER: wording = LoadResString(kvx::res::kOperatorMoreThan); break;
    case KVX_OP_RANGE:
      wording = LoadResString(kvx::res::kOperatorRange);
      // The joining word is the dialogs' "to" between a range's two values (" to " in English).
      value += L" " + LoadResString(kvx::res::kRangeTo) + L" " + ValueText(parameter, 1);
      break;
    default: wording.clear(); break;
  }
}
}  // namespace

void CKVXIMRuleFrame::BuildSummary() {
  kvx::platform::ResourceScope resources(Module().localizedResources);
  std::vector<SlotTexts> texts(m_definition.summary.slots.size());
  const bool showsConstraints = UsesMaterialWorkflow() && !m_constraintArray.empty();
  const bool filled = showsConstraints ? FillFromDefaultConstraints(texts) : FillFromOwnParameters(texts);
  if (filled) m_csSummary = ComposeSummary(texts);
}

bool CKVXIMRuleFrame::FillFromOwnParameters(std::vector<SlotTexts>& texts) {
  const SummaryDefinition& summary = m_definition.summary;
  std::vector<CKvxParamStorage*> parameters;
  for (const auto& slot : summary.slots) parameters.push_back(FindParameterInArray(slot.parameterId));
  if (std::ranges::find(parameters, nullptr) != parameters.end()) return summary.missing == MissingParameter::EmptyTexts;
  if (summary.emptyValues != EmptyValues::ShowEmpty && std::ranges::any_of(parameters, HasNoValues)) return false;
  for (size_t i = 0; i < parameters.size(); ++i) {
    if (summary.slots[i].normaliseLegacyValues) kvx::params::NormaliseLegacyValues(parameters[i]);
  }
  for (size_t i = 0; i < parameters.size(); ++i) {
    if (summary.piecesOnlyWhenEnabled && !parameters[i]->IsEnabled()) continue;
    Take(texts[i], *parameters[i]);
  }
  return true;
}

// Every parameter of every constraint called "Default" (ignoring case) in turn; later ones overwrite.
bool CKVXIMRuleFrame::FillFromDefaultConstraints(std::vector<SlotTexts>& texts) {
  const SummaryDefinition& summary = m_definition.summary;
  if (summary.ownParameterRequired && !HasAllParameters()) return false;
  for (const auto& constraint : m_constraintArray) {
    if (!kvx::platform::EqualsNoCase(constraint->csName, kvx::res::kDefaultConstraintText)) continue;
    for (const auto& parameter : constraint->Parameters()) {
      const auto slot = std::ranges::find(summary.slots, parameter->lId, &kvx::rules::SummarySlot::parameterId);
      if (slot == summary.slots.end()) continue;
      if (summary.emptyValues == EmptyValues::KeepSummaryIfAnyEmpty && HasNoValues(parameter.get())) return false;
      // Switched-off parameters are passed over before their old value layout is looked at.
      if (summary.piecesOnlyWhenEnabled && !parameter->IsEnabled()) continue;
      if (slot->normaliseLegacyValues) kvx::params::NormaliseLegacyValues(parameter.get());
      // An old layout whose leading entry is not 1.0 switches the limit off: it is saved off, so it is not quoted.
      if (summary.piecesOnlyWhenEnabled && !parameter->IsEnabled()) continue;
      Take(texts[static_cast<size_t>(slot - summary.slots.begin())], *parameter);
    }
  }
  const bool pieces = summary.format == 0;
  for (const SlotTexts& slot : texts) {
    if (!slot.parameter && !pieces && summary.missing == MissingParameter::KeepSummary) return false;
    if (slot.parameter && summary.emptyValues == EmptyValues::KeepSummaryIfShownEmpty && HasNoValues(slot.parameter)) {
      return false;
    }
  }
  return true;
}

void CKVXIMRuleFrame::Take(SlotTexts& texts, CKvxParamStorage& parameter) const {
  const SummaryDefinition& summary = m_definition.summary;
  texts.parameter = &parameter;
  if (summary.wording == Wording::OperatorWords) {
    OperatorWords(parameter, texts.wording, texts.value);
    return;
  }
  texts.value = ValueText(parameter, 0);
  if (parameter.iOperator == summary.orEqualOperator) {
    texts.wording = LoadResString(kvx::res::kOrEqualTo);
  } else if (!summary.stickyOrEqualTo) {
    texts.wording.clear();
  }
}

std::vector<std::wstring> CKVXIMRuleFrame::SlotArguments(size_t slot, const SlotTexts& texts) const {
  std::vector<std::wstring> arguments{texts.wording, texts.value};
  const UnitKind unit = m_definition.summary.slots[slot].unit;
  if (unit != UnitKind::None) arguments.push_back(UnitText(unit));
  return arguments;
}

std::wstring CKVXIMRuleFrame::ComposeSummary(const std::vector<SlotTexts>& texts) const {
  const SummaryDefinition& summary = m_definition.summary;
  if (summary.format != 0) {
    std::vector<std::wstring> arguments;
    for (size_t i = 0; i < texts.size(); ++i) std::ranges::copy(SlotArguments(i, texts[i]), std::back_inserter(arguments));
    return kvx::rules::FillFormat(LoadResString(summary.format), arguments);
  }
  std::wstring text;
  for (size_t i = 0; i < texts.size(); ++i) {
    if (!texts[i].parameter) continue;
    const std::wstring piece =
        kvx::rules::FillFormat(LoadResString(summary.slots[i].pieceFormat), SlotArguments(i, texts[i]));
    text += piece;
    if (!piece.empty() && i + 1 < texts.size()) text += summary.pieceSeparator;
  }
  return text;
}
