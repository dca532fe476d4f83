// The moulding tolerance dialog without a toolkit: the two lists' rules, adding and selecting materials,
// the check before OK, writing back, and the spreadsheet import with real .xlsx files written by openpyxl.
#include <gtest/gtest.h>

#include "../support/ModuleFixture.h"
#include "RuleTestSupport.h"
#include "kvx/params/ResourceText.h"
#include "kvx/res/StringIds.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/ui/RecoMoldTolDlg.h"

namespace {

namespace res = kvx::res;
using kvx::ui::CKVXRecoMoldTolDlg;
using kvx::ui::EditKey;
using kvx::ui::ImportResult;
using Row = kvx::ui::CKVXListCtrl::Row;
using Texts = std::vector<std::wstring>;

class RecoMoldTolDlgTest : public kvx::test::ModuleFixture {
 protected:
  void SetUp() override {
    ModuleFixture::SetUp();
    rule_ = std::make_unique<CKVXRecoMoldTolRule>(nullptr);
    rule_->AddMaterialConstraint(L"ABS", false, {{0, 3, 0.1, 0.002}, {3, 6, 0.12, -1.0}});
    rule_->AddMaterialConstraint(L"PC", true, {{0, 10, 0.2, 0.004}});
    rule_->AddMaterialConstraint(L"POM", false, {});
    dialog_ = Open(rule_.get());
  }
  std::unique_ptr<CKVXRecoMoldTolDlg> Open(CKVXRecoMoldTolRule* rule) {
    auto dialog = std::make_unique<CKVXRecoMoldTolDlg>(rule, files_);
    dialog->SetUnitText(L"mm");
    dialog->Open();
    return dialog;
  }
  // Types `texts` into row `row` of the table, cell by cell with Tab, and ends with Enter (or leaves the last
  // text in the edit).
  void TypeRow(int row, const Texts& texts, bool finish = true) {
    auto& table = dialog_->ToleranceTable();
    ASSERT_TRUE(table.BeginEdit(row, 0));
    for (size_t c = 0; c < texts.size(); ++c) {
      table.UpdateEditText(texts[c]);
      if (!finish && c + 1 == texts.size()) return;
      table.HandleEditKey(c + 1 < texts.size() ? EditKey::Tab : EditKey::Enter);
    }
    table.CancelEdit();
  }
  // Types `text` into cell (row, column) of `list` and presses `key`.
  static void TypeCell(kvx::ui::CKVXListCtrl& list, int row, int column, const std::wstring& text, EditKey key) {
    ASSERT_TRUE(list.BeginEdit(row, column));
    list.UpdateEditText(text);
    list.HandleEditKey(key);
  }
  Row TableRow(int row) const {
    Row texts;
    for (int c = 0; c < 4; ++c) texts.push_back(dialog_->ToleranceTable().CellText(row, c));
    return texts;
  }
  Texts MessageTexts() const {
    Texts texts;
    for (const auto& message : messages_.messages) texts.push_back(message.text);
    return texts;
  }
  size_t PcRows() const { return dialog_->Materials().at(L"PC").size(); }
  size_t RuleRows(size_t i) const { return CKVXRecoMoldTolRule::RowsOf(*rule_->Constraints()[i]).size(); }

