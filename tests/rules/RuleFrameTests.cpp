// The rule frame, once: identity and defaults of every rule, the default constraint, reading and writing,
// editing and resource switching. The hole depth rule stands for the frame in its plainest form.
#include <gmock/gmock.h>

#include "RuleTestSupport.h"
#include "kvx/params/ModuleContext.h"

namespace kvx::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

struct Identity {
  RuleFactory make;
  int nameId, keyNameId, ruleId, severity;
  std::vector<long> parameterIds;
  int executeResult;
  bool materialWorkflow;      // default constraint and GetMaterialStatus
  bool storesAssemblyStatus;  // SetRuleStatusForAssemblyModel
};
const std::vector<Identity> kIdentities = {
    {Make<CKVXIMHoleDepthToDiaRule>, 2345, 2345, 12150, 2, {2347, 2348}, 0, true, true},
    {Make<KVXIMBossDraftRule>, 2464, 2464, 12176, 2, {2468, 2469}, -3, true, false},
    {Make<CKVXIMRibTipThicknessRule>, 2728, 2728, 12220, 3, {2730}, -3, true, false},
    {Make<KVXIMLipBottomRadiusRule>, 2441, 2441, 12172, 2, {2443}, 0, false, false},
    {Make<CKVXIMMaxCutoutAreaRule>, 2078, 2078, 12060, 3, {2081}, 0, true, false},
    {Make<CKVXIMSpacingBetweenHolesRule>, 2372, 2610, 12160, 2, {2374}, 0, true, true},
    {Make<CKVXIMMinRibClearanceRule>, 2062, 2062, 12020, 2, {2061}, 0, false, true},
    {Make<CKVXIMRibReinforcementRule>, 2073, 2073, 12050, 3, {2077, 2102}, -3, true, false},
};

struct Defaults {
  RuleFactory make;
  long id;
  std::vector<double> values;
  int op;
  std::vector<long> options;
  std::wstring symbol, unit;
  double secondField;
  bool firstFlag;
};
const std::vector<Defaults> kDefaults = {
    {Make<CKVXIMHoleDepthToDiaRule>, 2347, {2.0}, 5, {5, 8}, L"H", L"D", 0, true},
    {Make<CKVXIMHoleDepthToDiaRule>, 2348, {4.0}, 5, {5, 8}, L"H", L"D", 0, true},
    {Make<KVXIMBossDraftRule>, 2468, {0.25}, 7, {6, 7}, L"Q1", L"deg", 1, true},
    {Make<KVXIMBossDraftRule>, 2469, {0.5}, 7, {6, 7}, L"Q2", L"deg", 1, true},
    {Make<CKVXIMRibTipThicknessRule>, 2730, {0.8, 1.5}, 7, {7, 6, 1}, L" T", L"mm", 0, true},
    {Make<KVXIMLipBottomRadiusRule>, 2443, {0.5}, 7, {6, 7}, L"R", L"T", 0, true},
    {Make<CKVXIMMaxCutoutAreaRule>, 2081, {10.0}, 8, {5, 8}, L"A/t", L"mm", 0, true},
    {Make<CKVXIMSpacingBetweenHolesRule>, 2374, {2.0}, 7, {6, 7}, L"D", L"t", 0, true},
    {Make<CKVXIMRibReinforcementRule>, 2077, {5.0}, 8, {5, 8}, L"A/t", L"mm", 1, false},
    {Make<CKVXIMRibReinforcementRule>, 2102, {3.0}, 8, {5, 8}, L"H", L"t", 1, true},
};

class RuleFrameTest : public RuleTest {};

