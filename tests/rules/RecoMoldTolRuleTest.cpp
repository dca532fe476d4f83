// The recommended moulding tolerance rule: its table from the database text, from a rule record, through the
// XML round trip and through unit changes, and the lookup of the real database library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "kvx_db/KVXDataHelper.h"
#include "kvx/framework/KvxTypes.h"  // before the fixture, which uses KVX_IDOK
#include "../support/ModuleFixture.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Text.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/rules/RecoMoldTolDatabase.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A collector that answers a fixed table text.
class TableCollector final : public kvx_db::IDatabaseCollector {
 public:
  bool QueryToleranceTable(std::wstring& table) override {
    table = answer;
    return succeeds;
  }
  std::wstring answer;
  bool succeeds = true;
};

// Names of the materials, in list order; only those whose `flag` is set when one is given.
std::vector<std::wstring> MaterialNames(const CKvxRule& rule, bool CKVXConstraint::*flag = nullptr) {
  std::vector<std::wstring> names;
  for (const auto& constraint : rule.Constraints()) {
    if (!flag || (*constraint).*flag) names.push_back(constraint->csName);
  }
  return names;
}
constexpr auto kActive = &CKVXConstraint::bStatus;
constexpr auto kSecondFlag = &CKVXConstraint::bSecondFlag;
constexpr RuleUnitSystemStructure kMillimetres{KVX_UNIT_MM, KVX_ANGLE_DEGREE};
constexpr RuleUnitSystemStructure kInches{KVX_UNIT_INCH, KVX_ANGLE_DEGREE};

std::vector<double> Column(const CKVXConstraint& constraint, long id) {
  std::vector<double>* values = kvx::params::DoubleValues(constraint.FindParameterInArray(id));
  return values ? *values : std::vector<double>{};
}

void ExpectRow(const ToleranceRow& row, double over, double upto, double a, double b) {
  EXPECT_DOUBLE_EQ(row.dOver, over);
  EXPECT_DOUBLE_EQ(row.dUpto, upto);
  EXPECT_DOUBLE_EQ(row.dAVal, a);
  EXPECT_DOUBLE_EQ(row.dBVal, b);
}

// Same materials with the same four columns, value by value within `tolerance`.
void ExpectSameTable(const CKvxRule& actual, const CKvxRule& expected, double tolerance) {
  ASSERT_EQ(MaterialNames(actual), MaterialNames(expected));
  for (size_t m = 0; m < expected.Constraints().size(); ++m) {
    for (long id : {2517L, 2518L, 2519L, 2520L}) {
      EXPECT_THAT(Column(*actual.Constraints()[m], id),
                  ::testing::Pointwise(::testing::DoubleNear(tolerance), Column(*expected.Constraints()[m], id)))
          << "material " << m << ", column " << id;
    }
  }
}

class RecoMoldTolTest : public kvx::test::ModuleFixture {
 protected:
  void SetUp() override {
    ModuleFixture::SetUp();
    kvx::rules::SetToleranceCollectorSource([this] {
      kvx::rules::ToleranceCollector found;
      found.collector = collectorPresent_ ? &collector_ : nullptr;
      return found;
    });
  }
  void TearDown() override {
    kvx::rules::SetToleranceCollectorSource({});
    SetRecoMoldTolEditor({});
    ModuleFixture::TearDown();
  }

  std::unique_ptr<CKVXRecoMoldTolRule> RuleFromTable(const std::wstring& table) {
    collector_.answer = table;
    return std::make_unique<CKVXRecoMoldTolRule>(nullptr);
  }
  // What the host does with a rule node: construct with it, then populate from it.
  std::unique_ptr<CKVXRecoMoldTolRule> RuleFromNode(KvxXMLNode* node) {
    auto rule = std::make_unique<CKVXRecoMoldTolRule>(node);
    rule->PopulateParametersFromXML(node);
    return rule;
  }
  size_t OverIsEmptyMessages() const {
    size_t count = 0;
    for (const auto& message : messages_.messages) count += message.text == L"Over is empty";
    return count;
  }

  TableCollector collector_;
  bool collectorPresent_ = true;
};

// ---- construction -------------------------------------------------------------------------------------

