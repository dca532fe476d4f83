// The rule frame, once: identity and defaults of every rule, the default constraint, writing with GetXML into
// a rule set and reading back, what each rule does differently when it reads, editing and resource switching.
// The hole depth rule stands for the frame in its plainest form.
#include <gmock/gmock.h>

#include "RuleTestSupport.h"

namespace kvx::test {
namespace {

struct Identity {
  RuleFactory make;
  int ruleId, executeResult;
  std::vector<long> parameterIds;
  bool materialWorkflow, storesAssemblyStatus;
};
const std::vector<Identity> kIdentities = {
    {Make<CKVXIMHoleDepthToDiaRule>, 12150, 0, {2347, 2348}, true, true},
    {Make<KVXIMBossDraftRule>, 12176, -3, {2468, 2469}, true, false},
    {Make<CKVXIMRibTipThicknessRule>, 12220, -3, {2730}, true, false},
    {Make<KVXIMLipBottomRadiusRule>, 12172, 0, {2443}, false, false},
    {Make<CKVXIMMaxCutoutAreaRule>, 12060, 0, {2081}, true, false},
    {Make<CKVXIMSpacingBetweenHolesRule>, 12160, 0, {2374}, true, true},
    {Make<CKVXIMMinRibClearanceRule>, 12020, 0, {2061}, false, true},
    {Make<CKVXIMRibReinforcementRule>, 12050, -3, {2077, 2102}, true, false},
};

using RuleFrameTest = RuleTest;

// The "Default" constraint mirrors the rule's own parameters where the material workflow is on.
TEST_F(RuleFrameTest, EveryRuleTakesItsIdentityAndDefaultConstraintFromItsDescription) {
  for (const Identity& expected : kIdentities) {
    const RulePtr rule = expected.make();
    SCOPED_TRACE(expected.ruleId);
    EXPECT_EQ(rule->m_iRuleId, expected.ruleId);
    KVXResultSet* results = nullptr;
    EXPECT_EQ(rule->Execute(nullptr, results), expected.executeResult);
    EXPECT_EQ(rule->GetMaterialStatus(), expected.materialWorkflow);
    rule->SetRuleStatusForAssemblyModel(4);
    EXPECT_EQ(rule->m_lRuleStatus, expected.storesAssemblyStatus ? 4 : 0);
    ASSERT_EQ(rule->Parameters().size(), expected.parameterIds.size());
    ASSERT_EQ(rule->Constraints().size(), expected.materialWorkflow ? 1u : 0u);
    for (size_t i = 0; i < expected.parameterIds.size(); ++i) {
      const long id = expected.parameterIds[i];
      EXPECT_EQ(rule->Parameters()[i]->lId, id);
      if (!expected.materialWorkflow) continue;
      EXPECT_EQ(Values(*rule, id, true), Values(*rule, id));
      EXPECT_EQ(Param(*rule, id, true).iOperator, Param(*rule, id).iOperator);
      EXPECT_EQ(rule->Constraints().front()->csName, En(2827));
    }
  }
  // Only the spacing rule is saved under a name other than the one it shows.
  EXPECT_EQ(CKVXIMSpacingBetweenHolesRule().m_csRuleName, En(2610));
}

TEST_F(RuleFrameTest, WithoutTheApplicationObjectOrTheWorkflowLessIsBuilt) {
  context_.applicationPresent = false;
  for (RuleFactory make : kAllRules) {
    const RulePtr rule = make();
    EXPECT_TRUE(rule->Parameters().empty() && rule->m_textList.empty() && rule->m_csRuleName.empty());
    EXPECT_EQ(rule->m_lRuleStatus, -1);
    EXPECT_FALSE(rule->m_bInitialized);
    rule->EditRule();
  }
  EXPECT_TRUE(messages_.messages.empty()) << "EditRule opened something without the application object";
  context_.applicationPresent = true;
  SetMaterialWorkflow(false);
  for (RuleFactory make : kAllRules) EXPECT_TRUE(make()->Constraints().empty() && !make()->GetMaterialStatus());
}

// Gives every value and operator a state other than the default, which the record must then carry.
void Change(CKvxParamStorage& parameter, double factor) {
  for (double& value : *kvx::params::DoubleValues(&parameter)) value = value * factor + 0.125;
  const auto& options = parameter.operatorOptions;
  parameter.iOperator = options.empty() || options.back() == parameter.iOperator ? long{KVX_OP_GREATER} : options.back();
}

// Unit texts follow the units of the rule set they are read from.
TEST_F(RuleFrameTest, EveryRuleRoundTripsThroughTheDocument) {
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
      EXPECT_EQ(Describe(*read), Describe(*written));
      EXPECT_EQ(read->m_csSummary, written->m_csSummary);

      if (!workflow || written->Definition().parameters.front().unit == kvx::rules::UnitKind::None) continue;
      read->PopulateParametersFromXML(Save(*written, R"(Unit="3" AngularUnit="1")").get());
      const std::wstring unit = En(read->m_iRuleId == 12176 ? 2001 : 2010);
      EXPECT_EQ(read->Parameters().front()->csUnit, unit);
      EXPECT_THAT(read->m_csSummary, ::testing::HasSubstr(unit));
    }
  }
}

