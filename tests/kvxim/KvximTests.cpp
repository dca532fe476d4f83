// kvxim as a user runs it: commands, their output, and what bad input gives.
#include "../support/KvximProcess.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using Result = kvx::test::ProcessResult;
using kvx::test::ReadTextFile;
using Kvxim = kvx::test::KvximFolder;

// Parameter `id` of rule `ruleId`, or its entry in the rule's constraint named `constraint`; null if none.
json Parameter(const json& rules, int ruleId, int id, const std::string& constraint = "") {
  for (const auto& rule : rules) {
    if (rule.is_null() || rule["id"] != ruleId) continue;
    for (const auto& owner : constraint.empty() ? json::array({rule}) : rule["constraints"]) {
      if (!constraint.empty() && owner["name"] != constraint) continue;
      for (const auto& parameter : owner["parameters"]) {
        if (parameter["id"] == id) return parameter;
      }
    }
  }
  return json::object();
}
json Values(const json& rules, int ruleId, int id, const std::string& constraint = "") {
  return Parameter(rules, ruleId, id, constraint)["values"];
}

// The listing names operators, severities and units beside their codes; a new rule set, shown, lists the
// same rules (the constraints' flags aside), and `show` gives null for rules it cannot build.
TEST_F(Kvxim, FreshRuleSetListsAsJsonAndRoundTripsThroughNewAndShow) {
  json rules = Json("rules --json");
  ASSERT_EQ(rules.size(), 20u);
  EXPECT_EQ(rules[0]["id"], 12010);
  EXPECT_EQ(rules[19]["id"], 12180);
  for (const auto& rule : rules) {
    EXPECT_EQ(rule["category"], 9);
    EXPECT_EQ(rule["module"], "KvxIMRulesValidator");
  }
  EXPECT_EQ(Values(rules, 12150, 2347), json::array({2.0}));
  EXPECT_EQ(Values(rules, 12150, 2348), json::array({4.0}));
  EXPECT_EQ(Parameter(rules, 12150, 2347)["operator"], 5);
  EXPECT_EQ(Parameter(rules, 12150, 2347)["operatorSymbol"], "<");
  EXPECT_EQ(rules[0]["severityName"], "Medium");
  EXPECT_EQ(rules[0]["units"]["lengthName"], "mm");
  const json ribTip = Parameter(rules, 12220, 2730);
  EXPECT_EQ(ribTip["values"], json::array({0.8, 1.5}));
  EXPECT_EQ(ribTip["operatorOptions"], json::array({7, 6, 1}));
  EXPECT_EQ(ribTip["operatorOptionSymbols"], json::array({">=", ">", "RANGE"}));

  ASSERT_EQ(Run("new -o " + Path("set.xml")).exitCode, 0);
  json shown = Json("show " + Path("set.xml") + " --json");
  for (json* set : {&rules, &shown}) {
    for (json& rule : *set) {
      for (json& constraint : rule["constraints"]) constraint.erase("status"), constraint.erase("secondFlag");
    }
  }
  EXPECT_EQ(shown, rules);
  const std::string xml = ReadTextFile(Path("set.xml"));
  EXPECT_NE(xml.find("<RuleSet Unit=\"0\" AngularUnit=\"0\">"), std::string::npos);
  EXPECT_NE(xml.find("<Rule Name=\"Hole Depth to Diameter Ratio\" Status=\"0\" LifeStatus="), std::string::npos);

  Write("set.xml",
        "<RuleSet Unit=\"0\" AngularUnit=\"0\"><Rule Name=\"Lip Bottom Radius\" Module=\"KvxIMRulesValidator\"/>"
        "<Rule Name=\"Hole Spacing\" Module=\"KvxIMRulesValidator\"/><Rule Name=\"x\" Module=\"Other\"/></RuleSet>");
  shown = Json("show " + Path("set.xml") + " --json");
  ASSERT_EQ(shown.size(), 3u);
  EXPECT_TRUE(shown[0].is_null());
  EXPECT_EQ(shown[1]["id"], 12160);
  EXPECT_EQ(shown[1]["name"], "Hole Spacing");  // a loaded rule keeps the name its record gives
  EXPECT_TRUE(shown[2].is_null());
}

