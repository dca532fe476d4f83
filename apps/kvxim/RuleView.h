#pragma once
// How kvxim shows a rule: a JSON object or one line of text.
#include <nlohmann/json.hpp>

#include <ostream>
#include <string>

class CKvxRule;

namespace kvx::platform {
class ResourceLibrary;
}

namespace kvxim {

// The rule as the JSON object documented in the README; null JSON for a null rule. A parameter's "label" is
// its name, else the text of its id in `texts` (the rule module's resource library; may be null).
nlohmann::ordered_json RuleToJson(const CKvxRule* rule, const kvx::platform::ResourceLibrary* texts);
// Writes a JSON array one element at a time, in the very bytes `dump(2)` gives for the whole array, so a
// long listing is never held as one document nor as one string.
class JsonArrayStream {
 public:
  explicit JsonArrayStream(std::ostream& out) : out_(out) {}
  void Add(const nlohmann::ordered_json& element);
  // Closes the array and ends the line.
  void Finish();

 private:
  std::ostream& out_;
  bool empty_ = true;
};

// "id  display name: summary", in the user's language.
std::string RuleToLine(const CKvxRule& rule);

}  // namespace kvxim
