// The tolerance dialog's Qt view, driven offscreen as a user would: typing into cells, the keys of an edit,
// adding a material through the last row, the blank rows, OK refused and accepted, Ctrl+I. The models are
// watched by QAbstractItemModelTester throughout; each test leaves a screenshot.
#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <memory>
#include <optional>

#include "../support/ModuleFixture.h"
#include "ViewTestSupport.h"
#include "kvx/framework/gui/PictureControl.h"
#include "kvx/params/ResourceText.h"
#include "kvx/res/StringIds.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/rules/RecoMoldTolDatabase.h"
#include "kvx/ui/qt/ListCtrlView.h"
#include "kvx/ui/qt/RecoMoldTolDialog.h"

namespace {

using kvx::test::CellText;
using kvx::ui::CKVXRecoMoldTolDlg;
using kvx::ui::qt::ListCtrlView;
using kvx::ui::qt::RecoMoldTolDialog;

std::wstring DataFile(const std::string& name) {
  return kvx::platform::Widen(std::string(KVX_SOURCE_DIR) + "/tests/ui/data/" + name);
}

class FixedFileDialog final : public kvx::ui::IFileDialog {
 public:
  std::optional<std::wstring> AskOpenFile(const std::wstring&, unsigned) override { return answer; }
  std::optional<std::wstring> answer;
};

class RecoMoldTolDialogTest : public kvx::test::ModuleFixture {
 protected:
  void SetUp() override {
    ModuleFixture::SetUp();
    kvx::rules::SetToleranceCollectorSource([] { return kvx::rules::ToleranceCollector{}; });
    rule_ = std::make_unique<CKVXRecoMoldTolRule>(nullptr);
    rule_->AddMaterialConstraint(L"ABS", true, {{0, 3, 0.1, 0.002}, {3, 6, 0.12, 0.0025}});
    rule_->AddMaterialConstraint(L"PC", false, {{0, 10, 0.2, 0.004}});
    presenter_ = std::make_unique<CKVXRecoMoldTolDlg>(rule_.get(), files_);
    presenter_->SetUnitText(L"mm");
    dialog_ = std::make_unique<RecoMoldTolDialog>(*presenter_);
    for (ListCtrlView* view : {Materials(), Table()}) {
      new QAbstractItemModelTester(view->model(), QAbstractItemModelTester::FailureReportingMode::Fatal, view);
    }
    dialog_->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog_.get()));
  }
  void TearDown() override {
    kvx::test::SaveScreenshot(*dialog_, std::string("RecoMoldTolDialog-") +
                                            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    dialog_.reset();
    presenter_.reset();
    kvx::rules::SetToleranceCollectorSource({});
    ModuleFixture::TearDown();
  }

  ListCtrlView* Materials() const { return dialog_->MaterialView(); }
  ListCtrlView* Table() const { return dialog_->TableView(); }
  // The editor open in the view; fails the test when there is none.
  static QLineEdit* Editor(ListCtrlView* view) {
    EXPECT_NE(view->Editor(), nullptr);
    return view->Editor();
  }
  // Double-clicks a table cell and types `text` into its editor, then presses `key`.
  void TypeInto(ListCtrlView* view, int row, int column, const QString& text, Qt::Key key) {
    kvx::test::DoubleClickCell(*view, row, column);
    QLineEdit* editor = Editor(view);
    if (!editor) return;
    editor->selectAll();
    QTest::keyClicks(editor, text);
    QTest::keyClick(editor, key);
  }

  FixedFileDialog files_;
  std::unique_ptr<CKVXRecoMoldTolRule> rule_;
  std::unique_ptr<CKVXRecoMoldTolDlg> presenter_;
  std::unique_ptr<RecoMoldTolDialog> dialog_;
};

TEST_F(RecoMoldTolDialogTest, ShowsTheListsCaptionsSeverityAndPicture) {
  EXPECT_EQ(dialog_->NominalCaption()->text().toStdWString(), En(kvx::res::kNominalDimensionCaption) + L"(mm)");
  EXPECT_EQ(dialog_->SeverityBox()->currentIndex(), 3);
  EXPECT_EQ(Table()->font().family(), QStringLiteral("Courier"));
  EXPECT_EQ(CellText(*Materials(), 2, 0).toStdWString(), En(kvx::res::kAddMaterialRow));
  EXPECT_EQ(CellText(*Table(), 1, 2), QStringLiteral("0.12"));
  EXPECT_EQ(Materials()->selectionModel()->selectedRows().value(0).row(), 0) << "ABS applies by default";
  EXPECT_NE(dialog_->Picture(), nullptr);
}

