#pragma once
// Where the product's resource folders are, and which language the product uses. By default the resource
// root is the "res" folder beside the binary that asks, or its place in the installed layout
// (KVX_RESOURCE_ROOT overrides it), and the language is the one the host chose
// (kvx::platform::UiLanguageScope), else KVX_LANGUAGE, else the user's locale. Language folders are found
// without regard to case.
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
  // The product language name ("english", "german", ...): the host's chosen language, else KVX_LANGUAGE when
  // set and not empty, else the name of the user's default language identifier ("english" for one the
  // product does not know).
  static std::wstring GetKorvexLang();
};
