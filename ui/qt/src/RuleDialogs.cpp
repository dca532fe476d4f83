#include "kvx/ui/qt/RuleDialogs.h"

#include <QApplication>
#include <QFileDialog>
#include <QStringList>

#include "kvx/framework/KvxUiServices.h"
#include "kvx/framework/gui/QtUiServices.h"
#include "kvx/res/PictureIds.h"
#include "kvx/rules/CKVXIMMinRibClearanceRule.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/ui/MinRibClearanceDlg.h"
#include "kvx/ui/RecoMoldTolDlg.h"
#include "kvx/ui/qt/MinRibClearanceDialog.h"
#include "kvx/ui/qt/RecoMoldTolDialog.h"

namespace kvx::ui::qt {

namespace {
int Finish(int result) {
  KvxSetLastDialogResult(result);
  return result;
}
}  // namespace

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
  return Finish(dialog.exec() == QDialog::Accepted ? KVX_IDOK : KVX_IDCANCEL);
}

int RunMinRibClearanceDialog(CKvxRule& rule, const kvx::platform::Picture& picture) {
  if (!KvxUserInterfaceAvailable()) return KVX_IDCANCEL;
  CKVXIMMinRibClearanceDlg presenter(&rule, picture);
  MinRibClearanceDialog dialog(presenter, QApplication::activeWindow());
  return Finish(dialog.exec() == QDialog::Accepted ? KVX_IDOK : KVX_IDCANCEL);
}

void RegisterRuleDialogs() {
  SetRecoMoldTolEditor(
      [](CKVXRecoMoldTolRule& rule, const std::wstring& unitText) { return RunRecoMoldTolDialog(rule, unitText); });
  // The rule's EditRule has made the localized library current; its picture is loaded from there.
  SetMinRibClearanceEditor([](CKVXIMMinRibClearanceRule& rule) {
    return RunMinRibClearanceDialog(rule, kvx::platform::LoadResPicture(kvx::res::kRibClearanceRulePicture));
  });
}

}  // namespace kvx::ui::qt
