// The file-backed settings store that plays the registry's part. Every test points KVX_SETTINGS_DIR at
// a scratch folder, so nothing touches the user's real settings.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "PlatformTestSupport.h"
#include "kvx/platform/Settings.h"
#include "kvx/platform/Text.h"

using namespace kvx::platform;
using kvx::test::ReadWholeFile;
using kvx::test::WriteWholeFile;

namespace {
const std::wstring kAddinKey = L"SOFTWARE\\Tarvell\\QPL_PRODUCT\\Korvex\\Add-in";
}

class SettingsStore : public ::testing::Test {
 protected:
  std::filesystem::path UserFile() const { return Narrow(SettingsFilePath(SettingsHive::CurrentUser)); }
  std::optional<std::int64_t> ReadLanguage() const {
    return ReadSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"OptionsLanguage");
  }

  kvx::test::ScratchFolder folder_;
  kvx::test::ScopedEnv settingsDir_{"KVX_SETTINGS_DIR", folder_.Path().string()};
};

TEST_F(SettingsStore, MissingFileReadsAsNothing) {
  EXPECT_EQ(ReadLanguage(), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(UserFile())) << "reading must not create the file";
}

TEST_F(SettingsStore, WrittenNumbersReadBack) {
  ASSERT_TRUE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"OptionsLanguage", 1031));
  ASSERT_TRUE(WriteSettingNumber(SettingsHive::CurrentUser, L"SOFTWARE\\Solidworks\\SolidWorks 2007\\General",
                                 L"Use English language", 1));
  ASSERT_TRUE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"Big", -5'000'000'000));
  EXPECT_EQ(ReadLanguage(), 1031);
  EXPECT_EQ(ReadSettingNumber(SettingsHive::CurrentUser, L"SOFTWARE\\Solidworks\\SolidWorks 2007\\General",
                              L"Use English language"),
            1);
  EXPECT_EQ(ReadSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"Big"), -5'000'000'000);
  EXPECT_EQ(ReadSettingNumber(SettingsHive::LocalMachine, kAddinKey, L"OptionsLanguage"), std::nullopt)
      << "the hives are separate";

  ASSERT_TRUE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"OptionsLanguage", 0));
  EXPECT_EQ(ReadLanguage(), 0) << "a second write replaces the value";
}

TEST_F(SettingsStore, KeyAndValueNamesMatchWithoutCaseLikeTheRegistry) {
  ASSERT_TRUE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"OptionsLanguage", 1031));
  EXPECT_EQ(ReadSettingNumber(SettingsHive::CurrentUser, L"Software\\tarvell\\QPL_Product\\KORVEX\\add-in",
                              L"optionslanguage"),
            1031);
  ASSERT_TRUE(WriteSettingNumber(SettingsHive::CurrentUser, L"software\\TARVELL\\qpl_product\\korvex\\Add-In",
                                 L"OPTIONSLANGUAGE", 1036));
  EXPECT_EQ(ReadLanguage(), 1036) << "the same value, not a second one";
  EXPECT_EQ(ReadWholeFile(UserFile()).find("OPTIONSLANGUAGE"), std::string::npos);
}

TEST_F(SettingsStore, NamesWithSlashesTildesAndEmptyLevelsWork) {
  ASSERT_TRUE(WriteSettingNumber(SettingsHive::CurrentUser, L"A/B~C\\\\D\\", L"x/y~z", 3));
  EXPECT_EQ(ReadSettingNumber(SettingsHive::CurrentUser, L"A/B~C\\D", L"x/y~z"), 3);
  EXPECT_EQ(ReadSettingNumber(SettingsHive::CurrentUser, L"A\\B~C\\D", L"x/y~z"), std::nullopt);
}

TEST_F(SettingsStore, ValuesThatAreNoIntegerReadAsNothing) {
  WriteWholeFile(UserFile(), R"({"SOFTWARE": {"K": {"text": "12", "real": 1.5, "flag": true, "list": [1]}}})");
  for (const wchar_t* name : {L"text", L"real", L"flag", L"list", L"absent"}) {
    EXPECT_EQ(ReadSettingNumber(SettingsHive::CurrentUser, L"SOFTWARE\\K", name), std::nullopt) << Narrow(name);
  }
}

TEST_F(SettingsStore, CorruptFileReadsAsNothingAndIsNotOverwritten) {
  for (const std::string corrupt : {"{\"SOFTWARE\": ", "[1, 2]", "42", "\xFF\xFE{}", ""}) {
    WriteWholeFile(UserFile(), corrupt);
    EXPECT_EQ(ReadLanguage(), std::nullopt) << corrupt;
    // Other values may live in that file; the store will not destroy what it cannot read.
    EXPECT_FALSE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"OptionsLanguage", 1)) << corrupt;
    EXPECT_EQ(ReadWholeFile(UserFile()), corrupt);
  }
}

