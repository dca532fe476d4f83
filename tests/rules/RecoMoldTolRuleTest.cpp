// The recommended moulding tolerance rule: its table from the database text, from a rule record, through the
// XML round trip and through unit changes, and the lookup of the real database library.
#include <gmock/gmock.h>
#include <stdlib.h>

#include <array>
#include <filesystem>
#include <optional>

#include "kvx_db/KVXDataHelper.h"
#include "kvx/framework/KvxTypes.h"  // before the fixture, which uses KVX_IDOK
#include "../support/ModuleFixture.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Text.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/rules/RecoMoldTolDatabase.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Names = std::vector<std::wstring>;
using Rows = std::vector<std::array<double, 4>>;  // over, upto, A, B

class TableCollector final : public kvx_db::IDatabaseCollector {
 public:
  bool QueryToleranceTable(std::wstring& table) override {
    table = answer;
    return succeeds;
  }
  std::wstring answer;
  bool succeeds = true;
};

// Names of the materials in list order; only those whose `flag` is set when one is given.
Names MaterialNames(const CKvxRule& rule, bool CKVXConstraint::*flag = nullptr) {
  Names names;
  for (const auto& constraint : rule.Constraints()) {
    if (!flag || (*constraint).*flag) names.push_back(constraint->csName);
  }
  return names;
}
constexpr auto kActive = &CKVXConstraint::bStatus;
constexpr auto kSecondFlag = &CKVXConstraint::bSecondFlag;
constexpr RuleUnitSystemStructure kMillimetres{KVX_UNIT_MM, KVX_ANGLE_DEGREE};
constexpr RuleUnitSystemStructure kInches{KVX_UNIT_INCH, KVX_ANGLE_DEGREE};

Rows RowsOf(const CKvxRule& rule, size_t material) {
  Rows rows;
  for (const ToleranceRow& r : CKVXRecoMoldTolRule::RowsOf(*rule.Constraints().at(material))) {
    rows.push_back({r.dOver, r.dUpto, r.dAVal, r.dBVal});
  }
  return rows;
}
std::vector<double> Column(const CKVXConstraint& constraint, long id) {
  std::vector<double>* values = kvx::params::DoubleValues(constraint.FindParameterInArray(id));
  return values ? *values : std::vector<double>{};
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
    return std::ranges::count_if(messages_.messages, [](const auto& m) { return m.text == L"Over is empty"; });
  }

  TableCollector collector_;
  bool collectorPresent_ = true;
};

// Materials sorted by their characters, only the default material (found in any case) active; records
// without a material ignored; a missing Over drops only a material's first row and is reported.
TEST_F(RecoMoldTolTest, TableTextBecomesMaterialsAndRows) {
  struct Case {
    std::wstring table;
    Names names, active, second;
    std::vector<Rows> rows;
    size_t overIsEmpty;
  };
  const std::vector<Case> cases = {
      {L"AISI_304,0,10,0.1,0.002;ABS,0,10,0.2,0.003", {L"ABS", L"AISI_304"}, {L"AISI_304"}, {L"ABS"},
       {{{0, 10, 0.2, 0.003}}, {{0, 10, 0.1, 0.002}}}, 0},
      {L"pc,0,1,1,1;aisi_304,0,1,1,1;PS,0,1,1,1", {L"PS", L"aisi_304", L"pc"}, {L"aisi_304"}, {L"PS"},
       {{{0, 1, 1, 1}}, {{0, 1, 1, 1}}, {{0, 1, 1, 1}}}, 0},
      {L"PC,0,3,0.19,0.09;PS,0,1,1,1;PC,3,6,0.2,0.1,ignored", {L"PC", L"PS"}, {}, {L"PC"},
       {{{0, 3, 0.19, 0.09}, {3, 6, 0.2, 0.1}}, {{0, 1, 1, 1}}}, 0},
      {L"-1,0,10,0.1,0.1;ABS,0,10,0.2,0.003;,,,,;;", {L"ABS"}, {}, {L"ABS"}, {{{0, 10, 0.2, 0.003}}}, 0},
      {L"PC,-1,5,1,1", {L"PC"}, {}, {L"PC"}, {{}}, 1},
      {L"PC,0,5,0.1,0.2;PC,-1,5,1,1", {L"PC"}, {}, {L"PC"}, {{{0, 5, 0.1, 0.2}, {0, 5, 1, 1}}}, 1},
      {L"PS;PS,0,1,1,1;PPE,-1.0", {L"PPE", L"PS"}, {}, {L"PPE"}, {{}, {{0, 1, 1, 1}}}, 2},  // no Over at all
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(kvx::platform::Narrow(c.table));
    messages_.messages.clear();
    auto rule = RuleFromTable(c.table);
    ASSERT_EQ(MaterialNames(*rule), c.names);
    EXPECT_EQ(MaterialNames(*rule, kActive), c.active);
    EXPECT_EQ(MaterialNames(*rule, kSecondFlag), c.second);
    for (size_t m = 0; m < c.rows.size(); ++m) EXPECT_EQ(RowsOf(*rule, m), c.rows[m]) << m;
    EXPECT_EQ(OverIsEmptyMessages(), c.overIsEmpty);
    EXPECT_EQ(messages_.messages.size(), c.overIsEmpty);
    EXPECT_EQ(rule->m_csSummary, En(2521));
    EXPECT_TRUE(rule->m_bInitialized && rule->Parameters().empty());
  }
}

