#pragma once
// Thickness at the tip of a rib: a minimum, a strict minimum or a range, chosen by the operator. The one
// parameter holds the lower and the upper limit, lengths in the current length unit.
#include "kvx/rules/KVXIMRuleFrame.h"

class CKVXIMRibTipThicknessRule : public CKVXIMRuleFrame {
 public:
  // Never fails; without the application object the rule keeps the base defaults and has no parameters.
  CKVXIMRibTipThicknessRule();
};
