#pragma once
// The module's rule dialogs: a dialog service that loads the dialog library on the first dialog and
// hands every dialog to it. Without the library each dialog reports that none is available.
#include <memory>
#include <string>

#include "kvx/framework/KvxUiServices.h"
#include "kvx/ui/DialogLibraryApi.h"

namespace kvx::platform {
class DynamicLibrary;
}

namespace kvx::module {

class DialogLibrary final : public IKvxRuleDialogService {
 public:
  // `module` and `language` are read when the library is loaded and must outlive this object.
  DialogLibrary(const kvx::params::ModuleContext& module, const std::wstring& language);
  ~DialogLibrary() override;

  int ConfigureRule(CKvxRule& rule, const kvx::platform::Picture& picture) override;

 private:
  IKvxRuleDialogService* Dialogs();

  kvx::ui::DialogLibraryContext context_;
  const std::wstring& language_;
  bool loadTried_ = false;
  std::unique_ptr<kvx::platform::DynamicLibrary> library_;
  std::unique_ptr<IKvxRuleDialogService> dialogs_;  // made by the library, so it goes before it
};

}  // namespace kvx::module
