#include "XlsxFormats.h"

#include <algorithm>
#include <cctype>

#include "XlsxParts.h"

namespace kvx::sheet::xlsx {

bool IsBuiltInDateFormat(unsigned id) {
  return (id >= 14 && id <= 22) || (id >= 27 && id <= 36) || (id >= 45 && id <= 47) || (id >= 50 && id <= 58);
}

bool IsDateFormatCode(std::string_view code) {
  for (std::size_t at = 0; at < code.size(); ++at) {
    const char c = static_cast<char>(std::tolower(static_cast<unsigned char>(code[at])));
    if (c == '"') {
      at = code.find('"', at + 1);
      if (at == std::string_view::npos) return false;
    } else if (c == '\\' || c == '_' || c == '*') {
      ++at;
    } else if (c == '[') {
      const std::size_t close = code.find(']', at);
      if (close == std::string_view::npos) return false;
      const std::string_view inside = code.substr(at + 1, close - at - 1);
      if (!inside.empty() && std::string_view("hHmMsS").find(inside.front()) != std::string_view::npos &&
          inside.find_first_not_of(inside.front()) == std::string_view::npos)
        return true;
      at = close;
    } else if (std::string_view("dmyhs").find(c) != std::string_view::npos) {
      return true;
    }
  }
  return false;
}

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
