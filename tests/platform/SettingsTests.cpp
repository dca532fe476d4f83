// The file-backed settings store that plays the registry's part. Every test points KVX_SETTINGS_DIR at
// a scratch folder, so nothing touches the user's real settings.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <iterator>

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
  std::optional<std::int64_t> ReadLanguage() const { return Read(kAddinKey, L"OptionsLanguage"); }
  static std::optional<std::int64_t> Read(const std::wstring& key, const wchar_t* name) {
    return ReadSettingNumber(SettingsHive::CurrentUser, key, name);
  }
  static bool Write(const std::wstring& key, const wchar_t* name, std::int64_t value) {
    return WriteSettingNumber(SettingsHive::CurrentUser, key, name, value);
  }

  ino_t Inode() const {
    struct stat st {};
    return ::stat(UserFile().c_str(), &st) == 0 ? st.st_ino : 0;
  }

  kvx::test::ScratchFolder folder_;
  kvx::test::ScopedEnv settingsDir_{"KVX_SETTINGS_DIR", folder_.Path().string()};
};

TEST_F(SettingsStore, WrittenNumbersReadBackWithoutCaseLikeTheRegistryAndReplaceTheFileWhole) {
  EXPECT_EQ(ReadLanguage(), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(UserFile())) << "reading must not create the file";
  ASSERT_TRUE(Write(kAddinKey, L"OptionsLanguage", 1031));
  ASSERT_TRUE(Write(kAddinKey, L"Big", -5'000'000'000));
  EXPECT_EQ(Read(L"Software\\tarvell\\QPL_Product\\KORVEX\\add-in", L"optionslanguage"), 1031);
  EXPECT_EQ(Read(kAddinKey, L"Big"), -5'000'000'000);
  const ino_t inode = Inode();
  EXPECT_EQ(ReadSettingNumber(SettingsHive::LocalMachine, kAddinKey, L"OptionsLanguage"), std::nullopt)
      << "the hives are separate";
  ASSERT_TRUE(Write(L"software\\TARVELL\\qpl_product\\korvex\\Add-In", L"OPTIONSLANGUAGE", 1036));
  EXPECT_EQ(ReadLanguage(), 1036) << "the same value, not a second one";
  EXPECT_EQ(ReadWholeFile(UserFile()).find("OPTIONSLANGUAGE"), std::string::npos);
  EXPECT_EQ(Read(kAddinKey, L"Big"), -5'000'000'000) << "other values are kept";
  EXPECT_NE(inode, Inode()) << "a new file is renamed over the old one";
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.Path()), {}), 1)
      << "no temporary file is left behind";

  ASSERT_TRUE(Write(L"A/B~C\\\\D\\", L"x/y~z", 3)) << "slashes, tildes and empty levels";
  EXPECT_EQ(Read(L"A/B~C\\D", L"x/y~z"), 3);
  EXPECT_EQ(Read(L"A\\B~C\\D", L"x/y~z"), std::nullopt);
}

TEST_F(SettingsStore, CorruptFileOrValuesThatAreNoIntegerReadAsNothingAndAreNotOverwritten) {
  // "Add-in" holding a number cannot also be a key with values of its own.
  for (const std::string corrupt : {"{\"SOFTWARE\": ", "[1, 2]", "42", "\xFF\xFE{}", "",
                                    R"({"SOFTWARE": {"Tarvell": {"QPL_PRODUCT": {"Korvex": {"Add-in": 5}}}}})"}) {
    WriteWholeFile(UserFile(), corrupt);
    EXPECT_EQ(ReadLanguage(), std::nullopt) << corrupt;
    // Other values may live in that file; the store will not destroy what it cannot read.
    EXPECT_FALSE(Write(kAddinKey, L"OptionsLanguage", 1)) << corrupt;
    EXPECT_EQ(ReadWholeFile(UserFile()), corrupt);
  }
  WriteWholeFile(UserFile(), R"({"SOFTWARE": {"K": {"text": "12", "real": 1.5, "flag": true, "list": [1]}}})");
  for (const wchar_t* name : {L"text", L"real", L"flag", L"list", L"absent"})
    EXPECT_EQ(Read(L"SOFTWARE\\K", name), std::nullopt) << Narrow(name) << ": no integer";
  WriteWholeFile(UserFile(), R"({"SOFTWARE": [1, 2, 3]})");
  EXPECT_EQ(Read(L"SOFTWARE\\99999999999999999999999", L"v"), std::nullopt);
  EXPECT_FALSE(Write(L"SOFTWARE\\1", L"v", 1));
}

TEST_F(SettingsStore, FolderIsCreatedOrFoundInTheUsersConfigFolder) {
  EXPECT_TRUE(CanOpenSettingsKeyForWriting(SettingsHive::LocalMachine, L"SOFTWARE")) << "writable empty folder";
  {
    kvx::test::ScopedEnv nested("KVX_SETTINGS_DIR", (folder_ / "a" / "b").string());
    EXPECT_FALSE(CanOpenSettingsKeyForWriting(SettingsHive::LocalMachine, L"SOFTWARE"));
    ASSERT_TRUE(Write(kAddinKey, L"OptionsLanguage", 2));
    EXPECT_EQ(ReadLanguage(), 2);
  }
  kvx::test::ScopedEnv empty("KVX_SETTINGS_DIR", std::string());
  kvx::test::ScopedEnv config("XDG_CONFIG_HOME", (folder_ / "config").string());
  EXPECT_EQ(UserFile(), folder_ / "config" / "korvex" / "user-settings.json");
}

TEST_F(SettingsStore, ReadOnlyFolderOrUnreadableFileKeepsTheOldFile) {
  KVX_SKIP_IF_SUPERUSER();
  ASSERT_TRUE(Write(kAddinKey, L"OptionsLanguage", 1031));
  const std::string before = ReadWholeFile(UserFile());
  std::filesystem::permissions(folder_.Path(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
  EXPECT_FALSE(CanOpenSettingsKeyForWriting(SettingsHive::CurrentUser, kAddinKey));
  EXPECT_FALSE(Write(kAddinKey, L"OptionsLanguage", 1036));
  EXPECT_EQ(ReadWholeFile(UserFile()), before);
  std::filesystem::permissions(folder_.Path(), std::filesystem::perms::owner_all);

  std::filesystem::permissions(UserFile(), std::filesystem::perms::none);
  EXPECT_EQ(ReadLanguage(), std::nullopt);
  EXPECT_FALSE(Write(kAddinKey, L"Other", 1));
  std::filesystem::permissions(UserFile(), std::filesystem::perms::owner_read);
  EXPECT_EQ(ReadWholeFile(UserFile()), before) << "the old value must not be lost";
}
