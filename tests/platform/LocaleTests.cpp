// Environment reading and the user's locale as the system reports it (Windows language ids derived
// from LC_ALL, LC_MESSAGES and LANG on this platform).
#include <gtest/gtest.h>

#include <tuple>

#include "PlatformTestSupport.h"
#include "kvx/platform/Environment.h"
#include "kvx/platform/Locale.h"

using namespace kvx::platform;
using kvx::test::ScopedEnv;

TEST(Environment, ReadsAndExactComparison) {
  ScopedEnv set("KVX_TEST_VARIABLE", std::string("Gr\xC3\xB6\xC3\x9F" "e"));
  ScopedEnv empty("KVX_TEST_EMPTY", std::string());
  ScopedEnv unset("KVX_TEST_UNSET", std::nullopt);
  EXPECT_EQ(GetEnvWide(L"KVX_TEST_VARIABLE"), L"Gr\u00f6\u00dfe");
  EXPECT_EQ(GetEnvNarrow("KVX_TEST_EMPTY"), "") << "an empty variable still exists";
  EXPECT_EQ(GetEnvWide(L"KVX_TEST_UNSET"), std::nullopt);
  EXPECT_FALSE(EnvEquals("KVX_TEST_UNSET", ""));
  for (const char* other : {"1 ", " 1", "true", "01", ""}) {
    ScopedEnv value("ZVX_BETA_RULES", other);
    EXPECT_FALSE(EnvEquals("ZVX_BETA_RULES", "1")) << "'" << other << "'";
  }
  ScopedEnv one("ZVX_BETA_RULES", "1");
  EXPECT_TRUE(EnvEquals("ZVX_BETA_RULES", "1"));
}

// Sets LC_ALL, LC_MESSAGES and LANG for a scope (a null value removes one), restored in reverse order, LANG last.
struct LocaleVariables {
  ScopedEnv lang, messages, all;
  LocaleVariables(const char* all, const char* messages, const char* lang)
      : lang("LANG", lang), messages("LC_MESSAGES", messages), all("LC_ALL", all) {}
};

TEST(UserLocale, LanguageIdsFollowTheWindowsValuesAndTheVariablesInOrder) {
  const std::pair<const char*, unsigned> cases[] = {
      {"de_DE.UTF-8", 1031}, {"de_AT.UTF-8", 3079}, {"de_CH", 2055},        {"de", 1031},
      {"en_US.UTF-8", 1033}, {"en_GB.UTF-8", 2057}, {"C", 1033},            {"POSIX", 1033},
      {"C.UTF-8", 1033},     {"es_MX.UTF-8", 2058}, {"es_ES.UTF-8", 3082},  {"es", 3082},
      {"fr_FR.UTF-8", 1036}, {"fr_CA.UTF-8", 3084}, {"it_IT", 1040},        {"ja_JP.UTF-8", 1041},
      {"ko_KR.eucKR", 1042}, {"zh_CN.UTF-8", 2052}, {"zh_TW.UTF-8", 1028},  {"pt_BR.UTF-8", 1046},
      {"pt_PT.UTF-8", 2070}, {"cs_CZ.UTF-8", 1029}, {"pl_PL", 1045},        {"ru_RU.UTF-8", 1049},
      {"de_DE@euro", 1031},  {"xx_YY.UTF-8", 1033}, {"", 1033},
  };
  for (const auto& [lang, id] : cases) {
    LocaleVariables use(nullptr, nullptr, lang);
    EXPECT_EQ(UserDefaultLangId(), id) << "LANG=" << lang;
  }
  // LC_ALL wins over LC_MESSAGES, which wins over LANG; empty variables do not count.
  const std::tuple<const char*, const char*, unsigned> orders[] = {
      {"C", "fr_FR.UTF-8", 1033}, {nullptr, "fr_FR.UTF-8", 1036}, {"", "", 1031}};
  for (const auto& [all, messages, id] : orders) {
    LocaleVariables use(all, messages, "de_DE.UTF-8");
    EXPECT_EQ(UserDefaultLangId(), id) << (all ? all : "-") << " " << messages;
  }
}

TEST(UserLocale, IsoNamesSplitTheLocaleNameAndADecimalSeparatorIsAlwaysThere) {
  const std::tuple<const char*, const wchar_t*, const wchar_t*> cases[] = {
      {"zh_CN.UTF-8", L"zh", L"CN"}, {"de", L"de", L""}, {"C", L"en", L"US"}};
  for (const auto& [lang, language, country] : cases) {
    LocaleVariables use(nullptr, nullptr, lang);
    EXPECT_EQ(IsoLanguageName(), language) << lang;
    EXPECT_EQ(IsoCountryName(), country) << lang;
  }
  LocaleVariables c("C", "fr_FR.UTF-8", "de_DE.UTF-8");
  EXPECT_EQ(UserDecimalSeparator(), L".");
  LocaleVariables unknown(nullptr, nullptr, "no_such_locale");
  EXPECT_FALSE(UserDecimalSeparator().empty());
}
