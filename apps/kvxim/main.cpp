// kvxim: the reference host of the injection-moulding rule module. It does what a CAD host does with the
// module (load it, hand it a rule-set document, ask it for rules, save them) from the command line.
#include <CLI/CLI.hpp>

#include <cstdlib>
#include <iostream>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "EditCommand.h"
#include "MaterialsCommand.h"
#include "SheetCommand.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Text.h"

namespace {
// The product language names kvxim accepts for --lang.
bool IsKnownLanguage(const std::string& name) {
  const std::wstring wide = kvx::platform::Widen(name);
  return kvx::platform::EqualsNoCase(kvx::params::LanguageIdToName(kvx::params::LanguageNameToId(wide)), wide);
}
}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"kvxim: reference host of the injection-moulding rule module"};
  app.fallthrough();
  std::string language;
  std::string database;
  app.add_option("--lang", language, "user-interface language the module starts with (english, german, ...)");
  app.add_option("--db", database, "material database file to use instead of the default one");

  kvxim::CommandOptions options;
  int exitCode = 0;

  auto* rules = app.add_subcommand("rules", "list the rules of a fresh rule set, in order");
  rules->add_flag("--json", options.json, "print a JSON array of rule objects");

  auto* fresh = app.add_subcommand("new", "write a factory rule set");
  fresh->add_option("-o,--output", options.output, "rule-set file to write")->required();

  auto* show = app.add_subcommand("show", "load a rule set and show each rule");
  show->add_option("file", options.input, "rule-set file")->required();
  show->add_flag("--json", options.json, "print a JSON array, null where no rule was built");

  auto* resource = app.add_subcommand("resource", "print one string of the module's resource library");
  resource->add_option("id", options.resourceId, "string id")->required();

  auto* convert = app.add_subcommand("convert", "convert a rule set to other units");
  convert->add_option("file", options.input, "rule-set file")->required();
  convert->add_option("--length", options.lengthUnit, "length unit: mm cm m in ft um nm mil uin, or a code")->required();
  convert->add_option("--angle", options.angleUnit, "angle unit: deg rad, or a code")->required();
  convert->add_option("-o,--output", options.output, "file to write (default: in place)");
  convert->add_flag("--keep-unconverted", options.keepUnconverted,
                    "convert the rules that can be and leave the others' values as they are (warns per rule)");

  auto* units = app.add_subcommand("units", "list the unit codes");
  units->add_flag("--json", options.json, "print JSON");

  bool materialsJson = false;
  auto* materials = app.add_subcommand("materials", "list the materials of the material database");
  materials->add_flag("--json", materialsJson, "print JSON");

  auto* demo = app.add_subcommand("demo", "list the rules, write a factory rule set and load it again");
  demo->add_option("-o,--output", options.output, "rule-set file to write")->capture_default_str();
  options.output.clear();

  kvxim::EditOptions editOptions;
  auto* edit = app.add_subcommand("edit", "open a rule's dialog and save the rule set when it is accepted");
  edit->add_option("file", editOptions.input, "rule-set file")->required();
  edit->add_option("--rule", editOptions.rule, "the rule's key name (any case) or id")->required();
  edit->add_option("-o,--output", editOptions.output, "file to write (default: in place)");

  AddSheetCommand(app, exitCode);
  app.require_subcommand(0, 1);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return app.exit(e);
  }

  if (!language.empty()) {
    if (!IsKnownLanguage(language)) {
      std::cerr << "kvxim: unknown language \"" << language << "\"\n";
      return 1;
    }
    setenv("KVX_LANGUAGE", language.c_str(), 1);  // the module picks it up at start-up
  }
  options.database = database;

  if (app.got_subcommand("sheet")) return exitCode;
  if (app.got_subcommand("resource")) return kvxim::RunResource(options, std::cout, std::cerr);
  if (app.got_subcommand("units")) return kvxim::RunUnits(options, std::cout, std::cerr);

  std::wstring error;
  std::wstring warning;
  auto host = kvxim::ModuleHost::Load(kvx::platform::Widen(database), error, warning);
  // The materials command reports a bad database itself, in one line.
  if (!warning.empty() && !app.got_subcommand("materials")) std::cerr << "kvxim: " << kvx::platform::Narrow(warning) << "\n";
  if (!host) {
    std::cerr << "kvxim: " << kvx::platform::Narrow(error) << "\n";
    return 1;
  }
  if (app.got_subcommand("rules")) return kvxim::RunRules(*host, options, std::cout, std::cerr);
  if (app.got_subcommand("new")) return kvxim::RunNew(*host, options, std::cout, std::cerr);
  if (app.got_subcommand("show")) return kvxim::RunShow(*host, options, std::cout, std::cerr);
  if (app.got_subcommand("convert")) return kvxim::RunConvert(*host, options, std::cout, std::cerr);
  if (app.got_subcommand("edit")) return kvxim::RunEdit(*host, editOptions, std::cout, std::cerr);
  if (app.got_subcommand("materials")) {
    if (!host->Database()) {
      std::cerr << "kvxim: the material database library is not available\n";
      return 1;
    }
    return RunMaterialsCommand(*host->Database(), materialsJson, std::cout, std::cerr);
  }
  return kvxim::RunDemo(*host, options, std::cout, std::cerr);
}
