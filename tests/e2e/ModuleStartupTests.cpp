// Start-up of the application object: resource folders, fallbacks, and the language routines.
#include <unistd.h>

#include <filesystem>

#include "ModuleLoader.h"
#include "kvx/module/KVXIMRulesApp.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/platform/Settings.h"
#include "kvx/utility/LocationHelper.h"

namespace kvx::test {
namespace {

const std::string kResourceRoot = std::string(KVX_BIN_DIR) + "/res";

class Startup : public ::testing::Test {
 protected:
  void TearDown() override { app.ExitInstance(); }
  CKVXIMRulesApp app;
  ScopedEnv root{"KVX_RESOURCE_ROOT", kResourceRoot.c_str()};
};

TEST_F(Startup, LoadsTheChosenLanguageBesideEnglishAndExitReleasesEverything) {
  ScopedEnv language("KVX_LANGUAGE", "german");
  ASSERT_TRUE(app.InitInstance());
  EXPECT_EQ(app.m_csLanguage, L"german");
  ASSERT_TRUE(app.m_hLocalizedResource);
  ASSERT_TRUE(app.m_hDefaultResource);
  EXPECT_EQ(app.LoadDefaultString(2345), L"Hole Depth to Diameter Ratio");
  EXPECT_NE(app.m_hLocalizedResource->String(2345), app.m_hDefaultResource->String(2345));
  EXPECT_EQ(app.m_csHelpFilePath, platform::Widen(kResourceRoot) + L"/german/korvex.chm");
  EXPECT_EQ(kvx::platform::CurrentResourceLibrary(), app.m_hLocalizedResource.get());
  EXPECT_EQ(GetModuleApp(), &app);
  EXPECT_TRUE(kvx::params::Module().applicationPresent);
  EXPECT_TRUE(kvx::params::Module().materialWorkflow);  // on by default, for the module's whole life
  app.ExitInstance();
  EXPECT_FALSE(app.m_hLocalizedResource);
  EXPECT_FALSE(app.m_hDefaultResource);
  EXPECT_EQ(GetModuleApp(), nullptr);
  EXPECT_EQ(CommonRulesSetXMLDoc(), nullptr);
  EXPECT_FALSE(kvx::params::Module().applicationPresent);
}

TEST_F(Startup, MissingLibrariesFallBackToEnglishThenToEmptyTexts) {
  {
    ScopedEnv language("KVX_LANGUAGE", "klingon");
    ASSERT_TRUE(app.InitInstance());
    EXPECT_EQ(app.m_csLanguage, L"english");
    ASSERT_TRUE(app.m_hLocalizedResource);
    EXPECT_EQ(app.m_csResourceFolder, platform::Widen(kResourceRoot) + L"/english");
    EXPECT_EQ(app.m_csHelpFilePath, platform::Widen(kResourceRoot) + L"/english/korvex.chm");
    // The path tried first is kept even after the fallback.
    EXPECT_EQ(app.m_csResourceLibraryPath, platform::Widen(kResourceRoot) + L"/klingon/libKVXIMRulesResu.so");
    app.ExitInstance();
  }
  ScopedEnv nowhere("KVX_RESOURCE_ROOT", "/nonexistent/kvx-resources");
  ASSERT_TRUE(app.InitInstance());
  EXPECT_FALSE(app.m_hLocalizedResource);
  EXPECT_FALSE(app.m_hDefaultResource);
  EXPECT_EQ(app.LoadDefaultString(2345), L"");
  EXPECT_EQ(GetModuleApp(), &app);  // start-up still succeeds
}

TEST_F(Startup, MaterialWorkflowReaderNeedsExactlyOne) {
  const std::pair<const char*, bool> cases[] = {{"1", true}, {"1 ", false}, {"yes", false}, {"", false}, {nullptr, false}};
  for (const auto& [value, expected] : cases) {
    ScopedEnv workflow("ENABLE_MATERIAL_WORKFLOW", value);
    app.ReadMaterialWorkflowSwitch();
    EXPECT_EQ(app.m_bMaterialWorkflow, expected) << '"' << (value ? value : "(unset)") << '"';
    EXPECT_EQ(app.Context().materialWorkflow, expected);
  }
}

// The add-in's language option wins while it names a listed language, then the host's English switch, then
// the user's locale.
TEST(LanguageFromSettings, FollowsTheOptionThenTheHostThenTheUser) {
  const auto folder = std::filesystem::temp_directory_path() / ("kvx-settings-" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  ScopedEnv settings("KVX_SETTINGS_DIR", folder.c_str()), locale("LC_ALL", "de_DE.UTF-8");
  const std::wstring addin = L"SOFTWARE\\Tarvell\\QPL_PRODUCT\\Korvex\\Add-in", option = L"OptionsLanguage";
  const struct { std::wstring key, value; int number; const wchar_t* language; } steps[] = {
      {addin, option, 1, L"german"},
      {L"SOFTWARE\\Solidworks\\SolidWorks 2008\\General", L"Use English language", 1, L"english"},
      {addin, option, 0, L"english"},
      {addin, option, 1036, L"french"},
      {addin, option, 3082, L"english"}};  // only the listed identifiers map
  EXPECT_EQ(CKVXIMRulesApp::LanguageFromSettings(), L"german");  // nothing set: follow the user
  for (const auto& step : steps) {
    ASSERT_TRUE(platform::WriteSettingNumber(platform::SettingsHive::CurrentUser, step.key, step.value, step.number));
    EXPECT_EQ(CKVXIMRulesApp::LanguageFromSettings(), step.language) << platform::Narrow(step.value) << step.number;
  }
  std::filesystem::remove_all(folder);
}

// Unknown names and identifiers mean English; the locale follows the hint only where a language has several.
TEST(Languages, NamesIdentifiersAndLocalesWithEnglishAsTheFallback) {
  EXPECT_EQ(CLanguageUtil::LanguageNameToId(L"Chinese-Simplified"), 2052u);
  EXPECT_EQ(CLanguageUtil::LanguageIdToName(1028), L"chinese");
  EXPECT_EQ(CLanguageUtil::LanguageNameToId(L"portuguese-brazilian"), 1046u);
  EXPECT_EQ(CLanguageUtil::LanguageIdToName(1031), L"german");
  for (const wchar_t* name : {L"", L"dutch", L"german "}) EXPECT_EQ(CLanguageUtil::LanguageNameToId(name), 1033u);
  for (unsigned id : {0u, 1043u}) EXPECT_EQ(CLanguageUtil::LanguageIdToName(id), L"english") << id;

  ScopedEnv locale("LC_ALL", "zh_CN.UTF-8");
  CKVXIMRulesApp app;
  const std::pair<const wchar_t*, const wchar_t*> cases[] = {
      {L"chinese-simplified", L"zh_CN"}, {L"japanese", L"japanese"}, {L"german", L"english"}};
  for (const auto& [hint, name] : cases) {
    app.m_csLanguageHint = hint;
    EXPECT_EQ(app.LocaleNameForLanguage(), name) << platform::Narrow(hint);
  }
}

}  // namespace
}  // namespace kvx::test
