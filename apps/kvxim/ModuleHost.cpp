#include "ModuleHost.h"

#include "kvx/framework/KvxRule.h"
#include "kvx/framework/RulePointerArray.h"
#include "kvx/platform/Environment.h"
#include "kvx/platform/FileSystem.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Text.h"

namespace kvxim {

std::wstring HostFolder() {
  return kvx::platform::ParentPath(kvx::platform::PathOfBinaryContaining(reinterpret_cast<const void*>(&HostFolder)));
}

std::wstring LibraryFolder() {
  if (auto folder = kvx::platform::GetEnvWide(L"KVX_MODULE_DIR"); folder && !folder->empty()) return *folder;
  const std::wstring beside = HostFolder();
  const std::wstring module = kvx::platform::LibraryFileName(kvx::module::kModuleLibraryBaseName);
  if (kvx::platform::FileExists(kvx::platform::JoinPath(beside, module))) return beside;
  // Installed: the libraries are in the library folder, set by the build relative to the program folder.
  return kvx::platform::JoinPath(beside, KVXIM_LIBDIR_FROM_BINDIR);
}

namespace {
template <typename Fn>
bool Find(const kvx::platform::DynamicLibrary& library, const char* name, Fn& fn, std::wstring& error) {
  fn = library.Function<Fn>(name);
  if (!fn) error = L"the rule module has no export " + std::wstring(name, name + std::char_traits<char>::length(name));
  return fn != nullptr;
}
}  // namespace

std::unique_ptr<ModuleHost> ModuleHost::Load(const std::wstring& databasePath, std::wstring& error,
                                             std::wstring& warning) {
  std::unique_ptr<ModuleHost> host(new ModuleHost());
  const std::wstring folder = LibraryFolder();

  // The database library goes first: the tolerance rule only uses it when it is already loaded.
  const std::wstring databaseFile =
      kvx::platform::JoinPath(folder, kvx::platform::LibraryFileName(kvx_db::kLibraryBaseName));
  std::wstring loadError;
  host->databaseLibrary_ = kvx::platform::DynamicLibrary::Load(databaseFile, &loadError);
  if (!host->databaseLibrary_) {
    warning = L"material database library not loaded: " + loadError;
  } else if (auto get = host->databaseLibrary_->Function<kvx_db::KVXDataHelper* (*)()>(kvx_db::kGetDataHelperExport)) {
    host->database_ = get();
    const kvx_db::DbStatus status =
        databasePath.empty() ? host->database_->OpenDefaultDatabase() : host->database_->OpenDatabase(databasePath);
    if (status != kvx_db::DbStatus::Ok) warning = L"material database: " + host->database_->ErrorText();
  }

  const std::wstring moduleFile =
      kvx::platform::JoinPath(folder, kvx::platform::LibraryFileName(kvx::module::kModuleLibraryBaseName));
  host->module_ = kvx::platform::DynamicLibrary::Load(moduleFile, &loadError);
  if (!host->module_) {
    error = L"cannot load the rule module: " + loadError;
    return nullptr;
  }
  const auto& m = *host->module_;
  if (!Find(m, "SetXMLDoc", host->SetXMLDoc, error) || !Find(m, "SetDBModuleList", host->SetDBModuleList, error) ||
      !Find(m, "GetModuleName", host->GetModuleName, error) ||
      !Find(m, "GetModuleSummary", host->GetModuleSummary, error) || !Find(m, "GetRule", host->GetRule, error) ||
      !Find(m, "GetAllRules", host->GetAllRules, error) || !Find(m, "DeleteRule", host->DeleteRule, error)) {
    return nullptr;
  }

  host->document_ = std::make_unique<KvxXMLDocument>();
  host->SetXMLDoc(host->document_.get());
  const KvxStringList modules{databaseFile};
  host->SetDBModuleList(&modules);
  return host;
}

std::unique_ptr<KvxXMLNode> LoadRuleSet(ModuleHost& host, const std::string& file, std::ostream& err) {
  std::wstring error;
  if (!host.Document().LoadFile(kvx::platform::Widen(file), error)) {
    err << "kvxim: " << kvx::platform::Narrow(error) << "\n";
    return nullptr;
  }
  auto root = host.Document().GetRootNode();
  if (!root || root->GetNodeName() != L"RuleSet") {
    err << "kvxim: " << file << ": the root element is not \"RuleSet\"\n";
    return nullptr;
  }
  return root;
}

bool SaveRuleSet(ModuleHost& host, const std::string& file, std::ostream& out, std::ostream& err) {
  if (file == "-") {
    out << host.Document().ToText();
    return out.good();
  }
  std::wstring error;
  if (!host.Document().SaveFile(kvx::platform::Widen(file), error)) {
    err << "kvxim: " << kvx::platform::Narrow(error) << "\n";
    return false;
  }
  out << "wrote " << file << "\n";
  return true;
}

ModuleHost::~ModuleHost() {
  if (SetXMLDoc) SetXMLDoc(nullptr);
  module_.reset();  // the module goes before the document and the database it may refer to
}

void HeldRules::Add(CKvxRule* rule) {
  if (rule) rules_.push_back(rule);
}

CKvxRule* HeldRules::AddFor(KvxXMLNode* node) {
  CKvxRule* rule = nullptr;
  host_.GetRule(node, &rule);
  Add(rule);
  return rule;
}

void HeldRules::AddFresh() {
  RulePointerArray array;
  host_.GetAllRules(&array);
  for (int i = 0; i < array.GetSize(); ++i) Add(array.GetAt(i));
}

void HeldRules::Clear() {
  for (CKvxRule*& rule : rules_) host_.DeleteRule(&rule);
  rules_.clear();
}

}  // namespace kvxim
