// kvxim as a user runs it: commands, their output, and what bad input gives.
#include "../support/KvximProcess.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

using Result = kvx::test::ProcessResult;
using kvx::test::ReadTextFile;


class Kvxim : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("kvxim-test-" + std::to_string(getpid()) + "-" +
                                          ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(folder_);
  }
  void TearDown() override { fs::remove_all(folder_); }

  // Runs kvxim with `args` (a shell-quoted text) and an empty material database folder of its own.
  Result Run(const std::string& args) { return kvx::test::RunKvxim(folder_, args); }

  std::string Path(const std::string& name) const { return (folder_ / name).string(); }
  void Write(const std::string& name, const std::string& text) { std::ofstream(folder_ / name) << text; }

  fs::path folder_;
};

const json* FindRule(const json& rules, int id) {
  for (const auto& rule : rules) {
    if (!rule.is_null() && rule["id"] == id) return &rule;
  }
  return nullptr;
}

const json* FindParameter(const json& rule, int id) {
  for (const auto& parameter : rule["parameters"]) {
    if (parameter["id"] == id) return &parameter;
  }
  return nullptr;
}

TEST_F(Kvxim, RulesListsTheFreshRuleSetAsJson) {
  const Result result = Run("rules --json");
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const json rules = json::parse(result.out);
  ASSERT_EQ(rules.size(), 20u);
  EXPECT_EQ(rules[0]["id"], 12010);
  EXPECT_EQ(rules[19]["id"], 12180);
  for (const auto& rule : rules) {
    EXPECT_EQ(rule["category"], 9);
    EXPECT_EQ(rule["module"], "KvxIMRulesValidator");
  }
  const json* hole = FindRule(rules, 12150);
  ASSERT_NE(hole, nullptr);
  EXPECT_EQ((*FindParameter(*hole, 2347))["values"], json::array({2.0}));
  EXPECT_EQ((*FindParameter(*hole, 2348))["values"], json::array({4.0}));
  // Names stand beside the codes: the operator's symbol, the severity's name, the units' names.
  EXPECT_EQ((*FindParameter(*hole, 2347))["operator"], 5);
  EXPECT_EQ((*FindParameter(*hole, 2347))["operatorSymbol"], "<");
  EXPECT_EQ(rules[0]["severityName"], "Medium");
  EXPECT_EQ(rules[0]["units"]["lengthName"], "mm");
  const json* ribTip = FindRule(rules, 12220);
  ASSERT_NE(ribTip, nullptr);
  EXPECT_EQ((*FindParameter(*ribTip, 2730))["values"], json::array({0.8, 1.5}));
  EXPECT_EQ((*FindParameter(*ribTip, 2730))["operatorOptions"], json::array({7, 6, 1}));
  EXPECT_EQ((*FindParameter(*ribTip, 2730))["operatorOptionSymbols"], json::array({">=", ">", "RANGE"}));
}

TEST_F(Kvxim, NewThenShowRoundTripsEveryRule) {
  ASSERT_EQ(Run("new -o " + Path("set.xml")).exitCode, 0);
  const Result fresh = Run("rules --json");
  const Result shown = Run("show " + Path("set.xml") + " --json");
  ASSERT_EQ(shown.exitCode, 0) << shown.err;
  const json before = json::parse(fresh.out);
  const json after = json::parse(shown.out);
  ASSERT_EQ(after.size(), before.size());
  for (size_t i = 0; i < before.size(); ++i) {
    EXPECT_EQ(after[i]["name"], before[i]["name"]);
    EXPECT_EQ(after[i]["id"], before[i]["id"]);
    EXPECT_EQ(after[i]["parameters"], before[i]["parameters"]) << before[i]["name"];
  }
  const std::string xml = ReadTextFile(Path("set.xml"));
  EXPECT_NE(xml.find("<RuleSet Unit=\"0\" AngularUnit=\"0\">"), std::string::npos);
  EXPECT_NE(xml.find("<Rule Name=\"Hole Depth to Diameter Ratio\" Status=\"0\" LifeStatus="), std::string::npos);
}

TEST_F(Kvxim, ShowGivesNullForRulesItCannotBuild) {
  Write("set.xml",
        "<RuleSet Unit=\"0\" AngularUnit=\"0\"><Rule Name=\"Lip Bottom Radius\" Module=\"KvxIMRulesValidator\"/>"
        "<Rule Name=\"Hole Spacing\" Module=\"KvxIMRulesValidator\"/><Rule Name=\"x\" Module=\"Other\"/></RuleSet>");
  const Result result = Run("show " + Path("set.xml") + " --json");
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const json rules = json::parse(result.out);
  ASSERT_EQ(rules.size(), 3u);
  EXPECT_TRUE(rules[0].is_null());
  EXPECT_EQ(rules[1]["id"], 12160);
  EXPECT_EQ(rules[1]["name"], "Hole Spacing");  // a loaded rule keeps the name its record gives
  EXPECT_TRUE(rules[2].is_null());
}

