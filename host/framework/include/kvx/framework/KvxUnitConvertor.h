#pragma once
// Conversion of lengths and angles between the unit codes of KvxTypes.h.
#include "kvx/framework/FrameworkExport.h"

class KVX_FRAMEWORK_API CKVXUnitConvertor {
 public:
  // `value` of quantity `kind` (1 length, 2 angle) from unit code `from` to `to`. An unknown kind or code
  // gives the value unchanged.
  static double ConversionFromOneUnitToAnother(double value, int kind, int from, int to);
};
