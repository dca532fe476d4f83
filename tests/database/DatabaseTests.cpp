// The material database library: factory creation, the tolerance table text, user files good and bad,
// and `kvxim materials`. Every test works in its own temporary folder; KVX_MATERIAL_DB always points there,
// so the user's real database is never touched.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "MaterialsCommand.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Text.h"
#include "kvx_db/KVXDataHelper.h"

namespace kvx_db {
// Readable failures: the status by number and name.
void PrintTo(DbStatus status, std::ostream* out) {
  static const char* const names[] = {"Ok", "NotFound", "CannotCreate", "CannotOpen", "NotADatabase", "WrongTables", "BadData", "Internal"};
  const int index = static_cast<int>(status);
  *out << (index >= 0 && index < 8 ? names[index] : "?") << " (" << index << ")";
}
}  // namespace kvx_db

namespace {
namespace fs = std::filesystem;
using kvx::platform::Narrow;
using kvx::platform::Widen;
using kvx_db::DbStatus;
using kvx_db::MaterialEntry;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

// Sets an environment variable for the scope and restores what was there before.
class EnvOverride {
 public:
  EnvOverride(const char* name, const std::optional<std::string>& value) : name_(name) {
    if (const char* old = std::getenv(name)) saved_ = old;
    Apply(value);
  }
  ~EnvOverride() { Apply(saved_); }

 private:
  void Apply(const std::optional<std::string>& value) {
    if (value) setenv(name_, value->c_str(), 1);
    else unsetenv(name_);
  }
  const char* name_;
  std::optional<std::string> saved_;
};

void ExecSql(const fs::path& file, const std::string& sql) {
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
  char* message = nullptr;
  const int result = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message);
  const std::string reason = message ? message : "";
  sqlite3_free(message);
  sqlite3_close(db);
  ASSERT_EQ(result, SQLITE_OK) << reason;
}

std::string QueryText(const fs::path& file, const std::string& sql) {
  sqlite3* db = nullptr;
  sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
  sqlite3_stmt* statement = nullptr;
  std::string text;
  if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK && sqlite3_step(statement) == SQLITE_ROW) {
    if (const auto* value = sqlite3_column_text(statement, 0)) text = reinterpret_cast<const char*>(value);
  }
  sqlite3_finalize(statement);
  sqlite3_close(db);
  return text;
}

std::string ReadBytes(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteBytes(const fs::path& file, const std::string& bytes) { std::ofstream(file, std::ios::binary) << bytes; }

std::vector<std::wstring> Split(const std::wstring& text, wchar_t separator) {
  std::vector<std::wstring> parts;
  std::wstringstream stream(text);
  for (std::wstring part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

std::vector<std::string> NamesOf(const std::vector<MaterialEntry>& materials) {
  std::vector<std::string> names;
  for (const MaterialEntry& material : materials) names.push_back(Narrow(material.name));
  return names;
}

MATCHER_P4(IsBand, over, upto, a, b, "") { return arg.over == over && arg.upto == upto && arg.a == a && arg.b == b; }

// The tables of a user's database as the library expects them, with a column of the user's own added.
constexpr const char* kUserSchema = R"sql(
CREATE TABLE tolerance_groups (name TEXT PRIMARY KEY, source_note TEXT, colour TEXT);
CREATE TABLE materials (id INTEGER PRIMARY KEY, name TEXT, tolerance_group TEXT);
CREATE TABLE bands (tolerance_group TEXT, position INTEGER, over REAL, upto REAL, a REAL, b REAL);
)sql";

class MaterialDb : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "kvx-db-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    defaultFile_ = folder_ / "data" / "korvex" / "materials.sqlite";
    dbOverride_.emplace("KVX_MATERIAL_DB", defaultFile_.string());
    db_ = KvxDbGetDataHelper();
  }
  void TearDown() override {
    std::error_code ignored;
    fs::permissions(folder_, fs::perms::owner_all, fs::perm_options::add, ignored);
    for (const auto& entry : fs::recursive_directory_iterator(folder_, ignored)) {
      fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    }
    fs::remove_all(folder_, ignored);
  }

  // A database file with the user schema and the given rows.
  fs::path UserDatabase(const std::string& rows) {
    const fs::path file = folder_ / "user.sqlite";
    ExecSql(file, kUserSchema + rows);
    return file;
  }

  std::vector<MaterialEntry> List() {
    std::vector<MaterialEntry> materials;
    db_->ListMaterials(materials);
    return materials;
  }

  std::wstring Table(bool* ok = nullptr) {
    std::wstring table = L"stale";
    const bool answered = db_->GetCollector()->QueryToleranceTable(table);
    if (ok) *ok = answered;
    return table;
  }

  fs::path folder_;
  fs::path defaultFile_;
  std::optional<EnvOverride> dbOverride_;
  kvx_db::KVXDataHelper* db_ = nullptr;
};

