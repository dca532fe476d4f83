#pragma once
// Minimum radius at the bottom of a lip as a multiple of the wall thickness: one ratio, no unit changes,
// no part in the material workflow. Shipped, but offered neither by GetRule nor by GetAllRules.
#include "kvx/rules/KVXIMRuleFrame.h"

class KVXIMLipBottomRadiusRule : public CKVXIMRuleFrame {
 public:
  // Never fails; without the application object the rule keeps the base defaults and has no parameters.
  KVXIMLipBottomRadiusRule();
};
