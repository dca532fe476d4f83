#include "kvx/ui/qt/ListCtrlView.h"

#include <QEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QValidator>
#include <algorithm>
#include <optional>

#include "kvx/framework/gui/QtUiServices.h"

namespace kvx::ui::qt {

namespace {

// Lets into the editor only what the list accepts for the column.
class ListTextValidator final : public QValidator {
 public:
  ListTextValidator(const CKVXListCtrl& list, int column, QObject* parent)
      : QValidator(parent), list_(list), column_(column) {}
  State validate(QString& input, int& /*pos*/) const override {
    return list_.AcceptsText(column_, FromQString(input)) ? Acceptable : Invalid;
  }

 private:
  const CKVXListCtrl& list_;
  int column_;
};

std::optional<EditKey> EditKeyOf(const QKeyEvent& event) {
  switch (event.key()) {
    case Qt::Key_Tab: return EditKey::Tab;
    case Qt::Key_Backtab: return EditKey::Left;
    case Qt::Key_Return:
    case Qt::Key_Enter: return EditKey::Enter;
    case Qt::Key_Escape: return EditKey::Escape;
    case Qt::Key_Left: return EditKey::Left;
    case Qt::Key_Right: return EditKey::Right;
    case Qt::Key_Up: return EditKey::Up;
    case Qt::Key_Down: return EditKey::Down;
    case Qt::Key_Delete: return EditKey::Delete;
    default: return std::nullopt;
  }
}

// An index of the list's rows; the model tester also asks about invalid ones, which simply have nothing.
bool IsCell(const CKVXListCtrl& list, const QModelIndex& index) {
  return index.isValid() && index.row() < list.RowCount() && index.column() < list.ColumnCount();
}

bool IsEditCell(const CKVXListCtrl& list, const QModelIndex& index) {
  return list.IsEditing() && list.EditCell() == CellPosition{index.row(), index.column()};
}

}  // namespace

// --- model ------------------------------------------------------------------------------------------

ListCtrlModel::ListCtrlModel(CKVXListCtrl& list, QObject* parent) : QAbstractTableModel(parent), list_(list) {}

int ListCtrlModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : list_.RowCount(); }

int ListCtrlModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : list_.ColumnCount();
}

QVariant ListCtrlModel::data(const QModelIndex& index, int role) const {
  if (!IsCell(list_, index)) return {};
  if (role == Qt::DisplayRole) return ToQString(list_.CellText(index.row(), index.column()));
  if (role == Qt::EditRole) {
    return ToQString(IsEditCell(list_, index) ? list_.EditText() : list_.CellText(index.row(), index.column()));
  }
  return {};
}

QVariant ListCtrlModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (role != Qt::DisplayRole) return {};
  if (orientation == Qt::Vertical) return section + 1;
  return ToQString(list_.Header(section));
}

Qt::ItemFlags ListCtrlModel::flags(const QModelIndex& index) const {
  if (!IsCell(list_, index)) return Qt::NoItemFlags;
  Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
  if (list_.IsCellEditable(index.row(), index.column())) flags |= Qt::ItemIsEditable;
  return flags;
}

bool ListCtrlModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (role != Qt::EditRole || !IsEditCell(list_, index)) return false;
  list_.UpdateEditText(FromQString(value.toString()));
  list_.CommitEdit();
  return true;
}

void ListCtrlModel::Changed(int row) {
  if (row < 0 || row >= rowCount() || columnCount() == 0) return;
  Q_EMIT dataChanged(index(row, 0), index(row, columnCount() - 1));
}

// --- delegate ---------------------------------------------------------------------------------------

ListCtrlDelegate::ListCtrlDelegate(CKVXListCtrl& list, ListCtrlView& view)
    : QStyledItemDelegate(&view), list_(list), view_(view) {}

QWidget* ListCtrlDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                                        const QModelIndex& index) const {
  if (!IsEditCell(list_, index)) {
    // The user asked for the edit (a double click, a key): the list decides whether it starts.
    view_.openingEditor = true;
    const bool started = list_.BeginEdit(index.row(), index.column());
    view_.openingEditor = false;
    if (!started) return nullptr;
  }
  auto* editor = new QLineEdit(parent);
  editor->setFont(view_.font());
  editor->setMaxLength(CKVXListCtrl::kMaxEditLength);
  editor->setValidator(new ListTextValidator(list_, index.column(), editor));
  connect(editor, &QLineEdit::textEdited, editor,
          [this](const QString& text) { list_.UpdateEditText(FromQString(text)); });
  editor_ = editor;
  return editor;
}