// Bad files exit 1 with their reason; usage errors exit 2 and name the values that would have been taken.
TEST_F(Kvxim, BadInputGivesOneLineAndItsExitCode) {
  Write("broken.xml", "<RuleSet><Rule Name=\"a\"></RuleSet>");
  Write("other.xml", "<Rules/>");
  Write("empty.xml", "");
  const struct {
    std::string args;
    int exitCode;
    std::string mentions;
  } cases[] = {
      {"show " + Path("missing.xml"), 1, "missing.xml"},
      {"show " + Path("broken.xml"), 1, "line 1"},
      {"show " + Path("other.xml"), 1, "RuleSet"},
      {"show " + Path("empty.xml"), 1, "empty.xml"},
      {"--lang klingon rules", 2, "german"},
      {"convert " + Path("other.xml") + " --length parsec --angle deg", 2, "inch"},
      {"convert " + Path("other.xml") + " --length mm --angle gon", 2, "rad"},
      {"frobnicate", 2, "frobnicate"},
  };
  for (const auto& entry : cases) {
    const Result result = Run(entry.args);
    EXPECT_EQ(result.exitCode, entry.exitCode) << entry.args;
    EXPECT_NE(result.err.find(entry.mentions), std::string::npos) << entry.args << ": " << result.err;
  }
}

// The habits of command-line tools: help without a command, a version, names in any case, "-" for stdout.
TEST_F(Kvxim, FollowsCommandLineConventions) {
  const Result bare = Run("");
  EXPECT_EQ(bare.exitCode, 0);
  EXPECT_NE(bare.out.find("Usage"), std::string::npos);
  EXPECT_TRUE(Run("").err.empty());
  const Result version = Run("--version");
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_EQ(version.out, std::string(KVX_PROJECT_VERSION) + "\n");

  const Result toStdout = Run("new -o -");
  ASSERT_EQ(toStdout.exitCode, 0) << toStdout.err;
  EXPECT_EQ(toStdout.out.rfind("<?xml", 0), 0u);
  Write("set.xml", toStdout.out);
  const Result inches = Run("convert " + Path("set.xml") + " --length INCH --angle Rad -o -");
  ASSERT_EQ(inches.exitCode, 0) << inches.err;
  EXPECT_NE(inches.out.find("<RuleSet Unit=\"3\" AngularUnit=\"1\">"), std::string::npos);
  EXPECT_EQ(ReadTextFile(Path("set.xml")), toStdout.out);  // -o - leaves the file alone

  const Result german = Run("--lang GERMAN resource 2345");
  EXPECT_EQ(german.exitCode, 0) << german.err;
  EXPECT_EQ(german.out, Run("--lang german resource 2345").out);
  EXPECT_NE(german.out, Run("--lang english resource 2345").out);
}

TEST_F(Kvxim, ConvertChangesUnitsAndWritesAtomically) {
  ASSERT_EQ(Run("new -o " + Path("set.xml")).exitCode, 0);
  const Result converted = Run("convert " + Path("set.xml") + " --length in --angle rad -o " + Path("inch.xml"));
  ASSERT_EQ(converted.exitCode, 0) << converted.err;
  const std::string xml = ReadTextFile(Path("inch.xml"));
  EXPECT_NE(xml.find("<RuleSet Unit=\"3\" AngularUnit=\"1\">"), std::string::npos);
  const json rules = json::parse(Run("show " + Path("inch.xml") + " --json").out);
  const json* hole = FindRule(rules, 12150);
  ASSERT_NE(hole, nullptr);
  EXPECT_EQ((*FindParameter(*hole, 2347))["values"], json::array({2.0}));  // a ratio: never converted
  EXPECT_EQ((*hole)["units"]["length"], 3);
  // Back again gives the factory values.
  ASSERT_EQ(Run("convert " + Path("inch.xml") + " --length mm --angle deg").exitCode, 0);
  const json back = json::parse(Run("show " + Path("inch.xml") + " --json").out);
  const json fresh = json::parse(Run("show " + Path("set.xml") + " --json").out);
  ASSERT_EQ(back.size(), fresh.size());
  for (size_t i = 0; i < back.size(); ++i) {
    for (size_t p = 0; p < back[i]["parameters"].size(); ++p) {
      const auto& a = back[i]["parameters"][p]["values"];
      const auto& b = fresh[i]["parameters"][p]["values"];
      ASSERT_EQ(a.size(), b.size());
      for (size_t v = 0; v < a.size(); ++v) {
        // The XML keeps six decimals, so small angles in radians lose a few digits on the way.
        if (a[v].is_number()) {
          const double expected = b[v].get<double>();
          EXPECT_NEAR(a[v].get<double>(), expected, std::max(1e-5, 1e-4 * std::abs(expected))) << back[i]["name"];
        }
      }
    }
  }
}

