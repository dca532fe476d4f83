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
namespace kvx::platform {
class ResourceLibrary;
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

// The library that holds the command's work (with the part checker), beside the module, and its entry point.
inline constexpr const wchar_t* kCheckLibraryBaseName = L"KvximCheck";
inline constexpr const char* kRunCheckExport = "KvximRunCheck";
using RunCheckFn = int (*)(ModuleHost& host, const CheckCommandOptions& options,
                           const kvx::platform::ResourceLibrary* texts, std::ostream& out, std::ostream& err);

// Loads that library and runs the check; exit code kCheckUnreadable with a line to `err` when it is missing.
int RunCheckCommand(ModuleHost& host, const CheckCommandOptions& options, std::ostream& out, std::ostream& err);

// Registers the "check" subcommand on `app` and its entry in `table`.
void AddCheckCommand(CLI::App& app, CommandTable& table);

}  // namespace kvxim
