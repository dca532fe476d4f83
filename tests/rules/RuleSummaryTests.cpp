// Every rule's summary against its format and argument order, then what each rule does differently.
#include <gmock/gmock.h>

#include <tuple>

#include "RuleTestSupport.h"

namespace kvx::test {
namespace {

using RuleSummaryTest = RuleTest;

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

TEST_F(RuleSummaryTest, AMissingParameterEmptiesOrKeepsTheSummaryAsEachRuleSays) {
  const std::wstring kept = L"as it was";
  const std::vector<std::tuple<RuleFactory, bool, std::wstring>> cases = {
      {Make<CKVXIMHoleDepthToDiaRule>, false, Format(2346, L"", L"", L"", L"")},
      {Make<CKVXIMRibReinforcementRule>, false, L""},
      {Make<KVXIMBossDraftRule>, false, kept},
      {Make<CKVXIMMaxCutoutAreaRule>, false, kept},
      {Make<KVXIMLipBottomRadiusRule>, true, kept},
      {Make<CKVXIMMinRibClearanceRule>, true, kept},
      // These two need their own parameter even while a "Default" constraint could supply the value.
      {Make<CKVXIMRibTipThicknessRule>, true, kept},
      {Make<CKVXIMSpacingBetweenHolesRule>, true, kept},
  };
  for (const auto& [make, workflow, expected] : cases) {
    SetMaterialWorkflow(workflow);
    const RulePtr rule = make();
    rule->m_csSummary = kept;
    rule->ClearParameterArray();
    rule->BuildSummary();
    EXPECT_EQ(rule->m_csSummary, expected) << rule->m_iRuleId;
  }
}

TEST_F(RuleSummaryTest, BossDraftShowsTheLimitsThatAreOnAndKeepsItsSummaryWithoutValues) {
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

TEST_F(RuleSummaryTest, RibReinforcementShowsTheLimitsThatAreOn) {
  const std::wstring height = Format(2104, OrEqual(), L"3.0");
  SetMaterialWorkflow(false);
  CKVXIMRibReinforcementRule rule;
  Param(rule, 2102).bStatus = false;
  rule.BuildSummary();
  EXPECT_EQ(rule.m_csSummary, Format(2074, OrEqual(), L"5.0", En(2000)));
  Param(rule, 2102).bStatus = true;
  Values(rule, 2077) = {0.0, 5.0};  // the old layout, switched off: normalised before it is looked at
  rule.BuildSummary();
  EXPECT_EQ(rule.m_csSummary, height);

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

}  // namespace
}  // namespace kvx::test
