// Value, unit and text utilities: operator words, the rounding and number texts with their kept quirks,
// code-to-text lookups through the resource library, probes and checked resource formatting; and the
// parameter utilities: the legacy value layout, unit codes read from the rule document, range-limit
// conversion and the database directory check.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <filesystem>
#include <fstream>
#include <tuple>

#include "../support/ModuleFixture.h"
#include "../support/ScopedEnv.h"
#include "kvx/framework/KvxUnitConvertor.h"
#include "kvx/params/ParamUtils.h"
#include "kvx/params/ResourceText.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Locale.h"
#include "kvx/res/StringIds.h"

namespace {
namespace fs = std::filesystem;
using namespace kvx::params;
using kvx::platform::Narrow;
using kvx::test::ScopedEnv;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A fresh folder for one test, removed afterwards.
struct ScratchFolder {
  ScratchFolder() {
    fs::remove_all(path);
    fs::create_directories(path);
  }
  ~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
  std::wstring operator/(const std::string& name) const { return kvx::platform::Widen((path / name).string()); }
  std::wstring Path() const { return kvx::platform::Widen(path.string()); }
  const char* base = std::getenv("KVX_TEST_OUTPUT");
  fs::path path = fs::path(base ? base : fs::temp_directory_path().string()) /
                  ("utilities-" + std::to_string(::getpid()) + "-" +
                   ::testing::UnitTest::GetInstance()->current_test_info()->name());
};

std::unique_ptr<CDoubleParamStorage> Doubles(std::vector<double> values, bool status = true) {
  auto parameter = std::make_unique<CDoubleParamStorage>(2468, KVX_OP_LESS_EQUAL, 8, true, false);
  parameter->Values() = std::move(values);
  parameter->bStatus = status;
  return parameter;
}

// --- operators and numbers ------------------------------------------------------------------------------

TEST(OperatorWords, MapBothWaysAndNothingElse) {
  const std::pair<int, const wchar_t*> table[] = {{1, L"RANGE"}, {3, L"="}, {5, L"<"}, {6, L">"}, {7, L">="}, {8, L"<="}};
  for (const auto& [code, word] : table) {
    EXPECT_EQ(OperatorToText(code), word);
    EXPECT_EQ(TextToOperator(word), code);
  }
  for (int code : {0, 2, 4, 9, -1}) EXPECT_EQ(OperatorToText(code), L"") << code;
  EXPECT_EQ(TextToOperator(L"Range"), 1);
  for (const wchar_t* text : {L"=>", L"=<", L"", L" <", L"<>", L"RANGES", L"=="}) EXPECT_EQ(TextToOperator(text), 0);
}

TEST(Numbers, RoundingCutsAtSixTenthsAndAddsATenBillionth) {
  const std::tuple<double, int, double> cases[] = {{0.15, 1, 0.1}, {0.16, 1, 0.2}, {1.25, 1, 1.2}, {1.26, 1, 1.3},
                                                   {2.5, 0, 2.0},  {2.6, 0, 3.0},  {1.2345, 2, 1.23}, {0.0, 3, 0.0}};
  for (const auto& [value, digits, rounded] : cases) EXPECT_DOUBLE_EQ(RoundTo(value, digits), rounded + 1e-10) << value;
  EXPECT_NE(RoundTo(0.0, 3), 0.0) << "the guard is added even to an exact value";
}

TEST(Numbers, ShortTextAndTrimmingKeepOneZeroAfterTheSeparator) {
  ASSERT_EQ(kvx::platform::UserDecimalSeparator(), L".") << "these cases assume the C locale";
  const std::pair<double, const wchar_t*> shorts[] = {{2.5, L"2.5"}, {100.0, L"100.0"}, {0.0, L"0.0"}, {-1.5, L"-1.5"},
                                                      {1.23456789, L"1.234568"}, {0.0000001, L"0.0"}};
  for (const auto& [value, text] : shorts) EXPECT_EQ(DoubleToShortText(value), text) << value;
  // Trimming removes every trailing zero, even without a separator.
  const std::pair<std::wstring, std::wstring> trims[] = {
      {L"2.500", L"2.5"}, {L"3.", L"3.0"}, {L"100", L"1"}, {L"0", L""}, {L"0.0", L"0.0"}, {L"12.05", L"12.05"}};
  for (auto [text, expected] : trims) {
    TrimNumberText(text);
    EXPECT_EQ(text, expected);
  }
}

// Numeric means only digits and dots; ToDouble reads the leading unsigned span.
TEST(Numbers, NumericTextsAndToDouble) {
  for (const wchar_t* text : {L"", L"12", L".", L"1.2.3"}) EXPECT_TRUE(IsNumeric(text)) << Narrow(text);
  for (const wchar_t* text : {L"-1", L"1e5", L"+2", L" 1", L"1,5"}) EXPECT_FALSE(IsNumeric(text)) << Narrow(text);
  const std::pair<const wchar_t*, double> cases[] = {{L" 7.5 ", 7.5}, {L"\t4\r\n", 4.0}, {L"-3", 0.0}, {L"+3", 0.0},
                                                     {L"12abc", 12.0}, {L"1.2.3", 1.2},  {L"1e5", 1.0}, {L"   ", 0.0}};
  for (const auto& [text, value] : cases) EXPECT_EQ(ToDouble(text), value) << Narrow(text);
}

// A host with a toolkit switches the C library to the user's locale, where the decimal separator may be
// a comma; saved values and typed texts still use ".". Builds a German locale when the system has none.
TEST(Numbers, ToDoubleIgnoresTheProcessLocale) {
  const std::string saved = std::setlocale(LC_NUMERIC, nullptr);
  if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8")) {
    const char* base = std::getenv("KVX_TEST_OUTPUT");
    const std::string folder = std::string(base ? base : "/tmp") + "/locales";
    const std::string make = "mkdir -p '" + folder + "' && localedef -i de_DE -f UTF-8 '" + folder +
                             "/de_DE.UTF-8' >/dev/null 2>&1";
    if (fs::exists(folder + "/de_DE.UTF-8") || std::system(make.c_str()) == 0) {
      ScopedEnv path("LOCPATH", folder.c_str());
      std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    }
  }
  const bool comma = std::localeconv()->decimal_point == std::string(",");
  const double dot = ToDouble(L"7.5"), other = ToDouble(L"7,5");
  std::setlocale(LC_NUMERIC, saved.c_str());
  if (!comma) GTEST_SKIP() << "no locale with a decimal comma could be made";
  EXPECT_EQ(dot, 7.5);
  EXPECT_EQ(other, 7.0);
}

