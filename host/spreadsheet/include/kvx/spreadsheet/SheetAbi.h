#pragma once
// The types the module's spreadsheet reader and the .xlsx helper library share. The two are built
// apart and meet only through the helper's one export, so this header is all they agree on.
#include <cstdint>
#include <string>
#include <vector>

namespace kvx::sheet {

// The column kind that selects the second number-to-text conversion (fixed notation, see CellText).
inline constexpr std::int32_t kColumnKindFixed = 4;

// One column to read: its letters as in a cell address ("A", "B", ... "AB") and its kind.
struct ColumnRequest {
  std::wstring letter;
  std::int32_t kind = 0;
};

// The texts of one column, one per row from row 1; inner gaps are empty texts.
using ColumnResult = std::vector<std::wstring>;
// One column result per request, in the order of the requests.
using SheetTable = std::vector<ColumnResult>;

// Base name of the helper library (the platform adds prefix and suffix) and the name of its export.
inline constexpr wchar_t kHelperLibraryName[] = L"KVXCLRMangedHelper";
inline constexpr char kHelperExportName[] = "ReadExcelAndFillTableColByCol";

// The helper's export: empties `table` and fills it from the .xlsx file at `path`. Returns false with
// `error` set to a resource text when the file cannot be read; never throws.
using ReadExcelAndFillTableColByColFn = bool (*)(const wchar_t* path, const std::vector<ColumnRequest>& requests,
                                                 SheetTable& table, std::wstring& error);

}  // namespace kvx::sheet

namespace kvx::sheet {

// Resource texts both sides report failures with.
inline constexpr int kResFileCannotBeOpened = 2532;     // the file is missing or cannot be opened
inline constexpr int kResApplicationNotStarted = 2533;  // the spreadsheet application could not be started
inline constexpr int kResFileNotReadable = 2534;        // no reader for this file, or not a spreadsheet it reads
inline constexpr int kResEmptyColumns = 2535;           // format: the numbers of the empty columns as one %s

}  // namespace kvx::sheet
