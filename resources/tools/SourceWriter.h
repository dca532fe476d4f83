#pragma once
// Turns a string table and its pictures into the C++ source of a resource library's data.
#include <string>
#include <vector>

#include "Pictures.h"
#include "StringTable.h"

namespace kvx::rescomp {

// The text of a C++ string literal (quotes included) whose bytes are exactly `bytes`.
std::string CxxStringLiteral(const std::string& bytes);

// C++ source defining the tables that src/ResourceData.h declares, sorted by id, for the exports
// of src/ResourceExports.cpp to search. Both inputs must already be sorted by id (as the parser
// and the picture scan leave them).
std::string GenerateResourceSource(const StringTable& table, const std::vector<PictureEntry>& pictures);

}  // namespace kvx::rescomp
