#include "kvx/module/KVXIMRulesApp.h"

#include "kvx/params/ModuleContext.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Environment.h"
#include "kvx/platform/Locale.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Settings.h"
#include "kvx/utility/LocationHelper.h"

const wchar_t* const strSolidWorksVersion1 = L"SolidWorks 2007";
const wchar_t* const strSolidWorksVersion2 = L"SolidWorks 2008";

namespace {
constexpr const wchar_t* kResourceLibraryName = L"KVXIMRulesResu";
constexpr const wchar_t* kCommonRulesLibraryName = L"KVXCommonRulesu";
constexpr const wchar_t* kAddinKey = L"SOFTWARE\\Tarvell\\QPL_PRODUCT\\Korvex\\Add-in";

CKVXIMRulesApp* g_app = nullptr;
// Looked up at start-up. The module holds no handle of the common-rules library: it is linked against
// it, so the loader keeps it exactly as long as the module. Shut-down runs from a static destructor, at
// times while the process exits, and closing a library there could unload the module under it.
CommonRulesSetXMLDocFn g_commonSetXMLDoc = nullptr;

std::wstring ResourceLibraryIn(const std::wstring& folder) {
  return kvx::platform::JoinPath(folder, kvx::platform::LibraryFileName(kResourceLibraryName));
}

std::int64_t ReadUserNumber(const std::wstring& key, const std::wstring& value) {
  return kvx::platform::ReadSettingNumber(kvx::platform::SettingsHive::CurrentUser, key, value).value_or(-1);
}

// The host's "Use English language" switch of one host version.
bool HostUsesEnglish(const wchar_t* version) {
  return ReadUserNumber(std::wstring(L"SOFTWARE\\Solidworks\\") + version + L"\\General", L"Use English language") == 1;
}

std::wstring Truncated(std::wstring text, size_t length) {
  if (text.size() > length) text.resize(length);
  return text;
}
}  // namespace

CKVXIMRulesApp* GetModuleApp() { return g_app; }
CommonRulesSetXMLDocFn CommonRulesSetXMLDoc() { return g_commonSetXMLDoc; }

CKVXIMRulesApp::CKVXIMRulesApp() = default;
CKVXIMRulesApp::~CKVXIMRulesApp() = default;

bool CKVXIMRulesApp::InitInstance() {
  ModuleApplication::InitInstance();

  m_hSavedResource = kvx::platform::CurrentResourceLibrary();
  m_csResourceFolder = CLocationHelper::GetLocalizedResPath();
  m_csLanguage = CLanguageUtil::GetKorvexLang();
  const std::wstring localizedPath = ResourceLibraryIn(m_csResourceFolder);
  m_hLocalizedResource = kvx::platform::ResourceLibrary::Load(localizedPath);

  const std::wstring defaultFolder = CLocationHelper::GetDefaultResPath();
  if (!m_hLocalizedResource) {
    m_csResourceFolder = defaultFolder;
    m_hLocalizedResource = kvx::platform::ResourceLibrary::Load(ResourceLibraryIn(defaultFolder));
    m_csLanguage = L"english";
  }
  // Loaded a second time even when it is the same file: rule key names always come from this one.
  m_hDefaultResource = kvx::platform::ResourceLibrary::Load(ResourceLibraryIn(defaultFolder));
  m_csHelpFilePath = kvx::platform::JoinPath(m_csResourceFolder, L"korvex.chm");
  m_csResourceLibraryPath = localizedPath;  // the path tried first, kept even after the fallback
  if (m_hLocalizedResource) kvx::platform::SetCurrentResourceLibrary(m_hLocalizedResource.get());

  g_app = this;
  context_.applicationPresent = true;
  context_.localizedResources = m_hLocalizedResource.get();
  context_.defaultResources = m_hDefaultResource.get();
  context_.materialWorkflow = m_bMaterialWorkflow;
  contextScope_.emplace(context_);

  // By its full path beside this module: a bare name would be searched from whichever library called the
  // loader (a sanitizer's runtime, for one), not from this module's folder.
  const std::wstring moduleFolder =
      kvx::platform::ParentPath(kvx::platform::PathOfBinaryContaining(reinterpret_cast<const void*>(&CommonRulesSetXMLDoc)));
  const std::wstring fileName = kvx::platform::LibraryFileName(kCommonRulesLibraryName);
  auto common = kvx::platform::DynamicLibrary::Load(kvx::platform::JoinPath(moduleFolder, fileName));
  // Linked into a program (as in tests) rather than into the module: the loader's own search finds it.
  if (!common) common = kvx::platform::DynamicLibrary::Load(fileName);
  if (common) g_commonSetXMLDoc = common->Function<CommonRulesSetXMLDocFn>("SetXMLDoc");
  return true;
}

int CKVXIMRulesApp::ExitInstance() {
  contextScope_.reset();
  context_ = kvx::params::ModuleContext{};
  g_app = nullptr;
  m_hLocalizedResource.reset();
  m_hDefaultResource.reset();
  g_commonSetXMLDoc = nullptr;
  return ModuleApplication::ExitInstance();
}

std::wstring CKVXIMRulesApp::LoadDefaultString(int id) const {
  kvx::platform::ResourceScope scope(m_hDefaultResource.get());
  return kvx::platform::LoadResString(id);
}

std::wstring CKVXIMRulesApp::LanguageFromSettings() {
  std::int64_t option = ReadUserNumber(kAddinKey, L"OptionsLanguage");
  if (option == -1) option = 1;  // absent means: follow the host
  if (option == 0) return L"english";
  if (option != 1) return CLanguageUtil::LanguageIdToName(static_cast<unsigned>(option));
  if (HostUsesEnglish(strSolidWorksVersion1) || HostUsesEnglish(strSolidWorksVersion2)) return L"english";
  return CLanguageUtil::LanguageIdToName(kvx::platform::UserDefaultLangId());
}

std::wstring CKVXIMRulesApp::LocaleNameForLanguage() const {
  if (m_csLanguageHint == L"chinese-simplified" || m_csLanguageHint == L"chinese") {
    // Each part is read into a buffer of 9 characters.
    return Truncated(kvx::platform::IsoLanguageName(), 8) + L"_" + Truncated(kvx::platform::IsoCountryName(), 8);
  }
  if (m_csLanguageHint == L"japanese" || m_csLanguageHint == L"korean" || m_csLanguageHint == L"french") {
    return m_csLanguageHint;
  }
  return L"english";
}

void CKVXIMRulesApp::ReadMaterialWorkflowSwitch() {
  // Read into a buffer of 260 characters: a value that does not fit counts as absent.
  const auto value = kvx::platform::GetEnvNarrow("ENABLE_MATERIAL_WORKFLOW");
  m_bMaterialWorkflow = value && !value->empty() && value->size() <= 259 && *value == "1";
  context_.materialWorkflow = m_bMaterialWorkflow;
}

bool CKVXIMRulesApp::BetaRulesEnabled() { return kvx::platform::EnvEquals("ZVX_BETA_RULES", "1"); }