TEST(Numbers, JoinAndSplit) {
  EXPECT_EQ(JoinTexts({}), L"");
  EXPECT_EQ(JoinTexts({L"2.50", L"007", L"1e2", L"0.1234567", L"1234567"}), L"2.5;7;100;0.123457;1.23457e+06;");
  // A text that is not wholly a number stays as it stands.
  EXPECT_EQ(JoinTexts({L"abc", L"3 ", L"4mm", L""}), L"abc;3 ;4mm;;");

  std::vector<std::wstring> tokens{L"kept"};
  SplitText(L"a;b,c", L";,", tokens);
  EXPECT_THAT(tokens, ElementsAre(L"kept", L"a", L"b", L"c"));
  std::vector<std::wstring> skipped;
  SplitText(L";;;", L";", skipped);
  SplitText(L";1;;2;", L";", skipped);
  EXPECT_THAT(skipped, ElementsAre(L"1", L"2")) << "runs of delimiters count as one, as the tokenizer does";
}

TEST(FormatText, FillsAMatchingFormatAndShowsAWrongOneReadably) {
  EXPECT_EQ(FormatText(L"%s > %s %s", std::wstring(L"H"), std::wstring(L"2.5"), std::wstring(L"mm")), L"H > 2.5 mm");
  EXPECT_EQ(FormatText(L"100%% done"), L"100% done");
  const std::wstring value = L"2.5";
  EXPECT_EQ(FormatText(L"Depth %d mm", value), L"Depth %d mm (2.5)");
  EXPECT_EQ(FormatText(L"%s of %s", value), L"%s of %s (2.5)") << "too few arguments";
  EXPECT_EQ(FormatText(L"Value %", value), L"Value % (2.5)") << "a format cut short";
  EXPECT_EQ(FormatText(L"%n%n%n", value, std::wstring(L"x")), L"%n%n%n (2.5, x)");
}

// --- parameters -------------------------------------------------------------------------------------------