TEST_F(RecoMoldTolTest, NoUsableDatabaseOrApplicationLeavesAnEmptyTableSilently) {
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

  context_.applicationPresent = false;
  auto rule = RuleFromTable(L"ABS,0,10,0.2,0.003");
  EXPECT_THAT(MaterialNames(*rule), IsEmpty());
  EXPECT_EQ(rule->m_iRuleId, 0);
}

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

TEST_F(RecoMoldTolTest, RecordLoadsEveryMaterialActiveAndRereadingReplacesTheRows) {
  auto node = LoadRule(kRecordWithInactiveMaterials);
  ASSERT_TRUE(node);
  auto rule = RuleFromNode(node.get());
  EXPECT_THAT(MaterialNames(*rule, kActive), ElementsAre(L"PBT", L"AISI_304"));
  EXPECT_THAT(MaterialNames(*rule, kSecondFlag), IsEmpty());
  EXPECT_EQ(rule->Constraints()[0]->iType, 1);
  EXPECT_EQ(RowsOf(*rule, 0), (Rows{{0, 1, 0.18, 0.08}, {1, 3, 0.19, 0.09}}));
  EXPECT_TRUE(rule->m_bPopulated);
  rule->PopulateParametersFromXML(node.get());
  EXPECT_EQ(RowsOf(*rule, 0).size(), 2u);
  EXPECT_EQ(RowsOf(*rule, 1).size(), 1u);

  // With the defaults kept, the materials are rebuilt from the record; no record changes nothing.
  auto fromTable = RuleFromTable(L"ABS,0,10,0.2,0.003;PC,0,1,1,1");
  fromTable->m_bKeepDefaultConstraints = true;
  fromTable->PopulateParametersFromXML(node.get());
  EXPECT_THAT(MaterialNames(*fromTable, kActive), ElementsAre(L"PBT", L"AISI_304"));
  EXPECT_EQ(RowsOf(*fromTable, 0).size(), 2u);
  fromTable->PopulateParametersFromXML(nullptr);
  EXPECT_EQ(fromTable->Constraints().size(), 2u);
  EXPECT_THAT(messages_.messages, IsEmpty());
}

