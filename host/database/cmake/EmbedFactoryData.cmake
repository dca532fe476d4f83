# Writes the shipped CSV files into a C++ source file, so the library carries its factory data and needs
# no data folder at run time. Run with -DMATERIALS=<csv> -DTOLERANCES=<csv> -DOUTPUT=<cpp>.
set(delimiter "kvxcsv")
foreach(part MATERIALS TOLERANCES)
  file(READ "${${part}}" text_${part})
  if(text_${part} MATCHES "\\)${delimiter}\"")
    message(FATAL_ERROR "${${part}} contains the text that ends the embedded literal: )${delimiter}\"")
  endif()
endforeach()

file(WRITE "${OUTPUT}"
"// Generated from host/database/data at build time; edit the CSV files, not this file.
#include \"SeedData.h\"

namespace kvx_db::detail {

std::string_view ShippedMaterialsCsv() {
  return R\"${delimiter}(${text_MATERIALS})${delimiter}\";
}

std::string_view ShippedTolerancesCsv() {
  return R\"${delimiter}(${text_TOLERANCES})${delimiter}\";
}

}  // namespace kvx_db::detail
")
