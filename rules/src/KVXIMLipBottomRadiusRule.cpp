#include "kvx/contracts/RuleIds.h"
#include "kvx/rules/KVXIMLipBottomRadiusRule.h"

#include "kvx/res/PictureIds.h"
#include "kvx/res/StringIds.h"

namespace {
using namespace kvx::rules;
using namespace kvx::res;

const RuleDefinition& LipBottomRadiusRule() {
  static const RuleDefinition definition{
      .nameId = kLipBottomRadiusRuleName,
      .keyNameId = kLipBottomRadiusRuleName,
      .ruleId = kvx::rule_ids::kLipBottomRadius,
      .severity = 2,
      .pictureId = kLipBottomRadiusRulePicture,
      .placeholderFormat = kLipBottomRadiusSummary,
      .placeholderArguments = 2,
      .parameters = {{.id = kLipBottomRadiusParam, .op = KVX_OP_GREATER_EQUAL, .defaults = {0.5},
                      .operatorOptions = {KVX_OP_GREATER, KVX_OP_GREATER_EQUAL}, .symbol = L"R", .fixedUnit = L"T"}},
      .summary = {.format = kLipBottomRadiusSummary,
                  .slots = {{.parameterId = kLipBottomRadiusParam}},
                  .orEqualOperator = KVX_OP_GREATER_EQUAL},
      .materialWorkflow = false,
      .ignoresAssemblyStatus = true,
      // A new rule keeps the placeholder summary until it is first read, written, converted or edited.
      .summaryOnInitialise = false,
  };
  return definition;
}
}  // namespace

KVXIMLipBottomRadiusRule::KVXIMLipBottomRadiusRule() : CKVXIMRuleFrame(LipBottomRadiusRule()) {}
