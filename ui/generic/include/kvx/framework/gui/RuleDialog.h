#pragma once
// The Qt view of the generic rule dialog: it shows what its CKVXRuleDlgBase holds and reports every change
// to it; OK asks the presenter, which may refuse and keep the dialog open.
#include <QDialog>
#include <vector>

#include "kvx/framework/gui/FrameworkGuiExport.h"
#include "kvx/framework/gui/RuleDlgBase.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QLabel;
class PictureControl;

class KVX_FRAMEWORK_GUI_API RuleDialog : public QDialog {
  Q_OBJECT

 public:
  // `presenter` must outlive the dialog.
  explicit RuleDialog(kvx::framework::gui::CKVXRuleDlgBase& presenter, QWidget* parent = nullptr);

  // The controls of parameter row `row`, for tests; null when out of range.
  QComboBox* OperatorBox(size_t row) const;
  QLineEdit* ValueEdit(size_t row, int field) const;
  QCheckBox* EnabledBox(size_t row) const;
  QComboBox* SeverityBox() const { return severity_; }
  PictureControl* Picture() const { return picture_; }

 public Q_SLOTS:
  void accept() override;

 private:
  struct RowControls {
    QComboBox* op = nullptr;
    QLineEdit* values[2] = {nullptr, nullptr};
    QLabel* to = nullptr;
    QCheckBox* enabled = nullptr;
  };
  void AddRow(class QGridLayout* grid, int gridRow, size_t row);
  void ShowRangeFields(size_t row);

  kvx::framework::gui::CKVXRuleDlgBase& presenter_;
  std::vector<RowControls> rows_;
  QComboBox* severity_ = nullptr;
  PictureControl* picture_ = nullptr;
};
