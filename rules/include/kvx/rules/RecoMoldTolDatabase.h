#pragma once
// Where the recommended moulding tolerance rule gets its table text: the material database library, used
// only when the process has already loaded it from the folder of the module's own file. A test puts a
// collector of its own in its place.
#include <functional>
#include <memory>
#include <string>

#include "kvx/platform/DynamicLibrary.h"

namespace kvx_db {
class IDatabaseCollector;
}

namespace kvx::rules {

// A collector and, when it was found in a library, that library's handle, which keeps it loaded while the
// collector is used.
struct ToleranceCollector {
  std::unique_ptr<kvx::platform::DynamicLibrary> library;
  kvx_db::IDatabaseCollector* collector = nullptr;
};

// The collector of the database library loaded from `folder`. No collector when that library is not loaded
// (it is never loaded here), lacks the helper export or gives no helper.
ToleranceCollector FindLoadedDatabaseCollector(const std::wstring& folder);
// FindLoadedDatabaseCollector for the folder of the binary that holds this code; no collector when that
// folder cannot be told.
ToleranceCollector FindDatabaseCollectorBesideModule();

// Where the rule takes its collector from.
using ToleranceCollectorSource = std::function<ToleranceCollector()>;
// Replaces the source (tests feed their own collector); an empty source restores
// FindDatabaseCollectorBesideModule. Returns the source set before (empty for the default).
ToleranceCollectorSource SetToleranceCollectorSource(ToleranceCollectorSource source);
// The tolerance table text of the current source; empty when there is no collector or its query fails.
std::wstring QueryToleranceTableText();

}  // namespace kvx::rules
