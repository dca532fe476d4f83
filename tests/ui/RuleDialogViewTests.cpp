// The Qt views of the rib clearance dialog and of the framework's generic rule dialog, offscreen, and the
// rule picture they show; then these and the tolerance dialog in every language: no text is wider than the
// widget that shows it (the headers and cells of the lists included). Each test leaves a screenshot, the
// language check one per dialog and language.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <QTimer>

#include "../support/LanguageList.h"
#include "../support/ModuleFixture.h"
#include "RuleTestSupport.h"
#include "ViewTestSupport.h"
#include "kvx/framework/gui/PictureControl.h"
#include "kvx/framework/gui/QtUiServices.h"
#include "kvx/framework/gui/RuleDialog.h"
#include "kvx/framework/gui/RuleDlgBase.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/res/PictureIds.h"
#include "kvx/rules/CKVXIMHoleDepthToDiaRule.h"
#include "kvx/rules/CKVXIMMinRibClearanceRule.h"
#include "kvx/ui/qt/ListCtrlView.h"
#include "kvx/ui/qt/MinRibClearanceDialog.h"
#include "kvx/ui/qt/RecoMoldTolDialog.h"
#include "kvx/ui/qt/RuleDialogs.h"

namespace {

using kvx::test::HandMadeRule;

// A small drawing, as the resource libraries carry them.
kvx::platform::Picture Drawing() {
  const std::string svg =
      "<svg xmlns='http://www.w3.org/2000/svg' width='200' height='120'><rect x='20' y='20' width='60' "
      "height='80' fill='none' stroke='black'/><line x1='80' y1='60' x2='120' y2='60' stroke='black'/></svg>";
  return {"svg", std::vector<std::uint8_t>(svg.begin(), svg.end())};
}

std::string TestName() { return ::testing::UnitTest::GetInstance()->current_test_info()->name(); }

TEST(PictureControl, ShowsADrawingOrAnEmptyFrame) {
  PictureControl picture;
  picture.SetPicture(Drawing());
  EXPECT_TRUE(picture.HasDrawing());
  picture.resize(220, 160);
  kvx::test::SaveScreenshot(picture, "PictureControl-drawing");
  picture.SetPicture({});
  EXPECT_FALSE(picture.HasDrawing());
  picture.SetPicture({"svg", {'n', 'o', 't'}});
  EXPECT_FALSE(picture.HasDrawing()) << "bytes that are no drawing leave the frame empty";
}

class MinRibClearanceDialogTest : public kvx::test::ModuleFixture {};

// Opened as the rule's editor, with the rule's picture; the numeric box takes no letters.
TEST_F(MinRibClearanceDialogTest, EditRuleWritesValueOperatorAndSeverityOnOk) {
  kvx::ui::qt::RuleDialogService dialogs(kvx::params::Module(), L"english");
  CKVXIMMinRibClearanceRule rule;
  rule.SetDialogService(&dialogs);
  bool drawing = false;
  QTimer::singleShot(0, [&] {
    auto* dialog = qobject_cast<kvx::ui::qt::MinRibClearanceDialog*>(QApplication::activeModalWidget());
    ASSERT_NE(dialog, nullptr);
    drawing = dialog->Picture()->HasDrawing();
    EXPECT_EQ(dialog->OperatorBox()->currentText(), QStringLiteral(">="));
    dialog->ValueEdit()->clear();
    QTest::keyClicks(dialog->ValueEdit(), "a4.5");
    EXPECT_EQ(dialog->ValueEdit()->text(), QStringLiteral("4.5"));
    dialog->OperatorBox()->setCurrentIndex(0);
    dialog->SeverityBox()->setCurrentIndex(4);
    kvx::test::SaveScreenshot(*dialog, "MinRibClearanceDialog-" + TestName());
    QTest::mouseClick(kvx::test::OkButton(*dialog), Qt::LeftButton);
  });
  rule.EditRule();
  EXPECT_EQ(rule.LastDialogResult(), KVX_IDOK);
  EXPECT_TRUE(drawing);
  EXPECT_EQ(*kvx::params::DoubleValues(rule.FindParameterInArray(2061)), std::vector<double>{4.5});
  EXPECT_EQ(rule.FindParameterInArray(2061)->iOperator, KVX_OP_GREATER);
  EXPECT_EQ(rule.m_lRuleSeverity, 4);
  EXPECT_NE(rule.m_csSummary.find(L"4.5"), std::wstring::npos) << "the summary is rebuilt after the dialog";
}

// A number it cannot read keeps the dialog open with the text as typed; a fixed one is written on OK, and a
// hidden second field is neither checked nor written.
TEST(RuleDialog, ShowsEveryParameterAndWritesTheEditsOnOk) {
  kvx::test::MessageRecorder messages;
  HandMadeRule rule;
  kvx::framework::gui::CKVXRuleDlgBase presenter(rule, Drawing());
  RuleDialog dialog(presenter);
  dialog.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  EXPECT_EQ(dialog.ValueEdit(0, 0)->text(), QStringLiteral("2.0"));
  EXPECT_FALSE(dialog.ValueEdit(0, 1)->isVisible()) << "one value unless the operator is a range";
  EXPECT_TRUE(dialog.ValueEdit(1, 1)->isVisible());
  EXPECT_FALSE(dialog.ValueEdit(2, 0)->isEnabled()) << "a text parameter is shown, not edited";
  dialog.ValueEdit(1, 0)->selectAll();
  QTest::keyClicks(dialog.ValueEdit(1, 0), "2");
  dialog.ValueEdit(1, 1)->selectAll();
  QTest::keyClicks(dialog.ValueEdit(1, 1), "0.5");  // below the lower value, but hidden (and so not read) next
  dialog.OperatorBox(1)->setCurrentIndex(2);  // "<="
  EXPECT_FALSE(dialog.ValueEdit(1, 1)->isVisible());
  dialog.ValueEdit(0, 0)->selectAll();
  QTest::keyClicks(dialog.ValueEdit(0, 0), "2,5");
  QTest::mouseClick(kvx::test::OkButton(dialog), Qt::LeftButton);
  EXPECT_TRUE(dialog.isVisible());
  EXPECT_EQ(dialog.ValueEdit(0, 0)->text(), QStringLiteral("2,5"));
  EXPECT_EQ(messages.messages.size(), 1u);
  kvx::test::SaveScreenshot(dialog, "RuleDialog-" + TestName() + "-refused");
  EXPECT_EQ(rule.Values(100), std::vector<double>{2.0});

  dialog.ValueEdit(0, 0)->selectAll();
  QTest::keyClicks(dialog.ValueEdit(0, 0), "2.75");
  dialog.EnabledBox(1)->setChecked(true);
  dialog.SeverityBox()->setCurrentIndex(0);
  kvx::test::SaveScreenshot(dialog, "RuleDialog-" + TestName());
  QTest::mouseClick(kvx::test::OkButton(dialog), Qt::LeftButton);
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  EXPECT_EQ(rule.Values(100), std::vector<double>{2.75});
  EXPECT_EQ(rule.FindParameterInArray(101)->iOperator, KVX_OP_LESS_EQUAL);
  EXPECT_EQ(rule.Values(101), (std::vector<double>{2.0, 3.0})) << "the hidden second value stays";
  EXPECT_TRUE(rule.FindParameterInArray(101)->bStatus);
}

class ModuleRuleDialogTest : public kvx::test::ModuleFixture {};

// A rule of the module in German: its limits are labelled with their names, and "3,5" is 3.5.
TEST_F(ModuleRuleDialogTest, ShowsTheLimitsByNameAndReadsTheUsersNotation) {
  UseLocalizedLanguage("german");
  CKVXIMHoleDepthToDiaRule rule;
  kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);
  kvx::framework::gui::CKVXRuleDlgBase presenter(rule, Drawing(), L",");
  RuleDialog dialog(presenter);
  dialog.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  QStringList labels;
  for (const QLabel* label : dialog.findChildren<QLabel*>()) labels << label->text();
  EXPECT_FALSE(labels.contains(QStringLiteral("Parameter 2347"))) << labels.join(", ").toStdString();
  EXPECT_TRUE(labels.contains(ToQString(kvx::platform::LoadResString(2347))));
  dialog.ValueEdit(0, 0)->selectAll();
  QTest::keyClicks(dialog.ValueEdit(0, 0), "3,5");
  kvx::test::SaveScreenshot(dialog, "RuleDialog-" + TestName());
  QTest::mouseClick(kvx::test::OkButton(dialog), Qt::LeftButton);
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  EXPECT_EQ(*rule.FindParameterInConstraintArray(L"Default", 2347)->GetDoubleValues(), std::vector<double>{3.5});
  EXPECT_EQ(*kvx::params::DoubleValues(rule.FindParameterInArray(2347)), std::vector<double>{3.5});
}

