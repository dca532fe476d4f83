// The dialog library's one export: a rule dialog service for the module that loads it on its first dialog.
#include <type_traits>

#include "kvx/ui/DialogLibraryApi.h"
#include "kvx/ui/qt/RuleDialogs.h"

extern "C" __attribute__((visibility("default"))) IKvxRuleDialogService* KvxCreateRuleDialogs(
    const kvx::ui::DialogLibraryContext* context) {
  if (!context || !context->module) return nullptr;
  return new kvx::ui::qt::RuleDialogService(*context->module, context->language ? context->language : L"english");
}
static_assert(std::is_same_v<decltype(&KvxCreateRuleDialogs), kvx::ui::CreateRuleDialogsFn>);
