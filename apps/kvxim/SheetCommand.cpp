#include "SheetCommand.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "kvx/params/Spreadsheet.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"
#include "kvx/utility/LocationHelper.h"

namespace {

using kvx::platform::Narrow;
using kvx::platform::Widen;

// The English resource texts of the product, when nobody made a resource library current: without them every
// message of the reader would be an empty text.
std::unique_ptr<kvx::platform::ResourceLibrary> LoadEnglishTextsIfNoneCurrent() {
  if (kvx::platform::CurrentResourceLibrary()) return nullptr;
  return kvx::platform::ResourceLibrary::Load(kvx::platform::JoinPath(
      CLocationHelper::GetDefaultResPath(), kvx::platform::LibraryFileName(L"KVXIMRulesResu")));
}

bool BuildRequests(const SheetCommandOptions& options, std::vector<kvx::params::ColumnRequest>& requests,
                   std::ostream& err) {
  if (options.kinds.size() > options.columns.size()) {
    err << fmt::format("kvxim sheet: {} kinds given for {} columns\n", options.kinds.size(), options.columns.size());
    return false;
  }
  for (std::size_t index = 0; index < options.columns.size(); ++index) {
    const int kind = index < options.kinds.size() ? options.kinds[index] : 0;
    requests.push_back({Widen(options.columns[index]), kind});
  }
  return true;
}

// A text as a JSON string. Most cells are plain numbers or words, written as they are; only a text with
// quotes, backslashes or control characters goes through the JSON library's escaping.
void AppendJsonString(const std::wstring& text, std::string& out) {
  const std::string utf8 = Narrow(text);
  const bool plain = std::none_of(utf8.begin(), utf8.end(), [](char c) {
    return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20;
  });
  if (!plain) {
    out += nlohmann::json(utf8).dump();
    return;
  }
  out += '"';
  out += utf8;
  out += '"';
}

// The output is gathered and written at once, and built text by text rather than as one JSON document,
// so a big table is neither held twice nor written in many small pieces.
void WriteJson(const kvx::params::SpreadsheetTable& table, std::ostream& out) {
  std::string json = "[";
  for (std::size_t index = 0; index < table.size(); ++index) {
    json += index == 0 ? "[" : ",[";
    for (std::size_t row = 0; row < table[index].size(); ++row) {
      if (row > 0) json += ',';
      AppendJsonString(table[index][row], json);
    }
    json += ']';
  }
  json += "]\n";
  out.write(json.data(), static_cast<std::streamsize>(json.size()));
}

void WriteText(const std::vector<std::string>& letters, const kvx::params::SpreadsheetTable& table,
               std::ostream& out) {
  fmt::memory_buffer text;
  for (std::size_t index = 0; index < table.size(); ++index) {
    fmt::format_to(std::back_inserter(text), "Column {}: {} rows\n", letters[index], table[index].size());
    for (std::size_t row = 0; row < table[index].size(); ++row)
      fmt::format_to(std::back_inserter(text), "  {:>6}  {}\n", row + 1, Narrow(table[index][row]));
  }
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

// The letters of the columns that came back empty, in the order they were asked for.
std::vector<std::string> EmptyColumnLetters(const std::vector<std::string>& letters,
                                            const kvx::params::SpreadsheetTable& table) {
  std::vector<std::string> empty;
  for (std::size_t index = 0; index < table.size() && index < letters.size(); ++index) {
    if (table[index].empty()) empty.push_back(letters[index]);
  }
  return empty;
}

}  // namespace

int RunSheetCommand(const SheetCommandOptions& options, std::ostream& out, std::ostream& err) {
  std::vector<kvx::params::ColumnRequest> requests;
  if (!BuildRequests(options, requests, err)) return 1;
  const auto english = LoadEnglishTextsIfNoneCurrent();
  kvx::platform::ResourceScope texts(english.get());

  kvx::params::SpreadsheetTable table;
  std::wstring error;
  if (!kvx::params::ReadSpreadsheet(Widen(options.file), requests, table, error)) {
    const std::string reason = error.empty() ? "the file cannot be read as a spreadsheet" : Narrow(error);
    err << fmt::format("kvxim sheet: {}: {}\n", options.file, reason);
    return 1;
  }
  if (options.json)
    WriteJson(table, out);
  else
    WriteText(options.columns, table, out);

  const std::vector<std::string> empty = EmptyColumnLetters(options.columns, table);
  if (empty.empty()) return 0;
  err << fmt::format("kvxim sheet: {} {} {} empty\n", empty.size() == 1 ? "column" : "columns", fmt::join(empty, ", "),
                     empty.size() == 1 ? "is" : "are");
  return 2;
}

void AddSheetCommand(CLI::App& app, kvxim::CommandTable& table) {
  auto options = std::make_shared<SheetCommandOptions>();
  CLI::App* sheet = app.add_subcommand(
      "sheet", "read columns of a spreadsheet (.xls, .xlsx) as the tolerance import does; exit 1 when the "
               "file cannot be read, 2 when a column is empty");
  sheet->add_option("FILE", options->file, "The spreadsheet file")->required();
  sheet->add_option("--columns", options->columns, "Column letters, comma-separated")
      ->delimiter(',')
      ->capture_default_str();
  sheet->add_option("--kinds", options->kinds, "Column kinds, comma-separated (4: fixed six-decimal numbers)")
      ->delimiter(',');
  sheet->add_flag("--json", options->json, "Print an array of columns, each an array of texts");
  table.push_back({sheet, kvxim::Needs::Nothing,
                   [options](kvxim::ModuleHost*) { return RunSheetCommand(*options, std::cout, std::cerr); }});
}
