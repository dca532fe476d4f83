#pragma once
// How kvxim shows a rule: a JSON object or one line of text.
#include <nlohmann/json.hpp>

#include <string>

class CKvxRule;

namespace kvxim {

// The rule as the JSON object documented in the README; null JSON for a null rule.
nlohmann::ordered_json RuleToJson(const CKvxRule* rule);
// "id  display name: summary", in the user's language.
std::string RuleToLine(const CKvxRule& rule);

}  // namespace kvxim
