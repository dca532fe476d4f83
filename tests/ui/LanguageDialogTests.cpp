// The tolerance dialog, the rib clearance dialog and the generic rule dialog in every language, offscreen:
// no text is wider than the widget that shows it (the headers and cells of the lists included), and each
// dialog leaves a screenshot per language.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QTest>

#include "../support/LanguageList.h"
#include "../support/ModuleFixture.h"
#include "RuleTestSupport.h"
#include "ViewTestSupport.h"
#include "kvx/framework/gui/RuleDialog.h"
#include "kvx/framework/gui/RuleDlgBase.h"
#include "kvx/res/PictureIds.h"
#include "kvx/rules/CKVXIMMinRibClearanceRule.h"
#include "kvx/ui/qt/ListCtrlView.h"
#include "kvx/ui/qt/MinRibClearanceDialog.h"
#include "kvx/ui/qt/RecoMoldTolDialog.h"

namespace {

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
