#include "kvx/spreadsheet/RequestedCells.h"

#include <algorithm>

namespace kvx::sheet {

RequestedCells::RequestedCells(const std::vector<ColumnRequest>& requests, std::int32_t maxColumn, std::int32_t maxRow)
    : maxColumn_(maxColumn), maxRow_(maxRow) {
  for (const ColumnRequest& request : requests) {
    const std::int32_t column = ColumnNumber(request.letter, maxColumn_);
    if (column == 0) continue;
    if (slotOfColumn_.size() <= static_cast<std::size_t>(column)) slotOfColumn_.resize(column + 1, 0);
    if (slotOfColumn_[column] != 0) continue;
    slotOfColumn_[column] = cellsOfSlot_.size();
    cellsOfSlot_.emplace_back();
    nextOfSlot_.push_back(0);
  }
}

bool RequestedCells::Wanted(std::int32_t column) const {
  return column >= 1 && static_cast<std::size_t>(column) < slotOfColumn_.size() && slotOfColumn_[column] != 0;
}

void RequestedCells::Add(std::int32_t column, std::int32_t row, CellType type, double number, std::uint32_t text) {
  if (!Wanted(column) || row < 1 || row > maxRow_) return;
  cellsOfSlot_[slotOfColumn_[column]].push_back({row, type, text, number});
}

std::uint32_t RequestedCells::AddText(std::wstring text) {
  texts_.push_back(std::move(text));
  return static_cast<std::uint32_t>(texts_.size());
}

void RequestedCells::Clear() {
  for (auto& cells : cellsOfSlot_) cells.clear();
  for (auto& next : nextOfSlot_) next = 0;
  texts_.clear();
}

void RequestedCells::SortByRow() {
  const auto byRow = [](const Cell& a, const Cell& b) { return a.row < b.row; };
  for (auto& cells : cellsOfSlot_)
    if (!std::is_sorted(cells.begin(), cells.end(), byRow)) std::stable_sort(cells.begin(), cells.end(), byRow);
}

const RequestedCells::Cell* RequestedCells::Find(std::size_t slot, std::int32_t row) {
  const std::vector<Cell>& cells = cellsOfSlot_[slot];
  // The walk asks for rows in order, so the next cell is almost always the one after the last.
  std::size_t& next = nextOfSlot_[slot];
  if (next >= cells.size() || cells[next].row != row) {
    const auto at =
        std::lower_bound(cells.begin(), cells.end(), row, [](const Cell& a, std::int32_t r) { return a.row < r; });
    next = static_cast<std::size_t>(at - cells.begin());
  }
  if (next >= cells.size() || cells[next].row != row) return nullptr;
  return &cells[next++];
}

CellRead RequestedCells::Read(const std::wstring& letter, std::int32_t row, CellValue& value) {
  if (letter != cachedLetter_ || cachedLetter_.empty()) {
    cachedLetter_ = letter;
    cachedColumn_ = ColumnNumber(letter, maxColumn_);
  }
  if (cachedColumn_ == 0 || row < 1 || row > maxRow_) return CellRead::NoSuchCell;
  const Cell* found = Wanted(cachedColumn_) ? Find(slotOfColumn_[cachedColumn_], row) : nullptr;
  if (!found) {
    value = CellValue{};
    return CellRead::Value;
  }
  value.type = found->type;
  value.number = found->number;
  value.text = found->text == 0 ? std::wstring() : texts_[found->text - 1];
  return CellRead::Value;
}

}  // namespace kvx::sheet
