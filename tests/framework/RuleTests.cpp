// The rule base with its parameters and constraints: the "Constraint" element and its round trip,
// InitConstraints, constraint lookups, the copy operation and the user-interface services a rule reaches.
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "../support/MessageRecorder.h"
#include "kvx/framework/KvxConstraint.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/platform/Text.h"

using kvx::platform::Narrow;
using Values = std::vector<double>;

namespace {
// The document the test parameters write into, as a rule module keeps its own.
KvxXMLDocument* g_document = nullptr;

// A minimal double parameter: a "Parameter" element with "Type" = id and "Values" = the values, spaced.
class TestParam final : public CKvxParamStorage {
 public:
  TestParam(long id, KvxOperator_e op, KvxParamType_e paramType, bool firstFlag, bool secondFlag)
      : CKvxParamStorage(KVX_TYPE_DOUBLE, id, op, paramType, firstFlag, secondFlag) {}
  int GetValueCount() const override { return static_cast<int>(values.size()); }
  void SetValueCount(int count) override { values.resize(count < 0 ? 0 : static_cast<size_t>(count)); }
  void ResetValues() override { values.clear(); }
  std::vector<double>* GetDoubleValues() override { return &values; }
  std::vector<KvxValueView> DescribeValues() const override { return {values.begin(), values.end()}; }

  std::unique_ptr<KvxXMLNode> GetParameterXML() override {
    auto element = g_document->CreateNode(L"Parameter");
    element->AddAttribute(L"Type", std::to_wstring(lId));
    std::wostringstream text;
    for (double value : values) text << (text.tellp() > 0 ? L" " : L"") << value;
    if (!values.empty()) element->AddAttribute(L"Values", text.str());
    return element;
  }
  void PopulateParameterFromXML(KvxXMLNode* ruleNode) override {
    const auto list = ruleNode->GetNodeList(L"Parameter");
    for (int i = 0; i < list->GetSize(); ++i) {
      std::wstring type, text;
      if (!list->GetItem(i)->GetAttributeValue(L"Type", type) || type != std::to_wstring(lId)) continue;
      list->GetItem(i)->GetAttributeValue(L"Values", text);
      std::wistringstream stream(text);
      values.assign(std::istream_iterator<double, wchar_t>(stream), std::istream_iterator<double, wchar_t>());
    }
  }
  Values values;
};

// A rule whose storage is TestParam for doubles and nothing for any other type.
class TestRule : public CKvxRule {
 public:
  // A double parameter holding `values`, not added to the rule: for a constraint to take.
  std::unique_ptr<CKvxParamStorage> Make(long id, Values values = {}, KvxOperator_e op = KVX_OP_RANGE) {
    auto parameter = CreateParamStorageObject(KVX_TYPE_DOUBLE, id, op, 8, true, false);
    static_cast<TestParam&>(*parameter).values = std::move(values);
    return parameter;
  }
  TestParam& Add(long id, Values values) {
    auto parameter = Make(id, std::move(values), KVX_OP_GREATER_EQUAL);
    auto& added = static_cast<TestParam&>(*parameter);
    AddParameter(std::move(parameter));
    return added;
  }

 protected:
  std::unique_ptr<CKvxParamStorage> NewParamStorage(Type_e valueType, long id, KvxOperator_e op,
                                                    KvxParamType_e paramType, bool firstFlag,
                                                    bool secondFlag) const override {
    if (valueType != KVX_TYPE_DOUBLE) return nullptr;
    return std::make_unique<TestParam>(id, op, paramType, firstFlag, secondFlag);
  }
};

Values ValuesOf(CKvxParamStorage* parameter) {
  return parameter && parameter->GetDoubleValues() ? *parameter->GetDoubleValues() : Values{};
}
}  // namespace

class RuleWithDocument : public ::testing::Test {
 protected:
  void SetUp() override { g_document = &document_; }
  void TearDown() override { g_document = nullptr; }
  // Loads `xml` and returns its root element.
  std::unique_ptr<KvxXMLNode> Load(const std::string& xml) {
    std::wstring error;
    EXPECT_TRUE(document_.LoadText(xml, error)) << Narrow(error);
    return document_.GetRootNode();
  }
  KvxXMLDocument document_;
};