TEST_F(RuleFrameTest, EveryRuleTakesItsIdentityFromTheResources) {
  for (const Identity& expected : kIdentities) {
    const RulePtr rule = expected.make();
    SCOPED_TRACE(rule->m_iRuleId);
    EXPECT_EQ(rule->m_csDisplayName, En(expected.nameId));
    EXPECT_EQ(rule->m_csRuleName, En(expected.keyNameId));
    EXPECT_EQ(rule->m_iRuleId, expected.ruleId);
    EXPECT_EQ(rule->m_lRuleSeverity, expected.severity);
    EXPECT_EQ(rule->m_lRuleStatus, 0);
    EXPECT_EQ(rule->m_category, KVX_CATEGORY_INJECTION_MOULDING);
    EXPECT_EQ(rule->m_csModuleName, L"KvxIMRulesValidator");
    EXPECT_THAT(rule->m_textList, ElementsAre(En(2042)));
    EXPECT_TRUE(rule->m_bInitialized);
    std::vector<long> ids;
    for (const auto& parameter : rule->Parameters()) ids.push_back(parameter->lId);
    EXPECT_EQ(ids, expected.parameterIds);

    KVXResultSet* results = nullptr;
    const CKvxData* data = nullptr;
    EXPECT_EQ(rule->Execute(nullptr, results), expected.executeResult);
    EXPECT_EQ(rule->Import(nullptr, nullptr, data, nullptr, results), 0);
    EXPECT_TRUE(rule->UpdateRule(static_cast<CKvxRule*>(nullptr)));
    EXPECT_TRUE(rule->UpdateRule(rule.get()));
    EXPECT_EQ(rule->GetMaterialStatus(), expected.materialWorkflow);
    rule->SetRuleStatusForAssemblyModel(4);
    EXPECT_EQ(rule->m_lRuleStatus, expected.storesAssemblyStatus ? 4 : 0);

    ASSERT_EQ(rule->Constraints().size(), expected.materialWorkflow ? 1u : 0u);
    if (!expected.materialWorkflow) continue;
    const auto& constraint = *rule->Constraints().front();
    EXPECT_EQ(constraint.csName, En(2827));
    EXPECT_EQ(constraint.iType, 1);
    EXPECT_FALSE(constraint.bStatus);
    for (long id : expected.parameterIds) EXPECT_EQ(Values(*rule, id, true), Values(*rule, id));
  }
}

TEST_F(RuleFrameTest, EveryParameterStartsFromItsDefaultsInTheRuleAndInItsDefaultConstraint) {
  for (const Defaults& expected : kDefaults) {
    const RulePtr rule = expected.make();
    for (bool constraint : {false, true}) {
      if (constraint && rule->Constraints().empty()) continue;  // the lip rule keeps none
      SCOPED_TRACE(std::to_string(expected.id) + (constraint ? " in the default constraint" : ""));
      const CKvxParamStorage& parameter = Param(*rule, expected.id, constraint);
      EXPECT_EQ(Values(*rule, expected.id, constraint), expected.values);
      EXPECT_EQ(parameter.iOperator, expected.op);
      EXPECT_EQ(parameter.operatorOptions, expected.options);
      EXPECT_EQ(parameter.csSymbol, expected.symbol);
      EXPECT_EQ(parameter.csUnit, expected.unit);
      EXPECT_EQ(parameter.dSecondField, expected.secondField);
      EXPECT_EQ(parameter.bFirstFlag, expected.firstFlag);
      EXPECT_FALSE(parameter.bSecondFlag);
      EXPECT_EQ(parameter.iDisplay, 1);
      EXPECT_EQ(parameter.iParameterType, expected.id == 2468 || expected.id == 2469 ? 8 : 1);
    }
  }
  // Only the rib tip parameter carries a name of its own; the clearance rule sets nothing but the value.
  EXPECT_EQ(Param(*Make<CKVXIMRibTipThicknessRule>(), 2730).csName, En(2730));
  EXPECT_EQ(Param(*Make<CKVXIMHoleDepthToDiaRule>(), 2347).csName, L"");
  const RulePtr clearance = Make<CKVXIMMinRibClearanceRule>();
  EXPECT_EQ(Values(*clearance, 2061), std::vector<double>{3.0});
  EXPECT_EQ(Param(*clearance, 2061).iOperator, 7);
  EXPECT_TRUE(Param(*clearance, 2061).operatorOptions.empty());
  EXPECT_EQ(Param(*clearance, 2061).iDisplay, 0);
}