// Bad files exit 1 with their reason; usage errors exit 2 and name the values that would have been taken.
// Without its resource folder kvxim names the folder and writes no nameless rule set.
TEST_F(Kvxim, BadInputGivesOneLineAndItsExitCode) {
  Write("broken.xml", "<RuleSet><Rule Name=\"a\"></RuleSet>");
  Write("other.xml", "<Rules/>");
  Write("empty.xml", "");
  const struct {
    std::string args;
    int exitCode;
    std::string mentions;
    std::string environment = "";
  } cases[] = {
      {"show " + Path("missing.xml"), 1, "missing.xml"},
      {"show " + Path("broken.xml"), 1, "line 1"},
      {"show " + Path("other.xml"), 1, "RuleSet"},
      {"show " + Path("empty.xml"), 1, "empty.xml"},
      {"convert " + Path("other.xml") + " --length parsec --angle deg", 2, "inch"},
      {"convert " + Path("other.xml") + " --length mm --angle gon", 2, "rad"},
      {"frobnicate", 2, "frobnicate"},
      {"new -o " + Path("set.xml"), 1, Path("no-resources"), "KVX_RESOURCE_ROOT=" + Path("no-resources")},
  };
  for (const auto& entry : cases) {
    const Result result = Run(entry.args, entry.environment);
    EXPECT_EQ(result.exitCode, entry.exitCode) << entry.args;
    EXPECT_NE(result.err.find(entry.mentions), std::string::npos) << entry.args << ": " << result.err;
  }
  EXPECT_FALSE(fs::exists(Path("set.xml")));
}

// The habits of command-line tools: help for every command and without one, a version, names in any case,
// "-" for stdout; resources and units answer without the module.
TEST_F(Kvxim, FollowsCommandLineConventions) {
  for (const char* command : {"", "--help", "rules --help", "new --help", "show --help", "convert --help",
                              "units --help", "resource --help", "materials --help", "sheet --help", "demo --help",
                              "edit --help"}) {
    const Result result = Run(command);
    EXPECT_EQ(result.exitCode, 0) << command;
    EXPECT_NE(result.out.find("Usage"), std::string::npos) << command;
    EXPECT_TRUE(result.err.empty()) << command;
  }
  EXPECT_EQ(Run("--version").out, std::string(KVX_PROJECT_VERSION) + "\n");

  const Result toStdout = Run("new -o -");
  ASSERT_EQ(toStdout.out.rfind("<?xml", 0), 0u) << toStdout.err;
  Write("set.xml", toStdout.out);
  const Result inches = Run("convert " + Path("set.xml") + " --length INCH --angle Rad -o -");
  EXPECT_NE(inches.out.find("<RuleSet Unit=\"3\" AngularUnit=\"1\">"), std::string::npos) << inches.err;
  EXPECT_EQ(ReadTextFile(Path("set.xml")), toStdout.out);  // -o - leaves the file alone

  EXPECT_EQ(Run("resource 2827").out, "Default\n");
  EXPECT_NE(Run("resource 99999").exitCode, 0);
  const json units = Json("units --json");
  EXPECT_EQ(units["length"][3]["name"], "in");
  EXPECT_EQ(units["length"][3]["names"], json::array({"in", "inch"}));
  EXPECT_FALSE(units["length"][3]["text"].get<std::string>().empty());
  EXPECT_EQ(units["angle"][1]["name"], "rad");
}

