#include "kvx/module/RuleCatalogue.h"

#include <array>

#include "kvx/common_rules/CommonRules.h"
#include "kvx/contracts/RuleIds.h"
#include "kvx/framework/RulePointerArray.h"
#include "kvx/module/KVXIMRulesApp.h"
#include "kvx/params/ResourceText.h"
#include "kvx/platform/Text.h"
#include "kvx/res/StringIds.h"
#include "kvx/rules/CKVXIMHoleDepthToDiaRule.h"
#include "kvx/rules/CKVXIMMaxCutoutAreaRule.h"
#include "kvx/rules/CKVXIMRibReinforcementRule.h"
#include "kvx/rules/CKVXIMRibTipThicknessRule.h"
#include "kvx/rules/CKVXIMSpacingBetweenHolesRule.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/rules/KVXIMBossDraftRule.h"

namespace kvx::module {

namespace {
using namespace kvx::res;
constexpr auto kCategory = KVX_CATEGORY_INJECTION_MOULDING;

// A failed allocation, also one inside a constructor, gives null, never an exception: the walk goes on.
template <typename Make>
CKvxRule* Allocate(Make make) noexcept {
  try {
    return make();
  } catch (...) {
    return nullptr;
  }
}
// A ready-made rule of the common-rules library, with the rule id the module gives it.
template <typename Rule, int kRuleId>
CKvxRule* Common(const BuildArgs& args) {
  return Allocate([&] { return new Rule(args.moduleDisplayName, kvx::rules::kModuleKey, kCategory, kRuleId); });
}
// The same for the ready-made rules that also read the rule node they are built for.
template <typename Rule, int kRuleId>
CKvxRule* CommonWithNode(const BuildArgs& args) {
  return Allocate(
      [&] { return new Rule(args.moduleDisplayName, kvx::rules::kModuleKey, kCategory, kRuleId, args.ruleNode); });
}
// One of the module's own rules: its definition holds its id.
template <typename Rule>
CKvxRule* Own(const BuildArgs&) {
  return Allocate([] { return new Rule(); });
}
CKvxRule* MouldingTolerance(const BuildArgs& args) {
  return Allocate([&] { return new CKVXRecoMoldTolRule(args.ruleNode); });
}

// In lookup order: a rule node's name is tried against the rows from the top. The fresh rule set has an
// order of its own on purpose (`freshPosition`).
constexpr CatalogueRow kCatalogue[] = {
    {.nameId = kBossBaseRadiusRuleName,
     .freshPosition = 0,
     .build = Common<CKVXIMBossBaseRadiusRule, rule_ids::kBossBaseRadius>},
    {.nameId = kBossTipRadiusRuleName,
     .freshPosition = 1,
     .build = Common<CKVXIMBossTipRadiusRule, rule_ids::kBossTipRadius>},
    {.nameId = kDraftAngleRuleName, .freshPosition = 5, .build = Common<CKVXIMDraftAngleRule, rule_ids::kDraftAngle>},
    {.nameId = kRibParametersRuleName,
     .freshPosition = 4,
     .build = Common<CKVXIMRibParametersRule, rule_ids::kRibParameters>},
    {.nameId = kUndercutDetectionRuleName,
     .freshPosition = 6,
     .build = Common<CKVXIMUndercutDetectionRule, rule_ids::kUndercutDetection>},
    {.nameId = kRibReinforcementRuleName, .freshPosition = 2, .build = Own<CKVXIMRibReinforcementRule>},
    {.nameId = kMaxCutoutAreaRuleName, .freshPosition = 3, .build = Own<CKVXIMMaxCutoutAreaRule>},
    {.nameId = kMouldedWallThicknessRuleName,
     .freshPosition = 8,
     .build = Common<CKVXIMMoldWallThicknessRule, rule_ids::kMouldedWallThickness>},
    {.nameId = kWallThicknessVariationRuleName,
     .freshPosition = 9,
     .build = Common<CKVXIMWTVariationRule, rule_ids::kWallThicknessVariation>},
    {.nameId = kSuddenWallThicknessVariationRuleName,
     .freshPosition = 16,
     .build = Common<CKVXIMSuddenWTVariationRule, rule_ids::kSuddenWallThicknessVariation>},
    {.nameId = kUniformThicknessRuleName,
     .freshPosition = 7,
     .build = CommonWithNode<CKVXIMUniformThicknessRule, rule_ids::kUniformThickness>},
    {.nameId = kHoleDepthRuleName, .freshPosition = 14, .build = Own<CKVXIMHoleDepthToDiaRule>},
    {.nameId = kBossDraftRuleName, .freshPosition = 15, .build = Own<KVXIMBossDraftRule>},
    {.nameId = kRibTipThicknessRuleName, .freshPosition = 10, .build = Own<CKVXIMRibTipThicknessRule>},
    {.nameId = kMouldingToleranceRuleName, .freshPosition = 11, .build = MouldingTolerance},
    {.nameId = kCorePinDiameterRuleName,
     .freshPosition = 12,
     .build = CommonWithNode<CKVXRecoPinDiameterRule, rule_ids::kCorePinDiameter>},
    {.nameId = kRibBaseRadiusRuleName,
     .freshPosition = 17,
     .build = Common<CKVXIMRibBaseRadiusRule, rule_ids::kRibBaseRadius>},
    // Older rule sets stored these two rules under their first names: both names load.
    {.nameId = kSpacingBetweenHolesRuleName,
     .otherNameId = kHoleSpacingRuleName,
     .freshPosition = 18,
     .build = Own<CKVXIMSpacingBetweenHolesRule>},
    {.nameId = kUndercutInterferenceRuleName,
     .otherNameId = kUndercutInterferenceCheckRuleName,
     .freshPosition = 19,
     .build = Common<CKVXUndercutInterferenceRule, rule_ids::kUndercutInterference>,
     .betaOnly = true},
    {.nameId = kVariableDraftAngleRuleName,
     .freshPosition = 20,
     .build = Common<CKVXIMVariableDraftAngleRule, rule_ids::kVariableDraftAngle>},
    {.nameId = kBossParametersRuleName,
     .freshPosition = 13,
     .build = Common<KVXIMBossParamsRule, rule_ids::kBossParameters>},
};
constexpr size_t kRuleCount = std::size(kCatalogue);

// Row indices in fresh rule set order; a compile error when the positions are not 0..n-1, each once.
constexpr std::array<size_t, kRuleCount> FreshOrder() {
  std::array<size_t, kRuleCount> order{};
  std::array<bool, kRuleCount> taken{};
  for (size_t row = 0; row < kRuleCount; ++row) {
    const size_t position = static_cast<size_t>(kCatalogue[row].freshPosition);
    if (position >= kRuleCount || taken[position]) throw "fresh positions must be 0..n-1, each once";
    taken[position] = true;
    order[position] = row;
  }
  return order;
}
constexpr std::array<size_t, kRuleCount> kFreshOrder = FreshOrder();

bool NameMatches(const std::wstring& name, int nameId) {
  return nameId != 0 && kvx::platform::EqualsNoCase(name, kvx::params::LoadDefaultString(nameId));
}
}  // namespace

std::span<const CatalogueRow> CatalogueRows() { return kCatalogue; }

void BuildRuleByName(const std::wstring& name, const std::wstring& moduleDisplayName, KvxXMLNode* ruleNode,
                     CKvxRule** out) {
  const BuildArgs args{moduleDisplayName, ruleNode};
  for (const CatalogueRow& row : kCatalogue) {
    if (*out) return;
    // The beta gate is read afresh at every walk, before the names are compared.
    if (row.betaOnly && !CKVXIMRulesApp::BetaRulesEnabled()) continue;
    if (NameMatches(name, row.nameId) || NameMatches(name, row.otherNameId)) *out = row.build(args);
  }
}

void BuildAllRules(const std::wstring& moduleDisplayName, RulePointerArray& rules) {
  const BuildArgs args{moduleDisplayName, nullptr};
  const bool beta = CKVXIMRulesApp::BetaRulesEnabled();
  for (const size_t index : kFreshOrder) {
    const CatalogueRow& row = kCatalogue[index];
    if (row.betaOnly && !beta) continue;
    if (CKvxRule* rule = row.build(args)) rules.Add(rule);
  }
}

}  // namespace kvx::module
