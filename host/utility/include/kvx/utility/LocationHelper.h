#pragma once
// Where the product's resource folders are, and which language the product uses. By default the resource
// root is the "res" folder beside the binary that asks, or its place in the installed layout
// (KVX_RESOURCE_ROOT overrides it), and the language is the one the host chose
// (kvx::platform::UiLanguageScope), else KVX_LANGUAGE, else the user's locale. Language names are compared
// without regard to case everywhere, the folder names under the resource root included.
#include <string>
#include <vector>

class CLocationHelper {
 public:
  // The folder of the resource library in the product language (no trailing separator).
  static std::wstring GetLocalizedResPath();
  // The folder of the default (English) resource library (no trailing separator).
  static std::wstring GetDefaultResPath();
  // The resource root that both folders are in.
  static std::wstring GetResourceRoot();
};

class CLanguageUtil {
 public:
  // The product language name ("english", "german", ...): the host's chosen language, else KVX_LANGUAGE when
  // set and not empty, else the name of the user's default language identifier ("english" for one the
  // product does not know).
  static std::wstring GetKorvexLang();
  // The product language `name` names, without regard to case ("German" gives "german"); empty for a
  // name the product does not know.
  static std::wstring KnownLanguage(const std::wstring& name);
  // The product languages whose resource library is under the resource root, in name order.
  static std::vector<std::wstring> InstalledLanguages();
  // The message for a language name the product does not know: the name and the installed languages.
  static std::wstring UnknownLanguageMessage(const std::wstring& name);
  // Windows language identifier of a product language name, ignoring case; 1033 for an unknown name.
  static unsigned LanguageNameToId(const std::wstring& name);
  // Product language name of a Windows language identifier; "english" for an unknown identifier.
  static std::wstring LanguageIdToName(unsigned id);
  // Every product language name, in the table's order.
  static std::vector<std::wstring> LanguageNames();
};