// Each rule converts exactly its own set of values: its own, its "Default" constraint's, or none; converted
// back, every value of the factory set returns.
TEST_F(Kvxim, ConvertChangesExactlyWhatEachRuleConvertsAndBackAgain) {
  ASSERT_EQ(Run("new -o " + Path("set.xml")).exitCode, 0);
  ASSERT_EQ(Run("convert " + Path("set.xml") + " --length in --angle rad -o " + Path("inch.xml")).exitCode, 0);
  EXPECT_NE(ReadTextFile(Path("inch.xml")).find("<RuleSet Unit=\"3\" AngularUnit=\"1\">"), std::string::npos);
  const json rules = Json("show " + Path("inch.xml") + " --json");
  const struct {
    int rule, id;
    const char* constraint;
    json values;
  } cases[] = {
      {12150, 2347, "", json::array({2.0})},  // ratios: nothing converted
      {12160, 2374, "", json::array({2.0})},
      {12220, 2730, "", json::array({0.8, 1.5})},  // rib tip: the constraints' values only
      {12220, 2730, "Default", json::array({0.031496, 0.059055})},
      {12060, 2081, "", json::array({10.0})},  // cut-out area: the constraints' values only
      {12060, 2081, "Default", json::array({0.393701})},
      {12050, 2077, "", json::array({5.0})},  // rib reinforcement: the constraints' area only
      {12050, 2077, "Default", json::array({0.19685})},
      {12050, 2102, "Default", json::array({3.0})},
      {12176, 2468, "", json::array({0.25})},  // boss draft: the constraints' angles only
      {12176, 2468, "Default", json::array({0.004363})},
      {12176, 2469, "Default", json::array({0.008727})},
      // The tolerance table: every column of every material divided by 25.4.
      {12174, 2518, "ABS", json::array({0.03937})},  // Upto 1 mm
      {12174, 2519, "ABS", json::array({0.007087})},  // A 0.18 mm
  };
  for (const auto& entry : cases) {
    json values = Values(rules, entry.rule, entry.id, entry.constraint);
    if (entry.rule == 12174 && values.is_array()) values = json::array({values[0]});  // the first band
    EXPECT_EQ(values, entry.values) << entry.rule << "/" << entry.id << " " << entry.constraint;
  }
  for (const auto& rule : rules) {
    EXPECT_TRUE(rule.is_null() || rule["units"]["length"] == 3) << rule["name"];
    EXPECT_TRUE(rule.is_null() || rule["id"] != 12174 || rule["constraints"].size() == 7u) << "tolerance materials";
  }

  // The XML keeps six decimals, so small angles in radians lose a few digits on the way (the summaries too).
  ASSERT_EQ(Run("convert " + Path("inch.xml") + " --length mm --angle deg").exitCode, 0);
  const json back = Json("show " + Path("inch.xml") + " --json").flatten();
  const json fresh = Json("show " + Path("set.xml") + " --json").flatten();
  ASSERT_EQ(back.size(), fresh.size());
  for (const auto& [key, value] : fresh.items()) {
    if (!value.is_number()) {
      EXPECT_TRUE(key.ends_with("summary") || back.at(key) == value) << key;
      continue;
    }
    const double expected = value.get<double>();
    EXPECT_NEAR(back.at(key).get<double>(), expected, std::max(1e-5, 1e-4 * std::abs(expected))) << key;
  }
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
  const std::string limit = "<Operator>7</Operator><ParameterType>1</ParameterType><Value>";
  Write("huge.xml", "<RuleSet Unit=\"3\" AngularUnit=\"0\">" +
                        RibTipRecord(limit + "1.0</Value>", limit + huge + "</Value>") + "</RuleSet>");
  const std::string hugeBefore = ReadTextFile(Path("huge.xml"));
  const std::pair<std::string, std::string> refusals[] = {
      {"convert " + Path("mixed.xml") + " --length in --angle deg", "rule \"Wall Check\" could not be converted"},
      {"convert " + Path("mixed.xml") + " --length uin --angle deg", "could not be read back"},
      {"convert " + Path("huge.xml") + " --length mm --angle deg", "rule \"Rib Tip Thickness\" are too large"},
  };
  for (const auto& [args, says] : refusals) {
    const Result result = Run(args);
    EXPECT_EQ(result.exitCode, 1) << args;
    EXPECT_NE(result.err.find(says), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("nothing was written"), std::string::npos) << result.err;
  }
  EXPECT_EQ(ReadTextFile(Path("mixed.xml")), mixed);
  EXPECT_EQ(ReadTextFile(Path("huge.xml")), hugeBefore);

  const Result kept = Run("convert " + Path("mixed.xml") + " --length in --angle deg --keep-unconverted");
  ASSERT_EQ(kept.exitCode, 0) << kept.err;
  EXPECT_NE(kept.err.find("warning: rule \"Wall Check\""), std::string::npos) << kept.err;
  EXPECT_NE(ReadTextFile(Path("mixed.xml")).find("Unit=\"3\""), std::string::npos);
}

// Load, save and load again: a limit that was in the file is never lost, however odd its record.
TEST_F(Kvxim, HandWrittenRecordsKeepEveryLimitThroughASave) {
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
    const json rules = Json("show " + Path("odd.xml") + " --json");
    EXPECT_EQ(Values(rules, 12150, 2347), json::array({2.5})) << pass;
    EXPECT_EQ(Values(rules, 12150, 2348), json::array({4.0})) << "the factory value, pass " << pass;
    EXPECT_EQ(Values(rules, 12220, 2730), json::array({1.2, 1.5})) << pass;
    EXPECT_EQ(Values(rules, 12220, 2730, "Default"), json::array({1.2, 1.5})) << pass;
  }
}

}  // namespace
