// The rib clearance dialog without a toolkit: what it shows of the rule, and OK in its fixed order
// (severity, operator, value), with empty selections reset rather than taken.
#include <gtest/gtest.h>

#include <memory>

#include "../support/ModuleFixture.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/res/StringIds.h"
#include "kvx/rules/CKVXIMMinRibClearanceRule.h"
#include "kvx/ui/MinRibClearanceDlg.h"

namespace {

using kvx::ui::CKVXIMMinRibClearanceDlg;

// Remembers what the dialog set in its combo boxes.
class ViewRecorder final : public kvx::ui::IMinRibClearanceDlgView {
 public:
  void ShowOperator(int index) override { shownOperator = index; }
  void ShowSeverity(int index) override { shownSeverity = index; }
  int shownOperator = -2;
  int shownSeverity = -2;
};

class MinRibClearanceDlgTest : public kvx::test::ModuleFixture {
 protected:
  void SetUp() override {
    ModuleFixture::SetUp();
    rule_ = std::make_unique<CKVXIMMinRibClearanceRule>();  // the rule needs the module context
  }
  CKvxParamStorage& Parameter() { return *rule_->FindParameterInArray(2061); }
  std::vector<double>& Values() { return *kvx::params::DoubleValues(&Parameter()); }
  CKVXIMMinRibClearanceDlg Opened() {
    CKVXIMMinRibClearanceDlg dialog(rule_.get(), kvx::platform::Picture{"svg", {'x'}});
    dialog.SetView(&view_);
    dialog.Open();
    return dialog;
  }
  std::unique_ptr<CKVXIMMinRibClearanceRule> rule_;
  ViewRecorder view_;
};

TEST_F(MinRibClearanceDlgTest, OpeningShowsTheValueTheOperatorAndTheSeverity) {
  CKVXIMMinRibClearanceDlg dialog = Opened();
  EXPECT_EQ(dialog.OperatorTexts(), (std::vector<std::wstring>{L">", L">="}));
  EXPECT_EQ(dialog.SelectedOperator(), 1) << "the new rule's >=";
  EXPECT_EQ(dialog.ValueText(), L"3.0");
  EXPECT_EQ(dialog.SelectedSeverity(), 2);
  EXPECT_EQ(view_.shownOperator, 1);
  EXPECT_EQ(view_.shownSeverity, 2);
  Parameter().iOperator = KVX_OP_LESS;
  EXPECT_EQ(Opened().SelectedOperator(), -1) << "an operator without text in the list selects nothing";
}

TEST_F(MinRibClearanceDlgTest, WithoutTheParameterOrTheRuleNothingIsFilledOrWritten) {
  rule_->ClearParameterArray();
  CKVXIMMinRibClearanceDlg dialog = Opened();
  EXPECT_EQ(dialog.OperatorTexts().size(), 2u) << "the lists are filled all the same";
  EXPECT_EQ(dialog.SelectedSeverity(), -1);
  EXPECT_EQ(dialog.ValueText(), L"");
  dialog.SelectSeverity(0);
  dialog.OnOK();
  EXPECT_EQ(rule_->m_lRuleSeverity, 2) << "OK changes nothing without the parameter";
  CKVXIMMinRibClearanceDlg none(nullptr, {});
  none.Open();
  none.OnOK();
  EXPECT_TRUE(none.OperatorTexts().empty());
}

TEST_F(MinRibClearanceDlgTest, OkTakesSeverityOperatorAndValueWithoutARangeCheck) {
  CKVXIMMinRibClearanceDlg dialog = Opened();
  dialog.SelectSeverity(4);
  dialog.SelectOperator(0);
  dialog.SetValueText(L"0");
  EXPECT_EQ(Values(), std::vector<double>{3.0}) << "nothing reaches the rule before OK";
  dialog.OnOK();
  EXPECT_EQ(rule_->m_lRuleSeverity, 4);
  EXPECT_EQ(Parameter().iOperator, KVX_OP_GREATER);
  EXPECT_EQ(Values(), std::vector<double>{0.0}) << "zero is allowed";
  Values().clear();
  Opened().OnOK();
  EXPECT_EQ(Values(), std::vector<double>{0.0}) << "appended to an empty list";
  EXPECT_TRUE(CKVXIMMinRibClearanceDlg::AcceptsValueText(L"12.5", L"."));
  EXPECT_FALSE(CKVXIMMinRibClearanceDlg::AcceptsValueText(L"-1", L"."));
  EXPECT_FALSE(CKVXIMMinRibClearanceDlg::AcceptsValueText(L"1,5", L".")) << "a comma where the user writes a point";
  EXPECT_FALSE(CKVXIMMinRibClearanceDlg::AcceptsValueText(L"1.5,", L","));

  CKVXIMMinRibClearanceDlg german(rule_.get(), {}, L",");  // "1,5" is 1.5 in German, never 15 or 1
  german.Open();
  ASSERT_TRUE(CKVXIMMinRibClearanceDlg::AcceptsValueText(L"1,5", L","));
  german.SetValueText(L"1,5");
  german.OnOK();
  EXPECT_EQ(Values(), std::vector<double>{1.5});
}

TEST_F(MinRibClearanceDlgTest, EmptySelectionsAreResetToTheRulesOwn) {
  CKVXIMMinRibClearanceDlg dialog = Opened();
  dialog.SelectSeverity(-1);
  dialog.SelectOperator(-1);
  view_ = ViewRecorder();
  dialog.OnOK();
  EXPECT_EQ(rule_->m_lRuleSeverity, 2);
  EXPECT_EQ(Parameter().iOperator, KVX_OP_GREATER_EQUAL);
  EXPECT_EQ(view_.shownSeverity, 2);
  EXPECT_EQ(view_.shownOperator, 1);
}

}  // namespace
