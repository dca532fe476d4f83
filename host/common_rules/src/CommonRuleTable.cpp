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

// The limits a rule sets: a minimum, a maximum, or one exact value.
constexpr Limit kMinimum{.op = kAtLeast, .alternative = kMore};
constexpr Limit kMaximum{.op = kAtMost, .alternative = kLess};
constexpr Limit kExactly{.op = kEqual, .alternative = kNone};

// Parameter ids: 3000 + 10 x the row's position + the parameter's position. They are this library's
// own; the rule module's parameters use the 2000s.
std::vector<RuleRow> BuildRows() {  // NOLINT(readability-function-size): a table, not steps
  using K = KvxCommonRuleKind;
  using Q = Quantity;
  namespace res = kvx::res;
  // clang-format off: a row per rule and two lines per parameter read better than one field a line
  return {
      // A fillet where the boss meets the wall spreads the load and keeps the flow smooth; too big a
      // fillet piles up material and sinks on the far side.
      {.kind = K::BossBaseRadius, .nameId = res::kBossBaseRadiusRuleName, .keyName = L"Boss Base Radius",
       .severity = 2, .summaryId = res::kBossBaseRadiusSummary,
       .params = {{.id = res::kBossBaseRadiusMinParam, .quantity = Q::Ratio, .defaultValue = 0.25, .limit = kMinimum,
                   .symbol = L"R/t", .ratioBase = L"t", .rangeMin = 0.0, .rangeMax = 5.0},
                  {.id = res::kBossBaseRadiusMaxParam, .quantity = Q::Ratio, .defaultValue = 0.5, .limit = kMaximum,
                   .symbol = L"R/t", .ratioBase = L"t", .rangeMin = 0.0, .rangeMax = 5.0}}},

      // A rounded top edge fills cleanly and does not chip when the screw goes in.
      {.kind = K::BossTipRadius, .nameId = res::kBossTipRadiusRuleName, .keyName = L"Boss Tip Radius",
       .severity = 2, .summaryId = res::kBossTipRadiusSummary,
       .params = {{.id = res::kBossTipRadiusMinParam, .quantity = Q::Length, .defaultValue = 0.25, .limit = kMinimum,
                   .symbol = L"r", .rangeMin = 0.0, .rangeMax = 10.0}}},

      // Every face in the direction of pull needs draft to leave the mould without scuffing; a texture
      // keys into the steel and needs considerably more.
      {.kind = K::DraftAngle, .nameId = res::kDraftAngleRuleName, .keyName = L"Draft Angle",
       .severity = 2, .summaryId = res::kDraftAngleSummary,
       .params = {{.id = res::kDraftPerSideParam, .quantity = Q::Angle, .defaultValue = 1.0, .limit = kMinimum,
                   .symbol = L"α", .rangeMin = 0.0, .rangeMax = 45.0},
                  {.id = res::kDraftTexturedParam, .quantity = Q::Angle, .defaultValue = 3.0, .limit = kMinimum,
                   .symbol = L"αt", .rangeMin = 0.0, .rangeMax = 45.0}}},

      // Ribs thinner than the wall avoid sink marks at their root; tall ribs are hard to fill and to
      // eject, and ribs too close together leave thin steel between them that overheats.
      {.kind = K::RibParameters, .nameId = res::kRibParametersRuleName, .keyName = L"Rib Parameters",
       .severity = 3, .summaryId = res::kRibParametersSummary,
       .params = {{.id = res::kRibThicknessRatioParam, .quantity = Q::Ratio, .defaultValue = 0.6, .limit = kMaximum,
                   .symbol = L"T/t", .ratioBase = L"t", .rangeMin = 0.0, .rangeMax = 2.0},
                  {.id = res::kRibHeightRatioParam, .quantity = Q::Ratio, .defaultValue = 3.0, .limit = kMaximum,
                   .symbol = L"H/t", .ratioBase = L"t", .rangeMin = 0.0, .rangeMax = 20.0},
                  {.id = res::kRibDraftParam, .quantity = Q::Angle, .defaultValue = 0.5, .limit = kMinimum,
                   .symbol = L"α", .rangeMin = 0.0, .rangeMax = 45.0},
                  {.id = res::kRibSpacingRatioParam, .quantity = Q::Ratio, .defaultValue = 2.0, .limit = kMinimum,
                   .symbol = L"S/t", .ratioBase = L"t", .rangeMin = 0.0, .rangeMax = 20.0}}},

      // An undercut needs a side action or a collapsible core; shallow ones can often be stripped, so
      // only those deeper than the limit are reported.
      {.kind = K::UndercutDetection, .nameId = res::kUndercutDetectionRuleName, .keyName = L"Undercut Detection",
       .severity = 2, .summaryId = res::kUndercutDetectionSummary,
       .params = {{.id = res::kDetectUndercutsParam, .quantity = Q::Switch, .defaultValue = 1.0, .limit = kExactly,
                   .symbol = L"U", .rangeMin = 0.0, .rangeMax = 1.0},
                  {.id = res::kUndercutDepthParam, .quantity = Q::Length, .defaultValue = 0.1, .limit = kMinimum,
                   .symbol = L"d", .rangeMin = 0.0, .rangeMax = 50.0}}},

      // Below about 0.8 mm most materials do not fill over a usual flow length; above about 4 mm cycle
      // times grow and sinks and voids appear.
      {.kind = K::MouldWallThickness, .nameId = res::kMouldedWallThicknessRuleName,
       .keyName = L"Moulded Wall Thickness", .severity = 3, .summaryId = res::kMouldedWallThicknessSummary,
       .params = {{.id = res::kWallThicknessMinParam, .quantity = Q::Length, .defaultValue = 0.8, .limit = kMinimum,
                   .symbol = L"t", .rangeMin = 0.1, .rangeMax = 50.0},
                  {.id = res::kWallThicknessMaxParam, .quantity = Q::Length, .defaultValue = 4.0, .limit = kMaximum,
                   .symbol = L"t", .rangeMin = 0.1, .rangeMax = 50.0}}},

      // Neighbouring walls of different thickness cool at different rates and warp; where a change
      // cannot be avoided it is tapered over several times the step.
      {.kind = K::WallThicknessVariation, .nameId = res::kWallThicknessVariationRuleName,
       .keyName = L"Wall Thickness Variation", .severity = 2, .summaryId = res::kWallThicknessVariationSummary,
       .params = {{.id = res::kThicknessVariationParam, .quantity = Q::Percent, .defaultValue = 15.0, .limit = kMaximum,
                   .symbol = L"Δt/t", .rangeMin = 0.0, .rangeMax = 100.0},
                  {.id = res::kTransitionLengthParam, .quantity = Q::Ratio, .defaultValue = 3.0, .limit = kMinimum,
                   .symbol = L"L/Δt", .ratioBase = L"Δt", .rangeMin = 0.0, .rangeMax = 20.0}}},

      // An abrupt step concentrates stress and leaves flow lines; beyond a quarter of the wall it needs
      // a taper.
      {.kind = K::SuddenWallThicknessVariation, .nameId = res::kSuddenWallThicknessVariationRuleName,
       .keyName = L"Sudden Wall Thickness Variation",
       .severity = 3, .summaryId = res::kSuddenWallThicknessVariationSummary,
       .params = {{.id = res::kSuddenThicknessChangeParam, .quantity = Q::Percent, .defaultValue = 25.0,
                   .limit = kMaximum, .symbol = L"Δt/t", .rangeMin = 0.0, .rangeMax = 100.0}}},

      // Walls held within a narrow band around one nominal thickness shrink evenly.
      {.kind = K::UniformThickness, .nameId = res::kUniformThicknessRuleName, .keyName = L"Uniform Thickness",
       .severity = 3, .summaryId = res::kUniformThicknessSummary,
       .params = {{.id = res::kThicknessDeviationParam, .quantity = Q::Percent, .defaultValue = 10.0, .limit = kMaximum,
                   .symbol = L"Δt/t", .rangeMin = 0.0, .rangeMax = 100.0},
                  {.id = res::kNominalThicknessParam, .quantity = Q::Length, .defaultValue = 2.0, .limit = kExactly,
                   .symbol = L"t", .rangeMin = 0.1, .rangeMax = 50.0}}},

      // Slender core pins bend under injection pressure and break; a thin pin is kept short.
      {.kind = K::CorePinDiameter, .nameId = res::kCorePinDiameterRuleName, .keyName = L"Recommended Core Pin Diameter",
       .severity = 2, .summaryId = res::kCorePinDiameterSummary,
       .params = {{.id = res::kCorePinDiameterParam, .quantity = Q::Length, .defaultValue = 1.5, .limit = kMinimum,
                   .symbol = L"D", .rangeMin = 0.1, .rangeMax = 50.0},
                  {.id = res::kCorePinLengthParam, .quantity = Q::Ratio, .defaultValue = 3.0, .limit = kMaximum,
                   .symbol = L"L/D", .ratioBase = L"D", .rangeMin = 0.0, .rangeMax = 20.0}}},

      // Same reasoning as the boss base: a root fillet relieves stress, a big one sinks.
      {.kind = K::RibBaseRadius, .nameId = res::kRibBaseRadiusRuleName, .keyName = L"Rib Base Radius",
       .severity = 2, .summaryId = res::kRibBaseRadiusSummary,
       .params = {{.id = res::kRibBaseRadiusMinParam, .quantity = Q::Ratio, .defaultValue = 0.25, .limit = kMinimum,
                   .symbol = L"R/t", .ratioBase = L"t", .rangeMin = 0.0, .rangeMax = 5.0},
                  {.id = res::kRibBaseRadiusMaxParam, .quantity = Q::Ratio, .defaultValue = 0.5, .limit = kMaximum,
                   .symbol = L"R/t", .ratioBase = L"t", .rangeMin = 0.0, .rangeMax = 5.0}}},

      // A side action needs room to travel out of the undercut without touching other features.
      // Its key name is the newer of the rule's two names; rule sets saved under the older one are
      // matched by the rule module.
      {.kind = K::UndercutInterference, .nameId = res::kUndercutInterferenceCheckRuleName,
       .keyName = L"Undercut Interference Check", .severity = 2, .summaryId = res::kUndercutInterferenceSummary,
       .params = {{.id = res::kCheckInterferenceParam, .quantity = Q::Switch, .defaultValue = 1.0, .limit = kExactly,
                   .symbol = L"U", .rangeMin = 0.0, .rangeMax = 1.0},
                  {.id = res::kSideActionClearanceParam, .quantity = Q::Length, .defaultValue = 0.5, .limit = kMinimum,
                   .symbol = L"c", .rangeMin = 0.0, .rangeMax = 50.0}}},

      // Deep faces grip the core harder as the part shrinks, so they get more draft than shallow ones.
      {.kind = K::VariableDraftAngle, .nameId = res::kVariableDraftAngleRuleName, .keyName = L"Variable Draft Angle",
       .severity = 2, .summaryId = res::kVariableDraftAngleSummary,
       .params = {{.id = res::kShallowFaceDraftParam, .quantity = Q::Angle, .defaultValue = 0.5, .limit = kMinimum,
                   .symbol = L"α1", .rangeMin = 0.0, .rangeMax = 45.0},
                  {.id = res::kShallowFaceDepthParam, .quantity = Q::Length, .defaultValue = 25.0, .limit = kExactly,
                   .symbol = L"h", .rangeMin = 0.0, .rangeMax = 1000.0},
                  {.id = res::kDeepFaceDraftParam, .quantity = Q::Angle, .defaultValue = 1.0, .limit = kMinimum,
                   .symbol = L"α2", .rangeMin = 0.0, .rangeMax = 45.0}}},

      // A boss about twice the hole carries a screw without splitting; its wall stays thinner than the
      // part wall to avoid sinks, and tall bosses are tied in with ribs instead.
      {.kind = K::BossParameters, .nameId = res::kBossParametersRuleName, .keyName = L"Boss Parameters",
       .severity = 2, .summaryId = res::kBossParametersSummary,
       .params = {{.id = res::kBossOuterDiameterParam, .quantity = Q::Ratio, .defaultValue = 2.0, .limit = kMinimum,
                   .symbol = L"OD/d", .ratioBase = L"d", .rangeMin = 0.0, .rangeMax = 10.0},
                  {.id = res::kBossWallRatioParam, .quantity = Q::Ratio, .defaultValue = 0.6, .limit = kMaximum,
                   .symbol = L"w/t", .ratioBase = L"t", .rangeMin = 0.0, .rangeMax = 2.0},
                  {.id = res::kBossHeightRatioParam, .quantity = Q::Ratio, .defaultValue = 3.0, .limit = kMaximum,
                   .symbol = L"H/OD", .ratioBase = L"OD", .rangeMin = 0.0, .rangeMax = 20.0}}},
  };
  // clang-format on
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
