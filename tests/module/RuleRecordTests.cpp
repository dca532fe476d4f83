// The rule record: the "Rule" element written from a rule and read back into one, with its kept
// asymmetries (summary and category are written but never read), the parameter walk and its
// illegal-type stop, position-matched constraints and the units taken from the rule set.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "../support/ModuleFixture.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/module/RuleRecordXml.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/res/StringIds.h"

namespace {
using kvx::module::ReadRuleConstraints;
using kvx::module::ReadRuleRecord;
using kvx::module::WriteRuleParameter;
using kvx::module::WriteRuleRecord;
using kvx::platform::Narrow;
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

  void AddDouble(long id, std::vector<double> values, KvxParamType_e kind = 8) {
    auto parameter = CreateParamStorageObject(KVX_TYPE_DOUBLE, id, KVX_OP_LESS_EQUAL, kind, true, false);
    *parameter->GetDoubleValues() = std::move(values);
    AddParameter(std::move(parameter));
  }
  StrangeParameter& AddStrange(long id) {
    AddParameter(std::make_unique<StrangeParameter>(id));
    return static_cast<StrangeParameter&>(*m_paramArray.back());
  }
  void AddConstraintWith(const std::wstring& name, long id, double value) {
    auto constraint = CreateConstraintObject(1, name, true);
    auto parameter = CreateParamStorageObject(KVX_TYPE_DOUBLE, id, KVX_OP_LESS_EQUAL, 8, true, false);
    *parameter->GetDoubleValues() = {value};
    constraint->AddParameter(std::move(parameter));
    AddConstraint(std::move(constraint));
  }
  std::vector<double> ValuesOf(long id) const { return *FindParameterInArray(id)->GetDoubleValues(); }
  // Each constraint as "name type status: values of `id`".
  std::vector<std::string> ConstraintsWith(long id) const {
    std::vector<std::string> lines;
    for (const auto& c : m_constraintArray) {
      lines.push_back(fmt::format("{} {} {}: {}", Narrow(c->csName), c->iType, c->bStatus,
                                  fmt::join(*c->FindParameterInArray(id)->GetDoubleValues(), ",")));
    }
    return lines;
  }
  // Everything reading the record may set, as one line.
  std::string Describe() const {
    return fmt::format("{} | {} {} {} | {} | {} | {} | {} {} | units {} {} | populated {} {}", Narrow(m_csRuleName),
                       m_lRuleStatus, m_lLifeStatus, m_lRuleSeverity, Narrow(m_csModuleName), Narrow(m_csRuleModule),
                       Narrow(m_csRuleModuleFile), Narrow(m_csSummary), Narrow(m_csCategoryText),
                       m_unitSystem.iLengthUnit, m_unitSystem.iAngleUnit, m_bPopulated, postPopulateCalls);
  }

  void PostPopulate() override { ++postPopulateCalls; }
  int postPopulateCalls = 0;

 protected:
  std::unique_ptr<CKvxParamStorage> NewParamStorage(Type_e valueType, long id, KvxOperator_e op,
                                                    KvxParamType_e paramType, bool firstFlag,
                                                    bool secondFlag) const override {
    return kvx::params::MakeParamStorage(valueType, id, op, paramType, firstFlag, secondFlag);
  }
};
const std::string kUntouched =
    R"(Hole depth to diameter | 1 0 3 | KvxIMRulesValidator | KVXIMRules | C:\Program Files\Korvex\AddIns\)"
    R"(KVXIMRulesu.dll | H/D <= 2.0 9 | units 0 0 | populated false 0)";

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

