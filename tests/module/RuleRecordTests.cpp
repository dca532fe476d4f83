// The rule record: the "Rule" element written from a rule and read back into one, with its kept
// asymmetries (summary and category are written but never read), the parameter walk and its
// illegal-type stop, position-matched constraints and the units taken from the rule set.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "../support/ModuleFixture.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/module/RuleRecordXml.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/platform/Resources.h"
#include "kvx/res/StringIds.h"

namespace {
using kvx::module::ReadRuleConstraints;
using kvx::module::ReadRuleRecord;
using kvx::module::WriteRuleParameter;
using kvx::module::WriteRuleRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A parameter whose value type no typed storage has; counts what the record asks of it.
class StrangeParameter final : public CKvxParamStorage {
 public:
  explicit StrangeParameter(long id) : CKvxParamStorage(static_cast<Type_e>(9), id, KVX_OP_EQUAL, 8, true, false) {}
  int GetValueCount() const override { return 0; }
  void SetValueCount(int) override {}
  void ResetValues() override {}
  std::vector<KvxValueView> DescribeValues() const override { return {}; }
  std::unique_ptr<KvxXMLNode> GetParameterXML() override {
    ++writes;
    return nullptr;
  }
  void PopulateParameterFromXML(KvxXMLNode*) override { ++reads; }
  int writes = 0;
  int reads = 0;
};

// The smallest rule of this module: typed storage for its parameters, and a count of PostPopulate calls.
class TestRule final : public CKvxRule {
 public:
  TestRule() {
    m_csRuleName = L"Hole depth to diameter";
    m_csSummary = L"H/D <= 2.0";
    m_csModuleName = L"KvxIMRulesValidator";
    SetRuleCategory(KVX_CATEGORY_INJECTION_MOULDING);
    m_csRuleModule = L"KVXIMRules";
    m_csRuleModuleFile = L"C:\\Program Files\\Korvex\\AddIns\\KVXIMRulesu.dll";
    m_lRuleStatus = 1;
    m_lLifeStatus = 0;
    m_lRuleSeverity = 3;
  }

  CKvxParamStorage& AddDouble(long id, std::vector<double> values, KvxParamType_e kind = 8) {
    auto parameter = CreateParamStorageObject(KVX_TYPE_DOUBLE, id, KVX_OP_LESS_EQUAL, kind, true, false);
    *parameter->GetDoubleValues() = std::move(values);
    AddParameter(std::move(parameter));
    return *m_paramArray.back();
  }
  StrangeParameter& AddStrange(long id) {
    AddParameter(std::make_unique<StrangeParameter>(id));
    return static_cast<StrangeParameter&>(*m_paramArray.back());
  }
  CKVXConstraint& AddConstraintWith(const std::wstring& name, long id, double value) {
    auto constraint = CreateConstraintObject(1, name, true);
    auto parameter = CreateParamStorageObject(KVX_TYPE_DOUBLE, id, KVX_OP_LESS_EQUAL, 8, true, false);
    *parameter->GetDoubleValues() = {value};
    constraint->AddParameter(std::move(parameter));
    AddConstraint(std::move(constraint));
    return *m_constraintArray.back();
  }
  std::vector<double> ValuesOf(long id) const { return *FindParameterInArray(id)->GetDoubleValues(); }

  void PostPopulate() override { ++postPopulateCalls; }
  int postPopulateCalls = 0;