TEST(ParamUtils, OnlyTwoOrThreeLegacyDoublesCarryTheStatusInFrontAndRangesConvert) {
  struct Case { std::vector<double> values; bool before; bool after; std::vector<double> left; };
  const Case cases[] = {{{1.0, 5.0}, false, true, {5.0}},
                        {{0.0, 2.0, 3.0}, true, false, {2.0, 3.0}},
                        {{0.999, 2.0}, true, false, {2.0}},  // only exactly 1.0 means on
                        {{}, true, true, {}},
                        {{0.0}, true, true, {0.0}},
                        {{0.0, 1.0, 2.0, 3.0}, true, true, {0.0, 1.0, 2.0, 3.0}}};
  for (const Case& each : cases) {
    auto parameter = Doubles(each.values, each.before);
    NormaliseLegacyValues(parameter.get());
    EXPECT_EQ(parameter->bStatus, each.after);
    EXPECT_EQ(parameter->Values(), each.left);
  }
  CTypedParamStorage<KVX_TYPE_INT> ints(1, KVX_OP_EQUAL, 8, true, false);
  ints.Values() = {0, 7};
  NormaliseLegacyValues(&ints);
  EXPECT_TRUE(ints.bStatus) << "other value types are left alone";
  EXPECT_THAT(ints.Values(), ElementsAre(0, 7));
  NormaliseLegacyValues(nullptr);

  // Range limits convert through the framework's convertor; values are the rule's business.
  auto parameter = Doubles({2.0});
  parameter->dRangeMin = 25.4;
  parameter->dRangeMax = 254.0;
  ConvertRangeLimits(parameter.get(), KVX_QUANTITY_LENGTH, KVX_UNIT_MM, KVX_UNIT_INCH);
  EXPECT_NEAR(parameter->dRangeMin, 1.0, 1e-12);
  EXPECT_NEAR(parameter->dRangeMax, 10.0, 1e-12);
  EXPECT_THAT(parameter->Values(), ElementsAre(2.0));
  ConvertRangeLimits(nullptr, KVX_QUANTITY_LENGTH, KVX_UNIT_MM, KVX_UNIT_INCH);
}

// --- lookups and checks against the resource library -----------------------------------------------------

class ResourceLookups : public kvx::test::ModuleFixture {};

TEST_F(ResourceLookups, UnitTextsSkipTheUnusedCodesAndSeveritiesMapBothWays) {
  EXPECT_EQ(LengthUnitText(0), L"mm");
  EXPECT_EQ(LengthUnitText(6), En(kvx::res::kUnitAngstrom)) << "code 5 is a gap";
  EXPECT_EQ(LengthUnitText(10), L"\u00b5in");
  for (int code : {5, 11, -1}) EXPECT_EQ(LengthUnitText(code), L"") << code;
  EXPECT_EQ(AngleUnitText(3), En(kvx::res::kUnitDegreeMinuteSecond));
  for (int code : {4, -1}) EXPECT_EQ(AngleUnitText(code), L"") << code;

  EXPECT_THAT(SeverityNames(), ElementsAre(L"Very Low", L"Low", L"Medium", L"High", L"Very High"));
  EXPECT_EQ(SeverityNameToIndex(L"Very High"), 5);
  EXPECT_EQ(SeverityNameToIndex(L"very high"), 0) << "compared with case";
  for (int index : {0, 1, 5, 6}) EXPECT_EQ(SeverityIndexToCode(index), index >= 1 && index <= 5 ? index - 1 : -1);
  EXPECT_EQ(SeverityCodeToName(5), L"");
}

TEST_F(ResourceLookups, TextsComeFromTheShownLanguageAndTheCurrentLibraryIsRestored) {
  UseLocalizedLanguage("german");
  const kvx::platform::ResourceLibrary* before = kvx::platform::SetCurrentResourceLibrary(english_.get());
  EXPECT_EQ(AngleUnitText(0), L"Grad");
  EXPECT_EQ(SeverityNameToIndex(L"Mittel"), 3);
  EXPECT_EQ(SeverityNameToIndex(En(kvx::res::kSeverityMedium)), 0) << "the English name is not the shown one";
  EXPECT_EQ(kvx::platform::CurrentResourceLibrary(), english_.get());
  kvx::platform::SetCurrentResourceLibrary(before);
}

