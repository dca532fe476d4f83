// The moulding tolerance dialog without a toolkit: the two lists' rules, adding and selecting materials,
// the check before OK, writing back, and the spreadsheet import with real .xlsx files written by openpyxl.
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "../support/ModuleFixture.h"
#include "kvx/framework/KvxTypes.h"
#include "kvx/res/StringIds.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/rules/RecoMoldTolDatabase.h"
#include "kvx/ui/RecoMoldTolDlg.h"

namespace {

using kvx::ui::CKVXRecoMoldTolDlg;
using kvx::ui::EditKey;
using kvx::ui::ImportResult;
using Row = kvx::ui::CKVXListCtrl::Row;
using Texts = std::vector<std::wstring>;

// Answers the open-file question with a prepared path (or a cancel) and counts the questions.
class FakeFileDialog final : public kvx::ui::IFileDialog {
 public:
  std::optional<std::wstring> AskOpenFile(const std::wstring&, unsigned) override {
    ++asked;
    return answer;
  }
  void Answer(const std::string& name) {
    answer = kvx::platform::Widen(std::string(KVX_SOURCE_DIR) + "/tests/ui/data/" + name);
  }
  std::optional<std::wstring> answer;
  int asked = 0;
};

class RecoMoldTolDlgTest : public kvx::test::ModuleFixture {
 protected:
  void SetUp() override {
    ModuleFixture::SetUp();
    kvx::rules::SetToleranceCollectorSource([] { return kvx::rules::ToleranceCollector{}; });
    rule_ = std::make_unique<CKVXRecoMoldTolRule>(nullptr);
    rule_->AddMaterialConstraint(L"ABS", false, {{0, 3, 0.1, 0.002}, {3, 6, 0.12, -1.0}});
    rule_->AddMaterialConstraint(L"PC", true, {{0, 10, 0.2, 0.004}});
    rule_->AddMaterialConstraint(L"POM", false, {});
  }
  void TearDown() override {
    kvx::rules::SetToleranceCollectorSource({});
    ModuleFixture::TearDown();
  }

  std::unique_ptr<CKVXRecoMoldTolDlg> Open(CKVXRecoMoldTolRule* rule) {
    auto dialog = std::make_unique<CKVXRecoMoldTolDlg>(rule, files_);
    dialog->SetUnitText(L"mm");
    dialog->Open();
    return dialog;
  }
  // Types `texts` into row `row` of the table, cell by cell with Tab, and ends with Enter.
  static void TypeRow(CKVXRecoMoldTolDlg& dialog, int row, const Texts& texts) {
    auto& table = dialog.ToleranceTable();
    ASSERT_TRUE(table.BeginEdit(row, 0));
    for (size_t c = 0; c < texts.size(); ++c) {
      table.UpdateEditText(texts[c]);
      table.HandleEditKey(c + 1 < texts.size() ? EditKey::Tab : EditKey::Enter);
    }
    table.CancelEdit();
  }
  static Row TableRow(CKVXRecoMoldTolDlg& dialog, int row) {
    Row texts;
    for (int c = 0; c < 4; ++c) texts.push_back(dialog.ToleranceTable().CellText(row, c));
    return texts;
  }
  Texts MessageTexts() const {
    Texts texts;
    for (const auto& message : messages_.messages) texts.push_back(message.text);
    return texts;
  }
  size_t PcRows(CKVXRecoMoldTolDlg& dialog) const { return dialog.Materials().at(L"PC").size(); }

