#pragma once
// The id of every rule the module offers. A rule set stores it with each rule, and the part checker finds
// the evaluator of a rule by it, so the module and the checker must agree on every number here.

namespace kvx::rule_ids {

constexpr int kBossBaseRadius = 12010;
constexpr int kMinRibClearance = 12020;
constexpr int kUniformThickness = 12030;
constexpr int kBossTipRadius = 12040;
constexpr int kRibReinforcement = 12050;
constexpr int kMaxCutoutArea = 12060;
constexpr int kRibParameters = 12070;
constexpr int kMouldedWallThickness = 12080;
constexpr int kDraftAngle = 12090;
constexpr int kUndercutDetection = 12100;
constexpr int kWallThicknessVariation = 12110;
constexpr int kSuddenWallThicknessVariation = 12120;
constexpr int kRibBaseRadius = 12140;
constexpr int kHoleDepth = 12150;
constexpr int kSpacingBetweenHoles = 12160;
constexpr int kLipBottomRadius = 12172;
constexpr int kMouldingTolerance = 12174;
constexpr int kBossDraft = 12176;
constexpr int kBossParameters = 12178;
constexpr int kVariableDraftAngle = 12180;
constexpr int kCorePinDiameter = 12210;
constexpr int kRibTipThickness = 12220;
constexpr int kUndercutInterference = 14090;

}  // namespace kvx::rule_ids