void ListCtrlDelegate::setEditorData(QWidget* editor, const QModelIndex& /*index*/) const {
  auto* line = static_cast<QLineEdit*>(editor);
  line->setText(ToQString(list_.EditText()));
  line->selectAll();
}

void ListCtrlDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const {
  model->setData(index, static_cast<QLineEdit*>(editor)->text(), Qt::EditRole);
}

void ListCtrlDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                            const QModelIndex& /*index*/) const {
  editor->setGeometry(option.rect.adjusted(0, -2, 0, 2));
}

void ListCtrlDelegate::CloseEditor() {
  QLineEdit* editor = editor_;
  editor_ = nullptr;
  if (editor) Q_EMIT closeEditor(editor, QAbstractItemDelegate::NoHint);
}

bool ListCtrlDelegate::eventFilter(QObject* object, QEvent* event) {
  if (event->type() == QEvent::KeyPress && object == editor_) {
    if (const auto key = EditKeyOf(*static_cast<QKeyEvent*>(event))) {
      list_.UpdateEditText(FromQString(editor_->text()));
      list_.HandleEditKey(*key);
      return true;
    }
  }
  return QStyledItemDelegate::eventFilter(object, event);
}

// --- view -------------------------------------------------------------------------------------------

ListCtrlView::ListCtrlView(CKVXListCtrl& list, QWidget* parent)
    : QTableView(parent), list_(list), model_(new ListCtrlModel(list, this)), delegate_(new ListCtrlDelegate(list, *this)) {
  setModel(model_);
  setItemDelegate(delegate_);
  setFont(QFont(QStringLiteral("Courier")));
  setSelectionBehavior(QAbstractItemView::SelectRows);
  setSelectionMode(QAbstractItemView::SingleSelection);
  setFrameShape(QFrame::Box);
  setTabKeyNavigation(false);
  setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                  QAbstractItemView::AnyKeyPressed);
  verticalHeader()->hide();
  verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
  horizontalHeader()->setStretchLastSection(false);
  FitColumns();
  connect(selectionModel(), &QItemSelectionModel::currentRowChanged, this,
          [this](const QModelIndex& current, const QModelIndex&) {
            if (!syncingSelection_) list_.SelectRow(current.isValid() ? current.row() : -1);
          });
  list.SetObserver(this);
}

ListCtrlView::~ListCtrlView() { list_.SetObserver(nullptr); }

QLineEdit* ListCtrlView::Editor() const { return list_.IsEditing() ? delegate_->CurrentEditor() : nullptr; }

void ListCtrlView::EndReset() {
  model_->EndReset();
  FitColumns();
  ApplySelection(list_.SelectedRow());
}

void ListCtrlView::EditStarted(CellPosition cell) {
  if (openingEditor) return;
  const QModelIndex index = model_->index(cell.row, cell.column);
  syncingSelection_ = true;
  setCurrentIndex(index);
  syncingSelection_ = false;
  scrollTo(index);
  edit(index);
}

void ListCtrlView::EditEnded() { delegate_->CloseEditor(); }

void ListCtrlView::SelectionChanged(int row) { ApplySelection(row); }

void ListCtrlView::FitColumns() {
  for (int column = 0; column < list_.ColumnCount(); ++column) {
    setColumnWidth(column, std::max({list_.ColumnWidth(column), sizeHintForColumn(column),
                                     horizontalHeader()->sectionSizeHint(column)}));
  }
  updateGeometry();
}

QSize ListCtrlView::minimumSizeHint() const {
  int width = 2 * frameWidth() + verticalScrollBar()->sizeHint().width();
  for (int column = 0; column < model_->columnCount(); ++column) width += columnWidth(column);
  return {width, QTableView::minimumSizeHint().height()};
}

void ListCtrlView::ApplySelection(int row) {
  syncingSelection_ = true;
  if (row < 0) {
    clearSelection();
  } else {
    selectRow(row);
  }
  syncingSelection_ = false;
}

}  // namespace kvx::ui::qt
