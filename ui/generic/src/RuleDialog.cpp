#include "kvx/framework/gui/RuleDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "kvx/framework/gui/PictureControl.h"
#include "kvx/framework/gui/QtUiServices.h"
#include "kvx/platform/Resources.h"
#include "kvx/res/StringIds.h"

using kvx::framework::gui::CKVXRuleDlgBase;

namespace {
// Texts of the current resource library, the one in the user's language while a rule is edited.
QString ResourceText(int id) { return ToQString(kvx::platform::LoadResString(id)); }
}  // namespace

RuleDialog::RuleDialog(CKVXRuleDlgBase& presenter, QWidget* parent) : QDialog(parent), presenter_(presenter) {
  setWindowTitle(ToQString(presenter.Title()));
  setObjectName("RuleDialog");

  picture_ = new PictureControl(this);
  picture_->SetPicture(presenter.Picture());

  auto* grid = new QGridLayout();
  rows_.resize(presenter.Rows().size());
  for (size_t row = 0; row < presenter.Rows().size(); ++row) AddRow(grid, static_cast<int>(row), row);

  severity_ = new QComboBox(this);
  severity_->setObjectName("severity");
  for (const std::wstring& name : CKVXRuleDlgBase::SeverityNames()) severity_->addItem(ToQString(name));
  severity_->setCurrentIndex(presenter.SelectedSeverity());
  connect(severity_, &QComboBox::currentIndexChanged, this, [this](int index) { presenter_.SelectSeverity(index); });
  auto* severityLine = new QHBoxLayout();
  severityLine->addWidget(new QLabel(ResourceText(kvx::res::kSeverityLabel), this));
  severityLine->addWidget(severity_, 1);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &RuleDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &RuleDialog::reject);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(picture_, 1);
  layout->addLayout(grid);
  layout->addLayout(severityLine);
  layout->addWidget(buttons);
}

void RuleDialog::AddRow(QGridLayout* grid, int gridRow, size_t row) {
  const auto& shown = presenter_.Rows()[row];
  RowControls& controls = rows_[row];
  int column = 0;
  grid->addWidget(new QLabel(ToQString(shown.name), this), gridRow, column++);
  grid->addWidget(new QLabel(ToQString(shown.symbol), this), gridRow, column++);

  controls.op = new QComboBox(this);
  for (const std::wstring& text : shown.operatorTexts) controls.op->addItem(ToQString(text));
  controls.op->setCurrentIndex(shown.selectedOperator);
  controls.op->setEnabled(shown.operatorCodes.size() > 1);
  connect(controls.op, &QComboBox::currentIndexChanged, this, [this, row](int index) {
    presenter_.SelectOperator(row, index);
    ShowRangeFields(row);
  });
  grid->addWidget(controls.op, gridRow, column++);

  // The value fields and "to" share one cell, so the unit text follows the last visible field.
  auto* values = new QHBoxLayout();
  values->setContentsMargins(0, 0, 0, 0);
  const std::wstring* texts[2] = {&shown.valueText, &shown.secondValueText};
  for (int field = 0; field < 2; ++field) {
    auto* edit = new QLineEdit(ToQString(*texts[field]), this);
    edit->setEnabled(shown.editable);
    connect(edit, &QLineEdit::textEdited, this,
            [this, row, field](const QString& text) { presenter_.SetValueText(row, field, FromQString(text)); });
    controls.values[field] = edit;
    if (field == 1) {
      controls.to = new QLabel(ResourceText(kvx::res::kRangeTo), this);
      values->addWidget(controls.to);
    }
    values->addWidget(edit);
  }
  grid->addLayout(values, gridRow, column++);
  grid->addWidget(new QLabel(ToQString(shown.unit), this), gridRow, column++);

  if (shown.showEnabled) {
    controls.enabled = new QCheckBox(ResourceText(kvx::res::kParameterEnabled), this);
    controls.enabled->setChecked(shown.enabled);
    connect(controls.enabled, &QCheckBox::toggled, this, [this, row](bool on) { presenter_.SetEnabled(row, on); });
    grid->addWidget(controls.enabled, gridRow, column++);
  }
  ShowRangeFields(row);
}

void RuleDialog::ShowRangeFields(size_t row) {
  const bool range = presenter_.IsRange(row);
  rows_[row].to->setVisible(range);
  rows_[row].values[1]->setVisible(range);
}

QComboBox* RuleDialog::OperatorBox(size_t row) const { return row < rows_.size() ? rows_[row].op : nullptr; }

QLineEdit* RuleDialog::ValueEdit(size_t row, int field) const {
  return row < rows_.size() && (field == 0 || field == 1) ? rows_[row].values[field] : nullptr;
}

QCheckBox* RuleDialog::EnabledBox(size_t row) const { return row < rows_.size() ? rows_[row].enabled : nullptr; }

void RuleDialog::accept() {
  if (presenter_.Accept()) QDialog::accept();
}
