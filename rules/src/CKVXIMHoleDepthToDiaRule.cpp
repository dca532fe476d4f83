#include "kvx/contracts/RuleIds.h"
#include "kvx/rules/CKVXIMHoleDepthToDiaRule.h"

#include "kvx/res/PictureIds.h"
#include "kvx/res/StringIds.h"

namespace {
using namespace kvx::rules;
using namespace kvx::res;

const RuleDefinition& HoleDepthRule() {
  static const RuleDefinition definition{
      .nameId = kHoleDepthRuleName,
      .keyNameId = kHoleDepthRuleName,
      .ruleId = kvx::rule_ids::kHoleDepth,
      .severity = 2,
      .pictureId = kHoleDepthRulePicture,
      .placeholderFormat = kHoleDepthSummary,
      .placeholderArguments = 4,
      .parameters = {{.id = kBlindHoleDepthParam, .op = KVX_OP_LESS, .defaults = {2.0},
                      .operatorOptions = {KVX_OP_LESS, KVX_OP_LESS_EQUAL}, .symbol = L"H", .fixedUnit = L"D"},
                     {.id = kThroughHoleDepthParam, .op = KVX_OP_LESS, .defaults = {4.0},
                      .operatorOptions = {KVX_OP_LESS, KVX_OP_LESS_EQUAL}, .symbol = L"H", .fixedUnit = L"D"}},
      // Only the through-hole limit had the old value layout; the blind-hole values are read as they stand.
      .summary = {.format = kHoleDepthSummary,
                  .slots = {{.parameterId = kBlindHoleDepthParam},
                            {.parameterId = kThroughHoleDepthParam, .normaliseLegacyValues = true}},
                  .orEqualOperator = KVX_OP_LESS_EQUAL,
                  .missing = MissingParameter::EmptyTexts},
  };
  return definition;
}
}  // namespace

CKVXIMHoleDepthToDiaRule::CKVXIMHoleDepthToDiaRule() : CKVXIMRuleFrame(HoleDepthRule()) {}
