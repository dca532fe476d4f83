#pragma once
// How kvxim shows a rule: a JSON object or one line of text.
#include <nlohmann/json.hpp>

#include <string>

class CKvxRule;

namespace kvx::platform {
class ResourceLibrary;
}

namespace kvxim {

// The rule as the JSON object documented in the README; null JSON for a null rule. A parameter's "label" is
// its name, else the text of its id in `texts` (the rule module's resource library; may be null).
nlohmann::ordered_json RuleToJson(const CKvxRule* rule, const kvx::platform::ResourceLibrary* texts);
// "id  display name: summary", in the user's language.
std::string RuleToLine(const CKvxRule& rule);

}  // namespace kvxim
