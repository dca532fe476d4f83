#include "UnitNames.h"

#include "kvx/framework/KvxTypes.h"

namespace kvxim {

const UnitNameTable& LengthUnitNames() {
  static const UnitNameTable names = {
      {"mm", KVX_UNIT_MM},         {"millimetre", KVX_UNIT_MM},  {"millimeter", KVX_UNIT_MM},
      {"cm", KVX_UNIT_CM},         {"m", KVX_UNIT_M},            {"in", KVX_UNIT_INCH},
      {"inch", KVX_UNIT_INCH},     {"ft", KVX_UNIT_FOOT},        {"foot", KVX_UNIT_FOOT},
      {"feet", KVX_UNIT_FOOT},     {"ft-in", KVX_UNIT_FOOT_INCH}, {"angstrom", KVX_UNIT_ANGSTROM},
      {"nm", KVX_UNIT_NM},         {"um", KVX_UNIT_MICROMETRE},  {"micron", KVX_UNIT_MICROMETRE},
      {"mil", KVX_UNIT_MIL},       {"uin", KVX_UNIT_MICROINCH},  {"microinch", KVX_UNIT_MICROINCH},
  };
  return names;
}

const UnitNameTable& AngleUnitNames() {
  static const UnitNameTable names = {
      {"deg", KVX_ANGLE_DEGREE},        {"degree", KVX_ANGLE_DEGREE},   {"rad", KVX_ANGLE_RADIAN},
      {"radian", KVX_ANGLE_RADIAN},     {"deg-min", KVX_ANGLE_DEG_MIN}, {"deg-min-sec", KVX_ANGLE_DEG_MIN_SEC},
  };
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
