#pragma once
// Named ids of the rule pictures in the resource libraries KVXIMRulesResu: line drawings in SVG,
// resources/pictures/<id>.svg when they carry only symbols and dimension letters, and
// resources/<language>/pictures/<id>.svg when they carry words. A missing id loads as an empty picture.

namespace kvx::res {

constexpr int kHoleDepthRulePicture = 2712;
constexpr int kBossDraftRulePicture = 2396;
constexpr int kRibTipThicknessRulePicture = 2731;
constexpr int kLipBottomRadiusRulePicture = 2393;
constexpr int kMaxCutoutAreaRulePicture = 2711;
constexpr int kHoleSpacingRulePicture = 2609;
constexpr int kRibClearanceRulePicture = 2064;
constexpr int kRibReinforcementRulePicture = 2713;
constexpr int kMouldingToleranceDialogPicture = 2526;

}  // namespace kvx::res
