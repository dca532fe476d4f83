// The Qt views of the rib clearance dialog and of the framework's generic rule dialog, offscreen, and the
// rule picture they show. Each test leaves a screenshot.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QTimer>
#include <QLineEdit>
#include <QTest>
#include <string>

#include "../support/ModuleFixture.h"
#include "RuleTestSupport.h"
#include "ViewTestSupport.h"
#include "kvx/framework/gui/PictureControl.h"
#include "kvx/framework/gui/QtUiServices.h"
#include "kvx/framework/gui/RuleDialog.h"
#include "kvx/framework/gui/RuleDlgBase.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/rules/CKVXIMHoleDepthToDiaRule.h"
#include "kvx/rules/CKVXIMMinRibClearanceRule.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/ui/qt/MinRibClearanceDialog.h"
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

TEST_F(MinRibClearanceDialogTest, EditsValueOperatorAndSeverityOnOk) {
  CKVXIMMinRibClearanceRule rule;
  kvx::ui::CKVXIMMinRibClearanceDlg presenter(&rule, Drawing());
  kvx::ui::qt::MinRibClearanceDialog dialog(presenter);
  dialog.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  EXPECT_EQ(dialog.OperatorBox()->currentText(), QStringLiteral(">="));

  dialog.ValueEdit()->clear();
  QTest::keyClicks(dialog.ValueEdit(), "a4.5");
  EXPECT_EQ(dialog.ValueEdit()->text(), QStringLiteral("4.5")) << "the numeric box takes no letters";
  dialog.OperatorBox()->setCurrentIndex(0);
  dialog.SeverityBox()->setCurrentIndex(4);
  kvx::test::SaveScreenshot(dialog, "MinRibClearanceDialog-" + TestName());
  QTest::mouseClick(kvx::test::OkButton(dialog), Qt::LeftButton);
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  EXPECT_EQ(*kvx::params::DoubleValues(rule.FindParameterInArray(2061)), std::vector<double>{4.5});
  EXPECT_EQ(rule.FindParameterInArray(2061)->iOperator, KVX_OP_GREATER);
  EXPECT_EQ(rule.m_lRuleSeverity, 4);
}

TEST_F(MinRibClearanceDialogTest, EditRuleOpensItWithTheRulesPicture) {
  kvx::ui::qt::RuleDialogService dialogs(kvx::params::Module(), L"english");
  CKVXIMMinRibClearanceRule rule;
  rule.SetDialogService(&dialogs);
  bool drawing = false;
  QTimer::singleShot(0, [&] {
    auto* dialog = qobject_cast<kvx::ui::qt::MinRibClearanceDialog*>(QApplication::activeModalWidget());
    ASSERT_NE(dialog, nullptr);
    drawing = dialog->Picture()->HasDrawing();
    dialog->ValueEdit()->setText(QStringLiteral("2.5"));
    kvx::test::SaveScreenshot(*dialog, "MinRibClearanceDialog-" + TestName());
    dialog->accept();
  });
  rule.EditRule();
  EXPECT_EQ(rule.LastDialogResult(), KVX_IDOK);
  EXPECT_TRUE(drawing);
  EXPECT_EQ(*kvx::params::DoubleValues(rule.FindParameterInArray(2061)), std::vector<double>{2.5});
  EXPECT_NE(rule.m_csSummary.find(L"2.5"), std::wstring::npos) << "the summary is rebuilt after the dialog";
}

class RuleDialogTest : public ::testing::Test {
 protected:
  void Show(RuleDialog& dialog) {
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  }
  kvx::test::MessageRecorder messages_;
};

TEST_F(RuleDialogTest, ShowsEveryParameterAndWritesTheEditsOnOk) {
  HandMadeRule rule;
  kvx::framework::gui::CKVXRuleDlgBase presenter(rule, Drawing());
  RuleDialog dialog(presenter);
  Show(dialog);
  EXPECT_EQ(dialog.ValueEdit(0, 0)->text(), QStringLiteral("2.0"));
  EXPECT_FALSE(dialog.ValueEdit(0, 1)->isVisible()) << "one value unless the operator is a range";
  EXPECT_TRUE(dialog.ValueEdit(1, 1)->isVisible());
  EXPECT_FALSE(dialog.ValueEdit(2, 0)->isEnabled()) << "a text parameter is shown, not edited";
  dialog.OperatorBox(1)->setCurrentIndex(2);  // "<="
  EXPECT_FALSE(dialog.ValueEdit(1, 1)->isVisible());
  dialog.ValueEdit(0, 0)->selectAll();
  QTest::keyClicks(dialog.ValueEdit(0, 0), "2.75");
  dialog.EnabledBox(1)->setChecked(true);
  dialog.SeverityBox()->setCurrentIndex(0);
  kvx::test::SaveScreenshot(dialog, "RuleDialog-" + TestName());
  QTest::mouseClick(kvx::test::OkButton(dialog), Qt::LeftButton);
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  EXPECT_EQ(rule.Values(100), std::vector<double>{2.75});
  EXPECT_EQ(rule.FindParameterInArray(101)->iOperator, KVX_OP_LESS_EQUAL);
  EXPECT_TRUE(rule.FindParameterInArray(101)->bStatus);
}

TEST_F(RuleDialogTest, ANumberItCannotReadKeepsTheDialogOpen) {
  HandMadeRule rule(1);
  kvx::framework::gui::CKVXRuleDlgBase presenter(rule, {});
  RuleDialog dialog(presenter);
  Show(dialog);
  dialog.ValueEdit(0, 0)->selectAll();
  QTest::keyClicks(dialog.ValueEdit(0, 0), "2,5");
  QTest::mouseClick(kvx::test::OkButton(dialog), Qt::LeftButton);
  EXPECT_TRUE(dialog.isVisible());
  EXPECT_EQ(dialog.ValueEdit(0, 0)->text(), QStringLiteral("2,5"));
  kvx::test::SaveScreenshot(dialog, "RuleDialog-" + TestName());
  EXPECT_EQ(rule.Values(100), std::vector<double>{2.0});
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

}  // namespace
