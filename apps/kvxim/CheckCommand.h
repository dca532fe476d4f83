#pragma once
// `kvxim check PART.step [--rules RULES.xml] [--pull X,Y,Z|auto] [--material NAME] [--json] [--report FILE.html]
// [--fail-on SEVERITY] [--budget SECONDS]`: applies a rule set to a part and reports what violates which rule.
#include <array>
#include <optional>
#include <ostream>
#include <string>

#include "CommandTable.h"

namespace CLI {
class App;
}

namespace kvxim {

// Exit codes of the check command.
inline constexpr int kCheckClean = 0;       // nothing at or above the --fail-on severity
inline constexpr int kCheckFindings = 1;    // findings at or above it
inline constexpr int kCheckUsage = 2;       // the options do not fit
inline constexpr int kCheckUnreadable = 3;  // the part (or the rule set) cannot be read

struct CheckCommandOptions {
  std::string part;
  std::string rules;  // empty: the factory rule set
  std::string pull = "auto";
  std::string material;
  bool json = false;
  std::string report;
  std::string failOn = "very-low";
  double budgetSeconds = 120;
};

// The pull direction of "X,Y,Z" (not all zero) as a unit vector; none for "auto"; false when it is malformed.
bool ParsePull(const std::string& text, std::optional<std::array<double, 3>>& pull);

int RunCheckCommand(ModuleHost& host, const CheckCommandOptions& options, std::ostream& out, std::ostream& err);

// Registers the "check" subcommand on `app` and its entry in `table`.
void AddCheckCommand(CLI::App& app, CommandTable& table);

}  // namespace kvxim