TEST_F(ResourceLookups, OnlyTheFirstCharacterOfTheRuleSetsUnitAttributeCounts) {
  const std::pair<const char*, int> cases[] = {{"3", 3}, {"12", 1}, {"x", 0}, {"", 0}, {"-1", 0}, {" 4", 0}};
  for (const auto& [text, code] : cases) {
    const auto rule = LoadRule(std::string("<RuleSet Unit=\"") + text + "\" AngularUnit=\"" + text +
                               "\" ><Rule Unit=\"7\" AngularUnit=\"7\"/></RuleSet>");
    EXPECT_EQ(ReadUnitFromDocument(rule.get()), code) << text;
    EXPECT_EQ(ReadAngularUnitFromDocument(rule.get()), code) << text;
  }
  auto rule = LoadRule(R"(<RuleSet AngularUnit="2"><Rule/></RuleSet>)");
  EXPECT_EQ(ReadUnitFromDocument(rule.get()), 0) << "length and angle are separate";
  EXPECT_EQ(ReadAngularUnitFromDocument(rule.get()), 2);
  rule = LoadRule(R"(<Rule Unit="3" AngularUnit="1"/>)");
  EXPECT_EQ(ReadUnitFromDocument(rule.get()), 0) << "a rule element at the top has no parent";
  EXPECT_EQ(ReadAngularUnitFromDocument(nullptr), 0);
}

// Without a report nothing is probed or shown; trailing backslashes are dropped.
TEST_F(ResourceLookups, UsableAndMissingDatabaseFoldersAreReported) {
  ScratchFolder scratch;
  const fs::path folder = scratch.path / "database";
  ScopedEnv variable("KORVEX_DATABASE_DIR", folder.c_str());
  EXPECT_FALSE(CheckDatabaseDirectory(false));
  EXPECT_FALSE(fs::exists(folder)) << "the probe would have created the folder";
  EXPECT_THAT(messages_.messages, IsEmpty());

  fs::create_directories(folder);
  ::setenv("KORVEX_DATABASE_DIR", (folder.string() + "\\\\").c_str(), 1);
  EXPECT_TRUE(CheckDatabaseDirectory(true));
  ::unsetenv("KORVEX_DATABASE_DIR");
  EXPECT_FALSE(CheckDatabaseDirectory(true));
  ASSERT_EQ(messages_.messages.size(), 2u);
  EXPECT_EQ(messages_.messages[0].text, En(kvx::res::kDatabaseDirUsable));
  EXPECT_EQ(messages_.messages[0].caption, L"Korvex");
  EXPECT_EQ(messages_.messages[0].icon, KvxMessageIcon::Exclamation);
  EXPECT_EQ(messages_.messages[1].text, En(kvx::res::kDatabaseDirNotUsable));
}

// --- probes ------------------------------------------------------------------------------------------

TEST(Probes, PriorityDevelopmentOnlyForExactlyOne) {
  for (const char* value : {static_cast<const char*>(nullptr), "0", "01", "1 ", "true", "1"}) {
    ScopedEnv set("KORVEX_PRIORITY_DEV", value);
    EXPECT_EQ(IsPriorityDevelopment(), value && std::string(value) == "1") << (value ? value : "unset");
  }
}

TEST(Probes, FileWritableAndDirectoryUsable) {
  ScratchFolder folder;
  EXPECT_FALSE(IsDirectoryUsable(L""));
  EXPECT_TRUE(IsDirectoryUsable(folder.Path()));
  EXPECT_FALSE(fs::exists(folder.path / "Temp")) << "the test folder is removed again";
  EXPECT_TRUE(IsDirectoryUsable(folder / "new"));
  EXPECT_TRUE(fs::is_directory(folder.path / "new"));
  // A missing folder whose parent is missing too fails the parent's access test.
  EXPECT_FALSE(IsDirectoryUsable(folder / "a/b/c"));
  EXPECT_FALSE(fs::exists(folder.path / "a"));
  // A "Temp" folder that was there already is the user's, and stays.
  fs::create_directory(folder.path / "Temp");
  EXPECT_TRUE(IsDirectoryUsable(folder.Path()));
  EXPECT_TRUE(fs::is_directory(folder.path / "Temp"));

  EXPECT_FALSE(IsFileWritable(L""));
  EXPECT_TRUE(IsFileWritable(folder / "missing.txt")) << "a missing file counts as writable";
  EXPECT_FALSE(fs::exists(folder.path / "missing.txt")) << "the probe creates nothing";
  EXPECT_TRUE(IsFileWritable(folder.Path())) << "a folder is no file that cannot be opened";
  std::ofstream(folder.path / "locked.txt") << "x";
  EXPECT_TRUE(IsFileWritable(folder / "locked.txt"));
  ::chmod((folder.path / "locked.txt").c_str(), 0444);
  if (::geteuid() == 0) GTEST_SKIP() << "root may write any file";
  EXPECT_FALSE(IsFileWritable(folder / "locked.txt"));
}

}  // namespace
