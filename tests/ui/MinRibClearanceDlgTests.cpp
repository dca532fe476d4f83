// The rib clearance dialog without a toolkit: what it shows of the rule, and OK in its fixed order
// (severity, operator, value), with empty selections reset rather than taken.
#include <gtest/gtest.h>

#include <tuple>

#include "../support/ModuleFixture.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/rules/CKVXIMMinRibClearanceRule.h"
#include "kvx/ui/MinRibClearanceDlg.h"

namespace {

using kvx::ui::CKVXIMMinRibClearanceDlg;

// Opens the dialog on the rule and remembers what it set in its combo boxes.
class MinRibClearanceDlgTest : public kvx::test::ModuleFixture, public kvx::ui::IMinRibClearanceDlgView {
 protected:
  void SetUp() override {
    ModuleFixture::SetUp();
    rule_ = std::make_unique<CKVXIMMinRibClearanceRule>();  // the rule needs the module context
  }
  void ShowOperator(int index) override { shownOperator_ = index; }
  void ShowSeverity(int index) override { shownSeverity_ = index; }
  CKvxParamStorage& Parameter() { return *rule_->FindParameterInArray(2061); }
  std::vector<double>& Values() { return *kvx::params::DoubleValues(&Parameter()); }
  CKVXIMMinRibClearanceDlg Opened(const std::wstring& separator = kvx::platform::UserDecimalSeparator()) {
    CKVXIMMinRibClearanceDlg dialog(rule_.get(), kvx::platform::Picture{"svg", {'x'}}, separator);
    dialog.SetView(this);
    dialog.Open();
    return dialog;
  }
  std::unique_ptr<CKVXIMMinRibClearanceRule> rule_;
  int shownOperator_ = -2;
  int shownSeverity_ = -2;
};

TEST_F(MinRibClearanceDlgTest, OpeningShowsTheValueTheOperatorAndTheSeverity) {
  CKVXIMMinRibClearanceDlg dialog = Opened();
  EXPECT_EQ(dialog.OperatorTexts(), (std::vector<std::wstring>{L">", L">="}));
  EXPECT_EQ(dialog.SelectedOperator(), 1) << "the new rule's >=";
  EXPECT_EQ(dialog.ValueText(), L"3.0");
  EXPECT_EQ(dialog.SelectedSeverity(), 2);
  EXPECT_EQ(std::tie(shownOperator_, shownSeverity_), std::tuple(1, 2));
  Parameter().iOperator = KVX_OP_LESS;
  EXPECT_EQ(Opened().SelectedOperator(), -1) << "an operator without text in the list selects nothing";

  rule_->ClearParameterArray();  // without the parameter or the rule nothing is filled or written
  CKVXIMMinRibClearanceDlg bare = Opened();
  EXPECT_EQ(bare.OperatorTexts().size(), 2u) << "the lists are filled all the same";
  EXPECT_EQ(bare.SelectedSeverity(), -1);
  EXPECT_EQ(bare.ValueText(), L"");
  bare.SelectSeverity(0);
  bare.OnOK();
  EXPECT_EQ(rule_->m_lRuleSeverity, 2) << "OK changes nothing without the parameter";
  CKVXIMMinRibClearanceDlg none(nullptr, {});
  none.Open();
  none.OnOK();
  EXPECT_TRUE(none.OperatorTexts().empty());
}

// OK takes severity, operator and value in that order, with no range check; empty selections are reset
// to the rule's own rather than taken. "1,5" is 1.5 in German, never 15 or 1; a comma where the user writes
// a point is refused.
TEST_F(MinRibClearanceDlgTest, OkTakesSeverityOperatorAndValueWithoutARangeCheck) {
  CKVXIMMinRibClearanceDlg dialog = Opened();
  dialog.SelectSeverity(-1);
  dialog.SelectOperator(-1);
  shownOperator_ = shownSeverity_ = -2;
  dialog.OnOK();
  EXPECT_EQ(rule_->m_lRuleSeverity, 2);
  EXPECT_EQ(Parameter().iOperator, KVX_OP_GREATER_EQUAL);
  EXPECT_EQ(std::tie(shownOperator_, shownSeverity_), std::tuple(1, 2));

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

  const std::tuple<const wchar_t*, const wchar_t*, bool> texts[] = {
      {L"12.5", L".", true}, {L"-1", L".", false}, {L"1,5", L".", false}, {L"1.5,", L",", false}, {L"1,5", L",", true}};
  for (const auto& [text, separator, accepted] : texts) {
    EXPECT_EQ(CKVXIMMinRibClearanceDlg::AcceptsValueText(text, separator), accepted) << text << separator;
  }
  CKVXIMMinRibClearanceDlg german = Opened(L",");
  german.SetValueText(L"1,5");
  german.OnOK();
  EXPECT_EQ(Values(), std::vector<double>{1.5});
}

}  // namespace
