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

TEST(RuleDlgBase, ShowsEachParameterWithItsOperatorsValuesAndEnabledBoxAndKeepsWhatIsEmpty) {
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

  // Empty fields and an unknown severity are kept as they were.
  rule.Values(100).clear();
  rule.m_lRuleSeverity = 9;
  CKVXRuleDlgBase untouched(rule, {});
  EXPECT_EQ(untouched.Rows()[0].valueText, L"");
  EXPECT_EQ(untouched.SelectedSeverity(), -1);
  ASSERT_TRUE(untouched.Accept()) << "accepted untouched";
  EXPECT_TRUE(rule.Values(100).empty());
  EXPECT_EQ(rule.m_lRuleSeverity, 9);
}

// Values that cannot make sense, or that the user's notation would turn into another number, refuse OK with
// one message and write nothing, not even the fields before the bad one; the user's decimal separator is
// read as such.
TEST(RuleDlgBase, OkTakesOnlyValuesThatMeanWhatWasTyped) {
  EnglishCurrent english;
  using Typed = std::tuple<size_t, int, const wchar_t*>;  // row, field, text
  struct Case {
    std::vector<Typed> typed;
    const wchar_t* separator;
    std::vector<double> written;  // the last typed row's values after OK; empty: OK refused
  };
  const Case cases[] = {
      {{{0, 0, L"-0.5"}}, L".", {}},                        // a negative ratio
      {{{1, 0, L"3.5"}}, L".", {}},                         // a range whose lower value is above its upper one
      {{{0, 0, L"1,5"}}, L".", {}},                         // a comma where the user writes a point: not 15, not 1
      {{{0, 0, L"3"}, {1, 1, L"3,5"}}, L".", {}},
      {{{0, 0, L"1,5"}}, L",", {1.5}},                      // the German notation
      {{{0, 0, L"1.25"}}, L",", {1.25}},                    // a point is always understood
      {{{1, 1, L"2,5"}}, L",", {1.0, 2.5}},
      {{{1, 0, L" 1.5 "}, {1, 1, L"4"}}, L".", {1.5, 4.0}},  // a range writes both values
  };
  for (const Case& c : cases) {
    kvx::test::MessageRecorder messages;
    HandMadeRule rule;
    CKVXRuleDlgBase dialog(rule, {}, c.separator);
    dialog.SelectSeverity(0);
    for (const auto& [row, field, text] : c.typed) dialog.SetValueText(row, field, text);
    const std::string trace = kvx::platform::Narrow(std::get<2>(c.typed.back()));
    const long id = std::get<0>(c.typed.back()) == 0 ? 100 : 101;
    const std::vector<double> before = rule.Values(id);
    EXPECT_EQ(dialog.Accept(), !c.written.empty()) << trace;
    EXPECT_EQ(messages.messages.size(), c.written.empty() ? 1u : 0u) << trace;
    EXPECT_EQ(rule.Values(id), c.written.empty() ? before : c.written) << trace;
    if (!c.written.empty()) continue;
    EXPECT_EQ(rule.Values(100), std::vector<double>{2.0}) << trace;
    EXPECT_EQ(rule.m_lRuleSeverity, 2) << trace;
    if (trace == "3,5") {
      EXPECT_EQ(messages.messages[0].text, L"The value of \"Parameter 101\" is not a number.");
    }
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
