// The framework's generic rule dialog without a toolkit: what it shows of a rule, and what OK writes back
// (only OK, and only when every field reads as a number).
#include <gtest/gtest.h>

#include "../support/ModuleFixture.h"
#include "RuleTestSupport.h"
#include "kvx/framework/gui/RuleDlgBase.h"

namespace {

using kvx::framework::gui::CKVXRuleDlgBase;
using kvx::test::HandMadeRule;

// The dialog's own texts come from the current resource library, which the module keeps current.
class EnglishCurrent {
  std::unique_ptr<kvx::platform::ResourceLibrary> library_ =
      kvx::platform::ResourceLibrary::Load(kvx::test::ResourceLibraryPath("english"));
  kvx::platform::ResourceScope scope_{library_.get()};
};

TEST(RuleDlgBase, ShowsEachParameterWithItsOperatorsValuesAndEnabledBox) {
  EnglishCurrent english;
  HandMadeRule rule;
  CKVXRuleDlgBase dialog(rule, {});
  ASSERT_EQ(dialog.Rows().size(), 3u);
  const auto& depth = dialog.Rows()[0];
  EXPECT_EQ(depth.operatorTexts, (std::vector<std::wstring>{L"<", L"<="}));
  EXPECT_EQ(depth.valueText, L"2.0");
  EXPECT_TRUE(depth.showEnabled) << "a rule with several limits switches each on and off";
  const auto& range = dialog.Rows()[1];
  EXPECT_EQ(range.name, L"Parameter 101") << "a parameter without a name";
  EXPECT_EQ(range.secondValueText, L"3.0");
  EXPECT_FALSE(range.enabled);
  const auto& note = dialog.Rows()[2];
  EXPECT_FALSE(note.editable) << "only numbers are edited here";
  EXPECT_EQ(note.operatorTexts, std::vector<std::wstring>{L"="}) << "no options: its operator is the only choice";

  HandMadeRule single(1);
  CKVXRuleDlgBase one(single, {});
  EXPECT_FALSE(one.Rows()[0].showEnabled);
  one.SetEnabled(0, false);
  ASSERT_TRUE(one.Accept());
  EXPECT_TRUE(single.FindParameterInArray(100)->bStatus) << "the flag is not touched where it is not shown";
}

TEST(RuleDlgBase, NothingReachesTheRuleBeforeOk) {
  HandMadeRule rule;
  CKVXRuleDlgBase dialog(rule, {});
  dialog.SelectOperator(0, 1);
  dialog.SetValueText(0, 0, L"2.5");
  dialog.SetEnabled(1, true);
  dialog.SelectSeverity(4);
  EXPECT_EQ(rule.Values(100), std::vector<double>{2.0});
  ASSERT_TRUE(dialog.Accept());
  EXPECT_EQ(rule.FindParameterInArray(100)->iOperator, KVX_OP_LESS_EQUAL);
  EXPECT_EQ(rule.Values(100), std::vector<double>{2.5});
  EXPECT_TRUE(rule.FindParameterInArray(101)->bStatus);
  EXPECT_EQ(rule.m_lRuleSeverity, 4);
}

TEST(RuleDlgBase, ARangeWritesBothValuesAndAnotherOperatorOnlyTheFirst) {
  HandMadeRule rule;
  CKVXRuleDlgBase dialog(rule, {});
  dialog.SetValueText(1, 0, L" 1.5 ");
  dialog.SetValueText(1, 1, L"4");
  ASSERT_TRUE(dialog.Accept());
  EXPECT_EQ(rule.Values(101), (std::vector<double>{1.5, 4.0}));
  CKVXRuleDlgBase again(rule, {});
  again.SelectOperator(1, 1);  // ">="
  again.SetValueText(1, 0, L"2");
  again.SetValueText(1, 1, L"not read");
  ASSERT_TRUE(again.Accept()) << "the hidden second field is not checked";
  EXPECT_EQ(rule.Values(101), (std::vector<double>{2.0, 4.0}));
}

TEST(RuleDlgBase, AFieldThatIsNoNumberRefusesOkAndChangesNothing) {
  EnglishCurrent english;
  kvx::test::MessageRecorder messages;
  HandMadeRule rule;
  CKVXRuleDlgBase dialog(rule, {});
  dialog.SelectSeverity(0);
  dialog.SetValueText(0, 0, L"3");
  dialog.SetValueText(1, 1, L"3,5");
  EXPECT_FALSE(dialog.Accept());
  ASSERT_EQ(messages.messages.size(), 1u);
  EXPECT_EQ(messages.messages[0].text, L"The value of \"Parameter 101\" is not a number.");
  EXPECT_EQ(rule.Values(100), std::vector<double>{2.0}) << "fields before the bad one are not written either";
  EXPECT_EQ(rule.m_lRuleSeverity, 2);
}

// Values that cannot make sense, or that the user's notation would turn into another number, refuse OK with
// a message and write nothing; the user's decimal separator is read as such.
TEST(RuleDlgBase, OkTakesOnlyValuesThatMeanWhatWasTyped) {
  struct Case {
    size_t row;
    int field;
    const wchar_t* text;
    const wchar_t* separator;
    std::vector<double> written;  // the row's values after OK; empty: OK refused
  };
  const Case cases[] = {
      {0, 0, L"-0.5", L".", {}},             // a negative ratio
      {1, 0, L"3.5", L".", {}},              // a range whose lower value is above its upper one
      {0, 0, L"1,5", L".", {}},              // a comma where the user writes a point: not 15, not 1
      {0, 0, L"1,5", L",", {1.5}},           // the German notation
      {0, 0, L"1.25", L",", {1.25}},         // a point is always understood
      {1, 1, L"2,5", L",", {1.0, 2.5}},
  };
  for (const Case& c : cases) {
    kvx::test::MessageRecorder messages;
    HandMadeRule rule;
    CKVXRuleDlgBase dialog(rule, {}, c.separator);
    dialog.SetValueText(c.row, c.field, c.text);
    const long id = c.row == 0 ? 100 : 101;
    const std::vector<double> before = rule.Values(id);
    EXPECT_EQ(dialog.Accept(), !c.written.empty()) << kvx::platform::Narrow(c.text);
    EXPECT_EQ(messages.messages.size(), c.written.empty() ? 1u : 0u) << kvx::platform::Narrow(c.text);
    EXPECT_EQ(rule.Values(id), c.written.empty() ? before : c.written) << kvx::platform::Narrow(c.text);
  }
}

// A rule with a "Default" material entry is shown with the entry's values and unit; OK writes the edit into
// the entry and the rule's own parameter alike, and leaves untouched rows exactly as they were.
TEST(RuleDlgBase, ARuleWithADefaultEntryIsEditedThroughIt) {
  HandMadeRule rule;
  auto entry = rule.CreateConstraintObject(1, L"default", false);
  for (long id : {100L, 101L}) {
    auto parameter = rule.CreateParamStorageObject(KVX_TYPE_DOUBLE, id, KVX_OP_LESS, 1, true, false);
    parameter->CopyDefinitionFrom(*rule.FindParameterInArray(id));
    *parameter->GetDoubleValues() = id == 100 ? std::vector<double>{0.5} : std::vector<double>{0.1, 0.2};
    parameter->csUnit = L"in";
    entry->AddParameter(std::move(parameter));
  }
  rule.AddConstraint(std::move(entry));
  CKVXRuleDlgBase dialog(rule, {});
  EXPECT_EQ(dialog.Rows()[0].valueText, L"0.5");
  EXPECT_EQ(dialog.Rows()[1].unit, L"in") << "the unit the shown values are in";
  dialog.SetValueText(0, 0, L"0.75");
  ASSERT_TRUE(dialog.Accept());
  EXPECT_EQ(rule.Values(100), std::vector<double>{0.75});
  EXPECT_EQ(*rule.FindParameterInConstraintArray(L"Default", 100)->GetDoubleValues(), std::vector<double>{0.75});
  EXPECT_EQ(rule.FindParameterInArray(100)->csUnit, L"in");
  EXPECT_EQ(rule.Values(101), (std::vector<double>{1.0, 3.0})) << "an untouched row is not written";
}

TEST(RuleDlgBase, EmptyFieldsAndAnUnknownSeverityAreKeptAsTheyWere) {
  HandMadeRule rule;
  rule.Values(100).clear();
  rule.m_lRuleSeverity = 9;
  CKVXRuleDlgBase dialog(rule, {});
  EXPECT_EQ(dialog.Rows()[0].valueText, L"");
  EXPECT_EQ(dialog.SelectedSeverity(), -1);
  ASSERT_TRUE(dialog.Accept()) << "accepted untouched";
  EXPECT_TRUE(rule.Values(100).empty());
  EXPECT_EQ(rule.m_lRuleSeverity, 9);
}

TEST(RuleDlgBase, ValuesAreReadAndWrittenWithAPointUnlessTheUserSaysOtherwise) {
  double value = 0.0;
  EXPECT_TRUE(CKVXRuleDlgBase::ParseValue(L"-1e-3", value));
  EXPECT_DOUBLE_EQ(value, -0.001);
  for (const wchar_t* text : {L"", L"2,5", L"2.5mm", L"nan", L"inf", L"1e999"}) {
    EXPECT_FALSE(CKVXRuleDlgBase::ParseValue(text, value)) << kvx::platform::Narrow(text);
  }
  EXPECT_EQ(CKVXRuleDlgBase::ValueToText(3.0), L"3.0");
  EXPECT_EQ(CKVXRuleDlgBase::ValueToText(1e-9), L"1e-09");
}

}  // namespace