// ---- Factory database --------------------------------------------------------------------------------

TEST_F(MaterialDb, DefaultDatabaseIsCreatedWithItsFolderFromTheShippedData) {
  ASSERT_EQ(db_->OpenDefaultDatabase(), DbStatus::Ok) << Narrow(db_->ErrorText());
  EXPECT_EQ(db_->DatabasePath(), Widen(defaultFile_.string()));
  // Written through a temporary file that is gone afterwards.
  EXPECT_EQ(std::distance(fs::directory_iterator(defaultFile_.parent_path()), fs::directory_iterator()), 1);

  const auto materials = List();
  EXPECT_THAT(NamesOf(materials), ElementsAre("ABS", "PC", "PS", "PPE", "PA6-GF30", "PBT", "AISI_304"));
  for (size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(materials[i].group, L"TG130");
    ASSERT_EQ(materials[i].bands.size(), 21u);
    EXPECT_THAT(materials[i].bands.front(), IsBand(0.0, 1.0, 0.18, 0.08));
    EXPECT_THAT(materials[i].bands[4], IsBand(10.0, 15.0, 0.23, 0.13));
    EXPECT_THAT(materials[i].bands.back(), IsBand(800.0, 1000.0, 3.0, 2.9));
  }
  const MaterialEntry& steel = materials.back();
  EXPECT_EQ(steel.group, L"ISO2768m");
  ASSERT_EQ(steel.bands.size(), 7u);
  EXPECT_THAT(steel.bands.front(), IsBand(0.5, 3.0, 0.1, 0.1));
  EXPECT_THAT(steel.bands.back(), IsBand(1000.0, 2000.0, 1.2, 1.2));

  // The groups keep where their figures come from, continuation lines included.
  const std::string tg130 = QueryText(defaultFile_, "SELECT source_note FROM tolerance_groups WHERE name = 'TG130'");
  EXPECT_THAT(tg130, HasSubstr("tolerance group 130"));
  EXPECT_THAT(tg130, HasSubstr("polyester (PBT) in group 130."));
  EXPECT_THAT(QueryText(defaultFile_, "SELECT source_note FROM tolerance_groups WHERE name = 'ISO2768m'"),
              HasSubstr("so a = b"));
}

TEST_F(MaterialDb, ExistingDefaultDatabaseKeepsTheUsersEdits) {
  ASSERT_EQ(db_->OpenDefaultDatabase(), DbStatus::Ok);
  ExecSql(defaultFile_,
          "DELETE FROM materials WHERE name = 'PS';"
          "UPDATE bands SET a = 0.5 WHERE tolerance_group = 'ISO2768m' AND position = 1;");
  ASSERT_EQ(db_->OpenDefaultDatabase(), DbStatus::Ok);
  const auto materials = List();
  EXPECT_THAT(NamesOf(materials), ElementsAre("ABS", "PC", "PPE", "PA6-GF30", "PBT", "AISI_304"));
  EXPECT_THAT(materials.back().bands.front(), IsBand(0.5, 3.0, 0.5, 0.1));
}

TEST_F(MaterialDb, DefaultPathFollowsTheEnvironment) {
  const std::string home = (folder_ / "home").string();
  EnvOverride homeOverride("HOME", home);
  EnvOverride dataOverride("XDG_DATA_HOME", "/srv/data");
  EXPECT_EQ(db_->DefaultDatabasePath(), Widen(defaultFile_.string()));

  EnvOverride noChoice("KVX_MATERIAL_DB", std::nullopt);
  EXPECT_EQ(db_->DefaultDatabasePath(), L"/srv/data/korvex/materials.sqlite");
  {
    EnvOverride relative("XDG_DATA_HOME", "relative/data");
    EXPECT_EQ(db_->DefaultDatabasePath(), Widen(home + "/.local/share/korvex/materials.sqlite"));
  }
  EnvOverride noData("XDG_DATA_HOME", std::nullopt);
  EXPECT_EQ(db_->DefaultDatabasePath(), Widen(home + "/.local/share/korvex/materials.sqlite"));

  EnvOverride noHome("HOME", std::nullopt);
  EXPECT_EQ(db_->DefaultDatabasePath(), L"");
  EXPECT_EQ(db_->OpenDefaultDatabase(), DbStatus::CannotCreate);
  EXPECT_THAT(Narrow(db_->ErrorText()), HasSubstr("KVX_MATERIAL_DB"));
}

