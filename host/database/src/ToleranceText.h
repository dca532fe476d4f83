#pragma once
// The tolerance table as the rules read it: "material,over,upto,a,b" per band, records joined by ";".
#include <string>
#include <vector>

#include "kvx_db/KVXDataHelper.h"

namespace kvx_db::detail {

// Shortest fixed-notation text that reads back as the same double ("0.18", "1000", "0.0000001"),
// independent of the user's locale; empty only for a value too long to write.
std::wstring FormatNumber(double value);

// The table text of `materials`, in their order; materials whose names contain "," or ";" are left out.
std::wstring ToleranceTableText(const std::vector<MaterialEntry>& materials);

}  // namespace kvx_db::detail