TEST_F(RecoMoldTolTest, ConstructorSetsIdentityAndColumns) {
  auto rule = RuleFromTable(L"ABS,0,10,0.2,0.003");
  EXPECT_EQ(rule->m_csRuleName, En(2515));
  EXPECT_EQ(rule->m_csDisplayName, En(2515));
  EXPECT_EQ(rule->m_csSummary, En(2521));
  EXPECT_EQ(rule->m_csModuleName, L"KvxIMRulesValidator");
  EXPECT_THAT(rule->m_textList, ElementsAre(En(2042)));
  EXPECT_EQ(rule->m_iRuleId, 12174);
  EXPECT_EQ(rule->m_lRuleSeverity, 3);
  EXPECT_EQ(rule->m_lRuleStatus, 0);
  EXPECT_EQ(rule->m_category, KVX_CATEGORY_INJECTION_MOULDING);
  EXPECT_TRUE(rule->m_bInitialized);
  EXPECT_THAT(rule->Parameters(), IsEmpty());

  ASSERT_EQ(rule->Constraints().size(), 1u);
  const CKVXConstraint& abs = *rule->Constraints()[0];
  EXPECT_EQ(abs.iType, 1);
  const int operators[] = {3, 8, 8, 8};
  ASSERT_EQ(abs.Parameters().size(), 4u);
  for (size_t i = 0; i < 4; ++i) {
    const CKvxParamStorage& p = *abs.Parameters()[i];
    EXPECT_EQ(std::tuple(p.lId, p.GetValueType(), p.iOperator, p.iParameterType, p.bFirstFlag, p.bSecondFlag),
              std::tuple(2517 + static_cast<long>(i), KVX_TYPE_DOUBLE, operators[i], 1, true, false));
  }
}

TEST_F(RecoMoldTolTest, TwoMaterialsComeInKeyOrderWithOnlyAisiActive) {
  auto rule = RuleFromTable(L"AISI_304,0,10,0.1,0.002;ABS,0,10,0.2,0.003");
  EXPECT_THAT(MaterialNames(*rule), ElementsAre(L"ABS", L"AISI_304"));
  EXPECT_THAT(MaterialNames(*rule, kActive), ElementsAre(L"AISI_304"));
  EXPECT_THAT(MaterialNames(*rule, kSecondFlag), ElementsAre(L"ABS"));
  const auto absRows = CKVXRecoMoldTolRule::RowsOf(*rule->Constraints()[0]);
  const auto aisiRows = CKVXRecoMoldTolRule::RowsOf(*rule->Constraints()[1]);
  ASSERT_EQ(absRows.size(), 1u);
  ASSERT_EQ(aisiRows.size(), 1u);
  ExpectRow(absRows[0], 0, 10, 0.2, 0.003);
  ExpectRow(aisiRows[0], 0, 10, 0.1, 0.002);
  EXPECT_THAT(messages_.messages, IsEmpty());

  // Names are ordered by their characters; the default material is found in any case.
  auto mixed = RuleFromTable(L"pc,0,1,1,1;aisi_304,0,1,1,1;PS,0,1,1,1");
  EXPECT_THAT(MaterialNames(*mixed), ElementsAre(L"PS", L"aisi_304", L"pc"));
  EXPECT_THAT(MaterialNames(*mixed, kActive), ElementsAre(L"aisi_304"));
  EXPECT_THAT(MaterialNames(*mixed, kSecondFlag), ElementsAre(L"PS"));
}

TEST_F(RecoMoldTolTest, RecordsOfOneMaterialBecomeRowsInRecordOrder) {
  auto rule = RuleFromTable(L"PC,0,3,0.19,0.09;PS,0,1,1,1;PC,3,6,0.2,0.1,ignored");
  ASSERT_THAT(MaterialNames(*rule), ElementsAre(L"PC", L"PS"));
  const auto rows = CKVXRecoMoldTolRule::RowsOf(*rule->Constraints()[0]);
  ASSERT_EQ(rows.size(), 2u);
  ExpectRow(rows[0], 0, 3, 0.19, 0.09);
  ExpectRow(rows[1], 3, 6, 0.2, 0.1);
}

