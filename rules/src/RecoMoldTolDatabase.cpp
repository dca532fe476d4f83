#include "kvx/rules/RecoMoldTolDatabase.h"

// kvx_rules does not link the database's interface target, so its header is reached by path.
#include "kvx_db/KVXDataHelper.h"
#include "kvx/platform/Paths.h"

namespace kvx::rules {

namespace {
ToleranceCollectorSource& InstalledSource() {
  static ToleranceCollectorSource source;
  return source;
}
}  // namespace

ToleranceCollector FindLoadedDatabaseCollector(const std::wstring& folder) {
  if (folder.empty()) return {};
  const std::wstring path = kvx::platform::JoinPath(folder, kvx::platform::LibraryFileName(kvx_db::kLibraryBaseName));
  ToleranceCollector found;
  found.library = kvx::platform::DynamicLibrary::FindLoaded(path);
  if (!found.library) return {};
  const auto getHelper = found.library->Function<kvx_db::GetDataHelperFunction>(kvx_db::kGetDataHelperExport);
  kvx_db::KVXDataHelper* helper = getHelper ? getHelper() : nullptr;
  if (!helper) return {};
  found.collector = helper->GetCollector();
  return found;
}

ToleranceCollector FindDatabaseCollectorBesideModule() {
  const void* insideThisBinary = reinterpret_cast<const void*>(&FindDatabaseCollectorBesideModule);
  const std::wstring modulePath = kvx::platform::PathOfBinaryContaining(insideThisBinary);
  return FindLoadedDatabaseCollector(kvx::platform::ParentPath(modulePath));
}

ToleranceCollectorSource SetToleranceCollectorSource(ToleranceCollectorSource source) {
  ToleranceCollectorSource previous = std::move(InstalledSource());
  InstalledSource() = std::move(source);
  return previous;
}

std::wstring QueryToleranceTableText() {
  const ToleranceCollectorSource& source = InstalledSource();
  const ToleranceCollector found = source ? source() : FindDatabaseCollectorBesideModule();
  if (!found.collector) return {};
  std::wstring table;
  if (!found.collector->QueryToleranceTable(table)) return {};
  return table;
}

}  // namespace kvx::rules
