#include "kvx/ui/RecMoldTolListCtrl.h"

#include "kvx/params/ValueUtils.h"
#include "kvx/ui/DialogSupport.h"

namespace kvx::ui {

namespace {
std::wstring Trimmed(const std::wstring& text) {
  const auto first = text.find_first_not_of(L" \t");
  if (first == std::wstring::npos) return {};
  const auto last = text.find_last_not_of(L" \t");
  return text.substr(first, last - first + 1);
}
}  // namespace

KVXRecMoldTolListCtrl::KVXRecMoldTolListCtrl(Kind kind, int id, std::vector<std::wstring> headers,
                                             std::vector<int> widths, std::wstring placeholderText,
                                             std::wstring addMaterialText)
    : CKVXListCtrl(id, std::move(headers), std::move(widths)),
      kind_(kind),
      placeholderText_(std::move(placeholderText)),
      addMaterialText_(std::move(addMaterialText)) {}

void KVXRecMoldTolListCtrl::ShowMaterials(const std::vector<std::pair<std::wstring, size_t>>& materials) {
  std::vector<Row> rows;
  for (const auto& [name, count] : materials) rows.push_back({name, std::to_wstring(count)});
  rows.push_back({addMaterialText_});
  SetRows(std::move(rows));
}

int KVXRecMoldTolListCtrl::RowOfMaterial(const std::wstring& material) const {
  for (int row = 0; row < RowCount(); ++row) {
    if (!IsAddMaterialRow(row) && CellText(row, 0) == material) return row;
  }
  return -1;
}

bool KVXRecMoldTolListCtrl::IsAddMaterialRow(int row) const {
  return kind_ == Kind::MaterialList && row == RowCount() - 1 && CellText(row, 0) == addMaterialText_;
}

void KVXRecMoldTolListCtrl::ShowRows(const std::vector<Row>& rows) {
  std::vector<Row> shown = rows;
  shown.push_back(PlaceholderRow());
  SetRows(std::move(shown));
}

bool KVXRecMoldTolListCtrl::IsPlaceholderRow(int row) const {
  return row >= 0 && row < RowCount() && !placeholderText_.empty() && CellText(row, 0) == placeholderText_;
}

CKVXListCtrl::Row KVXRecMoldTolListCtrl::PlaceholderRow() const { return Row{placeholderText_}; }

bool KVXRecMoldTolListCtrl::AcceptsText(int column, const std::wstring& text) const {
  if (!CKVXListCtrl::AcceptsText(column, text)) return false;
  return kind_ == Kind::MaterialList || kvx::params::IsNumeric(WithPoint(text));
}

std::wstring KVXRecMoldTolListCtrl::WithPoint(const std::wstring& text) const {
  return WithDecimalPoint(text, decimalSeparator_);
}

bool KVXRecMoldTolListCtrl::CanEdit(int row, int column) const {
  if (row < 0 || row >= RowCount() || column < 0 || column >= ColumnCount()) return false;
  if (kind_ == Kind::ToleranceTable) return true;
  return column == 0 && (IsAddMaterialRow(row) || !CellText(row, 0).empty());
}

bool KVXRecMoldTolListCtrl::RefuseEdit(int /*row*/, int /*column*/) {
  return kind_ == Kind::ToleranceTable && refuse_ && refuse_();
}

std::wstring KVXRecMoldTolListCtrl::InitialEditText(int row, int column) const {
  if (IsAddMaterialRow(row)) return {};
  if (kind_ == Kind::ToleranceTable && IsPlaceholderRow(row) && column == 0) return {};
  return CellText(row, column);
}

bool KVXRecMoldTolListCtrl::IsProtectedRow(int row) const {
  if (kind_ == Kind::ToleranceTable) return IsPlaceholderRow(row);
  // While a name is edited, Delete is meant for that material and no other.
  return IsAddMaterialRow(row) || (IsEditing() && EditCell().row != row);
}

void KVXRecMoldTolListCtrl::OnEditFinished(int row, int column, const std::wstring& text) {
  if (kind_ == Kind::MaterialList) {
    const std::wstring name = Trimmed(text);
    if (IsAddMaterialRow(row)) {
      if (!name.empty()) Notify(name, kAddMaterialCode);
      return;
    }
    // The dialog decides whether the name is taken and shows the list again.
    if (name != CellText(row, 0) && rename_) rename_(CellText(row, 0), name);
    return;
  }
  if (IsPlaceholderRow(row)) {
    if (text.empty()) return;
    // The placeholder becomes a row of the table, and a new placeholder goes below it.
    SetCellText(row, 0, std::wstring());
    InsertRow(row + 1, PlaceholderRow());
  }
  SetCellText(row, column, WithPoint(text));
  Notify(std::wstring(), Id());
}

void KVXRecMoldTolListCtrl::OnRowSelected(int row) {
  if (kind_ != Kind::MaterialList || row < 0 || IsAddMaterialRow(row)) return;
  const std::wstring name = CellText(row, 0);
  if (!name.empty()) Notify(name, Id());
}

void KVXRecMoldTolListCtrl::OnRowDeleted(int /*row*/, const Row& removed) {
  if (kind_ == Kind::ToleranceTable) Notify(std::wstring(), Id());
  if (kind_ == Kind::MaterialList && !removed.empty() && !removed[0].empty()) Notify(removed[0], kDeleteMaterialCode);
}

}  // namespace kvx::ui
