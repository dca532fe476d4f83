#pragma once
// Ribs that reinforce a wall: the area over the wall thickness (a length, in the current length unit) and
// the rib height as a multiple of the wall thickness. Each limit shows in the summary only when it is on.
#include "kvx/rules/KVXIMRuleFrame.h"

class CKVXIMRibReinforcementRule : public CKVXIMRuleFrame {
 public:
  // Never fails; without the application object the rule keeps the base defaults and has no parameters.
  CKVXIMRibReinforcementRule();
};
