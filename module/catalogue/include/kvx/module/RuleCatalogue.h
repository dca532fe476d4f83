#pragma once
// The ordered list of rules the module knows: how a rule node's name finds its class, and which rules
// a fresh rule set holds.
#include <span>
#include <string>

class CKvxRule;
class KvxXMLNode;
class RulePointerArray;

namespace kvx::module {

// What a catalogue row needs to construct its class.
struct BuildArgs {
  const std::wstring& moduleDisplayName;
  KvxXMLNode* ruleNode;  // null for a fresh rule
};
using RuleFactory = CKvxRule* (*)(const BuildArgs&);

// One rule the module offers.
struct CatalogueRow {
  int nameId = 0;         // its English key name
  int otherNameId = 0;    // a second name that also finds it; 0: none
  int freshPosition = 0;  // its place in a fresh rule set
  RuleFactory build = nullptr;
  bool betaOnly = false;  // offered only while beta rules are switched on
};

// Every row, in lookup order.
std::span<const CatalogueRow> CatalogueRows();

// Builds the rule whose English name equals `name` (ignoring case), walking the catalogue in order while
// `*out` is null. `*out` is left as it was when nothing matches.
void BuildRuleByName(const std::wstring& name, const std::wstring& moduleDisplayName, KvxXMLNode* ruleNode,
                     CKvxRule** out);
// Appends one rule of every offered class, in the order of a fresh rule set.
void BuildAllRules(const std::wstring& moduleDisplayName, RulePointerArray& rules);

}  // namespace kvx::module
