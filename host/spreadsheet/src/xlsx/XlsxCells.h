#pragma once
// Cell references and cell values: what one "c" element of a sheet holds.
#include <zip.h>

#include <cstdint>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "XlsxFormats.h"
#include "XlsxParts.h"
#include "XlsxRelationships.h"
#include "kvx/spreadsheet/ColumnWalk.h"

namespace kvx::sheet::xlsx {

inline constexpr std::int32_t kMaxColumn = 16384;  // XFD
inline constexpr std::int32_t kMaxRow = 1048576;

// "AB12" -> column 28, row 12; false when the reference does not have that shape or lies beyond the
// sheet's limits.
bool ParseCellReference(std::string_view reference, std::int32_t& column, std::int32_t& row);

// Characters XML cannot carry are stored as "_xHHHH_"; the sheet shows the character itself.
std::string DecodeEscapedCharacters(std::string text);

// The texts of the workbook's shared string table, in their items; empty when there is none.
struct SharedStrings {
  XmlPart part;
  std::vector<pugi::xml_node> items;

  // False when the workbook names a table that cannot be read.
  bool Load(zip_t* archive, const std::vector<Relationship>& relationships);
};

// What a cell's attributes refer to elsewhere in the workbook.
struct WorkbookLookups {
  SharedStrings strings;
  DateFormats dates;
};

// The value of a cell element, read as the sheet would hand it out.
CellValue ValueOf(const pugi::xml_node& cell, const WorkbookLookups& lookups);

}  // namespace kvx::sheet::xlsx
