#pragma once
// The framework's user-interface services on Qt Widgets: message boxes, the generic rule dialog behind
// CKvxRule::ConfigureRule, and the guard every dialog passes before it shows a widget.
#include <QString>
#include <string>

#include "kvx/framework/KvxUiServices.h"
#include "kvx/framework/gui/FrameworkGuiExport.h"

// The text shown when a dialog is asked for in a process without a Qt application object.
inline constexpr wchar_t kNoUserInterfaceText[] = L"no user interface is available";

// True when widgets can be shown (a QApplication exists). Otherwise shows kNoUserInterfaceText through
// KvxMessageBox and returns false; never crashes.
KVX_FRAMEWORK_GUI_API bool KvxUserInterfaceAvailable();

KVX_FRAMEWORK_GUI_API QString ToQString(const std::wstring& text);
KVX_FRAMEWORK_GUI_API std::wstring FromQString(const QString& text);

// Message boxes as QMessageBox; without a QApplication they become one line on stderr.
class KVX_FRAMEWORK_GUI_API QtMessageBoxService final : public IKvxMessageBoxService {
 public:
  int Show(const std::wstring& text, const std::wstring& caption, KvxMessageIcon icon) override;
};

// The generic rule dialog (CKVXRuleDlgBase with its Qt view), modal. KVX_IDCANCEL without a QApplication.
class KVX_FRAMEWORK_GUI_API QtRuleDialogService final : public IKvxRuleDialogService {
 public:
  int ConfigureRule(CKvxRule& rule, const kvx::platform::Picture& picture) override;
};

// Makes message boxes Qt's for its lifetime and restores the service installed before.
class KVX_FRAMEWORK_GUI_API QtMessageBoxScope {
 public:
  QtMessageBoxScope();
  ~QtMessageBoxScope();
  QtMessageBoxScope(const QtMessageBoxScope&) = delete;
  QtMessageBoxScope& operator=(const QtMessageBoxScope&) = delete;

 private:
  QtMessageBoxService messageBoxes_;
  IKvxMessageBoxService* previous_;
};
