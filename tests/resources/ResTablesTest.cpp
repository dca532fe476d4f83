// The shipped tables: every named id is in every language, the formats take the arguments their callers
// pass, and the texts that act as keys are exact. (Placeholders and missing texts of a translation are
// checked when it is built.)
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../support/LanguageList.h"

#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "Placeholders.h"
#include "StringTable.h"
#include "kvx/utility/LocationHelper.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"
#include "kvx/res/StringIds.h"

using namespace kvx::rescomp;

namespace {

const std::string kResourceSource = KVX_SOURCE_DIR "/resources";

// The names and numbers declared in StringIds.h, read from its text so that a name added there
// is checked without being listed again here.
std::map<std::string, int> NamedStringIds() {
  std::ifstream header(kResourceSource + "/include/kvx/res/StringIds.h");
  const std::string text{std::istreambuf_iterator<char>(header), std::istreambuf_iterator<char>()};
  const std::regex declaration(R"(constexpr int (k\w+) = (\d+);)");
  std::map<std::string, int> ids;
  for (std::sregex_iterator it(text.begin(), text.end(), declaration), end; it != end; ++it) {
    ids[(*it)[1]] = std::stoi((*it)[2]);
  }
  return ids;
}

StringTable Table(const std::string& language) {
  const TableParse parse = ReadStringTable(kResourceSource + "/" + language + "/strings.txt");
  EXPECT_TRUE(parse.ok()) << parse.errors.front().ToString();
  return parse.table;
}

std::unique_ptr<kvx::platform::ResourceLibrary> Library(const std::string& language) {
  return kvx::platform::ResourceLibrary::Load(kvx::platform::Widen(KVX_RESOURCE_ROOT "/" + language + "/") +
                                              kvx::platform::LibraryFileName(L"KVXIMRulesResu"));
}

}  // namespace

TEST(ResourceTables, EveryNamedIdIsInEveryLibraryAndEveryEntryIsNamed) {
  const auto named = NamedStringIds();
  ASSERT_FALSE(named.empty());

  std::set<int> namedIds;
  for (const auto& [name, id] : named) {
    EXPECT_TRUE(namedIds.insert(id).second) << name << " repeats id " << id;
  }
  // A library for every language the module's language table names, and for no other.
  std::vector<std::string> known;
  for (const std::wstring& name : CLanguageUtil::LanguageNames()) known.push_back(kvx::platform::Narrow(name));
  EXPECT_THAT(kvx::test::BuiltLanguages(), ::testing::UnorderedElementsAreArray(known));
  for (const std::string& language : kvx::test::BuiltLanguages()) {
    SCOPED_TRACE(language);
    const auto library = Library(language);
    ASSERT_TRUE(library);
    for (const auto& [name, id] : named) EXPECT_TRUE(library->String(id)) << name << " = " << id;
    for (const auto& entry : Table(language).entries) {
      EXPECT_TRUE(namedIds.contains(entry.id)) << "id " << entry.id << " has no name in StringIds.h";
    }
  }
}

