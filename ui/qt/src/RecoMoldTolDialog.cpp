#include "kvx/ui/qt/RecoMoldTolDialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

#include "kvx/framework/gui/PictureControl.h"
#include "kvx/framework/gui/QtUiServices.h"
#include "kvx/ui/qt/ListCtrlView.h"

namespace kvx::ui::qt {

RecoMoldTolDialog::RecoMoldTolDialog(CKVXRecoMoldTolDlg& presenter, QWidget* parent)
    : QDialog(parent), presenter_(presenter) {
  setObjectName(QStringLiteral("RecoMoldTolDialog"));
  presenter.SetView(this);

  materials_ = new ListCtrlView(presenter.MaterialList(), this);
  materials_->setObjectName(QStringLiteral("materialList"));
  table_ = new ListCtrlView(presenter.ToleranceTable(), this);
  table_->setObjectName(QStringLiteral("toleranceTable"));

  severity_ = new QComboBox(this);
  severity_->setObjectName(QStringLiteral("severity"));
  picture_ = new PictureControl(this);
  nominalCaption_ = new QLabel(this);
  toleranceCaption_ = new QLabel(this);

  presenter.Open();
  setWindowTitle(ToQString(presenter.Title()));
  nominalCaption_->setText(ToQString(presenter.NominalCaption()));
  toleranceCaption_->setText(ToQString(presenter.ToleranceCaption()));
  for (const std::wstring& name : presenter.SeverityNames()) severity_->addItem(ToQString(name));
  severity_->setCurrentIndex(presenter.SelectedSeverity());
  connect(severity_, &QComboBox::currentIndexChanged, this, [this](int index) { presenter_.SelectSeverity(index); });
  picture_->SetPicture(presenter.Picture());

  auto* import = new QPushButton(ToQString(presenter.ImportLabel()), this);
  import->setObjectName(QStringLiteral("import"));
  import->setAutoDefault(false);
  connect(import, &QPushButton::clicked, this, &RecoMoldTolDialog::ImportSpreadsheet);
  auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_I), this);
  shortcut->setContext(Qt::WindowShortcut);
  connect(shortcut, &QShortcut::activated, this, &RecoMoldTolDialog::ImportSpreadsheet);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  buttons->addButton(import, QDialogButtonBox::ActionRole);
  connect(buttons, &QDialogButtonBox::accepted, this, &RecoMoldTolDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &RecoMoldTolDialog::reject);

  // The captions stand over the table's two halves: the band (Over, Up to) and its tolerance (A, B).
  auto* captions = new QHBoxLayout();
  // At least as wide as the band's two columns, wider when its text needs it: never cut.
  nominalCaption_->setMinimumWidth(table_->columnWidth(0) + table_->columnWidth(1));
  captions->addWidget(nominalCaption_);
  captions->addWidget(toleranceCaption_, 1);

  auto* tableSide = new QVBoxLayout();
  tableSide->addLayout(captions);
  tableSide->addWidget(table_, 1);

  auto* severityLine = new QHBoxLayout();
  severityLine->addWidget(new QLabel(ToQString(presenter.SeverityLabel()), this));
  severityLine->addWidget(severity_, 1);

  auto* materialSide = new QVBoxLayout();
  materialSide->addWidget(materials_, 1);
  materialSide->addLayout(severityLine);
  materialSide->addWidget(picture_);

  auto* lists = new QHBoxLayout();
  lists->addLayout(materialSide);
  lists->addLayout(tableSide, 1);

  auto* layout = new QVBoxLayout(this);
  layout->addLayout(lists, 1);
  layout->addWidget(buttons);
  resize(720, 520);
}

void RecoMoldTolDialog::ShowSeverity(int index) {
  if (severity_) severity_->setCurrentIndex(index);
}

RecoMoldTolDialog::~RecoMoldTolDialog() { presenter_.SetView(nullptr); }

void RecoMoldTolDialog::accept() {
  if (presenter_.OnOK()) QDialog::accept();
}

void RecoMoldTolDialog::ImportSpreadsheet() { presenter_.ImportSpreadsheet(); }

}  // namespace kvx::ui::qt
