#include "kvx/contracts/RuleIds.h"
#include "kvx/rules/CKVXIMRibReinforcementRule.h"

#include "kvx/res/PictureIds.h"
#include "kvx/res/StringIds.h"

namespace {
using namespace kvx::rules;
using namespace kvx::res;

const RuleDefinition& RibReinforcementRule() {
  static const RuleDefinition definition{
      .nameId = kRibReinforcementRuleName,
      .keyNameId = kRibReinforcementRuleName,
      .ruleId = kvx::rule_ids::kRibReinforcement,
      .severity = 3,
      .pictureId = kRibReinforcementRulePicture,
      // Kept as it always was: the height format filled with four empty texts until the summary is built.
      .placeholderFormat = kRibReinforcementHeightSummary,
      .placeholderArguments = 4,
      // The first creation flag differs between the two limits, on purpose; both set the second field to 1.
      .parameters = {{.id = kRibAreaParam, .op = KVX_OP_LESS_EQUAL, .firstFlag = false, .defaults = {5.0},
                      .operatorOptions = {KVX_OP_LESS, KVX_OP_LESS_EQUAL}, .symbol = L"A/t",
                      .unit = UnitKind::Length, .secondField = 1.0},
                     {.id = kRibHeightParam, .op = KVX_OP_LESS_EQUAL, .firstFlag = true, .defaults = {3.0},
                      .operatorOptions = {KVX_OP_LESS, KVX_OP_LESS_EQUAL}, .symbol = L"H", .fixedUnit = L"t",
                      .secondField = 1.0}},
      // Area piece directly followed by the height piece; a missing limit empties the whole summary.
      .summary = {.slots = {{.parameterId = kRibAreaParam, .pieceFormat = kRibReinforcementAreaSummary,
                             .unit = UnitKind::Length, .normaliseLegacyValues = true},
                            {.parameterId = kRibHeightParam, .pieceFormat = kRibReinforcementHeightSummary,
                             .normaliseLegacyValues = true}},
                  .orEqualOperator = KVX_OP_LESS_EQUAL,
                  .missing = MissingParameter::EmptyTexts,
                  .piecesOnlyWhenEnabled = true},
      // With the workflow on only the "Default" constraints' area value follows a new length unit; the
      // rule's own keeps its value while its range and unit text follow. Kept: rule sets depend on it.
      .unitChange = {.ownValues = OwnValueConversion::WhenWorkflowOff,
                     .ownLimitsAlwaysFollow = true,
                     .parametersRequired = true,
                     .normaliseLegacyValues = true},
      .executeResult = -3,  // kept: the host reads -3 from this rule
      .ignoresAssemblyStatus = true,
      .stopOnIncompleteConstraint = true,
  };
  return definition;
}
}  // namespace

CKVXIMRibReinforcementRule::CKVXIMRibReinforcementRule() : CKVXIMRuleFrame(RibReinforcementRule()) {}
