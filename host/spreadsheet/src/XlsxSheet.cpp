#include "kvx/spreadsheet/XlsxSheet.h"

#include <zip.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <functional>
#include <pugixml.hpp>
#include <string_view>

#include "kvx/platform/Text.h"
#include "kvx/spreadsheet/NumberFormats.h"

namespace kvx::sheet {

namespace {

constexpr std::int32_t kMaxColumn = 16384;   // XFD
constexpr std::int32_t kMaxRow = 1048576;
// A part that claims to inflate to more than this is not a table anyone meant to import.
constexpr zip_uint64_t kMaxPartBytes = zip_uint64_t{1} << 30;
// Whitespace-only texts are values too (a cell holding " " is not empty).
constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_ws_pcdata_single;

struct ZipDiscard {
  void operator()(zip_t* archive) const { zip_discard(archive); }
};
using ZipArchive = std::unique_ptr<zip_t, ZipDiscard>;

struct ZipFileClose {
  void operator()(zip_file_t* file) const { zip_fclose(file); }
};

// An archive member read in pieces; part names compare without case.
class PartStream {
 public:
  // False when the member is missing, cannot be opened, or claims to inflate to more than kMaxPartBytes.
  bool Open(zip_t* archive, const std::string& name) {
    const zip_int64_t index = zip_name_locate(archive, name.c_str(), ZIP_FL_NOCASE);
    if (index < 0) return false;
    zip_stat_t stat;
    if (zip_stat_index(archive, static_cast<zip_uint64_t>(index), 0, &stat) != 0 || !(stat.valid & ZIP_STAT_SIZE) ||
        stat.size > kMaxPartBytes)
      return false;
    size_ = stat.size;
    file_.reset(zip_fopen_index(archive, static_cast<zip_uint64_t>(index), 0));
    return file_ != nullptr;
  }

  // Appends up to `count` more bytes to `bytes`: the number appended, 0 at the end of the member, -1 when
  // it is damaged (libzip checks the CRC when the end is reached) or longer than it said.
  zip_int64_t ReadMore(std::string& bytes, std::size_t count) {
    const std::size_t old = bytes.size();
    bytes.resize(old + count);
    const zip_int64_t n = zip_fread(file_.get(), bytes.data() + old, count);
    bytes.resize(old + static_cast<std::size_t>(std::max<zip_int64_t>(n, 0)));
    if (n > 0) read_ += static_cast<zip_uint64_t>(n);
    if (read_ > size_ || (n == 0 && read_ != size_)) return -1;
    return n;
  }

  zip_uint64_t Size() const { return size_; }

 private:
  std::unique_ptr<zip_file_t, ZipFileClose> file_;
  zip_uint64_t size_ = 0;
  zip_uint64_t read_ = 0;
};

// The whole content of the archive member `name`. False when it is missing, too large or damaged.
bool ReadPart(zip_t* archive, const std::string& name, std::string& bytes) {
  PartStream part;
  if (!part.Open(archive, name)) return false;
  bytes.clear();
  bytes.reserve(part.Size());
  zip_int64_t n = 0;
  while ((n = part.ReadMore(bytes, std::max<std::size_t>(part.Size() - bytes.size(), 1))) > 0) {
  }
  return n == 0;
}

// Element and attribute names may carry a namespace prefix ("x:row") in sheets other programs write.
std::string_view LocalName(const char* name) {
  const char* colon = std::strchr(name, ':');
  return colon ? std::string_view(colon + 1) : std::string_view(name);
}

bool Named(const pugi::xml_node& node, std::string_view local) {
  return node.type() == pugi::node_element && LocalName(node.name()) == local;
}

pugi::xml_node Child(const pugi::xml_node& parent, std::string_view local) {
  for (pugi::xml_node child : parent.children())
    if (Named(child, local)) return child;
  return {};
}

pugi::xml_attribute Attribute(const pugi::xml_node& node, std::string_view local) {
  for (pugi::xml_attribute attribute : node.attributes())
    if (LocalName(attribute.name()) == local) return attribute;
  return {};
}

// The folder part of a part name, with its trailing "/" ("xl/workbook.xml" -> "xl/").
std::string FolderOf(const std::string& part) {
  const auto slash = part.rfind('/');
  return slash == std::string::npos ? std::string() : part.substr(0, slash + 1);
}

// A relationship target resolved against the folder of its source part: "/xl/x.xml" is rooted,
// "worksheets/sheet1.xml" and "../x.xml" are relative.
std::string ResolveTarget(const std::string& folder, std::string_view target) {
  std::string joined = !target.empty() && target.front() == '/' ? std::string(target.substr(1))
                                                                 : folder + std::string(target);
  std::vector<std::string> segments;
  std::size_t start = 0;
  while (start <= joined.size()) {
    const auto end = std::min(joined.find('/', start), joined.size());
    const std::string segment = joined.substr(start, end - start);
    if (segment == "..") {
      if (!segments.empty()) segments.pop_back();
    } else if (!segment.empty() && segment != ".") {
      segments.push_back(segment);
    }
    start = end + 1;
  }
  std::string resolved;
  for (const auto& segment : segments) resolved += (resolved.empty() ? "" : "/") + segment;
  return resolved;
}

// A part parsed in place: the DOM points into the inflated bytes, which therefore live beside it.
struct XmlPart {
  std::string bytes;
  pugi::xml_document document;

