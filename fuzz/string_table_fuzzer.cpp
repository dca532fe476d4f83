// A translator's string table on any bytes: parsed, its placeholders checked and compared with itself,
// and written as the resource library's source. The entries that come out are sorted with unique ids,
// whatever the lines were.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "Placeholders.h"
#include "SourceWriter.h"
#include "StringTable.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kvx::rescomp;
  const std::string_view content(reinterpret_cast<const char*>(data), size);
  const TableParse parsed = ParseStringTable(content, "fuzz.txt");
  const auto& entries = parsed.table.entries;
  for (std::size_t i = 1; i < entries.size(); ++i)
    if (entries[i - 1].id >= entries[i].id) std::abort();
  for (const StringEntry& entry : entries) PrintfPlaceholders(entry.text);
  CompareWithReference(parsed.table, parsed.table);
  if (CheckFieldSizes(parsed.table).empty()) GenerateResourceSource(parsed.table, {});
  return 0;
}
