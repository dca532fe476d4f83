#include "kvx/contracts/RuleIds.h"
#include "kvx/rules/CKVXIMSpacingBetweenHolesRule.h"

#include "kvx/res/PictureIds.h"
#include "kvx/res/StringIds.h"

namespace {
using namespace kvx::rules;
using namespace kvx::res;

const RuleDefinition& SpacingBetweenHolesRule() {
  static const RuleDefinition definition{
      .nameId = kHoleSpacingRuleName,
      // Kept: the key name comes from another string than the display name; rule sets store this one.
      .keyNameId = kSpacingBetweenHolesRuleName,
      .ruleId = kvx::rule_ids::kSpacingBetweenHoles,
      .severity = 2,
      .pictureId = kHoleSpacingRulePicture,
      .placeholderFormat = kHoleSpacingSummary,
      .placeholderArguments = 2,
      .parameters = {{.id = kHoleSpacingParam, .op = KVX_OP_GREATER_EQUAL, .defaults = {2.0},
                      .operatorOptions = {KVX_OP_GREATER, KVX_OP_GREATER_EQUAL}, .symbol = L"D", .fixedUnit = L"t"}},
      // A later "Default" entry does not clear the or-equal-to text of an earlier one; kept as it is.
      .summary = {.format = kHoleSpacingSummary,
                  .slots = {{.parameterId = kHoleSpacingParam}},
                  .orEqualOperator = KVX_OP_GREATER_EQUAL,
                  .ownParameterRequired = true,
                  .stickyOrEqualTo = true},
  };
  return definition;
}
}  // namespace

CKVXIMSpacingBetweenHolesRule::CKVXIMSpacingBetweenHolesRule() : CKVXIMRuleFrame(SpacingBetweenHolesRule()) {}