TEST(ResourceTables, FormatsTakeTheArgumentsTheirCallersPass) {
  namespace res = kvx::res;
  // Number of wide-string arguments each format is filled with; every other text takes none.
  const std::map<int, int> stringArguments = {
      {res::kHoleDepthSummary, 4},           {res::kBossDraftInnerWallSummary, 3},
      {res::kBossDraftOuterWallSummary, 3},  {res::kRibTipThicknessSummary, 3},
      {res::kLipBottomRadiusSummary, 2},     {res::kMaxCutoutAreaSummary, 3},
      {res::kHoleSpacingSummary, 2},         {res::kMinRibClearanceSummary, 2},
      {res::kRibReinforcementAreaSummary, 3}, {res::kRibReinforcementHeightSummary, 2},
      {res::kMaterialAlreadyListed, 1},      {res::kSpreadsheetEmptyColumns, 1},
      // common rules: one per parameter
      {res::kBossBaseRadiusSummary, 2}, {res::kBossTipRadiusSummary, 1}, {res::kDraftAngleSummary, 2},
      {res::kRibParametersSummary, 4}, {res::kUndercutDetectionSummary, 2}, {res::kMouldedWallThicknessSummary, 2},
      {res::kWallThicknessVariationSummary, 2}, {res::kSuddenWallThicknessVariationSummary, 1},
      {res::kUniformThicknessSummary, 2}, {res::kCorePinDiameterSummary, 2}, {res::kRibBaseRadiusSummary, 2},
      {res::kUndercutInterferenceSummary, 2}, {res::kVariableDraftAngleSummary, 3},
      {res::kBossParametersSummary, 3},
      {res::kLimitLessThan, 1}, {res::kLimitAtMost, 1}, {res::kLimitMoreThan, 1}, {res::kLimitAtLeast, 1},
      {res::kLimitBetween, 2}, {res::kUnnamedParameter, 1}, {res::kValueNotANumber, 1},
      {res::kToleranceBandNotAscending, 2},  {res::kToleranceBandsOverlap, 3},
      {res::kMaterialNamedTwice, 1},         {res::kSheetOverNotANumber, 1},
      {res::kValueOutOfRange, 3}, {res::kValueBelowZero, 1}, {res::kRangeUpperBelowLower, 1},
  };
  for (const auto& entry : Table("english").entries) {
    const auto found = stringArguments.find(entry.id);
    const int expected = found == stringArguments.end() ? 0 : found->second;
    EXPECT_EQ(PrintfPlaceholders(entry.text), std::vector<std::string>(expected, "%s")) << "id " << entry.id;
  }
}

TEST(ResourceTables, KeyTextsAreExact) {
  // English rule names are the keys saved rule sets store; the common-rules library uses the same.
  const std::map<int, std::string> ruleNames = {
      {2056, "Boss Base Radius"}, {2067, "Boss Tip Radius"}, {2115, "Draft Angle"},
      {2090, "Rib Parameters"}, {2111, "Undercut Detection"}, {2073, "Rib Reinforcement"},
      {2078, "Maximum Cut-out Area"}, {2096, "Moulded Wall Thickness"}, {2135, "Wall Thickness Variation"},
      {2203, "Sudden Wall Thickness Variation"}, {2047, "Uniform Thickness"},
      {2345, "Hole Depth to Diameter Ratio"}, {2464, "Boss Draft Angle"}, {2728, "Rib Tip Thickness"},
      {2515, "Recommended Moulding Tolerance"}, {2735, "Recommended Core Pin Diameter"},
      {2326, "Rib Base Radius"}, {2610, "Spacing Between Holes"}, {2372, "Hole Spacing"},
      {2182, "Undercut Interference"}, {2285, "Undercut Interference Check"}, {2576, "Variable Draft Angle"},
      {2493, "Boss Parameters"}, {2441, "Lip Bottom Radius"}, {2062, "Minimum Rib Clearance"},
  };
  const StringTable english = Table("english");
  for (const auto& [id, name] : ruleNames) {
    ASSERT_TRUE(english.Find(id)) << id;
    EXPECT_EQ(english.Find(id)->text, name) << id;
  }

  for (const std::string& language : kvx::test::BuiltLanguages()) {
    SCOPED_TRACE(language);
    const StringTable table = Table(language);
    // The summaries look up the default constraint by this name in every language.
    EXPECT_EQ(table.Find(kvx::res::kDefaultConstraintName)->text,
              kvx::platform::Narrow(kvx::res::kDefaultConstraintText));
    // Inserted straight after "less than"/"greater than" with no space of its own.
    EXPECT_TRUE(table.Find(kvx::res::kOrEqualTo)->text.starts_with(' '));
    // A severity name is turned back into its code, so the five names must differ.
    std::set<std::string> severities;
    for (int id = kvx::res::kSeverityVeryLow; id <= kvx::res::kSeverityVeryHigh; ++id) {
      severities.insert(table.Find(id)->text);
    }
    EXPECT_EQ(severities.size(), 5u);
  }
}
