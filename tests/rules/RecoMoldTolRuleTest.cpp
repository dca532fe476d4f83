// The recommended moulding tolerance rule: its table from the database text, from a rule record, through the
// XML round trip and through unit changes, and the lookup of the real database library.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <array>
#include <filesystem>

#include "kvx_db/KVXDataHelper.h"
#include "kvx/framework/KvxTypes.h"  // before the fixture, which uses KVX_IDOK
#include "../support/ModuleFixture.h"
#include "../support/ScopedEnv.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/platform/Paths.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/rules/RecoMoldTolDatabase.h"

namespace {

using kvx::platform::Narrow;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TableCollector final : public kvx_db::IDatabaseCollector {
 public:
  bool QueryToleranceTable(std::wstring& table) override {
    table = answer;
    return succeeds;
  }
  std::wstring answer;
  bool succeeds = true;
};

// Names of the materials in list order; only the active ones when asked.
std::vector<std::wstring> MaterialNames(const CKvxRule& rule, bool activeOnly = false) {
  std::vector<std::wstring> names;
  for (const auto& constraint : rule.Constraints()) {
    if (!activeOnly || constraint->bStatus) names.push_back(constraint->csName);
  }
  return names;
}
std::array<double, 4> Row(const CKvxRule& rule, size_t material, size_t row) {
  const ToleranceRow r = CKVXRecoMoldTolRule::RowsOf(*rule.Constraints().at(material)).at(row);
  return {r.dOver, r.dUpto, r.dAVal, r.dBVal};
}
// The table as one line: each material's name, "+" when active, "^" when it has the second flag, then its
// rows as "over-upto:A/B" (to nine digits).
std::string Describe(const CKvxRule& rule, bool flags = true) {
  std::string line;
  for (const auto& material : rule.Constraints()) {
    line += (line.empty() ? "" : "; ") + Narrow(material->csName);
    if (flags) line += std::string(material->bStatus ? "+" : "") + (material->bSecondFlag ? "^" : "");
    for (const ToleranceRow& r : CKVXRecoMoldTolRule::RowsOf(*material)) {
      line += fmt::format(" {:.9g}-{:.9g}:{:.9g}/{:.9g}", r.dOver, r.dUpto, r.dAVal, r.dBVal);
    }
  }
  return line;
}
constexpr RuleUnitSystemStructure kMillimetres{KVX_UNIT_MM, KVX_ANGLE_DEGREE};
constexpr RuleUnitSystemStructure kInches{KVX_UNIT_INCH, KVX_ANGLE_DEGREE};

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

  TableCollector collector_;
  bool collectorPresent_ = true;
};

// Materials sorted by their characters, only the default material (found in any case) active, the first one
// flagged; records without a material ignored; a missing Over drops only a material's first row and is reported.
TEST_F(RecoMoldTolTest, TableTextBecomesMaterialsAndRows) {
  const std::tuple<std::wstring, std::string, size_t> cases[] = {
      {L"AISI_304,0,10,0.1,0.002;ABS,0,10,0.2,0.003", "ABS^ 0-10:0.2/0.003; AISI_304+ 0-10:0.1/0.002", 0},
      {L"pc,0,1,1,1;aisi_304,0,1,1,1;PS,0,1,1,1", "PS^ 0-1:1/1; aisi_304+ 0-1:1/1; pc 0-1:1/1", 0},
      {L"PC,0,3,0.19,0.09;PS,0,1,1,1;PC,3,6,0.2,0.1,ignored", "PC^ 0-3:0.19/0.09 3-6:0.2/0.1; PS 0-1:1/1", 0},
      {L"-1,0,10,0.1,0.1;ABS,0,10,0.2,0.003;,,,,;;", "ABS^ 0-10:0.2/0.003", 0},
      {L"PC,-1,5,1,1", "PC^", 1},
      {L"PC,0,5,0.1,0.2;PC,-1,5,1,1", "PC^ 0-5:0.1/0.2 0-5:1/1", 1},
      {L"PS;PS,0,1,1,1;PPE,-1.0", "PPE^; PS 0-1:1/1", 2},  // no Over at all
  };
  for (const auto& [table, expected, overIsEmpty] : cases) {
    SCOPED_TRACE(Narrow(table));
    messages_.messages.clear();
    auto rule = RuleFromTable(table);
    EXPECT_EQ(Describe(*rule), expected);
    EXPECT_EQ(messages_.messages.size(), overIsEmpty);
    for (const auto& message : messages_.messages) EXPECT_EQ(message.text, L"Over is empty");
    EXPECT_EQ(rule->m_csSummary, En(2521));
    EXPECT_TRUE(rule->m_bInitialized && rule->Parameters().empty());
  }
}

