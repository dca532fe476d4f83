#pragma once
// The ordered list of rules the module knows: how a rule node's name finds its class, and which rules
// a fresh rule set holds.
#include <string>

class CKvxRule;
class KvxXMLNode;
class RulePointerArray;

namespace kvx::module {

// Builds the rule whose English name equals `name` (ignoring case), walking the catalogue in order while
// `*out` is null. `*out` is left as it was when nothing matches.
void BuildRuleByName(const std::wstring& name, const std::wstring& moduleDisplayName, KvxXMLNode* ruleNode,
                     CKvxRule** out);
// Appends one rule of every offered class, in the order of a fresh rule set.
void BuildAllRules(const std::wstring& moduleDisplayName, RulePointerArray& rules);

}  // namespace kvx::module
