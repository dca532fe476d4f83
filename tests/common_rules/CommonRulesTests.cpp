// The ready-made rules of KVXCommonRulesu, driven as a rule module drives them.
#include <algorithm>
#include <map>
#include <numbers>
#include <set>

#include "kvx/common_rules/CommonRules.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/params/ValueUtils.h"
#include "support/ModuleFixture.h"

namespace {

using RulePtr = std::unique_ptr<CKvxRule>;
using kvx::platform::Narrow;
const std::wstring kModuleKey = L"KvxIMRulesValidator";
const std::wstring kModuleDisplayName = L"Injection Moulding";

// Classes that take the rule node get `node`; the others are read only when the module populates them.
template <typename T>
RulePtr Make(int ruleId, KvxXMLNode* node = nullptr) {
  if constexpr (std::is_constructible_v<T, std::wstring, std::wstring, KVXRuleCategory_e, int, KvxXMLNode*>) {
    return std::make_unique<T>(kModuleDisplayName, kModuleKey, KVX_CATEGORY_INJECTION_MOULDING, ruleId, node);
  } else {
    return std::make_unique<T>(kModuleDisplayName, kModuleKey, KVX_CATEGORY_INJECTION_MOULDING, ruleId);
  }
}

// The rows of the rule catalogue that this library implements: English name id, rule id, class.
struct Entry {
  int nameId;
  int ruleId;
  RulePtr (*make)(int, KvxXMLNode*);
};
const Entry kEntries[] = {
    {2056, 12010, Make<CKVXIMBossBaseRadiusRule>},     {2067, 12040, Make<CKVXIMBossTipRadiusRule>},
    {2115, 12090, Make<CKVXIMDraftAngleRule>},         {2090, 12070, Make<CKVXIMRibParametersRule>},
    {2111, 12100, Make<CKVXIMUndercutDetectionRule>},  {2096, 12080, Make<CKVXIMMoldWallThicknessRule>},
    {2135, 12110, Make<CKVXIMWTVariationRule>},        {2203, 12120, Make<CKVXIMSuddenWTVariationRule>},
    {2047, 12030, Make<CKVXIMUniformThicknessRule>},   {2735, 12210, Make<CKVXRecoPinDiameterRule>},
    {2326, 12140, Make<CKVXIMRibBaseRadiusRule>},      {2285, 14090, Make<CKVXUndercutInterferenceRule>},
    {2576, 12180, Make<CKVXIMVariableDraftAngleRule>}, {2493, 12178, Make<KVXIMBossParamsRule>},
};

std::vector<double>& Values(const CKvxRule& rule, long id) {
  return *kvx::params::DoubleValues(rule.FindParameterInArray(id));
}

class CommonRulesTest : public kvx::test::ModuleFixture {
 protected:
  // The module keeps its localized library current while the host calls it; here that is English.
  void SetUp() override {
    ModuleFixture::SetUp();
    english_scope_.emplace(english_.get());
    SetXMLDoc(document_.get());
  }
  void TearDown() override {
    SetXMLDoc(nullptr);
    english_scope_.reset();
    ModuleFixture::TearDown();
  }
  std::optional<kvx::platform::ResourceScope> english_scope_;
};

// Each class carries its identity, English key name and parameters; its values convert to inches and radians
// and back; and written alone into a fresh rule set and read back (node-taking classes read the node at
// construction and again when the module populates them: the second reading replaces the first, reading null
// changes nothing), it is as it was.
TEST_F(CommonRulesTest, EveryClassKeepsItsIdentityThroughUnitChangesAndXml) {
  const RuleUnitSystemStructure metric{KVX_UNIT_MM, KVX_ANGLE_DEGREE};
  const RuleUnitSystemStructure imperial{KVX_UNIT_INCH, KVX_ANGLE_RADIAN};
  std::set<long> parameterIds;
  for (const Entry& entry : kEntries) {
    const RulePtr rule = entry.make(entry.ruleId, nullptr);
    SCOPED_TRACE(Narrow(rule->m_csRuleName));
    EXPECT_EQ(rule->m_csRuleName, En(entry.nameId));  // the module finds the class by this text
    EXPECT_EQ(rule->GetRuleId(), entry.ruleId);
    EXPECT_EQ(rule->m_textList, std::list<std::wstring>{kModuleDisplayName});
    EXPECT_EQ(rule->m_csSummary.find(L"%s"), std::wstring::npos);
    EXPECT_EQ(rule->m_csSummary.find(L"not set"), std::wstring::npos);
    ASSERT_FALSE(rule->Parameters().empty());
    std::map<long, double> before;
    for (const auto& parameter : rule->Parameters()) {
      EXPECT_EQ(parameter->GetValueType(), KVX_TYPE_DOUBLE);
      EXPECT_GE(parameter->lId, 3000);  // never one of the module's own parameter ids
      EXPECT_TRUE(parameterIds.insert(parameter->lId).second) << parameter->lId;
      EXPECT_EQ(parameter->GetValueCount(), 1);
      EXPECT_TRUE(std::ranges::count(parameter->operatorOptions, parameter->iOperator));
      EXPECT_FALSE(parameter->csSymbol.empty());
      before[parameter->lId] = Values(*rule, parameter->lId)[0];
    }

    CKvxParamStorage& first = *rule->Parameters().front();
    Values(*rule, first.lId) = {0.75};
    first.iOperator = first.operatorOptions.back();
    first.bStatus = false;
    root_ = document_->CreateRootNode(L"RuleSet");
    const auto node = LoadRule(Place(rule->GetXML()));  // the node is released before the document is replaced
    ASSERT_TRUE(node);
    const RulePtr loaded = entry.make(entry.ruleId, node.get());
    loaded->PopulateParametersFromXML(node.get());
    loaded->PopulateParametersFromXML(nullptr);
    EXPECT_EQ(loaded->m_csRuleName, rule->m_csRuleName);
    EXPECT_EQ(loaded->m_lRuleSeverity, rule->m_lRuleSeverity);
    EXPECT_EQ(loaded->m_csSummary, rule->m_csSummary);
    for (const auto& parameter : rule->Parameters()) {
      const CKvxParamStorage* copy = loaded->FindParameterInArray(parameter->lId);
      EXPECT_EQ(Values(*loaded, parameter->lId), Values(*rule, parameter->lId));
      EXPECT_EQ(copy->iOperator, parameter->iOperator);
      EXPECT_EQ(copy->bStatus, parameter->bStatus);
    }

    const RulePtr units = entry.make(entry.ruleId, nullptr);
    units->UpdateRule(&metric, &imperial);
    for (const auto& parameter : units->Parameters()) {
      const double value = Values(*units, parameter->lId)[0], original = before[parameter->lId];
      if (parameter->csUnit == L"in") {
        EXPECT_NEAR(value, original / 25.4, 1e-12);
        EXPECT_NE(units->m_csSummary.find(kvx::params::DoubleToShortText(value) + L" in"), std::wstring::npos);
      } else if (parameter->csUnit == L"rad") {
        EXPECT_NEAR(value, original * std::numbers::pi / 180.0, 1e-12);
      } else {
        EXPECT_EQ(value, original) << parameter->lId;  // ratios, percentages and switches have no unit
      }
    }
    units->UpdateRule(&imperial, &metric);
    units->UpdateRule(nullptr, &imperial);
    for (const auto& parameter : units->Parameters()) {
      EXPECT_NEAR(Values(*units, parameter->lId)[0], before[parameter->lId], 1e-12);
      EXPECT_TRUE(parameter->csUnit != L"in" && parameter->csUnit != L"rad");
    }
    EXPECT_EQ(units->m_csSummary, entry.make(entry.ruleId, nullptr)->m_csSummary);
  }
  // The shown name comes from the current resource library; the key name stays English.
  EXPECT_EQ(Make<CKVXIMMoldWallThicknessRule>(12080)->m_csDisplayName, L"Moulded Wall Thickness");
  UseLocalizedLanguage("german");
  kvx::platform::ResourceScope german(localized_.get());
  const RulePtr rule = Make<CKVXIMMoldWallThicknessRule>(12080);
  EXPECT_EQ(rule->m_csDisplayName, L"Wanddicke des Formteils");
  EXPECT_EQ(rule->m_csRuleName, En(2096));
}

TEST_F(CommonRulesTest, SummariesFollowValuesOperatorsAndEdits) {
  const RulePtr wall = Make<CKVXIMMoldWallThicknessRule>(12080);
  EXPECT_EQ(wall->m_csSummary, L"Wall thickness at least 0.8 mm and at most 4.0 mm");
  EXPECT_EQ(Make<CKVXIMBossBaseRadiusRule>(12010)->m_csSummary,
            L"Boss base radius at least 0.25 and at most 0.5 times the wall thickness");
  EXPECT_EQ(Make<CKVXIMUniformThicknessRule>(12030)->m_csSummary,
            L"Wall thickness deviates at most 10.0% from the nominal 2.0 mm");
  wall->FindParameterInArray(3061)->iOperator = KVX_OP_LESS;
  Values(*wall, 3061) = {3.5};
  wall->GetXML();
  EXPECT_EQ(wall->m_csSummary, L"Wall thickness at least 0.8 mm and less than 3.5 mm");

  struct Dialog : IKvxRuleDialogService {
    int ConfigureRule(CKvxRule& rule, const kvx::platform::Picture&) override {
      Values(rule, 3050) = {0.0};
      return KVX_IDOK;
    }
  } dialog;
  const RulePtr undercut = Make<CKVXIMUndercutDetectionRule>(12100);
  EXPECT_EQ(undercut->m_csSummary, L"Undercut detection on, undercuts at least 0.1 mm deep are reported");
  undercut->SetDialogService(&dialog);
  undercut->EditRule();
  EXPECT_EQ(undercut->m_csSummary, L"Undercut detection off, undercuts at least 0.1 mm deep are reported");

  // A record in inches sets the units and keeps what it lacks.
  const auto node = LoadRule(R"(<RuleSet Unit="3" AngularUnit="0">
    <Rule Name="Moulded Wall Thickness" Module="KvxIMRulesValidator" Status="0" Severity="3">
      <Parameter Name="Minimum wall thickness" Type="3060" Status="1">
        <Operator>7</Operator><ParameterType>0</ParameterType><Value>0.040000</Value>
      </Parameter>
    </Rule></RuleSet>)");
  const RulePtr inches = Make<CKVXIMMoldWallThicknessRule>(12080);
  inches->PopulateParametersFromXML(node.get());
  EXPECT_EQ(Values(*inches, 3060), std::vector<double>{0.04});
  ASSERT_EQ(Values(*inches, 3061).size(), 1u);  // not in the record: its value stays, now in inches
  EXPECT_NEAR(Values(*inches, 3061)[0], 4.0 / 25.4, 1e-12);
  EXPECT_NEAR(inches->FindParameterInArray(3060)->dRangeMin, 0.1 / 25.4, 1e-12);
  EXPECT_EQ(inches->FindParameterInArray(3060)->csUnit, L"in");
  EXPECT_EQ(inches->FindParameterInArray(3060)->iParameterType, 1);  // kind 0 is not written: the limit would go
  EXPECT_EQ(inches->m_csSummary, L"Wall thickness at least 0.04 in and at most 0.15748 in");
}

TEST_F(CommonRulesTest, LibraryKeepsItsOwnDocumentAndExportsNoHelpers) {
  KvxXMLDocument other;
  other.CreateRootNode(L"RuleSet");
  SetXMLDoc(&other);
  EXPECT_EQ(Make<CKVXIMDraftAngleRule>(12090)->GetXML()->GetDocument(), &other);
  EXPECT_EQ(kvx::params::Module().xmlDocument, document_.get());  // the test program's context is apart
  SetXMLDoc(nullptr);
  EXPECT_EQ(Make<CKVXIMDraftAngleRule>(12090)->GetXML(), nullptr);

  const auto library = kvx::platform::DynamicLibrary::FindLoaded(
      kvx::platform::Widen(KVX_BIN_DIR "/") + kvx::platform::LibraryFileName(L"KVXCommonRulesu"));
  ASSERT_TRUE(library);
  EXPECT_NE(library->Symbol("SetXMLDoc"), nullptr);
  EXPECT_EQ(library->Symbol("_ZN3kvx6params6ModuleEv"), nullptr);
  EXPECT_EQ(library->Symbol("_ZN3kvx6module14ReadRuleRecordEP8CKvxRuleP10KvxXMLNode"), nullptr);
}

}  // namespace
