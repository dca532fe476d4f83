#include "kvx/framework/gui/QtUiServices.h"

#include <QApplication>
#include <QMessageBox>
#include <cstdio>

#include "kvx/framework/KvxTypes.h"
#include "kvx/framework/gui/RuleDialog.h"
#include "kvx/framework/gui/RuleDlgBase.h"
#include "kvx/platform/Text.h"

namespace {

bool HasWidgetApplication() { return qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr; }

QMessageBox::Icon ToQtIcon(KvxMessageIcon icon) {
  switch (icon) {
    case KvxMessageIcon::Information: return QMessageBox::Information;
    case KvxMessageIcon::Exclamation: return QMessageBox::Warning;
    case KvxMessageIcon::Error: return QMessageBox::Critical;
    case KvxMessageIcon::None: break;
  }
  return QMessageBox::NoIcon;
}

}  // namespace

QString ToQString(const std::wstring& text) { return QString::fromStdWString(text); }
std::wstring FromQString(const QString& text) { return text.toStdWString(); }

bool KvxUserInterfaceAvailable() {
  if (HasWidgetApplication()) return true;
  KvxMessageBox(kNoUserInterfaceText, L"Korvex", KvxMessageIcon::Exclamation);
  return false;
}

int QtMessageBoxService::Show(const std::wstring& text, const std::wstring& caption, KvxMessageIcon icon) {
  if (!HasWidgetApplication()) {
    const std::string line = caption.empty() ? kvx::platform::Narrow(text)
                                             : kvx::platform::Narrow(caption) + ": " + kvx::platform::Narrow(text);
    std::fprintf(stderr, "%s\n", line.c_str());
    return KVX_IDOK;
  }
  QMessageBox box(ToQtIcon(icon), ToQString(caption), ToQString(text), QMessageBox::Ok,
                  QApplication::activeWindow());
  box.exec();
  return KVX_IDOK;
}

int QtRuleDialogService::ConfigureRule(CKvxRule& rule, const kvx::platform::Picture& picture) {
  if (!KvxUserInterfaceAvailable()) return KVX_IDCANCEL;
  kvx::framework::gui::CKVXRuleDlgBase presenter(rule, picture);
  RuleDialog dialog(presenter, QApplication::activeWindow());
  return dialog.exec() == QDialog::Accepted ? KVX_IDOK : KVX_IDCANCEL;
}

QtMessageBoxScope::QtMessageBoxScope() : previous_(SetMessageBoxService(&messageBoxes_)) {}

QtMessageBoxScope::~QtMessageBoxScope() { SetMessageBoxService(previous_); }
