#include "kvx/framework/KvxUnitConvertor.h"

#include "kvx/framework/KvxUnits.h"

namespace {
// Size of one unit of `kind`; 0 for a code that is no unit of that kind.
double SizeOf(int kind, int code) {
  const KvxUnit* unit = FindKvxUnit(kind, code);
  return unit ? unit->size : 0.0;
}
}  // namespace

double CKVXUnitConvertor::ConversionFromOneUnitToAnother(double value, int kind, int from, int to) {
  if (from == to) return value;
  const double fromSize = SizeOf(kind, from);
  const double toSize = SizeOf(kind, to);
  if (fromSize == 0.0 || toSize == 0.0) return value;
  return value * fromSize / toSize;
}
