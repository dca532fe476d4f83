#include "kvx/contracts/RuleIds.h"
#include "kvx/rules/KVXIMBossDraftRule.h"

#include "kvx/res/PictureIds.h"
#include "kvx/res/StringIds.h"

namespace {
using namespace kvx::rules;
using namespace kvx::res;

ParameterDefinition DraftLimit(long id, double limit, const wchar_t* symbol) {
  return {.id = id, .op = KVX_OP_GREATER_EQUAL, .parameterType = 8, .defaults = {limit},
          .operatorOptions = {KVX_OP_GREATER, KVX_OP_GREATER_EQUAL}, .symbol = symbol, .unit = UnitKind::Angle,
          .secondField = 1.0};
}

const RuleDefinition& BossDraftRule() {
  static const RuleDefinition definition{
      .nameId = kBossDraftRuleName,
      .keyNameId = kBossDraftRuleName,
      .ruleId = kvx::rule_ids::kBossDraft,
      .severity = 2,
      .pictureId = kBossDraftRulePicture,
      // No placeholder: the summary exists only once it is built.
      .parameters = {DraftLimit(kInnerWallDraftParam, 0.25, L"Q1"), DraftLimit(kOuterWallDraftParam, 0.5, L"Q2")},
      // ID piece, one space only when it is there, OD piece.
      .summary = {.slots = {{.parameterId = kInnerWallDraftParam, .pieceFormat = kBossDraftInnerWallSummary,
                             .unit = UnitKind::Angle},
                            {.parameterId = kOuterWallDraftParam, .pieceFormat = kBossDraftOuterWallSummary,
                             .unit = UnitKind::Angle}},
                  .orEqualOperator = KVX_OP_GREATER_EQUAL,
                  .emptyValues = EmptyValues::KeepSummaryIfAnyEmpty,
                  .piecesOnlyWhenEnabled = true,
                  .pieceSeparator = L" "},
      // Kept as it is: with the workflow off only the range limits and unit texts follow a new angle unit,
      // the values stay; host rule sets were written with this behaviour.
      .unitChange = {.ownValues = OwnValueConversion::WhenNoConstraints,
                     .ownLimitsAlwaysFollow = true,
                     .parametersRequired = true},
      .executeResult = -3,  // kept: the host reads -3 from this rule
      .ignoresAssemblyStatus = true,
  };
  return definition;
}
}  // namespace

KVXIMBossDraftRule::KVXIMBossDraftRule() : CKVXIMRuleFrame(BossDraftRule()) {}
