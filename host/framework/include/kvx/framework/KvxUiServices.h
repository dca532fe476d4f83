#pragma once
// User-interface services of the framework: message boxes, and the rule dialog service a rule opens its
// dialogs through (each rule is given one, see CKvxRule::SetDialogService). Message boxes go through the
// service installed for the process (a console line by default, Qt's while a dialog is open).
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
  // Opens the editing dialog for `rule` with its picture; KVX_IDOK when the user accepted (the rule's
  // parameters then hold the edited values), KVX_IDCANCEL when not, KVX_DIALOG_UNAVAILABLE when no dialog
  // could be shown.
  virtual int ConfigureRule(CKvxRule& rule, const kvx::platform::Picture& picture) = 0;
};

// Shows a message box through the installed service.
KVX_FRAMEWORK_API int KvxMessageBox(const std::wstring& text, const std::wstring& caption = std::wstring(),
                                    KvxMessageIcon icon = KvxMessageIcon::None);
// Installs `service` (null restores the default) and returns the one installed before.
KVX_FRAMEWORK_API IKvxMessageBoxService* SetMessageBoxService(IKvxMessageBoxService* service);
