#include "DialogLibrary.h"

#include "kvx/framework/KvxTypes.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Paths.h"

namespace kvx::module {

namespace {
// The dialog library sits beside the module, in the build tree as installed.
std::wstring DialogLibraryPath() {
  const std::wstring module = kvx::platform::PathOfBinaryContaining(reinterpret_cast<const void*>(&DialogLibraryPath));
  return kvx::platform::JoinPath(kvx::platform::ParentPath(module),
                                 kvx::platform::LibraryFileName(kvx::ui::kDialogLibraryBaseName));
}
}  // namespace

DialogLibrary::DialogLibrary(const kvx::params::ModuleContext& module, const std::wstring& language)
    : language_(language) {
  context_.module = &module;
}

DialogLibrary::~DialogLibrary() = default;

IKvxRuleDialogService* DialogLibrary::Dialogs() {
  if (loadTried_) return dialogs_.get();
  loadTried_ = true;
  // The library is linked to stay loaded once opened: the toolkit it brings cannot be unloaded after its
  // application object has existed.
  library_ = kvx::platform::DynamicLibrary::Load(DialogLibraryPath());
  if (!library_) return nullptr;
  const auto create = library_->Function<kvx::ui::CreateRuleDialogsFn>(kvx::ui::kCreateRuleDialogsExport);
  if (!create) return nullptr;
  context_.language = language_.c_str();
  dialogs_.reset(create(&context_));
  return dialogs_.get();
}

int DialogLibrary::ConfigureRule(CKvxRule& rule, const kvx::platform::Picture& picture) {
  if (IKvxRuleDialogService* dialogs = Dialogs()) return dialogs->ConfigureRule(rule, picture);
  KvxMessageBox(L"No rule dialog is available in this host; the rule was not changed.", L"Korvex",
                KvxMessageIcon::Information);
  return KVX_DIALOG_UNAVAILABLE;
}

}  // namespace kvx::module
