#pragma once
// The unit codes of lengths and angles, each with its size, the id of its text in the resource libraries and
// the short name a command line uses. The convertor, the unit texts and the reference host all read this one
// table.
#include <numbers>
#include <span>

#include "kvx/framework/KvxTypes.h"
#include "kvx/res/StringIds.h"

struct KvxUnit {
  int code;
  double size;         // millimetres (lengths) or degrees (angles) per unit
  int textId;          // 0: the unit has no text of its own
  const char* name;    // short name on a command line
};

// Feet and inches are held in feet, the degree-minute forms in degrees: they share those sizes.
inline constexpr KvxUnit kKvxLengthUnits[] = {
    {KVX_UNIT_MM, 1.0, kvx::res::kUnitMillimetre, "mm"},
    {KVX_UNIT_CM, 10.0, kvx::res::kUnitCentimetre, "cm"},
    {KVX_UNIT_M, 1000.0, kvx::res::kUnitMetre, "m"},
    {KVX_UNIT_INCH, 25.4, kvx::res::kUnitInch, "in"},
    {KVX_UNIT_FOOT, 304.8, kvx::res::kUnitFoot, "ft"},
    {KVX_UNIT_FOOT_INCH, 304.8, 0, "ft-in"},
    {KVX_UNIT_ANGSTROM, 1e-7, kvx::res::kUnitAngstrom, "angstrom"},
    {KVX_UNIT_NM, 1e-6, kvx::res::kUnitNanometre, "nm"},
    {KVX_UNIT_MICROMETRE, 1e-3, kvx::res::kUnitMicrometre, "um"},
    {KVX_UNIT_MIL, 0.0254, kvx::res::kUnitMil, "mil"},
    {KVX_UNIT_MICROINCH, 2.54e-5, kvx::res::kUnitMicroinch, "uin"},
};

inline constexpr KvxUnit kKvxAngleUnits[] = {
    {KVX_ANGLE_DEGREE, 1.0, kvx::res::kUnitDegree, "deg"},
    {KVX_ANGLE_RADIAN, 180.0 / std::numbers::pi, kvx::res::kUnitRadian, "rad"},
    {KVX_ANGLE_DEG_MIN, 1.0, kvx::res::kUnitDegreeMinute, "deg-min"},
    {KVX_ANGLE_DEG_MIN_SEC, 1.0, kvx::res::kUnitDegreeMinuteSecond, "deg-min-sec"},
};

// The units of quantity `kind` (KVX_QUANTITY_LENGTH or KVX_QUANTITY_ANGLE); empty for any other kind.
constexpr std::span<const KvxUnit> KvxUnitsOf(int kind) {
  if (kind == KVX_QUANTITY_LENGTH) return kKvxLengthUnits;
  if (kind == KVX_QUANTITY_ANGLE) return kKvxAngleUnits;
  return {};
}

// The unit with `code` among the units of `kind`; null when there is none.
constexpr const KvxUnit* FindKvxUnit(int kind, int code) {
  for (const KvxUnit& unit : KvxUnitsOf(kind)) {
    if (unit.code == code) return &unit;
  }
  return nullptr;
}
