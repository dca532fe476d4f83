#pragma once
// The module's application object: picks the language, loads the localized and English resource
// libraries and the common-rules library at start-up, and keeps the material-database module list.
#include <memory>
#include <optional>
#include <string>

#include "kvx/framework/KvxTypes.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/ModuleApplication.h"
#include "kvx/platform/Resources.h"

class KvxXMLDocument;

class CKVXIMRulesApp : public kvx::platform::ModuleApplication {
 public:
  CKVXIMRulesApp();
  ~CKVXIMRulesApp() override;

  // Always true: missing libraries leave their handles null and texts load empty.
  bool InitInstance() override;
  int ExitInstance() override;

  // String `id` from the default (English) resource library; empty when missing.
  std::wstring LoadDefaultString(int id) const;
  // The product language from the add-in's and the CAD host's settings. Nothing calls it (start-up asks the
  // utility library instead); kept as part of the module.
  static std::wstring LanguageFromSettings();
  // The locale name for the language hint. Nothing calls it either; kept as part of the module.
  std::wstring LocaleNameForLanguage() const;
  // Reads ENABLE_MATERIAL_WORKFLOW into the material workflow switch. Never called, so the switch keeps
  // its default (on) for the module's whole life; kept as part of the module.
  void ReadMaterialWorkflowSwitch();
  // True exactly when ZVX_BETA_RULES is "1"; read afresh at every call.
  static bool BetaRulesEnabled();
  // The module's context, installed from start-up until shut-down; the exports change its document.
  kvx::params::ModuleContext& Context() { return context_; }

  // --- fields, in order ---
  const kvx::platform::ResourceLibrary* m_hSavedResource = nullptr;
  std::unique_ptr<kvx::platform::ResourceLibrary> m_hLocalizedResource;
  std::unique_ptr<kvx::platform::ResourceLibrary> m_hDefaultResource;
  std::wstring m_csLanguageHint;
  std::wstring m_csResourceFolder;
  std::wstring m_csResourceLibraryPath;
  KvxStringList m_dbModuleList;
  std::wstring m_csHelpFilePath;
  bool m_bMaterialWorkflow = true;
  std::wstring m_csLanguage;

 private:
  kvx::params::ModuleContext context_;
  std::optional<kvx::params::ModuleContextScope> contextScope_;
};

// The application object once start-up has finished; null before.
CKVXIMRulesApp* GetModuleApp();
// The common-rules library's own document setter (it has the same name as the module's export); null
// before start-up, after shut-down, or when that library could not be found.
using CommonRulesSetXMLDocFn = void (*)(KvxXMLDocument* doc);
CommonRulesSetXMLDocFn CommonRulesSetXMLDoc();

// Host-version registry sub-key names read by the language routine.
extern const wchar_t* const strSolidWorksVersion1;
extern const wchar_t* const strSolidWorksVersion2;
