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

}  // namespace kvx::platform
