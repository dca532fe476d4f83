#pragma once
// Number formats: which cell formats show their numbers as dates or times.
#include <zip.h>

#include <pugixml.hpp>
#include <string_view>
#include <vector>

#include "XlsxRelationships.h"

namespace kvx::sheet::xlsx {

// Cell format 14 to 22, 27 to 36, 45 to 47 and 50 to 58 are the built-in dates and times.
bool IsBuiltInDateFormat(unsigned id);

// A number format shows a date or time when it uses a day, month, year, hour or second outside quoted
// texts, escaped characters, padding and fill characters, and bracketed colours and locales (elapsed
// times such as "[h]" count).
bool IsDateFormatCode(std::string_view code);

// Which cell formats (the "s" of a cell) show their numbers as dates or times: such cells are dates to
// the sheet, not numbers. A workbook without a readable style part has none.
struct DateFormats {
  std::vector<bool> byStyle;
  bool any = false;

  void Load(zip_t* archive, const std::vector<Relationship>& relationships);
  bool IsDate(const pugi::xml_node& cell) const;
};

}  // namespace kvx::sheet::xlsx
