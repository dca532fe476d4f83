#include "MaterialStore.h"

#include "ToleranceText.h"

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <map>

#include "kvx/platform/FileSystem.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Text.h"

namespace kvx_db::detail {

namespace {
using kvx::platform::Narrow;
using kvx::platform::Widen;

// Tables and the columns the library reads; user databases may add more.
struct RequiredTable {
  const char* name;
  std::vector<const char*> columns;
};

const std::vector<RequiredTable>& RequiredTables() {
  static const std::vector<RequiredTable> tables = {
      {"tolerance_groups", {"name", "source_note"}},
      {"materials", {"id", "name", "tolerance_group"}},
      {"bands", {"tolerance_group", "position", "over", "upto", "a", "b"}},
  };
  return tables;
}

constexpr const char* kSchema = R"sql(
PRAGMA user_version = 1;
CREATE TABLE tolerance_groups (
  name        TEXT PRIMARY KEY NOT NULL,
  source_note TEXT NOT NULL DEFAULT ''
);
CREATE TABLE materials (
  id              INTEGER PRIMARY KEY,
  name            TEXT NOT NULL UNIQUE,
  tolerance_group TEXT NOT NULL REFERENCES tolerance_groups(name)
);
CREATE TABLE bands (
  tolerance_group TEXT NOT NULL REFERENCES tolerance_groups(name),
  position        INTEGER NOT NULL,
  over            REAL NOT NULL,
  upto            REAL NOT NULL,
  a               REAL NOT NULL,
  b               REAL NOT NULL,
  PRIMARY KEY (tolerance_group, position)
);
)sql";

// Owns a prepared statement.
class Statement {
 public:
  Statement(sqlite3* db, const char* sql) {
    result_ = sqlite3_prepare_v2(db, sql, -1, &stmt_, nullptr);
    prepared_ = result_ == SQLITE_OK;
  }
  ~Statement() { sqlite3_finalize(stmt_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  bool Prepared() const { return prepared_; }
  // The result of preparing, then of the last step.
  int Result() const { return result_; }
  sqlite3_stmt* get() const { return stmt_; }
  // SQLITE_ROW, SQLITE_DONE or an error code.
  int Step() { return result_ = sqlite3_step(stmt_); }
  void Reset() { sqlite3_reset(stmt_); }

  void Bind(int index, const std::wstring& text) {
    sqlite3_bind_text(stmt_, index, Narrow(text).c_str(), -1, SQLITE_TRANSIENT);
  }
  void Bind(int index, double value) { sqlite3_bind_double(stmt_, index, value); }
  void Bind(int index, sqlite3_int64 value) { sqlite3_bind_int64(stmt_, index, value); }

  std::wstring Text(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt_, column));
    return text ? Widen(text) : std::wstring();
  }
  bool IsNull(int column) const { return sqlite3_column_type(stmt_, column) == SQLITE_NULL; }
  // Reads a finite number; false for NULL, blobs, texts and infinities.
  bool Number(int column, double& value) const {
    const int type = sqlite3_column_type(stmt_, column);
    if (type != SQLITE_INTEGER && type != SQLITE_FLOAT) return false;
    value = sqlite3_column_double(stmt_, column);
    return std::isfinite(value);
  }

 private:
  sqlite3_stmt* stmt_ = nullptr;
  int result_ = SQLITE_OK;
  bool prepared_ = false;
};

// Closes a connection that has no owner yet.
struct ConnectionCloser {
  void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};
using Connection = std::unique_ptr<sqlite3, ConnectionCloser>;

DbStatus StatusOfSqliteError(int code) {
  switch (code & 0xff) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT: return DbStatus::NotADatabase;
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_IOERR: return DbStatus::CannotOpen;
    case SQLITE_NOMEM: return DbStatus::Internal;
    default: return DbStatus::NotADatabase;
  }
}

Outcome SqliteFailure(sqlite3* db, int code, const std::wstring& path) {
  const DbStatus status = StatusOfSqliteError(code);
  std::wstring reason = Widen(db ? sqlite3_errmsg(db) : sqlite3_errstr(code));
  // SQLite's own text ("unable to open database file") does not say why; the system's reason does.
  if (const int systemError = db ? sqlite3_system_errno(db) : 0; systemError != 0) {
    reason += L" (" + Widen(std::strerror(systemError)) + L")";
  }
  if (status == DbStatus::NotADatabase) {
    return Outcome::Failure(status, path + L" is not a material database: " + reason);
  }
  return Outcome::Failure(status, L"cannot read the material database " + path + L": " + reason);
}

std::wstring ReasonOf(kvx::platform::ProbeError error) {
  using kvx::platform::ProbeError;
  switch (error) {
    case ProbeError::AccessDenied: return L"permission denied";
    case ProbeError::SharingViolation: return L"in use";
    case ProbeError::NotFound: return L"no such folder";
    case ProbeError::AlreadyExists: return L"a file of that name is in the way";
    default: return L"the system refused";
  }
}

