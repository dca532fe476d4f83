#include "kvx/params/Spreadsheet.h"

#include <cstdio>
#include <exception>

#include "SpreadsheetRoads.h"
#include "kvx/params/ResourceText.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/FileSystem.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"
#include "kvx/res/StringIds.h"

namespace kvx::params {

namespace {

constexpr wchar_t kScratchLogName[] = L"KVX.log";

// The module's last row: one value for the whole process, kept from one read to the next, because that
// is how the module's callers know it. Only ReadSpreadsheet changes it, by handing it to the workbook road.
constinit std::int32_t g_moduleLastRow = 0;

// File names compare without case where these files come from, so "TABLE.XLSX" takes the helper too.
bool HasXlsxExtension(const std::wstring& path) {
  constexpr std::wstring_view kExtension = L".xlsx";
  return path.size() >= kExtension.size() &&
         kvx::platform::EqualsNoCase(std::wstring_view(path).substr(path.size() - kExtension.size()), kExtension);
}

std::wstring JoinNumbers(const std::vector<std::size_t>& numbers) {
  std::wstring joined;
  for (const std::size_t number : numbers) {
    if (!joined.empty()) joined += L", ";
    joined += fmt::sprintf(L"%d", number);
  }
  return joined;
}

// The folder of the loaded binary that holds `address`; empty when it cannot be told.
std::wstring FolderOfBinaryHolding(const void* address) {
  return kvx::platform::ParentPath(kvx::platform::PathOfBinaryContaining(address));
}

// The helper is installed beside the module and the platform library: it is looked for beside the binary
// that holds this reader, then beside the platform library (when the reader is linked into a program
// elsewhere, as test programs are), and only then by its bare file name along the loader's search path.
std::wstring HelperLibrary() {
  const std::wstring fileName = kvx::platform::LibraryFileName(kvx::sheet::kHelperLibraryName);
  const void* const anchors[] = {reinterpret_cast<const void*>(&HelperLibrary),
                                 reinterpret_cast<const void*>(&kvx::platform::LibraryFileName)};
  for (const void* anchor : anchors) {
    const std::wstring folder = FolderOfBinaryHolding(anchor);
    if (folder.empty()) continue;
    const std::wstring beside = kvx::platform::JoinPath(folder, fileName);
    if (kvx::platform::FileExists(beside)) return beside;
  }
  return fileName;
}

}  // namespace

namespace detail {

bool ReadThroughHelper(const std::wstring& library, const std::wstring& path,
                       const std::vector<ColumnRequest>& requests, SpreadsheetTable& table, std::wstring& error) {
  const auto helper = kvx::platform::DynamicLibrary::Load(library);
  if (!helper) return false;
  const auto read = helper->Function<kvx::sheet::ReadExcelAndFillTableColByColFn>(kvx::sheet::kHelperExportName);
  if (!read) return false;
  return read(path.c_str(), requests, table, error);
}

}  // namespace detail

bool ReadSpreadsheet(const std::wstring& path, const std::vector<ColumnRequest>& requests,
                     SpreadsheetTable& table, std::wstring& error) {
  if (HasXlsxExtension(path)) return detail::ReadThroughHelper(HelperLibrary(), path, requests, table, error);
  try {
    return detail::ReadThroughWorkbookRoad(path, requests, table, error, g_moduleLastRow);
  } catch (const std::exception&) {  // out of memory on a huge sheet: reported like any unreadable file
    error = kvx::platform::LoadResString(kvx::res::kSpreadsheetAppMissing);
    return false;
  }
}

bool CheckSpreadsheetTable(const SpreadsheetTable& table, std::wstring& error) {
  std::vector<std::size_t> emptyColumns;
  for (std::size_t index = 0; index < table.size(); ++index)
    if (table[index].empty()) emptyColumns.push_back(index + 1);
  if (emptyColumns.empty()) return true;
  // A translation whose placeholder does not fit gives a readable text rather than a crash.
  error = FormatText(kvx::platform::LoadResString(kvx::res::kSpreadsheetEmptyColumns), JoinNumbers(emptyColumns));
  return false;
}

std::int32_t SpreadsheetLastRow() { return g_moduleLastRow; }

int ProbeDirectoryWithLogFile(const std::wstring& directory) {
  if (directory.empty() || !kvx::platform::DirectoryExists(directory)) return kNotADirectory;
  // Joined with the platform's separator (a backslash on Windows).
  const std::wstring logPath = kvx::platform::JoinPath(directory, kScratchLogName);
  std::FILE* log = std::fopen(kvx::platform::Narrow(logPath).c_str(), "w");
  if (!log) return kDirectoryNotWritable;
  std::fclose(log);
  kvx::platform::RemoveFile(logPath);
  return kDirectoryWritable;
}

}  // namespace kvx::params
