// Every rule's summary against its format and argument order, what each rule does differently, and unit
// changes: for every rule and workflow state, which values follow a change from millimetres and degrees to
// inches and radians, by the right factor, and that changing back restores them.
#include <gmock/gmock.h>

#include <algorithm>
#include <numbers>
#include <tuple>

#include "RuleTestSupport.h"

namespace kvx::test {
namespace {

using RuleSummaryTest = RuleTest;
const RuleUnitSystemStructure kMillimetres{KVX_UNIT_MM, KVX_ANGLE_DEGREE};
const RuleUnitSystemStructure kInches{KVX_UNIT_INCH, KVX_ANGLE_RADIAN};

TEST_F(RuleSummaryTest, EveryRuleFillsItsFormatInItsOrderBeforeAndAfterSwitchingAnOperator) {
  const std::wstring mm = En(2000), deg = En(2012);
  const std::vector<std::tuple<RuleFactory, long, int, std::wstring, std::wstring>> cases = {
      {Make<CKVXIMHoleDepthToDiaRule>, 2348, 8, Format(2346, L"", L"2.0", L"", L"4.0"),
       Format(2346, L"", L"2.0", OrEqual(), L"4.0")},
      {Make<KVXIMBossDraftRule>, 2468, 6, Format(2465, OrEqual(), L"0.25", deg) + L" " + Format(2466, OrEqual(), L"0.5", deg),
       Format(2465, L"", L"0.25", deg) + L" " + Format(2466, OrEqual(), L"0.5", deg)},
      {Make<CKVXIMRibTipThicknessRule>, 2730, 6, Format(2729, En(2491), L"0.8", mm), Format(2729, En(2482), L"0.8", mm)},
      {Make<KVXIMLipBottomRadiusRule>, 2443, 6, Format(2442, OrEqual(), L"0.5"), Format(2442, L"", L"0.5")},
      {Make<CKVXIMMaxCutoutAreaRule>, 2081, 5, Format(2080, OrEqual(), L"10.0", mm), Format(2080, L"", L"10.0", mm)},
      {Make<CKVXIMSpacingBetweenHolesRule>, 2374, 6, Format(2373, OrEqual(), L"2.0"), Format(2373, L"", L"2.0")},
      {Make<CKVXIMMinRibClearanceRule>, 2061, 6, Format(2063, OrEqual(), L"3.0"), Format(2063, L"", L"3.0")},
      {Make<CKVXIMRibReinforcementRule>, 2077, 5, Format(2074, OrEqual(), L"5.0", mm) + Format(2104, OrEqual(), L"3.0"),
       Format(2074, L"", L"5.0", mm) + Format(2104, OrEqual(), L"3.0")},
  };
  for (bool workflow : {true, false}) {
    SetMaterialWorkflow(workflow);
    for (const auto& [make, id, op, before, after] : cases) {
      const RulePtr rule = make();
      SCOPED_TRACE(std::to_string(id) + (workflow ? " workflow on" : " workflow off"));
      rule->GetXML();  // the lip rule builds its first summary here
      EXPECT_EQ(rule->m_csSummary, before);
      SetOperator(*rule, id, op);
      rule->BuildSummary();
      EXPECT_EQ(rule->m_csSummary, after);
    }
  }
  EXPECT_EQ(KVXIMLipBottomRadiusRule().m_csSummary, Format(2442, L"", L""));  // its placeholder until then
}

// The summary empties its texts or stays; boss draft, cut-out area and rib reinforcement need their parameters
// before they take new units, the rib tip rule only when it converts its own value, the ratios never.
TEST_F(RuleSummaryTest, AMissingParameterStopsTheSummaryAndTheUnitChangeWhereTheRuleSaysSo) {
  const std::wstring kept = L"as it was";
  const std::vector<std::tuple<RuleFactory, bool, std::wstring, bool>> cases = {
      {Make<CKVXIMHoleDepthToDiaRule>, false, Format(2346, L"", L"", L"", L""), true},
      {Make<CKVXIMRibReinforcementRule>, false, L"", false},
      {Make<KVXIMBossDraftRule>, false, kept, false},
      {Make<KVXIMBossDraftRule>, true, Format(2465, OrEqual(), L"0.25", En(2012)) + L" " +
                                          Format(2466, OrEqual(), L"0.5", En(2012)), false},  // from the constraint
      {Make<CKVXIMMaxCutoutAreaRule>, false, kept, false},
      {Make<KVXIMLipBottomRadiusRule>, true, kept, true},
      {Make<CKVXIMMinRibClearanceRule>, true, kept, false},
      // These two need their own parameter even while a "Default" constraint could supply the value.
      {Make<CKVXIMRibTipThicknessRule>, true, kept, true},
      {Make<CKVXIMRibTipThicknessRule>, false, kept, false},
      {Make<CKVXIMSpacingBetweenHolesRule>, true, kept, true},
  };
  for (const auto& [make, workflow, summary, takesUnits] : cases) {
    SetMaterialWorkflow(workflow);
    const RulePtr rule = make();
    SCOPED_TRACE(std::to_string(rule->m_iRuleId) + (workflow ? " workflow on" : " workflow off"));
    rule->m_csSummary = kept;
    rule->ClearParameterArray();
    rule->BuildSummary();
    EXPECT_EQ(rule->m_csSummary, summary);
    rule->UpdateRule(&kMillimetres, &kInches);
    EXPECT_EQ(rule->m_unitSystem.iLengthUnit, takesUnits ? KVX_UNIT_INCH : KVX_UNIT_MM);
  }
}

TEST_F(RuleSummaryTest, OnlyTheLimitsThatAreOnAreShown) {
  for (bool workflow : {false, true}) {
    SetMaterialWorkflow(workflow);
    KVXIMBossDraftRule rule;
    SetOperator(rule, 2468, 6);
    Param(rule, 2468, workflow).bStatus = false;
    rule.BuildSummary();
    EXPECT_EQ(rule.m_csSummary, Format(2466, OrEqual(), L"0.5", En(2012)));
    Param(rule, 2468, workflow).bStatus = true;
    Param(rule, 2469, workflow).bStatus = false;
    rule.BuildSummary();
    EXPECT_EQ(rule.m_csSummary, Format(2465, L"", L"0.25", En(2012)) + L" ");
    rule.m_csSummary = L"as it was";
    Values(rule, 2469, workflow).clear();  // even a switched-off limit without values keeps the summary
    rule.BuildSummary();
    EXPECT_EQ(rule.m_csSummary, L"as it was");
  }
  SetMaterialWorkflow(false);
  CKVXIMRibReinforcementRule rib;
  Param(rib, 2102).bStatus = false;
  rib.BuildSummary();
  EXPECT_EQ(rib.m_csSummary, Format(2074, OrEqual(), L"5.0", En(2000)));
}

// Old value lists carried the switch in front of the value: only the through-hole limit and the rib
// reinforcement rule normalise them, before they are looked at.
TEST_F(RuleSummaryTest, OldValueLayoutsAreNormalisedWhereTheRuleSaysSo) {
  SetMaterialWorkflow(false);
  CKVXIMHoleDepthToDiaRule hole;
  Values(hole, 2347) = {1.0, 6.0};
  Values(hole, 2348) = {0.0, 2.5, 3.0};
  hole.BuildSummary();
  EXPECT_EQ(Values(hole, 2347), (std::vector<double>{1.0, 6.0}));
  EXPECT_EQ(Values(hole, 2348), (std::vector<double>{2.5, 3.0}));
  EXPECT_FALSE(Param(hole, 2348).bStatus);
  EXPECT_EQ(hole.m_csSummary, Format(2346, L"", L"1.0", L"", L"2.5"));

  const std::wstring height = Format(2104, OrEqual(), L"3.0");
  CKVXIMRibReinforcementRule rib;
  Values(rib, 2077) = {0.0, 5.0};  // switched off
  rib.BuildSummary();
  EXPECT_EQ(rib.m_csSummary, height);
  // A "Default" entry whose old layout switches it off is not quoted, not even by the build that
  // normalises it: the limit is saved switched off, so the summary must not show it (a damaged record
  // read two values into one parameter and the next save then disagreed with its own summary).
  SetMaterialWorkflow(true);
  CKVXIMRibReinforcementRule withConstraint;
  Values(withConstraint, 2077, true) = {5.0, 6.0};
  for (int build = 0; build < 2; ++build) {
    withConstraint.BuildSummary();
    EXPECT_EQ(withConstraint.m_csSummary, height);
  }
  EXPECT_FALSE(Param(withConstraint, 2077, true).bStatus);
  Values(withConstraint, 2077, true) = {1.0, 6.0};  // left alone while it is off
  withConstraint.BuildSummary();
  EXPECT_EQ(withConstraint.m_csSummary, height);
}

TEST_F(RuleSummaryTest, SingleLimitRulesDifferInOperatorWordsEmptyValuesAndEarlierDefaultEntries) {
  CKVXIMRibTipThicknessRule tip;
  SetOperator(tip, 2730, KVX_OP_RANGE);
  tip.BuildSummary();
  EXPECT_EQ(tip.m_csSummary, Format(2729, En(2378), L"0.8 to 1.5", En(2000)));

  CKVXIMMaxCutoutAreaRule cutout;
  cutout.m_csSummary = L"as it was";
  Values(cutout, 2081, true).clear();
  cutout.BuildSummary();
  EXPECT_EQ(cutout.m_csSummary, L"as it was");

  // A later "Default" entry does not clear the or-equal-to text of an earlier one.
  CKVXIMSpacingBetweenHolesRule spacing;
  auto later = std::make_unique<CKVXConstraint>(1, L"DEFAULT", false);
  later->AddParameter(kvx::params::MakeParamStorage(KVX_TYPE_DOUBLE, 2374, KVX_OP_GREATER, 1, true, false));
  kvx::params::DoubleValues(later->Parameters().front().get())->push_back(3.0);
  spacing.AddConstraint(std::move(later));
  spacing.BuildSummary();
  EXPECT_EQ(spacing.m_csSummary, Format(2373, OrEqual(), L"3.0"));
}

// --- unit changes -------------------------------------------------------------------------------------

enum class State { WorkflowOff, WithDefaultConstraint, WithoutConstraints };
struct Expectation {
  bool own;          // the rule's own values are converted
  bool constraint;   // the "Default" constraint's values are converted
  bool unitFollows;  // the rule's own unit text (and range) follows the new unit
};
struct Row {
  RuleFactory make;
  std::vector<long> ids;  // the converted parameters; none for a rule of ratios
  Expectation off, withDefault, without;
};
const Expectation kNothing{false, false, false};
const std::vector<Row> kRows = {
    {Make<CKVXIMHoleDepthToDiaRule>, {}, kNothing, kNothing, kNothing},
    {Make<KVXIMBossDraftRule>, {2468, 2469}, {false, false, true}, {false, true, true}, {true, false, true}},
    {Make<CKVXIMRibTipThicknessRule>, {2730}, {true, false, true}, {false, true, false}, kNothing},
    {Make<KVXIMLipBottomRadiusRule>, {}, kNothing, kNothing, kNothing},
    {Make<CKVXIMMaxCutoutAreaRule>, {2081}, {true, false, true}, {false, true, true}, {false, false, true}},
    {Make<CKVXIMSpacingBetweenHolesRule>, {}, kNothing, kNothing, kNothing},
    {Make<CKVXIMMinRibClearanceRule>, {}, kNothing, kNothing, kNothing},
    {Make<CKVXIMRibReinforcementRule>, {2077}, {true, false, true}, {false, true, true}, {false, false, true}},
};

// A fresh rule in `state`, with the values of `ids` multiplied by `factor` where `scaled` says so.
RulePtr Expected(const Row& row, State state, const Expectation& scaled, double factor) {
  RulePtr rule = row.make();
  if (state == State::WithoutConstraints) rule->ClearConstraints();
  for (long id : row.ids) {
    if (scaled.own) std::ranges::for_each(Values(*rule, id), [&](double& v) { v *= factor; });
    if (scaled.constraint) std::ranges::for_each(Values(*rule, id, true), [&](double& v) { v *= factor; });
  }
  return rule;
}

TEST_F(RuleSummaryTest, EveryRuleConvertsWhatItsOwnRulesSayAndComesBack) {
  for (const Row& row : kRows) {
    for (State state : {State::WorkflowOff, State::WithDefaultConstraint, State::WithoutConstraints}) {
      SetMaterialWorkflow(state != State::WorkflowOff);
      const RulePtr rule = Expected(row, state, kNothing, 1.0);
      const Expectation& expected = state == State::WorkflowOff             ? row.off
                                    : state == State::WithDefaultConstraint ? row.withDefault
                                                                            : row.without;
      SCOPED_TRACE(std::to_string(rule->m_iRuleId) + " state " + std::to_string(static_cast<int>(state)));
      const bool angle = rule->m_iRuleId == 12176;
      const double factor = angle ? std::numbers::pi / 180.0 : 1.0 / 25.4;
      const std::wstring newUnit = En(angle ? 2001 : 2010), oldUnit = En(angle ? 2012 : 2000);
      for (long id : row.ids) Param(*rule, id).dRangeMax = 100.0;
      rule->UpdateRule(&kMillimetres, &kInches);
      EXPECT_EQ(Describe(*rule), Describe(*Expected(row, state, expected, factor)));
      const bool ignoresUnits = rule->Definition().unitChange.ignored;
      EXPECT_EQ(rule->m_unitSystem.iLengthUnit, ignoresUnits ? KVX_UNIT_MM : KVX_UNIT_INCH);
      EXPECT_EQ(rule->m_unitSystem.iAngleUnit, ignoresUnits ? KVX_ANGLE_DEGREE : KVX_ANGLE_RADIAN);
      for (long id : row.ids) {
        EXPECT_EQ(Param(*rule, id).csUnit, expected.unitFollows ? newUnit : oldUnit);
        EXPECT_NEAR(Param(*rule, id).dRangeMax, expected.unitFollows ? 100.0 * factor : 100.0, 1e-12);
        EXPECT_TRUE(!expected.constraint || Param(*rule, id, true).csUnit == newUnit);
      }

      rule->UpdateRule(&kInches, &kMillimetres);
      EXPECT_EQ(Describe(*rule), Describe(*Expected(row, state, kNothing, 1.0)));
      for (long id : row.ids) EXPECT_EQ(Param(*rule, id).csUnit, oldUnit);
    }
  }
  // A change of the other quantity converts nothing but takes the units, and rebuilds the summary.
  SetMaterialWorkflow(false);
  const RuleUnitSystemStructure radians{KVX_UNIT_MM, KVX_ANGLE_RADIAN}, metres{KVX_UNIT_M, KVX_ANGLE_RADIAN};
  CKVXIMMaxCutoutAreaRule cutout;
  cutout.m_csSummary = L"stale";
  cutout.UpdateRule(&kMillimetres, &radians);
  EXPECT_EQ(Values(cutout, 2081), std::vector<double>{10.0});
  EXPECT_EQ(cutout.m_unitSystem.iAngleUnit, KVX_ANGLE_RADIAN);
  EXPECT_EQ(cutout.m_csSummary, Format(2080, OrEqual(), L"10.0", En(2000)));
  cutout.UpdateRule(&radians, &metres);
  EXPECT_EQ(cutout.m_csSummary, Format(2080, OrEqual(), L"0.01", En(2007)));
}

}  // namespace
}  // namespace kvx::test
