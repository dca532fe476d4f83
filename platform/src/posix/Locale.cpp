#include "kvx/platform/Locale.h"

#include <langinfo.h>
#include <locale.h>

#include <cstring>
#include <string>
#include <utility>

#include "kvx/platform/Environment.h"
#include "kvx/platform/Text.h"

namespace kvx::platform {

namespace {
struct LocaleLangId {
  const char* locale;  // "ll" or "ll_CC"
  unsigned id;
};

// The language identifiers Windows gives these locales; a language entry without country
// catches every country the table does not name.
constexpr LocaleLangId kLangIds[] = {
    {"zh_TW", 1028}, {"zh_HK", 3076}, {"zh_CN", 2052}, {"zh_SG", 4100}, {"zh", 2052},
    {"cs", 1029},    {"de_AT", 3079}, {"de_CH", 2055}, {"de", 1031},    {"en_GB", 2057},
    {"en_AU", 3081}, {"en_CA", 4105}, {"en", 1033},    {"es_MX", 2058}, {"es_ES", 3082},
    {"es", 3082},    {"fr_BE", 2060}, {"fr_CA", 3084}, {"fr_CH", 4108}, {"fr", 1036},
    {"it_CH", 2064}, {"it", 1040},    {"ja", 1041},    {"ko", 1042},    {"pl", 1045},
    {"pt_BR", 1046}, {"pt", 2070},    {"ru", 1049},    {"nl_BE", 2067}, {"nl", 1043},
    {"sv", 1053},    {"tr", 1055},    {"hu", 1038},
};

// The locale name that decides messages: LC_ALL, then LC_MESSAGES, then LANG.
std::string MessagesLocaleName() {
  for (const char* var : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (auto value = GetEnvNarrow(var); value && !value->empty()) return *value;
  }
  return "C";
}

// "de_DE.UTF-8@euro" -> "de_DE".
std::string StripCodeset(std::string name) {
  const auto cut = name.find_first_of(".@");
  if (cut != std::string::npos) name.resize(cut);
  return name;
}

std::wstring& HostUiLanguageSlot() {
  static std::wstring language;
  return language;
}
}  // namespace

std::wstring HostUiLanguage() { return HostUiLanguageSlot(); }

UiLanguageScope::UiLanguageScope(std::wstring language) : saved_(std::move(language)) {
  std::swap(saved_, HostUiLanguageSlot());
}

UiLanguageScope::~UiLanguageScope() { std::swap(saved_, HostUiLanguageSlot()); }

unsigned UserDefaultLangId() {
  const std::string name = StripCodeset(MessagesLocaleName());
  if (name.empty() || name == "C" || name == "POSIX") return 1033;
  for (const auto& entry : kLangIds) {
    if (name == entry.locale) return entry.id;
  }
  const std::string language = name.substr(0, name.find('_'));
  for (const auto& entry : kLangIds) {
    if (language == entry.locale) return entry.id;
  }
  return 1033;
}

std::wstring LocaleNameOfLangId(unsigned id) {
  for (const auto& entry : kLangIds) {
    if (entry.id == id) return Widen(entry.locale);
  }
  return L"en";
}

std::wstring UserDecimalSeparator() {
  locale_t user = newlocale(LC_NUMERIC_MASK, "", static_cast<locale_t>(0));
  if (!user) return L".";
  std::string radix = nl_langinfo_l(RADIXCHAR, user);
  freelocale(user);
  if (radix.empty()) return L".";
  std::wstring separator = Widen(radix);
  if (separator.size() > 5) separator.resize(5);
  return separator;
}

std::wstring IsoLanguageName() {
  const std::string name = StripCodeset(MessagesLocaleName());
  if (name == "C" || name == "POSIX") return L"en";
  return Widen(name.substr(0, name.find('_')));
}

std::wstring IsoCountryName() {
  const std::string name = StripCodeset(MessagesLocaleName());
  if (name == "C" || name == "POSIX") return L"US";
  const auto underscore = name.find('_');
  return underscore == std::string::npos ? std::wstring() : Widen(name.substr(underscore + 1));
}

}  // namespace kvx::platform