TEST_F(RecoMoldTolTest, ConstraintWithoutTypeValueOrStatusIsSkipped) {
  auto node = LoadRule(R"(<RuleSet><Rule Name="Recommended Moulding Tolerance" Module="KvxIMRulesValidator">
    <Constraint Value="PC" Status="1"/><Constraint Type="1" Status="1"/><Constraint Type="1" Value="PS"/>
    <Constraint Type="1" Value="PPE" Status="1"/></Rule></RuleSet>)");
  ASSERT_TRUE(node);
  CKVXRecoMoldTolRule rule(node.get());
  EXPECT_THAT(MaterialNames(rule), ElementsAre(L"PPE"));
  EXPECT_THAT(messages_.messages, IsEmpty());
}

TEST_F(RecoMoldTolTest, XmlRoundTripGivesBackEveryValue) {
  auto original = RuleFromTable(L"AISI_304,0,6,0.1,0.1;AISI_304,6,30,0.2,0.2;ABS,0,1,0.18,0.08;ABS,1,3,0.19,0.09;"
                                L"ABS,3,6,0.203125,0.000001;PC,0,1,0.5,0.25");
  const std::string text = Place(original->GetXML());
  EXPECT_THAT(text, ::testing::HasSubstr("Status=\"0\""));  // ABS and PC are inactive when written
  auto node = LoadRule(text);
  ASSERT_TRUE(node);
  auto reloaded = RuleFromNode(node.get());
  ExpectSameTable(*reloaded, *original, 0.0);
  EXPECT_THAT(MaterialNames(*reloaded, kActive), ElementsAre(L"ABS", L"AISI_304", L"PC"));
  EXPECT_EQ(reloaded->m_lRuleSeverity, 3);
}

TEST_F(RecoMoldTolTest, UnitChangeConvertsAllFourColumnsAndBack) {
  const std::wstring table = L"ABS,0,1,0.18,0.08;ABS,250,315,1.1,1;AISI_304,3,6,0.1,0.1";
  auto rule = RuleFromTable(table);
  rule->UpdateRule(&kMillimetres, &kInches);
  EXPECT_EQ(rule->m_unitSystem.iLengthUnit, KVX_UNIT_INCH);
  EXPECT_EQ(RowsOf(*rule, 0)[1], (std::array{250 / 25.4, 315 / 25.4, 1.1 / 25.4, 1 / 25.4}));
  rule->UpdateRule(&kInches, &kMillimetres);
  EXPECT_EQ(rule->m_unitSystem.iLengthUnit, KVX_UNIT_MM);
  ExpectSameTable(*rule, *RuleFromTable(table), 1e-12);

  // The same length unit keeps the values but stores the new codes.
  const RuleUnitSystemStructure radians{KVX_UNIT_MM, KVX_ANGLE_RADIAN};
  auto fresh = RuleFromTable(table);
  fresh->UpdateRule(&kMillimetres, &radians);
  EXPECT_EQ(fresh->m_unitSystem.iAngleUnit, KVX_ANGLE_RADIAN);
  EXPECT_EQ(RowsOf(*fresh, 0)[0], (std::array{0.0, 1.0, 0.18, 0.08}));
}

TEST_F(RecoMoldTolTest, UnitChangeSkipsAConstraintLackingAColumn) {
  auto rule = RuleFromTable(L"ABS,0,25.4,25.4,25.4");
  auto partial = rule->CreateConstraintObject(1, L"PARTIAL", false);
  auto over = rule->CreateParamStorageObject(KVX_TYPE_DOUBLE, 2517, KVX_OP_EQUAL, 1, true, false);
  over->GetDoubleValues()->push_back(25.4);
  partial->AddParameter(std::move(over));
  rule->AddConstraint(std::move(partial));
  rule->UpdateRule(&kMillimetres, &kInches);
  EXPECT_EQ(RowsOf(*rule, 0), (Rows{{0, 1, 1, 1}}));
  EXPECT_THAT(Column(*rule->Constraints()[1], 2517), ElementsAre(25.4));
}

