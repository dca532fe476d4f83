// `kvxim check` as a user runs it: text and JSON on gmsh parts, the HTML report, the user's language, the exit codes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "../support/KvximProcess.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class CheckCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("kvxim-check-" + std::to_string(getpid()) + "-" +
                                          ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(folder_);
  }
  void TearDown() override { fs::remove_all(folder_); }
  kvx::test::ProcessResult Check(const std::string& args) { return kvx::test::RunKvxim(folder_, "check " + args); }
  static std::string Part(const std::string& name) { return std::string(KVX_CHECKER_PARTS) + "/" + name + ".step"; }

  fs::path folder_;
};

TEST_F(CheckCommand, ExitCodesFollowTheWorstFindingAndTheInput) {
  struct Case {
    std::string args;
    int exitCode;
    const char* stderrWord;  // "" when nothing is expected on standard error
  };
  const Case cases[] = {
      {Part("drafted") + " --pull 0,0,1", 0, ""},                       // the factory rules find nothing
      {Part("plate") + " --pull 0,0,1", 1, ""},                         // square sides, close holes
      {Part("plate") + " --pull 0,0,1 --fail-on very-high", 0, ""},     // nothing that severe
      {Part("plate") + " --pull 0,0,0", 2, "--pull"},
      {Part("plate") + " --pull up", 2, "--pull"},
      {Part("plate") + " --fail-on dire", 2, "--fail-on"},
      {"", 2, "part file"},
      {Part("garbage"), 3, ""},
      {Part("empty"), 3, "empty"},
      {Part("missing"), 3, "cannot open"},
      {Part("plate") + " --rules " + Part("missing-rules"), 3, ""},
  };
  for (const Case& c : cases) {
    const auto result = Check(c.args);
    EXPECT_EQ(result.exitCode, c.exitCode) << c.args << "\n" << result.err;
    if (*c.stderrWord) {
      EXPECT_NE(result.err.find(c.stderrWord), std::string::npos) << c.args << "\n" << result.err;
    }
    if (c.exitCode == 3) {
      EXPECT_TRUE(result.out.empty()) << c.args;
    }
  }
}

TEST_F(CheckCommand, JsonDescribesPartPullFindingsAndVerdicts) {
  const auto result = Check(Part("window") + " --json");
  ASSERT_EQ(result.exitCode, 1) << result.err;
  const json report = json::parse(result.out);
  EXPECT_EQ(report["part"]["solids"], 1);
  EXPECT_EQ(report["part"]["faces"], 15);
  EXPECT_NEAR(report["part"]["nominalWallThickness"].get<double>(), 2.0, 0.1);
  EXPECT_EQ(report["pull"], json::array({0.0, 0.0, 1.0})) << "auto picks the axis with the least undercut";
  for (const json& f : report["findings"])
    for (const char* key : {"ruleId", "name", "displayName", "severity", "measured", "limit", "operator", "unit", "faces", "point"})
      EXPECT_TRUE(f.contains(key)) << key;
  EXPECT_TRUE(std::any_of(report["findings"].begin(), report["findings"].end(),
                          [](const json& f) { return f["ruleId"] == 12100; }));
  EXPECT_FALSE(report["passed"].empty());
  for (const json& n : report["notChecked"]) EXPECT_FALSE(n["reason"].get<std::string>().empty());
}

// The text and the report in the user's language, each report a self-contained page with pictures.
TEST_F(CheckCommand, TextAndHtmlReportSpeakTheUsersLanguage) {
  const std::pair<std::string, std::vector<std::string>> cases[] = {  // pieces of the text, then of the report
      {"english",
       {"12160 Hole Spacing: Measured 2 mm, Limit >= 4 mm; hole spacing, Faces ", "\nNot checked: 12070 ",
        "\nFindings: ", "<h1>Part check: ", "<h2>Findings</h2>", "<th>Severity</th>"}},
      {"german",
       {"Mittel    12160 Lochabstand: Gemessen 2 mm, Grenzwert >= 4 mm", "\nNicht geprüft: 12070 ", "<h1>Teileprüfung: ",
        "<h2>Befunde</h2>", "<th>Schweregrad</th>", "<h2>Regeln</h2>", "<th>Ergebnis</th>"}},
      {"japanese",
       {"\n高い      12030 均一肉厚: 測定値 100 %, 制限値 <= 10 %", "\n指摘事項: ", "<h1>部品チェック: ", "<h2>指摘事項</h2>",
        "<th>重大度</th>", "<th>フィーチャ</th>", ">合格</td>"}},
  };
  for (const auto& [language, pieces] : cases) {
    const std::string page = (folder_ / (language + ".html")).string();
    const auto result = kvx::test::RunKvxim(folder_, "--lang " + language + " check " + Part("plate") +
                                                         " --pull 0,0,1 --report " + page);
    const std::string both = result.out + kvx::test::ReadTextFile(page);
    for (const std::string& piece : pieces) EXPECT_NE(both.find(piece), std::string::npos) << piece << "\n" << both;
    EXPECT_EQ(result.out.find("Transfer"), std::string::npos) << "the reader's own messages stay quiet";
  }
  const std::string page = (folder_ / "english.html").string(), html = kvx::test::ReadTextFile(page);
  EXPECT_GE(std::count(html.begin(), html.end(), '<'), 100);
  EXPECT_EQ(html.find("src=\"http"), std::string::npos) << "nothing fetched from elsewhere";
  // Kept for a person to look at, with its first picture as PNG where an SVG renderer is installed (librsvg2-bin);
  // the renderer also proves the picture well-formed.
  const char* output = std::getenv("KVX_TEST_OUTPUT");
  if (output) {
    const fs::path kept = fs::path(output) / "checker";
    fs::create_directories(kept);
    fs::copy_file(page, kept / "plate.html", fs::copy_options::overwrite_existing);
    const auto start = html.find("<svg"), end = html.find("</svg>");
    ASSERT_NE(end, std::string::npos);
    std::ofstream(kept / "plate-view.svg") << html.substr(start, end + 6 - start);
    if (std::system("command -v rsvg-convert >/dev/null") == 0) {
      const std::string render = "rsvg-convert '" + (kept / "plate-view.svg").string() + "' -o '" + (kept / "plate-view.png").string() + "'";
      EXPECT_EQ(std::system(render.c_str()), 0);
      EXPECT_GT(fs::file_size(kept / "plate-view.png"), 1000u);
    }
  }
  // A report that cannot be written fails without touching the part or the output folder.
  EXPECT_EQ(Check(Part("plate") + " --report /nonexistent/folder/r.html").exitCode, 3);
}

}  // namespace
