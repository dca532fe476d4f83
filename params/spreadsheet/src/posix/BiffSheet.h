#pragma once
// The active sheet of an .xls workbook stream (BIFF8 records), read as a cell source.
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "kvx/params/Spreadsheet.h"
#include "kvx/spreadsheet/ColumnWalk.h"

namespace kvx::params::detail {

class BiffSheet final : public kvx::sheet::CellSource {
 public:
  // Keeps the cells of the requested columns of the sheet the workbook opens on (the first sheet when it
  // names none that exists). Null when `stream` is not a BIFF8 workbook (older versions, encrypted files)
  // or its records do not hold together. Every length in the stream is checked against the real data.
  static std::unique_ptr<BiffSheet> Parse(std::string_view stream, const std::vector<ColumnRequest>& requests);
  ~BiffSheet() override;

  // Empty cells for rows the sheet does not hold; NoSuchCell for letters or rows beyond the limits of an
  // .xls sheet (column IV, row 65536). Never Failed: everything was read when the stream was parsed.
  kvx::sheet::CellRead Read(const std::wstring& letter, std::int32_t row, kvx::sheet::CellValue& value) override;

  struct Impl;

 private:
  explicit BiffSheet(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace kvx::params::detail
