#include "kvx/ui/qt/RuleDialogs.h"

#include <QApplication>
#include <QFileDialog>
#include <QLibraryInfo>
#include <QLocale>
#include <QStringList>
#include <QTranslator>
#include <clocale>
#include <memory>

#include "kvx/framework/KvxUiServices.h"
#include "kvx/framework/gui/QtUiServices.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Environment.h"
#include "kvx/platform/Locale.h"
#include "kvx/utility/LocationHelper.h"
#include "kvx/res/PictureIds.h"
#include "kvx/rules/CKVXIMMinRibClearanceRule.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/ui/MinRibClearanceDlg.h"
#include "kvx/ui/RecoMoldTolDlg.h"
#include "kvx/ui/qt/MinRibClearanceDialog.h"
#include "kvx/ui/qt/RecoMoldTolDialog.h"

namespace kvx::ui::qt {

namespace {
int Finish(bool accepted) { return accepted ? KVX_IDOK : KVX_IDCANCEL; }

bool DisplayAvailable() {
  for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"}) {
    const auto value = kvx::platform::GetEnvNarrow(name);
    if (value && !value->empty()) return true;
  }
  return false;
}

// The Qt application: the host's when it has one, else one made here for the rest of the process. Without a
// display none is made, and the dialogs then report that no user interface is available.
void EnsureApplication() {
  if (QCoreApplication::instance() || !DisplayAvailable()) return;
  static int argc = 1;
  static char name[] = "kvxim";
  static char* argv[] = {name, nullptr};
  static const std::unique_ptr<QApplication> application = std::make_unique<QApplication>(argc, argv);
  // Qt takes the user's locale for the C library too; numbers in files stay in the "C" notation.
  std::setlocale(LC_NUMERIC, "C");
}

// Qt's own texts (standard buttons, file dialogs) in the module's language, once per process.
void LoadToolkitTranslations(const std::wstring& language) {
  static bool loaded = false;
  if (loaded || !QCoreApplication::instance()) return;
  loaded = true;
  const std::wstring locale = kvx::platform::LocaleNameOfLangId(CLanguageUtil::LanguageNameToId(language));
  static QTranslator translator;
  if (translator.load(QLocale(QString::fromStdWString(locale)), QStringLiteral("qtbase"), QStringLiteral("_"),
                      QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    QCoreApplication::installTranslator(&translator);
  }
}


}  // namespace

RuleDialogService::RuleDialogService(const kvx::params::ModuleContext& module, std::wstring language)
    : module_(module), language_(std::move(language)) {}

// The tolerance and rib clearance rules have dialogs of their own; every other rule gets the generic one.
int RuleDialogService::ConfigureRule(CKvxRule& rule, const kvx::platform::Picture& picture) {
  EnsureApplication();
  LoadToolkitTranslations(language_);
  if (!KvxUserInterfaceAvailable()) return KVX_DIALOG_UNAVAILABLE;
  // The rules' code in the dialog library runs with the module's context while a dialog is open.
  const kvx::params::ModuleContextScope module(module_);
  const QtMessageBoxScope messageBoxes;
  if (rule.m_iRuleId == CKVXRecoMoldTolRule::kRuleId) {
    // Only the module makes rules with this id, and they are of this class.
    auto& tolerance = static_cast<CKVXRecoMoldTolRule&>(rule);
    return RunRecoMoldTolDialog(tolerance, kvx::params::LengthUnitText(rule.m_unitSystem.iLengthUnit));
  }
  if (rule.m_iRuleId == CKVXIMMinRibClearanceRule::kRuleId) {
    return RunMinRibClearanceDialog(rule, kvx::platform::LoadResPicture(kvx::res::kRibClearanceRulePicture));
  }
  return generic_.ConfigureRule(rule, picture);
}

QString QtFileDialog::QtFilter(const std::wstring& filter) {
  // Pairs of a description and its patterns, separated by "|".
  const QStringList parts = ToQString(filter).split(QLatin1Char('|'));
  QStringList filters;
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
    QString description = parts[i].section(QLatin1Char('('), 0, 0).trimmed();
    QStringList patterns = parts[i + 1].split(QLatin1Char(';'), Qt::SkipEmptyParts);
    for (QString& pattern : patterns) pattern = pattern.trimmed();
    patterns.removeAll(QString());
    if (patterns.isEmpty()) continue;
    if (description.isEmpty()) description = patterns.join(QLatin1Char(' '));
    filters << description + QStringLiteral(" (") + patterns.join(QLatin1Char(' ')) + QLatin1Char(')');
  }
  return filters.join(QStringLiteral(";;"));
}

std::optional<std::wstring> QtFileDialog::AskOpenFile(const std::wstring& filter, unsigned /*options*/) {
  // An open-file dialog of Qt only offers files that exist, and has no read-only box to hide.
  const QString path = QFileDialog::getOpenFileName(parent_, QString(), QString(), QtFilter(filter));
  if (path.isEmpty()) return std::nullopt;
  return FromQString(path);
}

int RunRecoMoldTolDialog(CKVXRecoMoldTolRule& rule, const std::wstring& unitText, IFileDialog* files) {
  if (!KvxUserInterfaceAvailable()) return KVX_IDCANCEL;
  QtFileDialog qtFiles(QApplication::activeWindow());
  CKVXRecoMoldTolDlg presenter(&rule, files ? *files : qtFiles);
  presenter.SetUnitText(unitText);
  RecoMoldTolDialog dialog(presenter, QApplication::activeWindow());
  return Finish(dialog.exec() == QDialog::Accepted);
}

int RunMinRibClearanceDialog(CKvxRule& rule, const kvx::platform::Picture& picture) {
  if (!KvxUserInterfaceAvailable()) return KVX_IDCANCEL;
  CKVXIMMinRibClearanceDlg presenter(&rule, picture);
  MinRibClearanceDialog dialog(presenter, QApplication::activeWindow());
  return Finish(dialog.exec() == QDialog::Accepted);
}

}  // namespace kvx::ui::qt
