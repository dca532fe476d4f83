// Every rule written with GetXML into a rule set and read back into a fresh rule, and what each rule
// does differently when it reads.
#include <gmock/gmock.h>

#include "RuleTestSupport.h"

namespace kvx::test {
namespace {

class RuleXmlTest : public RuleTest {
 protected:
  // Gives every value, operator and status a non-default state the record must carry.
  static void Change(CKvxParamStorage& parameter, double factor) {
    for (double& value : *kvx::params::DoubleValues(&parameter)) value = value * factor + 0.125;
    const auto& options = parameter.operatorOptions;
    if (options.empty()) {
      parameter.iOperator = KVX_OP_GREATER;
    } else {
      parameter.iOperator = options.back() == parameter.iOperator ? options.front() : options.back();
    }
  }
  static void ExpectSameParameter(CKvxParamStorage& read, CKvxParamStorage& written) {
    SCOPED_TRACE(read.lId);
    // The XML keeps six decimals.
    EXPECT_THAT(*kvx::params::DoubleValues(&read),
                ::testing::Pointwise(::testing::DoubleNear(1e-6), *kvx::params::DoubleValues(&written)));
    EXPECT_EQ(read.iOperator, written.iOperator);
    EXPECT_EQ(read.operatorOptions, written.operatorOptions);
    EXPECT_EQ(read.bStatus, written.bStatus);
    EXPECT_EQ(read.csUnit, written.csUnit);
  }
};

TEST_F(RuleXmlTest, EveryRuleRoundTripsThroughTheDocument) {
  for (bool workflow : {true, false}) {
    SetMaterialWorkflow(workflow);
    for (RuleFactory make : AllRules()) {
      const RulePtr written = make();
      SCOPED_TRACE(std::to_string(written->m_iRuleId) + (workflow ? " workflow on" : " workflow off"));
      for (const auto& parameter : written->Parameters()) Change(*parameter, 1.5);
      for (const auto& constraint : written->Constraints()) {
        for (const auto& parameter : constraint->Parameters()) Change(*parameter, 2.0);
      }
      written->Parameters().front()->bStatus = false;
      written->m_lRuleSeverity = 4;
      const auto node = Save(*written);

      const RulePtr read = make();
      read->PopulateParametersFromXML(node.get());
      EXPECT_EQ(read->m_csRuleName, written->m_csRuleName);
      EXPECT_EQ(read->m_lRuleSeverity, 4);
      EXPECT_EQ(read->m_csSummary, written->m_csSummary);
      for (const auto& parameter : written->Parameters()) ExpectSameParameter(Param(*read, parameter->lId), *parameter);
      ASSERT_EQ(read->Constraints().size(), written->Constraints().size());
      for (size_t i = 0; i < written->Constraints().size(); ++i) {
        EXPECT_EQ(read->Constraints()[i]->csName, written->Constraints()[i]->csName);
        for (const auto& parameter : written->Constraints()[i]->Parameters()) {
          ExpectSameParameter(*read->Constraints()[i]->FindParameterInArray(parameter->lId), *parameter);
        }
      }
    }
  }
}

TEST_F(RuleXmlTest, SpacingIsWrittenUnderItsKeyNameNotItsDisplayName) {
  CKVXIMSpacingBetweenHolesRule rule;
  std::wstring name;
  Save(rule)->GetAttributeValue(L"Name", name);
  EXPECT_EQ(name, En(2610));
  EXPECT_NE(name, En(2372));
}

TEST_F(RuleXmlTest, UnitTextsFollowTheUnitsOfTheRuleSet) {
  KVXIMBossDraftRule boss;
  boss.PopulateParametersFromXML(Save(boss, R"(Unit="3" AngularUnit="1")").get());
  EXPECT_EQ(Param(boss, 2469).csUnit, En(2001));
  EXPECT_THAT(boss.m_csSummary, ::testing::HasSubstr(En(2001)));
  CKVXIMRibReinforcementRule ribs;
  ribs.PopulateParametersFromXML(Save(ribs, R"(Unit="3" AngularUnit="1")").get());
  EXPECT_EQ(Param(ribs, 2077).csUnit, En(2010));
  EXPECT_EQ(Param(ribs, 2102).csUnit, L"t");
  for (RuleFactory make : {Make<CKVXIMRibTipThicknessRule>, Make<CKVXIMMaxCutoutAreaRule>}) {
    const RulePtr rule = make();
    rule->PopulateParametersFromXML(Save(*rule, R"(Unit="3")").get());
    EXPECT_EQ(rule->Parameters().front()->csUnit, En(2010));
    EXPECT_THAT(rule->m_csSummary, ::testing::HasSubstr(En(2010)));
  }
}

TEST_F(RuleXmlTest, RibReinforcementReadsNothingWhileAConstraintLacksALimit) {
  CKVXIMRibReinforcementRule source;
  Values(source, 2077) = {9.0};
  const auto node = Save(source);

  CKVXIMRibReinforcementRule rule;
  auto incomplete = std::make_unique<CKVXConstraint>(1, L"Default", false);
  incomplete->AddParameter(kvx::params::MakeParamStorage(KVX_TYPE_DOUBLE, 2077, KVX_OP_LESS_EQUAL, 1, false, false));
  rule.AddConstraint(std::move(incomplete));
  rule.m_csSummary = L"as it was";
  rule.PopulateParametersFromXML(node.get());
  EXPECT_EQ(Values(rule, 2077), std::vector<double>{5.0});
  EXPECT_EQ(Values(rule, 2102), std::vector<double>{3.0});
  EXPECT_EQ(rule.Constraints().size(), 2u);
  EXPECT_EQ(rule.m_csSummary, L"as it was");

  // The other rules pass over such a constraint and read the record.
  CKVXIMHoleDepthToDiaRule holes;
  holes.AddConstraint(std::make_unique<CKVXConstraint>(1, L"PA6", false));
  Values(holes, 2347) = {9.0};
  holes.PopulateParametersFromXML(Save(holes).get());
  EXPECT_EQ(Values(holes, 2347), std::vector<double>{9.0});
}

TEST_F(RuleXmlTest, LipAndClearanceRulesReadNoConstraints) {
  const char* record = R"(<Rule><Parameter Type="%d"><Operator>6</Operator><Value>1.250000</Value></Parameter>
      <Constraint Type="1" Value="Default"><Parameter Type="%d"><Value>7.0</Value></Parameter></Constraint></Rule>)";
  for (RuleFactory make : {Make<KVXIMLipBottomRadiusRule>, Make<CKVXIMMinRibClearanceRule>}) {
    const RulePtr rule = make();
    const long id = rule->Parameters().front()->lId;
    rule->PopulateParametersFromXML(LoadRule(fmt::sprintf(record, id, id)).get());
    EXPECT_EQ(Values(*rule, id), std::vector<double>{1.25});
    EXPECT_TRUE(rule->Constraints().empty());
    EXPECT_EQ(rule->m_csSummary, Format(rule->Definition().summary.format, L"", L"1.25"));
  }
}

}  // namespace
}  // namespace kvx::test