TEST_F(RecoMoldTolTest, RecordsWithoutAMaterialAreIgnored) {
  auto rule = RuleFromTable(L"-1,0,10,0.1,0.1;ABS,0,10,0.2,0.003;,,,,;;");
  EXPECT_THAT(MaterialNames(*rule), ElementsAre(L"ABS"));
  EXPECT_THAT(messages_.messages, IsEmpty());
}

TEST_F(RecoMoldTolTest, MissingOverDropsOnlyAMaterialsFirstRow) {
  auto first = RuleFromTable(L"PC,-1,5,1,1");
  EXPECT_EQ(OverIsEmptyMessages(), 1u);
  ASSERT_THAT(MaterialNames(*first), ElementsAre(L"PC"));
  EXPECT_THAT(CKVXRecoMoldTolRule::RowsOf(*first->Constraints()[0]), IsEmpty());

  messages_.messages.clear();
  auto later = RuleFromTable(L"PC,0,5,0.1,0.2;PC,-1,5,1,1");
  EXPECT_EQ(OverIsEmptyMessages(), 1u);
  const auto rows = CKVXRecoMoldTolRule::RowsOf(*later->Constraints()[0]);
  ASSERT_EQ(rows.size(), 2u);
  ExpectRow(rows[0], 0, 5, 0.1, 0.2);
  EXPECT_DOUBLE_EQ(rows[1].dUpto, 5);
  EXPECT_DOUBLE_EQ(rows[1].dBVal, 1);

  // A record that stops after its material has no Over at all.
  messages_.messages.clear();
  auto bare = RuleFromTable(L"PS;PS,0,1,1,1;PPE,-1.0");
  EXPECT_EQ(OverIsEmptyMessages(), 2u);
  ASSERT_THAT(MaterialNames(*bare), ElementsAre(L"PPE", L"PS"));
  EXPECT_THAT(CKVXRecoMoldTolRule::RowsOf(*bare->Constraints()[0]), IsEmpty());
  EXPECT_EQ(CKVXRecoMoldTolRule::RowsOf(*bare->Constraints()[1]).size(), 1u);
}

TEST_F(RecoMoldTolTest, NoUsableDatabaseLeavesAnEmptyTableSilently) {
  collectorPresent_ = false;
  auto noCollector = RuleFromTable(L"ABS,0,10,0.2,0.003");
  EXPECT_THAT(MaterialNames(*noCollector), IsEmpty());
  EXPECT_FALSE(noCollector->m_bInitialized);

  collectorPresent_ = true;
  collector_.succeeds = false;
  EXPECT_THAT(MaterialNames(*RuleFromTable(L"ABS,0,10,0.2,0.003")), IsEmpty());
  collector_.succeeds = true;
  EXPECT_THAT(MaterialNames(*RuleFromTable(L"")), IsEmpty());
  EXPECT_THAT(messages_.messages, IsEmpty());
}

TEST_F(RecoMoldTolTest, WithoutTheApplicationObjectNothingIsLoaded) {
  kvx::params::Module().applicationPresent = false;
  auto rule = RuleFromTable(L"ABS,0,10,0.2,0.003");
  EXPECT_THAT(MaterialNames(*rule), IsEmpty());
  EXPECT_TRUE(rule->m_csRuleName.empty());
  EXPECT_EQ(rule->m_iRuleId, 0);
}

// ---- rule records ---------------------------------------------------------------------------------------

// Two materials written inactive, the first with an unknown kind.
constexpr const char* kRecordWithInactiveMaterials = R"(<RuleSet Unit="0" AngularUnit="0">
  <Rule Name="Recommended Moulding Tolerance" Status="0" Module="KvxIMRulesValidator" Severity="3">
    <Constraint Type="7" Value="PBT" Status="0">
      <Parameter Type="2517"><Operator>3</Operator><Value>0.000000</Value><Value>1.000000</Value></Parameter>
      <Parameter Type="2518"><Operator>8</Operator><Value>1.000000</Value><Value>3.000000</Value></Parameter>
      <Parameter Type="2519"><Operator>8</Operator><Value>0.180000</Value><Value>0.190000</Value></Parameter>
      <Parameter Type="2520"><Operator>8</Operator><Value>0.080000</Value><Value>0.090000</Value></Parameter>
    </Constraint>
    <Constraint Type="1" Value="AISI_304" Status="0">
      <Parameter Type="2517"><Value>3</Value></Parameter><Parameter Type="2518"><Value>6</Value></Parameter>
      <Parameter Type="2519"><Value>0.1</Value></Parameter><Parameter Type="2520"><Value>0.1</Value></Parameter>
    </Constraint>
  </Rule>
