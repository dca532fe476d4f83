#pragma once
// The Qt view of the minimum rib clearance dialog: the numeric edit box, the operator and severity combo
// boxes and the rule's picture, with OK and Cancel.
#include <QDialog>

#include "kvx/ui/MinRibClearanceDlg.h"

class QComboBox;
class QLineEdit;
class PictureControl;

namespace kvx::ui::qt {

class MinRibClearanceDialog final : public QDialog, public IMinRibClearanceDlgView {
  Q_OBJECT

 public:
  // Opens `presenter` (which must outlive the dialog) and builds the widgets from it.
  explicit MinRibClearanceDialog(CKVXIMMinRibClearanceDlg& presenter, QWidget* parent = nullptr);
  ~MinRibClearanceDialog() override;

  QLineEdit* ValueEdit() const { return value_; }
  QComboBox* OperatorBox() const { return operator_; }
  QComboBox* SeverityBox() const { return severity_; }
  PictureControl* Picture() const { return picture_; }

  void ShowOperator(int index) override;
  void ShowSeverity(int index) override;

 public Q_SLOTS:
  void accept() override;

 private:
  CKVXIMMinRibClearanceDlg& presenter_;
  QLineEdit* value_ = nullptr;
  QComboBox* operator_ = nullptr;
  QComboBox* severity_ = nullptr;
  PictureControl* picture_ = nullptr;
};

}  // namespace kvx::ui::qt
