#pragma once
// The Qt view of an editable list (CKVXListCtrl): a table model that presents the list's rows and routes
// edits to it, a delegate that moves the editor's text and forwards the keys, and the table widget that
// follows the list's edit and selection. All rules stay in the list.
#include <QAbstractTableModel>
#include <QPointer>
#include <QStyledItemDelegate>
#include <QTableView>

#include "kvx/ui/ListCtrl.h"

#include <QLineEdit>

namespace kvx::ui::qt {

// Presents the list's rows; owns nothing.
class ListCtrlModel final : public QAbstractTableModel {
  Q_OBJECT

 public:
  ListCtrlModel(CKVXListCtrl& list, QObject* parent);

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  // An editor's text for the cell being edited: the list takes it as a finished edit.
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;

  // Called by the view as the list announces its changes.
  void BeginReset() { beginResetModel(); }
  void EndReset() { endResetModel(); }
  void BeginInsert(int first, int count) { beginInsertRows(QModelIndex(), first, first + count - 1); }
  void EndInsert() { endInsertRows(); }
  void BeginRemove(int first, int count) { beginRemoveRows(QModelIndex(), first, first + count - 1); }
  void EndRemove() { endRemoveRows(); }
  void Changed(int row);

 private:
  CKVXListCtrl& list_;
};

class ListCtrlView;

// The in-place editor: a line edit over the cell (2 pixels taller above and below), limited to the list's
// length, all text selected, taking only what the list accepts; the keys of an edit go to the list.
class ListCtrlDelegate final : public QStyledItemDelegate {
  Q_OBJECT

 public:
  ListCtrlDelegate(CKVXListCtrl& list, ListCtrlView& view);

  QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  void setEditorData(QWidget* editor, const QModelIndex& index) const override;
  void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
  void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const override;
  // Closes the open editor without taking its text.
  void CloseEditor();
  // The open editor, or null.
  QLineEdit* CurrentEditor() const { return editor_; }

 protected:
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  CKVXListCtrl& list_;
  ListCtrlView& view_;
  mutable QPointer<QLineEdit> editor_;
};

// The list widget: report view, single selection, bordered, "Courier", the list's column widths, widened
// where a header or a text of the column needs more (translated headers are often longer).
class ListCtrlView final : public QTableView, public IListCtrlObserver {
  Q_OBJECT

 public:
  ListCtrlView(CKVXListCtrl& list, QWidget* parent);
  ~ListCtrlView() override;

  ListCtrlModel* Model() const { return model_; }
  // The editor open on the list's edit cell, or null.
  QLineEdit* Editor() const;

  // --- IListCtrlObserver ---
  void BeginReset() override { model_->BeginReset(); }
  void EndReset() override;
  void BeginInsertRows(int first, int count) override { model_->BeginInsert(first, count); }
  void EndInsertRows() override {
    model_->EndInsert();
    FitColumns();
  }
  void BeginRemoveRows(int first, int count) override { model_->BeginRemove(first, count); }
  void EndRemoveRows() override { model_->EndRemove(); }
  void RowChanged(int row) override {
    model_->Changed(row);
    FitColumns();
  }
  void EditStarted(CellPosition cell) override;
  void EditEnded() override;
  void SelectionChanged(int row) override;

  // Wide enough for every column as fitted, so that the dialog's layout never cuts one.
  QSize minimumSizeHint() const override;

  // Set while Qt itself opens an editor, so the list's report of the edit does not open a second one.
  bool openingEditor = false;

 private:
  void ApplySelection(int row);
  // Each column as wide as the list asks, its header and its widest text, whichever is widest.
  void FitColumns();

  CKVXListCtrl& list_;
  ListCtrlModel* model_;
  ListCtrlDelegate* delegate_;
  bool syncingSelection_ = false;
};

}  // namespace kvx::ui::qt
