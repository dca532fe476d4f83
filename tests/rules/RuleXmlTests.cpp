// Every rule written with GetXML into a rule set and read back into a fresh rule, and what each rule
// does differently when it reads.
#include <gmock/gmock.h>

#include "RuleTestSupport.h"

namespace kvx::test {
namespace {

using ::testing::DoubleNear;
using ::testing::HasSubstr;
using ::testing::Pointwise;
using RuleXmlTest = RuleTest;

// Gives every value and operator a state other than the default, which the record must then carry.
void Change(CKvxParamStorage& parameter, double factor) {
  for (double& value : *kvx::params::DoubleValues(&parameter)) value = value * factor + 0.125;
  const auto& options = parameter.operatorOptions;
  parameter.iOperator = options.empty() || options.back() == parameter.iOperator ? long{KVX_OP_GREATER} : options.back();
}

void ExpectSame(CKvxParamStorage* read, CKvxParamStorage& written) {
  ASSERT_NE(read, nullptr) << written.lId;
  EXPECT_THAT(*kvx::params::DoubleValues(read), Pointwise(DoubleNear(1e-6), *kvx::params::DoubleValues(&written)));
  EXPECT_EQ(read->iOperator, written.iOperator) << written.lId;
  EXPECT_EQ(read->operatorOptions, written.operatorOptions) << written.lId;
  EXPECT_EQ(read->bStatus, written.bStatus) << written.lId;
}

TEST_F(RuleXmlTest, EveryRuleRoundTripsThroughTheDocument) {
  for (bool workflow : {true, false}) {
    SetMaterialWorkflow(workflow);
    for (RuleFactory make : kAllRules) {
      const RulePtr written = make();
      SCOPED_TRACE(std::to_string(written->m_iRuleId) + (workflow ? " workflow on" : " workflow off"));
      for (const auto& parameter : written->Parameters()) Change(*parameter, 1.5);
      for (const auto& constraint : written->Constraints()) {
        for (const auto& parameter : constraint->Parameters()) Change(*parameter, 2.0);
      }
      written->Parameters().front()->bStatus = false;
      written->m_lRuleSeverity = 4;
      const auto node = Save(*written);
      std::wstring name;
      node->GetAttributeValue(L"Name", name);
      EXPECT_EQ(name, En(written->Definition().keyNameId));  // the spacing rule's 2610, not its display name

      const RulePtr read = make();
      read->PopulateParametersFromXML(node.get());
      EXPECT_EQ(read->m_lRuleSeverity, 4);
      EXPECT_EQ(read->m_csSummary, written->m_csSummary);
      for (const auto& parameter : written->Parameters()) ExpectSame(read->FindParameterInArray(parameter->lId), *parameter);
      ASSERT_EQ(read->Constraints().size(), written->Constraints().size());
      for (size_t i = 0; i < written->Constraints().size(); ++i) {
        for (const auto& parameter : written->Constraints()[i]->Parameters()) {
          ExpectSame(read->Constraints()[i]->FindParameterInArray(parameter->lId), *parameter);
        }
      }
    }
  }
}

TEST_F(RuleXmlTest, UnitTextsFollowTheUnitsOfTheRuleSet) {
  for (RuleFactory make : {Make<KVXIMBossDraftRule>, Make<CKVXIMRibTipThicknessRule>, Make<CKVXIMMaxCutoutAreaRule>,
                           Make<CKVXIMRibReinforcementRule>}) {
    const RulePtr rule = make();
    rule->PopulateParametersFromXML(Save(*rule, R"(Unit="3" AngularUnit="1")").get());
    const std::wstring unit = En(rule->m_iRuleId == 12176 ? 2001 : 2010);
    EXPECT_EQ(rule->Parameters().front()->csUnit, unit);
    EXPECT_THAT(rule->m_csSummary, HasSubstr(unit));
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
  for (RuleFactory make : {Make<KVXIMLipBottomRadiusRule>, Make<CKVXIMMinRibClearanceRule>}) {
    const RulePtr rule = make();
    const long id = rule->Parameters().front()->lId;
    rule->PopulateParametersFromXML(
        LoadRule("<Rule>" + ParamXml(id, 6, 1.25) + ConstraintXml("Default", ParamXml(id, 7, 7.0)) + "</Rule>").get());
    EXPECT_EQ(Values(*rule, id), std::vector<double>{1.25});
    EXPECT_TRUE(rule->Constraints().empty());
    EXPECT_EQ(rule->m_csSummary, Format(rule->Definition().summary.format, L"", L"1.25"));
  }
}

}  // namespace
}  // namespace kvx::test
