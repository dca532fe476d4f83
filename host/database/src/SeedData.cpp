#include "SeedData.h"

#include "ToleranceText.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>

#include "kvx/platform/Text.h"

namespace kvx_db::detail {

namespace {
using kvx::platform::Widen;

// One non-comment line of a CSV file, split at "," (the shipped files use no quoting).
struct CsvRow {
  int lineNumber = 0;
  std::vector<std::string_view> fields;
};

// A comment line with the text after "#"; source notes are read from these.
struct CsvComment {
  std::string_view text;
};

std::string_view Trim(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t\r");
  return text.substr(first, last - first + 1);
}

std::vector<std::string_view> SplitFields(std::string_view line) {
  std::vector<std::string_view> fields;
  size_t start = 0;
  while (true) {
    const size_t comma = line.find(',', start);
    fields.push_back(Trim(line.substr(start, comma - start)));
    if (comma == std::string_view::npos) return fields;
    start = comma + 1;
  }
}

// Calls onComment for each comment line and onRow for each other non-blank line, in file order.
template <typename CommentFn, typename RowFn>
void ForEachLine(std::string_view text, CommentFn onComment, RowFn onRow) {
  int lineNumber = 0;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = text.substr(start, end - start);
    start = end + 1;
    ++lineNumber;
    const std::string_view trimmed = Trim(line);
    if (trimmed.empty()) continue;
    if (trimmed.front() == '#') {
      onComment(CsvComment{line.substr(line.find('#') + 1)});
      continue;
    }
    onRow(CsvRow{lineNumber, SplitFields(trimmed)});
  }
}

bool ParseNumber(std::string_view text, double& value) {
  if (text.empty()) return false;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  return ec == std::errc() && end == text.data() + text.size();
}

std::wstring LineError(const wchar_t* file, int lineNumber, const std::wstring& what) {
  return std::wstring(file) + L" line " + std::to_wstring(lineNumber) + L": " + what;
}

// Collects "# Group NAME: text" notes and their indented continuation lines.
class SourceNoteReader {
 public:
  void Add(const CsvComment& comment) {
    const std::string_view trimmed = Trim(comment.text);
    constexpr std::string_view kPrefix = "Group ";
    const size_t colon = trimmed.find(':');
    if (trimmed.starts_with(kPrefix) && colon != std::string_view::npos) {
      current_ = Widen(Trim(trimmed.substr(kPrefix.size(), colon - kPrefix.size())));
      notes_[current_] = Widen(Trim(trimmed.substr(colon + 1)));
      return;
    }
    const bool continues = comment.text.starts_with("  ") && !current_.empty() && !trimmed.empty();
    if (continues) notes_[current_] += L" " + Widen(trimmed);
    else current_.clear();
  }
  std::wstring NoteOf(const std::wstring& group) const {
    const auto found = notes_.find(group);
    return found == notes_.end() ? std::wstring() : found->second;
  }

 private:
  std::map<std::wstring, std::wstring> notes_;
  std::wstring current_;
};

// Rows after the header; the header must name exactly `columns`.
bool CheckHeader(const std::vector<CsvRow>& rows, const std::vector<std::string_view>& columns,
                 const wchar_t* file, std::wstring& error) {
  if (rows.empty()) {
    error = std::wstring(file) + L": no header line";
    return false;
  }
  if (rows.front().fields != columns) {
    error = LineError(file, rows.front().lineNumber, L"the header is not the one expected");
    return false;
  }
  return true;
}

bool ParseBands(std::string_view csv, SeedData& data, SourceNoteReader& notes, std::wstring& error) {
  constexpr const wchar_t* kFile = L"moulding-tolerances.csv";
  std::vector<CsvRow> rows;
  ForEachLine(csv, [&](const CsvComment& c) { notes.Add(c); }, [&](CsvRow row) { rows.push_back(std::move(row)); });
  if (!CheckHeader(rows, {"group", "over", "upto", "a", "b"}, kFile, error)) return false;
  for (size_t i = 1; i < rows.size(); ++i) {
    const CsvRow& row = rows[i];
    SeedBand seed;
    seed.group = Widen(row.fields.front());
    ToleranceBand& band = seed.band;
    const bool complete = row.fields.size() == 5 && !seed.group.empty() && ParseNumber(row.fields[1], band.over) &&
                          ParseNumber(row.fields[2], band.upto) && ParseNumber(row.fields[3], band.a) &&
                          ParseNumber(row.fields[4], band.b);
    if (!complete) {
      error = LineError(kFile, row.lineNumber, L"expected a group name and four numbers");
      return false;
    }
    data.bands.push_back(std::move(seed));
  }
  return true;
}

bool ParseMaterials(std::string_view csv, SeedData& data, std::wstring& error) {
  constexpr const wchar_t* kFile = L"materials.csv";
  std::vector<CsvRow> rows;
  ForEachLine(csv, [](const CsvComment&) {}, [&](CsvRow row) { rows.push_back(std::move(row)); });
  if (!CheckHeader(rows, {"material", "group"}, kFile, error)) return false;
  std::set<std::wstring> seen;
  for (size_t i = 1; i < rows.size(); ++i) {
    const CsvRow& row = rows[i];
    if (row.fields.size() != 2 || row.fields[0].empty() || row.fields[1].empty()) {
      error = LineError(kFile, row.lineNumber, L"expected a material name and a group name");
      return false;
    }
    SeedMaterial material{Widen(row.fields[0]), Widen(row.fields[1])};
    if (const std::wstring problem = MaterialNameProblem(material.name); !problem.empty()) {
      error = LineError(kFile, row.lineNumber, L"the material name " + problem);
      return false;
    }
    if (!seen.insert(material.name).second) {
      error = LineError(kFile, row.lineNumber, L"material " + material.name + L" is listed twice");
      return false;
    }
    data.materials.push_back(std::move(material));
  }
  return true;
}

void CollectGroups(SeedData& data, const SourceNoteReader& notes) {
  for (const SeedBand& seed : data.bands) {
    const bool known = std::any_of(data.groups.begin(), data.groups.end(),
                                   [&](const SeedGroup& group) { return group.name == seed.group; });
    if (!known) data.groups.push_back({seed.group, notes.NoteOf(seed.group)});
  }
}

bool EveryMaterialHasBands(const SeedData& data, std::wstring& error) {
  for (const SeedMaterial& material : data.materials) {
    const bool found = std::any_of(data.groups.begin(), data.groups.end(),
                                   [&](const SeedGroup& group) { return group.name == material.group; });
    if (!found) {
      error = L"materials.csv: material " + material.name + L" uses group " + material.group +
              L", which has no bands in moulding-tolerances.csv";
      return false;
    }
  }
  return true;
}
}  // namespace

bool ParseSeedData(std::string_view materialsCsv, std::string_view tolerancesCsv, SeedData& data,
                   std::wstring& error) {
  data = {};
  SourceNoteReader notes;
  if (!ParseBands(tolerancesCsv, data, notes, error)) return false;
  if (!ParseMaterials(materialsCsv, data, error)) return false;
  CollectGroups(data, notes);
  return EveryMaterialHasBands(data, error);
}

}  // namespace kvx_db::detail
