#pragma once
// The names kvxim takes and prints for unit codes. Any case is taken; the first name of a code is the one
// kvxim prints, the others are aliases.
#include <string>
#include <utility>
#include <vector>

namespace kvxim {

using UnitNameTable = std::vector<std::pair<std::string, int>>;

const UnitNameTable& LengthUnitNames();
const UnitNameTable& AngleUnitNames();

// The printed name of `code` in `table`; empty for a code it does not have.
std::string UnitName(const UnitNameTable& table, int code);
// The codes of `table` in order, each once.
std::vector<int> UnitCodes(const UnitNameTable& table);

}  // namespace kvxim