TEST_F(RuleFrameTest, ReadingEmptiesTheValuesFirstAndReadsTheConstraintsOnce) {
  CKVXIMHoleDepthToDiaRule rule;
  rule.PopulateParametersFromXML(LoadRule(R"(<RuleSet><Rule Severity="4">)" + ParamXml(2348, 8, 3.0) +
                                          ConstraintXml("default", ParamXml(2347, 5, 1.0) + ParamXml(2348, 5, 1.5)) +
                                          ConstraintXml("ABS", ParamXml(2347, 5, 8.0) + ParamXml(2348, 5, 8.0)) +
                                          ConstraintXml("Default", ParamXml(2347, 8, 2.5) + ParamXml(2348, 8, 3.0)) +
                                          "</Rule></RuleSet>")
                                      .get());
  // 2347: none in the record, the factory value; no "Status" on the record.
  EXPECT_EQ(Describe(rule),
            "severity 4 status -1: 2347:5 5/8 true [2] 2348:8 5/8 true [3] | default 2347:5 5/8 true [1] "
            "2348:5 5/8 true [1.5] | ABS 2347:5 5/8 true [8] 2348:5 5/8 true [8] | Default 2347:8 5/8 true [2.5] "
            "2348:8 5/8 true [3]");
  // The last constraint called "Default", ignoring case, is shown; a value of 3 prints as 3.0.
  EXPECT_EQ(rule.m_csSummary, Format(2346, OrEqual(), L"2.5", OrEqual(), L"3.0"));

  rule.m_bKeepDefaultConstraints = true;  // back to the defaults; constraints are then read by position
  rule.PopulateParametersFromXML(LoadRule("<Rule>" + ParamXml(2347, 5, 2.2) + ParamXml(2348, 5, 4.4) +
                                          ConstraintXml("Default", ParamXml(2347, 8, 1.1)) + "</Rule>")
                                     .get());
  // 2348 of the constraint: none in the record, the factory value.
  EXPECT_EQ(Describe(rule), "severity -1 status -1: 2347:5 5/8 true [2.2] 2348:5 5/8 true [4.4] | Default 2347:8 5/8 "
                            "true [1.1] 2348:5 5/8 true [4]");

  rule.m_bKeepDefaultConstraints = false;
  rule.m_csSummary = L"as it was";
  Param(rule, 2347).lId = 1;  // a rule lacking one of its parameters reads nothing
  rule.PopulateParametersFromXML(LoadRule("<Rule Severity=\"1\">" + ParamXml(2348, 5, 9.0) + "</Rule>").get());
  EXPECT_EQ(rule.m_lRuleSeverity, -1);
  EXPECT_EQ(rule.m_csSummary, L"as it was");
}

