// The helper library's one export: reads an .xlsx workbook column by column for the module.
#include <type_traits>

#include "kvx/contracts/SheetAbi.h"
#include "kvx/platform/Resources.h"
#include "kvx/res/StringIds.h"
#include "kvx/spreadsheet/ColumnWalk.h"
#include "kvx/spreadsheet/XlsxSheet.h"

namespace {

using namespace kvx::sheet;

// Sets `error` to resource text `id` without letting anything escape.
void SetError(std::wstring& error, int id) noexcept {
  try {
    error = kvx::platform::LoadResString(id);
  } catch (...) {
    error.clear();
  }
}

bool ReadWorkbook(const wchar_t* path, const std::vector<ColumnRequest>& requests, SheetTable& table,
                  std::wstring& error) {
  table.clear();
  if (!path) {
    SetError(error, kvx::res::kSpreadsheetOpenFailed);
    return false;
  }
  XlsxOpenError openError = XlsxOpenError::None;
  const auto sheet = XlsxSheet::Open(path, requests, openError);
  if (!sheet) {
    // A file this reader cannot make sense of is reported like a missing reader, as the module does.
    SetError(error, openError == XlsxOpenError::CannotOpen ? kvx::res::kSpreadsheetOpenFailed
                                                           : kvx::res::kSpreadsheetAppMissing);
    return false;
  }
  // The module keeps its own last row; the helper's is not handed back through the export.
  std::int32_t lastRow = 0;
  if (!ReadColumns(*sheet, requests, table, lastRow)) {
    SetError(error, kvx::res::kSpreadsheetAppMissing);
    return false;
  }
  return true;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) bool ReadExcelAndFillTableColByCol(
    const wchar_t* path, const std::vector<ColumnRequest>& requests, SheetTable& table, std::wstring& error) noexcept {
  try {
    return ReadWorkbook(path, requests, table, error);
  } catch (...) {  // out of memory on a huge sheet: a failure like any other, never an exception for the caller
    SetError(error, kvx::res::kSpreadsheetAppMissing);
    return false;
  }
}

// The export must keep the shape the module calls it through.
static_assert(std::is_convertible_v<decltype(&ReadExcelAndFillTableColByCol), ReadExcelAndFillTableColByColFn>);
