#include "XlsxRowStream.h"

#include <algorithm>

#include "XlsxParts.h"

namespace kvx::sheet::xlsx {

namespace {
constexpr std::string_view kSheetData = "sheetData";
// Namespace prefixes are short; a longer run before "sheetData:" is not looked through.
constexpr std::size_t kMaxPrefixBytes = 256;

// The last `pattern` in `text` at or after `from`, or npos.
std::size_t LastFrom(std::string_view text, std::string_view pattern, std::size_t from) {
  if (from >= text.size()) return std::string_view::npos;
  const std::size_t found = text.substr(from).rfind(pattern);
  return found == std::string_view::npos ? found : from + found;
}
}  // namespace

std::size_t FindSheetDataStart(std::string_view xml, std::size_t from, std::string& prefix, bool& selfClosing,
                               std::size_t& resume) {
  for (std::size_t at = xml.find(kSheetData, from); at != std::string_view::npos;
       at = xml.find(kSheetData, at + 1)) {
    std::size_t open = at;
    if (at > 1 && xml[at - 1] == ':') {
      const std::size_t colon = at - 1;
      const std::size_t floor = colon > kMaxPrefixBytes ? colon - kMaxPrefixBytes : 0;
      const std::size_t mark = xml.substr(floor, colon - floor).find_last_of("<:>/ \t\r\n\"'=");
      if (mark == std::string_view::npos || xml[floor + mark] != '<') continue;
      open = floor + mark + 1;
    }
    if (open == 0 || xml[open - 1] != '<') continue;
    const std::size_t after = at + kSheetData.size();
    resume = at;
    if (after >= xml.size()) return std::string_view::npos;
    if (std::string_view("> \t\r\n/").find(xml[after]) == std::string_view::npos) continue;
    const std::size_t close = xml.find('>', after);
    if (close == std::string_view::npos) return std::string_view::npos;
    selfClosing = xml[close - 1] == '/';
    prefix = std::string(xml.substr(open, at - open));
    return close + 1;
  }
  // A name split across the end is found again from here; so is a prefix just before it.
  resume = xml.size() > kSheetData.size() + kMaxPrefixBytes + 2 ? xml.size() - kSheetData.size() - kMaxPrefixBytes - 2
                                                                  : 0;
  return std::string_view::npos;
}

bool StreamRows(zip_t* archive, const std::string& part, const std::function<void(const pugi::xml_node&)>& addRows,
                std::size_t* searched) {
  PartStream stream;
  if (!stream.Open(archive, part)) return false;
  std::string pending;
  std::string rowEnd;
  std::string dataEnd;
  std::size_t startSearch = 0;  // where the search for the sheetData tag goes on
  pugi::xml_document fragment;
  for (bool atEnd = false; !atEnd;) {
    std::size_t searchFrom = pending.size() > rowEnd.size() ? pending.size() - rowEnd.size() : 0;
    const zip_int64_t n = stream.ReadMore(pending, kSheetBlockBytes);
    if (n < 0 || pending.size() > kMaxPendingBytes + kSheetBlockBytes) return false;
    atEnd = n == 0;
    if (rowEnd.empty()) {
      std::string prefix;
      bool selfClosing = false;
      const std::size_t start = FindSheetDataStart(pending, startSearch, prefix, selfClosing, startSearch);
      if (start == std::string::npos) {
        // A sheet without cells still has to be XML that holds together.
        if (!atEnd) continue;
        return static_cast<bool>(fragment.load_buffer_inplace(pending.data(), pending.size(), kParseOptions));
      }
      if (selfClosing) return true;
      rowEnd = "</" + prefix + "row>";
      dataEnd = "</" + prefix + "sheetData>";
      pending.erase(0, start);
      searchFrom = 0;
    }
    std::size_t cut = std::string::npos;
    if (atEnd) {
      cut = pending.find(dataEnd);
      if (searched) *searched += pending.size();
    } else {
      // Bytes already searched hold no row end after the last cut: only the new ones (and the few before
      // them that a row end could straddle) are searched.
      cut = LastFrom(pending, rowEnd, searchFrom);
      if (searched) *searched += pending.size() - std::min(searchFrom, pending.size());
    }
    if (cut == std::string::npos) {
      if (atEnd) return false;
      continue;
    }
    if (!atEnd) cut += rowEnd.size();
    if (!fragment.load_buffer_inplace(pending.data(), cut, kParseOptions | pugi::parse_fragment)) return false;
    addRows(fragment);
    pending.erase(0, cut);
  }
  return true;
}

}  // namespace kvx::sheet::xlsx
