#pragma once
// The floors the spreadsheet reader is measured against: the least any reader of these files must do.
//  - .xlsx: inflate the sheet with libzip and parse it with pugixml (the options the reader uses),
//    walking every cell and touching its value.
//  - .xls: read the workbook stream out of its compound document with libgsf and step through every
//    record, counting the cell records.
#include <gsf/gsf-infile-msole.h>
#include <gsf/gsf-infile.h>
#include <gsf/gsf-input-stdio.h>
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

// Cells that hold a value, in every sheet; 0 when the file could not be read.
inline std::size_t XlsFloor(const std::string& path) {
  GsfInput* file = gsf_input_stdio_new(path.c_str(), nullptr);
  if (!file) return 0;
  std::size_t cells = 0;
  if (GsfInfile* storage = gsf_infile_msole_new(file, nullptr)) {
    if (GsfInput* stream = gsf_infile_child_by_name(storage, "Workbook")) {
      std::string bytes(static_cast<std::size_t>(gsf_input_size(stream)), '\0');
      if (gsf_input_read(stream, bytes.size(), reinterpret_cast<guint8*>(bytes.data()))) {
        const auto u16 = [&](std::size_t at) {
          return static_cast<unsigned>(static_cast<unsigned char>(bytes[at]) |
                                       static_cast<unsigned char>(bytes[at + 1]) << 8);
        };
        for (std::size_t at = 0; at + 4 <= bytes.size(); at += 4 + u16(at + 2)) {
          const unsigned type = u16(at);
          const unsigned length = u16(at + 2);
          // Number, RK, shared text, text, formula, boolean or error; several RK numbers.
          if (type == 0x0203 || type == 0x027E || type == 0x00FD || type == 0x0204 || type == 0x0006 ||
              type == 0x0205)
            ++cells;
          else if (type == 0x00BD && length >= 6)
            cells += (length - 6) / 6;
        }
      }
      g_object_unref(stream);
    }
    g_object_unref(storage);
  }
  g_object_unref(file);
  return cells;
}

}  // namespace kvx::bench
