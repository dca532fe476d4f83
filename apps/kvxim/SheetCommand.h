#pragma once
// `kvxim sheet FILE [--columns A,B,C,D] [--kinds ...] [--json]`: the columns of a spreadsheet as the
// tolerance dialog's import reads them, through the module's own spreadsheet reader.
#include <ostream>
#include <string>
#include <vector>

#include "CommandTable.h"

struct SheetCommandOptions {
  std::string file;                                      // UTF-8 path
  std::vector<std::string> columns{"A", "B", "C", "D"};  // column letters, in output order
  std::vector<int> kinds;                                // one per column; missing ones are 0
  bool json = false;                                     // an array of columns, each an array of texts
};

// Reads the columns and writes them to `out`, column by column. Returns 0 when the table was read and
// every column holds a text; 2 when it was read but the table check failed (its message goes to `err`,
// the table to `out` all the same); 1 when the file could not be read or the options do not fit (the
// reason goes to `err`, nothing to `out`). Empty columns are named by their letters.
int RunSheetCommand(const SheetCommandOptions& options, std::ostream& out, std::ostream& err);

// Registers the "sheet" subcommand on `app` and in `table`. It sets up no user interface, only the resource
// texts the messages need.
void AddSheetCommand(CLI::App& app, kvxim::CommandTable& table);
