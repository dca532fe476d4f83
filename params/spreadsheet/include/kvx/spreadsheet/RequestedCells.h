#pragma once
// The cells of the requested columns only, taken out of a sheet while its file is read in file order, then
// handed to the column walk row by row. Most of a big sheet is never asked for, so only these are kept.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "kvx/spreadsheet/ColumnWalk.h"

namespace kvx::sheet {

class RequestedCells final : public CellSource {
 public:
  // `maxColumn` and `maxRow` are the file format's limits: letters and rows beyond them are no cells at all.
  RequestedCells(const std::vector<ColumnRequest>& requests, std::int32_t maxColumn, std::int32_t maxRow);

  // True when `column` (1-based) was requested.
  bool Wanted(std::int32_t column) const;
  // Keeps a cell of a requested column (others are dropped); `text` is what AddText returned, 0 for none.
  void Add(std::int32_t column, std::int32_t row, CellType type, double number = 0.0, std::uint32_t text = 0);
  // Keeps a text for cells to refer to; returns its number (from 1).
  std::uint32_t AddText(std::wstring text);
  // Forgets every cell and text, for a sheet read again from its start.
  void Clear();
  // Orders each column by row; once, after the last Add.
  void SortByRow();

  // Empty cells for rows the sheet does not hold; NoSuchCell beyond the limits; never Failed.
  CellRead Read(const std::wstring& letter, std::int32_t row, CellValue& value) override;

 private:
  // Kept small: most cells of a big table are numbers, and the texts live beside them.
  struct Cell {
    std::int32_t row;
    CellType type;
    std::uint32_t text;
    double number;
  };
  const Cell* Find(std::size_t slot, std::int32_t row);

  std::int32_t maxColumn_;
  std::int32_t maxRow_;
  // The slot of each column number (0 for columns nobody asked for), the cells of each slot, and where
  // the last search of each slot ended.
  std::vector<std::size_t> slotOfColumn_ = std::vector<std::size_t>(1, 0);
  std::vector<std::vector<Cell>> cellsOfSlot_ = std::vector<std::vector<Cell>>(1);
  std::vector<std::size_t> nextOfSlot_ = std::vector<std::size_t>(1, 0);
  std::vector<std::wstring> texts_;
  // The letters last asked for, so that they are parsed once per column rather than once per cell.
  std::wstring cachedLetter_;
  std::int32_t cachedColumn_ = 0;
};

}  // namespace kvx::sheet