// The names of the columns of `table` (none when the table does not exist); SQLITE_OK or the error
// that reading the file gave (SQLITE_NOTADB for a file that is no database).
int ReadColumns(sqlite3* db, const char* table, std::vector<std::string>& columns) {
  Statement statement(db, "SELECT name FROM pragma_table_info(?1)");
  if (!statement.Prepared()) return statement.Result();
  sqlite3_bind_text(statement.get(), 1, table, -1, SQLITE_STATIC);
  while (statement.Step() == SQLITE_ROW) columns.push_back(Narrow(statement.Text(0)));
  return statement.Result() == SQLITE_DONE ? SQLITE_OK : statement.Result();
}

bool Execute(sqlite3* db, const char* sql) { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }

bool InsertGroups(sqlite3* db, const SeedData& seed) {
  Statement insert(db, "INSERT INTO tolerance_groups (name, source_note) VALUES (?1, ?2)");
  if (!insert.Prepared()) return false;
  for (const SeedGroup& group : seed.groups) {
    insert.Bind(1, group.name);
    insert.Bind(2, group.sourceNote);
    if (insert.Step() != SQLITE_DONE) return false;
    insert.Reset();
  }
  return true;
}

bool InsertMaterials(sqlite3* db, const SeedData& seed) {
  Statement insert(db, "INSERT INTO materials (name, tolerance_group) VALUES (?1, ?2)");
  if (!insert.Prepared()) return false;
  for (const SeedMaterial& material : seed.materials) {
    insert.Bind(1, material.name);
    insert.Bind(2, material.group);
    if (insert.Step() != SQLITE_DONE) return false;
    insert.Reset();
  }
  return true;
}

bool InsertBands(sqlite3* db, const SeedData& seed) {
  Statement insert(db,
                   "INSERT INTO bands (tolerance_group, position, over, upto, a, b) VALUES (?1, ?2, ?3, ?4, ?5, ?6)");
  if (!insert.Prepared()) return false;
  std::map<std::wstring, sqlite3_int64> nextPosition;
  for (const SeedBand& seedBand : seed.bands) {
    insert.Bind(1, seedBand.group);
    insert.Bind(2, ++nextPosition[seedBand.group]);
    insert.Bind(3, seedBand.band.over);
    insert.Bind(4, seedBand.band.upto);
    insert.Bind(5, seedBand.band.a);
    insert.Bind(6, seedBand.band.b);
    if (insert.Step() != SQLITE_DONE) return false;
    insert.Reset();
  }
  return true;
}

// The whole database as the bytes of its file, built in memory so that the file can be written in one go.
// Empty text on success, else the reason.
std::wstring BuildDatabaseImage(const SeedData& seed, std::string& image) {
  sqlite3* raw = nullptr;
  const int opened = sqlite3_open_v2(":memory:", &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  const Connection db(raw);
  if (opened != SQLITE_OK) return Widen(sqlite3_errstr(opened));
  const bool filled = Execute(db.get(), kSchema) && Execute(db.get(), "BEGIN") && InsertGroups(db.get(), seed) &&
                      InsertMaterials(db.get(), seed) && InsertBands(db.get(), seed) && Execute(db.get(), "COMMIT");
  if (!filled) return Widen(sqlite3_errmsg(db.get()));
  sqlite3_int64 size = 0;
  unsigned char* bytes = sqlite3_serialize(db.get(), "main", &size, 0);
  if (!bytes) return L"out of memory";
  image.assign(reinterpret_cast<const char*>(bytes), static_cast<size_t>(size));
  sqlite3_free(bytes);
  return {};
}

// Appends the band of the current row to `material`; BadData when a column holds no number.
Outcome ReadBand(const Statement& row, MaterialEntry& material, const std::wstring& path) {
  ToleranceBand band;
  const char* names[] = {"over", "upto", "a", "b"};
  double* values[] = {&band.over, &band.upto, &band.a, &band.b};
  for (int i = 0; i < 4; ++i) {
    if (row.Number(4 + i, *values[i])) continue;
    return Outcome::Failure(DbStatus::BadData, L"the material database " + path + L" has a band of group " +
                                                   material.group + L" without a finite number in column " +
                                                   Widen(names[i]));
  }
  material.bands.push_back(band);
  return {};
}
}  // namespace

bool NothingAt(const std::wstring& path) {
  std::error_code ignored;
  return std::filesystem::symlink_status(Narrow(path), ignored).type() == std::filesystem::file_type::not_found;
}

MaterialStore::MaterialStore(sqlite3* db, std::wstring path) : db_(db), path_(std::move(path)) {}

