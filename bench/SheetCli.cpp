// `kvxim sheet` alone: the subcommand in a program of its own, for whole-process runs.
#include <CLI/CLI.hpp>

#include "CommandTable.h"
#include "SheetCommand.h"

int main(int argc, char** argv) {
  CLI::App app("kvxim (sheet command only)");
  app.require_subcommand(1);
  kvxim::CommandTable commands;
  AddSheetCommand(app, commands);
  CLI11_PARSE(app, argc, argv);
  return commands.front().run(nullptr);
}
