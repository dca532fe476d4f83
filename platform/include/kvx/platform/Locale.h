#pragma once
// The user's locale as the system reports it.
#include <string>

#include "kvx/platform/Export.h"

namespace kvx::platform {

// The user's default language identifier (Windows LANGID values, 1033 for US English, 1031 for
// German). On POSIX derived from LC_ALL, LC_MESSAGES or LANG; 1033 when none says otherwise.
KVX_PLATFORM_API unsigned UserDefaultLangId();
// The locale name ("de", "zh_TW") of a Windows language identifier; "en" for one the table does not know.
KVX_PLATFORM_API std::wstring LocaleNameOfLangId(unsigned id);
// The user's decimal separator (at most 5 characters); "." when it cannot be told.
KVX_PLATFORM_API std::wstring UserDecimalSeparator();
// ISO 639 language name and ISO 3166 country name of the system default locale ("de", "DE");
// empty when unknown.
KVX_PLATFORM_API std::wstring IsoLanguageName();
KVX_PLATFORM_API std::wstring IsoCountryName();

// The user-interface language a host chose for this process (a product language name such as
// "german"), empty when it chose none. Like a thread's UI language on Windows, it is set before the host
// loads a module, so that the module's start-up takes it; only UiLanguageScope changes it.
KVX_PLATFORM_API std::wstring HostUiLanguage();

// Makes `language` the host's user-interface language and restores the one before when the scope ends.
class KVX_PLATFORM_API UiLanguageScope {
 public:
  explicit UiLanguageScope(std::wstring language);
  ~UiLanguageScope();
  UiLanguageScope(const UiLanguageScope&) = delete;
  UiLanguageScope& operator=(const UiLanguageScope&) = delete;

 private:
  std::wstring saved_;
};

}  // namespace kvx::platform
