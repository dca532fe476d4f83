#pragma once
// The column walk both spreadsheet roads share: cells are read down one column from row 1 until ten
// empty cells follow each other; gaps shorter than that keep their rows as empty texts.
#include <cstdint>
#include <string>
#include <string_view>

#include "kvx/contracts/SheetAbi.h"

namespace kvx::sheet {

// The type of a cell's value, numbered as the automation variant types the sheet hands out.
enum class CellType : std::uint16_t {
  Empty = 0,
  Int16 = 2,
  Int32 = 3,
  Float = 4,
  Double = 5,
  Date = 7,
  Text = 8,
  Error = 10,
  Bool = 11,
};

struct CellValue {
  CellType type = CellType::Empty;
  double number = 0.0;  // Int16, Int32, Float, Double, Bool (1 or 0)
  std::wstring text;    // Text
};

enum class CellRead {
  Value,       // the cell was read (it may be empty)
  NoSuchCell,  // the sheet has no such address: the column ends there, successfully
  Failed,      // the file could not be read: the whole read fails
};

// One opened sheet, asked for one cell at a time.
class CellSource {
 public:
  virtual ~CellSource() = default;
  // The cell of column `letter` in `row` (1-based); see CellRead for what each answer means.
  virtual CellRead Read(const std::wstring& letter, std::int32_t row, CellValue& value) = 0;
};

// The text of a cell as the table holds it: numbers through the first conversion (the second for a
// column of kind 4), texts as they are, every other type the empty text. Never fails.
std::wstring CellText(const CellValue& value, std::int32_t kind);

// Reads one column into `column` (appending). On the ten-empty stop `lastRow` is set to the row that
// would have been read next. False only when the source reports Failed.
bool ReadColumn(CellSource& source, const ColumnRequest& request, ColumnResult& column, std::int32_t& lastRow);

// Reads every requested column in order and appends its result to `table`; stops with false at the
// first column that fails (the columns read before it stay in the table).
bool ReadColumns(CellSource& source, const std::vector<ColumnRequest>& requests, SheetTable& table,
                 std::int32_t& lastRow);

// 1-based column number of column letters, ignoring case ("A" 1, "Z" 26, "AA" 27); 0 when the text
// is empty, holds anything but letters, or lies beyond `maxColumn`.
std::int32_t ColumnNumber(std::wstring_view letters, std::int32_t maxColumn);

}  // namespace kvx::sheet