 protected:
  std::unique_ptr<CKvxParamStorage> NewParamStorage(Type_e valueType, long id, KvxOperator_e op,
                                                    KvxParamType_e paramType, bool firstFlag,
                                                    bool secondFlag) const override {
    return kvx::params::MakeParamStorage(valueType, id, op, paramType, firstFlag, secondFlag);
  }
};

// The element's attributes as one line, in their order.
std::string AttributesOf(const KvxXMLNode& element) {
  std::string line;
  for (const pugi::xml_attribute& attribute : element.Raw().attributes()) {
    line += std::string(line.empty() ? "" : " ") + attribute.name() + "=\"" + attribute.value() + "\"";
  }
  return line;
}

// Each child element as its name and its "Type" (parameters) or "Value" (constraints) attribute.
std::vector<std::string> ChildrenOf(const KvxXMLNode& element) {
  std::vector<std::string> children;
  for (const pugi::xml_node& child : element.Raw().children()) {
    const char* key = std::string_view(child.name()) == "Parameter" ? "Type" : "Value";
    children.push_back(std::string(child.name()) + " " + child.attribute(key).value());
  }
  return children;
}

class RuleRecordTest : public kvx::test::ModuleFixture {};

// --- writing ----------------------------------------------------------------------------------------

TEST_F(RuleRecordTest, WritesAttributesInOrderThenParametersThenConstraints) {
  TestRule rule;
  rule.AddConstraintWith(L"ABS", 2468, 3.0);
  rule.AddDouble(2468, {2.0});
  rule.AddDouble(2517, {0.5});
  rule.AddConstraintWith(L"PC", 2468, 4.0);

  const auto element = WriteRuleRecord(&rule);
  ASSERT_TRUE(element);
  EXPECT_EQ(element->GetNodeName(), L"Rule");
  EXPECT_EQ(AttributesOf(*element),
            R"(Name="Hole depth to diameter" Status="1" LifeStatus="0" Summary="H/D <= 2.0")"
            R"( Module="KvxIMRulesValidator" RuleModule="KVXIMRules" RuleModuleFileName="KVXIMRulesu.dll")"
            R"( Severity="3" RuleCategory="9")");
  EXPECT_THAT(ChildrenOf(*element), ElementsAre("Parameter 2468", "Parameter 2517", "Constraint ABS", "Constraint PC"));

  const auto constraint = element->GetNodeList(L"Constraint")->GetItem(1);
  EXPECT_EQ(AttributesOf(*constraint), R"(Type="1" Value="PC" Status="1")");
  EXPECT_THAT(ChildrenOf(*constraint), ElementsAre("Parameter 2468"));
}

TEST_F(RuleRecordTest, NegativeCodesAndFileNamesWithoutBackslash) {
  const std::pair<std::wstring, std::string> files[] = {
      {L"/opt/korvex/libKVXIMRulesu.so", "/opt/korvex/libKVXIMRulesu.so"}, {L"C:\\AddIns\\", ""}, {L"", ""}};
  for (const auto& [stored, written] : files) {
    TestRule rule;
    rule.m_csRuleModuleFile = stored;
    rule.m_lRuleStatus = -1;
    rule.m_lRuleSeverity = -2147483647 - 1;
    const auto element = WriteRuleRecord(&rule);
    EXPECT_EQ(element->Raw().attribute("RuleModuleFileName").value(), written);
    EXPECT_STREQ(element->Raw().attribute("Status").value(), "-1");
    EXPECT_STREQ(element->Raw().attribute("Severity").value(), "-2147483648");
  }
}

TEST_F(RuleRecordTest, KindsZeroAndTwelveAreNeverWritten) {
  TestRule rule;
  rule.AddDouble(1, {1.0}, 0);
  rule.AddDouble(2, {2.0}, 12);
  rule.AddDouble(3, {3.0}, 1);
  rule.AddDouble(4, {4.0}, 13);
  const auto element = WriteRuleRecord(&rule);
  EXPECT_THAT(ChildrenOf(*element), ElementsAre("Parameter 3", "Parameter 4"));
  EXPECT_TRUE(WriteRuleParameter(&rule, 1)) << "the single-parameter writer leaves the choice to its caller";
}

TEST_F(RuleRecordTest, AnIllegalValueTypeIsReportedAndTheWalkGoesOn) {
  UseLocalizedLanguage("german");
  TestRule rule;
  rule.AddDouble(1, {1.0});
  StrangeParameter& strange = rule.AddStrange(2);
  rule.AddDouble(3, {3.0});

  const auto element = WriteRuleRecord(&rule);
  EXPECT_THAT(ChildrenOf(*element), ElementsAre("Parameter 1", "Parameter 3"));
  EXPECT_EQ(strange.writes, 0);
  ASSERT_EQ(messages_.messages.size(), 1u);
  EXPECT_EQ(messages_.messages[0].text, localized_->String(kvx::res::kIllegalParameterDataType).value_or(L"?"))
      << "the shown language";
  EXPECT_NE(messages_.messages[0].text, En(kvx::res::kIllegalParameterDataType));

  messages_.messages.clear();
  EXPECT_EQ(WriteRuleParameter(&rule, 1), nullptr);
  EXPECT_EQ(messages_.messages.size(), 1u) << "the single-parameter writer reports it too";
  EXPECT_EQ(WriteRuleParameter(&rule, 3), nullptr);
  EXPECT_EQ(WriteRuleParameter(&rule, -1), nullptr);
}

TEST_F(RuleRecordTest, NullArgumentsAndNoDocumentDoNothing) {
  TestRule rule;
  rule.AddDouble(1, {1.0});
  const kvx::platform::ResourceLibrary* before = kvx::platform::CurrentResourceLibrary();
  const auto element = LoadRule(R"(<RuleSet><Rule Name="R" Status="2"/></RuleSet>)");
  ReadRuleRecord(&rule, nullptr);
  ReadRuleRecord(nullptr, element.get());
  EXPECT_EQ(rule.m_lRuleStatus, 1);
  EXPECT_EQ(rule.postPopulateCalls, 0);
  EXPECT_FALSE(rule.m_bPopulated);
  EXPECT_EQ(WriteRuleParameter(nullptr, 0), nullptr);
  EXPECT_EQ(WriteRuleRecord(nullptr), nullptr);
  context_.xmlDocument = nullptr;
  EXPECT_EQ(WriteRuleRecord(&rule), nullptr);
  EXPECT_THAT(messages_.messages, IsEmpty());
  EXPECT_EQ(kvx::platform::CurrentResourceLibrary(), before);
}

// --- reading ----------------------------------------------------------------------------------------

TEST_F(RuleRecordTest, ReadsIdentityAndStateButNotSummaryOrCategory) {
  const auto element = LoadRule(R"(
    <RuleSet Unit="3" AngularUnit="1">
      <Rule Name="Saved name" Status="2" LifeStatus="5" Summary="saved summary" Module="KVXIMRULESVALIDATOR"
            RuleModule="Saved module" RuleModuleFileName="D:\old\KVXIMRulesu.dll" Severity="4" RuleCategory="77"/>
    </RuleSet>)");
  TestRule rule;
  ReadRuleRecord(&rule, element.get());

  EXPECT_EQ(rule.m_csRuleName, L"Saved name");
  EXPECT_EQ(rule.m_lRuleStatus, 2);
  EXPECT_EQ(rule.m_lLifeStatus, 5);
  EXPECT_EQ(rule.m_lRuleSeverity, 4);
  EXPECT_EQ(rule.m_csModuleName, L"KVXIMRULESVALIDATOR");
  EXPECT_EQ(rule.m_csRuleModule, L"Saved module");
  EXPECT_EQ(rule.m_csRuleModuleFile, L"D:\\old\\KVXIMRulesu.dll") << "stored as the attribute holds it";
  // The constructor's texts win over the saved ones.
  EXPECT_EQ(rule.m_csSummary, L"H/D <= 2.0");
  EXPECT_EQ(rule.m_csCategoryText, L"9");
  EXPECT_EQ(rule.m_unitSystem.iLengthUnit, 3);
  EXPECT_TRUE(rule.m_bPopulated);
  EXPECT_EQ(rule.postPopulateCalls, 1);
}

TEST_F(RuleRecordTest, AbsentOrUnreadableIntegersBecomeMinusOne) {
  const auto element = LoadRule(R"(<RuleSet><Rule Status="abc" Severity="12abc"/></RuleSet>)");
  TestRule rule;
  rule.m_lLifeStatus = 6;
  ReadRuleRecord(&rule, element.get());
  EXPECT_EQ(rule.m_lRuleStatus, -1);
  EXPECT_EQ(rule.m_lLifeStatus, -1);
  EXPECT_EQ(rule.m_lRuleSeverity, 12) << "\"%ld\" reads the leading number";
  EXPECT_EQ(rule.m_csRuleName, L"") << "absent texts read as empty";
  EXPECT_EQ(rule.m_unitSystem.iLengthUnit, 0) << "no units on the rule set";
}

TEST_F(RuleRecordTest, AnIllegalValueTypeAbandonsTheRestOfTheRecord) {
  const auto element = LoadRule(R"(
    <RuleSet Unit="3" AngularUnit="1"><Rule Name="R" Status="2">
      <Parameter Type="1"><Value>10</Value></Parameter>
      <Parameter Type="3"><Value>30</Value></Parameter>
      <Constraint Type="1" Value="read" Status="0"/>
    </Rule></RuleSet>)");
  TestRule rule;
  rule.AddDouble(1, {});
  StrangeParameter& strange = rule.AddStrange(2);
  rule.AddDouble(3, {});
  rule.AddConstraintWith(L"default", 1, 1.0);
  rule.m_unitSystem = {7, 2};
  ReadRuleRecord(&rule, element.get());

  EXPECT_EQ(rule.m_lRuleStatus, 2) << "the attributes come first";
  EXPECT_THAT(rule.ValuesOf(1), ElementsAre(10.0));
  EXPECT_EQ(strange.reads, 0);
  EXPECT_THAT(rule.ValuesOf(3), IsEmpty());
  EXPECT_EQ(rule.Constraints()[0]->csName, L"default");
  EXPECT_EQ(rule.m_unitSystem.iLengthUnit, 7);
  EXPECT_EQ(rule.m_unitSystem.iAngleUnit, 2);
  EXPECT_FALSE(rule.m_bPopulated);
  EXPECT_EQ(rule.postPopulateCalls, 0);
  ASSERT_EQ(messages_.messages.size(), 1u);
  EXPECT_EQ(messages_.messages[0].text, En(kvx::res::kIllegalParameterDataType));
}

TEST_F(RuleRecordTest, ConstraintsAreMatchedByPositionOnlyWhenTheCountsAgree) {
  const std::string two = R"(
    <RuleSet><Rule Name="R">
      <Constraint Type="1" Value="PP" Status="0"><Parameter Type="5"><Value>11</Value></Parameter></Constraint>
      <Constraint Type="1" Value="ABS" Status="1"><Parameter Type="5"><Value>22</Value></Parameter></Constraint>
    </Rule></RuleSet>)";
  TestRule matched;
  matched.AddConstraintWith(L"ABS", 5, 1.0);
  matched.AddConstraintWith(L"PP", 5, 2.0);
  ReadRuleRecord(&matched, LoadRule(two).get());
  EXPECT_EQ(matched.Constraints()[0]->csName, L"PP") << "by position, not by name";
  EXPECT_FALSE(matched.Constraints()[0]->bStatus);
  EXPECT_THAT(*matched.Constraints()[0]->FindParameterInArray(5)->GetDoubleValues(), ElementsAre(1.0, 11.0));
  EXPECT_EQ(matched.Constraints()[1]->csName, L"ABS");

