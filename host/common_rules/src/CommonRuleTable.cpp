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
      {K::BossBaseRadius, res::kBossBaseRadiusRuleName, L"Boss Base Radius", 2,
       L"Boss base radius %s and %s times the wall thickness",
       {{3010, L"Minimum base radius / wall thickness", Q::Ratio, 0.25, kAtLeast, kMinimum, L"R/t", L"t", 0.0, 5.0},
        {3011, L"Maximum base radius / wall thickness", Q::Ratio, 0.5, kAtMost, kMaximum, L"R/t", L"t", 0.0, 5.0}}},

      // A rounded top edge fills cleanly and does not chip when the screw goes in.
      {K::BossTipRadius, res::kBossTipRadiusRuleName, L"Boss Tip Radius", 2, L"Boss tip radius %s",
       {{3020, L"Minimum tip radius", Q::Length, 0.25, kAtLeast, kMinimum, L"r", L"", 0.0, 10.0}}},

      // Every face in the direction of pull needs draft to leave the mould without scuffing; a texture
      // keys into the steel and needs considerably more.
      {K::DraftAngle, res::kDraftAngleRuleName, L"Draft Angle", 2, L"Draft %s per side, %s on textured faces",
       {{3030, L"Minimum draft per side", Q::Angle, 1.0, kAtLeast, kMinimum, L"α", L"", 0.0, 45.0},
        {3031, L"Minimum draft on textured faces", Q::Angle, 3.0, kAtLeast, kMinimum, L"αt", L"", 0.0, 45.0}}},

      // Ribs thinner than the wall avoid sink marks at their root; tall ribs are hard to fill and to
      // eject, and ribs too close together leave thin steel between them that overheats.
      {K::RibParameters, res::kRibParametersRuleName, L"Rib Parameters", 3,
       L"Rib thickness %s and height %s times the wall thickness, draft %s, spacing %s times the wall thickness",
       {{3040, L"Maximum rib thickness / wall thickness", Q::Ratio, 0.6, kAtMost, kMaximum, L"T/t", L"t", 0.0, 2.0},
        {3041, L"Maximum rib height / wall thickness", Q::Ratio, 3.0, kAtMost, kMaximum, L"H/t", L"t", 0.0, 20.0},
        {3042, L"Minimum rib draft per side", Q::Angle, 0.5, kAtLeast, kMinimum, L"α", L"", 0.0, 45.0},
        {3043, L"Minimum rib spacing / wall thickness", Q::Ratio, 2.0, kAtLeast, kMinimum, L"S/t", L"t", 0.0, 20.0}}},

      // An undercut needs a side action or a collapsible core; shallow ones can often be stripped, so
      // only those deeper than the limit are reported.
      {K::UndercutDetection, res::kUndercutDetectionRuleName, L"Undercut Detection", 2,
       L"Undercut detection %s, undercuts %s deep are reported",
       {{3050, L"Detect undercuts", Q::Switch, 1.0, kEqual, kExactly, L"U", L"", 0.0, 1.0},
        {3051, L"Minimum reported undercut depth", Q::Length, 0.1, kAtLeast, kMinimum, L"d", L"", 0.0, 50.0}}},

      // Below about 0.8 mm most materials do not fill over a usual flow length; above about 4 mm cycle
      // times grow and sinks and voids appear.
      {K::MouldWallThickness, res::kMouldedWallThicknessRuleName, L"Moulded Wall Thickness", 3,
       L"Wall thickness %s and %s",
       {{3060, L"Minimum wall thickness", Q::Length, 0.8, kAtLeast, kMinimum, L"t", L"", 0.1, 50.0},
        {3061, L"Maximum wall thickness", Q::Length, 4.0, kAtMost, kMaximum, L"t", L"", 0.1, 50.0}}},

      // Neighbouring walls of different thickness cool at different rates and warp; where a change
      // cannot be avoided it is tapered over several times the step.
      {K::WallThicknessVariation, res::kWallThicknessVariationRuleName, L"Wall Thickness Variation", 2,
       L"Adjacent walls differ by %s in thickness, with transitions %s times the change in thickness long",
       {{3070, L"Maximum thickness variation", Q::Percent, 15.0, kAtMost, kMaximum, L"Δt/t", L"", 0.0, 100.0},
        {3071, L"Minimum transition length / thickness change", Q::Ratio, 3.0, kAtLeast, kMinimum, L"L/Δt", L"Δt",
         0.0, 20.0}}},

      // An abrupt step concentrates stress and leaves flow lines; beyond a quarter of the wall it needs
      // a taper.
      {K::SuddenWallThicknessVariation, res::kSuddenWallThicknessVariationRuleName,
       L"Sudden Wall Thickness Variation", 3, L"A sudden change of wall thickness is %s",
       {{3080, L"Maximum sudden thickness change", Q::Percent, 25.0, kAtMost, kMaximum, L"Δt/t", L"", 0.0, 100.0}}},

      // Walls held within a narrow band around one nominal thickness shrink evenly.
      {K::UniformThickness, res::kUniformThicknessRuleName, L"Uniform Thickness", 3,
       L"Wall thickness deviates %s from the nominal %s",
       {{3090, L"Maximum deviation from the nominal thickness", Q::Percent, 10.0, kAtMost, kMaximum, L"Δt/t", L"",
         0.0, 100.0},
        {3091, L"Nominal wall thickness", Q::Length, 2.0, kEqual, kExactly, L"t", L"", 0.1, 50.0}}},

      // Slender core pins bend under injection pressure and break; a thin pin is kept short.
      {K::CorePinDiameter, res::kCorePinDiameterRuleName, L"Recommended Core Pin Diameter", 2,
       L"Core pin diameter %s, pin length %s times the diameter",
       {{3100, L"Minimum core pin diameter", Q::Length, 1.5, kAtLeast, kMinimum, L"D", L"", 0.1, 50.0},
        {3101, L"Maximum pin length / diameter", Q::Ratio, 3.0, kAtMost, kMaximum, L"L/D", L"D", 0.0, 20.0}}},

      // Same reasoning as the boss base: a root fillet relieves stress, a big one sinks.
      {K::RibBaseRadius, res::kRibBaseRadiusRuleName, L"Rib Base Radius", 2,
       L"Rib base radius %s and %s times the wall thickness",
       {{3110, L"Minimum base radius / wall thickness", Q::Ratio, 0.25, kAtLeast, kMinimum, L"R/t", L"t", 0.0, 5.0},
        {3111, L"Maximum base radius / wall thickness", Q::Ratio, 0.5, kAtMost, kMaximum, L"R/t", L"t", 0.0, 5.0}}},

      // A side action needs room to travel out of the undercut without touching other features.
      // Its key name is the newer of the rule's two names; rule sets saved under the older one are
      // matched by the rule module.
      {K::UndercutInterference, res::kUndercutInterferenceCheckRuleName, L"Undercut Interference Check", 2,
       L"Undercut interference check %s, side actions keep a clearance of %s",
       {{3120, L"Check undercut interference", Q::Switch, 1.0, kEqual, kExactly, L"U", L"", 0.0, 1.0},
        {3121, L"Minimum side action clearance", Q::Length, 0.5, kAtLeast, kMinimum, L"c", L"", 0.0, 50.0}}},

      // Deep faces grip the core harder as the part shrinks, so they get more draft than shallow ones.
      {K::VariableDraftAngle, res::kVariableDraftAngleRuleName, L"Variable Draft Angle", 2,
       L"Draft %s on faces up to %s deep, %s on deeper faces",
       {{3130, L"Minimum draft on shallow faces", Q::Angle, 0.5, kAtLeast, kMinimum, L"α1", L"", 0.0, 45.0},
        {3131, L"Depth of a shallow face", Q::Length, 25.0, kEqual, kExactly, L"h", L"", 0.0, 1000.0},
        {3132, L"Minimum draft on deep faces", Q::Angle, 1.0, kAtLeast, kMinimum, L"α2", L"", 0.0, 45.0}}},

      // A boss about twice the hole carries a screw without splitting; its wall stays thinner than the
      // part wall to avoid sinks, and tall bosses are tied in with ribs instead.
      {K::BossParameters, res::kBossParametersRuleName, L"Boss Parameters", 2,
       L"Boss outer diameter %s times the hole, boss wall %s times the wall thickness, height %s times the "
       L"outer diameter",
       {{3140, L"Minimum outer diameter / hole diameter", Q::Ratio, 2.0, kAtLeast, kMinimum, L"OD/d", L"d", 0.0,
         10.0},
        {3141, L"Maximum boss wall / wall thickness", Q::Ratio, 0.6, kAtMost, kMaximum, L"w/t", L"t", 0.0, 2.0},
        {3142, L"Maximum height / outer diameter", Q::Ratio, 3.0, kAtMost, kMaximum, L"H/OD", L"OD", 0.0, 20.0}}},
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