TEST_F(RuleFrameTest, WithoutTheApplicationObjectOrTheWorkflowLessIsBuilt) {
  kvx::params::Module().applicationPresent = false;
  for (RuleFactory make : AllRules()) {
    const RulePtr rule = make();
    EXPECT_TRUE(rule->Parameters().empty());
    EXPECT_TRUE(rule->Constraints().empty());
    EXPECT_TRUE(rule->m_csRuleName.empty() && rule->m_csSummary.empty() && rule->m_textList.empty());
    EXPECT_EQ(rule->m_lRuleStatus, -1);
    EXPECT_EQ(rule->m_iRuleId, 0);
    EXPECT_FALSE(rule->m_bInitialized);
    rule->EditRule();
  }
  EXPECT_TRUE(messages_.messages.empty()) << "EditRule opened something without the application object";

  kvx::params::Module().applicationPresent = true;
  SetMaterialWorkflow(false);
  for (RuleFactory make : AllRules()) {
    const RulePtr rule = make();
    EXPECT_TRUE(rule->Constraints().empty());
    EXPECT_FALSE(rule->GetMaterialStatus());
  }
}

TEST_F(RuleFrameTest, ReadingARecordFillsValuesAndRebuildsTheSummary) {
  CKVXIMHoleDepthToDiaRule rule;
  rule.PopulateParametersFromXML(LoadRule(R"(<RuleSet><Rule Name="x" Module="KvxIMRulesValidator" Severity="4">
      <Parameter Type="2347" Status="1"><Operator>5</Operator><Value>2.500000</Value></Parameter>
      <Parameter Type="2348" Status="1"><Operator>8</Operator><Value>3.000000</Value></Parameter>
    </Rule></RuleSet>)").get());
  EXPECT_EQ(Values(rule, 2347), std::vector<double>{2.5});
  EXPECT_EQ(rule.m_lRuleSeverity, 4);
  EXPECT_EQ(rule.m_lRuleStatus, -1);  // no "Status" on the record
  // The record has no constraints: with the workflow on the rule now has none, and shows its own values.
  EXPECT_TRUE(rule.Constraints().empty());
  EXPECT_EQ(rule.m_csSummary, Format(2346, L"", L"2.5", OrEqual(), L"3.0"));
}

TEST_F(RuleFrameTest, ARuleLackingAParameterReadsNothingWhileARecordLackingOneLeavesItEmpty) {
  CKVXIMHoleDepthToDiaRule rule;
  const char* record = R"(<Rule Name="x" Severity="4">
      <Parameter Type="2348"><Operator>5</Operator><Value>9.000000</Value></Parameter></Rule>)";
  Param(rule, 2347).lId = 1;
  rule.m_csSummary = L"as it was";
  rule.PopulateParametersFromXML(LoadRule(record).get());
  EXPECT_EQ(Values(rule, 2348), std::vector<double>{4.0});
  EXPECT_EQ(rule.m_lRuleSeverity, 2);
  EXPECT_EQ(rule.m_csSummary, L"as it was");

  Param(rule, 1).lId = 2347;
  rule.PopulateParametersFromXML(LoadRule(record).get());
  EXPECT_TRUE(Values(rule, 2347).empty());
  EXPECT_EQ(Values(rule, 2348), std::vector<double>{9.0});
  EXPECT_EQ(rule.m_lRuleSeverity, 4);
  EXPECT_EQ(rule.m_csSummary, Format(2346, L"", L"", L"", L"9.0"));
}

