#include "CheckCommand.h"

#include <CLI/CLI.hpp>
#include <array>
#include <cmath>
#include <iostream>
#include <memory>
#include <sstream>
#include <vector>

#include "Commands.h"
#include "ModuleHost.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/framework/RulePointerArray.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/FileSystem.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Text.h"

namespace kvxim {

int RunCheckCommand(ModuleHost& host, const CheckCommandOptions& options, std::ostream& out, std::ostream& err) {
  // The checker brings Open CASCADE: loaded for this command only, so that no other command pays for it.
  const std::wstring file =
      kvx::platform::JoinPath(LibraryFolder(), kvx::platform::LibraryFileName(kCheckLibraryBaseName));
  const auto library = kvx::platform::DynamicLibrary::Load(file);
  const auto run = library ? library->Function<RunCheckFn>(kRunCheckExport) : nullptr;
  if (!run) {
    err << "kvxim: the part checker cannot be used: " << kvx::platform::Narrow(file) << " is missing or incomplete\n";
    return kCheckUnreadable;
  }
  const auto texts = LoadHostResources();  // the labels of the text and the report in the user's language
  return run(host, options, texts.get(), out, err);
}

void AddCheckCommand(CLI::App& app, CommandTable& table) {
  auto options = std::make_shared<CheckCommandOptions>();
  CLI::App* check = app.add_subcommand("check", "apply a rule set to a STEP part and report what violates which rule");
  check->add_option("part", options->part, "the part (STEP file)");
  check->add_option("--rules", options->rules, "rule-set file (default: the factory rule set)");
  check->add_option("--pull", options->pull, "pull direction X,Y,Z, or auto for the axis with the least undercut");
  check->add_option("--material", options->material, "material whose tolerance table applies");
  check->add_flag("--json", options->json, "print one JSON object");
  check->add_option("--report", options->report, "write an HTML report with pictures of the part");
  check->add_option("--fail-on", options->failOn,
                    "exit 1 on findings of this severity or above (very-low ... very-high)");
  check->add_option("--budget", options->budgetSeconds, "seconds the check may take");
  table.push_back({check, Needs::Module,
                   [options](ModuleHost* host) { return RunCheckCommand(*host, *options, std::cout, std::cerr); }});
}

}  // namespace kvxim
