#pragma once
// The factory content of a new material database, read from the two shipped CSV files.
#include <string>
#include <string_view>
#include <vector>

#include "kvx_db/KVXDataHelper.h"

namespace kvx_db::detail {

struct SeedGroup {
  std::wstring name;
  std::wstring sourceNote;  // where the group's figures come from
};

struct SeedMaterial {
  std::wstring name;
  std::wstring group;
};

struct SeedBand {
  std::wstring group;
  ToleranceBand band;
};

// Everything in the order of the files; groups in the order they first appear among the bands.
struct SeedData {
  std::vector<SeedGroup> groups;
  std::vector<SeedMaterial> materials;
  std::vector<SeedBand> bands;
};

// Parses the materials file ("material,group") and the tolerances file ("group,over,upto,a,b").
// "#" lines are comments; a comment "# Group NAME: text", continued by indented comment lines, is the
// source note of group NAME. False with a readable `error` (file and line) on any malformed line, a
// duplicate material, or a material whose group has no bands.
bool ParseSeedData(std::string_view materialsCsv, std::string_view tolerancesCsv, SeedData& data,
                   std::wstring& error);

// The shipped CSV texts compiled into the library (generated at build time).
std::string_view ShippedMaterialsCsv();
std::string_view ShippedTolerancesCsv();

}  // namespace kvx_db::detail
