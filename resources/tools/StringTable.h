#pragma once
// A language's string table as a translator edits it: UTF-8 text, one entry per line,
// "<id><TAB><text>", with "#" comment lines and the escapes \t \n \s (space) and \\.
// "<id>=<TAB><text>" marks a text that is deliberately the same as the English one.
// The full syntax is described in resources/README.md.
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "Diagnostic.h"

namespace kvx::rescomp {

inline constexpr int kMinResourceId = 1;
inline constexpr int kMaxResourceId = 65535;

// Reading of a resource id written in decimal (table entries and picture file names).
struct IdParse {
  enum class Status { Ok, NotANumber, OutOfRange };
  Status status = Status::NotANumber;
  int id = 0;
};
// NotANumber for anything but plain decimal digits, OutOfRange outside 1..65535.
IdParse ParseResourceId(std::string_view text);

struct StringEntry {
  int id = 0;
  std::string text;  // UTF-8, escapes resolved
  int line = 0;      // where the entry stands in its table, for messages
  bool sameAsEnglish = false;  // written "<id>=": the same word in both languages, on purpose
};

struct StringTable {
  std::string file;                  // the name used in messages
  std::vector<StringEntry> entries;  // sorted by id, ids unique

  // The entry with `id`, or null when the table has none.
  const StringEntry* Find(int id) const;
};

struct TableParse {
  StringTable table;   // the entries that were read correctly, also when there are errors
  Diagnostics errors;  // every malformed line, bad id and duplicate, in line order
  bool ok() const { return errors.empty(); }
};

// Parses the content of a table; `fileName` only names it in messages. Never throws.
TableParse ParseStringTable(std::string_view content, const std::string& fileName);
// Reads and parses the table file; an unreadable file gives one error for the whole file.
TableParse ReadStringTable(const std::filesystem::path& file);

}  // namespace kvx::rescomp
