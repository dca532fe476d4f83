#include "kvx/ui/ListCtrl.h"

#include <algorithm>

namespace kvx::ui {

IListCtrlObserver::~IListCtrlObserver() = default;

CKVXListCtrl::CKVXListCtrl(int id, std::vector<std::wstring> headers, std::vector<int> widths)
    : id_(id), headers_(std::move(headers)), widths_(std::move(widths)) {
  widths_.resize(headers_.size(), 0);
}

CKVXListCtrl::~CKVXListCtrl() = default;

std::wstring CKVXListCtrl::Header(int column) const {
  return column >= 0 && column < ColumnCount() ? headers_[column] : std::wstring();
}

int CKVXListCtrl::ColumnWidth(int column) const { return column >= 0 && column < ColumnCount() ? widths_[column] : 0; }

std::wstring CKVXListCtrl::CellText(int row, int column) const {
  if (row < 0 || row >= RowCount() || column < 0 || column >= ColumnCount()) return {};
  return rows_[row][column];
}

CKVXListCtrl::Row CKVXListCtrl::Fitted(Row row) const {
  row.resize(headers_.size());
  return row;
}

void CKVXListCtrl::SetRows(std::vector<Row> rows) {
  if (editing_) CancelEdit();
  ++generation_;
  if (observer_) observer_->BeginReset();
  rows_.clear();
  for (Row& row : rows) rows_.push_back(Fitted(std::move(row)));
  selected_ = -1;
  if (observer_) observer_->EndReset();
}

void CKVXListCtrl::InsertRow(int at, Row row) {
  at = std::clamp(at, 0, RowCount());
  if (observer_) observer_->BeginInsertRows(at, 1);
  rows_.insert(rows_.begin() + at, Fitted(std::move(row)));
  if (selected_ >= at) ++selected_;
  if (editing_ && editCell_.row >= at) ++editCell_.row;
  if (observer_) observer_->EndInsertRows();
}

void CKVXListCtrl::SetCellText(int row, int column, const std::wstring& text) {
  if (row < 0 || row >= RowCount() || column < 0 || column >= ColumnCount()) return;
  rows_[row][column] = text;
  if (observer_) observer_->RowChanged(row);
}

void CKVXListCtrl::RemoveRow(int row) {
  if (row < 0 || row >= RowCount()) return;
  if (editing_ && editCell_.row == row) CancelEdit();
  ++generation_;
  if (observer_) observer_->BeginRemoveRows(row, 1);
  rows_.erase(rows_.begin() + row);
  if (editing_ && editCell_.row > row) --editCell_.row;
  const bool selectionLost = selected_ == row;
  if (selectionLost) selected_ = -1;
  else if (selected_ > row) --selected_;
  if (observer_) observer_->EndRemoveRows();
  if (selectionLost && observer_) observer_->SelectionChanged(-1);
}

void CKVXListCtrl::AppendBlankRowsIfShort(int threshold, int count) {
  if (RowCount() >= threshold || count <= 0) return;
  if (observer_) observer_->BeginInsertRows(RowCount(), count);
  rows_.insert(rows_.end(), static_cast<size_t>(count), Row(headers_.size()));
  if (observer_) observer_->EndInsertRows();
}

bool CKVXListCtrl::IsRowEmpty(int row) const {
  if (row < 0 || row >= RowCount()) return true;
  return std::all_of(rows_[row].begin(), rows_[row].end(), [](const std::wstring& text) { return text.empty(); });
}

void CKVXListCtrl::SelectRow(int row) {
  if (row < -1 || row >= RowCount()) row = -1;
  if (row == selected_) return;
  selected_ = row;
  if (observer_) observer_->SelectionChanged(row);
  OnRowSelected(row);
}

bool CKVXListCtrl::BeginEdit(int row, int column) {
  if (editing_) {
    if (editCell_ == CellPosition{row, column}) return true;
    CommitEdit();
  }
  if (row < 0 || row >= RowCount() || column < 0 || column >= ColumnCount()) return false;
  if (!CanEdit(row, column) || RefuseEdit(row, column)) return false;
  SelectRow(row);
  // Selecting may have rebuilt the list (a derived list may report the selection), so look again.
  if (row >= RowCount() || !CanEdit(row, column)) return false;
  editing_ = true;
  editCell_ = {row, column};
  editText_ = InitialEditText(row, column).substr(0, kMaxEditLength);
  if (observer_) observer_->EditStarted(editCell_);
  return true;
}

void CKVXListCtrl::UpdateEditText(const std::wstring& text) {
  if (editing_) editText_ = text.substr(0, kMaxEditLength);
}

bool CKVXListCtrl::AcceptsText(int /*column*/, const std::wstring& text) const {
  return static_cast<int>(text.size()) <= kMaxEditLength;
}

void CKVXListCtrl::CommitEdit() {
  if (!editing_) return;
  editing_ = false;
  const CellPosition cell = editCell_;
  const std::wstring text = editText_;
  if (observer_) observer_->EditEnded();
  OnEditFinished(cell.row, cell.column, text);
}

void CKVXListCtrl::CancelEdit() {
  if (!editing_) return;
  editing_ = false;
  if (observer_) observer_->EditEnded();
}

void CKVXListCtrl::HandleEditKey(EditKey key) {
  if (!editing_) return;
  const CellPosition from = editCell_;
  CellPosition to;
  switch (key) {
    case EditKey::Escape: CancelEdit(); return;
    case EditKey::Delete: DeleteSelectedRow(); return;
    case EditKey::Tab:
    case EditKey::Enter:
    case EditKey::Right: to = NextEditableCell(from, +1); break;
    case EditKey::Left: to = NextEditableCell(from, -1); break;
    case EditKey::Up: to = VerticalNeighbour(from, -1); break;
    case EditKey::Down: to = VerticalNeighbour(from, +1); break;
  }
  const unsigned generation = generation_;
  CommitEdit();
  // A finished edit may rebuild the list (a material added, rows reloaded): the old positions are gone.
  if (generation != generation_ || to.row < 0) return;
  BeginEdit(to.row, to.column);
}

bool CKVXListCtrl::DeleteSelectedRow() {
  const int row = selected_;
  if (row < 0 || row >= RowCount() || IsProtectedRow(row)) return false;
  if (editing_) CancelEdit();
  const Row removed = rows_[static_cast<size_t>(row)];
  RemoveRow(row);
  OnRowDeleted(row, removed);
  return true;
}

CellPosition CKVXListCtrl::NextEditableCell(CellPosition from, int step) const {
  const int columns = ColumnCount();
  int index = from.row * columns + from.column + step;
  for (; index >= 0 && index < RowCount() * columns; index += step) {
    const CellPosition cell{index / columns, index % columns};
    if (CanEdit(cell.row, cell.column)) return cell;
  }
  return {};
}

CellPosition CKVXListCtrl::VerticalNeighbour(CellPosition from, int step) const {
  const CellPosition cell{from.row + step, from.column};
  if (cell.row < 0 || cell.row >= RowCount() || !CanEdit(cell.row, cell.column)) return {};
  return cell;
}

bool CKVXListCtrl::CanEdit(int /*row*/, int /*column*/) const { return true; }
bool CKVXListCtrl::RefuseEdit(int /*row*/, int /*column*/) { return false; }
std::wstring CKVXListCtrl::InitialEditText(int row, int column) const { return CellText(row, column); }
bool CKVXListCtrl::IsProtectedRow(int /*row*/) const { return false; }

void CKVXListCtrl::OnEditFinished(int row, int column, const std::wstring& text) {
  SetCellText(row, column, text);
  Notify(std::wstring(), id_);
}

void CKVXListCtrl::OnRowSelected(int /*row*/) {}
void CKVXListCtrl::OnRowDeleted(int /*row*/, const Row& /*removed*/) {}

void CKVXListCtrl::Notify(const std::wstring& material, int code) const {
  if (notify_) notify_(material, code);
}

}  // namespace kvx::ui
