#include "kvx/spreadsheet/XlsxSheet.h"

#include <zip.h>

#include <algorithm>
#include <pugixml.hpp>

#include "kvx/platform/Text.h"
#include "kvx/spreadsheet/RequestedCells.h"
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

}  // namespace

// The values of the requested columns only, taken out of the sheet while it is read.
struct XlsxSheet::Impl {
  explicit Impl(const std::vector<ColumnRequest>& requests) : cells(requests, kMaxColumn, kMaxRow) {}

  RequestedCells cells;
  // The row before the next one without a reference of its own.
  std::int32_t rowNumber = 0;

  void AddRows(const pugi::xml_node& parent, const WorkbookLookups& lookups);
  void AddCell(std::int32_t column, std::int32_t row, CellValue value);
  void Clear();
};

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
      if (cells.Wanted(column) && cellRow <= kMaxRow) AddCell(column, cellRow, ValueOf(cell, lookups));
    }
  }
}

void XlsxSheet::Impl::AddCell(std::int32_t column, std::int32_t row, CellValue value) {
  const std::uint32_t text = value.type == CellType::Text ? cells.AddText(std::move(value.text)) : 0;
  cells.Add(column, row, value.type, value.number, text);
}

void XlsxSheet::Impl::Clear() {
  cells.Clear();
  rowNumber = 0;
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

  auto impl = std::make_unique<Impl>(requests);
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
  impl->cells.SortByRow();
  error = XlsxOpenError::None;
  return std::unique_ptr<XlsxSheet>(new XlsxSheet(std::move(impl)));
}

CellRead XlsxSheet::Read(const std::wstring& letter, std::int32_t row, CellValue& value) {
  return impl_->cells.Read(letter, row, value);
}

}  // namespace kvx::sheet
