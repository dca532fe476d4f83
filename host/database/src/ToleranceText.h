#pragma once
// The tolerance table as the rules read it: "material,over,upto,a,b" per band, records joined by ";".
#include <string>
#include <vector>

#include "kvx_db/KVXDataHelper.h"

namespace kvx_db::detail {

// Shortest fixed-notation text that reads back as the same double ("0.18", "1000", "0.0000001"),
// independent of the user's locale; empty only for a value too long to write.
std::wstring FormatNumber(double value);

// Why `name` cannot be a material of the table text ("is empty", ...); empty when it can. The text's
// separators would split a record in the wrong place, and the rules skip a material called "-1".
std::wstring MaterialNameProblem(const std::wstring& name);

// The table text of `materials`, in their order; their names must have no MaterialNameProblem.
std::wstring ToleranceTableText(const std::vector<MaterialEntry>& materials);

}  // namespace kvx_db::detail
