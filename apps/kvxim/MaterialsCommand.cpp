#include "MaterialsCommand.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <vector>

#include "kvx/platform/Text.h"

namespace {
using kvx::platform::Narrow;

nlohmann::json MaterialsAsJson(const std::vector<kvx_db::MaterialEntry>& materials) {
  nlohmann::json list = nlohmann::json::array();
  for (const kvx_db::MaterialEntry& material : materials) {
    nlohmann::json bands = nlohmann::json::array();
    for (const kvx_db::ToleranceBand& band : material.bands) {
      bands.push_back({{"over", band.over}, {"upto", band.upto}, {"a", band.a}, {"b", band.b}});
    }
    list.push_back({{"name", Narrow(material.name)}, {"group", Narrow(material.group)}, {"bands", std::move(bands)}});
  }
  return list;
}

void WriteMaterialsAsText(const std::wstring& databasePath, const std::vector<kvx_db::MaterialEntry>& materials,
                          std::ostream& out) {
  out << "Material database: " << Narrow(databasePath) << "\n";
  for (const kvx_db::MaterialEntry& material : materials) {
    out << fmt::format("\n{} (tolerance group {})\n", Narrow(material.name), Narrow(material.group));
    if (material.bands.empty()) {
      out << "  no tolerance bands\n";
      continue;
    }
    out << fmt::format("  {:>10} {:>10} {:>8} {:>8}\n", "over", "up to", "a", "b");
    for (const kvx_db::ToleranceBand& band : material.bands) {
      out << fmt::format("  {:>10} {:>10} {:>8} {:>8}\n", band.over, band.upto, band.a, band.b);
    }
  }
}
}  // namespace

int RunMaterialsCommand(kvx_db::KVXDataHelper& db, bool json, std::ostream& out, std::ostream& err) {
  std::vector<kvx_db::MaterialEntry> materials;
  if (db.ListMaterials(materials) != kvx_db::DbStatus::Ok) {
    err << "kvxim materials: " << Narrow(db.ErrorText()) << "\n";
    return 1;
  }
  if (json) {
    out << MaterialsAsJson(materials).dump(2) << "\n";
    return 0;
  }
  WriteMaterialsAsText(db.DatabasePath(), materials, out);
  return 0;
}