const json* FindConstraintParameter(const json& rule, const std::string& constraint, int id) {
  for (const auto& entry : rule["constraints"]) {
    if (entry["name"] == constraint) {
      for (const auto& parameter : entry["parameters"]) {
        if (parameter["id"] == id) return &parameter;
      }
    }
  }
  return nullptr;
}

// A record as users write them by hand: the rib tip thickness limit (a length) in its own parameter and in
// its "Default" entry; `own` and `entry` are the parameters' inner XML.
std::string RibTipRecord(const std::string& own, const std::string& entry) {
  return "<Rule Name=\"Rib Tip Thickness\" Module=\"KvxIMRulesValidator\"><Parameter Type=\"2730\">" + own +
         "</Parameter><Constraint Type=\"1\" Value=\"Default\" Status=\"1\"><Parameter Type=\"2730\">" + entry +
         "</Parameter></Constraint></Rule>";
}

TEST_F(Kvxim, ConvertRefusesWhatItCouldNotConvertOrReadBack) {
  ASSERT_EQ(Run("new -o " + Path("set.xml")).exitCode, 0);
  std::string mixed = ReadTextFile(Path("set.xml"));
  mixed.insert(mixed.rfind("</RuleSet>"), "<Rule Name=\"Wall Check\" Module=\"OtherModule\"/>");
  Write("mixed.xml", mixed);
  const std::string huge = "1" + std::string(308, '0') + ".0";  // 1e308 inches: no double holds it in mm
  Write("huge.xml", "<RuleSet Unit=\"3\" AngularUnit=\"0\">" +
                        RibTipRecord("<Operator>7</Operator><ParameterType>1</ParameterType><Value>1.0</Value>",
                                     "<Operator>7</Operator><ParameterType>1</ParameterType><Value>" + huge +
                                         "</Value>") +
                        "</RuleSet>");
  const std::string before = ReadTextFile(Path("mixed.xml"));
  const std::string hugeBefore = ReadTextFile(Path("huge.xml"));
  struct Refusal {
    std::string args;
    std::string says;
  };
  const Refusal refusals[] = {
      {"convert " + Path("mixed.xml") + " --length in --angle deg", "rule \"Wall Check\" could not be converted"},
      {"convert " + Path("mixed.xml") + " --length uin --angle deg", "could not be read back"},
      {"convert " + Path("huge.xml") + " --length mm --angle deg", "rule \"Rib Tip Thickness\" are too large"},
  };
  for (const Refusal& refusal : refusals) {
    const Result result = Run(refusal.args);
    EXPECT_EQ(result.exitCode, 1) << refusal.args;
    EXPECT_NE(result.err.find(refusal.says), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("nothing was written"), std::string::npos) << result.err;
  }
  EXPECT_EQ(ReadTextFile(Path("mixed.xml")), before);
  EXPECT_EQ(ReadTextFile(Path("huge.xml")), hugeBefore);

  const Result kept = Run("convert " + Path("mixed.xml") + " --length in --angle deg --keep-unconverted");
  ASSERT_EQ(kept.exitCode, 0) << kept.err;
  EXPECT_NE(kept.err.find("warning: rule \"Wall Check\""), std::string::npos) << kept.err;
  EXPECT_NE(ReadTextFile(Path("mixed.xml")).find("Unit=\"3\""), std::string::npos);
}

TEST_F(Kvxim, WithoutTheResourceFolderNoNamelessRuleSetIsWritten) {
  const Result result =
      kvx::test::RunKvxim(folder_, "new -o " + Path("set.xml"), "KVX_RESOURCE_ROOT=" + Path("no-resources"));
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.err.find(Path("no-resources")), std::string::npos) << "names the folder: " << result.err;
  EXPECT_FALSE(fs::exists(Path("set.xml")));
}

