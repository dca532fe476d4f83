// kvxim: the reference host of the injection-moulding rule module. It does what a CAD host does with the
// module (load it, hand it a rule-set document, ask it for rules, save them) from the command line.
#include <CLI/CLI.hpp>

#include <iostream>
#include <string>

#include "CheckCommand.h"
#include "CommandTable.h"
#include "Commands.h"
#include "EditCommand.h"
#include "SheetCommand.h"
#include "kvx/platform/Locale.h"
#include "kvx/platform/Text.h"
#include "kvx/utility/LocationHelper.h"

namespace {

struct GlobalOptions {
  std::string language;  // a product language name, as the module knows it; empty: the user's
  std::string database;  // material database file; empty: the default one
};

// Empty for a language the module knows (any case); else the message naming the installed ones.
std::string UnknownLanguage(const std::string& name) {
  const std::wstring wide = kvx::platform::Widen(name);
  if (!CLanguageUtil::KnownLanguage(wide).empty()) return {};
  return kvx::platform::Narrow(CLanguageUtil::UnknownLanguageMessage(wide));
}

void AddGlobalOptions(CLI::App& app, GlobalOptions& options) {
  app.set_version_flag("--version", KVXIM_VERSION);
  app.add_option("--lang", options.language, "user-interface language the module starts with")
      ->check(UnknownLanguage)
      ->type_name("LANGUAGE");
  app.add_option("--db", options.database, "material database file to use instead of the default one")
      ->type_name("FILE");
}

// Loads the module for `command`, then runs it.
int RunWithModule(const kvxim::Command& command, const GlobalOptions& options) {
  std::wstring error;
  std::wstring warning;
  auto host = kvxim::ModuleHost::Load(kvx::platform::Widen(options.database), error, warning);
  if (!warning.empty() && !command.reportsDatabaseItself) std::cerr << "kvxim: " << kvx::platform::Narrow(warning) << "\n";
  if (!host) {
    std::cerr << "kvxim: " << kvx::platform::Narrow(error) << "\n";
    return 1;
  }
  return command.run(host.get());
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"kvxim: reference host of the injection-moulding rule module"};
  app.fallthrough();
  app.require_subcommand(0, 1);
  GlobalOptions options;
  AddGlobalOptions(app, options);

  kvxim::CommandTable commands;
  kvxim::AddRuleCommands(app, commands);
  kvxim::AddMaterialsCommand(app, commands);
  AddSheetCommand(app, commands);
  kvxim::AddEditCommand(app, commands);
  kvxim::AddCheckCommand(app, commands);
  // Further commands register here, each with one line.

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    app.exit(e);
    return kvxim::kUsageError;
  }

  for (const kvxim::Command& command : commands) {
    if (!command.cli->parsed()) continue;
    // The module reads the host's language when it starts, so the scope covers loading it.
    const kvx::platform::UiLanguageScope language(kvx::platform::Widen(options.language));
    return command.needs == kvxim::Needs::Module ? RunWithModule(command, options) : command.run(nullptr);
  }
  std::cout << app.help();
  return 0;
}