// Parameters of kinds 0 and 12 are never written by the record; the single-parameter writer leaves the
// choice to its caller. Negative codes are written as they are; a file name loses all up to its last backslash.
TEST_F(RuleRecordTest, WritesAttributesInOrderThenParametersThenConstraints) {
  TestRule rule;
  rule.AddConstraintWith(L"ABS", 2468, 3.0);
  rule.AddDouble(2468, {2.0});
  rule.AddDouble(1, {1.0}, 0);
  rule.AddDouble(2, {2.0}, 12);
  rule.AddDouble(2517, {0.5}, 13);
  rule.AddConstraintWith(L"PC", 2468, 4.0);

  const auto element = WriteRuleRecord(&rule);
  ASSERT_TRUE(element);
  EXPECT_EQ(element->GetNodeName(), L"Rule");
  EXPECT_EQ(AttributesOf(*element),
            R"(Name="Hole depth to diameter" Status="1" LifeStatus="0" Summary="H/D <= 2.0")"
            R"( Module="KvxIMRulesValidator" RuleModule="KVXIMRules" RuleModuleFileName="KVXIMRulesu.dll")"
            R"( Severity="3" RuleCategory="9")");
  EXPECT_THAT(ChildrenOf(*element), ElementsAre("Parameter 2468", "Parameter 2517", "Constraint ABS", "Constraint PC"));
  EXPECT_TRUE(WriteRuleParameter(&rule, 2));
  const auto constraint = element->GetNodeList(L"Constraint")->GetItem(1);
  EXPECT_EQ(AttributesOf(*constraint), R"(Type="1" Value="PC" Status="1")");
  EXPECT_THAT(ChildrenOf(*constraint), ElementsAre("Parameter 2468"));

  const std::pair<std::wstring, std::string> files[] = {
      {L"/opt/korvex/libKVXIMRulesu.so", "/opt/korvex/libKVXIMRulesu.so"}, {L"C:\\AddIns\\", ""}, {L"", ""}};
  for (const auto& [stored, written] : files) {
    rule.m_csRuleModuleFile = stored;
    rule.m_lRuleStatus = -1;
    rule.m_lRuleSeverity = -2147483647 - 1;
    const auto raw = WriteRuleRecord(&rule)->Raw();
    EXPECT_EQ(raw.attribute("RuleModuleFileName").value(), written);
    EXPECT_STREQ(raw.attribute("Status").value(), "-1");
    EXPECT_STREQ(raw.attribute("Severity").value(), "-2147483648");
  }
}

// Reported in the shown language each time; writing goes on without it, reading abandons the rest of the
// record (after the attributes), leaving the units and the populated flag alone.
TEST_F(RuleRecordTest, AnIllegalValueTypeIsReportedAndStopsOnlyTheReading) {
  UseLocalizedLanguage("german");
  const std::wstring illegal = localized_->String(kvx::res::kIllegalParameterDataType).value_or(L"?");
  EXPECT_NE(illegal, En(kvx::res::kIllegalParameterDataType));
  TestRule rule;
  rule.AddDouble(1, {1.0});
  StrangeParameter& strange = rule.AddStrange(2);
  rule.AddDouble(3, {3.0});
  rule.AddConstraintWith(L"default", 1, 1.0);
  rule.m_unitSystem = {7, 2};

  EXPECT_THAT(ChildrenOf(*WriteRuleRecord(&rule)), ElementsAre("Parameter 1", "Parameter 3", "Constraint default"));
  EXPECT_EQ(messages_.messages.size(), 1u);
  EXPECT_EQ(WriteRuleParameter(&rule, 1), nullptr);
  EXPECT_EQ(messages_.messages.size(), 2u) << "the single-parameter writer reports it too";
  EXPECT_EQ(WriteRuleParameter(&rule, 3), nullptr);
  EXPECT_EQ(WriteRuleParameter(&rule, -1), nullptr);
  ReadRuleRecord(&rule, LoadRule(R"(<RuleSet Unit="3" AngularUnit="1"><Rule Name="R" Status="2">
      <Parameter Type="1"><Value>10</Value></Parameter><Parameter Type="3"><Value>30</Value></Parameter>
      <Constraint Type="1" Value="read" Status="0"/></Rule></RuleSet>)").get());
  EXPECT_EQ(rule.Describe(), "R | 2 -1 -1 |  |  |  | H/D <= 2.0 9 | units 7 2 | populated false 0");
  EXPECT_THAT(rule.ValuesOf(1), ElementsAre(1.0, 10.0));
  EXPECT_THAT(rule.ValuesOf(3), ElementsAre(3.0));
  EXPECT_THAT(rule.ConstraintsWith(1), ElementsAre("default 1 true: 1"));
  EXPECT_EQ(strange.writes + strange.reads, 0);
  ASSERT_EQ(messages_.messages.size(), 3u);
  for (const auto& message : messages_.messages) EXPECT_EQ(message.text, illegal);
}

TEST_F(RuleRecordTest, NullArgumentsAndNoDocumentDoNothing) {
  TestRule rule;
  rule.AddDouble(1, {1.0});
  const kvx::platform::ResourceLibrary* before = kvx::platform::CurrentResourceLibrary();
  const auto element = LoadRule(R"(<RuleSet><Rule Name="R" Status="2"/></RuleSet>)");
  ReadRuleRecord(&rule, nullptr);
  ReadRuleRecord(nullptr, element.get());
  ReadRuleConstraints(&rule, nullptr);
  ReadRuleConstraints(nullptr, element.get());
  EXPECT_EQ(rule.Describe(), kUntouched);
  EXPECT_EQ(WriteRuleParameter(nullptr, 0), nullptr);
  EXPECT_EQ(WriteRuleRecord(nullptr), nullptr);
  context_.xmlDocument = nullptr;
  EXPECT_EQ(WriteRuleRecord(&rule), nullptr);
  EXPECT_THAT(messages_.messages, IsEmpty());
  EXPECT_EQ(kvx::platform::CurrentResourceLibrary(), before);
}

// --- reading ----------------------------------------------------------------------------------------

// Summary and category are written but never read: the constructor's texts win over the saved ones.
// Absent or unreadable integers become -1 ("%ld" reads a leading number), absent texts empty; the file name
// is stored as the attribute holds it; the units come from the rule set.
TEST_F(RuleRecordTest, ReadsIdentityAndStateButNotSummaryOrCategory) {
  const std::pair<std::string, std::string> cases[] = {
      {R"(<RuleSet Unit="3" AngularUnit="1">
            <Rule Name="Saved name" Status="2" LifeStatus="5" Summary="saved summary" Module="KVXIMRULESVALIDATOR"
                  RuleModule="Saved module" RuleModuleFileName="D:\old\KVXIMRulesu.dll" Severity="4" RuleCategory="77"/>
          </RuleSet>)",
       R"(Saved name | 2 5 4 | KVXIMRULESVALIDATOR | Saved module | D:\old\KVXIMRulesu.dll | H/D <= 2.0 9)"
       R"( | units 3 1 | populated true 1)"},
      {R"(<RuleSet><Rule Status="abc" Severity="12abc"/></RuleSet>)",
       " | -1 -1 12 |  |  |  | H/D <= 2.0 9 | units 0 0 | populated true 1"},
  };
  for (const auto& [record, expected] : cases) {
    TestRule rule;
    ReadRuleRecord(&rule, LoadRule(record).get());
    EXPECT_EQ(rule.Describe(), expected);
  }
}

