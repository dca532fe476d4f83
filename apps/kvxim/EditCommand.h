#pragma once
// `kvxim edit FILE --rule NAME|ID [-o OUT]`: opens a rule's dialog (EditRule) and, when the user accepts it,
// writes the rule back into the rule set. The module's dialog library brings the toolkit, for this command
// only; without it (or without a display) the module says that no dialog is available.
#include <ostream>
#include <string>

#include "CommandTable.h"
#include "ModuleHost.h"

namespace kvxim {

struct EditOptions {
  std::string input;   // rule-set file (UTF-8 path)
  std::string rule;    // key name (any case) or rule id
  std::string output;  // file to write; empty: the input file
};

// Exit codes of RunEdit.
inline constexpr int kEditSaved = 0;      // accepted and written
inline constexpr int kEditFailed = 1;     // bad file, unknown rule, no dialog could be shown, or not saved
inline constexpr int kEditCancelled = 2;  // the user cancelled: nothing written

// Loads the rule set, finds the rule, runs its EditRule and, on OK, replaces the rule's element with its
// GetXML() and saves atomically. Messages go to `err` (one line each), "wrote FILE" to `out`.
int RunEdit(ModuleHost& host, const EditOptions& options, std::ostream& out, std::ostream& err);

// Registers "edit" on `app` and in `table`.
void AddEditCommand(CLI::App& app, CommandTable& table);

}  // namespace kvxim