// Every text of `dialog` that is cut: a label, button or list box narrower than its text, a list column
// narrower than its header or one of its cells.
std::vector<std::string> CutTexts(QWidget& dialog) {
  std::vector<std::string> cut;
  for (const QLabel* l : dialog.findChildren<QLabel*>()) {
    if (l->isVisible() && !l->wordWrap() && l->fontMetrics().horizontalAdvance(l->text()) > l->contentsRect().width()) {
      cut.push_back("label \"" + l->text().toStdString() + "\"");
    }
  }
  for (const QAbstractButton* button : dialog.findChildren<QAbstractButton*>()) {
    if (button->isVisible() && !button->text().isEmpty() && button->width() < button->sizeHint().width()) {
      cut.push_back("button \"" + button->text().toStdString() + "\"");
    }
  }
  for (const QComboBox* box : dialog.findChildren<QComboBox*>()) {
    if (box->isVisible() && box->width() < box->sizeHint().width()) cut.push_back("list box " + box->objectName().toStdString());
  }
  for (const auto* view : dialog.findChildren<kvx::ui::qt::ListCtrlView*>()) {
    const auto* cells = static_cast<const QAbstractItemView*>(view);
    for (int column = 0; column < view->model()->columnCount(); ++column) {
      const int width = view->columnWidth(column);
      if (width < view->horizontalHeader()->sectionSizeHint(column) || width < cells->sizeHintForColumn(column)) {
        cut.push_back("column \"" + view->model()->headerData(column, Qt::Horizontal).toString().toStdString() + "\"");
      }
    }
  }
  return cut;
}