  bool Load(zip_t* archive, const std::string& name) {
    if (!ReadPart(archive, name, bytes)) return false;
    return static_cast<bool>(document.load_buffer_inplace(bytes.data(), bytes.size(), kParseOptions));
  }
};

struct Relationship {
  std::string id;
  std::string type;
  std::string target;
};

// The relationships of `part` from its "_rels/<name>.rels" companion; empty when there is none.
std::vector<Relationship> ReadRelationships(zip_t* archive, const std::string& part) {
  const std::string folder = FolderOf(part);
  XmlPart rels;
  if (!rels.Load(archive, folder + "_rels/" + part.substr(folder.size()) + ".rels")) return {};
  std::vector<Relationship> result;
  for (pugi::xml_node node : Child(rels.document, "Relationships").children()) {
    if (!Named(node, "Relationship")) continue;
    result.push_back({node.attribute("Id").value(), node.attribute("Type").value(),
                      ResolveTarget(folder, node.attribute("Target").value())});
  }
  return result;
}

// The target of the first relationship whose type ends in `/typeTail`; empty when none does.
std::string TargetOfType(const std::vector<Relationship>& relationships, std::string_view typeTail) {
  for (const auto& relationship : relationships) {
    const std::string_view type = relationship.type;
    if (type.size() > typeTail.size() && type.substr(type.size() - typeTail.size()) == typeTail &&
        type[type.size() - typeTail.size() - 1] == '/')
      return relationship.target;
  }
  return {};
}

std::string WorkbookPart(zip_t* archive) {
  const std::string named = TargetOfType(ReadRelationships(archive, ""), "officeDocument");
  return named.empty() ? std::string("xl/workbook.xml") : named;
}

// The sheet element the workbook opens on: the one its first view names as active tab, the first
// sheet when the view names none or one that does not exist.
pugi::xml_node ActiveSheetElement(const pugi::xml_node& workbook) {
  const pugi::xml_node view = Child(Child(workbook, "bookViews"), "workbookView");
  const unsigned activeTab = Attribute(view, "activeTab").as_uint(0);
  pugi::xml_node first;
  unsigned index = 0;
  for (pugi::xml_node sheet : Child(workbook, "sheets").children()) {
    if (!Named(sheet, "sheet")) continue;
    if (!first) first = sheet;
    if (index++ == activeTab) return sheet;
  }
  return first;
}

// "AB12" -> column 28, row 12; false when the reference does not have that shape or lies beyond
// the sheet's limits.
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

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// Characters XML cannot carry are stored as "_xHHHH_"; the sheet shows the character itself.
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

// The texts of the workbook's shared string table, in their items; empty when there is none.
struct SharedStrings {
  XmlPart part;
  std::vector<pugi::xml_node> items;

  bool Load(zip_t* archive, const std::vector<Relationship>& relationships) {
    const std::string name = TargetOfType(relationships, "sharedStrings");
    if (name.empty()) return true;  // a workbook without texts, or one whose texts are all inline
    if (!part.Load(archive, name)) return false;
    for (pugi::xml_node item : Child(part.document, "sst").children())
      if (Named(item, "si")) items.push_back(item);
    return true;
  }
};

// Which cell formats (the "s" of a cell) show their numbers as dates or times: such cells are dates to
// the sheet, not numbers. A workbook without a readable style part has none.
struct DateFormats {
  std::vector<bool> byStyle;
  bool any = false;

