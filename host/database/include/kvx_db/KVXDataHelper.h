#pragma once
// The material database: materials, their tolerance groups and the moulding tolerance bands of each group.
//
// Only interfaces live here, so a client that finds the library at run time (already loaded, beside its
// own module) can use it without linking: look up the export KvxDbGetDataHelper and call through the
// returned object. No call throws; failures come back as values.
#include <string>
#include <vector>

#if defined(_WIN32)
#  ifdef KVX_DB_BUILD
#    define KVX_DB_API __declspec(dllexport)
#  else
#    define KVX_DB_API __declspec(dllimport)
#  endif
#else
#  define KVX_DB_API __attribute__((visibility("default")))
#endif

namespace kvx_db {

// Base name of the database library; the platform's file name is built from it ("libKVXDatabaseu.so").
inline constexpr wchar_t kLibraryBaseName[] = L"KVXDatabaseu";
// Name of the export that returns the helper.
inline constexpr char kGetDataHelperExport[] = "KvxDbGetDataHelper";

// Outcome of a database operation; everything but Ok comes with a readable text (KVXDataHelper::ErrorText).
enum class DbStatus : int {
  Ok = 0,
  NotFound = 1,       // the given database file does not exist
  CannotCreate = 2,   // the default database or its folder could not be created
  CannotOpen = 3,     // the file exists but cannot be opened (permissions, not a regular file)
  NotADatabase = 4,   // the file is not a database, or it is damaged
  WrongTables = 5,    // tables or columns that the material database needs are missing
  BadData = 6,        // a stored value cannot be read (a band without a number, for example)
  Internal = 7,       // anything else (out of memory, an unexpected library failure)
};

// One tolerance band: nominal dimensions over `over` up to `upto`, tolerances `a` (not tied to the mould)
// and `b` (tied to the mould), in millimetres.
struct ToleranceBand {
  double over = 0.0;
  double upto = 0.0;
  double a = 0.0;
  double b = 0.0;
};

// A material, its tolerance group and the bands of that group in stored order.
struct MaterialEntry {
  std::wstring name;
  std::wstring group;
  std::vector<ToleranceBand> bands;
};

// What the rules ask of the database.
class IDatabaseCollector {
 public:
  // Fills `table` with one record "material,over,upto,a,b" per band, records joined by ";", materials in
  // stored order, each with the bands of its group in stored order (materials whose names contain "," or
  // ";" are left out: the record format cannot carry them). On failure returns false with `table` empty
  // and the reason in the helper's ErrorText.
  virtual bool QueryToleranceTable(std::wstring& table) = 0;

 protected:
  ~IDatabaseCollector() = default;
};

// The process-wide helper: which database file is in use, and access to its content.
// Until a database is opened explicitly, the first query opens the default one.
class KVXDataHelper {
 public:
  // The collector of this helper; never null.
  virtual IDatabaseCollector* GetCollector() = 0;

  // Opens the database file at `path`, which must exist; the database in use is replaced either way.
  // Returns NotFound, CannotOpen, NotADatabase or WrongTables when it cannot be used (no rows are then given).
  virtual DbStatus OpenDatabase(const std::wstring& path) = 0;
  // Opens the default database (DefaultDatabasePath), creating it and its folder from the shipped data
  // when missing. An existing file is never overwritten, even when it cannot be used.
  virtual DbStatus OpenDefaultDatabase() = 0;
  // $KVX_MATERIAL_DB, else $XDG_DATA_HOME/korvex/materials.sqlite, else ~/.local/share/korvex/materials.sqlite;
  // empty when none of them can be told (no home folder).
  virtual std::wstring DefaultDatabasePath() const = 0;
  // Path of the database in use (or the last one tried); empty before anything was opened.
  virtual std::wstring DatabasePath() const = 0;

  // Fills `materials` in stored order; on failure returns the reason and leaves `materials` empty.
  virtual DbStatus ListMaterials(std::vector<MaterialEntry>& materials) = 0;

  // Outcome of the last operation, and its readable one-line text (empty when Ok).
  virtual DbStatus Status() const = 0;
  virtual std::wstring ErrorText() const = 0;

 protected:
  ~KVXDataHelper() = default;
};

// Signature of KvxDbGetDataHelper, for clients that look it up at run time.
using GetDataHelperFunction = KVXDataHelper* (*)();

}  // namespace kvx_db

// The helper singleton; never null, never throws.
extern "C" KVX_DB_API kvx_db::KVXDataHelper* KvxDbGetDataHelper();
