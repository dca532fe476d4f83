// The .xls road under the fuzzer: the compound document container, the BIFF records inside it and the
// column walk over the sheet that comes out. Each input is tried as a whole file and as a bare workbook
// stream, so that the records are reached without the container around them too.
#include <glib.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "../params/spreadsheet/src/posix/BiffSheet.h"
#include "../params/spreadsheet/src/posix/CompoundFile.h"

namespace {

void ReadSheet(std::string_view stream) {
  // The first columns, one of them with fixed number texts, and the last column an .xls sheet has.
  static const std::vector<kvx::params::ColumnRequest> requests = {{L"A", 0}, {L"B", 4}, {L"C", 0}, {L"IV", 0}};
  const auto sheet = kvx::params::detail::BiffSheet::Parse(stream, requests);
  if (!sheet) return;
  kvx::sheet::SheetTable table;
  std::int32_t lastRow = 0;
  kvx::sheet::ReadColumns(*sheet, requests, table, lastRow);
}

}  // namespace

// The container library reports every damaged block on standard error; the run's log is for findings.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  g_log_set_handler(
      "libgsf:msole", G_LOG_LEVEL_MASK, [](const gchar*, GLogLevelFlags, const gchar*, gpointer) {}, nullptr);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  if (const auto stream = kvx::params::detail::WorkbookStreamOfBytes(input)) ReadSheet(*stream);
  ReadSheet(input);
  return 0;
}