TEST_F(SettingsStore, KeyPathThroughAValueFailsCleanly) {
  // "Add-in" already holds a number, so it cannot also be a key with values of its own.
  WriteWholeFile(UserFile(), R"({"SOFTWARE": {"Tarvell": {"QPL_PRODUCT": {"Korvex": {"Add-in": 5}}}}})");
  const std::string before = ReadWholeFile(UserFile());
  EXPECT_EQ(ReadLanguage(), std::nullopt);
  EXPECT_FALSE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"OptionsLanguage", 1));
  EXPECT_EQ(ReadWholeFile(UserFile()), before);

  WriteWholeFile(UserFile(), R"({"SOFTWARE": [1, 2, 3]})");
  EXPECT_EQ(ReadSettingNumber(SettingsHive::CurrentUser, L"SOFTWARE\\99999999999999999999999", L"v"), std::nullopt);
  EXPECT_FALSE(WriteSettingNumber(SettingsHive::CurrentUser, L"SOFTWARE\\1", L"v", 1));
}

TEST_F(SettingsStore, WriteReplacesTheFileAtomicallyAndKeepsOtherValues) {
  ASSERT_TRUE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"OptionsLanguage", 1031));
  ASSERT_TRUE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"Other", 7));
  struct stat before {};
  ASSERT_EQ(::stat(UserFile().c_str(), &before), 0);
  ASSERT_TRUE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"OptionsLanguage", 1036));
  struct stat after {};
  ASSERT_EQ(::stat(UserFile().c_str(), &after), 0);
  EXPECT_NE(before.st_ino, after.st_ino) << "a new file is renamed over the old one";
  EXPECT_EQ(ReadLanguage(), 1036);
  EXPECT_EQ(ReadSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"Other"), 7);
  // Nothing but the two store files is left behind.
  int entries = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder_.Path())) ++entries;
  EXPECT_EQ(entries, 1);
}

TEST_F(SettingsStore, MissingFolderIsCreated) {
  kvx::test::ScopedEnv nested("KVX_SETTINGS_DIR", (folder_ / "a" / "b").string());
  ASSERT_TRUE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"OptionsLanguage", 2));
  EXPECT_EQ(ReadLanguage(), 2);
}

TEST_F(SettingsStore, EmptyFolderVariableFallsBackToTheUsersConfigFolder) {
  kvx::test::ScopedEnv empty("KVX_SETTINGS_DIR", std::string());
  kvx::test::ScopedEnv config("XDG_CONFIG_HOME", (folder_ / "config").string());
  EXPECT_EQ(UserFile(), folder_ / "config" / "korvex" / "user-settings.json");
}

TEST_F(SettingsStore, ReadOnlyFolderRefusesWritesAndKeepsTheOldFile) {
  KVX_SKIP_IF_SUPERUSER();
  ASSERT_TRUE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"OptionsLanguage", 1031));
  const std::string before = ReadWholeFile(UserFile());
  std::filesystem::permissions(folder_.Path(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
  EXPECT_FALSE(CanOpenSettingsKeyForWriting(SettingsHive::CurrentUser, kAddinKey));
  EXPECT_FALSE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"OptionsLanguage", 1036));
  EXPECT_EQ(ReadWholeFile(UserFile()), before);
  EXPECT_EQ(ReadLanguage(), 1031);
}

TEST_F(SettingsStore, UnreadableFileIsNeitherReadNorReplaced) {
  KVX_SKIP_IF_SUPERUSER();
  ASSERT_TRUE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"Other", 7));
  const std::string before = ReadWholeFile(UserFile());
  std::filesystem::permissions(UserFile(), std::filesystem::perms::none);
  EXPECT_EQ(ReadSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"Other"), std::nullopt);
  EXPECT_FALSE(WriteSettingNumber(SettingsHive::CurrentUser, kAddinKey, L"OptionsLanguage", 1));
  std::filesystem::permissions(UserFile(), std::filesystem::perms::owner_read);
  EXPECT_EQ(ReadWholeFile(UserFile()), before) << "the other value must not be lost";
}

TEST_F(SettingsStore, WritableKeyProbeFollowsTheFileAndFolder) {
  EXPECT_TRUE(CanOpenSettingsKeyForWriting(SettingsHive::LocalMachine, L"SOFTWARE")) << "writable empty folder";
  kvx::test::ScopedEnv missing("KVX_SETTINGS_DIR", (folder_ / "missing").string());
  EXPECT_FALSE(CanOpenSettingsKeyForWriting(SettingsHive::LocalMachine, L"SOFTWARE"));
}
