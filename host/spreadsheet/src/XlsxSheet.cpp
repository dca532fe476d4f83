#include "kvx/spreadsheet/XlsxSheet.h"

#include <zip.h>

#include <algorithm>
#include <pugixml.hpp>

#include "kvx/platform/Text.h"
#include "xlsx/XlsxCells.h"
#include "xlsx/XlsxParts.h"
#include "xlsx/XlsxRelationships.h"
#include "xlsx/XlsxRowStream.h"

namespace kvx::sheet {

using namespace xlsx;

namespace {

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

// A requested cell, kept small: most of a big table's cells are numbers, and texts live beside them.
struct CellAt {
  std::int32_t row;
  CellType type;
  std::uint32_t text;  // 1-based index into the texts; 0 for none
  double number;
};

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
