// A translator's string table on any bytes: parsed, its placeholders compared with itself and with the
// table parsed again, and written as the resource library's source.
#include <cstdlib>
#include <string>

#include "Placeholders.h"
#include "SourceWriter.h"
#include "StringTable.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kvx::rescomp;
  const std::string_view content(reinterpret_cast<const char*>(data), size);
  const TableParse parsed = ParseStringTable(content, "fuzz.txt");
  if (!ComparePlaceholders(parsed.table, parsed.table).empty()) std::abort();  // a table always agrees with itself
  for (const StringEntry& entry : parsed.table.entries) PrintfPlaceholders(entry.text);
  GenerateResourceSource(parsed.table, {});
  return 0;
}