TEST_F(RecoMoldTolDialogTest, TypingARowWithTabAndEnter) {
  TypeInto(Table(), 2, 0, "6", Qt::Key_Tab);  // the placeholder row
  for (const char* text : {"10", "0.15", "0.003"}) {
    QLineEdit* editor = Editor(Table());
    ASSERT_NE(editor, nullptr);
    QTest::keyClicks(editor, text);
    QTest::keyClick(editor, std::string(text) == "0.003" ? Qt::Key_Return : Qt::Key_Tab);
  }
  EXPECT_TRUE(dialog_->isVisible()) << "Enter belongs to the edit, not to the OK button";
  EXPECT_EQ(CellText(*Table(), 2, 3), QStringLiteral("0.003"));
  EXPECT_EQ(CellText(*Materials(), 0, 1), QStringLiteral("3")) << "the row count follows";
  EXPECT_EQ(presenter_->ToleranceTable().EditCell(), (kvx::ui::CellPosition{3, 0})) << "Enter moved on";
}

TEST_F(RecoMoldTolDialogTest, ArrowsMoveTheEditorEscapeDropsTheTextAndLettersAreNotTaken) {
  TypeInto(Table(), 0, 1, "4", Qt::Key_Down);
  for (Qt::Key key : {Qt::Key_Right, Qt::Key_Up, Qt::Key_Left}) {
    ASSERT_NE(Editor(Table()), nullptr);
    QTest::keyClick(Editor(Table()), key);
  }
  EXPECT_EQ(presenter_->ToleranceTable().EditCell(), (kvx::ui::CellPosition{0, 1}));
  QLineEdit* editor = Editor(Table());
  ASSERT_NE(editor, nullptr);
  editor->selectAll();
  QTest::keyClicks(editor, "x-2");
  EXPECT_EQ(editor->text(), QStringLiteral("2")) << "only digits and the point are taken";
  QTest::keyClick(editor, Qt::Key_Escape);
  EXPECT_EQ(CellText(*Table(), 0, 1), QStringLiteral("4"));
  EXPECT_FALSE(presenter_->ToleranceTable().IsEditing());
  EXPECT_TRUE(dialog_->isVisible()) << "Escape belongs to the edit, not to Cancel";
}

TEST_F(RecoMoldTolDialogTest, DeleteRemovesARowButNotThePlaceholder) {
  kvx::test::DoubleClickCell(*Table(), 0, 1);
  ASSERT_NE(Editor(Table()), nullptr);
  QTest::keyClick(Editor(Table()), Qt::Key_Delete);
  EXPECT_EQ(CellText(*Table(), 0, 0), QStringLiteral("3.0"));
  EXPECT_EQ(Table()->model()->rowCount(), 202) << "the rows left, the placeholder and 200 blank rows";
}

TEST_F(RecoMoldTolDialogTest, AddingAndClickingMaterials) {
  TypeInto(Materials(), 2, 0, "PA66", Qt::Key_Return);
  ASSERT_EQ(Materials()->model()->rowCount(), 4);
  EXPECT_EQ(CellText(*Materials(), 1, 0), QStringLiteral("PA66"));
  EXPECT_EQ(Materials()->selectionModel()->selectedRows().value(0).row(), 1);
  TypeInto(Materials(), 3, 0, "ABS", Qt::Key_Return);
  EXPECT_EQ(messages_.messages.size(), 1u) << "a material that exists";
  EXPECT_EQ(presenter_->CurrentMaterial(), L"ABS");

  const QModelIndex pc = Materials()->model()->index(2, 0);
  QTest::mouseClick(Materials()->viewport(), Qt::LeftButton, Qt::NoModifier, Materials()->visualRect(pc).center());
  EXPECT_EQ(presenter_->CurrentMaterial(), L"PC");
  EXPECT_EQ(CellText(*Table(), 0, 1), QStringLiteral("10.0"));
}

TEST_F(RecoMoldTolDialogTest, ARefusedOkKeepsTheDialogOpenWithTheTextIntact) {
  TypeInto(Table(), 2, 0, "6", Qt::Key_Return);
  QTest::keyClick(Editor(Table()), Qt::Key_Escape);
  QTest::mouseClick(kvx::test::OkButton(*dialog_), Qt::LeftButton);
  EXPECT_TRUE(dialog_->isVisible());
  EXPECT_EQ(messages_.messages.size(), 1u);
  EXPECT_EQ(CellText(*Table(), 2, 0), QStringLiteral("6"));
  EXPECT_EQ(CKVXRecoMoldTolRule::RowsOf(*rule_->Constraints()[0]).size(), 2u);
}

