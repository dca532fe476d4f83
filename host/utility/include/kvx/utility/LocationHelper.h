#pragma once
// Where the product's resource folders are, and which language the product uses. By default the resource
// root is the "res" folder beside the binary that asks, and the language follows the user's locale; a host
// overrides both through KVX_RESOURCE_ROOT and KVX_LANGUAGE.
#include <string>

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
  // The product language name ("english", "german", ...): KVX_LANGUAGE when set and not empty, else the
  // name of the user's default language identifier ("english" for one the product does not know).
  static std::wstring GetKorvexLang();
  // Windows language identifier of a product language name, ignoring case; 1033 for an unknown name.
  static unsigned LanguageNameToId(const std::wstring& name);
  // Product language name of a Windows language identifier; "english" for an unknown identifier.
  static std::wstring LanguageIdToName(unsigned id);
};
