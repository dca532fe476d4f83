#pragma once
// The commands of kvxim that work on rules. Each returns the process exit code and writes one line per
// problem to `err`.
#include <ostream>
#include <string>

#include "ModuleHost.h"

namespace kvxim {

struct CommandOptions {
  bool json = false;
  std::string input;
  std::string output;
  std::string database;
  int resourceId = 0;
  std::string lengthUnit;
  std::string angleUnit;
  bool keepUnconverted = false;  // convert: convert what can be, leave the rest as it is and warn
};

int RunRules(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err);
int RunNew(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err);
int RunShow(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err);
int RunConvert(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err);
int RunDemo(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err);
// These two need no module: they read the resource library the module would load.
int RunResource(const CommandOptions& options, std::ostream& out, std::ostream& err);
int RunUnits(const CommandOptions& options, std::ostream& out, std::ostream& err);

// The unit code of a length unit name (mm cm m in ft um nm mil uin) or code text; -1 when unknown.
int ParseLengthUnit(const std::string& text);
// The unit code of an angle unit name (deg rad) or code text; -1 when unknown.
int ParseAngleUnit(const std::string& text);

}  // namespace kvxim