TEST_F(RuleWithDocument, ConstraintElementLayoutRoundTripAndPartialElements) {
  TestRule rule;
  CKVXConstraint written(3, L"Gr\u00f6\u00dfe & <PA 66>", false);
  written.AddParameter(rule.Make(2077, {0.5, 1.5}));
  written.AddParameter(rule.Make(2102));
  written.AddParameter(nullptr);
  ASSERT_EQ(written.Parameters().size(), 2u);
  EXPECT_EQ(written.GetXMLNode(nullptr), nullptr);
  ASSERT_TRUE(document_.CreateRootNode(L"RuleSet")->AppendNode(written.GetXMLNode(&document_).get()));
  const std::string text = document_.ToText();
  EXPECT_EQ(text,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<RuleSet>\n"
            "  <Constraint Type=\"3\" Value=\"Gr\xC3\xB6\xC3\x9F" "e &amp; &lt;PA 66>\" Status=\"0\">\n"
            "    <Parameter Type=\"2077\" Values=\"0.5 1.5\" />\n    <Parameter Type=\"2102\" />\n"
            "  </Constraint>\n</RuleSet>\n");

  CKVXConstraint read(0, L"", true);
  read.AddParameter(rule.Make(2077));
  read.PopulateFromXML(Load(text)->SelectSingleNode(L"Constraint").get());
  EXPECT_EQ(read.iType, 3);
  EXPECT_EQ(read.csName, written.csName);
  EXPECT_FALSE(read.bStatus);
  EXPECT_EQ(ValuesOf(read.FindParameterInArray(2077)), (Values{0.5, 1.5}));
  EXPECT_EQ(read.FindParameterInArray(9999), nullptr);

  // A read keeps what the element does not say; any status but "0" is on.
  CKVXConstraint constraint(4, L"kept", true);
  const struct { const char* element; int type; bool status; } reads[] = {
      {"<C/>", 4, true}, {"<C Status='0'/>", 4, false}, {"<C Status='on' Type='x'/>", 0, true}};
  for (const auto& [element, type, status] : reads) {
    constraint.PopulateFromXML(Load(element).get());
    EXPECT_EQ(constraint.iType, type) << element;
    EXPECT_EQ(constraint.bStatus, status) << element;
  }
  constraint.PopulateFromXML(nullptr);
  EXPECT_EQ(constraint.csName, L"kept");
}

TEST_F(RuleWithDocument, InitConstraintsBuildsOneConstraintPerElementFromTheRulesOwnParameters) {
  TestRule rule;
  TestParam& thickness = rule.Add(2077, {9.0});
  thickness.csName = L"Wall thickness";
  thickness.operatorOptions = {1, 7};
  thickness.dRangeMax = 4.0;
  rule.Add(2102, {8.0});
  rule.Add(3000, {7.0});
  rule.InitConstraints(Load(R"(<Rule><Parameter Type="2077" Values="99"/>
      <Constraint Type="1" Value="ABS" Status="1"><Parameter Type="2102" Values="0.2"/>
        <Parameter Type="2077" Values="1.1 2.2"/><Parameter Type="5555" Values="5"/></Constraint>
      <Constraint Type="2" Value="PC" Status="0"><Parameter Type="2077" Values="3.3"/></Constraint></Rule>)")
                           .get(),
                       {2077, 2102, 5555});

  ASSERT_EQ(rule.Constraints().size(), 2u);
  const CKVXConstraint& abs = *rule.Constraints()[0];
  EXPECT_EQ(abs.csName, L"ABS");
  ASSERT_EQ(abs.Parameters().size(), 2u) << "5555 is no parameter of the rule, 3000 was not asked for";
  EXPECT_EQ(abs.Parameters()[0]->lId, 2077) << "in the order of the ids given";
  EXPECT_EQ(ValuesOf(abs.FindParameterInArray(2077)), (Values{1.1, 2.2})) << "the constraint's element, not the rule's";
  EXPECT_EQ(ValuesOf(abs.FindParameterInArray(2102)), (Values{0.2}));
  const CKVXConstraint& pc = *rule.Constraints()[1];
  EXPECT_FALSE(pc.bStatus);
  EXPECT_TRUE(ValuesOf(pc.FindParameterInArray(2102)).empty()) << "no element: no values";
  const CKvxParamStorage* copy = pc.FindParameterInArray(2077);
  EXPECT_EQ(copy->iOperator, KVX_OP_GREATER_EQUAL);
  EXPECT_EQ(copy->csName, L"Wall thickness");
  EXPECT_EQ(copy->operatorOptions, (std::vector<long>{1, 7}));
  EXPECT_EQ(copy->dRangeMax, 4.0);
  EXPECT_EQ(ValuesOf(rule.FindParameterInArray(2077)), (Values{9.0})) << "the rule keeps its own";

  EXPECT_EQ(ValuesOf(rule.FindParameterInConstraintArray(L"abs", 2077)), (Values{1.1, 2.2})) << "lookups ignore case";
  EXPECT_EQ(rule.FindParameterInConstraintArray(L"other", 2077), nullptr);
  EXPECT_EQ(rule.GetConstraintParameters(L"aBs").size(), 2u);
  EXPECT_TRUE(rule.GetConstraintParameters(L"other").empty());

  // Without a node nothing is built; a rule that stores no parameters gets empty constraints.
  rule.InitConstraints(nullptr, {2077});
  EXPECT_EQ(rule.Constraints().size(), 2u);
  CKvxRule plain;
  EXPECT_EQ(plain.CreateParamStorageObject(KVX_TYPE_DOUBLE, 1, KVX_OP_EQUAL, 0, false, false), nullptr);
  plain.InitConstraints(Load("<Rule><Constraint Value='only'/><Constraint Value='ONLY'/></Rule>").get(), {1});
  ASSERT_EQ(plain.Constraints().size(), 2u);
  EXPECT_TRUE(plain.Constraints()[0]->Parameters().empty());
  EXPECT_TRUE(plain.Constraints()[0]->bStatus) << "a missing status is on";
}

