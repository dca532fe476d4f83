#pragma once
// Hole depth as a multiple of the hole's diameter: one limit for blind holes, one for through holes.
// Ratios, so a change of units converts nothing.
#include "kvx/rules/KVXIMRuleFrame.h"

class CKVXIMHoleDepthToDiaRule : public CKVXIMRuleFrame {
 public:
  // Never fails; without the application object the rule keeps the base defaults and has no parameters.
  CKVXIMHoleDepthToDiaRule();
};