TEST_F(RecoMoldTolDialogTest, AnAcceptedOkWritesTheTableAndTheSeverity) {
  TypeInto(Table(), 0, 3, "0.0021", Qt::Key_Return);
  dialog_->SeverityBox()->setCurrentIndex(1);
  QTest::mouseClick(kvx::test::OkButton(*dialog_), Qt::LeftButton);
  EXPECT_EQ(dialog_->result(), QDialog::Accepted);
  EXPECT_DOUBLE_EQ(CKVXRecoMoldTolRule::RowsOf(*rule_->Constraints()[0]).at(0).dBVal, 0.0021);
  EXPECT_EQ(rule_->m_lRuleSeverity, 1);
}

TEST_F(RecoMoldTolDialogTest, CtrlIImportsASpreadsheetIntoTheCurrentMaterial) {
  files_.answer = DataFile("bands.xlsx");
  dialog_->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(dialog_.get()));
  QTest::keyClick(Table(), Qt::Key_I, Qt::ControlModifier);
  EXPECT_EQ(CellText(*Table(), 2, 0), QStringLiteral("6.0"));
  EXPECT_EQ(Table()->model()->rowCount(), 204);
}

// Nothing of a refused sheet is imported: an Up to of 0, or an Over the decimal reader would misread.
TEST_F(RecoMoldTolDialogTest, ASheetWithAValueThatCannotBeIsRefusedWithItsMessage) {
  const std::pair<const char*, std::wstring> sheets[] = {
      {"upto-zero.xlsx", En(kvx::res::kToleranceValueNotPositive)},
      {"over-text.xlsx", kvx::params::FormatText(En(kvx::res::kSheetOverNotANumber), L"3")},
  };
  for (const auto& [file, message] : sheets) {
    files_.answer = DataFile(file);
    messages_.messages.clear();
    dialog_->ImportSpreadsheet();
    ASSERT_EQ(messages_.messages.size(), 1u) << file;
    EXPECT_EQ(messages_.messages[0].text, message) << file;
    EXPECT_EQ(Table()->model()->rowCount(), 3) << "the table is unchanged";
  }
}

// A material renamed in place keeps its rows; a band overlapping another keeps OK refused until fixed.
TEST_F(RecoMoldTolDialogTest, ARenamedMaterialIsSavedOnceItsBandsFit) {
  TypeInto(Materials(), 1, 0, "PC-HT", Qt::Key_Return);
  EXPECT_EQ(CellText(*Materials(), 1, 0), QStringLiteral("PC-HT"));
  ASSERT_EQ(presenter_->CurrentMaterial(), L"PC-HT");
  TypeInto(Table(), 1, 0, "5", Qt::Key_Tab);
  for (const char* text : {"20", "0.3", "0.005"}) {
    ASSERT_NE(Editor(Table()), nullptr);
    QTest::keyClicks(Editor(Table()), text);
    QTest::keyClick(Editor(Table()), std::string(text) == "0.005" ? Qt::Key_Return : Qt::Key_Tab);
  }
  QTest::keyClick(Editor(Table()), Qt::Key_Escape);
  QTest::mouseClick(kvx::test::OkButton(*dialog_), Qt::LeftButton);
  EXPECT_TRUE(dialog_->isVisible());
  ASSERT_EQ(messages_.messages.size(), 1u);
  EXPECT_NE(messages_.messages[0].text.find(L"PC-HT"), std::wstring::npos);
  EXPECT_EQ(rule_->Constraints()[1]->csName, L"PC") << "nothing written yet";

  TypeInto(Table(), 1, 0, "10", Qt::Key_Return);
  QTest::keyClick(Editor(Table()), Qt::Key_Escape);
  QTest::mouseClick(kvx::test::OkButton(*dialog_), Qt::LeftButton);
  EXPECT_EQ(dialog_->result(), QDialog::Accepted);
  ASSERT_EQ(rule_->Constraints().size(), 2u);
  EXPECT_EQ(rule_->Constraints()[1]->csName, L"PC-HT");
  EXPECT_EQ(CKVXRecoMoldTolRule::RowsOf(*rule_->Constraints()[1]).size(), 2u);
}

}  // namespace
