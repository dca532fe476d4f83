#include "kvx/spreadsheet/NumberFormats.h"

#include <cctype>

namespace kvx::sheet {

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

}  // namespace kvx::sheet