  FakeFileDialog files_;
  std::unique_ptr<CKVXRecoMoldTolRule> rule_;
};

TEST_F(RecoMoldTolDlgTest, OpeningShowsTheActiveMaterialTheCaptionsAndTheSeverity) {
  auto dialog = Open(rule_.get());
  EXPECT_EQ(dialog->NominalCaption(), En(kvx::res::kNominalDimensionCaption) + L"(mm)");
  EXPECT_EQ(dialog->ToleranceCaption(), En(kvx::res::kToleranceCaption) + L"(mm)");
  EXPECT_EQ(dialog->SelectedSeverity(), 3) << "the rule's severity";
  EXPECT_EQ(dialog->CurrentMaterial(), L"PC");
  EXPECT_EQ(dialog->MaterialList().CellText(0, 1), L"2") << "ABS's row count";
  ASSERT_EQ(dialog->ToleranceTable().RowCount(), 2) << "the row and the placeholder";
  EXPECT_EQ(TableRow(*dialog, 0), (Row{L"0.0", L"10.0", L"0.2", L"0.004"}));
  EXPECT_EQ(dialog->ToleranceTable().CellText(1, 0), En(kvx::res::kPlaceholderRow));
}

TEST_F(RecoMoldTolDlgTest, WithoutAnActiveMaterialTheFirstIsShownAndMissingValuesAreEmpty) {
  rule_->Constraints()[1]->bStatus = false;
  auto dialog = Open(rule_.get());
  EXPECT_EQ(dialog->CurrentMaterial(), L"ABS");
  EXPECT_EQ(TableRow(*dialog, 1), (Row{L"3.0", L"6.0", L"0.12", L""})) << "-1.0 stands for a missing value";
  EXPECT_EQ(CKVXRecoMoldTolDlg::RowTexts({-1, -1, -1, -1}), (Row{L"-1.0", L"", L"", L""}))
      << "Over always shows its number";
}

TEST_F(RecoMoldTolDlgTest, OnlyTheAddRowsNameAndPlainDecimalNumbersCanBeEntered) {
  auto dialog = Open(rule_.get());
  auto& materials = dialog->MaterialList();
  EXPECT_FALSE(materials.BeginEdit(0, 1)) << "only names are typed";
  EXPECT_FALSE(materials.BeginEdit(3, 1));
  ASSERT_TRUE(materials.BeginEdit(3, 0));
  EXPECT_EQ(materials.EditText(), L"") << "the add row's edit starts empty";
  materials.HandleEditKey(EditKey::Delete);
  EXPECT_EQ(materials.RowCount(), 4) << "Delete removes no material but the one whose name is edited";
  auto& table = dialog->ToleranceTable();
  EXPECT_TRUE(table.AcceptsText(1, L"12.5"));
  EXPECT_TRUE(table.AcceptsText(1, L""));
  EXPECT_FALSE(table.AcceptsText(1, L"-1"));
  EXPECT_FALSE(table.AcceptsText(1, L"1e3"));
  EXPECT_FALSE(table.AcceptsText(1, L"1,5")) << "a comma where the user writes a point: not 15";
  table.SetDecimalSeparator(L",");  // a German user's
  EXPECT_FALSE(table.AcceptsText(1, L"1.5,"));
  TypeRow(*dialog, 0, {L"0", L"12,5"});
  EXPECT_EQ(table.CellText(0, 1), L"12.5") << "kept with the point the rule reads";
}

TEST_F(RecoMoldTolDlgTest, ThePlaceholderBecomesARowWhenTypedIntoAndIsNeverDeleted) {
  auto dialog = Open(rule_.get());
  auto& table = dialog->ToleranceTable();
  ASSERT_TRUE(table.BeginEdit(1, 2));
  EXPECT_EQ(table.EditText(), L"") << "the placeholder's text is not edited";
  table.HandleEditKey(EditKey::Delete);
  EXPECT_TRUE(table.IsPlaceholderRow(1));
  table.CancelEdit();
  TypeRow(*dialog, 1, {L"10", L"20", L"0.3", L"0.005"});
  EXPECT_EQ(TableRow(*dialog, 1), (Row{L"10", L"20", L"0.3", L"0.005"}));
  EXPECT_TRUE(table.IsPlaceholderRow(2));
  ASSERT_EQ(PcRows(*dialog), 2u);
  ASSERT_TRUE(table.BeginEdit(0, 2));
  table.HandleEditKey(EditKey::Delete);
  EXPECT_EQ(PcRows(*dialog), 1u) << "a deleted row leaves the material too";
}

TEST_F(RecoMoldTolDlgTest, AShortTableGets200BlankRowsAfterAFinishedEdit) {
  rule_->AddMaterialConstraint(L"PP", true, std::vector<ToleranceRow>(149, ToleranceRow{1, 2, 3, 4}));
  rule_->Constraints()[1]->bStatus = false;
  auto dialog = Open(rule_.get());
  ASSERT_EQ(dialog->ToleranceTable().RowCount(), 150);
  TypeRow(*dialog, 0, {L"1"});
  EXPECT_EQ(dialog->ToleranceTable().RowCount(), 350);
  TypeRow(*dialog, 0, {L"1"});
  EXPECT_EQ(dialog->ToleranceTable().RowCount(), 350) << "a table of 200 rows or more gets none";
}

TEST_F(RecoMoldTolDlgTest, ANameTypedIntoTheLastRowAddsAMaterialUnlessItExists) {
  auto dialog = Open(rule_.get());
  auto& materials = dialog->MaterialList();
  ASSERT_TRUE(materials.BeginEdit(3, 0));
  materials.UpdateEditText(L"   ");
  materials.CommitEdit();
  EXPECT_EQ(dialog->Materials().size(), 3u) << "an empty name adds nothing";
  ASSERT_TRUE(materials.BeginEdit(3, 0));
  materials.UpdateEditText(L"  PA66 ");
  materials.HandleEditKey(EditKey::Enter);
  EXPECT_EQ(dialog->CurrentMaterial(), L"PA66");
  EXPECT_EQ(materials.CellText(1, 0), L"PA66") << "in name order";
  EXPECT_EQ(dialog->ToleranceTable().RowCount(), 201) << "the placeholder and 200 blank rows";
  EXPECT_TRUE(messages_.messages.empty());

  for (const wchar_t* name : {L"ABS", L"abs"}) {  // names that differ only in case are one material
    dialog->OnMaterialNotification(name, CKVXRecoMoldTolDlg::kAddMaterialCode);
    EXPECT_EQ(dialog->Materials().size(), 4u);
    ASSERT_FALSE(messages_.messages.empty());
    EXPECT_EQ(messages_.messages.back().text, L"The material \"ABS\" is already in the list.");
    EXPECT_EQ(messages_.messages.back().icon, KvxMessageIcon::Exclamation);
    EXPECT_EQ(dialog->CurrentMaterial(), L"ABS") << "the one that exists is selected";
  }
}

TEST_F(RecoMoldTolDlgTest, AMaterialIsRenamedByTypingOverItsNameAndRemovedByDelete) {
  auto dialog = Open(rule_.get());
  auto& materials = dialog->MaterialList();
  const auto names = [&] {
    Texts shown;
    for (const auto& [name, rows] : dialog->Materials()) shown.push_back(name);
    return shown;
  };
  const auto rename = [&](int row, const std::wstring& name) {
    ASSERT_TRUE(materials.BeginEdit(row, 0));
    materials.UpdateEditText(name);
    materials.CommitEdit();
  };
  rename(1, L" PC-HT ");
  EXPECT_EQ(names(), (Texts{L"ABS", L"PC-HT", L"POM"}));
  EXPECT_EQ(dialog->CurrentMaterial(), L"PC-HT") << "the rows went with the name";
  EXPECT_EQ(dialog->Materials().at(L"PC-HT").size(), 1u);
  rename(0, L"pom");  // another material's name, in another case
  rename(0, L"");
  EXPECT_EQ(names(), (Texts{L"ABS", L"PC-HT", L"POM"}));
  EXPECT_EQ(MessageTexts(), Texts{L"The material \"POM\" is already in the list."});
  EXPECT_EQ(materials.CellText(0, 0), L"ABS") << "the old name is shown again";

  materials.SelectRow(2);
  ASSERT_TRUE(materials.BeginEdit(2, 0));
  materials.HandleEditKey(EditKey::Delete);
  EXPECT_EQ(names(), (Texts{L"ABS", L"PC-HT"}));
  materials.SelectRow(2);
  EXPECT_FALSE(materials.DeleteSelectedRow()) << "the add-material row stays";
  EXPECT_EQ(dialog->CurrentMaterial(), L"ABS") << "the deleted material was shown";
  dialog->OnMaterialNotification(L"PC-HT", CKVXRecoMoldTolDlg::kSelectMaterialCode);
  ASSERT_TRUE(dialog->OnOK());
  ASSERT_EQ(rule_->Constraints().size(), 2u);
  EXPECT_EQ(rule_->Constraints()[1]->csName, L"PC-HT");
  EXPECT_TRUE(rule_->Constraints()[1]->bStatus);
}

TEST_F(RecoMoldTolDlgTest, SelectingAMaterialShowsItsRowsAndFinishesTheEditInProgress) {
  auto dialog = Open(rule_.get());
  auto& table = dialog->ToleranceTable();
  ASSERT_TRUE(table.BeginEdit(0, 1));
  table.UpdateEditText(L"12");
  dialog->MaterialList().SelectRow(0);  // the user clicks ABS
  EXPECT_EQ(dialog->CurrentMaterial(), L"ABS");
  EXPECT_EQ(table.RowCount(), 3);
  EXPECT_DOUBLE_EQ(dialog->Materials().at(L"PC")[0].dUpto, 12.0) << "the edit went to PC before the switch";
  dialog->OnMaterialNotification(L"POM", CKVXRecoMoldTolDlg::kSelectMaterialCode);
  EXPECT_EQ(table.RowCount(), 1);
  dialog->OnMaterialNotification(L"nothing", CKVXRecoMoldTolDlg::kMaterialListId);
  EXPECT_EQ(dialog->CurrentMaterial(), L"POM") << "an unknown name selects nothing";
}

TEST_F(RecoMoldTolDlgTest, RowsAreStoredOnceTheyHaveAnOverAndZeroInACompleteRowRaisesMessage2455) {
  auto dialog = Open(rule_.get());
  TypeRow(*dialog, 1, {L"10", L"", L"0.3"});
  ASSERT_EQ(PcRows(*dialog), 2u);
  const ToleranceRow row = dialog->Materials().at(L"PC")[1];
  EXPECT_DOUBLE_EQ(row.dUpto, -1.0);
  EXPECT_DOUBLE_EQ(row.dAVal, 0.3);
  EXPECT_DOUBLE_EQ(row.dBVal, -1.0);
  EXPECT_TRUE(messages_.messages.empty()) << "2455 is only for complete rows";

  auto& table = dialog->ToleranceTable();
  ASSERT_TRUE(table.BeginEdit(5, 1));  // a blank row below the placeholder
  table.UpdateEditText(L"4");
  table.CommitEdit();
  EXPECT_EQ(PcRows(*dialog), 2u) << "a row without Over is not stored";
  EXPECT_EQ(table.CellText(5, 1), L"4") << "but stays in the table as typed";

  ASSERT_TRUE(table.BeginEdit(0, 2));
  table.UpdateEditText(L"0");
  table.HandleEditKey(EditKey::Enter);
  EXPECT_EQ(MessageTexts(), Texts{En(kvx::res::kToleranceValueNotPositive)}) << "a complete row with a zero";
  EXPECT_TRUE(messages_.messages[0].caption.empty()) << "a plain message box";
  EXPECT_DOUBLE_EQ(dialog->Materials().at(L"PC")[0].dAVal, 0.0) << "the row is kept as typed";
}

TEST_F(RecoMoldTolDlgTest, ARowWithOnlyOverIsRefusedWithMessage2529EvenWhileStillBeingEdited) {
  auto dialog = Open(rule_.get());
  ASSERT_TRUE(dialog->ToleranceTable().BeginEdit(1, 0));
  dialog->ToleranceTable().UpdateEditText(L"10");
  EXPECT_FALSE(dialog->OnOK());
  EXPECT_EQ(MessageTexts(), Texts{En(kvx::res::kIncompleteToleranceRow)});
  EXPECT_EQ(dialog->ToleranceTable().CellText(1, 0), L"10") << "the text stays";
  EXPECT_EQ(CKVXRecoMoldTolRule::RowsOf(*rule_->Constraints()[1]).size(), 1u) << "the rule is untouched";
}

TEST_F(RecoMoldTolDlgTest, ATableWhoseLastRowIsEmptyIsAccepted) {
  auto dialog = Open(rule_.get());
  dialog->OnMaterialNotification(L"", CKVXRecoMoldTolDlg::kCopyTableCode);  // blank rows after the placeholder
  ASSERT_GT(dialog->ToleranceTable().RowCount(), 2);
  EXPECT_TRUE(dialog->OnOK());
}

TEST_F(RecoMoldTolDlgTest, NoMaterialWithRowsGivesTheEmptyWarningAndRefuses) {
  CKVXRecoMoldTolRule rule(nullptr);
  rule.AddMaterialConstraint(L"ABS", true, {});
  EXPECT_FALSE(Open(&rule)->OnOK());
  ASSERT_EQ(messages_.messages.size(), 1u);
  EXPECT_EQ(messages_.messages[0].text, L"") << "kept: the warning has no text";
  EXPECT_EQ(messages_.messages[0].icon, KvxMessageIcon::Exclamation);
  CKVXRecoMoldTolRule none(nullptr);
  EXPECT_FALSE(Open(&none)->OnOK()) << "no material at all";
  EXPECT_TRUE(Open(nullptr)->OnOK()) << "without a rule OK only closes";
}

TEST_F(RecoMoldTolDlgTest, OkWritesTheMaterialsWithTheSelectedOneActiveAndTheSeverity) {
  auto dialog = Open(rule_.get());
  dialog->OnMaterialNotification(L"PA66", CKVXRecoMoldTolDlg::kAddMaterialCode);
  TypeRow(*dialog, 0, {L"0", L"5", L"0.5", L"0.01"});
  dialog->OnMaterialNotification(L"POM", CKVXRecoMoldTolDlg::kSelectMaterialCode);
  dialog->SelectSeverity(0);
  ASSERT_TRUE(dialog->OnOK());
  EXPECT_EQ(rule_->m_lRuleSeverity, 0);

  const auto& constraints = rule_->Constraints();
  ASSERT_EQ(constraints.size(), 4u);
  const Texts names{L"ABS", L"PA66", L"PC", L"POM"};
  const std::vector<bool> active{false, false, false, true};
  for (size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(constraints[i]->csName, names[i]);
    EXPECT_EQ(constraints[i]->iType, 1);
    EXPECT_EQ(constraints[i]->FindParameterInArray(2517)->bFirstFlag, true);
    EXPECT_EQ(constraints[i]->bStatus, active[i]) << i;
  }
  const auto rows = CKVXRecoMoldTolRule::RowsOf(*constraints[1]);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_DOUBLE_EQ(rows[0].dUpto, 5.0);
}

// What OK keeps: nothing when nothing was edited (the material that applies included), and never a band
// that cannot be (Up to not above Over, a tolerance not above 0, overlapping bands) nor a table that holds
// one material twice.
TEST_F(RecoMoldTolDlgTest, OkKeepsAnUntouchedTableAsItIsAndRefusesBandsThatCannotBe) {
  CKVXRecoMoldTolRule loaded(nullptr);  // every material active, as every rule set loads
  loaded.AddMaterialConstraint(L"ABS", true, {{0, 3, 0.1, 0.002}});
  loaded.AddMaterialConstraint(L"PC", true, {{0, 10, 0.2, 0.004}});
  ASSERT_TRUE(Open(&loaded)->OnOK());
  for (const auto& constraint : loaded.Constraints()) EXPECT_TRUE(constraint->bStatus) << "nothing was written";

  struct Case {
    int row;
    Texts typed;
    int message;
  };
  const Case cases[] = {
      {0, {L"5", L"5", L"0.1", L"0.1"}, kvx::res::kToleranceBandNotAscending},
      {0, {L"0", L"10", L"0.1", L"0"}, kvx::res::kToleranceValueNotPositive},
      {1, {L"5", L"20", L"0.1", L"0.1"}, kvx::res::kToleranceBandsOverlap},
  };
  for (const Case& c : cases) {
    auto dialog = Open(rule_.get());
    TypeRow(*dialog, c.row, c.typed);
    messages_.messages.clear();
    EXPECT_FALSE(dialog->OnOK()) << c.message;
    ASSERT_EQ(messages_.messages.size(), 1u) << c.message;
    EXPECT_EQ(messages_.messages[0].text.substr(0, 10), En(c.message).substr(0, 10));
    EXPECT_EQ(CKVXRecoMoldTolRule::RowsOf(*rule_->Constraints()[1]).size(), 1u) << "PC as it was";
  }

  rule_->AddMaterialConstraint(L"abs", false, {{0, 1, 0.1, 0.1}});
  messages_.messages.clear();
  EXPECT_FALSE(Open(rule_.get())->OnOK());
  ASSERT_EQ(messages_.messages.size(), 1u);
  EXPECT_NE(messages_.messages[0].text.find(L"\"abs\""), std::wstring::npos);
  EXPECT_EQ(rule_->Constraints().size(), 4u) << "neither merged nor doubled";
}

TEST_F(RecoMoldTolDlgTest, AnEmptySeveritySelectionIsResetNotTaken) {
  auto dialog = Open(rule_.get());
  dialog->SelectSeverity(-1);
  ASSERT_TRUE(dialog->OnOK());
  EXPECT_EQ(rule_->m_lRuleSeverity, 3);
  EXPECT_EQ(dialog->SelectedSeverity(), 3) << "the combo box shows the rule's severity again";
}

TEST_F(RecoMoldTolDlgTest, ImportingAnXlsxReplacesTheCurrentMaterialsRows) {
  auto dialog = Open(rule_.get());
  files_.Answer("bands.xlsx");
  EXPECT_EQ(dialog->ImportSpreadsheet(), ImportResult::Imported);
  ASSERT_EQ(PcRows(*dialog), 3u);
  EXPECT_EQ(TableRow(*dialog, 2), (Row{L"6.0", L"10.0", L"0.15", L"0.003"}));
  EXPECT_TRUE(dialog->OnOK());
  EXPECT_EQ(CKVXRecoMoldTolRule::RowsOf(*rule_->Constraints()[1]).size(), 3u);
}

TEST_F(RecoMoldTolDlgTest, ImportOfSheetsThatAreRefusedStopEarlyOrHoldNothing) {
  auto dialog = Open(rule_.get());
  files_.Answer("upto-zero.xlsx");
  EXPECT_EQ(dialog->ImportSpreadsheet(), ImportResult::Refused);
  EXPECT_EQ(MessageTexts(), Texts{En(kvx::res::kToleranceValueNotPositive)});
  EXPECT_EQ(TableRow(*dialog, 0), (Row{L"0.0", L"10.0", L"0.2", L"0.004"})) << "nothing changed";
  files_.Answer("header-only.xlsx");
  EXPECT_EQ(dialog->ImportSpreadsheet(), ImportResult::NothingToImport);
  files_.answer.reset();
  EXPECT_EQ(dialog->ImportSpreadsheet(), ImportResult::Cancelled);
  EXPECT_EQ(PcRows(*dialog), 1u);
  files_.Answer("missing.xlsx");
  const size_t before = messages_.messages.size();
  EXPECT_EQ(dialog->ImportSpreadsheet(), ImportResult::ReadFailed);
  ASSERT_EQ(messages_.messages.size(), before + 1);
  EXPECT_FALSE(messages_.messages.back().text.empty()) << "the reader's message";
  files_.Answer("early-stop.xlsx");
  EXPECT_EQ(dialog->ImportSpreadsheet(), ImportResult::Imported);
  EXPECT_EQ(PcRows(*dialog), 2u) << "stopped at the first row without Over";
}

TEST_F(RecoMoldTolDlgTest, WithoutACurrentMaterialTableEditsAndImportAreRefusedWithMessage2215) {
  CKVXRecoMoldTolRule empty(nullptr);
  auto dialog = Open(&empty);
  EXPECT_FALSE(dialog->ToleranceTable().BeginEdit(0, 0));
  files_.Answer("bands.xlsx");
  EXPECT_EQ(dialog->ImportSpreadsheet(), ImportResult::NoMaterial);
  EXPECT_EQ(files_.asked, 0) << "no file is asked for";
  EXPECT_EQ(MessageTexts(), (Texts{En(kvx::res::kSelectMaterialFirst), En(kvx::res::kSelectMaterialFirst)}));
}

TEST(SheetRowCheck, ChecksFromTheSecondRowAndStopsAtAnEmptyOver) {
  kvx::test::MessageRecorder messages;
  using Columns = std::vector<Texts>;
  const Columns good{{L"Over", L"0", L"3"}, {L"Up to", L"3", L"6"}, {L"A", L"1", L"1"}, {L"B", L"1", L"1"}};
  auto check = CKVXRecoMoldTolDlg::CheckSheetRows(good, L"bad", L"over %s");
  EXPECT_TRUE(check.passed && !check.stoppedEarly);
  EXPECT_EQ(check.endRow, 3u);

  const Columns gap{{L"Over", L"0", L"", L"6"}, {L"x", L"3", L"", L"-2"}, {L"x", L"1", L"", L"1"}, {L"x", L"1"}};
  check = CKVXRecoMoldTolDlg::CheckSheetRows(gap, L"bad", L"over %s");
  EXPECT_TRUE(check.passed && check.stoppedEarly);
  EXPECT_EQ(check.endRow, 2u) << "the bad row after the stop is never looked at";

  // Over must say what it is read as (not 0, 0 and 1); the others must be above 0.
  const std::pair<size_t, const wchar_t*> bad[] = {{0, L"abc"}, {0, L"-5"}, {0, L"1e3"}, {2, L"0"}, {2, L"-2"},
                                                   {2, L""},    {2, L"2 mm"}, {2, L"0.0"}, {2, L"1.2.3"}};
  for (const auto& [column, value] : bad) {
    Columns columns{{L"Over", L"0"}, {L"Up to", L"3"}, {L"A", L"1"}, {L"B", L"1"}};
    columns[column][1] = value;
    messages.messages.clear();
    check = CKVXRecoMoldTolDlg::CheckSheetRows(columns, L"bad", L"over %s");
    EXPECT_FALSE(check.passed) << kvx::platform::Narrow(value);
    EXPECT_EQ(check.endRow, 1u);
    ASSERT_EQ(messages.messages.size(), 1u);
    EXPECT_EQ(messages.messages[0].text, column == 0 ? L"over 2" : L"bad");
  }
}

}  // namespace
