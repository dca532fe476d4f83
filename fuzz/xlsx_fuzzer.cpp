// The .xlsx reader on any bytes: open the file as a workbook and walk four columns as the module does.
// Refusing the file is fine; crashing, leaking or running away with memory is not.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "kvx/platform/Text.h"
#include "kvx/spreadsheet/ColumnWalk.h"
#include "kvx/spreadsheet/XlsxSheet.h"

namespace {
// One file per fuzzing process (jobs run side by side), rewritten for every input.
const std::string& InputPath() {
  static const std::string path = "/tmp/kvx-xlsx-fuzz-" + std::to_string(::getpid()) + ".xlsx";
  return path;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::FILE* file = std::fopen(InputPath().c_str(), "wb");
  if (!file) std::abort();
  const bool written = std::fwrite(data, 1, size, file) == size;
  if (std::fclose(file) != 0 || !written) std::abort();

  std::vector<kvx::sheet::ColumnRequest> requests;
  for (const wchar_t* letter : {L"A", L"B", L"C", L"D"})
    requests.push_back({letter, letter[0] == L'D' ? kvx::sheet::kColumnKindFixed : 0});
  kvx::sheet::XlsxOpenError error{};
  auto sheet = kvx::sheet::XlsxSheet::Open(kvx::platform::Widen(InputPath()), requests, error);
  if (!sheet) return 0;
  kvx::sheet::SheetTable table;
  std::int32_t lastRow = 0;
  kvx::sheet::ReadColumns(*sheet, requests, table, lastRow);
  return 0;
}
