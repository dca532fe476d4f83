#pragma once
// Minimum clearance between ribs: one limit with ">" or ">=". It converts nothing between unit systems and
// takes no part in the material workflow. Shipped, but offered neither by GetRule nor by GetAllRules.
#include "kvx/contracts/RuleIds.h"
#include "kvx/rules/KVXIMRuleFrame.h"

class CKVXIMMinRibClearanceRule : public CKVXIMRuleFrame {
 public:
  static constexpr long kRuleId = kvx::rule_ids::kMinRibClearance;

  // Never fails; without the application object the rule keeps the base defaults and has no parameters.
  // Its dialog is the clearance dialog of the rule's dialog service (the module's dialog library).
  CKVXIMMinRibClearanceRule();
};
