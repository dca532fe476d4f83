#pragma once
// How kvxim shows a rule: a JSON object or one line of text.
#include <ostream>
#include <string>

class CKvxRule;

namespace kvx::platform {
class ResourceLibrary;
}

namespace kvxim {

// Writes rules as a JSON array (the objects documented in the README; null for a null rule), one rule at a
// time, in the very bytes nlohmann's `dump(2)` gives for the whole array as a tree, so a long listing is never
// held as a document nor as one string. A parameter's "label" is its name, else the text of its id in `texts`
// (the rule module's resource library; may be null).
class JsonRuleArray {
 public:
  JsonRuleArray(std::ostream& out, const kvx::platform::ResourceLibrary* texts) : out_(out), texts_(texts) {}
  void Add(const CKvxRule* rule);
  // Closes the array and ends the line.
  void Finish();

 private:
  std::ostream& out_;
  const kvx::platform::ResourceLibrary* texts_;
  std::string buffer_;  // one rule's text, reused
  bool empty_ = true;
};

// "id  display name: summary", in the user's language.
std::string RuleToLine(const CKvxRule& rule);

}  // namespace kvxim
