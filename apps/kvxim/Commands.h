#pragma once
// The commands of kvxim that work on rules. Each returns the process exit code and writes one line per
// problem to `err`.
#include <memory>
#include <ostream>
#include <string>

#include "CommandTable.h"
#include "ModuleHost.h"
#include "kvx/platform/Resources.h"

namespace kvxim {

struct CommandOptions {
  bool json = false;
  std::string input;
  std::string output;  // "-": standard output
  int resourceId = 0;
  int lengthUnit = 0;
  int angleUnit = 0;
  bool keepUnconverted = false;  // convert: convert what can be, leave the rest as it is and warn
};

// Registers rules, new, show, convert, units, resource and demo on `app` and in `table`.
void AddRuleCommands(CLI::App& app, CommandTable& table);
// Registers materials on `app` and in `table`.
void AddMaterialsCommand(CLI::App& app, CommandTable& table);

// Loads the host's resource library for the language the module would pick, as the module does; null when
// neither the user's language nor the default one is installed.
std::unique_ptr<kvx::platform::ResourceLibrary> LoadHostResources();

int RunRules(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err);
int RunNew(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err);
int RunShow(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err);
int RunConvert(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err);
int RunDemo(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err);
// These two need no module: they read the resource library the module would load.
int RunResource(const CommandOptions& options, std::ostream& out, std::ostream& err);
int RunUnits(const CommandOptions& options, std::ostream& out, std::ostream& err);

}  // namespace kvxim
