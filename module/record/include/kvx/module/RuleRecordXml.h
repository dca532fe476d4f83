#pragma once
// The rule record: a rule as one "Rule" element (identity and state attributes, then one "Parameter"
// child per parameter, then one "Constraint" child per constraint), and back.
#include <memory>

class CKvxRule;
class CKvxParamStorage;
class KvxXMLNode;

namespace kvx::module {

// A new "Rule" element for `rule` in the module's XML document; null for a null rule or without a document.
// A parameter of an unknown value type is reported (string 2044) and left out.
std::unique_ptr<KvxXMLNode> WriteRuleRecord(CKvxRule* rule);
// Fills `rule` from `element`; nothing for null arguments. A parameter of an unknown value type is
// reported (string 2044) and ends the reading before constraints, units and PostPopulate.
void ReadRuleRecord(CKvxRule* rule, KvxXMLNode* element);
// The "Parameter" element of parameter `index` of `rule`; null for a bad index or an unknown value type.
std::unique_ptr<KvxXMLNode> WriteRuleParameter(CKvxRule* rule, int index);
// False for the parameter kinds that the record never writes (0 and 12).
bool IsWrittenKind(const CKvxParamStorage& parameter);
// Lets every constraint of `rule` read itself from the children of `element`, without a count check.
void ReadRuleConstraints(CKvxRule* rule, KvxXMLNode* element);

}  // namespace kvx::module
