#pragma once
// The floors the spreadsheet reader is measured against: the least any reader of these files must do.
//  - .xlsx: inflate the sheet with libzip and parse it with pugixml (the options the reader uses),
//    walking every cell and touching its value.
//  - .xls: open the workbook with FreeXL and fetch every cell of the first sheet.
#include <freexl.h>
#include <zip.h>

#include <cstring>
#include <memory>
#include <pugixml.hpp>
#include <string>

namespace kvx::bench {

// Cells seen; 0 when the file could not be read.
inline std::size_t XlsxFloor(const std::string& path, const char* sheetPart = "xl/worksheets/sheet1.xml") {
  int code = 0;
  zip_t* archive = zip_open(path.c_str(), ZIP_RDONLY, &code);
  if (!archive) return 0;
  std::size_t cells = 0;
  zip_stat_t stat;
  if (zip_stat(archive, sheetPart, ZIP_FL_NOCASE, &stat) == 0) {
    std::string bytes(stat.size, '\0');
    if (zip_file_t* file = zip_fopen_index(archive, stat.index, 0)) {
      const bool complete = zip_fread(file, bytes.data(), stat.size) == static_cast<zip_int64_t>(stat.size);
      zip_fclose(file);
      pugi::xml_document document;
      if (complete && document.load_buffer_inplace(bytes.data(), bytes.size(),
                                                    pugi::parse_default | pugi::parse_ws_pcdata_single)) {
        std::size_t valueBytes = 0;
        for (pugi::xml_node row : document.child("worksheet").child("sheetData").children("row")) {
          for (pugi::xml_node cell : row.children("c")) {
            valueBytes += std::strlen(cell.child("v").child_value()) + std::strlen(cell.attribute("r").value());
            ++cells;
          }
        }
        if (valueBytes == 0) cells = 0;
      }
    }
  }
  zip_discard(archive);
  return cells;
}

// Cells that hold a value; 0 when the file could not be read.
inline std::size_t XlsFloor(const std::string& path) {
  const void* handle = nullptr;
  std::size_t cells = 0;
  unsigned rows = 0;
  unsigned short columns = 0;
  if (freexl_open(path.c_str(), &handle) == FREEXL_OK && freexl_select_active_worksheet(handle, 0) == FREEXL_OK &&
      freexl_worksheet_dimensions(handle, &rows, &columns) == FREEXL_OK) {
    for (unsigned row = 0; row < rows; ++row) {
      for (unsigned short column = 0; column < columns; ++column) {
        FreeXL_CellValue cell;
        if (freexl_get_cell_value(handle, row, column, &cell) == FREEXL_OK && cell.type != FREEXL_CELL_NULL) ++cells;
      }
    }
  }
  freexl_close(handle);
  return cells;
}

}  // namespace kvx::bench
