#pragma once
// kvxim's commands in one table: each subcommand with what it needs and how it runs. main parses the
// command line, finds the chosen subcommand here and runs it, loading the module only for those that
// need it.
#include <functional>
#include <vector>

namespace CLI {
class App;
}

namespace kvxim {

class ModuleHost;

enum class Needs {
  Nothing,      // runs on its own (resource texts, units, spreadsheets)
  Module,       // the module loaded with its document and database
};

struct Command {
  CLI::App* cli = nullptr;
  Needs needs = Needs::Nothing;
  std::function<int(ModuleHost*)> run;  // the host is null for Needs::Nothing
  bool reportsDatabaseItself = false;   // a database that cannot be used is this command's own message
};

using CommandTable = std::vector<Command>;

// Exit code of a command line that cannot be parsed or names an unknown value.
inline constexpr int kUsageError = 2;

}  // namespace kvxim
