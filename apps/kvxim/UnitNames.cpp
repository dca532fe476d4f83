#include "UnitNames.h"

#include <span>

#include "kvx/framework/KvxUnits.h"

namespace kvxim {
namespace {

// Spellings kvxim also takes, beside each unit's own short name.
struct UnitAlias {
  const char* name;
  int code;
};
constexpr UnitAlias kLengthAliases[] = {
    {"millimetre", KVX_UNIT_MM}, {"millimeter", KVX_UNIT_MM}, {"inch", KVX_UNIT_INCH},
    {"foot", KVX_UNIT_FOOT},     {"feet", KVX_UNIT_FOOT},     {"micron", KVX_UNIT_MICROMETRE},
    {"microinch", KVX_UNIT_MICROINCH},
};
constexpr UnitAlias kAngleAliases[] = {{"degree", KVX_ANGLE_DEGREE}, {"radian", KVX_ANGLE_RADIAN}};

// The units' own names, each followed by its aliases.
UnitNameTable NamesOf(std::span<const KvxUnit> units, std::span<const UnitAlias> aliases) {
  UnitNameTable names;
  for (const KvxUnit& unit : units) {
    names.emplace_back(unit.name, unit.code);
    for (const UnitAlias& alias : aliases) {
      if (alias.code == unit.code) names.emplace_back(alias.name, alias.code);
    }
  }
  return names;
}

}  // namespace

const UnitNameTable& LengthUnitNames() {
  static const UnitNameTable names = NamesOf(kKvxLengthUnits, kLengthAliases);
  return names;
}

const UnitNameTable& AngleUnitNames() {
  static const UnitNameTable names = NamesOf(kKvxAngleUnits, kAngleAliases);
  return names;
}

std::string UnitName(const UnitNameTable& table, int code) {
  for (const auto& [name, value] : table) {
    if (value == code) return name;
  }
  return {};
}

std::vector<int> UnitCodes(const UnitNameTable& table) {
  std::vector<int> codes;
  for (const auto& entry : table) {
    if (codes.empty() || codes.back() != entry.second) codes.push_back(entry.second);
  }
  return codes;
}

}  // namespace kvxim
