#pragma once
// Minimum spacing between neighbouring holes as a multiple of the wall thickness (a ratio).
#include "kvx/rules/KVXIMRuleFrame.h"

class CKVXIMSpacingBetweenHolesRule : public CKVXIMRuleFrame {
 public:
  // Never fails; without the application object the rule keeps the base defaults and has no parameters.
  CKVXIMSpacingBetweenHolesRule();
};