// The rib reinforcement rule reads nothing while a constraint lacks a limit; the others pass over such a
// constraint and read the record. The lip and clearance rules read no constraints.
TEST_F(RuleFrameTest, RulesDifferInWhatTheyReadOfTheConstraints) {
  CKVXIMRibReinforcementRule source;
  Values(source, 2077) = {9.0};
  const auto node = Save(source);
  CKVXIMRibReinforcementRule rib;
  auto incomplete = std::make_unique<CKVXConstraint>(1, L"Default", false);
  incomplete->AddParameter(kvx::params::MakeParamStorage(KVX_TYPE_DOUBLE, 2077, KVX_OP_LESS_EQUAL, 1, false, false));
  rib.AddConstraint(std::move(incomplete));
  rib.m_csSummary = L"as it was";
  rib.PopulateParametersFromXML(node.get());
  EXPECT_EQ(Values(rib, 2077), std::vector<double>{5.0});
  EXPECT_EQ(rib.Constraints().size(), 2u);
  EXPECT_EQ(rib.m_csSummary, L"as it was");

  CKVXIMHoleDepthToDiaRule holes;
  holes.AddConstraint(std::make_unique<CKVXConstraint>(1, L"PA6", false));
  Values(holes, 2347) = {9.0};
  holes.PopulateParametersFromXML(Save(holes).get());
  EXPECT_EQ(Values(holes, 2347), std::vector<double>{9.0});

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

// Edits the first value as a user would, then cancels; records which resource library was current.
class CancellingDialog final : public IKvxRuleDialogService {
 public:
  int ConfigureRule(CKvxRule& rule, const kvx::platform::Picture&) override {
    library = kvx::platform::CurrentResourceLibrary();
    kvx::params::DoubleValues(rule.Parameters().front().get())->front() = 2.75;
    return KVX_IDCANCEL;
  }
  const kvx::platform::ResourceLibrary* library = nullptr;
};

// GetXML writes the summary of before the call, and rebuilds it.
TEST_F(RuleFrameTest, EditingAndWritingRebuildTheSummaryWhateverTheEditorAnswers) {
  SetMaterialWorkflow(false);
  CKVXIMHoleDepthToDiaRule rule;
  const std::wstring built = rule.m_csSummary;
  rule.m_csSummary = L"stale";
  std::wstring first, second;
  rule.GetXML()->GetAttributeValue(L"Summary", first);
  rule.GetXML()->GetAttributeValue(L"Summary", second);
  EXPECT_EQ(first, L"stale");
  EXPECT_EQ(second, built);
  rule.m_csSummary = L"stale";
  rule.EditRule();  // no dialog in this host: the framework says so
  EXPECT_EQ(messages_.messages.size(), 1u);
  EXPECT_EQ(rule.m_csSummary, Format(2346, L"", L"2.0", L"", L"4.0"));
  CancellingDialog dialog;
  rule.SetDialogService(&dialog);
  kvx::platform::SetCurrentResourceLibrary(nullptr);
  rule.EditRule();
  EXPECT_EQ(dialog.library, english_.get());
  EXPECT_EQ(kvx::platform::CurrentResourceLibrary(), nullptr);
  EXPECT_EQ(rule.m_csSummary, Format(2346, L"", L"2.75", L"", L"4.0"));
  EXPECT_EQ(messages_.messages.size(), 1u);
}

TEST_F(RuleFrameTest, TextsComeFromTheLocalizedLibraryAndTheCurrentOneIsRestored) {
  UseLocalizedLanguage("german");
  kvx::platform::SetCurrentResourceLibrary(nullptr);
  const RuleUnitSystemStructure mm{0, 0}, inch{3, 1};
  for (RuleFactory make : kAllRules) {
    const RulePtr rule = make();
    rule->UpdateRule(&mm, &inch);
    rule->PopulateParametersFromXML(Save(*rule).get());
    EXPECT_EQ(kvx::platform::CurrentResourceLibrary(), nullptr) << rule->m_iRuleId;
    EXPECT_EQ(rule->m_csRuleName, En(rule->Definition().keyNameId));
    EXPECT_EQ(rule->m_csDisplayName, localized_->String(rule->Definition().nameId));
  }
  EXPECT_EQ(CKVXIMSpacingBetweenHolesRule().m_csSummary,
            kvx::params::FormatText(*localized_->String(2373), *localized_->String(2043), std::wstring(L"2.0")));
}

}  // namespace
}  // namespace kvx::test
