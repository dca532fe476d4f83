#include "XlsxCells.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

#include "kvx/platform/Text.h"

namespace kvx::sheet::xlsx {

namespace {
bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// The text of a shared string item or an inline string: its plain text, or its rich-text runs joined;
// phonetic guides are not part of the value.
std::wstring RichText(const pugi::xml_node& item) {
  std::string text;
  for (pugi::xml_node part : item.children()) {
    if (Named(part, "t")) {
      text += part.child_value();
    } else if (Named(part, "r")) {
      for (pugi::xml_node run : part.children())
        if (Named(run, "t")) text += run.child_value();
    }
  }
  return kvx::platform::Widen(DecodeEscapedCharacters(std::move(text)));
}

bool ParseNumber(std::string_view text, double& number) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), number);
  return !text.empty() && ec == std::errc() && end == text.data() + text.size();
}
}  // namespace

bool ParseCellReference(std::string_view reference, std::int32_t& column, std::int32_t& row) {
  std::size_t at = 0;
  column = 0;
  while (at < reference.size()) {
    const char c = reference[at];
    const int digit = c >= 'A' && c <= 'Z' ? c - 'A' + 1 : c >= 'a' && c <= 'z' ? c - 'a' + 1 : 0;
    if (digit == 0) break;
    column = column * 26 + digit;
    if (column > kMaxColumn) return false;
    ++at;
  }
  const auto digits = reference.substr(at);
  const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), row);
  return column > 0 && ec == std::errc() && end == digits.data() + digits.size() && row >= 1 && row <= kMaxRow;
}

std::string DecodeEscapedCharacters(std::string text) {
  std::size_t at = text.find("_x");
  if (at == std::string::npos) return text;
  std::string decoded;
  std::size_t copied = 0;
  for (; at != std::string::npos; at = text.find("_x", at + 1)) {
    if (at + 7 > text.size() || text[at + 6] != '_' ||
        !std::all_of(text.begin() + at + 2, text.begin() + at + 6, IsHexDigit))
      continue;
    decoded.append(text, copied, at - copied);
    const auto code = static_cast<wchar_t>(std::stoul(text.substr(at + 2, 4), nullptr, 16));
    decoded += kvx::platform::Narrow(std::wstring_view(&code, 1));
    copied = at + 7;
    at += 6;
  }
  decoded.append(text, copied, std::string::npos);
  return decoded;
}

bool SharedStrings::Load(zip_t* archive, const std::vector<Relationship>& relationships) {
  const std::string name = TargetOfType(relationships, "sharedStrings");
  if (name.empty()) return true;  // a workbook without texts, or one whose texts are all inline
  if (!part.Load(archive, name)) return false;
  for (pugi::xml_node item : Child(part.document, "sst").children())
    if (Named(item, "si")) items.push_back(item);
  return true;
}

CellValue ValueOf(const pugi::xml_node& cell, const WorkbookLookups& lookups) {
  const SharedStrings& strings = lookups.strings;
  const std::string_view type = cell.attribute("t").value();
  const pugi::xml_node valueNode = Child(cell, "v");
  const char* text = valueNode.child_value();
  if (type == "s") {
    const std::size_t index = std::strtoull(text, nullptr, 10);
    if (*text == '\0' || index >= strings.items.size()) return {CellType::Error, 0.0, {}};
    return {CellType::Text, 0.0, RichText(strings.items[index])};
  }
  if (type == "inlineStr") return {CellType::Text, 0.0, RichText(Child(cell, "is"))};
  if (type == "str") return {CellType::Text, 0.0, kvx::platform::Widen(DecodeEscapedCharacters(text))};
  if (type == "b") return {CellType::Bool, std::string_view(text) == "1" ? 1.0 : 0.0, {}};
  if (type == "e") return {CellType::Error, 0.0, {}};
  if (type == "d") return {CellType::Date, 0.0, {}};
  if (!valueNode) return {};  // a styled cell without a value is empty
  double number = 0.0;
  if (!ParseNumber(text, number)) return {CellType::Error, 0.0, {}};
  if (lookups.dates.IsDate(cell)) return {CellType::Date, number, {}};
  return {CellType::Double, number, {}};
}

}  // namespace kvx::sheet::xlsx