// Read with the record, constraints are matched by position, not by name, and only when the counts agree (a
// mismatch is silent); read alone, every constraint reads the one element given.
TEST_F(RuleRecordTest, ConstraintsAreMatchedByPositionOnlyWhenTheCountsAgree) {
  LoadRule(R"(
    <RuleSet><Rule Name="R">
      <Constraint Type="1" Value="PP" Status="0"><Parameter Type="5"><Value>11</Value></Parameter></Constraint>
      <Constraint Type="2" Value="ABS" Status="1"><Parameter Type="5"><Value>22</Value></Parameter></Constraint>
    </Rule></RuleSet>)");
  const auto record = root_->SelectSingleNode(L"Rule");
  for (int count : {1, 2, 3}) {
    SCOPED_TRACE("constraints in the rule: " + std::to_string(count));
    TestRule rule;
    rule.AddDouble(3000, {4.0});
    for (int i = 0; i < count; ++i) rule.AddConstraintWith(L"default" + std::to_wstring(i), 5, 1.0);
    ReadRuleRecord(&rule, record.get());
    EXPECT_THAT(rule.ValuesOf(3000), ElementsAre(4.0)) << "one the record lacks keeps its values";
    if (count == 2) {
      EXPECT_THAT(rule.ConstraintsWith(5), ElementsAre("PP 1 false: 1,11", "ABS 2 true: 1,22"));
    } else {
      for (const std::string& line : rule.ConstraintsWith(5)) EXPECT_THAT(line, ::testing::EndsWith(" 1 true: 1"));
    }
    EXPECT_TRUE(rule.m_bPopulated);
    EXPECT_EQ(rule.postPopulateCalls, 1);

    ReadRuleConstraints(&rule, record->SelectSingleNode(L"Constraint").get());
    EXPECT_EQ(rule.postPopulateCalls, 1);
    for (const std::string& line : rule.ConstraintsWith(5)) EXPECT_THAT(line, ::testing::StartsWith("PP 1 false: "));
  }
  EXPECT_THAT(messages_.messages, IsEmpty());
}

}  // namespace
