#pragma once
// User-interface services of the framework: message boxes and the generic rule dialog. A host installs
// the implementations it has (a console, a test recorder, Qt dialogs); the defaults print to stderr and
// report that no dialog is available.
#include <string>

#include "kvx/framework/FrameworkExport.h"
#include "kvx/platform/Resources.h"

class CKvxRule;

enum class KvxMessageIcon { None, Information, Exclamation, Error };

class KVX_FRAMEWORK_API IKvxMessageBoxService {
 public:
  virtual ~IKvxMessageBoxService();
  // Shows the message and returns the button pressed (KVX_IDOK for the OK-only boxes used here).
  virtual int Show(const std::wstring& text, const std::wstring& caption, KvxMessageIcon icon) = 0;
};

class KVX_FRAMEWORK_API IKvxRuleDialogService {
 public:
  virtual ~IKvxRuleDialogService();
  // Opens the generic editing dialog for `rule` with its picture; KVX_IDOK when the user accepted
  // (the rule's parameters then hold the edited values), KVX_IDCANCEL otherwise.
  virtual int ConfigureRule(CKvxRule& rule, const kvx::platform::Picture& picture) = 0;
};

// Shows a message box through the installed service.
KVX_FRAMEWORK_API int KvxMessageBox(const std::wstring& text, const std::wstring& caption = std::wstring(),
                                    KvxMessageIcon icon = KvxMessageIcon::None);
// Installs `service` (null restores the default) and returns the one installed before.
KVX_FRAMEWORK_API IKvxMessageBoxService* SetMessageBoxService(IKvxMessageBoxService* service);
// The installed rule dialog service, or null when the host has none.
KVX_FRAMEWORK_API IKvxRuleDialogService* GetRuleDialogService();
// Installs `service` (null: no dialog available) and returns the one installed before.
KVX_FRAMEWORK_API IKvxRuleDialogService* SetRuleDialogService(IKvxRuleDialogService* service);

// How the last rule dialog ended (KVX_IDOK or KVX_IDCANCEL). Every dialog that edits a rule reports its
// result here, so a host can tell after EditRule whether anything was accepted; KVX_IDCANCEL until a dialog
// reports, and after a dialog could not be shown.
KVX_FRAMEWORK_API void KvxSetLastDialogResult(int result);
KVX_FRAMEWORK_API int KvxLastDialogResult();
