// The built resource libraries, loaded the way the module loads them: strings and pictures by id, the raw
// exports' answers for missing ids, the shipped tables (every named id in every language, formats that
// take the arguments their callers pass, exact key texts) and the rule pictures as the dialogs get them:
// SVG drawings that the dialogs' SVG renderer (SVG Tiny) draws in full, whose words are their library's.
// (Placeholders and missing texts of a translation are checked when it is built.)
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <pugixml.hpp>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "../support/LanguageList.h"
#include "Placeholders.h"
#include "StringTable.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"
#include "kvx/res/PictureIds.h"
#include "kvx/res/StringIds.h"
#include "kvx/utility/LocationHelper.h"

using kvx::platform::Narrow;
using kvx::platform::ResourceLibrary;
using kvx::rescomp::StringTable;
using ::testing::Contains;
namespace res = kvx::res;

namespace {

std::wstring LibraryIn(const std::string& folder) {
  return kvx::platform::Widen(folder) + L"/" + kvx::platform::LibraryFileName(L"KVXIMRulesResu");
}
std::unique_ptr<ResourceLibrary> Library(const std::string& language) {
  return ResourceLibrary::Load(LibraryIn(KVX_RESOURCE_ROOT "/" + language));
}

std::string FileText(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

const std::string kResourceSource = KVX_SOURCE_DIR "/resources";

StringTable Table(const std::string& language) {
  const auto parse = kvx::rescomp::ReadStringTable(kResourceSource + "/" + language + "/strings.txt");
  EXPECT_TRUE(parse.ok()) << parse.errors.front().ToString();
  return parse.table;
}

}  // namespace

// --- Loading ----------------------------------------------------------------------------------------

TEST(ResourceLibraryAbi, BothLanguagesLoadSideBySideAndAnswerTheirOwnTexts) {
  // Same file name in two folders: each handle must reach its own library, not the first one loaded.
  const auto english = Library("english");
  const auto german = Library("german");
  ASSERT_TRUE(english && german);
  EXPECT_EQ(english->String(2056), L"Boss Base Radius");
  EXPECT_EQ(german->String(2056), L"Radius am Domfu\u00DF");
  EXPECT_EQ(english->String(2003), L"\u00C5");
  for (int missing : {-1, 0, 1, 2019, 65535, 70000}) EXPECT_EQ(english->String(missing), std::nullopt) << missing;
}

// A library built only for the tests: escaped texts, a picture from the shared folder, and its raw exports,
// which answer null for missing ids and accept null outputs.
TEST(ResourceLibraryAbi, TestLibraryKeepsEscapedTextsAndSharedPictureBehindTwoExports) {
  const auto library = ResourceLibrary::Load(LibraryIn(KVX_TEST_RES_ROOT "/testlang"));
  ASSERT_TRUE(library);
  EXPECT_EQ(library->String(1), L"plain text");
  EXPECT_EQ(library->String(2), L"Umlaut \u00E4 with \tescapes\\");
  const kvx::platform::Picture picture = library->PictureById(7);
  EXPECT_EQ(picture.format, "svg");
  const std::string expected = FileText(KVX_SOURCE_DIR "/tests/resources/data/pictures/7.svg");
  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(std::string(picture.bytes.begin(), picture.bytes.end()), expected);
  EXPECT_TRUE(library->PictureById(8).empty());

  const auto raw = kvx::platform::DynamicLibrary::Load(LibraryIn(KVX_TEST_RES_ROOT "/testlang"));
  ASSERT_TRUE(raw);
  const auto pictureFn = raw->Function<const unsigned char* (*)(int, unsigned long*, const char**)>("KvxResPicture");
  const auto stringFn = raw->Function<const char* (*)(int)>("KvxResString");
  ASSERT_TRUE(pictureFn && stringFn);
  unsigned long size = 99;
  const char* format = "stale";
  EXPECT_EQ(pictureFn(8, &size, &format), nullptr);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(format, nullptr);
  EXPECT_NE(pictureFn(7, nullptr, nullptr), nullptr);
  EXPECT_EQ(stringFn(4), nullptr);
  // Only the two exports are visible; the data tables stay inside the library.
  EXPECT_EQ(raw->Symbol("_ZN3kvx3res4data8kStringsE"), nullptr);
}

// --- The shipped tables -------------------------------------------------------------------------------

TEST(ResourceTables, EveryNamedIdIsInEveryLibraryAndEveryEntryIsNamed) {
  // The names declared in StringIds.h, read from its text so that a name added there is checked without
  // being listed again here.
  const std::string header = FileText(kResourceSource + "/include/kvx/res/StringIds.h");
  const std::regex declaration(R"(constexpr int (k\w+) = (\d+);)");
  std::map<std::string, int> named;
  std::set<int> namedIds;
  for (std::sregex_iterator it(header.begin(), header.end(), declaration), end; it != end; ++it) {
    named[(*it)[1]] = std::stoi((*it)[2]);
    EXPECT_TRUE(namedIds.insert(std::stoi((*it)[2])).second) << (*it)[1] << " repeats id " << (*it)[2];
  }
  ASSERT_FALSE(named.empty());
  // A library for every language the module's language table names, and for no other.
  std::vector<std::string> known;
  for (const std::wstring& name : CLanguageUtil::LanguageNames()) known.push_back(Narrow(name));
  EXPECT_THAT(kvx::test::BuiltLanguages(), ::testing::UnorderedElementsAreArray(known));
  for (const std::string& language : kvx::test::BuiltLanguages()) {
    SCOPED_TRACE(language);
    const auto library = Library(language);
    ASSERT_TRUE(library);
    for (const auto& [name, id] : named) EXPECT_TRUE(library->String(id)) << name << " = " << id;
    const StringTable table = Table(language);
    for (const auto& entry : table.entries) {
      EXPECT_TRUE(namedIds.contains(entry.id)) << "id " << entry.id << " has no name in StringIds.h";
    }
    // The summaries look up the default constraint by this name in every language.
    EXPECT_EQ(table.Find(res::kDefaultConstraintName)->text, Narrow(res::kDefaultConstraintText));
    // Inserted straight after "less than"/"greater than" with no space of its own.
    EXPECT_TRUE(table.Find(res::kOrEqualTo)->text.starts_with(' '));
    // A severity name is turned back into its code, so the five names must differ.
    std::set<std::string> severities;
    for (int id = res::kSeverityVeryLow; id <= res::kSeverityVeryHigh; ++id) severities.insert(table.Find(id)->text);
    EXPECT_EQ(severities.size(), 5u);
  }
}

// English rule names are exact, and every format takes the arguments its callers pass.
TEST(ResourceTables, EnglishKeyNamesAndFormats) {
  // English rule names are the keys saved rule sets store; the common-rules library uses the same.
  const std::map<int, std::string> ruleNames = {
      {2056, "Boss Base Radius"}, {2067, "Boss Tip Radius"}, {2115, "Draft Angle"}, {2090, "Rib Parameters"},
      {2111, "Undercut Detection"}, {2073, "Rib Reinforcement"}, {2078, "Maximum Cut-out Area"},
      {2096, "Moulded Wall Thickness"}, {2135, "Wall Thickness Variation"}, {2203, "Sudden Wall Thickness Variation"},
      {2047, "Uniform Thickness"}, {2345, "Hole Depth to Diameter Ratio"}, {2464, "Boss Draft Angle"},
      {2728, "Rib Tip Thickness"}, {2515, "Recommended Moulding Tolerance"}, {2735, "Recommended Core Pin Diameter"},
      {2326, "Rib Base Radius"}, {2610, "Spacing Between Holes"}, {2372, "Hole Spacing"},
      {2182, "Undercut Interference"}, {2285, "Undercut Interference Check"}, {2576, "Variable Draft Angle"},
      {2493, "Boss Parameters"}, {2441, "Lip Bottom Radius"}, {2062, "Minimum Rib Clearance"},
  };
  // Number of wide-string arguments each format is filled with; every other text takes none.
  const std::map<int, int> stringArguments = {
      {res::kHoleDepthSummary, 4}, {res::kBossDraftInnerWallSummary, 3}, {res::kBossDraftOuterWallSummary, 3},
      {res::kRibTipThicknessSummary, 3}, {res::kLipBottomRadiusSummary, 2}, {res::kMaxCutoutAreaSummary, 3},
      {res::kHoleSpacingSummary, 2}, {res::kMinRibClearanceSummary, 2}, {res::kRibReinforcementAreaSummary, 3},
      {res::kRibReinforcementHeightSummary, 2}, {res::kMaterialAlreadyListed, 1}, {res::kSpreadsheetEmptyColumns, 1},
      // common rules: one per parameter
      {res::kBossBaseRadiusSummary, 2}, {res::kBossTipRadiusSummary, 1}, {res::kDraftAngleSummary, 2},
      {res::kRibParametersSummary, 4}, {res::kUndercutDetectionSummary, 2}, {res::kMouldedWallThicknessSummary, 2},
      {res::kWallThicknessVariationSummary, 2}, {res::kSuddenWallThicknessVariationSummary, 1},
      {res::kUniformThicknessSummary, 2}, {res::kCorePinDiameterSummary, 2}, {res::kRibBaseRadiusSummary, 2},
      {res::kUndercutInterferenceSummary, 2}, {res::kVariableDraftAngleSummary, 3}, {res::kBossParametersSummary, 3},
      {res::kLimitLessThan, 1}, {res::kLimitAtMost, 1}, {res::kLimitMoreThan, 1}, {res::kLimitAtLeast, 1},
      {res::kLimitBetween, 2}, {res::kUnnamedParameter, 1}, {res::kValueNotANumber, 1},
      {res::kToleranceBandNotAscending, 2}, {res::kToleranceBandsOverlap, 3}, {res::kMaterialNamedTwice, 1},
      {res::kSheetOverNotANumber, 1}, {res::kValueOutOfRange, 3}, {res::kValueBelowZero, 1},
      {res::kRangeUpperBelowLower, 1},
  };
  const StringTable english = Table("english");
  for (const auto& [id, name] : ruleNames) EXPECT_EQ(english.Find(id) ? english.Find(id)->text : "", name) << id;
  for (const auto& entry : english.entries) {
    const auto found = stringArguments.find(entry.id);
    const int expected = found == stringArguments.end() ? 0 : found->second;
    EXPECT_EQ(kvx::rescomp::PrintfPlaceholders(entry.text), std::vector<std::string>(expected, "%s"))
        << "id " << entry.id;
  }
}

// --- Rule pictures ------------------------------------------------------------------------------------

namespace {

const std::vector<int> kRulePictures = {
    res::kHoleDepthRulePicture,       res::kBossDraftRulePicture,     res::kRibTipThicknessRulePicture,
    res::kLipBottomRadiusRulePicture, res::kMaxCutoutAreaRulePicture, res::kHoleSpacingRulePicture,
    res::kRibClearanceRulePicture,    res::kRibReinforcementRulePicture, res::kMouldingToleranceDialogPicture,
};

// Elements outside this set (filters, masks, CSS, foreignObject, markers, patterns) are not drawn by the
// dialogs' renderer, or not in the same way everywhere.
const std::set<std::string> kDrawnElements = {"svg",  "g",        "title",   "desc", "rect", "circle", "ellipse",
                                              "line", "polyline", "polygon", "path", "text", "tspan"};

// The labels of a drawing: the text of every <text> element.
std::vector<std::string> Labels(const pugi::xml_document& drawing) {
  std::vector<std::string> labels;
  for (const pugi::xpath_node& node : drawing.select_nodes("//text")) labels.emplace_back(node.node().text().get());
  return labels;
}

// The picture `id` of `library`, parsed; fails when it is missing, not SVG or not XML.
::testing::AssertionResult Parse(const ResourceLibrary& library, int id, pugi::xml_document* drawing) {
  const kvx::platform::Picture picture = library.PictureById(id);
  if (picture.empty()) return ::testing::AssertionFailure() << "no picture " << id;
  if (picture.format != "svg") return ::testing::AssertionFailure() << "format " << picture.format;
  const pugi::xml_parse_result parsed = drawing->load_buffer(picture.bytes.data(), picture.bytes.size());
  if (!parsed) return ::testing::AssertionFailure() << "not XML: " << parsed.description();
  return ::testing::AssertionSuccess();
}

std::string Bytes(const kvx::platform::Picture& picture) { return {picture.bytes.begin(), picture.bytes.end()}; }

}  // namespace

TEST(RulePictures, EveryPictureIsSvgThatTheRendererDrawsInFull) {
  const auto english = Library("english");
  const auto german = Library("german");
  ASSERT_TRUE(english && german);
  for (const std::string& language : kvx::test::BuiltLanguages()) {
    const auto library = Library(language);
    ASSERT_TRUE(library) << "the " << language << " resource library is not built";
    for (int id : kRulePictures) {
      SCOPED_TRACE(language + ": picture " + std::to_string(id));
      pugi::xml_document drawing;
      ASSERT_TRUE(Parse(*library, id, &drawing));
      const pugi::xml_node root = drawing.document_element();
      EXPECT_STREQ(root.name(), "svg");
      EXPECT_STREQ(root.attribute("xmlns").value(), "http://www.w3.org/2000/svg");
      std::istringstream viewBox(root.attribute("viewBox").value());
      double x = -1, y = -1, width = 0, height = 0;
      viewBox >> x >> y >> width >> height;
      EXPECT_TRUE(!viewBox.fail() && width > 0 && height > 0) << "viewBox " << root.attribute("viewBox").value();
      for (const pugi::xpath_node& node : drawing.select_nodes("//*")) {
        const pugi::xml_node element = node.node();
        EXPECT_TRUE(kDrawnElements.contains(element.name())) << "element <" << element.name() << ">";
        EXPECT_FALSE(element.attribute("class") || element.attribute("style")) << "styled <" << element.name() << ">";
        // SVG Tiny path data has no elliptical arcs: curves are drawn with Bezier segments.
        EXPECT_THAT(std::string(element.attribute("d").value()), ::testing::Not(::testing::ContainsRegex("[Aa]")));
      }
      // A drawing that English shares with German is never translated, so a word in it would stay English.
      const bool shared = Bytes(english->PictureById(id)) == Bytes(german->PictureById(id));
      for (const std::string& label : Labels(drawing)) {
        EXPECT_FALSE(label.empty());
        if (shared) {
          EXPECT_LE(label.size(), 3u) << "label \"" << label << "\" in a shared drawing";
        }
      }
    }
  }
}

TEST(RulePictures, WordsInADrawingAreTheWordsOfItsLibrary) {
  constexpr int kOver = 2517, kUpTo = 2518, kInnerWallDraft = 2465, kOuterWallDraft = 2466;
  for (const std::string& language : kvx::test::BuiltLanguages()) {
    SCOPED_TRACE(language);
    const auto library = Library(language);
    ASSERT_TRUE(library);
    // The band limits are named as the tolerance table's columns.
    pugi::xml_document bands;
    ASSERT_TRUE(Parse(*library, res::kMouldingToleranceDialogPicture, &bands));
    EXPECT_THAT(Labels(bands), Contains(Narrow(library->String(kOver).value_or(L"?"))));
    EXPECT_THAT(Labels(bands), Contains(Narrow(library->String(kUpTo).value_or(L"?"))));

    // The boss walls carry the abbreviations of the summary ("ID", and "OD" or "AD"), or, where the
    // summary has none, words of it ("内壁").
    pugi::xml_document boss;
    ASSERT_TRUE(Parse(*library, res::kBossDraftRulePicture, &boss));
    for (int piece : {kInnerWallDraft, kOuterWallDraft}) {
      const std::string text = Narrow(library->String(piece).value_or(L""));
      const std::size_t open = text.find('('), close = text.find(')', open);
      if (open != std::string::npos && close != std::string::npos && close > open + 1) {
        EXPECT_THAT(Labels(boss), Contains(text.substr(open + 1, close - open - 1)));
        continue;
      }
      EXPECT_TRUE(std::ranges::any_of(Labels(boss), [&](const std::string& label) {
        return !label.starts_with('Q') && text.find(label) != std::string::npos;
      })) << "no wall label of the drawing is in string " << piece;
    }
  }
}