  for (int count : {1, 3}) {
    SCOPED_TRACE("constraints in the rule: " + std::to_string(count));
    TestRule mismatched;
    for (int i = 0; i < count; ++i) mismatched.AddConstraintWith(L"default" + std::to_wstring(i), 5, 1.0);
    ReadRuleRecord(&mismatched, LoadRule(two).get());
    for (const auto& constraint : mismatched.Constraints()) {
      EXPECT_EQ(constraint->csName.substr(0, 7), L"default");
      EXPECT_THAT(*constraint->FindParameterInArray(5)->GetDoubleValues(), ElementsAre(1.0));
    }
    EXPECT_TRUE(mismatched.m_bPopulated) << "a mismatch is silent";
    EXPECT_EQ(mismatched.postPopulateCalls, 1);
  }
  EXPECT_THAT(messages_.messages, IsEmpty());
}

TEST_F(RuleRecordTest, ReadingConstraintsAloneHasNoCountCheck) {
  LoadRule(R"(
    <RuleSet><Rule/><Constraint Type="2" Value="ALL" Status="0"><Parameter Type="5"><Value>9</Value></Parameter></Constraint></RuleSet>)");
  TestRule rule;
  rule.AddConstraintWith(L"first", 5, 1.0);
  rule.AddConstraintWith(L"second", 5, 2.0);
  const auto constraint = root_->SelectSingleNode(L"Constraint");
  ReadRuleConstraints(&rule, constraint.get());
  for (const auto& each : rule.Constraints()) {
    EXPECT_EQ(each->csName, L"ALL");
    EXPECT_EQ(each->iType, 2);
    EXPECT_EQ(each->FindParameterInArray(5)->GetDoubleValues()->back(), 9.0);
  }
  EXPECT_EQ(rule.postPopulateCalls, 0);
  ReadRuleConstraints(&rule, nullptr);
  ReadRuleConstraints(nullptr, constraint.get());
}