TEST_F(RecoMoldTolTest, EditRuleOpensTheRulesDialogWithItsPicture) {
  struct Dialog final : IKvxRuleDialogService {
    int ConfigureRule(CKvxRule& rule, const kvx::platform::Picture& picture) override {
      edited = &rule;
      pictureBytes = picture.bytes.size();
      return KVX_IDOK;
    }
    CKvxRule* edited = nullptr;
    size_t pictureBytes = 0;
  } dialog;
  auto rule = RuleFromTable(L"ABS,0,1,0.18,0.08");
  rule->EditRule();  // no dialog service: the framework says there is none
  EXPECT_EQ(messages_.messages.size(), 1u);
  rule->SetDialogService(&dialog);
  rule->EditRule();
  EXPECT_EQ(dialog.edited, rule.get());
  EXPECT_GT(dialog.pictureBytes, 0u);
  EXPECT_EQ(rule->LastDialogResult(), KVX_IDOK);
  EXPECT_EQ(messages_.messages.size(), 1u);
}

// Points KVX_MATERIAL_DB into a fresh temporary folder for the test's lifetime.
class TemporaryMaterialDatabase {
 public:
  TemporaryMaterialDatabase() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kvx-tol-test-XXXXXX").string();
    if (mkdtemp(pattern.data())) folder = pattern;
    if (const char* value = getenv("KVX_MATERIAL_DB")) saved_ = value;
    setenv("KVX_MATERIAL_DB", (folder / "materials.sqlite").c_str(), 1);
  }
  ~TemporaryMaterialDatabase() {
    if (saved_) setenv("KVX_MATERIAL_DB", saved_->c_str(), 1);
    else unsetenv("KVX_MATERIAL_DB");
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  std::filesystem::path folder;

 private:
  std::optional<std::string> saved_;
};

TEST_F(RecoMoldTolTest, FactoryDatabaseLoadedBesideTheModuleGivesTheFactoryMaterials) {
  TemporaryMaterialDatabase database;
  ASSERT_FALSE(database.folder.empty());
  const std::wstring binFolder = kvx::platform::Widen(KVX_BIN_DIR);
  const std::wstring fileName = kvx::platform::LibraryFileName(L"KVXDatabaseu");
  const std::wstring libraryPath = kvx::platform::JoinPath(binFolder, fileName);
  ASSERT_TRUE(std::filesystem::exists(kvx::platform::Narrow(libraryPath))) << "KVXDatabaseu is not built";

  // A copy that nobody has loaded is not used: the rule never loads the library itself.
  std::filesystem::copy_file(kvx::platform::Narrow(libraryPath), database.folder / kvx::platform::Narrow(fileName));
  const std::wstring copyFolder = kvx::platform::Widen(database.folder.string());
  kvx::rules::SetToleranceCollectorSource([&] { return kvx::rules::FindLoadedDatabaseCollector(copyFolder); });
  EXPECT_THAT(MaterialNames(CKVXRecoMoldTolRule(nullptr)), IsEmpty());

  kvx::rules::SetToleranceCollectorSource([&] { return kvx::rules::FindLoadedDatabaseCollector(binFolder); });
  std::wstring error;
  const auto library = kvx::platform::DynamicLibrary::Load(libraryPath, &error);
  ASSERT_TRUE(library) << kvx::platform::Narrow(error);
  CKVXRecoMoldTolRule rule(nullptr);
  EXPECT_THAT(MaterialNames(rule), ElementsAre(L"ABS", L"AISI_304", L"PA6-GF30", L"PBT", L"PC", L"PPE", L"PS"));
  EXPECT_THAT(MaterialNames(rule, kActive), ElementsAre(L"AISI_304"));
  const Rows abs = RowsOf(rule, 0);
  ASSERT_FALSE(abs.empty());
  EXPECT_EQ(abs[0], (std::array{0.0, 1.0, 0.18, 0.08}));
  // Every material gets all the bands of its group; all but AISI_304 share ABS's group.
  EXPECT_FALSE(RowsOf(rule, 1).empty());
  for (size_t m = 2; m < rule.Constraints().size(); ++m) EXPECT_EQ(RowsOf(rule, m).size(), abs.size()) << m;
  EXPECT_THAT(messages_.messages, IsEmpty());
}

}  // namespace
