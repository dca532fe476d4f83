#include "kvx/rules/CKVXIMMinRibClearanceRule.h"

#include "kvx/res/StringIds.h"

namespace {
using namespace kvx::rules;
using namespace kvx::res;

const RuleDefinition& MinRibClearanceRule() {
  static const RuleDefinition definition{
      .nameId = kMinRibClearanceRuleName,
      .keyNameId = kMinRibClearanceRuleName,
      .ruleId = CKVXIMMinRibClearanceRule::kRuleId,
      .severity = 2,
      .placeholderFormat = kMinRibClearanceSummary,
      .placeholderArguments = 2,
      // Only the value is set; the dialog offers the operators itself.
      .parameters = {{.id = kRibClearanceParam, .op = KVX_OP_GREATER_EQUAL, .defaults = {3.0}, .valueOnly = true}},
      .summary = {.format = kMinRibClearanceSummary,
                  .slots = {{.parameterId = kRibClearanceParam}},
                  .orEqualOperator = KVX_OP_GREATER_EQUAL},
      // Deliberately left alone by a change of units: neither the value nor the unit system changes.
      .unitChange = {.ignored = true},
      .materialWorkflow = false,
  };
  return definition;
}
}  // namespace

CKVXIMMinRibClearanceRule::CKVXIMMinRibClearanceRule() : CKVXIMRuleFrame(MinRibClearanceRule()) {}