// Load, save and load again: a limit that was in the file is never lost, however odd its record.
TEST_F(Kvxim, HandWrittenRecordsKeepEveryLimitThroughASave) {
  const std::string type = "<Operator>7</Operator><ParameterType>1</ParameterType>";
  Write("odd.xml",
        "<RuleSet Unit=\"0\" AngularUnit=\"0\">"
        // no element for the through-hole limit, and the blind-hole limit without its ParameterType
        "<Rule Name=\"Hole Depth to Diameter Ratio\" Module=\"KvxIMRulesValidator\"><Parameter Type=\"2347\">"
        "<Operator>5</Operator><Value>2.5</Value></Parameter></Rule>" +
            // a range holding only its lower value
            RibTipRecord("<Operator>1</Operator><ParameterType>1</ParameterType><Value>1.2</Value>",
                         "<Operator>1</Operator><ParameterType>1</ParameterType><Value>1.2</Value>") +
            "</RuleSet>");
  for (int pass = 0; pass < 2; ++pass) {
    ASSERT_EQ(Run("convert " + Path("odd.xml") + " --length mm --angle deg").exitCode, 0);
    const json rules = json::parse(Run("show " + Path("odd.xml") + " --json").out);
    const json* hole = FindRule(rules, 12150);
    const json* rib = FindRule(rules, 12220);
    ASSERT_TRUE(hole && rib);
    EXPECT_EQ((*FindParameter(*hole, 2347))["values"], json::array({2.5})) << pass;
    EXPECT_EQ((*FindParameter(*hole, 2348))["values"], json::array({4.0})) << "the factory value, pass " << pass;
    EXPECT_EQ((*FindParameter(*rib, 2730))["values"], json::array({1.2, 1.5})) << pass;
    EXPECT_EQ((*FindConstraintParameter(*rib, "Default", 2730))["values"], json::array({1.2, 1.5})) << pass;
  }
}


// Each rule converts exactly its own set of values: its own, its "Default" constraint's, or none.
TEST_F(Kvxim, ConvertChangesExactlyWhatEachRuleConverts) {
  ASSERT_EQ(Run("new -o " + Path("set.xml")).exitCode, 0);
  ASSERT_EQ(Run("convert " + Path("set.xml") + " --length in --angle rad").exitCode, 0);
  const json rules = json::parse(Run("show " + Path("set.xml") + " --json").out);
  const auto values = [&](int rule, int id) { return (*FindParameter(*FindRule(rules, rule), id))["values"]; };
  const auto defaults = [&](int rule, int id) {
    return (*FindConstraintParameter(*FindRule(rules, rule), "Default", id))["values"];
  };
  EXPECT_EQ(values(12150, 2347), json::array({2.0}));  // ratios: nothing converted
  EXPECT_EQ(values(12160, 2374), json::array({2.0}));
  EXPECT_EQ(values(12220, 2730), json::array({0.8, 1.5}));  // rib tip: the constraints' values only
  EXPECT_EQ(defaults(12220, 2730), json::array({0.031496, 0.059055}));
  EXPECT_EQ(values(12060, 2081), json::array({10.0}));  // cut-out area: the constraints' values only
  EXPECT_EQ(defaults(12060, 2081), json::array({0.393701}));
  EXPECT_EQ(values(12050, 2077), json::array({5.0}));  // rib reinforcement: the constraints' area only
  EXPECT_EQ(defaults(12050, 2077), json::array({0.19685}));
  EXPECT_EQ(defaults(12050, 2102), json::array({3.0}));
  EXPECT_EQ(values(12176, 2468), json::array({0.25}));  // boss draft: the constraints' angles only
  EXPECT_EQ(defaults(12176, 2468), json::array({0.004363}));
  EXPECT_EQ(defaults(12176, 2469), json::array({0.008727}));
  // The tolerance table: every column of every material divided by 25.4.
  const json* tolerance = FindRule(rules, 12174);
  ASSERT_NE(tolerance, nullptr);
  ASSERT_EQ((*tolerance)["constraints"].size(), 7u);
  EXPECT_EQ((*FindConstraintParameter(*tolerance, "ABS", 2518))["values"][0], 0.03937);  // Upto 1 mm
  EXPECT_EQ((*FindConstraintParameter(*tolerance, "ABS", 2519))["values"][0], 0.007087);  // A 0.18 mm
}

TEST_F(Kvxim, ResourceAndUnitsAnswerWithoutTheModule) {
  EXPECT_EQ(Run("resource 2827").out, "Default\n");
  EXPECT_NE(Run("resource 99999").exitCode, 0);
  const json units = json::parse(Run("units --json").out);
  EXPECT_EQ(units["length"][3]["name"], "in");
  EXPECT_EQ(units["length"][3]["names"], json::array({"in", "inch"}));
  EXPECT_FALSE(units["length"][3]["text"].get<std::string>().empty());
  EXPECT_EQ(units["angle"][1]["name"], "rad");
}

TEST_F(Kvxim, EveryCommandHasHelp) {
  for (const char* command : {"", "rules ", "new ", "show ", "convert ", "units ", "resource ", "materials ", "sheet ", "demo ", "edit "}) {
    const Result result = Run(std::string(command) + "--help");
    EXPECT_EQ(result.exitCode, 0) << command;
    EXPECT_NE(result.out.find("Usage"), std::string::npos) << command;
  }
}

}  // namespace
