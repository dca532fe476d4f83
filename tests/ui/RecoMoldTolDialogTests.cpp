// The tolerance dialog's Qt view, driven offscreen as a user would: typing into cells, the keys of an edit,
// materials added, clicked and renamed through the list, OK refused and accepted, Ctrl+I.
// The models are watched by QAbstractItemModelTester throughout; each test leaves a screenshot.
#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTest>

#include "../support/ModuleFixture.h"
#include "RuleTestSupport.h"
#include "ViewTestSupport.h"
#include "kvx/framework/gui/PictureControl.h"
#include "kvx/res/StringIds.h"
#include "kvx/ui/qt/ListCtrlView.h"
#include "kvx/ui/qt/RecoMoldTolDialog.h"

namespace {

using kvx::test::CellText;
using kvx::ui::qt::ListCtrlView;

class RecoMoldTolDialogTest : public kvx::test::ModuleFixture {
 protected:
  void SetUp() override {
    ModuleFixture::SetUp();
    rule_ = std::make_unique<CKVXRecoMoldTolRule>(nullptr);
    rule_->AddMaterialConstraint(L"ABS", true, {{0, 3, 0.1, 0.002}, {3, 6, 0.12, 0.0025}});
    rule_->AddMaterialConstraint(L"PC", false, {{0, 10, 0.2, 0.004}});
    presenter_ = std::make_unique<kvx::ui::CKVXRecoMoldTolDlg>(rule_.get(), files_);
    presenter_->SetUnitText(L"mm");
    dialog_ = std::make_unique<kvx::ui::qt::RecoMoldTolDialog>(*presenter_);
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
    ModuleFixture::TearDown();
  }

  ListCtrlView* Materials() const { return dialog_->MaterialView(); }
  ListCtrlView* Table() const { return dialog_->TableView(); }
  // Double-clicks cell (row, column) and types `texts` into it and the cells after it, pressing Tab between
  // them and `last` after the last one.
  static void Type(ListCtrlView* view, int row, int column, std::initializer_list<const char*> texts,
                   Qt::Key last = Qt::Key_Return) {
    kvx::test::DoubleClickCell(*view, row, column);
    size_t left = texts.size();
    for (const char* text : texts) {
      QLineEdit* editor = view->Editor();
      ASSERT_NE(editor, nullptr) << text;
      editor->selectAll();
      QTest::keyClicks(editor, text);
      QTest::keyClick(editor, --left == 0 ? last : Qt::Key_Tab);
    }
  }
  void Press(Qt::Key key) {
    ASSERT_NE(Table()->Editor(), nullptr);
    QTest::keyClick(Table()->Editor(), key);
  }
  kvx::ui::CellPosition EditCell() const { return presenter_->ToleranceTable().EditCell(); }
  int SelectedMaterial() const { return Materials()->selectionModel()->selectedRows().value(0).row(); }