TEST(RuleBase, CopyTakesIdentityAndStateButNotParameters) {
  TestRule source, target;
  source.m_csRuleName = L"Hole depth";
  source.m_iRuleId = 12150;
  source.SetRuleCategory(KVX_CATEGORY_INJECTION_MOULDING);
  source.m_unitSystem = {KVX_UNIT_INCH, KVX_ANGLE_RADIAN};
  source.Add(1, {1.0});
  CKvxRule& base = target;  // the copy operation belongs to the base class
  base = &source;
  EXPECT_EQ(target.m_csRuleName, L"Hole depth");
  EXPECT_EQ(target.GetRuleId(), 12150);
  EXPECT_EQ(target.m_csCategoryText, L"9");
  EXPECT_EQ(target.m_unitSystem.iLengthUnit, KVX_UNIT_INCH);
  EXPECT_TRUE(target.Parameters().empty());
  base = static_cast<CKvxRule*>(nullptr);
  EXPECT_EQ(target.GetRuleId(), 12150);
}

// Without a dialog service a rule tells the user and cancels; with one, a dialog that could not be shown is
// a cancel to the caller and the rule remembers why. Message boxes go to the installed service, else stderr.
TEST(UiServices, ConfigureRuleAsksTheDialogServiceAndMessagesReachTheInstalledBox) {
  struct Dialog final : IKvxRuleDialogService {
    int ConfigureRule(CKvxRule& rule, const kvx::platform::Picture& picture) override {
      seen = &rule;
      format = picture.format;
      return answer;
    }
    CKvxRule* seen = nullptr;
    std::string format;
    int answer = KVX_IDOK;
  } dialog;
  kvx::test::MessageRecorder log;
  CKvxRule rule;
  EXPECT_EQ(rule.ConfigureRule(kvx::platform::Picture{}), KVX_IDCANCEL);
  EXPECT_EQ(rule.LastDialogResult(), KVX_DIALOG_UNAVAILABLE);
  rule.EditRule();
  ASSERT_EQ(log.messages.size(), 2u);
  EXPECT_EQ(log.messages[0].caption, L"Korvex");

  rule.SetDialogService(&dialog);
  EXPECT_EQ(rule.ConfigureRule(kvx::platform::Picture{"svg", {1, 2}}), KVX_IDOK);
  EXPECT_EQ(dialog.seen, &rule);
  EXPECT_EQ(dialog.format, "svg");
  for (const int answer : {KVX_IDOK, KVX_IDCANCEL, KVX_DIALOG_UNAVAILABLE}) {
    dialog.answer = answer;
    EXPECT_EQ(rule.ConfigureRule(kvx::platform::Picture{}), answer == KVX_IDOK ? KVX_IDOK : KVX_IDCANCEL);
    EXPECT_EQ(rule.LastDialogResult(), answer) << "a host can tell afterwards how the dialog ended";
  }
  EXPECT_EQ(log.messages.size(), 2u) << "a host with a dialog shows no message";

  {
    kvx::test::MessageRecorder inner;
    KvxMessageBox(L"recorded", L"Korvex", KvxMessageIcon::Error);
    ASSERT_EQ(inner.messages.size(), 1u);
    EXPECT_EQ(inner.messages[0].icon, KvxMessageIcon::Error);
  }
  EXPECT_EQ(log.messages.size(), 2u) << "the inner recorder took it";
  EXPECT_EQ(SetMessageBoxService(nullptr), &log);
  testing::internal::CaptureStderr();
  EXPECT_EQ(KvxMessageBox(L"Gr\u00f6\u00dfe", L"Korvex", KvxMessageIcon::Exclamation), KVX_IDOK);
  KvxMessageBox(L"no caption");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Korvex: Gr\xC3\xB6\xC3\x9F" "e\nno caption\n");
  EXPECT_EQ(SetMessageBoxService(&log), nullptr) << "the console box is the default";
}
