#pragma once
// Reading tolerance tables from spreadsheets column by column, the table check, the directory
// probe with its scratch log file, and the file-open filters of the dialogs.
#include <cstdint>
#include <string>
#include <vector>

#include "kvx/contracts/SheetAbi.h"

namespace kvx::params {

// One column to read: `letter` as in a cell address, `kind` 4 selects the fixed number texts.
using ColumnRequest = kvx::sheet::ColumnRequest;
// The texts of one column from row 1 on; inner gaps are empty texts, trailing empty cells are not kept.
using ColumnResult = kvx::sheet::ColumnResult;
// One column result per request, in the order of the requests; owned by the caller.
using SpreadsheetTable = kvx::sheet::SheetTable;

// The open-file filters, used exactly as written (spaces included).
inline constexpr wchar_t kSpreadsheetFileFilter[] = L"XLS Files (*.xls;*.xlsx)|*.xls; *.xlsx|";
inline constexpr wchar_t kPartAssemblyFileFilter[] = L"(*.prt.*;*.prt)|*.prt.*;*.prt |(*.asm.*;*.asm)|*.asm.*;*.asm||";

// Reads the requested columns of the file's active sheet into `table`: ".xlsx" files (any case) through
// the helper library, every other file through the workbook road. False on failure, with `error` set to
// resource text 2532-2534, or left untouched when the helper library or its export is missing.
bool ReadSpreadsheet(const std::wstring& path, const std::vector<ColumnRequest>& requests,
                     SpreadsheetTable& table, std::wstring& error);

// True when every column list holds at least one text; otherwise false with `error` set to resource
// format 2535 filled with the 1-based numbers of the empty columns ("1, 3").
bool CheckSpreadsheetTable(const SpreadsheetTable& table, std::wstring& error);

// The row at which the module's last column read stopped on ten empty cells (the row it would have read
// next); 0 until a column has stopped that way. The helper library's reads do not change it.
std::int32_t SpreadsheetLastRow();

// Results of ProbeDirectoryWithLogFile.
inline constexpr int kDirectoryWritable = 1;
inline constexpr int kNotADirectory = 2;
inline constexpr int kDirectoryNotWritable = 3;

// Creates and removes the scratch file "KVX.log" in `directory`: kDirectoryWritable when that worked,
// kNotADirectory for an empty path or one that is no directory, kDirectoryNotWritable otherwise.
int ProbeDirectoryWithLogFile(const std::wstring& directory);

}  // namespace kvx::params
