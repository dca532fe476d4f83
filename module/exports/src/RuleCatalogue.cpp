#include "RuleCatalogue.h"


#include "kvx/common_rules/CommonRules.h"
#include "kvx/framework/RulePointerArray.h"
#include "kvx/module/KVXIMRulesApp.h"
#include "kvx/params/ResourceText.h"
#include "kvx/platform/Text.h"
#include "kvx/rules/CKVXIMHoleDepthToDiaRule.h"
#include "kvx/rules/CKVXIMMaxCutoutAreaRule.h"
#include "kvx/rules/CKVXIMRibReinforcementRule.h"
#include "kvx/rules/CKVXIMRibTipThicknessRule.h"
#include "kvx/rules/CKVXIMSpacingBetweenHolesRule.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/rules/KVXIMBossDraftRule.h"

namespace kvx::module {

namespace {
constexpr const wchar_t* kModuleKey = L"KvxIMRulesValidator";
constexpr auto kCategory = KVX_CATEGORY_INJECTION_MOULDING;

// What a catalogue row needs to construct its class.
struct BuildArgs {
  const std::wstring& moduleDisplayName;
  KvxXMLNode* ruleNode;
};
using Factory = CKvxRule* (*)(const BuildArgs&);

// A failed allocation, also one inside a constructor, gives null, never an exception: the walk goes on.
template <typename Make>
CKvxRule* Allocate(Make make) noexcept {
  try {
    return make();
  } catch (...) {
    return nullptr;
  }
}
template <typename Rule>
CKvxRule* Common(const BuildArgs& args, int ruleId) {
  return Allocate([&] { return new Rule(args.moduleDisplayName, kModuleKey, kCategory, ruleId); });
}
template <typename Rule>
CKvxRule* CommonWithNode(const BuildArgs& args, int ruleId) {
  return Allocate([&] { return new Rule(args.moduleDisplayName, kModuleKey, kCategory, ruleId, args.ruleNode); });
}
template <typename Rule>
CKvxRule* Own(const BuildArgs&) {
  return Allocate([] { return new Rule(); });
}

CKvxRule* BossBaseRadius(const BuildArgs& a) { return Common<CKVXIMBossBaseRadiusRule>(a, 12010); }
CKvxRule* BossTipRadius(const BuildArgs& a) { return Common<CKVXIMBossTipRadiusRule>(a, 12040); }
CKvxRule* DraftAngle(const BuildArgs& a) { return Common<CKVXIMDraftAngleRule>(a, 12090); }
CKvxRule* RibParameters(const BuildArgs& a) { return Common<CKVXIMRibParametersRule>(a, 12070); }
CKvxRule* UndercutDetection(const BuildArgs& a) { return Common<CKVXIMUndercutDetectionRule>(a, 12100); }
CKvxRule* MoldWallThickness(const BuildArgs& a) { return Common<CKVXIMMoldWallThicknessRule>(a, 12080); }
CKvxRule* WTVariation(const BuildArgs& a) { return Common<CKVXIMWTVariationRule>(a, 12110); }
CKvxRule* SuddenWTVariation(const BuildArgs& a) { return Common<CKVXIMSuddenWTVariationRule>(a, 12120); }
CKvxRule* UniformThickness(const BuildArgs& a) { return CommonWithNode<CKVXIMUniformThicknessRule>(a, 12030); }
CKvxRule* PinDiameter(const BuildArgs& a) { return CommonWithNode<CKVXRecoPinDiameterRule>(a, 12210); }
CKvxRule* RibBaseRadius(const BuildArgs& a) { return Common<CKVXIMRibBaseRadiusRule>(a, 12140); }
CKvxRule* UndercutInterference(const BuildArgs& a) { return Common<CKVXUndercutInterferenceRule>(a, 14090); }
CKvxRule* VariableDraftAngle(const BuildArgs& a) { return Common<CKVXIMVariableDraftAngleRule>(a, 12180); }
CKvxRule* BossParams(const BuildArgs& a) { return Common<KVXIMBossParamsRule>(a, 12178); }
CKvxRule* MoldTolerance(const BuildArgs& a) {
  return Allocate([&] { return new CKVXRecoMoldTolRule(a.ruleNode); });
}

struct CatalogueRow {
  int nameId;
  int otherNameId;  // 0: the row has one name
  Factory build;
  bool betaOnly;
};

// The order in which a rule node's name is tried.
constexpr CatalogueRow kCatalogue[] = {
    {2056, 0, BossBaseRadius, false},
    {2067, 0, BossTipRadius, false},
    {2115, 0, DraftAngle, false},
    {2090, 0, RibParameters, false},
    {2111, 0, UndercutDetection, false},
    {2073, 0, Own<CKVXIMRibReinforcementRule>, false},
    {2078, 0, Own<CKVXIMMaxCutoutAreaRule>, false},
    {2096, 0, MoldWallThickness, false},
    {2135, 0, WTVariation, false},
    {2203, 0, SuddenWTVariation, false},
    {2047, 0, UniformThickness, false},
    {2345, 0, Own<CKVXIMHoleDepthToDiaRule>, false},
    {2464, 0, Own<KVXIMBossDraftRule>, false},
    {2728, 0, Own<CKVXIMRibTipThicknessRule>, false},
    {2515, 0, MoldTolerance, false},
    {2735, 0, PinDiameter, false},
    {2326, 0, RibBaseRadius, false},
    // Older rule sets stored the spacing rule as 2610 and the interference rule as 2182: both names load.
    {2610, 2372, Own<CKVXIMSpacingBetweenHolesRule>, false},
    {2182, 2285, UndercutInterference, true},
    {2576, 0, VariableDraftAngle, false},
    {2493, 0, BossParams, false},
};

// The order of a fresh rule set; it differs from the lookup order on purpose.
struct FreshRow {
  Factory build;
  bool betaOnly;
};
constexpr FreshRow kFreshRuleSet[] = {
    {BossBaseRadius, false},
    {BossTipRadius, false},
    {Own<CKVXIMRibReinforcementRule>, false},
    {Own<CKVXIMMaxCutoutAreaRule>, false},
    {RibParameters, false},
    {DraftAngle, false},
    {UndercutDetection, false},
    {UniformThickness, false},
    {MoldWallThickness, false},
    {WTVariation, false},
    {Own<CKVXIMRibTipThicknessRule>, false},
    {MoldTolerance, false},
    {PinDiameter, false},
    {BossParams, false},
    {Own<CKVXIMHoleDepthToDiaRule>, false},
    {Own<KVXIMBossDraftRule>, false},
    {SuddenWTVariation, false},
    {RibBaseRadius, false},
    {Own<CKVXIMSpacingBetweenHolesRule>, false},
    {UndercutInterference, true},
    {VariableDraftAngle, false},
};

bool NameMatches(const std::wstring& name, int nameId) {
  return nameId != 0 && kvx::platform::EqualsNoCase(name, kvx::params::LoadDefaultString(nameId));
}
}  // namespace

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
  for (const FreshRow& row : kFreshRuleSet) {
    if (row.betaOnly && !beta) continue;
    if (CKvxRule* rule = row.build(args)) rules.Add(rule);
  }
}

}  // namespace kvx::module
