#include "StringTable.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>

#include "Utf8.h"

namespace kvx::rescomp {

namespace {

constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

bool IsBlankOrComment(std::string_view line) {
  const auto first = line.find_first_not_of(" \t");
  return first == std::string_view::npos || line[first] == '#';
}

// Resolves the escapes of one entry's text; an unknown or unfinished escape is an error message.
std::optional<std::string> Unescape(std::string_view raw, std::string* error) {
  std::string text;
  text.reserve(raw.size());
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] != '\\') {
      text += raw[i];
      continue;
    }
    if (i + 1 == raw.size()) {
      *error = "the text ends in a lone backslash (write \\\\ for a backslash)";
      return std::nullopt;
    }
    switch (raw[++i]) {
      case 't': text += '\t'; break;
      case 'n': text += '\n'; break;
      case 's': text += ' '; break;
      case '\\': text += '\\'; break;
      default:
        *error = std::string("unknown escape \\") + raw[i] + " (known: \\t \\n \\s \\\\)";
        return std::nullopt;
    }
  }
  return text;
}

class TableParser {
 public:
  explicit TableParser(const std::string& fileName) { result_.table.file = fileName; }

  void ParseLine(std::string_view line, int lineNumber) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);  // tables saved on Windows
    if (!IsValidUtf8(line)) return Fail(lineNumber, "the line is not valid UTF-8 (save the table as UTF-8)");
    if (IsBlankOrComment(line)) return;

    const auto tab = line.find('\t');
    if (tab == std::string_view::npos) {
      return Fail(lineNumber, "expected <id><TAB><text>, found no TAB after the id");
    }
    std::string_view idText = line.substr(0, tab);
    const std::string_view rawText = line.substr(tab + 1);
    const bool sameAsEnglish = idText.ends_with('=');
    if (sameAsEnglish) idText.remove_suffix(1);

    const IdParse id = ParseResourceId(idText);
    if (id.status == IdParse::Status::NotANumber) {
      return Fail(lineNumber, "the id '" + std::string(idText) + "' is not a decimal number");
    }
    if (id.status == IdParse::Status::OutOfRange) {
      return Fail(lineNumber, "the id " + std::string(idText) + " is outside 1..65535");
    }
    if (!rawText.empty() && (IsBlank(rawText.front()) || IsBlank(rawText.back()))) {
      return Fail(lineNumber,
                  "the text of id " + std::to_string(id.id) +
                      " starts or ends with a blank; write \\s for a space that belongs to the text");
    }
    std::string escapeError;
    std::optional<std::string> text = Unescape(rawText, &escapeError);
    if (!text) return Fail(lineNumber, escapeError);

    const auto [previous, inserted] = firstLineOfId_.emplace(id.id, lineNumber);
    if (!inserted) {
      return Fail(lineNumber, "duplicate id " + std::to_string(id.id) + " (first defined on line " +
                                  std::to_string(previous->second) + ")");
    }
    result_.table.entries.push_back({id.id, std::move(*text), lineNumber, sameAsEnglish});
  }

  TableParse Finish() {
    auto& entries = result_.table.entries;
    std::sort(entries.begin(), entries.end(),
              [](const StringEntry& a, const StringEntry& b) { return a.id < b.id; });
    return std::move(result_);
  }

 private:
  void Fail(int lineNumber, std::string message) {
    result_.errors.push_back({result_.table.file, lineNumber, std::move(message)});
  }

  TableParse result_;
  std::map<int, int> firstLineOfId_;
};

}  // namespace

IdParse ParseResourceId(std::string_view text) {
  if (text.empty() || !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) {
    return {IdParse::Status::NotANumber, 0};
  }
  long value = 0;
  for (char digit : text) {
    value = value * 10 + (digit - '0');
    if (value > kMaxResourceId) return {IdParse::Status::OutOfRange, 0};
  }
  if (value < kMinResourceId) return {IdParse::Status::OutOfRange, 0};
  return {IdParse::Status::Ok, static_cast<int>(value)};
}

const StringEntry* StringTable::Find(int id) const {
  const auto it = std::lower_bound(entries.begin(), entries.end(), id,
                                   [](const StringEntry& entry, int key) { return entry.id < key; });
  return it != entries.end() && it->id == id ? &*it : nullptr;
}

TableParse ParseStringTable(std::string_view content, const std::string& fileName) {
  if (content.substr(0, kUtf8Bom.size()) == kUtf8Bom) content.remove_prefix(kUtf8Bom.size());
  TableParser parser(fileName);
  int lineNumber = 0;
  while (!content.empty()) {
    const auto end = content.find('\n');
    parser.ParseLine(content.substr(0, end), ++lineNumber);
    if (end == std::string_view::npos) break;
    content.remove_prefix(end + 1);
  }
  return parser.Finish();
}

TableParse ReadStringTable(const std::filesystem::path& file) {
  std::error_code error;
  std::ifstream stream;
  if (std::filesystem::is_regular_file(file, error)) stream.open(file, std::ios::binary);
  if (!stream.is_open()) {
    TableParse failed;
    failed.table.file = file.string();
    failed.errors.push_back({file.string(), 0, "cannot read the table"});
    return failed;
  }
  std::ostringstream content;
  content << stream.rdbuf();
  return ParseStringTable(content.view(), file.string());
}

}  // namespace kvx::rescomp
