// Unit changes: which values follow a new length or angle unit is the rule's own choice (its definition).
#include <algorithm>

#include "kvx/framework/KvxUnitConvertor.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/params/ParamUtils.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/rules/KVXIMRuleFrame.h"

using kvx::rules::OwnValueConversion;
using kvx::rules::UnitKind;

namespace {
int QuantityOf(UnitKind kind) { return kind == UnitKind::Angle ? KVX_QUANTITY_ANGLE : KVX_QUANTITY_LENGTH; }

int UnitCodeOf(UnitKind kind, const RuleUnitSystemStructure& units) {
  return kind == UnitKind::Angle ? units.iAngleUnit : units.iLengthUnit;
}

// The quantity the rule's converted parameters are; None for a rule of ratios.
UnitKind ConvertedKind(const kvx::rules::RuleDefinition& definition) {
  const auto converted = std::ranges::find_if(definition.parameters, [](const auto& p) { return p.unit != UnitKind::None; });
  return converted == definition.parameters.end() ? UnitKind::None : converted->unit;
}
}  // namespace

void CKVXIMRuleFrame::UpdateRule(const RuleUnitSystemStructure* from, const RuleUnitSystemStructure* to) {
  const kvx::rules::UnitChangeDefinition& change = m_definition.unitChange;
  if (!from || !to || change.ignored) return;
  kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);
  if (change.parametersRequired && !HasAllParameters()) return;
  if (change.normaliseLegacyValues) {
    for (CKvxParamStorage* parameter : OwnParameters()) kvx::params::NormaliseLegacyValues(parameter);
  }
  const UnitKind kind = ConvertedKind(m_definition);
  const bool unitChanged = kind != UnitKind::None && UnitCodeOf(kind, *from) != UnitCodeOf(kind, *to);
  if (unitChanged && !ConvertValues(kind, *from, *to)) return;
  m_unitSystem = *to;
  BuildSummary();
}

// Converts what the definition says; false (units not taken) when own values are due but a parameter is missing.
bool CKVXIMRuleFrame::ConvertValues(UnitKind kind, const RuleUnitSystemStructure& from,
                                   const RuleUnitSystemStructure& to) {
  const kvx::rules::UnitChangeDefinition& change = m_definition.unitChange;
  const bool workflow = UsesMaterialWorkflow();
  const bool convertOwn = change.ownValues == OwnValueConversion::WhenWorkflowOff
                              ? !workflow
                              : workflow && m_constraintArray.empty();
  const bool convertConstraints = workflow && !convertOwn;

  if (convertConstraints) {
    for (const auto& constraint : m_constraintArray) {
      for (const auto& parameter : constraint->Parameters()) {
        const auto* definition = ParameterDefinitionOf(parameter->lId);
        if (definition && definition->unit == kind) ConvertParameter(parameter.get(), true, kind, from, to);
      }
    }
  }
  std::vector<CKvxParamStorage*> own;
  for (const auto& definition : m_definition.parameters) {
    if (definition.unit == kind) own.push_back(FindParameterInArray(definition.id));
  }
  if (convertOwn && std::ranges::find(own, nullptr) != own.end()) return false;
  if (!convertOwn && !change.ownLimitsAlwaysFollow) return true;
  for (CKvxParamStorage* parameter : own) ConvertParameter(parameter, convertOwn, kind, from, to);
  return true;
}

// The parameter's designed values (the limit, and the upper limit where it has one) when `values` is set,
// then its range limits and unit text.
void CKVXIMRuleFrame::ConvertParameter(CKvxParamStorage* parameter, bool values, UnitKind kind,
                                       const RuleUnitSystemStructure& from, const RuleUnitSystemStructure& to) const {
  if (!parameter) return;
  const int quantity = QuantityOf(kind);
  const int fromCode = UnitCodeOf(kind, from);
  const int toCode = UnitCodeOf(kind, to);
  std::vector<double>* list = kvx::params::DoubleValues(parameter);
  const auto* definition = ParameterDefinitionOf(parameter->lId);
  if (values && list && definition) {
    const size_t count = std::min(list->size(), definition->defaults.size());
    for (size_t i = 0; i < count; ++i) {
      (*list)[i] = CKVXUnitConvertor::ConversionFromOneUnitToAnother((*list)[i], quantity, fromCode, toCode);
    }
  }
  kvx::params::ConvertRangeLimits(parameter, quantity, fromCode, toCode);
  parameter->csUnit = kind == UnitKind::Angle ? kvx::params::AngleUnitText(toCode) : kvx::params::LengthUnitText(toCode);
}
