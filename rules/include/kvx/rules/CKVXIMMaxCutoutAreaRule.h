#pragma once
// Maximum area of a cut-out in a wall over the wall's thickness (a length, in the current length unit).
#include "kvx/rules/KVXIMRuleFrame.h"

class CKVXIMMaxCutoutAreaRule : public CKVXIMRuleFrame {
 public:
  // Never fails; without the application object the rule keeps the base defaults and has no parameters.
  CKVXIMMaxCutoutAreaRule();
};
