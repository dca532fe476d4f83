#pragma once
// Shared by the rule tests: every rule class of the module, value access, saved-record snippets, and a
// fixture that formats English resource texts and saves a rule into a fresh rule set.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <memory>
#include <stdexcept>

#include "kvx/framework/KvxTypes.h"  // the fixture uses KVX_IDOK
#include "../support/ModuleFixture.h"
#include "kvx/params/ResourceText.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/rules/CKVXIMHoleDepthToDiaRule.h"
#include "kvx/rules/CKVXIMMaxCutoutAreaRule.h"
#include "kvx/rules/CKVXIMMinRibClearanceRule.h"
#include "kvx/rules/CKVXIMRibReinforcementRule.h"
#include "kvx/rules/CKVXIMRibTipThicknessRule.h"
#include "kvx/rules/CKVXIMSpacingBetweenHolesRule.h"
#include "kvx/rules/KVXIMBossDraftRule.h"
#include "kvx/rules/KVXIMLipBottomRadiusRule.h"

namespace kvx::test {

using RulePtr = std::unique_ptr<CKVXIMRuleFrame>;
using RuleFactory = RulePtr (*)();
template <typename T>
RulePtr Make() {
  return std::make_unique<T>();
}
inline const std::vector<RuleFactory> kAllRules = {
    Make<CKVXIMHoleDepthToDiaRule>,  Make<KVXIMBossDraftRule>,      Make<CKVXIMRibTipThicknessRule>,
    Make<KVXIMLipBottomRadiusRule>,  Make<CKVXIMMaxCutoutAreaRule>, Make<CKVXIMSpacingBetweenHolesRule>,
    Make<CKVXIMMinRibClearanceRule>, Make<CKVXIMRibReinforcementRule>};

// Parameter `id` of the rule, or of its first constraint (throws, failing the test, when there is none).
inline CKvxParamStorage& Param(const CKvxRule& rule, long id, bool constraint = false) {
  CKvxParamStorage* parameter = nullptr;
  if (!constraint) parameter = rule.FindParameterInArray(id);
  if (constraint && !rule.Constraints().empty()) parameter = rule.Constraints().front()->FindParameterInArray(id);
  if (!parameter) throw std::runtime_error("parameter " + std::to_string(id) + " is missing");
  return *parameter;
}
inline std::vector<double>& Values(const CKvxRule& rule, long id, bool constraint = false) {
  return *kvx::params::DoubleValues(&Param(rule, id, constraint));
}
// Sets the operator of `id` in the rule and in its first constraint.
inline void SetOperator(const CKvxRule& rule, long id, int op) {
  Param(rule, id).iOperator = op;
  if (!rule.Constraints().empty()) Param(rule, id, true).iOperator = op;
}

// Severity, status and every parameter (the rule's, then each constraint's) as "id:operator options status
// [values]", the values to nine digits.
inline std::string Describe(const CKvxRule& rule) {
  const auto parameters = [](const auto& owner) {
    std::string line;
    for (const auto& p : owner.Parameters()) {
      line += fmt::format(" {}:{} {} {} [{:.9g}]", p->lId, p->iOperator, fmt::join(p->operatorOptions, "/"), p->bStatus,
                          fmt::join(*kvx::params::DoubleValues(p.get()), " "));
    }
    return line;
  };
  std::string line = fmt::format("severity {} status {}:{}", rule.m_lRuleSeverity, rule.m_lRuleStatus, parameters(rule));
  for (const auto& c : rule.Constraints()) line += " | " + kvx::platform::Narrow(c->csName) + parameters(*c);
  return line;
}

inline std::string ParamXml(long id, int op, double value) {
  return fmt::format(R"(<Parameter Type="{}"><Operator>{}</Operator><Value>{:f}</Value></Parameter>)", id, op, value);
}
inline std::string ConstraintXml(const std::string& name, const std::string& parameters) {
  return R"(<Constraint Type="1" Value=")" + name + R"(">)" + parameters + "</Constraint>";
}

class RuleTest : public ModuleFixture {
 protected:
  // English resource format `id` filled with `args`.
  template <typename... Args>
  std::wstring Format(int id, const Args&... args) const {
    return kvx::params::FormatText(En(id), std::wstring(args)...);
  }
  std::wstring OrEqual() const { return En(2043); }

  // Writes `rule` with GetXML as the only rule of a fresh rule set (root attributes `units`) and returns the
  // reloaded "Rule" element.
  std::unique_ptr<KvxXMLNode> Save(CKvxRule& rule, const std::string& units = "") {
    root_ = document_->CreateRootNode(L"RuleSet");
    std::string text = Place(rule.GetXML());
    text.insert(text.find("<RuleSet") + 8, " " + units);
    return LoadRule(text);
  }
};

}  // namespace kvx::test
