#include "kvx/contracts/RuleIds.h"
#include "kvx/rules/CKVXIMRibTipThicknessRule.h"

#include "kvx/res/PictureIds.h"
#include "kvx/res/StringIds.h"

namespace {
using namespace kvx::rules;
using namespace kvx::res;

const RuleDefinition& RibTipThicknessRule() {
  static const RuleDefinition definition{
      .nameId = kRibTipThicknessRuleName,
      .keyNameId = kRibTipThicknessRuleName,
      .ruleId = kvx::rule_ids::kRibTipThickness,
      .severity = 3,
      .pictureId = kRibTipThicknessRulePicture,
      .placeholderFormat = kRibTipThicknessSummary,
      .placeholderArguments = -1,  // loaded, not filled: the summary is built right after
      // The symbol keeps its leading space as saved rule sets and pictures have it.
      .parameters = {{.id = kRibTipThicknessParam, .op = KVX_OP_GREATER_EQUAL, .defaults = {0.8, 1.5},
                      .operatorOptions = {KVX_OP_GREATER_EQUAL, KVX_OP_GREATER, KVX_OP_RANGE}, .symbol = L" T",
                      .unit = UnitKind::Length, .nameId = kRibTipThicknessParam}},
      .summary = {.format = kRibTipThicknessSummary,
                  .slots = {{.parameterId = kRibTipThicknessParam, .unit = UnitKind::Length}},
                  .wording = Wording::OperatorWords,
                  .ownParameterRequired = true},
      // With the workflow on only the constraints follow a new length unit; the rule's own parameter keeps
      // its values, range and unit text, also without constraints. Kept: rule sets depend on it.
      .unitChange = {.ownValues = OwnValueConversion::WhenWorkflowOff},
      .executeResult = -3,  // kept: the host reads -3 from this rule
      .ignoresAssemblyStatus = true,
  };
  return definition;
}
}  // namespace

CKVXIMRibTipThicknessRule::CKVXIMRibTipThicknessRule() : CKVXIMRuleFrame(RibTipThicknessRule()) {}