// No collector, a failing query, an empty table, no application object.
TEST_F(RecoMoldTolTest, NoUsableDatabaseOrApplicationLeavesAnEmptyTableSilently) {
  for (int failure = 0; failure < 4; ++failure) {
    collectorPresent_ = failure != 0;
    collector_.succeeds = failure != 1;
    context_.applicationPresent = failure != 3;
    auto rule = RuleFromTable(failure == 2 ? L"" : L"ABS,0,10,0.2,0.003");
    EXPECT_THAT(MaterialNames(*rule), IsEmpty()) << failure;
    EXPECT_TRUE(failure != 0 || !rule->m_bInitialized);
    EXPECT_TRUE(failure != 3 || rule->m_iRuleId == 0);
  }
  EXPECT_THAT(messages_.messages, IsEmpty());
}

// A record loads every material active (here two written inactive, the first with an unknown kind) and
// skips a constraint without Type, Value or Status; rereading replaces the rows.
TEST_F(RecoMoldTolTest, RecordLoadsEveryMaterialActiveAndRereadingReplacesTheRows) {
  auto node = LoadRule(R"(<RuleSet Unit="0" AngularUnit="0">
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
</RuleSet>)");
  ASSERT_TRUE(node);
  const std::string loaded = "PBT+ 0-1:0.18/0.08 1-3:0.19/0.09; AISI_304+ 3-6:0.1/0.1";
  auto rule = RuleFromNode(node.get());
  EXPECT_EQ(Describe(*rule), loaded);
  EXPECT_EQ(rule->Constraints()[0]->iType, 1);
  EXPECT_TRUE(rule->m_bPopulated);
  rule->PopulateParametersFromXML(node.get());
  EXPECT_EQ(Describe(*rule), loaded);

  // With the defaults kept, the materials are rebuilt from the record; no record changes nothing.
  auto fromTable = RuleFromTable(L"ABS,0,10,0.2,0.003;PC,0,1,1,1");
  fromTable->m_bKeepDefaultConstraints = true;
  fromTable->PopulateParametersFromXML(node.get());
  EXPECT_EQ(Describe(*fromTable), loaded);
  fromTable->PopulateParametersFromXML(nullptr);
  EXPECT_EQ(Describe(*fromTable), loaded);
  node = LoadRule(R"(<RuleSet><Rule><Constraint Value="PC" Status="1"/><Constraint Type="1" Status="1"/>
    <Constraint Type="1" Value="PS"/><Constraint Type="1" Value="PPE" Status="1"/></Rule></RuleSet>)");
  EXPECT_EQ(Describe(CKVXRecoMoldTolRule(node.get())), "PPE+");
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
  EXPECT_EQ(Describe(*reloaded, false), Describe(*original, false));
  EXPECT_THAT(MaterialNames(*reloaded, true), ElementsAre(L"ABS", L"AISI_304", L"PC"));
  EXPECT_EQ(reloaded->m_lRuleSeverity, 3);
}