</RuleSet>)";

TEST_F(RecoMoldTolTest, RecordLoadsEveryMaterialActiveWithItsRows) {
  auto node = LoadRule(kRecordWithInactiveMaterials);
  ASSERT_TRUE(node);
  auto rule = RuleFromNode(node.get());
  EXPECT_THAT(MaterialNames(*rule), ElementsAre(L"PBT", L"AISI_304"));
  EXPECT_THAT(MaterialNames(*rule, kActive), ElementsAre(L"PBT", L"AISI_304"));
  EXPECT_THAT(MaterialNames(*rule, kSecondFlag), IsEmpty());
  EXPECT_EQ(rule->Constraints()[0]->iType, 1);
  EXPECT_TRUE(rule->Constraints()[0]->Parameters()[0]->bFirstFlag);
  const auto rows = CKVXRecoMoldTolRule::RowsOf(*rule->Constraints()[0]);
  ASSERT_EQ(rows.size(), 2u);
  ExpectRow(rows[0], 0, 1, 0.18, 0.08);
  ExpectRow(rows[1], 1, 3, 0.19, 0.09);
  EXPECT_EQ(rule->m_csSummary, En(2521));
  EXPECT_TRUE(rule->m_bPopulated);

  // Reading the same record again replaces the rows instead of adding to them.
  rule->PopulateParametersFromXML(node.get());
  EXPECT_EQ(CKVXRecoMoldTolRule::RowsOf(*rule->Constraints()[0]).size(), 2u);
  EXPECT_EQ(CKVXRecoMoldTolRule::RowsOf(*rule->Constraints()[1]).size(), 1u);
  EXPECT_THAT(messages_.messages, IsEmpty());
}

TEST_F(RecoMoldTolTest, ConstraintWithoutTypeValueOrStatusIsSkipped) {
  auto node = LoadRule(R"(<RuleSet><Rule Name="Recommended Moulding Tolerance" Module="KvxIMRulesValidator">
    <Constraint Value="PC" Status="1"/><Constraint Type="1" Status="1"/><Constraint Type="1" Value="PS"/>
    <Constraint Type="1" Value="PPE" Status="1"/></Rule></RuleSet>)");
  ASSERT_TRUE(node);
  CKVXRecoMoldTolRule rule(node.get());
  EXPECT_THAT(MaterialNames(rule), ElementsAre(L"PPE"));
  EXPECT_TRUE(rule.m_bInitialized);
  EXPECT_THAT(messages_.messages, IsEmpty());
}

TEST_F(RecoMoldTolTest, KeepDefaultConstraintsRebuildsTheMaterialsFromTheRecord) {
  auto rule = RuleFromTable(L"ABS,0,10,0.2,0.003;PC,0,1,1,1");
  rule->m_bKeepDefaultConstraints = true;
  auto node = LoadRule(kRecordWithInactiveMaterials);
  rule->PopulateParametersFromXML(node.get());
  EXPECT_THAT(MaterialNames(*rule), ElementsAre(L"PBT", L"AISI_304"));
  EXPECT_THAT(MaterialNames(*rule, kActive), ElementsAre(L"PBT", L"AISI_304"));
  EXPECT_EQ(CKVXRecoMoldTolRule::RowsOf(*rule->Constraints()[0]).size(), 2u);

  rule->PopulateParametersFromXML(nullptr);
  EXPECT_EQ(rule->Constraints().size(), 2u);
}