MaterialStore::~MaterialStore() { sqlite3_close_v2(db_); }

Outcome MaterialStore::Open(const std::wstring& path, std::unique_ptr<MaterialStore>& store) {
  store.reset();
  if (NothingAt(path)) {
    return Outcome::Failure(DbStatus::NotFound, L"the material database " + path + L" does not exist");
  }
  if (!kvx::platform::FileExists(path)) {
    return Outcome::Failure(DbStatus::CannotOpen, L"the material database " + path + L" is not a file");
  }
  sqlite3* raw = nullptr;
  const int opened = sqlite3_open_v2(Narrow(path).c_str(), &raw, SQLITE_OPEN_READONLY, nullptr);
  Connection db(raw);
  if (opened != SQLITE_OK) return SqliteFailure(db.get(), opened, path);
  // Another program (a user's editor) may hold a write lock for a moment.
  sqlite3_busy_timeout(db.get(), 2000);
  std::unique_ptr<MaterialStore> candidate(new MaterialStore(db.release(), path));
  Outcome checked = candidate->CheckTables();
  if (checked) store = std::move(candidate);
  return checked;
}

Outcome MaterialStore::CheckTables() const {
  for (const RequiredTable& table : RequiredTables()) {
    std::vector<std::string> columns;
    if (const int error = ReadColumns(db_, table.name, columns); error != SQLITE_OK) {
      return SqliteFailure(db_, error, path_);
    }
    if (columns.empty()) {
      return Outcome::Failure(DbStatus::WrongTables,
                              L"the material database " + path_ + L" has no table " + Widen(table.name));
    }
    for (const char* column : table.columns) {
      if (std::find(columns.begin(), columns.end(), column) != columns.end()) continue;
      return Outcome::Failure(DbStatus::WrongTables, L"the material database " + path_ + L" has no column " +
                                                         Widen(table.name) + L"." + Widen(column));
    }
  }
  return {};
}

Outcome MaterialStore::ReadMaterials(std::vector<MaterialEntry>& materials) const {
  materials.clear();
  // A material whose group has no bands still shows, with no bands (position is then NULL).
  Statement rows(db_,
                 "SELECT m.id, m.name, m.tolerance_group, b.position, b.over, b.upto, b.a, b.b "
                 "FROM materials AS m LEFT JOIN bands AS b ON b.tolerance_group = m.tolerance_group "
                 "ORDER BY m.id, b.position");
  if (!rows.Prepared()) return SqliteFailure(db_, rows.Result(), path_);
  std::vector<MaterialEntry> read;
  sqlite3_int64 currentId = 0;
  while (rows.Step() == SQLITE_ROW) {
    const sqlite3_int64 id = sqlite3_column_int64(rows.get(), 0);
    if (read.empty() || id != currentId) {
      read.push_back({rows.Text(1), rows.Text(2), {}});
      currentId = id;
      if (const std::wstring problem = MaterialNameProblem(read.back().name); !problem.empty()) {
        return Outcome::Failure(DbStatus::BadData, L"the material database " + path_ + L" has a material (id " +
                                                       std::to_wstring(id) + L") whose name " + problem);
      }
    }
    if (rows.IsNull(3)) continue;
    if (Outcome band = ReadBand(rows, read.back(), path_); !band) return band;
  }
  if (rows.Result() != SQLITE_DONE) return SqliteFailure(db_, rows.Result(), path_);
  materials = std::move(read);
  return {};
}

Outcome CreateDatabaseFile(const std::wstring& path, const SeedData& seed) {
  const std::wstring folder = kvx::platform::ParentPath(path);
  if (!folder.empty()) {
    const auto made = kvx::platform::CreateDirectories(folder);
    if (made != kvx::platform::ProbeError::None && made != kvx::platform::ProbeError::AlreadyExists) {
      return Outcome::Failure(DbStatus::CannotCreate,
                              L"cannot create the folder " + folder + L" for the material database: " + ReasonOf(made));
    }
  }
  std::string image;
  if (std::wstring reason = BuildDatabaseImage(seed, image); !reason.empty()) {
    return Outcome::Failure(DbStatus::Internal, L"cannot build the factory material database: " + reason);
  }
  // Two programs starting at once may both get here, each having seen no file a moment ago: the file
  // appears whole or not at all, and whoever comes second uses the first one's database, which holds the
  // same data. Refusing a file that is there by now would make the second program fail on its first start.
  const kvx::platform::WriteResult created = kvx::platform::CreateFileAtomically(path, image);
  if (created.outcome == kvx::platform::WriteOutcome::Failed) {
    return Outcome::Failure(DbStatus::CannotCreate, L"cannot create the material database: " + created.description);
  }
  return {};
}

}  // namespace kvx_db::detail
