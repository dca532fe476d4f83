#pragma once
// The two roads of the spreadsheet reader, apart so tests can take each on its own.
#include <cstdint>
#include <string>

#include "kvx/params/Spreadsheet.h"

namespace kvx::params::detail {

// Loads the helper library at `library` (a path, or a file name the loader searches for), calls its
// export and unloads it. False with `error` untouched when the library or the export is missing.
bool ReadThroughHelper(const std::wstring& library, const std::wstring& path,
                       const std::vector<ColumnRequest>& requests, SpreadsheetTable& table, std::wstring& error);

// The road for every file that is not ".xlsx": reading the workbook file directly here (on Windows this
// is where automation of the spreadsheet application goes). Empties `table` first; false with `error`
// set to 2532 (cannot be opened) or 2534 (not a spreadsheet this road reads). A column that stops on ten
// empty cells sets `lastRow` to the row it would have read next.
bool ReadThroughWorkbookRoad(const std::wstring& path, const std::vector<ColumnRequest>& requests,
                             SpreadsheetTable& table, std::wstring& error, std::int32_t& lastRow);

}  // namespace kvx::params::detail
