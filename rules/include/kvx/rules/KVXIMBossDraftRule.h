#pragma once
// Minimum draft angle of a boss, one limit for its inner wall (ID) and one for its outer wall (OD), each
// switched on or off by itself; the summary shows the limits that are on. Angles in the current angle unit.
#include "kvx/rules/KVXIMRuleFrame.h"

class KVXIMBossDraftRule : public CKVXIMRuleFrame {
 public:
  // Never fails; without the application object the rule keeps the base defaults and has no parameters.
  KVXIMBossDraftRule();
};
