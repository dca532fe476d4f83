#pragma once
// The material database file: creating it from seed data, opening it and reading it.
#include <memory>
#include <string>
#include <vector>

#include "SeedData.h"
#include "kvx_db/KVXDataHelper.h"

struct sqlite3;

namespace kvx_db::detail {

// The result of one store operation: a status and, when it failed, a readable one-line text.
struct Outcome {
  DbStatus status = DbStatus::Ok;
  std::wstring text;

  static Outcome Failure(DbStatus status, std::wstring text) { return {status, std::move(text)}; }
  explicit operator bool() const { return status == DbStatus::Ok; }
};

// An open, checked database file. Opened read-only: the library never changes a user's database.
class MaterialStore {
 public:
  // Opens `path` and checks its tables. NotFound, CannotOpen, NotADatabase or WrongTables on failure
  // (`store` stays null).
  static Outcome Open(const std::wstring& path, std::unique_ptr<MaterialStore>& store);
  ~MaterialStore();
  MaterialStore(const MaterialStore&) = delete;
  MaterialStore& operator=(const MaterialStore&) = delete;

  // All materials in stored order, each with its group's bands in stored order; NotADatabase or BadData
  // (with `materials` empty) when the file cannot be read.
  Outcome ReadMaterials(std::vector<MaterialEntry>& materials) const;

 private:
  MaterialStore(sqlite3* db, std::wstring path);
  Outcome CheckTables() const;

  sqlite3* db_;
  std::wstring path_;
};

// True when nothing at all is at `path` (no file, folder or link): only then may a database be created there.
bool NothingAt(const std::wstring& path);

// Writes a new database holding `seed` to `path` (creating missing folders) through a temporary file
// that is linked into place complete. CannotCreate when a folder or the file cannot be written. Whatever
// is at `path` already (another program starting at the same time may have just made it) is never
// overwritten and counts as done: opening it checks it.
Outcome CreateDatabaseFile(const std::wstring& path, const SeedData& seed);

}  // namespace kvx_db::detail
