#include "kvx/spreadsheet/ColumnWalk.h"

#include <charconv>

#include "kvx/params/ValueUtils.h"

namespace kvx::sheet {

namespace {
// Ten empty cells in a row end a column; fewer are a gap inside the table.
constexpr int kEmptyCellsThatEndAColumn = 10;

// The second conversion: fixed notation with six decimals ("%f"), the form the rule XML stores doubles
// in, so a column of kind 4 hands its values on digit for digit. std::to_chars gives the same digits as
// printf, several times faster on the long columns of a big table.
std::wstring FixedNumberText(double value) {
  char digits[32 + 308];  // sign, 309 integer digits of the largest double, point, six decimals
  const auto [end, error] = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 6);
  return error == std::errc() ? std::wstring(digits, end) : std::wstring();
}

std::wstring NumberText(double value, std::int32_t kind) {
  return kind == kColumnKindFixed ? FixedNumberText(value) : kvx::params::DoubleToShortText(value);
}
}  // namespace

std::wstring CellText(const CellValue& value, std::int32_t kind) {
  switch (value.type) {
    // 16-bit and 32-bit integers and single floats are turned into text like doubles. Left as an
    // empty text without moving on, the same cell would be asked for again without end.
    case CellType::Int16:
    case CellType::Int32:
    case CellType::Float:
    case CellType::Double: return NumberText(value.number, kind);
    case CellType::Text: return value.text;
    default: return {};
  }
}

bool ReadColumn(CellSource& source, const ColumnRequest& request, ColumnResult& column, std::int32_t& lastRow) {
  std::int32_t row = 1;
  int emptyCells = 0;
  CellValue value;
  for (;;) {
    value = CellValue{};
    const CellRead read = source.Read(request.letter, row, value);
    if (read == CellRead::NoSuchCell) return true;
    if (read == CellRead::Failed) return false;
    std::wstring text = value.type == CellType::Text ? std::move(value.text) : CellText(value, request.kind);
    ++row;  // every type moves on, the integer and single-float types included (see CellText)
    if (text.empty()) {
      if (++emptyCells == kEmptyCellsThatEndAColumn) {
        lastRow = row;
        return true;
      }
      continue;
    }
    // The gap is bridged only once a value follows it, so trailing empty cells never reach the list.
    column.insert(column.end(), emptyCells, std::wstring());
    emptyCells = 0;
    column.push_back(std::move(text));
  }
}

bool ReadColumns(CellSource& source, const std::vector<ColumnRequest>& requests, SheetTable& table,
                 std::int32_t& lastRow) {
  for (const ColumnRequest& request : requests) {
    ColumnResult column;
    if (!ReadColumn(source, request, column, lastRow)) return false;
    table.push_back(std::move(column));
  }
  return true;
}

std::int32_t ColumnNumber(std::wstring_view letters, std::int32_t maxColumn) {
  if (letters.empty()) return 0;
  std::int32_t number = 0;
  for (const wchar_t c : letters) {
    std::int32_t digit = 0;
    if (c >= L'A' && c <= L'Z') digit = c - L'A' + 1;
    else if (c >= L'a' && c <= L'z') digit = c - L'a' + 1;
    else return 0;
    number = number * 26 + digit;
    if (number > maxColumn) return 0;
  }
  return number;
}

}  // namespace kvx::sheet
