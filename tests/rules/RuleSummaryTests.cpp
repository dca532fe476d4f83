// Every rule's summary against its format and argument order, then what each rule does differently.
#include <gmock/gmock.h>

#include "RuleTestSupport.h"

namespace kvx::test {
namespace {

class RuleSummaryTest : public RuleTest {
 protected:
  std::wstring Boss(const std::wstring& innerOrEqual, const std::wstring& outerOrEqual) const {
    return Format(2465, innerOrEqual, L"0.25", En(2012)) + L" " + Format(2466, outerOrEqual, L"0.5", En(2012));
  }
  std::unique_ptr<CKVXConstraint> DefaultConstraint(long id, int op, double value) const {
    auto constraint = std::make_unique<CKVXConstraint>(1, L"DEFAULT", false);
    auto parameter = kvx::params::MakeParamStorage(KVX_TYPE_DOUBLE, id, static_cast<KvxOperator_e>(op), 1, true, false);
    kvx::params::DoubleValues(parameter.get())->push_back(value);
    constraint->AddParameter(std::move(parameter));
    return constraint;
  }
};

TEST_F(RuleSummaryTest, EveryRuleFillsItsFormatInItsOrderBeforeAndAfterSwitchingOperators) {
  const std::wstring mm = En(2000);
  struct Case {
    RuleFactory make;
    std::vector<std::pair<long, int>> switchTo;  // operators set for the second summary
    std::wstring before, after;
  };
  const std::vector<Case> cases = {
      {Make<CKVXIMHoleDepthToDiaRule>, {{2348, 8}},
       Format(2346, L"", L"2.0", L"", L"4.0"), Format(2346, L"", L"2.0", OrEqual(), L"4.0")},
      {Make<KVXIMBossDraftRule>, {{2468, 6}}, Boss(OrEqual(), OrEqual()), Boss(L"", OrEqual())},
      {Make<CKVXIMRibTipThicknessRule>, {{2730, 6}}, Format(2729, En(2491), L"0.8", mm), Format(2729, En(2482), L"0.8", mm)},
      {Make<KVXIMLipBottomRadiusRule>, {{2443, 6}}, Format(2442, OrEqual(), L"0.5"), Format(2442, L"", L"0.5")},
      {Make<CKVXIMMaxCutoutAreaRule>, {{2081, 5}}, Format(2080, OrEqual(), L"10.0", mm), Format(2080, L"", L"10.0", mm)},
      {Make<CKVXIMSpacingBetweenHolesRule>, {{2374, 6}}, Format(2373, OrEqual(), L"2.0"), Format(2373, L"", L"2.0")},
      {Make<CKVXIMMinRibClearanceRule>, {{2061, 6}}, Format(2063, OrEqual(), L"3.0"), Format(2063, L"", L"3.0")},
      {Make<CKVXIMRibReinforcementRule>, {{2077, 5}},
       Format(2074, OrEqual(), L"5.0", mm) + Format(2104, OrEqual(), L"3.0"),
       Format(2074, L"", L"5.0", mm) + Format(2104, OrEqual(), L"3.0")},
  };
  for (bool workflow : {true, false}) {
    SetMaterialWorkflow(workflow);
    for (const Case& test : cases) {
      const RulePtr rule = test.make();
      SCOPED_TRACE(std::to_string(rule->m_iRuleId) + (workflow ? " workflow on" : " workflow off"));
      rule->GetXML();  // the lip rule builds its first summary here
      EXPECT_EQ(rule->m_csSummary, test.before);
      for (const auto& [id, op] : test.switchTo) SetOperator(*rule, id, op);
      rule->BuildSummary();
      EXPECT_EQ(rule->m_csSummary, test.after);
    }
  }
}

TEST_F(RuleSummaryTest, HoleDepthFillsItsFormatWithEmptyTextsWhenALimitIsMissing) {
  SetMaterialWorkflow(false);
  CKVXIMHoleDepthToDiaRule rule;
  rule.ClearParameterArray();
  rule.BuildSummary();
  EXPECT_EQ(rule.m_csSummary, Format(2346, L"", L"", L"", L""));
}

TEST_F(RuleSummaryTest, BossDraftShowsTheLimitsThatAreOnAndKeepsItsSummaryWithoutValues) {
  for (bool workflow : {false, true}) {
    SetMaterialWorkflow(workflow);
    KVXIMBossDraftRule rule;
    SetOperator(rule, 2468, 6);
    SetOperator(rule, 2469, 6);
    Param(rule, 2468, workflow).bStatus = false;
    rule.BuildSummary();
    EXPECT_EQ(rule.m_csSummary, Format(2466, L"", L"0.5", En(2012)));
    Param(rule, 2468, workflow).bStatus = true;
    Param(rule, 2469, workflow).bStatus = false;
    rule.BuildSummary();
    EXPECT_EQ(rule.m_csSummary, Format(2465, L"", L"0.25", En(2012)) + L" ");
    Param(rule, 2468, workflow).bStatus = false;
    rule.BuildSummary();
    EXPECT_EQ(rule.m_csSummary, L"");
    rule.m_csSummary = L"as it was";
    Values(rule, 2469, workflow).clear();  // even a switched-off limit without values keeps the summary
    rule.BuildSummary();
    EXPECT_EQ(rule.m_csSummary, L"as it was");
  }
}

TEST_F(RuleSummaryTest, RibTipThicknessNamesItsOperator) {
  CKVXIMRibTipThicknessRule rule;
  SetOperator(rule, 2730, 1);
  rule.BuildSummary();
  EXPECT_EQ(rule.m_csSummary, Format(2729, En(2378), L"0.8 to 1.5", En(2000)));
  SetOperator(rule, 2730, 3);
  rule.BuildSummary();
  EXPECT_EQ(rule.m_csSummary, Format(2729, L"", L"0.8", En(2000)));
  rule.m_csSummary = L"as it was";
  rule.ClearParameterArray();  // the constraint could still supply a value, but the rule's own is required
  rule.BuildSummary();
  EXPECT_EQ(rule.m_csSummary, L"as it was");
}

TEST_F(RuleSummaryTest, LipBottomRadiusKeepsItsPlaceholderUntilTheFirstBuild) {
  KVXIMLipBottomRadiusRule rule;
  EXPECT_EQ(rule.m_csSummary, Format(2442, L"", L""));
  const RuleUnitSystemStructure mm{0, 0}, inch{3, 0};
  rule.UpdateRule(&mm, &inch);
  EXPECT_EQ(rule.m_csSummary, Format(2442, OrEqual(), L"0.5"));
}

TEST_F(RuleSummaryTest, CutoutAreaKeepsItsSummaryWithoutAValueOrWithoutADefaultEntry) {
  CKVXIMMaxCutoutAreaRule rule;
  rule.m_csSummary = L"as it was";
  Values(rule, 2081, true).clear();
  rule.BuildSummary();
  EXPECT_EQ(rule.m_csSummary, L"as it was");
  Values(rule, 2081, true) = {12.0};
  rule.Constraints().front()->csName = L"PA6";
  rule.BuildSummary();
  EXPECT_EQ(rule.m_csSummary, L"as it was");
}

TEST_F(RuleSummaryTest, SpacingKeepsAnEarlierOrEqualToTextAndNeedsItsOwnParameter) {
  CKVXIMSpacingBetweenHolesRule rule;
  rule.AddConstraint(DefaultConstraint(2374, 6, 3.0));
  rule.BuildSummary();
  EXPECT_EQ(rule.m_csSummary, Format(2373, OrEqual(), L"3.0"));
  rule.m_csSummary = L"as it was";
  rule.ClearParameterArray();
  rule.BuildSummary();
  EXPECT_EQ(rule.m_csSummary, L"as it was");
}

TEST_F(RuleSummaryTest, RibReinforcementShowsTheLimitsThatAreOnAndNothingWithoutThem) {
  const std::wstring height = Format(2104, OrEqual(), L"3.0");
  SetMaterialWorkflow(false);
  CKVXIMRibReinforcementRule rule;
  Param(rule, 2102).bStatus = false;
  rule.BuildSummary();
  EXPECT_EQ(rule.m_csSummary, Format(2074, OrEqual(), L"5.0", En(2000)));
  Param(rule, 2102).bStatus = true;
  Values(rule, 2077) = {0.0, 5.0};  // the old layout: switched off
  rule.BuildSummary();
  EXPECT_EQ(rule.m_csSummary, height);
  EXPECT_EQ(Values(rule, 2077), std::vector<double>{5.0});
  rule.ClearParameterArray();
  rule.BuildSummary();
  EXPECT_EQ(rule.m_csSummary, L"");

  // A "Default" entry is looked at only while it is on; its old layout is normalised after that test.
  SetMaterialWorkflow(true);
  CKVXIMRibReinforcementRule withConstraint;
  Values(withConstraint, 2077, true) = {0.0, 6.0};
  withConstraint.BuildSummary();
  EXPECT_EQ(withConstraint.m_csSummary, Format(2074, OrEqual(), L"6.0", En(2000)) + height);
  withConstraint.BuildSummary();
  EXPECT_EQ(withConstraint.m_csSummary, height);
}

}  // namespace
}  // namespace kvx::test
