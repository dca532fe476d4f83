#include "kvx/framework/KvxUiServices.h"

#include <cstdio>

#include "kvx/framework/KvxTypes.h"
#include "kvx/platform/Text.h"

namespace {
// Without a user interface a message box becomes one line on stderr.
class ConsoleMessageBox final : public IKvxMessageBoxService {
 public:
  int Show(const std::wstring& text, const std::wstring& caption, KvxMessageIcon /*icon*/) override {
    const std::string line = caption.empty() ? kvx::platform::Narrow(text)
                                             : kvx::platform::Narrow(caption) + ": " + kvx::platform::Narrow(text);
    std::fprintf(stderr, "%s\n", line.c_str());
    return KVX_IDOK;
  }
};

ConsoleMessageBox g_console;
IKvxMessageBoxService* g_messageBox = &g_console;
}  // namespace

IKvxMessageBoxService::~IKvxMessageBoxService() = default;
IKvxRuleDialogService::~IKvxRuleDialogService() = default;

int KvxMessageBox(const std::wstring& text, const std::wstring& caption, KvxMessageIcon icon) {
  return g_messageBox->Show(text, caption, icon);
}

IKvxMessageBoxService* SetMessageBoxService(IKvxMessageBoxService* service) {
  IKvxMessageBoxService* previous = g_messageBox == &g_console ? nullptr : g_messageBox;
  g_messageBox = service ? service : &g_console;
  return previous;
}