  kvx::test::NoMaterialDatabase noDatabase_;
  kvx::test::FakeFileDialog files_;
  std::unique_ptr<CKVXRecoMoldTolRule> rule_;
  std::unique_ptr<kvx::ui::CKVXRecoMoldTolDlg> presenter_;
  std::unique_ptr<kvx::ui::qt::RecoMoldTolDialog> dialog_;
};

// What it shows; Delete, Tab, Enter, the arrows and Escape belong to the edit, never to the dialog's buttons.
TEST_F(RecoMoldTolDialogTest, ShowsTheListsAndTheKeysBelongToTheEdit) {
  EXPECT_EQ(dialog_->NominalCaption()->text().toStdWString(), En(kvx::res::kNominalDimensionCaption) + L"(mm)");
  EXPECT_EQ(dialog_->SeverityBox()->currentIndex(), 3);
  EXPECT_EQ(Table()->font().family(), QStringLiteral("Courier"));
  EXPECT_EQ(CellText(*Materials(), 2, 0).toStdWString(), En(kvx::res::kAddMaterialRow));
  EXPECT_EQ(CellText(*Table(), 1, 2), QStringLiteral("0.12"));
  EXPECT_EQ(SelectedMaterial(), 0) << "ABS applies by default";
  EXPECT_NE(dialog_->Picture(), nullptr);

  kvx::test::DoubleClickCell(*Table(), 0, 1);
  Press(Qt::Key_Delete);
  EXPECT_EQ(CellText(*Table(), 0, 0), QStringLiteral("3.0"));
  EXPECT_EQ(Table()->model()->rowCount(), 202) << "the row left, the placeholder and 200 blank rows";
  Type(Table(), 1, 0, {"6", "10", "0.15", "0.003"});  // the placeholder row
  EXPECT_EQ(CellText(*Table(), 1, 3), QStringLiteral("0.003"));
  EXPECT_EQ(CellText(*Materials(), 0, 1), QStringLiteral("2")) << "the row count follows";
  EXPECT_EQ(EditCell(), (kvx::ui::CellPosition{2, 0})) << "Enter moved on";
  Type(Table(), 0, 1, {"4"}, Qt::Key_Down);
  for (Qt::Key key : {Qt::Key_Right, Qt::Key_Up, Qt::Key_Left}) Press(key);
  EXPECT_EQ(EditCell(), (kvx::ui::CellPosition{0, 1}));
  QLineEdit* editor = Table()->Editor();
  ASSERT_NE(editor, nullptr);
  editor->selectAll();
  QTest::keyClicks(editor, "x-2");
  EXPECT_EQ(editor->text(), QStringLiteral("2")) << "only digits and the point are taken";
  Press(Qt::Key_Escape);
  EXPECT_EQ(CellText(*Table(), 0, 1), QStringLiteral("4"));
  EXPECT_FALSE(presenter_->ToleranceTable().IsEditing());
  EXPECT_TRUE(dialog_->isVisible());
}

// A material added or renamed through the list; a band overlapping another keeps OK refused, with the text
// intact, until it is fixed; then the table, the new name and the severity are written.
TEST_F(RecoMoldTolDialogTest, MaterialsAddedClickedAndRenamedAreSavedOnceTheirBandsFit) {
  Type(Materials(), 2, 0, {"PA66"});
  ASSERT_EQ(Materials()->model()->rowCount(), 4);
  EXPECT_EQ(CellText(*Materials(), 1, 0), QStringLiteral("PA66"));
  EXPECT_EQ(SelectedMaterial(), 1);
  Type(Materials(), 3, 0, {"ABS"});
  EXPECT_EQ(messages_.messages.size(), 1u) << "a material that exists";
  EXPECT_EQ(presenter_->CurrentMaterial(), L"ABS");
  const QModelIndex pc = Materials()->model()->index(2, 0);
  QTest::mouseClick(Materials()->viewport(), Qt::LeftButton, Qt::NoModifier, Materials()->visualRect(pc).center());
  EXPECT_EQ(presenter_->CurrentMaterial(), L"PC");
  EXPECT_EQ(CellText(*Table(), 0, 1), QStringLiteral("10.0"));

  Type(Materials(), 2, 0, {"PC-HT"});
  EXPECT_EQ(CellText(*Materials(), 2, 0), QStringLiteral("PC-HT"));
  ASSERT_EQ(presenter_->CurrentMaterial(), L"PC-HT");
  Type(Table(), 1, 0, {"5", "20", "0.3", "0.005"});
  Press(Qt::Key_Escape);
  QTest::mouseClick(kvx::test::OkButton(*dialog_), Qt::LeftButton);
  EXPECT_TRUE(dialog_->isVisible());
  ASSERT_EQ(messages_.messages.size(), 2u);
  EXPECT_NE(messages_.messages[1].text.find(L"PC-HT"), std::wstring::npos);
  EXPECT_EQ(CellText(*Table(), 1, 0), QStringLiteral("5"));
  EXPECT_EQ(rule_->Constraints()[1]->csName, L"PC") << "nothing written yet";

  Type(Table(), 1, 0, {"10"});
  Press(Qt::Key_Escape);
  dialog_->SeverityBox()->setCurrentIndex(1);
  QTest::mouseClick(kvx::test::OkButton(*dialog_), Qt::LeftButton);
  EXPECT_EQ(dialog_->result(), QDialog::Accepted);
  EXPECT_EQ(rule_->m_lRuleSeverity, 1);
  const auto& written = rule_->Constraints();
  const auto pcht = std::ranges::find_if(written, [](const auto& c) { return c->csName == L"PC-HT"; });
  ASSERT_NE(pcht, written.end());
  EXPECT_EQ(CKVXRecoMoldTolRule::RowsOf(**pcht).size(), 2u);
}

TEST_F(RecoMoldTolDialogTest, CtrlIImportsASheetIntoTheCurrentMaterial) {
  files_.answer = "bands.xlsx";
  dialog_->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(dialog_.get()));
  QTest::keyClick(Table(), Qt::Key_I, Qt::ControlModifier);
  EXPECT_EQ(CellText(*Table(), 2, 0), QStringLiteral("6.0"));
  EXPECT_EQ(Table()->model()->rowCount(), 204);
}

}  // namespace