class DialogsInEveryLanguage : public kvx::test::ModuleFixture {
 protected:
  // Shows `dialog`, checks that no text of it is cut and leaves its screenshot.
  void Check(QWidget& dialog, const std::string& name, const std::string& language) {
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    for (const std::string& text : CutTexts(dialog)) ADD_FAILURE() << name << " (" << language << "): " << text << " is cut";
    kvx::test::SaveScreenshot(dialog, name + "-" + language);
  }
  kvx::test::NoMaterialDatabase noDatabase_;
  kvx::test::FakeFileDialog files_;
};

TEST_F(DialogsInEveryLanguage, NoTextIsCut) {
  for (const std::string& language : kvx::test::BuiltLanguages()) {
    SCOPED_TRACE(language);
    UseLocalizedLanguage(language);
    const kvx::platform::ResourceLibrary& library = *kvx::params::Module().localizedResources;
    kvx::platform::ResourceScope resources(&library);

    CKVXRecoMoldTolRule tolerances(nullptr);
    tolerances.AddMaterialConstraint(L"ABS", true, {{0, 3, 0.1, 0.002}, {3, 6, 0.12, 0.0025}});
    kvx::ui::CKVXRecoMoldTolDlg tolerancePresenter(&tolerances, files_);
    tolerancePresenter.SetUnitText(library.String(2000).value_or(L"mm"));
    kvx::ui::qt::RecoMoldTolDialog toleranceDialog(tolerancePresenter);
    Check(toleranceDialog, "RecoMoldTolDialog", language);

    CKVXIMMinRibClearanceRule clearance;
    kvx::ui::CKVXIMMinRibClearanceDlg clearancePresenter(&clearance,
                                                         library.PictureById(kvx::res::kRibClearanceRulePicture));
    kvx::ui::qt::MinRibClearanceDialog clearanceDialog(clearancePresenter);
    Check(clearanceDialog, "MinRibClearanceDialog", language);

    kvx::test::HandMadeRule rule;
    kvx::framework::gui::CKVXRuleDlgBase rulePresenter(rule, library.PictureById(kvx::res::kBossDraftRulePicture));
    RuleDialog ruleDialog(rulePresenter);
    Check(ruleDialog, "RuleDialog", language);
  }
}

}  // namespace