  void Load(zip_t* archive, const std::vector<Relationship>& relationships) {
    const std::string name = TargetOfType(relationships, "styles");
    XmlPart part;
    if (name.empty() || !part.Load(archive, name)) return;
    const pugi::xml_node styleSheet = Child(part.document, "styleSheet");
    std::vector<unsigned> customDates;
    for (pugi::xml_node format : Child(styleSheet, "numFmts").children())
      if (Named(format, "numFmt") && IsDateFormatCode(format.attribute("formatCode").value()))
        customDates.push_back(format.attribute("numFmtId").as_uint());
    for (pugi::xml_node style : Child(styleSheet, "cellXfs").children()) {
      if (!Named(style, "xf")) continue;
      const unsigned id = style.attribute("numFmtId").as_uint(0);
      const bool date = IsBuiltInDateFormat(id) ||
                        std::find(customDates.begin(), customDates.end(), id) != customDates.end();
      byStyle.push_back(date);
      any = any || date;
    }
  }

  bool IsDate(const pugi::xml_node& cell) const {
    if (!any) return false;
    const unsigned style = cell.attribute("s").as_uint(0);
    return style < byStyle.size() && byStyle[style];
  }
};

// What a cell's attributes refer to elsewhere in the workbook.
struct WorkbookLookups {
  SharedStrings strings;
  DateFormats dates;
};

// The value of a cell element, read as the sheet would hand it out.
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

// A requested cell, kept small: most of a big table's cells are numbers, and texts live beside them.
struct CellAt {
  std::int32_t row;
  CellType type;
  std::uint32_t text;  // 1-based index into the texts; 0 for none
  double number;
};

// The sheet is inflated and parsed a block of whole rows at a time, so neither the whole XML nor its whole
// parse is ever held: the rows of a block are cut after its last row end tag and parsed as a fragment.
constexpr std::size_t kSheetBlockBytes = std::size_t{1} << 20;

// Just past the start tag of the sheetData element in `xml`, with its namespace prefix ("x:" or ""), or
// npos when `xml` does not hold the whole tag yet.
std::size_t FindSheetDataStart(std::string_view xml, std::string& prefix, bool& selfClosing) {
  constexpr std::string_view kName = "sheetData";
  for (std::size_t at = xml.find(kName); at != std::string_view::npos; at = xml.find(kName, at + 1)) {
    std::size_t open = at;
    if (open > 1 && xml[open - 1] == ':') {
      open = xml.find_last_of("<:>/ \t\r\n\"'=", open - 2);
      if (open == std::string_view::npos || xml[open] != '<') continue;
      ++open;
    }
    if (open == 0 || xml[open - 1] != '<') continue;
    const std::size_t after = at + kName.size();
    if (after >= xml.size()) return std::string_view::npos;
    if (std::string_view("> \t\r\n/").find(xml[after]) == std::string_view::npos) continue;
    const std::size_t close = xml.find('>', after);
    if (close == std::string_view::npos) return std::string_view::npos;
    selfClosing = xml[close - 1] == '/';
    prefix = std::string(xml.substr(open, at - open));
    return close + 1;
  }
  return std::string_view::npos;
}

// Hands the rows of the worksheet part to `addRows` a block at a time (each call gets a fragment whose
// top-level nodes are rows). False when the part is missing or damaged, or a block does not parse.
bool StreamRows(zip_t* archive, const std::string& part,
                const std::function<void(const pugi::xml_node&)>& addRows) {
  PartStream stream;
  if (!stream.Open(archive, part)) return false;
  std::string pending;
  std::string rowEnd;
  std::string dataEnd;
  pugi::xml_document fragment;
  for (bool atEnd = false; !atEnd;) {
    const zip_int64_t n = stream.ReadMore(pending, kSheetBlockBytes);
    if (n < 0) return false;
    atEnd = n == 0;
    if (rowEnd.empty()) {
      std::string prefix;
      bool selfClosing = false;
      const std::size_t start = FindSheetDataStart(pending, prefix, selfClosing);
      if (start == std::string::npos) {
        // A sheet without cells still has to be XML that holds together.
        if (!atEnd) continue;
        return static_cast<bool>(fragment.load_buffer_inplace(pending.data(), pending.size(), kParseOptions));
      }
      if (selfClosing) return true;
      rowEnd = "</" + prefix + "row>";
      dataEnd = "</" + prefix + "sheetData>";
      pending.erase(0, start);
    }
    std::size_t cut = atEnd ? pending.find(dataEnd) : pending.rfind(rowEnd);
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

}  // namespace

// The values of the requested columns only, taken out of the sheet while it is read.
struct XlsxSheet::Impl {
  // Slot of each column number (0 for columns nobody asked for) and the cells of each slot by row.
  std::vector<std::size_t> slotOfColumn = std::vector<std::size_t>(1, 0);
  std::vector<std::vector<CellAt>> cellsOfSlot = std::vector<std::vector<CellAt>>(1);
  std::vector<std::size_t> nextOfSlot = std::vector<std::size_t>(1, 0);
  std::vector<std::wstring> texts;
  // The row before the next one without a reference of its own.
  std::int32_t rowNumber = 0;
  // The column last asked for, so each letter is parsed once per column rather than once per cell.
  std::wstring cachedLetter;
  std::int32_t cachedColumn = 0;

  void PlanColumns(const std::vector<ColumnRequest>& requests);
  void AddRows(const pugi::xml_node& parent, const WorkbookLookups& lookups);
  void AddCell(std::size_t slot, std::int32_t row, CellValue value);
  void Clear();
  void SortCells();
  const CellAt* Find(std::int32_t column, std::int32_t row);
};

void XlsxSheet::Impl::PlanColumns(const std::vector<ColumnRequest>& requests) {
  for (const ColumnRequest& request : requests) {
    const std::int32_t column = ColumnNumber(request.letter, kMaxColumn);
    if (column == 0) continue;
    if (slotOfColumn.size() <= static_cast<std::size_t>(column)) slotOfColumn.resize(column + 1, 0);
    if (slotOfColumn[column] != 0) continue;
    slotOfColumn[column] = cellsOfSlot.size();
    cellsOfSlot.emplace_back();
    nextOfSlot.push_back(0);
  }
}

void XlsxSheet::Impl::AddRows(const pugi::xml_node& parent, const WorkbookLookups& lookups) {
  for (pugi::xml_node row : parent.children()) {
    if (!Named(row, "row")) continue;
    // Rows and cells without a reference follow the one before them.
    const std::int32_t numbered = row.attribute("r").as_int(0);
    rowNumber = numbered >= 1 && numbered <= kMaxRow ? numbered : rowNumber + 1;
    std::int32_t column = 0;
    for (pugi::xml_node cell : row.children()) {
      if (!Named(cell, "c")) continue;
      std::int32_t referencedColumn = 0;
      std::int32_t cellRow = rowNumber;
      const pugi::xml_attribute reference = cell.attribute("r");
      if (reference && ParseCellReference(reference.value(), referencedColumn, cellRow)) {
        column = referencedColumn;
      } else {
        ++column;
        cellRow = rowNumber;
      }
      if (column < 1 || static_cast<std::size_t>(column) >= slotOfColumn.size() || cellRow > kMaxRow) continue;
      if (const std::size_t slot = slotOfColumn[column]; slot != 0) AddCell(slot, cellRow, ValueOf(cell, lookups));
    }
  }
}

void XlsxSheet::Impl::AddCell(std::size_t slot, std::int32_t row, CellValue value) {
  std::uint32_t text = 0;
  if (value.type == CellType::Text) {
    texts.push_back(std::move(value.text));
    text = static_cast<std::uint32_t>(texts.size());
  }
  cellsOfSlot[slot].push_back({row, value.type, text, value.number});
}

void XlsxSheet::Impl::Clear() {
  for (auto& cells : cellsOfSlot) cells.clear();
  texts.clear();
  rowNumber = 0;
}

void XlsxSheet::Impl::SortCells() {
  const auto byRow = [](const CellAt& a, const CellAt& b) { return a.row < b.row; };
  for (auto& cells : cellsOfSlot)
    if (!std::is_sorted(cells.begin(), cells.end(), byRow)) std::stable_sort(cells.begin(), cells.end(), byRow);
}

const CellAt* XlsxSheet::Impl::Find(std::int32_t column, std::int32_t row) {
  if (static_cast<std::size_t>(column) >= slotOfColumn.size() || slotOfColumn[column] == 0) return nullptr;
  const std::size_t slot = slotOfColumn[column];
  const std::vector<CellAt>& cells = cellsOfSlot[slot];
  // The walk asks for rows in order, so the next cell is almost always the one after the last.
  std::size_t& next = nextOfSlot[slot];
  if (next >= cells.size() || cells[next].row != row) {
    next = static_cast<std::size_t>(
        std::lower_bound(cells.begin(), cells.end(), row, [](const CellAt& a, std::int32_t r) { return a.row < r; }) -
        cells.begin());
  }
  if (next >= cells.size() || cells[next].row != row) return nullptr;
  return &cells[next++];
}

XlsxSheet::XlsxSheet(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
XlsxSheet::~XlsxSheet() = default;

std::unique_ptr<XlsxSheet> XlsxSheet::Open(const std::wstring& path, const std::vector<ColumnRequest>& requests,
                                           XlsxOpenError& error) {
  int code = ZIP_ER_OK;
  ZipArchive archive(zip_open(kvx::platform::Narrow(path).c_str(), ZIP_RDONLY, &code));
  if (!archive) {
    const bool unreadable = code == ZIP_ER_NOENT || code == ZIP_ER_OPEN || code == ZIP_ER_READ;
    error = unreadable ? XlsxOpenError::CannotOpen : XlsxOpenError::NotAWorkbook;
    return nullptr;
  }
  error = XlsxOpenError::NotAWorkbook;
  const std::string workbookPart = WorkbookPart(archive.get());
  XmlPart workbook;
  if (!workbook.Load(archive.get(), workbookPart)) return nullptr;
  const std::vector<Relationship> relationships = ReadRelationships(archive.get(), workbookPart);
  const pugi::xml_node sheet = ActiveSheetElement(Child(workbook.document, "workbook"));
  const std::string relationshipId = Attribute(sheet, "id").value();
  const auto target = std::find_if(relationships.begin(), relationships.end(),
                                   [&](const Relationship& r) { return r.id == relationshipId; });
  if (!sheet || target == relationships.end()) return nullptr;

  auto impl = std::make_unique<Impl>();
  impl->PlanColumns(requests);
  WorkbookLookups lookups;
  if (!lookups.strings.Load(archive.get(), relationships)) return nullptr;
  lookups.dates.Load(archive.get(), relationships);
  const auto addRows = [&](const pugi::xml_node& rows) { impl->AddRows(rows, lookups); };
  if (!StreamRows(archive.get(), target->target, addRows)) {
    // A row end tag inside a comment or a character data section misleads the block cut: such sheets,
    // like damaged ones, are read again as a whole.
    impl->Clear();
    XmlPart sheetPart;
    if (!sheetPart.Load(archive.get(), target->target)) return nullptr;
    const pugi::xml_node worksheet = sheetPart.document.document_element();
    if (!worksheet) return nullptr;
    impl->AddRows(Child(worksheet, "sheetData"), lookups);
  }
  impl->SortCells();
  error = XlsxOpenError::None;
  return std::unique_ptr<XlsxSheet>(new XlsxSheet(std::move(impl)));
}

CellRead XlsxSheet::Read(const std::wstring& letter, std::int32_t row, CellValue& value) {
  if (letter != impl_->cachedLetter || impl_->cachedLetter.empty()) {
    impl_->cachedLetter = letter;
    impl_->cachedColumn = ColumnNumber(letter, kMaxColumn);
  }
  if (impl_->cachedColumn == 0 || row < 1 || row > kMaxRow) return CellRead::NoSuchCell;
  const CellAt* found = impl_->Find(impl_->cachedColumn, row);
  if (!found) {
    value = CellValue{};
    return CellRead::Value;
  }
  value.type = found->type;
  value.number = found->number;
  value.text = found->text == 0 ? std::wstring() : impl_->texts[found->text - 1];
  return CellRead::Value;
}

}  // namespace kvx::sheet
