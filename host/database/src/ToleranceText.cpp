#include "ToleranceText.h"

#include <charconv>

#include "kvx/platform/Text.h"

namespace kvx_db::detail {

std::wstring FormatNumber(double value) {
  // Fixed notation: the rules read a number only as far as its digits and point go, so "1e-07" would
  // come back as 1. The longest shortest-round-trip fixed text of a double has some 330 characters.
  char buffer[400];
  const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
  if (ec != std::errc()) return {};
  return kvx::platform::Widen(std::string_view(buffer, static_cast<size_t>(end - buffer)));
}

std::wstring MaterialNameProblem(const std::wstring& name) {
  if (name.empty()) return L"is empty";
  if (name.find_first_of(L",;") != std::wstring::npos) return L"\"" + name + L"\" contains \",\" or \";\"";
  if (name == L"-1") return L"\"-1\" is no material name";
  return {};
}

std::wstring ToleranceTableText(const std::vector<MaterialEntry>& materials) {
  std::wstring table;
  for (const MaterialEntry& material : materials) {
    for (const ToleranceBand& band : material.bands) {
      if (!table.empty()) table += L';';
      table += material.name;
      for (double value : {band.over, band.upto, band.a, band.b}) table += L',' + FormatNumber(value);
    }
  }
  return table;
}

}  // namespace kvx_db::detail
