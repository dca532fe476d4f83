#pragma once
// One sheet of an .xlsx workbook, opened with libzip and pugixml and read as a cell source.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kvx/spreadsheet/ColumnWalk.h"

namespace kvx::sheet {

enum class XlsxOpenError {
  None,
  CannotOpen,    // the file is missing or cannot be read
  NotAWorkbook,  // not a zip archive, or no workbook and sheet inside it, or XML that does not parse
};

class XlsxSheet final : public CellSource {
 public:
  // Opens the workbook at `path` and keeps the cells of the requested columns of the sheet the
  // workbook shows when opened (its active tab; the first sheet when it names none). Null with
  // `error` set when the file cannot be read as a workbook.
  static std::unique_ptr<XlsxSheet> Open(const std::wstring& path, const std::vector<ColumnRequest>& requests,
                                         XlsxOpenError& error);
  ~XlsxSheet() override;

  // Empty cells for rows the sheet does not hold; NoSuchCell for letters or rows beyond the sheet's
  // limits (XFD, 1048576). Never Failed: everything was read when the sheet was opened.
  CellRead Read(const std::wstring& letter, std::int32_t row, CellValue& value) override;

  struct Impl;

 private:
  explicit XlsxSheet(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace kvx::sheet
