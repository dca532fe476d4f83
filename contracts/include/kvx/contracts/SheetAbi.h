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

