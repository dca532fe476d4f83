// The workbook road where no spreadsheet application can be automated: .xls files (BIFF5 and BIFF8)
// are read directly with FreeXL, cell by cell, through the same column walk as the helper's road.
#include <freexl.h>

#include <memory>

#include "../SpreadsheetRoads.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"
#include "kvx/res/StringIds.h"
#include "kvx/spreadsheet/ColumnWalk.h"

namespace kvx::params::detail {

namespace {

using kvx::sheet::CellRead;
using kvx::sheet::CellType;
using kvx::sheet::CellValue;

// The limits of an .xls sheet: column IV, row 65536.
constexpr std::int32_t kMaxColumn = 256;
constexpr std::int32_t kMaxRow = 65536;

struct WorkbookClose {
  void operator()(const void* handle) const { freexl_close(handle); }
};
using Workbook = std::unique_ptr<const void, WorkbookClose>;

// FreeXL's cell types in the variant types the column walk knows. Dates and times come as texts from
// FreeXL but are dates to the sheet, which the walk turns into the empty text like any other type.
CellValue ToCellValue(const FreeXL_CellValue& cell) {
  switch (cell.type) {
    case FREEXL_CELL_INT: {
      const bool fitsShort = cell.value.int_value >= -32768 && cell.value.int_value <= 32767;
      return {fitsShort ? CellType::Int16 : CellType::Int32, static_cast<double>(cell.value.int_value), {}};
    }
    case FREEXL_CELL_DOUBLE: return {CellType::Double, cell.value.double_value, {}};
    case FREEXL_CELL_TEXT:
    case FREEXL_CELL_SST_TEXT:
      return {CellType::Text, 0.0, cell.value.text_value ? kvx::platform::Widen(cell.value.text_value) : L""};
    case FREEXL_CELL_DATE:
    case FREEXL_CELL_DATETIME:
    case FREEXL_CELL_TIME: return {CellType::Date, 0.0, {}};
    default: return {};
  }
}

// The first worksheet of an opened workbook as a cell source. (FreeXL does not tell which sheet was
// active when the file was saved.)
class FreeXlSheet final : public kvx::sheet::CellSource {
 public:
  FreeXlSheet(const void* workbook, unsigned rows, unsigned short columns)
      : workbook_(workbook), rows_(rows), columns_(columns) {}

  CellRead Read(const std::wstring& letter, std::int32_t row, CellValue& value) override {
    if (letter != letter_ || letter_.empty()) {
      letter_ = letter;
      column_ = kvx::sheet::ColumnNumber(letter, kMaxColumn);
    }
    if (column_ == 0 || row < 1 || row > kMaxRow) return CellRead::NoSuchCell;
    // Beyond the cells the sheet holds, every cell is empty.
    if (static_cast<unsigned>(row) > rows_ || column_ > columns_) {
      value = {};
      return CellRead::Value;
    }
    FreeXL_CellValue cell;
    if (freexl_get_cell_value(workbook_, row - 1, static_cast<unsigned short>(column_ - 1), &cell) != FREEXL_OK)
      return CellRead::Failed;
    value = ToCellValue(cell);
    return CellRead::Value;
  }

 private:
  const void* workbook_;
  unsigned rows_;
  std::int32_t columns_;
  std::wstring letter_;
  std::int32_t column_ = 0;
};

bool Fail(std::wstring& error, int id) {
  error = kvx::platform::LoadResString(id);
  return false;
}

}  // namespace

bool ReadThroughWorkbookRoad(const std::wstring& path, const std::vector<ColumnRequest>& requests,
                             SpreadsheetTable& table, std::wstring& error) {
  table.clear();
  const void* handle = nullptr;
  const int opened = freexl_open(kvx::platform::Narrow(path).c_str(), &handle);
  Workbook workbook(handle);  // closed on every road, a failed open included
  if (opened == FREEXL_FILE_NOT_FOUND) return Fail(error, kvx::res::kSpreadsheetOpenFailed);
  // Anything else is a file this road has no reader for: the text of a missing spreadsheet reader.
  if (opened != FREEXL_OK) return Fail(error, kvx::res::kSpreadsheetAppMissing);
  unsigned rows = 0;
  unsigned short columns = 0;
  if (freexl_select_active_worksheet(handle, 0) != FREEXL_OK ||
      freexl_worksheet_dimensions(handle, &rows, &columns) != FREEXL_OK)
    return Fail(error, kvx::res::kSpreadsheetAppMissing);
  FreeXlSheet sheet(handle, rows, columns);
  if (!kvx::sheet::ReadColumns(sheet, requests, table, ModuleLastRow()))
    return Fail(error, kvx::res::kSpreadsheetAppMissing);
  return true;
}

}  // namespace kvx::params::detail
