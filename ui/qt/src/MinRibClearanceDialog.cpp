#include "kvx/ui/qt/MinRibClearanceDialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QValidator>
#include <QVBoxLayout>

#include "kvx/framework/gui/PictureControl.h"
#include "kvx/framework/gui/QtUiServices.h"

namespace kvx::ui::qt {

namespace {
// The numeric edit box: digits and the decimal point only.
class DecimalValidator final : public QValidator {
 public:
  using QValidator::QValidator;
  State validate(QString& input, int& /*pos*/) const override {
    return CKVXIMMinRibClearanceDlg::AcceptsValueText(FromQString(input)) ? Acceptable : Invalid;
  }
};
}  // namespace

MinRibClearanceDialog::MinRibClearanceDialog(CKVXIMMinRibClearanceDlg& presenter, QWidget* parent)
    : QDialog(parent), presenter_(presenter) {
  setObjectName(QStringLiteral("MinRibClearanceDialog"));
  presenter.SetView(this);
  value_ = new QLineEdit(this);
  value_->setObjectName(QStringLiteral("value"));
  value_->setValidator(new DecimalValidator(value_));
  operator_ = new QComboBox(this);
  operator_->setObjectName(QStringLiteral("operator"));
  severity_ = new QComboBox(this);
  severity_->setObjectName(QStringLiteral("severity"));
  picture_ = new PictureControl(this);

  presenter.Open();
  setWindowTitle(ToQString(presenter.Title()));
  for (const std::wstring& text : presenter.OperatorTexts()) operator_->addItem(ToQString(text));
  for (const std::wstring& name : presenter.SeverityNames()) severity_->addItem(ToQString(name));
  operator_->setCurrentIndex(presenter.SelectedOperator());
  severity_->setCurrentIndex(presenter.SelectedSeverity());
  value_->setText(ToQString(presenter.ValueText()));
  picture_->SetPicture(presenter.Picture());
  connect(operator_, &QComboBox::currentIndexChanged, this, [this](int index) { presenter_.SelectOperator(index); });
  connect(severity_, &QComboBox::currentIndexChanged, this, [this](int index) { presenter_.SelectSeverity(index); });
  connect(value_, &QLineEdit::textChanged, this,
          [this](const QString& text) { presenter_.SetValueText(FromQString(text)); });

  auto* limit = new QHBoxLayout();
  limit->addWidget(operator_);
  limit->addWidget(value_, 1);
  auto* form = new QFormLayout();
  form->addRow(ToQString(presenter.ValueLabel()), limit);
  form->addRow(ToQString(presenter.SeverityLabel()), severity_);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &MinRibClearanceDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &MinRibClearanceDialog::reject);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(picture_, 1);
  layout->addLayout(form);
  layout->addWidget(buttons);
}

void MinRibClearanceDialog::ShowOperator(int index) {
  if (operator_) operator_->setCurrentIndex(index);
}

void MinRibClearanceDialog::ShowSeverity(int index) {
  if (severity_) severity_->setCurrentIndex(index);
}

MinRibClearanceDialog::~MinRibClearanceDialog() { presenter_.SetView(nullptr); }

void MinRibClearanceDialog::accept() {
  presenter_.OnOK();
  QDialog::accept();
}

}  // namespace kvx::ui::qt