// Each parameter finds its own element; one the record lacks keeps its defaults.
TEST_F(RuleRecordTest, ARecordReadsBackIntoAFreshRule) {
  TestRule saved;
  saved.m_lRuleStatus = 0;
  saved.m_lRuleSeverity = 2;
  saved.AddDouble(2468, {2.0});
  saved.AddDouble(2517, {0.5, 1.5});
  saved.FindParameterInArray(2517)->bStatus = false;
  saved.AddConstraintWith(L"ABS", 2468, 3.0);
  auto rootNode = document_->GetRootNode();
  rootNode->AddAttribute(L"Unit", L"3");
  rootNode->AddAttribute(L"AngularUnit", L"1");
  rootNode->AppendNode(WriteRuleRecord(&saved).get());

  TestRule loaded;
  loaded.m_csRuleModuleFile = L"";
  loaded.AddDouble(2468, {});
  loaded.AddDouble(2517, {});
  loaded.AddDouble(3000, {4.0});
  loaded.AddConstraintWith(L"default", 2468, 1.0);
  ReadRuleRecord(&loaded, rootNode->SelectSingleNode(L"Rule").get());

  EXPECT_EQ(loaded.m_csRuleName, saved.m_csRuleName);
  EXPECT_EQ(loaded.m_lRuleStatus, 0);
  EXPECT_EQ(loaded.m_csRuleModuleFile, L"KVXIMRulesu.dll");
  EXPECT_THAT(loaded.ValuesOf(2517), ElementsAre(0.5, 1.5));
  EXPECT_FALSE(loaded.FindParameterInArray(2517)->bStatus);
  EXPECT_THAT(loaded.ValuesOf(3000), ElementsAre(4.0));
  EXPECT_EQ(loaded.postPopulateCalls, 1);
  EXPECT_THAT(*loaded.Constraints()[0]->FindParameterInArray(2468)->GetDoubleValues(), ElementsAre(1.0, 3.0));
  EXPECT_EQ(loaded.m_unitSystem.iAngleUnit, 1);
}

}  // namespace
