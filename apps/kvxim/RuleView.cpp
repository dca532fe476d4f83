#include "RuleView.h"

#include "UnitNames.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"

namespace kvxim {

namespace {
using nlohmann::ordered_json;
using kvx::platform::Narrow;

ordered_json ValueToJson(const KvxValueView& value) {
  return std::visit(
      [](const auto& v) -> ordered_json {
        using V = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<V, std::monostate>) {
          return nullptr;
        } else if constexpr (std::is_same_v<V, std::wstring>) {
          return Narrow(v);
        } else if constexpr (std::is_same_v<V, std::vector<std::wstring>>) {
          ordered_json list = ordered_json::array();
          for (const auto& text : v) list.push_back(Narrow(text));
          return list;
        } else {
          return v;
        }
      },
      value);
}

std::string OperatorSymbol(int op) { return Narrow(kvx::params::OperatorToText(op)); }

// The rule modules name their parameters by resource strings of the same number, as the rule dialog shows them.
std::wstring Label(const CKvxParamStorage& parameter, const kvx::platform::ResourceLibrary* texts) {
  if (!parameter.csName.empty() || !texts) return parameter.csName;
  return texts->String(static_cast<int>(parameter.lId)).value_or(std::wstring());
}

ordered_json ParameterToJson(const CKvxParamStorage& parameter, const kvx::platform::ResourceLibrary* texts) {
  ordered_json values = ordered_json::array();
  for (const auto& value : parameter.DescribeValues()) values.push_back(ValueToJson(value));
  ordered_json optionSymbols = ordered_json::array();
  for (const long op : parameter.operatorOptions) optionSymbols.push_back(OperatorSymbol(static_cast<int>(op)));
  return {
      {"id", parameter.lId},
      {"name", Narrow(parameter.csName)},
      {"label", Narrow(Label(parameter, texts))},
      {"valueType", static_cast<int>(parameter.GetValueType())},
      {"operator", parameter.iOperator},
      {"operatorSymbol", OperatorSymbol(parameter.iOperator)},
      {"operatorOptions", parameter.operatorOptions},
      {"operatorOptionSymbols", optionSymbols},
      {"parameterType", parameter.iParameterType},
      {"values", values},
      {"status", parameter.bStatus},
      {"enabled", parameter.IsEnabled()},
      {"remarks", Narrow(parameter.csRemarks)},
      {"symbol", Narrow(parameter.csSymbol)},
      {"unit", Narrow(parameter.csUnit)},
  };
}

template <typename Parameters>
ordered_json ParametersToJson(const Parameters& parameters, const kvx::platform::ResourceLibrary* texts) {
  ordered_json list = ordered_json::array();
  for (const auto& parameter : parameters) list.push_back(ParameterToJson(*parameter, texts));
  return list;
}
}  // namespace

ordered_json RuleToJson(const CKvxRule* rule, const kvx::platform::ResourceLibrary* texts) {
  if (!rule) return nullptr;
  ordered_json constraints = ordered_json::array();
  for (const auto& constraint : rule->Constraints()) {
    constraints.push_back({{"name", Narrow(constraint->csName)},
                           {"kind", constraint->iType},
                           {"status", constraint->bStatus},
                           {"secondFlag", constraint->bSecondFlag},
                           {"parameters", ParametersToJson(constraint->Parameters(), texts)}});
  }
  return {
      {"name", Narrow(rule->m_csRuleName)},
      {"displayName", Narrow(rule->m_csDisplayName)},
      {"id", rule->m_iRuleId},
      {"category", static_cast<int>(rule->m_category)},
      {"severity", rule->m_lRuleSeverity},
      {"severityName", Narrow(kvx::params::SeverityCodeToName(rule->m_lRuleSeverity))},
      {"status", rule->m_lRuleStatus},
      {"lifeStatus", rule->m_lLifeStatus},
      {"module", Narrow(rule->m_csModuleName)},
      {"summary", Narrow(rule->m_csSummary)},
      {"units",
       {{"length", rule->m_unitSystem.iLengthUnit},
        {"angle", rule->m_unitSystem.iAngleUnit},
        {"lengthName", UnitName(LengthUnitNames(), rule->m_unitSystem.iLengthUnit)},
        {"angleName", UnitName(AngleUnitNames(), rule->m_unitSystem.iAngleUnit)}}},
      {"parameters", ParametersToJson(rule->Parameters(), texts)},
      {"constraints", constraints},
  };
}

void JsonArrayStream::Add(const nlohmann::ordered_json& element) {
  out_ << (empty_ ? "[\n  " : ",\n  ");
  empty_ = false;
  // Strings hold their line breaks escaped, so every raw one is the element's own layout: one level deeper.
  const std::string text = element.dump(2);
  size_t start = 0;
  for (size_t end = text.find('\n'); end != std::string::npos; start = end + 1, end = text.find('\n', start)) {
    out_.write(text.data() + start, static_cast<std::streamsize>(end + 1 - start));
    out_ << "  ";
  }
  out_.write(text.data() + start, static_cast<std::streamsize>(text.size() - start));
}

void JsonArrayStream::Finish() { out_ << (empty_ ? "[]\n" : "\n]\n"); }

std::string RuleToLine(const CKvxRule& rule) {
  return std::to_string(rule.m_iRuleId) + "  " + Narrow(rule.m_csDisplayName) + ": " + Narrow(rule.m_csSummary);
}

}  // namespace kvxim
