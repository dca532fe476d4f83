#pragma once
// Minimum clearance between ribs: one limit with ">" or ">=". It converts nothing between unit systems and
// takes no part in the material workflow. Shipped, but offered neither by GetRule nor by GetAllRules.
#include <functional>

#include "kvx/rules/KVXIMRuleFrame.h"

class CKVXIMMinRibClearanceRule : public CKVXIMRuleFrame {
 public:
  static constexpr long kRuleId = 12020;

  // Never fails; without the application object the rule keeps the base defaults and has no parameters.
  CKVXIMMinRibClearanceRule();

 protected:
  // The installed clearance dialog, or the framework's rule dialog while none is installed.
  int OpenEditor(const kvx::platform::Picture& picture) override;
};

// The rule's own editing dialog: edits `rule` modally and returns KVX_IDOK when the user accepted.
using MinRibClearanceEditor = std::function<int(CKVXIMMinRibClearanceRule& rule)>;
// Installs the dialog that EditRule opens (empty: none); returns the one installed before.
MinRibClearanceEditor SetMinRibClearanceEditor(MinRibClearanceEditor editor);
