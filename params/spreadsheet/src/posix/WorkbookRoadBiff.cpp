// The workbook road where no spreadsheet application can be automated: .xls files (BIFF8) are read
// directly, their compound document through libgsf and the cell records by our own reader, through the
// same column walk as the helper's road.
#include <new>

#include "../SpreadsheetRoads.h"
#include "BiffSheet.h"
#include "CompoundFile.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"
#include "kvx/res/StringIds.h"
#include "kvx/spreadsheet/ColumnWalk.h"

namespace kvx::params::detail {

bool ReadThroughWorkbookRoad(const std::wstring& path, const std::vector<ColumnRequest>& requests,
                             SpreadsheetTable& table, std::wstring& error) {
  table.clear();
  try {
    const auto stream = WorkbookStreamOfFile(kvx::platform::Narrow(path));
    const auto sheet = stream ? BiffSheet::Parse(*stream, requests) : nullptr;
    // Missing, damaged and unsupported files alike are files the spreadsheet could not open.
    if (sheet) {
      kvx::sheet::ReadColumns(*sheet, requests, table, ModuleLastRow());  // never fails: all is read
      return true;
    }
  } catch (const std::bad_alloc&) {  // a sheet too big for memory
    table.clear();
  }
  error = kvx::platform::LoadResString(kvx::res::kSpreadsheetOpenFailed);
  return false;
}

}  // namespace kvx::params::detail
