#pragma once
// What the module and its dialog library agree on: the library's name, its one export and what the module
// hands over. The module loads the library on the first dialog only, so a host that opens none loads no
// toolkit.
class IKvxRuleDialogService;

namespace kvx::params {
struct ModuleContext;
}

namespace kvx::ui {

inline constexpr const wchar_t* kDialogLibraryBaseName = L"KVXIMRulesDialogs";
inline constexpr const char* kCreateRuleDialogsExport = "KvxCreateRuleDialogs";

struct DialogLibraryContext {
  // The module's context; the dialogs run the rules' code with it (texts, document).
  const kvx::params::ModuleContext* module = nullptr;
  // The product language the module runs in ("german"); the toolkit's own texts follow it.
  const wchar_t* language = L"english";
};

// A new rule dialog service of the library, owned by the caller: the module's own dialogs for the rules that
// have one, the generic rule dialog for the others. The context must outlive it.
using CreateRuleDialogsFn = IKvxRuleDialogService* (*)(const DialogLibraryContext* context);

}  // namespace kvx::ui