// ---- Tolerance table text ----------------------------------------------------------------------------

TEST_F(MaterialDb, FactoryTableHasEveryBandOfEachMaterialInDataOrder) {
  ASSERT_EQ(db_->OpenDefaultDatabase(), DbStatus::Ok);
  bool ok = false;
  const std::wstring table = Table(&ok);
  ASSERT_TRUE(ok);
  const auto records = Split(table, L';');
  ASSERT_EQ(records.size(), 6u * 21u + 7u);
  std::vector<std::wstring> order;
  for (const std::wstring& record : records) {
    const auto fields = Split(record, L',');
    ASSERT_EQ(fields.size(), 5u) << Narrow(record);
    if (order.empty() || order.back() != fields[0]) order.push_back(fields[0]);
  }
  EXPECT_THAT(order, ElementsAre(L"ABS", L"PC", L"PS", L"PPE", L"PA6-GF30", L"PBT", L"AISI_304"));
  EXPECT_EQ(records[0], L"ABS,0,1,0.18,0.08");
  EXPECT_EQ(records[20], L"ABS,800,1000,3,2.9");
  EXPECT_EQ(records[21], L"PC,0,1,0.18,0.08");
  EXPECT_EQ(records[126], L"AISI_304,0.5,3,0.1,0.1");
  EXPECT_EQ(records.back(), L"AISI_304,1000,2000,1.2,1.2");
}

TEST_F(MaterialDb, UserFileIsReadInPositionOrderWithPlainNumbers) {
  const fs::path file = UserDatabase(R"sql(
    INSERT INTO tolerance_groups VALUES ('Fine', 'own figures', 'red'), ('Empty', '', NULL);
    INSERT INTO materials (name, tolerance_group) VALUES ('PEEK', 'Fine'), ('POM', 'Empty'), ('PA,GF', 'Fine'), ('LCP', 'Fine');
    INSERT INTO bands VALUES ('Fine', 2, 10, 25, 0.0000001, 1e-3), ('Fine', 1, 0, 10, 12345678, 0.05);
  )sql");
  ASSERT_EQ(db_->OpenDatabase(Widen(file.string())), DbStatus::Ok) << Narrow(db_->ErrorText());
  EXPECT_EQ(db_->DatabasePath(), Widen(file.string()));

  const auto materials = List();
  EXPECT_THAT(NamesOf(materials), ElementsAre("PEEK", "POM", "PA,GF", "LCP"));
  EXPECT_TRUE(materials[1].bands.empty());
  EXPECT_THAT(materials[0].bands, ElementsAre(IsBand(0.0, 10.0, 12345678.0, 0.05), IsBand(10.0, 25.0, 0.0000001, 0.001)));

  // No exponents (the rules read only digits and the point), no material without bands, and no
  // name that would split a record.
  EXPECT_EQ(Table(), L"PEEK,0,10,12345678,0.05;PEEK,10,25,0.0000001,0.001;"
                     L"LCP,0,10,12345678,0.05;LCP,10,25,0.0000001,0.001");
}

TEST_F(MaterialDb, LoadedLibraryAnswersThroughItsExport) {
  const std::wstring path = Widen(KVX_BIN_DIR "/") + kvx::platform::LibraryFileName(kvx_db::kLibraryBaseName);
  const auto library = kvx::platform::DynamicLibrary::FindLoaded(path);
  ASSERT_NE(library, nullptr);
  const auto getHelper = library->Function<kvx_db::GetDataHelperFunction>(kvx_db::kGetDataHelperExport);
  ASSERT_NE(getHelper, nullptr);
  EXPECT_EQ(getHelper(), db_);
  EXPECT_NE(getHelper()->GetCollector(), nullptr);
}

// ---- Files that cannot be used -----------------------------------------------------------------------

