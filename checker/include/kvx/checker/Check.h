#pragma once
// Rules applied to a part: each rule id has one evaluator that compares the part's facts with the rule's
// limits, as the rule module hands them out (the "Default" material entry when the rule carries one).
#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kvx/checker/Facts.h"
#include "kvx/checker/Part.h"
#include "kvx/framework/KvxRule.h"

namespace kvx::checker {

// One limit of a rule: operator and values in the rule set's units, and whether it is switched on.
struct Limit {
  int op = 0;
  std::vector<double> values;
  bool enabled = true;
  std::string unit;  // the parameter's unit text ("t", "D", "deg", ...)
};

// What the checker reads from a rule: copied once, so that evaluators never reach into rule objects.
struct RuleInput {
  int id = 0;
  std::string name;         // key name
  std::string displayName;  // in the user's language
  std::string summary;
  int severity = -1;
  int status = 0;
  RuleUnitSystemStructure units;
  std::map<long, Limit> limits;
  // Material tables of the tolerance rule: name -> rows {over, upto, a, b}, and the material marked active.
  std::map<std::string, std::vector<std::array<double, 4>>> materials;
  std::string activeMaterial;
};
RuleInput DescribeRule(const CKvxRule& rule);

struct Finding {
  int ruleId = 0;
  std::string name, displayName;
  int severity = -1;
  std::string what;  // the feature: "face", "blind hole", "boss", ...
  double measured = 0, limit = 0;
  int op = 0;
  std::string unit;  // of measured and limit, in the rule set's units
  std::vector<int> faces;
  Vec3 point;        // on the part, in the rule set's length unit
};

struct NotChecked {
  int ruleId = 0;
  std::string name, displayName;
  std::string reason;
  long parameter = 0;  // one limit of the rule only; 0 for the whole rule
};

struct ToleranceBand {
  std::string dimension;  // "x", "y", "z"
  double size = 0, over = 0, upto = 0, a = 0, b = 0;
};

struct CheckOptions {
  std::optional<Vec3> pull;  // none: try the axis directions and take the one with the least undercut
  std::string material;
};

struct CheckReport {
  Vec3 pull;
  std::string pullNote;  // how the pull direction was chosen
  Facts facts;
  double nominalThickness = 0;  // mm: measured, or the uniform-thickness rule's nominal value
  std::vector<Finding> findings;
  std::vector<int> passed;
  std::vector<NotChecked> notChecked;
  std::vector<NotChecked> skipped;  // rules switched off
  std::vector<ToleranceBand> tolerances;
  std::string toleranceMaterial;
  std::string lengthUnit = "mm";  // the rule set's length unit, in which findings are given
  double pointToMm = 1;           // from that unit back to the part's millimetres
};

// Applies `rules` to `part`; lengths in findings are given in the rules' own length unit.
CheckReport CheckRules(const Part& part, const std::vector<RuleInput>& rules, const CheckOptions& options,
                       const Budget& budget);

// The rule ids that have an evaluator.
std::vector<int> EvaluatedRuleIds();

// Severity names of the codes 0 (very-low) to 4 (very-high); a name or code text back to its code, -1 when unknown.
std::string SeverityName(int severity);
int SeverityFromName(const std::string& name);

// Reads and checks a part in one call, within `allowance`; never throws. `read.ok` false: `read.error` says why.
struct PartCheck {
  ReadResult read;
  CheckReport report;
};
PartCheck CheckStepFile(const std::string& path, const std::vector<RuleInput>& rules, const CheckOptions& options,
                        std::chrono::milliseconds allowance);
PartCheck CheckStepBytes(std::string_view bytes, const std::vector<RuleInput>& rules, const CheckOptions& options,
                         std::chrono::milliseconds allowance);

}  // namespace kvx::checker
