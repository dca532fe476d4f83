// The rule pictures as the dialogs get them: every picture id loads from every built resource library
// as an SVG drawing that the dialogs' SVG renderer (SVG Tiny) draws in full, and a
// drawing that carries words carries the words of its own library's table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../support/LanguageList.h"
#include <pugixml.hpp>

#include <algorithm>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"
#include "kvx/res/PictureIds.h"

using kvx::platform::ResourceLibrary;
using ::testing::Contains;

namespace {

// Every built language, English first.
const std::vector<std::string> kLanguages = kvx::test::BuiltLanguages();

namespace res = kvx::res;
const std::vector<int> kRulePictures = {
    res::kHoleDepthRulePicture,         res::kBossDraftRulePicture,     res::kRibTipThicknessRulePicture,
    res::kLipBottomRadiusRulePicture,   res::kMaxCutoutAreaRulePicture, res::kHoleSpacingRulePicture,
    res::kRibClearanceRulePicture,      res::kRibReinforcementRulePicture,
    res::kMouldingToleranceDialogPicture,
};

// The built libraries live in the resource root, bin/res/<language> (the full build makes them).
std::unique_ptr<ResourceLibrary> LoadLanguage(const std::string& language) {
  const std::wstring folder = kvx::platform::Widen(KVX_BIN_DIR "/res/" + language);
  return ResourceLibrary::Load(folder + L"/" + kvx::platform::LibraryFileName(L"KVXIMRulesResu"));
}

std::string Bytes(const kvx::platform::Picture& picture) { return {picture.bytes.begin(), picture.bytes.end()}; }

// The labels of a drawing: the text of every <text> element.
std::vector<std::string> Labels(const pugi::xml_document& drawing) {
  std::vector<std::string> labels;
  for (const pugi::xpath_node& node : drawing.select_nodes("//text")) labels.emplace_back(node.node().text().get());
  return labels;
}

// The abbreviation in brackets in a text, as "ID" in "Inner wall (ID) draft greater than".
std::string Bracketed(const std::wstring& text) {
  const std::size_t open = text.find(L'(');
  const std::size_t close = text.find(L')', open);
  if (open == std::wstring::npos || close == std::wstring::npos) return {};
  return kvx::platform::Narrow(text.substr(open + 1, close - open - 1));
}

// Elements outside this set (filters, masks, CSS, foreignObject, markers, patterns) are not drawn by the
// dialogs' renderer, or not in the same way everywhere.
const std::set<std::string> kDrawnElements = {"svg",  "g",        "title",   "desc", "rect", "circle", "ellipse",
                                              "line", "polyline", "polygon", "path", "text", "tspan"};

class RulePictures : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const std::string& language : kLanguages) {
      libraries_.push_back(LoadLanguage(language));
      ASSERT_TRUE(libraries_.back()) << "the " << language << " resource library is not built";
    }
  }

  // The picture `id` of `language`, parsed; fails the test when it is missing or not XML.
  ::testing::AssertionResult Parse(std::size_t language, int id, pugi::xml_document* drawing) {
    const kvx::platform::Picture picture = libraries_[language]->PictureById(id);
    if (picture.empty()) return ::testing::AssertionFailure() << kLanguages[language] << " has no picture " << id;
    if (picture.format != "svg") return ::testing::AssertionFailure() << "format " << picture.format;
    const pugi::xml_parse_result parsed = drawing->load_buffer(picture.bytes.data(), picture.bytes.size());
    if (!parsed) return ::testing::AssertionFailure() << "not XML: " << parsed.description();
    return ::testing::AssertionSuccess();
  }

  const ResourceLibrary& Library(std::size_t language) { return *libraries_[language]; }

 private:
  std::vector<std::unique_ptr<ResourceLibrary>> libraries_;
};

}  // namespace

TEST_F(RulePictures, EveryPictureIsSvgWithAViewBoxThatTheRendererDrawsInFull) {
  for (std::size_t language = 0; language < kLanguages.size(); ++language) {
    for (int id : kRulePictures) {
      SCOPED_TRACE(kLanguages[language] + ": picture " + std::to_string(id));
      pugi::xml_document drawing;
      ASSERT_TRUE(Parse(language, id, &drawing));
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
      for (const std::string& label : Labels(drawing)) EXPECT_FALSE(label.empty());
    }
  }
}

TEST_F(RulePictures, SharedDrawingsCarryOnlySymbols) {
  // A drawing that English shares with German is never translated, so a word in it would stay English.
  const std::size_t german = std::find(kLanguages.begin(), kLanguages.end(), "german") - kLanguages.begin();
  ASSERT_LT(german, kLanguages.size());
  for (int id : kRulePictures) {
    const std::string english = Bytes(Library(0).PictureById(id));
    if (english != Bytes(Library(german).PictureById(id))) continue;
    SCOPED_TRACE(id);
    pugi::xml_document drawing;
    ASSERT_TRUE(Parse(0, id, &drawing));
    for (const std::string& label : Labels(drawing)) EXPECT_LE(label.size(), 3u) << "label \"" << label << "\"";
  }
}

TEST_F(RulePictures, WordsInADrawingAreTheWordsOfItsLibrary) {
  constexpr int kOver = 2517, kUpTo = 2518, kInnerWallDraft = 2465, kOuterWallDraft = 2466;
  for (std::size_t language = 0; language < kLanguages.size(); ++language) {
    SCOPED_TRACE(kLanguages[language]);
    const ResourceLibrary& library = Library(language);

    // The band limits are named as the tolerance table's columns.
    pugi::xml_document bands;
    ASSERT_TRUE(Parse(language, kvx::res::kMouldingToleranceDialogPicture, &bands));
    EXPECT_THAT(Labels(bands), Contains(kvx::platform::Narrow(library.String(kOver).value_or(L"?"))));
    EXPECT_THAT(Labels(bands), Contains(kvx::platform::Narrow(library.String(kUpTo).value_or(L"?"))));

    // The boss walls carry the abbreviations of the summary ("ID", and "OD" or "AD"), or, where the
    // summary has none, words of it ("内壁").
    pugi::xml_document boss;
    ASSERT_TRUE(Parse(language, kvx::res::kBossDraftRulePicture, &boss));
    for (int piece : {kInnerWallDraft, kOuterWallDraft}) {
      const std::wstring text = library.String(piece).value_or(L"");
      const std::string abbreviation = Bracketed(text);
      if (!abbreviation.empty()) {
        EXPECT_THAT(Labels(boss), Contains(abbreviation));
        continue;
      }
      const std::string summary = kvx::platform::Narrow(text);
      EXPECT_TRUE(std::ranges::any_of(Labels(boss), [&](const std::string& label) {
        return !label.starts_with('Q') && summary.find(label) != std::string::npos;
      })) << "no wall label of the drawing is in string " << piece;
    }
  }
}
