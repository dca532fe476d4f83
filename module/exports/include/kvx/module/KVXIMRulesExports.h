#pragma once
// The seven entry points of the rule module, as a host sees them. A host loads the library at run time
// and looks the functions up by these names; nothing else is exported. No call throws.
#include <string>

#include "kvx/framework/KvxTypes.h"

class CKvxRule;
class KvxXMLDocument;
class KvxXMLNode;
class RulePointerArray;

extern "C" {
// Stores the document in which rule XML is created and hands it to the common-rules library.
using SetXMLDocFn = void (*)(KvxXMLDocument* doc);
// Replaces the list of material-database modules; nothing before start-up.
using SetDBModuleListFn = void (*)(const KvxStringList* modules);
// The module's display name (string 2039).
using GetModuleNameFn = void (*)(std::wstring* out);
// The module's one-line summary (string 2040).
using GetModuleSummaryFn = void (*)(std::wstring* out);
// The rule a "Rule" node describes, in *out; *out stays as it was for a null node, another module's node
// or an unknown name.
using GetRuleFn = void (*)(KvxXMLNode* ruleNode, CKvxRule** out);
// Appends one rule of every offered class, with factory defaults.
using GetAllRulesFn = void (*)(RulePointerArray* rules);
// Destroys *rule and nulls it; nothing for a null rule.
using DeleteRuleFn = void (*)(CKvxRule** rule);
}

namespace kvx::module {
inline constexpr const wchar_t* kModuleLibraryBaseName = L"KVXIMRulesu";
inline constexpr const char* kExportNames[] = {"SetXMLDoc", "SetDBModuleList", "GetModuleName",
                                               "GetModuleSummary", "GetRule", "GetAllRules", "DeleteRule"};
}  // namespace kvx::module
