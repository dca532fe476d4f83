#include "kvx/framework/KvxUnitConvertor.h"

#include <numbers>

#include "kvx/framework/KvxTypes.h"

namespace {
// Size of one unit in millimetres, by length unit code; 0 for a code that is no length unit.
double MillimetresPerUnit(int code) {
  switch (code) {
    case KVX_UNIT_MM: return 1.0;
    case KVX_UNIT_CM: return 10.0;
    case KVX_UNIT_M: return 1000.0;
    case KVX_UNIT_INCH: return 25.4;
    case KVX_UNIT_FOOT:
    case KVX_UNIT_FOOT_INCH: return 304.8;
    case KVX_UNIT_ANGSTROM: return 1e-7;
    case KVX_UNIT_NM: return 1e-6;
    case KVX_UNIT_MICROMETRE: return 1e-3;
    case KVX_UNIT_MIL: return 0.0254;
    case KVX_UNIT_MICROINCH: return 2.54e-5;
    default: return 0.0;
  }
}

// Size of one unit in degrees, by angle unit code; 0 for a code that is no angle unit.
double DegreesPerUnit(int code) {
  switch (code) {
    case KVX_ANGLE_DEGREE:
    case KVX_ANGLE_DEG_MIN:
    case KVX_ANGLE_DEG_MIN_SEC: return 1.0;
    case KVX_ANGLE_RADIAN: return 180.0 / std::numbers::pi;
    default: return 0.0;
  }
}
}  // namespace

double CKVXUnitConvertor::ConversionFromOneUnitToAnother(double value, int kind, int from, int to) {
  if (from == to) return value;
  double fromSize = 0.0;
  double toSize = 0.0;
  if (kind == KVX_QUANTITY_LENGTH) {
    fromSize = MillimetresPerUnit(from);
    toSize = MillimetresPerUnit(to);
  } else if (kind == KVX_QUANTITY_ANGLE) {
    fromSize = DegreesPerUnit(from);
    toSize = DegreesPerUnit(to);
  }
  if (fromSize == 0.0 || toSize == 0.0) return value;
  return value * fromSize / toSize;
}
