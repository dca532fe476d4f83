#include "XlsxFormats.h"

#include <algorithm>
#include <cctype>

#include "XlsxParts.h"
#include "kvx/spreadsheet/NumberFormats.h"

namespace kvx::sheet::xlsx {

void DateFormats::Load(zip_t* archive, const std::vector<Relationship>& relationships) {
  const std::string name = TargetOfType(relationships, "styles");
  XmlPart part;
  if (name.empty() || !part.Load(archive, name)) return;
  const pugi::xml_node styleSheet = Child(part.document, "styleSheet");
  std::vector<unsigned> customDates;
  for (pugi::xml_node format : Child(styleSheet, "numFmts").children())
    if (Named(format, "numFmt") && IsDateFormatCode(format.attribute("formatCode").value()))
      customDates.push_back(format.attribute("numFmtId").as_uint());
  std::sort(customDates.begin(), customDates.end());
  for (pugi::xml_node style : Child(styleSheet, "cellXfs").children()) {
    if (!Named(style, "xf")) continue;
    const unsigned id = style.attribute("numFmtId").as_uint(0);
    const bool date = IsBuiltInDateFormat(id) || std::binary_search(customDates.begin(), customDates.end(), id);
    byStyle.push_back(date);
    any = any || date;
  }
}

bool DateFormats::IsDate(const pugi::xml_node& cell) const {
  if (!any) return false;
  const unsigned style = cell.attribute("s").as_uint(0);
  return style < byStyle.size() && byStyle[style];
}

}  // namespace kvx::sheet::xlsx
