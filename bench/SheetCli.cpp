// `kvxim sheet` alone: the subcommand in a program of its own, for whole-process runs.
#include <CLI/CLI.hpp>

#include "SheetCommand.h"

int main(int argc, char** argv) {
  CLI::App app("kvxim (sheet command only)");
  app.require_subcommand(1);
  int exitCode = 0;
  AddSheetCommand(app, exitCode);
  CLI11_PARSE(app, argc, argv);
  return exitCode;
}