TEST_F(MaterialDb, MissingGivenFileIsReportedNotCreated) {
  const fs::path missing = folder_ / "nowhere" / "materials.sqlite";
  EXPECT_EQ(db_->OpenDatabase(Widen(missing.string())), DbStatus::NotFound);
  EXPECT_THAT(Narrow(db_->ErrorText()), HasSubstr(missing.string()));
  bool ok = true;
  EXPECT_EQ(Table(&ok), L"");
  EXPECT_FALSE(ok);
  EXPECT_EQ(db_->Status(), DbStatus::NotFound);
  EXPECT_TRUE(List().empty());
  EXPECT_FALSE(fs::exists(missing.parent_path()));
}

TEST_F(MaterialDb, FileThatIsNoDatabaseIsReportedAndNeverOverwritten) {
  fs::create_directories(defaultFile_.parent_path());
  const std::string text = "material,group\nABS,TG130\n";
  WriteBytes(defaultFile_, text);
  EXPECT_EQ(db_->OpenDefaultDatabase(), DbStatus::NotADatabase);
  EXPECT_THAT(Narrow(db_->ErrorText()), HasSubstr(defaultFile_.string()));
  bool ok = true;
  EXPECT_EQ(Table(&ok), L"");
  EXPECT_FALSE(ok);
  EXPECT_EQ(ReadBytes(defaultFile_), text);

  // A folder where the file should be.
  fs::remove(defaultFile_);
  fs::create_directory(defaultFile_);
  EXPECT_EQ(db_->OpenDefaultDatabase(), DbStatus::CannotOpen);
  EXPECT_TRUE(fs::is_directory(defaultFile_));
}

TEST_F(MaterialDb, DamagedDatabaseFailsOnReadingWithoutRows) {
  ASSERT_EQ(db_->OpenDefaultDatabase(), DbStatus::Ok);
  std::string bytes = ReadBytes(defaultFile_);
  ASSERT_GT(bytes.size(), 4096u * 2);
  // Keep the first page (the table definitions) and scramble the pages that hold the rows.
  for (size_t i = 4096; i < bytes.size(); ++i) bytes[i] = static_cast<char>(0xA5 ^ (i * 31));
  WriteBytes(defaultFile_, bytes);

  const DbStatus opened = db_->OpenDefaultDatabase();
  if (opened == DbStatus::Ok) {
    bool ok = true;
    EXPECT_EQ(Table(&ok), L"");
    EXPECT_FALSE(ok);
  }
  EXPECT_EQ(db_->Status(), DbStatus::NotADatabase) << Narrow(db_->ErrorText());
  EXPECT_TRUE(List().empty());
  EXPECT_EQ(ReadBytes(defaultFile_), bytes);
}

TEST_F(MaterialDb, MissingTablesOrColumnsAreNamed) {
  const fs::path noBands = folder_ / "no-bands.sqlite";
  ExecSql(noBands, "CREATE TABLE tolerance_groups (name, source_note); CREATE TABLE materials (id, name, tolerance_group);");
  EXPECT_EQ(db_->OpenDatabase(Widen(noBands.string())), DbStatus::WrongTables);
  EXPECT_THAT(Narrow(db_->ErrorText()), HasSubstr("no table bands"));
  EXPECT_TRUE(List().empty());

  const fs::path noColumn = folder_ / "no-column.sqlite";
  ExecSql(noColumn, "CREATE TABLE tolerance_groups (name, source_note); CREATE TABLE materials (id, name, tolerance_group);"
                    "CREATE TABLE bands (tolerance_group, position, over, upto, a);");
  EXPECT_EQ(db_->OpenDatabase(Widen(noColumn.string())), DbStatus::WrongTables);
  EXPECT_THAT(Narrow(db_->ErrorText()), HasSubstr("no column bands.b"));

  // An empty file is an empty database to the engine: it has none of the tables, and stays empty.
  fs::create_directories(defaultFile_.parent_path());
  WriteBytes(defaultFile_, "");
  EXPECT_EQ(db_->OpenDefaultDatabase(), DbStatus::WrongTables);
  EXPECT_EQ(fs::file_size(defaultFile_), 0u);
}

TEST_F(MaterialDb, BandWithoutANumberIsBadData) {
  const fs::path file = UserDatabase(R"sql(
    INSERT INTO tolerance_groups VALUES ('G', '', NULL);
    INSERT INTO materials (name, tolerance_group) VALUES ('PEEK', 'G');
    INSERT INTO bands VALUES ('G', 1, 0, 10, 0.1, 0.1), ('G', 2, 10, 20, 'n/a', 0.2);
  )sql");
  ASSERT_EQ(db_->OpenDatabase(Widen(file.string())), DbStatus::Ok);
  bool ok = true;
  EXPECT_EQ(Table(&ok), L"");
  EXPECT_FALSE(ok);
  EXPECT_EQ(db_->Status(), DbStatus::BadData);
  EXPECT_THAT(Narrow(db_->ErrorText()), HasSubstr("column a"));
  EXPECT_TRUE(List().empty());
}