TEST_F(RuleFrameTest, KeepingDefaultConstraintsRestartsFromTheDefaultsAndReadsThemByPosition) {
  CKVXIMHoleDepthToDiaRule rule;
  Values(rule, 2347) = {7.0};
  rule.m_bKeepDefaultConstraints = true;
  rule.PopulateParametersFromXML(LoadRule(R"(<Rule>
      <Parameter Type="2347"><Operator>5</Operator><Value>2.200000</Value></Parameter>
      <Parameter Type="2348"><Operator>5</Operator><Value>4.400000</Value></Parameter>
      <Constraint Type="1" Value="Default" Status="0">
        <Parameter Type="2347"><Operator>8</Operator><Value>1.100000</Value></Parameter>
        <Parameter Type="2348"><Operator>5</Operator><Value>3.300000</Value></Parameter>
      </Constraint></Rule>)").get());
  EXPECT_EQ(Values(rule, 2347), std::vector<double>{2.2});
  ASSERT_EQ(rule.Constraints().size(), 1u);
  EXPECT_EQ(Values(rule, 2347, true), std::vector<double>{1.1});
  EXPECT_EQ(rule.m_csSummary, Format(2346, OrEqual(), L"1.1", L"", L"3.3"));
}

TEST_F(RuleFrameTest, TheSummaryShowsTheLastConstraintCalledDefaultIgnoringCase) {
  CKVXIMHoleDepthToDiaRule rule;
  rule.PopulateParametersFromXML(LoadRule(R"(<Rule>
      <Parameter Type="2347"><Value>2.0</Value></Parameter><Parameter Type="2348"><Value>4.0</Value></Parameter>
      <Constraint Type="1" Value="default"><Parameter Type="2347"><Value>1.0</Value></Parameter>
        <Parameter Type="2348"><Value>1.5</Value></Parameter></Constraint>
      <Constraint Type="1" Value="ABS"><Parameter Type="2347"><Value>8.0</Value></Parameter>
        <Parameter Type="2348"><Value>8.0</Value></Parameter></Constraint>
      <Constraint Type="1" Value="Default"><Parameter Type="2347"><Value>3.0</Value></Parameter>
        <Parameter Type="2348"><Value>6.0</Value></Parameter></Constraint></Rule>)").get());
  ASSERT_EQ(rule.Constraints().size(), 3u);
  EXPECT_EQ(Values(rule, 2347, true), std::vector<double>{1.0}) << "each constraint value is read once";
  EXPECT_EQ(rule.m_csSummary, Format(2346, L"", L"3.0", L"", L"6.0"));
}

TEST_F(RuleFrameTest, OnlyTheThroughHoleLimitHasItsOldValueLayoutNormalised) {
  SetMaterialWorkflow(false);
  CKVXIMHoleDepthToDiaRule rule;
  Values(rule, 2347) = {1.0, 6.0};
  Values(rule, 2348) = {0.0, 6.0};
  rule.BuildSummary();
  EXPECT_EQ(Values(rule, 2347), (std::vector<double>{1.0, 6.0}));
  EXPECT_EQ(Values(rule, 2348), std::vector<double>{6.0});
  EXPECT_FALSE(Param(rule, 2348).bStatus);
  EXPECT_EQ(rule.m_csSummary, Format(2346, L"", L"1.0", L"", L"6.0"));
  Values(rule, 2348) = {1.0, 2.5, 3.0};
  rule.BuildSummary();
  EXPECT_EQ(Values(rule, 2348), (std::vector<double>{2.5, 3.0}));
  EXPECT_TRUE(Param(rule, 2348).bStatus);
}

TEST_F(RuleFrameTest, GetXmlWritesTheSummaryOfBeforeTheCall) {
  CKVXIMHoleDepthToDiaRule rule;
  const std::wstring built = rule.m_csSummary;
  rule.m_csSummary = L"stale";
  std::wstring written;
  rule.GetXML()->GetAttributeValue(L"Summary", written);
  EXPECT_EQ(written, L"stale");
  EXPECT_EQ(rule.m_csSummary, built);
  rule.GetXML()->GetAttributeValue(L"Summary", written);
  EXPECT_EQ(written, built);

  kvx::params::Module().xmlDocument = nullptr;
  EXPECT_EQ(rule.GetXML(), nullptr);
}

// Records what the editor saw and edits the first value as a user would.
class EditingDialog final : public IKvxRuleDialogService {
 public:
  EditingDialog() : previous_(SetRuleDialogService(this)) {}
  ~EditingDialog() override { SetRuleDialogService(previous_); }
  int ConfigureRule(CKvxRule& rule, const kvx::platform::Picture&) override {
    libraryDuringDialog = kvx::platform::CurrentResourceLibrary();
    kvx::params::DoubleValues(rule.Parameters().front().get())->front() = 2.75;
    return answer;
  }
  const kvx::platform::ResourceLibrary* libraryDuringDialog = nullptr;
  int answer = KVX_IDOK;

 private:
  IKvxRuleDialogService* previous_;
};

TEST_F(RuleFrameTest, EditingRebuildsTheSummaryWhateverTheEditorAnswers) {
  SetMaterialWorkflow(false);
  CKVXIMHoleDepthToDiaRule rule;
  rule.m_csSummary = L"stale";
  rule.EditRule();  // no dialog in this host: the framework says so
  EXPECT_EQ(messages_.messages.size(), 1u);
  EXPECT_EQ(rule.m_csSummary, Format(2346, L"", L"2.0", L"", L"4.0"));

  EditingDialog dialog;
  dialog.answer = KVX_IDCANCEL;
  kvx::platform::SetCurrentResourceLibrary(nullptr);
  rule.EditRule();
  EXPECT_EQ(dialog.libraryDuringDialog, english_.get());
  EXPECT_EQ(kvx::platform::CurrentResourceLibrary(), nullptr);
  EXPECT_EQ(rule.m_csSummary, Format(2346, L"", L"2.75", L"", L"4.0"));
}

TEST_F(RuleFrameTest, TheClearanceRuleOpensItsOwnDialogOnceOneIsInstalled) {
  CKVXIMMinRibClearanceRule rule;
  int opened = 0;
  const auto previous = SetMinRibClearanceEditor([&](CKVXIMMinRibClearanceRule& edited) {
    ++opened;
    Param(edited, 2061).iOperator = KVX_OP_GREATER;
    return KVX_IDCANCEL;
  });
  rule.m_csSummary = L"stale";
  rule.EditRule();
  SetMinRibClearanceEditor(previous);
  EXPECT_EQ(opened, 1);
  EXPECT_TRUE(messages_.messages.empty());
  EXPECT_EQ(rule.m_csSummary, Format(2063, L"", L"3.0"));
}

TEST_F(RuleFrameTest, TextsComeFromTheLocalizedLibraryAndTheCurrentOneIsRestored) {
  UseLocalizedLanguage("german");
  kvx::platform::SetCurrentResourceLibrary(nullptr);
  for (RuleFactory make : AllRules()) {
    const RulePtr rule = make();
    rule->GetXML();
    const RuleUnitSystemStructure mm{0, 0}, inch{3, 1};
    rule->UpdateRule(&mm, &inch);
    rule->PopulateParametersFromXML(Save(*rule).get());
    EXPECT_EQ(kvx::platform::CurrentResourceLibrary(), nullptr) << rule->m_iRuleId;
    EXPECT_EQ(rule->m_csRuleName, En(rule->Definition().keyNameId));
    EXPECT_EQ(rule->m_csDisplayName, localized_->String(rule->Definition().nameId));
  }
  CKVXIMSpacingBetweenHolesRule spacing;
  EXPECT_EQ(spacing.m_csSummary, kvx::params::FormatText(*localized_->String(2373), *localized_->String(2043),
                                                        std::wstring(L"2.0")));
}

// Every format a summary fills has, in every language, exactly the placeholders the summary passes.
TEST_F(RuleFrameTest, SummaryFormatsHaveMatchingPlaceholdersInEveryLanguage) {
  const std::vector<std::pair<int, int>> formats = {{2346, 4}, {2465, 3}, {2466, 3}, {2729, 3}, {2442, 2},
                                                    {2080, 3}, {2373, 2}, {2063, 2}, {2074, 3}, {2104, 2}};
  const auto german = kvx::platform::ResourceLibrary::Load(ResourceLibraryPath("german"));
  ASSERT_TRUE(german);
  for (const auto* library : {english_.get(), german.get()}) {
    for (const auto& [id, count] : formats) {
      const std::wstring text = library->String(id).value_or(L"");
      size_t placeholders = 0;
      for (size_t at = text.find(L'%'); at != std::wstring::npos; at = text.find(L'%', at + 2)) {
        EXPECT_EQ(text.substr(at, 2), L"%s") << id;
        ++placeholders;
      }
      EXPECT_EQ(placeholders, static_cast<size_t>(count)) << id;
    }
    for (int id : {2042, 2043, 2827, 2378, 2482, 2491, 2062, 2441, 2610, 2372}) EXPECT_TRUE(library->String(id).has_value()) << id;
  }
}

}  // namespace
}  // namespace kvx::test
