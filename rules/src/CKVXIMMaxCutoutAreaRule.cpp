#include "kvx/contracts/RuleIds.h"
#include "kvx/rules/CKVXIMMaxCutoutAreaRule.h"

#include "kvx/res/PictureIds.h"
#include "kvx/res/StringIds.h"

namespace {
using namespace kvx::rules;
using namespace kvx::res;

const RuleDefinition& MaxCutoutAreaRule() {
  static const RuleDefinition definition{
      .nameId = kMaxCutoutAreaRuleName,
      .keyNameId = kMaxCutoutAreaRuleName,
      .ruleId = kvx::rule_ids::kMaxCutoutArea,
      .severity = 3,
      .pictureId = kMaxCutoutAreaRulePicture,
      .placeholderFormat = kMaxCutoutAreaSummary,
      .placeholderArguments = 3,
      // 10.0 in whatever length unit is current: the default is not converted from a reference unit.
      .parameters = {{.id = kCutoutAreaParam, .op = KVX_OP_LESS_EQUAL, .defaults = {10.0},
                      .operatorOptions = {KVX_OP_LESS, KVX_OP_LESS_EQUAL}, .symbol = L"A/t",
                      .unit = UnitKind::Length}},
      .summary = {.format = kMaxCutoutAreaSummary,
                  .slots = {{.parameterId = kCutoutAreaParam, .unit = UnitKind::Length}},
                  .emptyValues = EmptyValues::KeepSummaryIfShownEmpty},
      // With the workflow on the rule's own value stays, also without constraints; only its range and unit
      // text follow. The opposite of the boss draft rule, and kept so: each rule's saved values depend on it.
      .unitChange = {.ownValues = OwnValueConversion::WhenWorkflowOff,
                     .ownLimitsAlwaysFollow = true,
                     .parametersRequired = true},
      .ignoresAssemblyStatus = true,
  };
  return definition;
}
}  // namespace

CKVXIMMaxCutoutAreaRule::CKVXIMMaxCutoutAreaRule() : CKVXIMRuleFrame(MaxCutoutAreaRule()) {}
