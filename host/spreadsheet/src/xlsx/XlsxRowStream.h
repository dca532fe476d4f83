#pragma once
// The rows of a worksheet part, inflated and parsed a block of whole rows at a time, so neither the whole
// XML nor its whole parse is ever held.
#include <zip.h>

#include <cstddef>
#include <functional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace kvx::sheet::xlsx {

// Bytes inflated per step, and the most the reader holds while it waits for the end of a row: a single
// row longer than that is not a table anyone meant to import.
inline constexpr std::size_t kSheetBlockBytes = std::size_t{1} << 20;
inline constexpr std::size_t kMaxPendingBytes = std::size_t{16} << 20;

// Just past the start tag of the sheetData element in `xml`, with its namespace prefix ("x:" or ""), or
// npos when `xml` does not hold the whole tag yet. The search starts at `from`; `resume` says where the
// next search (with more text) has to start so that nothing is searched twice needlessly.
std::size_t FindSheetDataStart(std::string_view xml, std::size_t from, std::string& prefix, bool& selfClosing,
                               std::size_t& resume);

// Hands the rows of the worksheet part to `addRows` a block at a time (each call gets a fragment whose
// top-level nodes are rows). False when the part is missing or damaged, a block does not parse or a row
// outgrows kMaxPendingBytes. `searched`, when given, counts the bytes searched for row ends: each inflated
// byte is searched about once, however the rows fall into blocks.
bool StreamRows(zip_t* archive, const std::string& part, const std::function<void(const pugi::xml_node&)>& addRows,
                std::size_t* searched = nullptr);

}  // namespace kvx::sheet::xlsx
