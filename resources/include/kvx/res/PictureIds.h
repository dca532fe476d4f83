#pragma once
// Named ids of the rule pictures in the resource libraries KVXIMRulesResu
// (resources/<language>/pictures/<id>.svg, or resources/pictures/<id>.svg for drawings without text).
// None ships yet: loading one answers an empty picture until its drawing is added.

namespace kvx::res {

constexpr int kHoleDepthRulePicture = 2712;
constexpr int kBossDraftRulePicture = 2396;
constexpr int kRibTipThicknessRulePicture = 2731;
constexpr int kLipBottomRadiusRulePicture = 2393;
constexpr int kMaxCutoutAreaRulePicture = 2711;
constexpr int kHoleSpacingRulePicture = 2609;
constexpr int kRibReinforcementRulePicture = 2713;
constexpr int kMouldingToleranceDialogPicture = 2526;

}  // namespace kvx::res