TEST_F(MaterialDb, ReadOnlyFolderRefusesANewDatabaseButServesAnExistingOne) {
  const fs::path locked = folder_ / "locked";
  fs::create_directories(locked / "existing");
  EnvOverride inLocked("KVX_MATERIAL_DB", (locked / "existing" / "materials.sqlite").string());
  ASSERT_EQ(db_->OpenDefaultDatabase(), DbStatus::Ok);
  fs::permissions(folder_, fs::perms::all & ~fs::perms::others_write & ~fs::perms::group_write);
  fs::permissions(locked / "existing", fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                                           fs::perms::others_exec);
  fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read | fs::perms::others_exec);

  // The superuser may write anywhere, so the check runs in a child that gives that up.
  EXPECT_EXIT(
      {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) std::_Exit(2);
        EnvOverride inNew("KVX_MATERIAL_DB", (locked / "new" / "materials.sqlite").string());
        const bool refused = db_->OpenDefaultDatabase() == DbStatus::CannotCreate && !fs::exists(locked / "new");
        EnvOverride back("KVX_MATERIAL_DB", (locked / "existing" / "materials.sqlite").string());
        const bool served = db_->OpenDefaultDatabase() == DbStatus::Ok && List().size() == 7;
        std::_Exit(refused && served ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

// ---- kvxim materials ---------------------------------------------------------------------------------

TEST_F(MaterialDb, CommandWritesOneBlockPerMaterial) {
  ASSERT_EQ(db_->OpenDefaultDatabase(), DbStatus::Ok);
  std::ostringstream out, err;
  ASSERT_EQ(RunMaterialsCommand(*db_, false, out, err), 0);
  EXPECT_EQ(err.str(), "");
  const std::string text = out.str();
  EXPECT_THAT(text, HasSubstr(defaultFile_.string()));
  EXPECT_THAT(text, HasSubstr("\nABS (tolerance group TG130)\n"));
  EXPECT_THAT(text, HasSubstr("\nAISI_304 (tolerance group ISO2768m)\n"));
  std::istringstream lines(text);
  int blocks = 0, bandLines = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.find("(tolerance group ") != std::string::npos) ++blocks;
    else if (line.starts_with("  ") && line.find("over") == std::string::npos) ++bandLines;
  }
  EXPECT_EQ(blocks, 7);
  EXPECT_EQ(bandLines, 6 * 21 + 7);
}

TEST_F(MaterialDb, CommandJsonIsAnArrayOfMaterialsWithTheirBands) {
  ASSERT_EQ(db_->OpenDefaultDatabase(), DbStatus::Ok);
  std::ostringstream out, err;
  ASSERT_EQ(RunMaterialsCommand(*db_, true, out, err), 0);
  const auto json = nlohmann::json::parse(out.str(), nullptr, false);
  ASSERT_TRUE(json.is_array()) << out.str();
  ASSERT_EQ(json.size(), 7u);
  EXPECT_EQ(json[0]["name"], "ABS");
  EXPECT_EQ(json[0]["group"], "TG130");
  EXPECT_EQ(json[0]["bands"].size(), 21u);
  EXPECT_EQ(json[6]["name"], "AISI_304");
  EXPECT_EQ(json[6]["bands"][6], (nlohmann::json{{"over", 1000.0}, {"upto", 2000.0}, {"a", 1.2}, {"b", 1.2}}));
}

TEST_F(MaterialDb, CommandReportsABadDatabaseOnOneLine) {
  const fs::path file = folder_ / "broken.sqlite";
  WriteBytes(file, std::string(8192, 'x'));
  db_->OpenDatabase(Widen(file.string()));
  for (bool json : {false, true}) {
    std::ostringstream out, err;
    EXPECT_NE(RunMaterialsCommand(*db_, json, out, err), 0);
    EXPECT_EQ(out.str(), "");
    const std::string message = err.str();
    EXPECT_THAT(message, HasSubstr(file.string()));
    EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1);
  }
}

}  // namespace
