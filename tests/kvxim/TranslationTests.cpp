// Every language as a user meets it through kvxim: every shown text translated, rule sets exchanged
// between languages, and language names read without regard to case.
#include "../support/LanguageList.h"
#include "../support/KvximProcess.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

using Translations = kvx::test::KvximFolder;

// The texts of a rule that a user reads: its display name, its summary and its parameters' names.
std::vector<std::string> ShownTexts(const json& rule) {
  std::vector<std::string> texts = {rule["displayName"], rule["summary"]};
  for (const json& parameter : rule["parameters"]) texts.push_back(parameter["name"]);
  return texts;
}

TEST_F(Translations, EveryLanguageShowsItsOwnTextsAndReadsTheRuleSetsOfEveryOther) {
  const std::vector<std::string> languages = kvx::test::BuiltLanguages();
  ASSERT_GT(languages.size(), 1u);
  const json english = Json("--lang english rules --json");
  ASSERT_EQ(english.size(), 20u);

  std::map<std::string, json> fresh;
  for (const std::string& language : languages) {
    SCOPED_TRACE(language);
    fresh[language] = Json("--lang " + language + " rules --json");
    ASSERT_EQ(fresh[language].size(), english.size());
    ASSERT_EQ(Run("--lang " + language + " new -o " + Path(language + ".xml")).exitCode, 0);
    if (language == "english") continue;
    for (std::size_t i = 0; i < english.size(); ++i) {
      const json& rule = fresh[language][i];
      ASSERT_FALSE(rule.is_null()) << "rule " << i;
      EXPECT_EQ(rule["name"], english[i]["name"]) << "key names never change";
      const std::vector<std::string> shown = ShownTexts(rule), englishShown = ShownTexts(english[i]);
      ASSERT_EQ(shown.size(), englishShown.size());
      for (std::size_t t = 0; t < shown.size(); ++t) {
        if (englishShown[t].empty()) continue;  // the module's own rules name their parameters in the dialogs
        EXPECT_FALSE(shown[t].empty()) << englishShown[t];
        EXPECT_NE(shown[t], englishShown[t]) << "untranslated";
      }
    }
  }

  // A rule set saved in one language opens in every other with its rules, keys and values, and shows the
  // reader's own texts.
  for (const std::string& reader : languages) {
    for (const std::string& writer : languages) {
      SCOPED_TRACE(writer + " read in " + reader);
      const json loaded = Json("--lang " + reader + " show " + Path(writer + ".xml") + " --json");
      ASSERT_EQ(loaded.size(), english.size());
      for (std::size_t i = 0; i < loaded.size(); ++i) {
        ASSERT_FALSE(loaded[i].is_null()) << "rule " << i;
        EXPECT_EQ(loaded[i]["name"], english[i]["name"]);
        EXPECT_EQ(loaded[i]["displayName"], fresh[reader][i]["displayName"]);
        for (std::size_t p = 0; p < loaded[i]["parameters"].size(); ++p) {
          EXPECT_EQ(loaded[i]["parameters"][p]["values"], english[i]["parameters"][p]["values"]);
        }
      }
    }
  }
}

TEST_F(Translations, LanguageNamesIgnoreCaseAndAnUnknownOneListsTheInstalledOnes) {
  const std::string german = Run("--lang german rules").out;
  EXPECT_EQ(Run("--lang GERMAN rules").out, german);
  EXPECT_NE(Run("--lang English rules").out, german);

  const kvx::test::ProcessResult unknown = Run("--lang klingon rules");
  EXPECT_EQ(unknown.exitCode, 2);
  EXPECT_NE(unknown.err.find("\"klingon\""), std::string::npos) << unknown.err;
  for (const std::string& language : kvx::test::BuiltLanguages()) EXPECT_NE(unknown.err.find(language), std::string::npos) << language;

  // The folder lookup ignores case too: a resource root whose folders are written otherwise still serves.
  const fs::path root = folder_ / "res";
  for (const auto& [folder, language] : {std::pair{"English", "english"}, std::pair{"GERMAN", "german"}}) {
    fs::create_directories(root / folder);
    fs::copy(fs::path(KVX_BIN_DIR) / "res" / language, root / folder, fs::copy_options::recursive);
  }
  const kvx::test::ProcessResult moved = Run("--lang german rules", "KVX_RESOURCE_ROOT='" + root.string() + "'");
  EXPECT_EQ(moved.exitCode, 0) << moved.err;
  EXPECT_EQ(moved.out, german);
}

}  // namespace
