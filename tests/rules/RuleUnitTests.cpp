// Unit changes: for every rule and workflow state, which values follow a change from millimetres and
// degrees to inches and radians, by the right factor, and that changing back restores them.
#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <numbers>
#include <tuple>

#include "RuleTestSupport.h"

namespace kvx::test {
namespace {

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

const RuleUnitSystemStructure kMillimetres{KVX_UNIT_MM, KVX_ANGLE_DEGREE};
const RuleUnitSystemStructure kInches{KVX_UNIT_INCH, KVX_ANGLE_RADIAN};

using Snapshot = std::map<std::pair<int, long>, std::vector<double>>;  // (constraint index or -1, id) -> values
Snapshot Take(const CKvxRule& rule) {
  Snapshot values;
  for (const auto& parameter : rule.Parameters()) values[{-1, parameter->lId}] = *kvx::params::DoubleValues(parameter.get());
  for (size_t i = 0; i < rule.Constraints().size(); ++i) {
    for (const auto& parameter : rule.Constraints()[i]->Parameters()) {
      values[{static_cast<int>(i), parameter->lId}] = *kvx::params::DoubleValues(parameter.get());
    }
  }
  return values;
}

void ExpectScaled(const Snapshot& before, const Snapshot& after, const Row& row, const Expectation& expected,
                  double factor) {
  for (const auto& [key, values] : before) {
    const bool listed = std::ranges::find(row.ids, key.second) != row.ids.end();
    const bool converted = listed && (key.first < 0 ? expected.own : expected.constraint);
    ASSERT_EQ(after.at(key).size(), values.size());
    for (size_t i = 0; i < values.size(); ++i) {
      EXPECT_NEAR(after.at(key)[i], values[i] * (converted ? factor : 1.0), 1e-12)
          << "parameter " << key.second << (key.first < 0 ? " of the rule" : " of a constraint");
    }
  }
}

using RuleUnitTest = RuleTest;

TEST_F(RuleUnitTest, EveryRuleConvertsWhatItsOwnRulesSayAndComesBack) {
  for (const Row& row : kRows) {
    for (State state : {State::WorkflowOff, State::WithDefaultConstraint, State::WithoutConstraints}) {
      SetMaterialWorkflow(state != State::WorkflowOff);
      const RulePtr rule = row.make();
      if (state == State::WithoutConstraints) rule->ClearConstraints();
      const Expectation& expected = state == State::WorkflowOff             ? row.off
                                    : state == State::WithDefaultConstraint ? row.withDefault
                                                                            : row.without;
      SCOPED_TRACE(std::to_string(rule->m_iRuleId) + " state " + std::to_string(static_cast<int>(state)));
      const bool angle = rule->m_iRuleId == 12176;
      const double factor = angle ? std::numbers::pi / 180.0 : 1.0 / 25.4;
      const std::wstring newUnit = En(angle ? 2001 : 2010), oldUnit = En(angle ? 2012 : 2000);
      for (long id : row.ids) Param(*rule, id).dRangeMax = 100.0;
      const Snapshot before = Take(*rule);

      rule->UpdateRule(&kMillimetres, &kInches);
      ExpectScaled(before, Take(*rule), row, expected, factor);
      const bool ignoresUnits = rule->Definition().unitChange.ignored;
      EXPECT_EQ(rule->m_unitSystem.iLengthUnit, ignoresUnits ? KVX_UNIT_MM : KVX_UNIT_INCH);
      EXPECT_EQ(rule->m_unitSystem.iAngleUnit, ignoresUnits ? KVX_ANGLE_DEGREE : KVX_ANGLE_RADIAN);
      for (long id : row.ids) {
        EXPECT_EQ(Param(*rule, id).csUnit, expected.unitFollows ? newUnit : oldUnit);
        EXPECT_NEAR(Param(*rule, id).dRangeMax, expected.unitFollows ? 100.0 * factor : 100.0, 1e-12);
        if (expected.constraint) {
          EXPECT_EQ(Param(*rule, id, true).csUnit, newUnit);
        }
      }

      rule->UpdateRule(&kInches, &kMillimetres);
      ExpectScaled(before, Take(*rule), row, kNothing, 1.0);
      for (long id : row.ids) EXPECT_EQ(Param(*rule, id).csUnit, oldUnit);
    }
  }
}

TEST_F(RuleUnitTest, AChangeOfTheOtherQuantityConvertsNothingButTakesTheUnits) {
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

// Boss draft, cut-out area and rib reinforcement need their parameters before they take new units; the
// rib tip rule only when it converts its own value; the ratios never.
TEST_F(RuleUnitTest, AMissingParameterStopsTheChangeWhereTheRuleSaysSo) {
  const std::vector<std::tuple<RuleFactory, bool, bool>> cases = {
      {Make<KVXIMBossDraftRule>, true, false},          {Make<CKVXIMMaxCutoutAreaRule>, false, false},
      {Make<CKVXIMRibReinforcementRule>, false, false}, {Make<CKVXIMRibTipThicknessRule>, false, false},
      {Make<CKVXIMRibTipThicknessRule>, true, true},    {Make<CKVXIMSpacingBetweenHolesRule>, true, true},
  };
  for (const auto& [make, workflow, takesUnits] : cases) {
    SetMaterialWorkflow(workflow);
    const RulePtr rule = make();
    rule->ClearParameterArray();
    rule->UpdateRule(&kMillimetres, &kInches);
    EXPECT_EQ(rule->m_unitSystem.iLengthUnit, takesUnits ? KVX_UNIT_INCH : KVX_UNIT_MM) << rule->m_iRuleId;
  }
}

}  // namespace
}  // namespace kvx::test
