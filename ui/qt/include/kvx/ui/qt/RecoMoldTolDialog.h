#pragma once
// The Qt view of the moulding tolerance table dialog: the material list and the tolerance table in place
// editing lists, the two captions with the unit text, the severity combo box, the rule picture, Ctrl+I and
// the import button (spreadsheet import), OK and Cancel. Everything it shows comes from its presenter.
#include <QDialog>

#include "kvx/ui/RecoMoldTolDlg.h"

class QComboBox;
class QLabel;
class QPushButton;
class PictureControl;

namespace kvx::ui::qt {

class ListCtrlView;

class RecoMoldTolDialog final : public QDialog, public IRecoMoldTolDlgView {
  Q_OBJECT

 public:
  // Opens `presenter` (which must outlive the dialog) and builds the widgets from it.
  explicit RecoMoldTolDialog(CKVXRecoMoldTolDlg& presenter, QWidget* parent = nullptr);
  ~RecoMoldTolDialog() override;

  ListCtrlView* MaterialView() const { return materials_; }
  ListCtrlView* TableView() const { return table_; }
  QComboBox* SeverityBox() const { return severity_; }
  PictureControl* Picture() const { return picture_; }
  QLabel* NominalCaption() const { return nominalCaption_; }
  QLabel* ToleranceCaption() const { return toleranceCaption_; }

  void ShowSeverity(int index) override;

 public Q_SLOTS:
  void accept() override;
  // Ctrl+I and the import button.
  void ImportSpreadsheet();

 private:
  CKVXRecoMoldTolDlg& presenter_;
  ListCtrlView* materials_ = nullptr;
  ListCtrlView* table_ = nullptr;
  QComboBox* severity_ = nullptr;
  PictureControl* picture_ = nullptr;
  QLabel* nominalCaption_ = nullptr;
  QLabel* toleranceCaption_ = nullptr;
};

}  // namespace kvx::ui::qt