  kvx::test::NoMaterialDatabase noDatabase_;
  kvx::test::FakeFileDialog files_;
  std::unique_ptr<CKVXRecoMoldTolRule> rule_;
  std::unique_ptr<CKVXRecoMoldTolDlg> dialog_;
};

TEST_F(RecoMoldTolDlgTest, OpeningShowsTheActiveMaterialTheCaptionsAndTheSeverity) {
  EXPECT_EQ(dialog_->NominalCaption(), En(res::kNominalDimensionCaption) + L"(mm)");
  EXPECT_EQ(dialog_->ToleranceCaption(), En(res::kToleranceCaption) + L"(mm)");
  EXPECT_EQ(dialog_->SelectedSeverity(), 3) << "the rule's severity";
  EXPECT_EQ(dialog_->CurrentMaterial(), L"PC");
  EXPECT_EQ(dialog_->MaterialList().CellText(0, 1), L"2") << "ABS's row count";
  ASSERT_EQ(dialog_->ToleranceTable().RowCount(), 2) << "the row and the placeholder";
  EXPECT_EQ(TableRow(0), (Row{L"0.0", L"10.0", L"0.2", L"0.004"}));
  EXPECT_EQ(dialog_->ToleranceTable().CellText(1, 0), En(res::kPlaceholderRow));

  rule_->Constraints()[1]->bStatus = false;  // without an active material the first is shown
  dialog_ = Open(rule_.get());
  EXPECT_EQ(dialog_->CurrentMaterial(), L"ABS");
  EXPECT_EQ(TableRow(1), (Row{L"3.0", L"6.0", L"0.12", L""})) << "-1.0 stands for a missing value";
  EXPECT_EQ(CKVXRecoMoldTolDlg::RowTexts({-1, -1, -1, -1}), (Row{L"-1.0", L"", L"", L""}))
      << "Over always shows its number";
}

// Plain decimal numbers only; the placeholder becomes a row when typed into and is never deleted; a row is
// stored once it has an Over; a short table gets 200 blank rows after an edit.
TEST_F(RecoMoldTolDlgTest, TheTableTakesDecimalsGrowsFromItsPlaceholderAndStoresRowsWithAnOver) {
  auto& table = dialog_->ToleranceTable();
  // A comma where the user writes a point would be read as 15, not 1.5.
  const std::pair<const wchar_t*, bool> texts[] = {
      {L"12.5", true}, {L"", true}, {L"-1", false}, {L"1e3", false}, {L"1,5", false}};
  for (const auto& [text, accepted] : texts) EXPECT_EQ(table.AcceptsText(1, text), accepted) << text;

  ASSERT_TRUE(table.BeginEdit(1, 2));
  EXPECT_EQ(table.EditText(), L"") << "the placeholder's text is not edited";
  table.HandleEditKey(EditKey::Delete);
  EXPECT_TRUE(table.IsPlaceholderRow(1));
  table.CancelEdit();
  TypeRow(1, {L"10", L"", L"0.3"});
  EXPECT_EQ(TableRow(1), (Row{L"10", L"", L"0.3", L""}));
  EXPECT_TRUE(table.IsPlaceholderRow(2));
  ASSERT_EQ(PcRows(), 2u);
  const ToleranceRow row = dialog_->Materials().at(L"PC")[1];
  EXPECT_EQ((std::vector{row.dUpto, row.dAVal, row.dBVal}), (std::vector{-1.0, 0.3, -1.0}));
  EXPECT_TRUE(messages_.messages.empty()) << "2455 is only for complete rows";
  TypeCell(table, 5, 1, L"4", EditKey::Enter);  // a blank row below the placeholder
  EXPECT_EQ(PcRows(), 2u) << "a row without Over is not stored";
  EXPECT_EQ(table.CellText(5, 1), L"4") << "but stays in the table as typed";
  TypeCell(table, 0, 2, L"0", EditKey::Enter);
  EXPECT_EQ(MessageTexts(), Texts{En(res::kToleranceValueNotPositive)}) << "a complete row with a zero";
  EXPECT_TRUE(messages_.messages[0].caption.empty()) << "a plain message box";
  EXPECT_DOUBLE_EQ(dialog_->Materials().at(L"PC")[0].dAVal, 0.0) << "the row is kept as typed";
  ASSERT_TRUE(table.BeginEdit(0, 2));
  table.HandleEditKey(EditKey::Delete);
  EXPECT_EQ(PcRows(), 1u) << "a deleted row leaves the material too";

  table.SetDecimalSeparator(L",");  // a German user's
  EXPECT_FALSE(table.AcceptsText(1, L"1.5,"));
  TypeRow(0, {L"0", L"12,5"});
  EXPECT_EQ(table.CellText(0, 1), L"12.5") << "kept with the point the rule reads";

  rule_->AddMaterialConstraint(L"PP", true, std::vector<ToleranceRow>(149, ToleranceRow{1, 2, 3, 4}));
  rule_->Constraints()[1]->bStatus = false;
  dialog_ = Open(rule_.get());
  ASSERT_EQ(dialog_->ToleranceTable().RowCount(), 150);
  TypeRow(0, {L"1"});
  EXPECT_EQ(dialog_->ToleranceTable().RowCount(), 350) << "a short table gets 200 blank rows after an edit";
  TypeRow(0, {L"1"});
  EXPECT_EQ(dialog_->ToleranceTable().RowCount(), 350) << "a table of 200 rows or more gets none";
}

// Names are trimmed, kept in name order, and one material whatever their case; selecting a material shows
// its rows and finishes the edit in progress.
TEST_F(RecoMoldTolDlgTest, MaterialsAreAddedRenamedSelectedAndRemovedThroughTheList) {
  auto& materials = dialog_->MaterialList();
  const auto names = [&] {
    Texts shown;
    for (const auto& [name, rows] : dialog_->Materials()) shown.push_back(name);
    return shown;
  };
  EXPECT_FALSE(materials.BeginEdit(0, 1)) << "only names are typed";
  EXPECT_FALSE(materials.BeginEdit(3, 1));
  ASSERT_TRUE(materials.BeginEdit(3, 0));
  EXPECT_EQ(materials.EditText(), L"") << "the add row's edit starts empty";
  materials.HandleEditKey(EditKey::Delete);
  EXPECT_EQ(materials.RowCount(), 4) << "Delete removes no material but the one whose name is edited";

  auto& table = dialog_->ToleranceTable();
  ASSERT_TRUE(table.BeginEdit(0, 1));
  table.UpdateEditText(L"12");
  materials.SelectRow(0);  // the user clicks ABS
  EXPECT_EQ(dialog_->CurrentMaterial(), L"ABS");
  EXPECT_EQ(table.RowCount(), 3);
  EXPECT_DOUBLE_EQ(dialog_->Materials().at(L"PC")[0].dUpto, 12.0) << "the edit went to PC before the switch";
  dialog_->OnMaterialNotification(L"POM", CKVXRecoMoldTolDlg::kSelectMaterialCode);
  EXPECT_EQ(table.RowCount(), 1);
  dialog_->OnMaterialNotification(L"nothing", CKVXRecoMoldTolDlg::kMaterialListId);
  EXPECT_EQ(dialog_->CurrentMaterial(), L"POM") << "an unknown name selects nothing";

  TypeCell(materials, 3, 0, L"   ", EditKey::Enter);
  EXPECT_EQ(dialog_->Materials().size(), 3u) << "an empty name adds nothing";
  TypeCell(materials, 3, 0, L"  PA66 ", EditKey::Enter);
  EXPECT_EQ(dialog_->CurrentMaterial(), L"PA66");
  EXPECT_EQ(materials.CellText(1, 0), L"PA66");
  EXPECT_EQ(table.RowCount(), 201) << "the placeholder and 200 blank rows";
  EXPECT_TRUE(messages_.messages.empty());
  for (const wchar_t* name : {L"ABS", L"abs"}) {
    dialog_->OnMaterialNotification(name, CKVXRecoMoldTolDlg::kAddMaterialCode);
    EXPECT_EQ(dialog_->Materials().size(), 4u);
    ASSERT_FALSE(messages_.messages.empty());
    EXPECT_EQ(messages_.messages.back().text, L"The material \"ABS\" is already in the list.");
    EXPECT_EQ(messages_.messages.back().icon, KvxMessageIcon::Exclamation);
    EXPECT_EQ(dialog_->CurrentMaterial(), L"ABS") << "the one that exists is selected";
  }

  messages_.messages.clear();
  TypeCell(materials, 2, 0, L" PC-HT ", EditKey::Enter);
  EXPECT_EQ(names(), (Texts{L"ABS", L"PA66", L"PC-HT", L"POM"}));
  EXPECT_EQ(dialog_->CurrentMaterial(), L"PC-HT") << "the rows went with the name";
  EXPECT_EQ(dialog_->Materials().at(L"PC-HT").size(), 1u);
  TypeCell(materials, 0, 0, L"pom", EditKey::Enter);  // another material's name, in another case
  TypeCell(materials, 0, 0, L"", EditKey::Enter);
  EXPECT_EQ(MessageTexts(), Texts{L"The material \"POM\" is already in the list."});
  EXPECT_EQ(materials.CellText(0, 0), L"ABS") << "the old name is shown again";

  materials.SelectRow(3);
  TypeCell(materials, 3, 0, L"POM", EditKey::Delete);
  EXPECT_EQ(names(), (Texts{L"ABS", L"PA66", L"PC-HT"}));
  materials.SelectRow(3);
  EXPECT_FALSE(materials.DeleteSelectedRow()) << "the add-material row stays";
  EXPECT_EQ(dialog_->CurrentMaterial(), L"ABS") << "the deleted material was shown";
}

// OK writes every material, the selected one active, and the severity (an empty selection is reset, not
// taken); it writes nothing when nothing was edited, the material that applies included.
TEST_F(RecoMoldTolDlgTest, OkWritesTheMaterialsWithTheSelectedOneActiveAndTheSeverity) {
  dialog_->OnMaterialNotification(L"PA66", CKVXRecoMoldTolDlg::kAddMaterialCode);
  TypeRow(0, {L"0", L"5", L"0.5", L"0.01"});
  dialog_->OnMaterialNotification(L"POM", CKVXRecoMoldTolDlg::kSelectMaterialCode);
  dialog_->OnMaterialNotification(L"", CKVXRecoMoldTolDlg::kCopyTableCode);  // blank rows after the last
  dialog_->SelectSeverity(0);
  ASSERT_TRUE(dialog_->OnOK());
  EXPECT_EQ(rule_->m_lRuleSeverity, 0);
  const auto& constraints = rule_->Constraints();
  ASSERT_EQ(constraints.size(), 4u);
  const Texts names{L"ABS", L"PA66", L"PC", L"POM"};
  for (size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(constraints[i]->csName, names[i]);
    EXPECT_EQ(constraints[i]->iType, 1);
    EXPECT_EQ(constraints[i]->FindParameterInArray(2517)->bFirstFlag, true);
    EXPECT_EQ(constraints[i]->bStatus, i == 3) << i;
  }
  const auto rows = CKVXRecoMoldTolRule::RowsOf(*constraints[1]);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_DOUBLE_EQ(rows[0].dUpto, 5.0);

  dialog_ = Open(rule_.get());
  dialog_->SelectSeverity(-1);
  ASSERT_TRUE(dialog_->OnOK());
  EXPECT_EQ(rule_->m_lRuleSeverity, 0);
  EXPECT_EQ(dialog_->SelectedSeverity(), 0) << "the combo box shows the rule's severity again";

  CKVXRecoMoldTolRule loaded(nullptr);  // every material active, as every rule set loads
  loaded.AddMaterialConstraint(L"ABS", true, {{0, 3, 0.1, 0.002}});
  loaded.AddMaterialConstraint(L"PC", true, {{0, 10, 0.2, 0.004}});
  ASSERT_TRUE(Open(&loaded)->OnOK());
  for (const auto& constraint : loaded.Constraints()) EXPECT_TRUE(constraint->bStatus) << "nothing was written";
  EXPECT_TRUE(Open(nullptr)->OnOK()) << "without a rule OK only closes";
}

// OK refuses, with one message and the rule as it was, a row with only Over (even while it is still being
// edited), a band that cannot be (Up to not above Over, a tolerance not above 0, overlapping bands), one
// material twice, and a table without any material with rows.
TEST_F(RecoMoldTolDlgTest, OkRefusesWhatCannotBeAndWritesNothing) {
  const std::tuple<int, Texts, bool, int> cases[] = {  // row, texts, finished, message
      {1, {L"10"}, false, res::kIncompleteToleranceRow},
      {0, {L"5", L"5", L"0.1", L"0.1"}, true, res::kToleranceBandNotAscending},
      {0, {L"0", L"10", L"0.1", L"0"}, true, res::kToleranceValueNotPositive},
      {1, {L"5", L"20", L"0.1", L"0.1"}, true, res::kToleranceBandsOverlap}};
  for (const auto& [row, texts, finished, message] : cases) {
    SCOPED_TRACE(message);
    dialog_ = Open(rule_.get());
    TypeRow(row, texts, finished);
    messages_.messages.clear();
    EXPECT_FALSE(dialog_->OnOK());
    ASSERT_EQ(messages_.messages.size(), 1u);
    EXPECT_EQ(messages_.messages[0].text.substr(0, 10), En(message).substr(0, 10));
    EXPECT_EQ(RuleRows(1), 1u) << "PC as it was";
  }

  rule_->AddMaterialConstraint(L"abs", false, {{0, 1, 0.1, 0.1}});
  messages_.messages.clear();
  EXPECT_FALSE(Open(rule_.get())->OnOK());
  ASSERT_EQ(messages_.messages.size(), 1u);
  EXPECT_NE(messages_.messages[0].text.find(L"\"abs\""), std::wstring::npos);
  EXPECT_EQ(rule_->Constraints().size(), 4u) << "neither merged nor doubled";

  CKVXRecoMoldTolRule rule(nullptr);
  rule.AddMaterialConstraint(L"ABS", true, {});
  messages_.messages.clear();
  EXPECT_FALSE(Open(&rule)->OnOK());
  ASSERT_EQ(messages_.messages.size(), 1u);
  EXPECT_EQ(messages_.messages[0].text, L"") << "kept: the warning has no text";
  EXPECT_EQ(messages_.messages[0].icon, KvxMessageIcon::Exclamation);
  CKVXRecoMoldTolRule none(nullptr);
  EXPECT_FALSE(Open(&none)->OnOK()) << "no material at all";
}

// A sheet replaces the current material's rows up to its first row without Over; a refused (an Up to of 0,
// an Over the decimal reader would misread), empty, missing or cancelled one changes nothing, and without a
// current material no file is asked for.
TEST_F(RecoMoldTolDlgTest, ImportingAnXlsxReplacesTheCurrentMaterialsRows) {
  const std::tuple<const char*, ImportResult, size_t> imports[] = {
      {"upto-zero.xlsx", ImportResult::Refused, 1}, {"over-text.xlsx", ImportResult::Refused, 1},
      {"header-only.xlsx", ImportResult::NothingToImport, 1}, {"", ImportResult::Cancelled, 1},
      {"missing.xlsx", ImportResult::ReadFailed, 1}, {"early-stop.xlsx", ImportResult::Imported, 2},
      {"bands.xlsx", ImportResult::Imported, 3}};
  for (const auto& [file, result, rows] : imports) {
    files_.answer = file;
    EXPECT_EQ(dialog_->ImportSpreadsheet(), result) << file;
    EXPECT_EQ(PcRows(), rows) << file;
  }
  const Texts texts = MessageTexts();
  ASSERT_EQ(texts.size(), 3u);
  EXPECT_EQ(texts[0], En(res::kToleranceValueNotPositive));
  EXPECT_EQ(texts[1], kvx::params::FormatText(En(res::kSheetOverNotANumber), L"3"));
  EXPECT_FALSE(texts[2].empty()) << "the reader's message";
  EXPECT_EQ(TableRow(2), (Row{L"6.0", L"10.0", L"0.15", L"0.003"}));
  EXPECT_TRUE(dialog_->OnOK());
  EXPECT_EQ(RuleRows(1), 3u);

  CKVXRecoMoldTolRule empty(nullptr);
  dialog_ = Open(&empty);
  messages_.messages.clear();
  const int asked = files_.asked;
  EXPECT_FALSE(dialog_->ToleranceTable().BeginEdit(0, 0));
  EXPECT_EQ(dialog_->ImportSpreadsheet(), ImportResult::NoMaterial);
  EXPECT_EQ(files_.asked, asked) << "no file is asked for";
  EXPECT_EQ(MessageTexts(), (Texts{En(res::kSelectMaterialFirst), En(res::kSelectMaterialFirst)}));
}

// Rows are checked from the second on and the check stops at an empty Over; Over must say what it is read
// as (not 0, 0 and 1), the others must be above 0.
TEST(SheetRowCheck, ChecksFromTheSecondRowAndStopsAtAnEmptyOver) {
  kvx::test::MessageRecorder messages;
  using Columns = std::vector<Texts>;
  const auto check = [](const Columns& c) { return CKVXRecoMoldTolDlg::CheckSheetRows(c, L"bad", L"over %s"); };
  auto result = check({{L"Over", L"0", L"3"}, {L"Up to", L"3", L"6"}, {L"A", L"1", L"1"}, {L"B", L"1", L"1"}});
  EXPECT_TRUE(result.passed && !result.stoppedEarly);
  EXPECT_EQ(result.endRow, 3u);
  result = check({{L"Over", L"0", L"", L"6"}, {L"x", L"3", L"", L"-2"}, {L"x", L"1", L"", L"1"}, {L"x", L"1"}});
  EXPECT_TRUE(result.passed && result.stoppedEarly);
  EXPECT_EQ(result.endRow, 2u) << "the bad row after the stop is never looked at";

  const std::pair<size_t, const wchar_t*> bad[] = {{0, L"abc"}, {0, L"-5"}, {0, L"1e3"}, {2, L"0"}, {2, L"-2"},
                                                   {2, L""},    {2, L"2 mm"}, {2, L"0.0"}, {2, L"1.2.3"}};
  for (const auto& [column, value] : bad) {
    SCOPED_TRACE(kvx::platform::Narrow(value));
    Columns columns{{L"Over", L"0"}, {L"Up to", L"3"}, {L"A", L"1"}, {L"B", L"1"}};
    columns[column][1] = value;
    messages.messages.clear();
    result = check(columns);
    EXPECT_FALSE(result.passed);
    EXPECT_EQ(result.endRow, 1u);
    ASSERT_EQ(messages.messages.size(), 1u);
    EXPECT_EQ(messages.messages[0].text, column == 0 ? L"over 2" : L"bad");
  }
}

}  // namespace