TEST_F(RecoMoldTolTest, XmlRoundTripGivesBackEveryValue) {
  auto original =
      RuleFromTable(L"AISI_304,0,6,0.1,0.1;AISI_304,6,30,0.2,0.2;ABS,0,1,0.18,0.08;ABS,1,3,0.19,0.09;"
                    L"ABS,3,6,0.203125,0.000001;PC,0,1,0.5,0.25");
  auto element = original->GetXML();
  ASSERT_TRUE(element);
  const std::string text = Place(std::move(element));
  EXPECT_THAT(text, ::testing::HasSubstr("Status=\"0\""));  // ABS and PC are inactive when written

  auto node = LoadRule(text);
  ASSERT_TRUE(node);
  auto reloaded = RuleFromNode(node.get());
  ExpectSameTable(*reloaded, *original, 0.0);
  EXPECT_THAT(MaterialNames(*reloaded, kActive), ElementsAre(L"ABS", L"AISI_304", L"PC"));
  EXPECT_EQ(reloaded->m_csRuleName, original->m_csRuleName);
  EXPECT_EQ(reloaded->m_lRuleSeverity, 3);
}

// ---- units ----------------------------------------------------------------------------------------------

TEST_F(RecoMoldTolTest, UnitChangeConvertsAllFourColumnsAndBack) {
  const std::wstring table = L"ABS,0,1,0.18,0.08;ABS,250,315,1.1,1;AISI_304,3,6,0.1,0.1";
  auto rule = RuleFromTable(table);
  auto reference = RuleFromTable(table);

  rule->UpdateRule(&kMillimetres, &kInches);
  EXPECT_EQ(rule->m_unitSystem.iLengthUnit, KVX_UNIT_INCH);
  const auto inches = CKVXRecoMoldTolRule::RowsOf(*rule->Constraints()[0]);
  ExpectRow(inches[1], 250 / 25.4, 315 / 25.4, 1.1 / 25.4, 1 / 25.4);

  rule->UpdateRule(&kInches, &kMillimetres);
  EXPECT_EQ(rule->m_unitSystem.iLengthUnit, KVX_UNIT_MM);
  ExpectSameTable(*rule, *reference, 1e-12);
}

TEST_F(RecoMoldTolTest, SameLengthUnitKeepsValuesButStoresTheNewCodes) {
  auto rule = RuleFromTable(L"ABS,0,1,0.18,0.08");
  const RuleUnitSystemStructure from{KVX_UNIT_MM, KVX_ANGLE_DEGREE};
  const RuleUnitSystemStructure to{KVX_UNIT_MM, KVX_ANGLE_RADIAN};
  rule->UpdateRule(&from, &to);
  EXPECT_EQ(rule->m_unitSystem.iLengthUnit, KVX_UNIT_MM);
  EXPECT_EQ(rule->m_unitSystem.iAngleUnit, KVX_ANGLE_RADIAN);
  ExpectRow(CKVXRecoMoldTolRule::RowsOf(*rule->Constraints()[0])[0], 0, 1, 0.18, 0.08);
}

TEST_F(RecoMoldTolTest, UnitChangeSkipsAConstraintLackingAColumn) {
  auto rule = RuleFromTable(L"ABS,0,25.4,25.4,25.4");
  auto partial = rule->CreateConstraintObject(1, L"PARTIAL", false);
  auto over = rule->CreateParamStorageObject(KVX_TYPE_DOUBLE, 2517, KVX_OP_EQUAL, 1, true, false);
  over->GetDoubleValues()->push_back(25.4);
  partial->AddParameter(std::move(over));
  rule->AddConstraint(std::move(partial));

  rule->UpdateRule(&kMillimetres, &kInches);
  ExpectRow(CKVXRecoMoldTolRule::RowsOf(*rule->Constraints()[0])[0], 0, 1, 1, 1);
  EXPECT_THAT(Column(*rule->Constraints()[1], 2517), ElementsAre(25.4));
}

// ---- editing ------------------------------------------------------------------------------------------

TEST_F(RecoMoldTolTest, EditRuleOpensTheInstalledDialogWithTheUnitText) {
  auto rule = RuleFromTable(L"ABS,0,1,0.18,0.08");
  rule->UpdateRule(&kMillimetres, &kInches);

  CKVXRecoMoldTolRule* edited = nullptr;
  std::wstring unitText;
  SetRecoMoldTolEditor([&](CKVXRecoMoldTolRule& target, const std::wstring& unit) {
    edited = &target;
    unitText = unit;
    return KVX_IDOK;
  });
  rule->EditRule();
  EXPECT_EQ(edited, rule.get());
  EXPECT_EQ(unitText, En(2010));
  EXPECT_THAT(messages_.messages, IsEmpty());

  // Without a dialog the framework's rule dialog answers, here by saying there is none.
  SetRecoMoldTolEditor({});
  rule->EditRule();
  EXPECT_EQ(messages_.messages.size(), 1u);
}

