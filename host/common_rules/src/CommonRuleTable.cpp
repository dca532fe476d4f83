#include "CommonRuleTable.h"

#include "kvx/res/StringIds.h"

namespace kvx::common_rules {

namespace {

constexpr auto kLess = KVX_OP_LESS;
constexpr auto kAtMost = KVX_OP_LESS_EQUAL;
constexpr auto kMore = KVX_OP_GREATER;
constexpr auto kAtLeast = KVX_OP_GREATER_EQUAL;
constexpr auto kEqual = KVX_OP_EQUAL;
constexpr auto kNone = KVX_OP_NONE;

// Limits offered for a minimum and for a maximum.
constexpr std::array<KvxOperator_e, 2> kMinimum = {kAtLeast, kMore};
constexpr std::array<KvxOperator_e, 2> kMaximum = {kAtMost, kLess};
constexpr std::array<KvxOperator_e, 2> kExactly = {kEqual, kNone};

// Parameter ids: 3000 + 10 x the row's position + the parameter's position. They are this library's
// own; the rule module's parameters use the 2000s.
std::vector<RuleRow> BuildRows() {  // NOLINT(readability-function-size): a table, not steps
  using K = KvxCommonRuleKind;
  using Q = Quantity;
  namespace res = kvx::res;
  return {
      // A fillet where the boss meets the wall spreads the load and keeps the flow smooth; too big a
      // fillet piles up material and sinks on the far side.
      {K::BossBaseRadius, res::kBossBaseRadiusRuleName, L"Boss Base Radius", 2, res::kBossBaseRadiusSummary,
       {{res::kBossBaseRadiusMinParam, Q::Ratio, 0.25, kAtLeast, kMinimum, L"R/t", L"t", 0.0, 5.0},
        {res::kBossBaseRadiusMaxParam, Q::Ratio, 0.5, kAtMost, kMaximum, L"R/t", L"t", 0.0, 5.0}}},

      // A rounded top edge fills cleanly and does not chip when the screw goes in.
      {K::BossTipRadius, res::kBossTipRadiusRuleName, L"Boss Tip Radius", 2, res::kBossTipRadiusSummary,
       {{res::kBossTipRadiusMinParam, Q::Length, 0.25, kAtLeast, kMinimum, L"r", L"", 0.0, 10.0}}},

      // Every face in the direction of pull needs draft to leave the mould without scuffing; a texture
      // keys into the steel and needs considerably more.
      {K::DraftAngle, res::kDraftAngleRuleName, L"Draft Angle", 2, res::kDraftAngleSummary,
       {{res::kDraftPerSideParam, Q::Angle, 1.0, kAtLeast, kMinimum, L"α", L"", 0.0, 45.0},
        {res::kDraftTexturedParam, Q::Angle, 3.0, kAtLeast, kMinimum, L"αt", L"", 0.0, 45.0}}},

      // Ribs thinner than the wall avoid sink marks at their root; tall ribs are hard to fill and to
      // eject, and ribs too close together leave thin steel between them that overheats.
      {K::RibParameters, res::kRibParametersRuleName, L"Rib Parameters", 3, res::kRibParametersSummary,
       {{res::kRibThicknessRatioParam, Q::Ratio, 0.6, kAtMost, kMaximum, L"T/t", L"t", 0.0, 2.0},
        {res::kRibHeightRatioParam, Q::Ratio, 3.0, kAtMost, kMaximum, L"H/t", L"t", 0.0, 20.0},
        {res::kRibDraftParam, Q::Angle, 0.5, kAtLeast, kMinimum, L"α", L"", 0.0, 45.0},
        {res::kRibSpacingRatioParam, Q::Ratio, 2.0, kAtLeast, kMinimum, L"S/t", L"t", 0.0, 20.0}}},

      // An undercut needs a side action or a collapsible core; shallow ones can often be stripped, so
      // only those deeper than the limit are reported.
      {K::UndercutDetection, res::kUndercutDetectionRuleName, L"Undercut Detection", 2, res::kUndercutDetectionSummary,
       {{res::kDetectUndercutsParam, Q::Switch, 1.0, kEqual, kExactly, L"U", L"", 0.0, 1.0},
        {res::kUndercutDepthParam, Q::Length, 0.1, kAtLeast, kMinimum, L"d", L"", 0.0, 50.0}}},

      // Below about 0.8 mm most materials do not fill over a usual flow length; above about 4 mm cycle
      // times grow and sinks and voids appear.
      {K::MouldWallThickness, res::kMouldedWallThicknessRuleName, L"Moulded Wall Thickness", 3, res::kMouldedWallThicknessSummary,
       {{res::kWallThicknessMinParam, Q::Length, 0.8, kAtLeast, kMinimum, L"t", L"", 0.1, 50.0},
        {res::kWallThicknessMaxParam, Q::Length, 4.0, kAtMost, kMaximum, L"t", L"", 0.1, 50.0}}},

      // Neighbouring walls of different thickness cool at different rates and warp; where a change
      // cannot be avoided it is tapered over several times the step.
      {K::WallThicknessVariation, res::kWallThicknessVariationRuleName, L"Wall Thickness Variation", 2, res::kWallThicknessVariationSummary,
       {{res::kThicknessVariationParam, Q::Percent, 15.0, kAtMost, kMaximum, L"Δt/t", L"", 0.0, 100.0},
        {res::kTransitionLengthParam, Q::Ratio, 3.0, kAtLeast, kMinimum, L"L/Δt", L"Δt",
         0.0, 20.0}}},

      // An abrupt step concentrates stress and leaves flow lines; beyond a quarter of the wall it needs
      // a taper.
      {K::SuddenWallThicknessVariation, res::kSuddenWallThicknessVariationRuleName,
       L"Sudden Wall Thickness Variation", 3, res::kSuddenWallThicknessVariationSummary,
       {{res::kSuddenThicknessChangeParam, Q::Percent, 25.0, kAtMost, kMaximum, L"Δt/t", L"", 0.0, 100.0}}},

      // Walls held within a narrow band around one nominal thickness shrink evenly.
      {K::UniformThickness, res::kUniformThicknessRuleName, L"Uniform Thickness", 3, res::kUniformThicknessSummary,
       {{res::kThicknessDeviationParam, Q::Percent, 10.0, kAtMost, kMaximum, L"Δt/t", L"",
         0.0, 100.0},
        {res::kNominalThicknessParam, Q::Length, 2.0, kEqual, kExactly, L"t", L"", 0.1, 50.0}}},

      // Slender core pins bend under injection pressure and break; a thin pin is kept short.
      {K::CorePinDiameter, res::kCorePinDiameterRuleName, L"Recommended Core Pin Diameter", 2, res::kCorePinDiameterSummary,
       {{res::kCorePinDiameterParam, Q::Length, 1.5, kAtLeast, kMinimum, L"D", L"", 0.1, 50.0},
        {res::kCorePinLengthParam, Q::Ratio, 3.0, kAtMost, kMaximum, L"L/D", L"D", 0.0, 20.0}}},

      // Same reasoning as the boss base: a root fillet relieves stress, a big one sinks.
      {K::RibBaseRadius, res::kRibBaseRadiusRuleName, L"Rib Base Radius", 2, res::kRibBaseRadiusSummary,
       {{res::kRibBaseRadiusMinParam, Q::Ratio, 0.25, kAtLeast, kMinimum, L"R/t", L"t", 0.0, 5.0},
        {res::kRibBaseRadiusMaxParam, Q::Ratio, 0.5, kAtMost, kMaximum, L"R/t", L"t", 0.0, 5.0}}},

      // A side action needs room to travel out of the undercut without touching other features.
      // Its key name is the newer of the rule's two names; rule sets saved under the older one are
      // matched by the rule module.
      {K::UndercutInterference, res::kUndercutInterferenceCheckRuleName, L"Undercut Interference Check", 2, res::kUndercutInterferenceSummary,
       {{res::kCheckInterferenceParam, Q::Switch, 1.0, kEqual, kExactly, L"U", L"", 0.0, 1.0},
        {res::kSideActionClearanceParam, Q::Length, 0.5, kAtLeast, kMinimum, L"c", L"", 0.0, 50.0}}},

      // Deep faces grip the core harder as the part shrinks, so they get more draft than shallow ones.
      {K::VariableDraftAngle, res::kVariableDraftAngleRuleName, L"Variable Draft Angle", 2, res::kVariableDraftAngleSummary,
       {{res::kShallowFaceDraftParam, Q::Angle, 0.5, kAtLeast, kMinimum, L"α1", L"", 0.0, 45.0},
        {res::kShallowFaceDepthParam, Q::Length, 25.0, kEqual, kExactly, L"h", L"", 0.0, 1000.0},
        {res::kDeepFaceDraftParam, Q::Angle, 1.0, kAtLeast, kMinimum, L"α2", L"", 0.0, 45.0}}},

      // A boss about twice the hole carries a screw without splitting; its wall stays thinner than the
      // part wall to avoid sinks, and tall bosses are tied in with ribs instead.
      {K::BossParameters, res::kBossParametersRuleName, L"Boss Parameters", 2, res::kBossParametersSummary,
       {{res::kBossOuterDiameterParam, Q::Ratio, 2.0, kAtLeast, kMinimum, L"OD/d", L"d", 0.0,
         10.0},
        {res::kBossWallRatioParam, Q::Ratio, 0.6, kAtMost, kMaximum, L"w/t", L"t", 0.0, 2.0},
        {res::kBossHeightRatioParam, Q::Ratio, 3.0, kAtMost, kMaximum, L"H/OD", L"OD", 0.0, 20.0}}},
  };
}

}  // namespace

const std::vector<RuleRow>& AllRows() {
  static const std::vector<RuleRow> rows = BuildRows();
  return rows;
}

const RuleRow& RowOf(KvxCommonRuleKind kind) {
  const auto& rows = AllRows();
  for (const auto& row : rows) {
    if (row.kind == kind) return row;
  }
  return rows.front();  // unreachable: every kind has a row, which the tests check
}

}  // namespace kvx::common_rules
