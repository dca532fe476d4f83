#pragma once
// Number formats: which cell formats show their numbers as dates or times.
#include <zip.h>

#include <pugixml.hpp>
#include <string_view>
#include <vector>

#include "XlsxRelationships.h"

namespace kvx::sheet::xlsx {

// Which cell formats (the "s" of a cell) show their numbers as dates or times: such cells are dates to
// the sheet, not numbers. A workbook without a readable style part has none.
struct DateFormats {
  std::vector<bool> byStyle;
  bool any = false;

  void Load(zip_t* archive, const std::vector<Relationship>& relationships);
  bool IsDate(const pugi::xml_node& cell) const;
};

}  // namespace kvx::sheet::xlsx