// ---- the real database library --------------------------------------------------------------------------

// Points KVX_MATERIAL_DB into a fresh temporary folder for the test's lifetime.
class TemporaryMaterialDatabase {
 public:
  TemporaryMaterialDatabase() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kvx-tol-test-XXXXXX").string();
    if (mkdtemp(pattern.data())) folder_ = pattern;
    if (const char* value = getenv("KVX_MATERIAL_DB")) saved_ = value;
    setenv("KVX_MATERIAL_DB", (folder_ / "materials.sqlite").c_str(), 1);
  }
  ~TemporaryMaterialDatabase() {
    if (saved_) setenv("KVX_MATERIAL_DB", saved_->c_str(), 1);
    else unsetenv("KVX_MATERIAL_DB");
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  bool Ready() const { return !folder_.empty(); }
  const std::filesystem::path& Folder() const { return folder_; }

 private:
  std::filesystem::path folder_;
  std::optional<std::string> saved_;
};

TEST_F(RecoMoldTolTest, FactoryDatabaseLoadedBesideTheModuleGivesTheFactoryMaterials) {
  TemporaryMaterialDatabase database;
  ASSERT_TRUE(database.Ready());
  const std::wstring binFolder = kvx::platform::Widen(KVX_BIN_DIR);
  const std::wstring fileName = kvx::platform::LibraryFileName(L"KVXDatabaseu");
  const std::wstring libraryPath = kvx::platform::JoinPath(binFolder, fileName);
  ASSERT_TRUE(std::filesystem::exists(kvx::platform::Narrow(libraryPath))) << "KVXDatabaseu is not built";

  // A copy that nobody has loaded is not used: the rule never loads the library itself.
  const std::filesystem::path copy = database.Folder() / kvx::platform::Narrow(fileName);
  std::filesystem::copy_file(kvx::platform::Narrow(libraryPath), copy);
  const std::wstring copyFolder = kvx::platform::Widen(database.Folder().string());
  kvx::rules::SetToleranceCollectorSource([&] { return kvx::rules::FindLoadedDatabaseCollector(copyFolder); });
  EXPECT_THAT(MaterialNames(CKVXRecoMoldTolRule(nullptr)), IsEmpty());

  kvx::rules::SetToleranceCollectorSource([&] { return kvx::rules::FindLoadedDatabaseCollector(binFolder); });
  std::wstring error;
  const auto library = kvx::platform::DynamicLibrary::Load(libraryPath, &error);
  ASSERT_TRUE(library) << kvx::platform::Narrow(error);
  CKVXRecoMoldTolRule rule(nullptr);
  EXPECT_THAT(MaterialNames(rule),
              ElementsAre(L"ABS", L"AISI_304", L"PA6-GF30", L"PBT", L"PC", L"PPE", L"PS"));
  EXPECT_THAT(MaterialNames(rule, kActive), ElementsAre(L"AISI_304"));
  EXPECT_THAT(MaterialNames(rule, kSecondFlag), ElementsAre(L"ABS"));
  const auto absRows = CKVXRecoMoldTolRule::RowsOf(*rule.Constraints()[0]);
  ASSERT_FALSE(absRows.empty());
  ExpectRow(absRows[0], 0, 1, 0.18, 0.08);
  // Every material gets all the bands of its group; all but AISI_304 share ABS's group.
  EXPECT_FALSE(CKVXRecoMoldTolRule::RowsOf(*rule.Constraints()[1]).empty());
  for (const auto& constraint : rule.Constraints()) {
    if (constraint->csName == L"AISI_304") continue;
    EXPECT_EQ(CKVXRecoMoldTolRule::RowsOf(*constraint).size(), absRows.size())
        << kvx::platform::Narrow(constraint->csName);
  }
  EXPECT_THAT(messages_.messages, IsEmpty());
}

}  // namespace