// All four columns convert, and back; a material lacking one of them is passed over. The same length unit
// keeps the values but stores the new codes.
TEST_F(RecoMoldTolTest, UnitChangeConvertsAllFourColumnsAndBack) {
  const std::wstring table = L"ABS,0,1,0.18,0.08;ABS,250,315,1.1,1;AISI_304,3,6,0.1,0.1";
  auto rule = RuleFromTable(table);
  rule->UpdateRule(&kMillimetres, &kInches);
  EXPECT_EQ(rule->m_unitSystem.iLengthUnit, KVX_UNIT_INCH);
  EXPECT_EQ(Row(*rule, 0, 1), (std::array{250 / 25.4, 315 / 25.4, 1.1 / 25.4, 1 / 25.4}));
  rule->UpdateRule(&kInches, &kMillimetres);
  EXPECT_EQ(rule->m_unitSystem.iLengthUnit, KVX_UNIT_MM);
  EXPECT_EQ(Describe(*rule), Describe(*RuleFromTable(table)));
  auto partial = rule->CreateConstraintObject(1, L"PARTIAL", false);
  auto over = rule->CreateParamStorageObject(KVX_TYPE_DOUBLE, 2517, KVX_OP_EQUAL, 1, true, false);
  over->GetDoubleValues()->push_back(25.4);
  partial->AddParameter(std::move(over));
  rule->AddConstraint(std::move(partial));
  rule->UpdateRule(&kMillimetres, &kInches);
  EXPECT_THAT(*rule->Constraints()[2]->FindParameterInArray(2517)->GetDoubleValues(), ElementsAre(25.4));
  EXPECT_NEAR(Row(*rule, 0, 1)[0], 250 / 25.4, 1e-12) << "the others are converted all the same";

  const RuleUnitSystemStructure radians{KVX_UNIT_MM, KVX_ANGLE_RADIAN};
  auto fresh = RuleFromTable(table);
  fresh->UpdateRule(&kMillimetres, &radians);
  EXPECT_EQ(fresh->m_unitSystem.iAngleUnit, KVX_ANGLE_RADIAN);
  EXPECT_EQ(Row(*fresh, 0, 0), (std::array{0.0, 1.0, 0.18, 0.08}));
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

TEST_F(RecoMoldTolTest, FactoryDatabaseLoadedBesideTheModuleGivesTheFactoryMaterials) {
  // The module's own database goes into a fresh folder, removed afterwards.
  const std::filesystem::path folder = std::filesystem::path(KVX_BIN_DIR) / "tests" / "tolerance-database";
  std::filesystem::remove_all(folder);
  ASSERT_TRUE(std::filesystem::create_directories(folder));
  kvx::test::ScopedEnv database("KVX_MATERIAL_DB", (folder / "materials.sqlite").string());
  const std::wstring binFolder = kvx::platform::Widen(KVX_BIN_DIR);
  const std::wstring fileName = kvx::platform::LibraryFileName(L"KVXDatabaseu");
  const std::wstring libraryPath = kvx::platform::JoinPath(binFolder, fileName);
  ASSERT_TRUE(std::filesystem::exists(Narrow(libraryPath))) << "KVXDatabaseu is not built";

  // A copy that nobody has loaded is not used: the rule never loads the library itself.
  std::filesystem::copy_file(Narrow(libraryPath), folder / Narrow(fileName));
  const std::wstring copyFolder = kvx::platform::Widen(folder.string());
  kvx::rules::SetToleranceCollectorSource([&] { return kvx::rules::FindLoadedDatabaseCollector(copyFolder); });
  EXPECT_THAT(MaterialNames(CKVXRecoMoldTolRule(nullptr)), IsEmpty());

  kvx::rules::SetToleranceCollectorSource([&] { return kvx::rules::FindLoadedDatabaseCollector(binFolder); });
  std::wstring error;
  const auto library = kvx::platform::DynamicLibrary::Load(libraryPath, &error);
  ASSERT_TRUE(library) << Narrow(error);
  CKVXRecoMoldTolRule rule(nullptr);
  EXPECT_THAT(MaterialNames(rule), ElementsAre(L"ABS", L"AISI_304", L"PA6-GF30", L"PBT", L"PC", L"PPE", L"PS"));
  EXPECT_THAT(MaterialNames(rule, true), ElementsAre(L"AISI_304"));
  EXPECT_EQ(Row(rule, 0, 0), (std::array{0.0, 1.0, 0.18, 0.08}));
  // Every material gets all the bands of its group; all but AISI_304 share ABS's group.
  const size_t bands = CKVXRecoMoldTolRule::RowsOf(*rule.Constraints()[0]).size();
  EXPECT_FALSE(CKVXRecoMoldTolRule::RowsOf(*rule.Constraints()[1]).empty());
  for (size_t m = 2; m < rule.Constraints().size(); ++m) {
    EXPECT_EQ(CKVXRecoMoldTolRule::RowsOf(*rule.Constraints()[m]).size(), bands) << m;
  }
  EXPECT_THAT(messages_.messages, IsEmpty());
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

}  // namespace
