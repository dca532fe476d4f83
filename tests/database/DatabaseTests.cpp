// The material database library: factory creation, the tolerance table text, user files good and bad,
// and `kvxim materials`. Every test works in its own temporary folder and KVX_MATERIAL_DB points there,
// so the user's real database is never touched.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "../support/ScopedEnv.h"
#include "MaterialsCommand.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Text.h"
#include "kvx_db/KVXDataHelper.h"

namespace {
namespace fs = std::filesystem;
using EnvOverride = kvx::test::ScopedEnv;
using kvx::platform::Narrow;
using kvx::platform::Widen;
using kvx_db::DbStatus;
using kvx_db::MaterialEntry;
using ::testing::ElementsAre;
using ::testing::HasSubstr;


void ExecSql(const fs::path& file, const std::string& sql) {
  sqlite3* db = nullptr;
  sqlite3_open(file.c_str(), &db);
  const int result = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr);
  ASSERT_EQ(result, SQLITE_OK) << sqlite3_errmsg(db);
  sqlite3_close(db);
}

std::string SqlText(const fs::path& file, const std::string& sql) {
  sqlite3* db = nullptr;
  sqlite3_stmt* statement = nullptr;
  sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
  sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr);
  const auto* text = sqlite3_step(statement) == SQLITE_ROW ? sqlite3_column_text(statement, 0) : nullptr;
  std::string result = text ? reinterpret_cast<const char*>(text) : "";
  sqlite3_finalize(statement);
  sqlite3_close(db);
  return result;
}

std::string ReadBytes(const fs::path& file) {
  if (!fs::is_regular_file(file)) return "";
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

// The tables as a user might make them: loose types, columns in another order, and one of the user's own.
constexpr const char* kUserSchema = R"sql(
CREATE TABLE tolerance_groups (name TEXT PRIMARY KEY, source_note TEXT, colour TEXT);
CREATE TABLE materials (id INTEGER PRIMARY KEY, name TEXT, tolerance_group TEXT);
CREATE TABLE bands (tolerance_group TEXT, over REAL, upto REAL, a REAL, b REAL, position INTEGER);
)sql";

class MaterialDb : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "kvx-db-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    defaultFile_ = folder_ / "data" / "korvex" / "materials.sqlite";
    dbOverride_.emplace("KVX_MATERIAL_DB", defaultFile_.string());
  }
  void TearDown() override {
    std::error_code ignored;  // a test may leave folders without write permission
    for (const auto& entry : fs::recursive_directory_iterator(folder_, ignored)) {
      fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    }
    fs::remove_all(folder_, ignored);
  }

  fs::path UserDatabase(const std::string& rows) {
    const fs::path file = folder_ / "user.sqlite";
    ExecSql(file, kUserSchema + rows);
    return file;
  }
  DbStatus Open(const fs::path& file) { return db_->OpenDatabase(Widen(file.string())); }
  std::vector<MaterialEntry> List() {
    std::vector<MaterialEntry> materials;
    db_->ListMaterials(materials);
    return materials;
  }
  // The table text, or "failed" when the query says so (it must then leave the text empty).
  std::wstring Table() {
    std::wstring table = L"stale";
    if (db_->GetCollector()->QueryToleranceTable(table)) return table;
    return table.empty() ? L"failed" : L"failed but left text";
  }

  fs::path folder_;
  fs::path defaultFile_;
  std::optional<EnvOverride> dbOverride_;
  kvx_db::KVXDataHelper* db_ = KvxDbGetDataHelper();
};

// ---- Factory database and the table text ----------------------------------------------------------------

TEST_F(MaterialDb, DefaultDatabaseIsCreatedFromTheShippedDataAndThenLeftToTheUser) {
  ASSERT_EQ(db_->OpenDefaultDatabase(), DbStatus::Ok) << Narrow(db_->ErrorText());
  EXPECT_EQ(db_->DatabasePath(), Widen(defaultFile_.string()));
  // Written through a temporary file that is gone afterwards.
  EXPECT_EQ(std::distance(fs::directory_iterator(defaultFile_.parent_path()), fs::directory_iterator()), 1);

  auto materials = List();
  EXPECT_THAT(NamesOf(materials), ElementsAre("ABS", "PC", "PS", "PPE", "PA6-GF30", "PBT", "AISI_304"));
  for (size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(materials[i].group, L"TG130");
    ASSERT_EQ(materials[i].bands.size(), 21u);
    EXPECT_THAT(materials[i].bands[4], IsBand(10.0, 15.0, 0.23, 0.13));
    EXPECT_THAT(materials[i].bands.back(), IsBand(800.0, 1000.0, 3.0, 2.9));
  }
  EXPECT_EQ(materials.back().group, L"ISO2768m");
  EXPECT_THAT(materials.back().bands.front(), IsBand(0.5, 3.0, 0.1, 0.1));
  EXPECT_EQ(materials.back().bands.size(), 7u);
  // The groups keep where their figures come from, continuation lines included.
  const std::string tg130 = SqlText(defaultFile_, "SELECT source_note FROM tolerance_groups WHERE name = 'TG130'");
  EXPECT_THAT(tg130, HasSubstr("tolerance group 130"));
  EXPECT_THAT(tg130, HasSubstr("polyester (PBT) in group 130."));
  // The table text: every band of each material, in data order.
  const auto records = Split(Table(), L';');
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
  EXPECT_EQ(records.back(), L"AISI_304,1000,2000,1.2,1.2");

  ExecSql(defaultFile_, "DELETE FROM materials WHERE name = 'PS'; UPDATE bands SET a = 0.5 WHERE position = 1;");
  ASSERT_EQ(db_->OpenDefaultDatabase(), DbStatus::Ok);
  materials = List();
  EXPECT_THAT(NamesOf(materials), ElementsAre("ABS", "PC", "PPE", "PA6-GF30", "PBT", "AISI_304"));
  EXPECT_THAT(materials.back().bands.front(), IsBand(0.5, 3.0, 0.5, 0.1));
}

TEST_F(MaterialDb, ProgramsStartingAtOnceAllSeeTheWholeFactoryDatabase) {
  // Each round, several processes wait at one pipe and then open the missing default database together.
  constexpr int kRounds = 5;
  constexpr int kProcesses = 6;
  int incomplete = 0;
  for (int round = 0; round < kRounds; ++round) {
    fs::remove_all(defaultFile_.parent_path());
    int go[2];
    ASSERT_EQ(::pipe(go), 0);
    std::vector<pid_t> children;
    for (int i = 0; i < kProcesses; ++i) {
      const pid_t child = ::fork();
      if (child == 0) {
        ::close(go[1]);
        char byte = 0;
        if (::read(go[0], &byte, 1) < 0) ::_exit(2);
        kvx_db::KVXDataHelper* db = KvxDbGetDataHelper();
        std::vector<MaterialEntry> materials;
        std::wstring table;
        const bool whole = db->OpenDefaultDatabase() == DbStatus::Ok && db->ListMaterials(materials) == DbStatus::Ok &&
                           materials.size() == 7 && db->GetCollector()->QueryToleranceTable(table);
        if (!whole) std::fprintf(stderr, "%ls\n", db->ErrorText().c_str());
        ::_exit(whole ? 0 : 1);
      }
      children.push_back(child);
    }
    ::close(go[0]);
    ::close(go[1]);  // end of file wakes every child at once
    for (pid_t child : children) {
      int status = 0;
      ::waitpid(child, &status, 0);
      if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) ++incomplete;
    }
    EXPECT_EQ(SqlText(defaultFile_, "PRAGMA integrity_check"), "ok");
  }
  EXPECT_EQ(incomplete, 0) << "of " << kProcesses * kRounds << " processes in " << kRounds << " rounds";
  EXPECT_EQ(std::distance(fs::directory_iterator(defaultFile_.parent_path()), fs::directory_iterator()), 1);
}

TEST_F(MaterialDb, DefaultPathFollowsTheEnvironment) {
  const std::string home = (folder_ / "home").string();
  EnvOverride homeOverride("HOME", home);
  EnvOverride dataOverride("XDG_DATA_HOME", "/srv/data");
  EXPECT_EQ(db_->DefaultDatabasePath(), Widen(defaultFile_.string()));

  EnvOverride noChoice("KVX_MATERIAL_DB", std::nullopt);
  EXPECT_EQ(db_->DefaultDatabasePath(), L"/srv/data/korvex/materials.sqlite");
  EnvOverride relative("XDG_DATA_HOME", "relative/data");
  EXPECT_EQ(db_->DefaultDatabasePath(), Widen(home + "/.local/share/korvex/materials.sqlite"));

  EnvOverride noHome("HOME", std::nullopt);
  EXPECT_EQ(db_->DefaultDatabasePath(), L"");
  EXPECT_EQ(db_->OpenDefaultDatabase(), DbStatus::CannotCreate);
  EXPECT_THAT(Narrow(db_->ErrorText()), HasSubstr("KVX_MATERIAL_DB"));
}

TEST_F(MaterialDb, UserFileIsReadInPositionOrderWithPlainNumbers) {
  const fs::path file = UserDatabase(R"sql(
    INSERT INTO tolerance_groups VALUES ('Fine', 'own figures', 'red'), ('Empty', '', NULL);
    INSERT INTO materials (name, tolerance_group)
      VALUES ('PEEK', 'Fine'), ('POM', 'Empty'), ('LCP', 'Fine');
    INSERT INTO bands VALUES ('Fine', 0, 10, 0.0000001, 1e-3, 2), ('Fine', 10, 25, 12345678, 0.05, 1);
  )sql");
  ASSERT_EQ(Open(file), DbStatus::Ok) << Narrow(db_->ErrorText());
  EXPECT_EQ(db_->DatabasePath(), Widen(file.string()));

  const auto materials = List();
  EXPECT_THAT(NamesOf(materials), ElementsAre("PEEK", "POM", "LCP"));
  EXPECT_TRUE(materials[1].bands.empty());
  EXPECT_THAT(materials[0].bands, ElementsAre(IsBand(10.0, 25.0, 12345678.0, 0.05), IsBand(0.0, 10.0, 1e-7, 0.001)));
  // Bands by position (not by value), no exponents (the rules read only digits and the point), nothing
  // for a material without bands.
  EXPECT_EQ(Table(), L"PEEK,10,25,12345678,0.05;PEEK,0,10,0.0000001,0.001;"
                     L"LCP,10,25,12345678,0.05;LCP,0,10,0.0000001,0.001");
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

// ---- Files that cannot be used ------------------------------------------------------------------------

// Each is reported, gives neither rows nor table text, and is left as it was; a default file that is no
// database is never replaced by the factory one. An empty file is an empty database to the engine: none of
// the tables, and it stays empty.
TEST_F(MaterialDb, UnusableFilesAreReportedAndLeftAlone) {
  const fs::path missing = folder_ / "nowhere" / "materials.sqlite", noBands = folder_ / "no-bands.sqlite";
  fs::create_directories(defaultFile_.parent_path());
  ExecSql(noBands,
          "CREATE TABLE tolerance_groups (name, source_note); CREATE TABLE materials (id, name, tolerance_group);");
  const std::tuple<std::function<void()>, fs::path, DbStatus, std::string> cases[] = {
      {[] {}, missing, DbStatus::NotFound, missing.string()},
      {[&] { WriteBytes(defaultFile_, "material,group\nABS,TG130\n"); }, defaultFile_, DbStatus::NotADatabase, ""},
      {[&] { WriteBytes(defaultFile_, ""); }, defaultFile_, DbStatus::WrongTables, ""},
      {[&] { fs::remove(defaultFile_); fs::create_directory(defaultFile_); }, defaultFile_, DbStatus::CannotOpen, ""},
      {[] {}, noBands, DbStatus::WrongTables, "no table bands"},
      {[&] { ExecSql(noBands, "CREATE TABLE bands (tolerance_group, position, over, upto, a);"); }, noBands,
       DbStatus::WrongTables, "no column bands.b"}};
  for (const auto& [prepare, file, status, message] : cases) {
    prepare();
    SCOPED_TRACE(message);
    const std::string before = ReadBytes(file);
    EXPECT_EQ(file == defaultFile_ ? db_->OpenDefaultDatabase() : Open(file), status);
    EXPECT_EQ(db_->Status(), status);
    EXPECT_THAT(Narrow(db_->ErrorText()), HasSubstr(message));
    EXPECT_EQ(Table(), L"failed");
    EXPECT_TRUE(List().empty());
    EXPECT_EQ(ReadBytes(file), before);
  }
  EXPECT_FALSE(fs::exists(missing.parent_path()));
}

TEST_F(MaterialDb, UnreadableRowsFailTheQueryWithoutRows) {
  const fs::path file = UserDatabase(R"sql(
    INSERT INTO materials (name, tolerance_group) VALUES ('PEEK', 'G');
    INSERT INTO bands VALUES ('G', 0, 10, 0.1, 0.1, 1), ('G', 10, 20, 'n/a', 0.2, 2);
  )sql");
  ASSERT_EQ(Open(file), DbStatus::Ok);
  EXPECT_EQ(Table(), L"failed");
  EXPECT_EQ(db_->Status(), DbStatus::BadData);
  EXPECT_THAT(Narrow(db_->ErrorText()), HasSubstr("column a"));
  EXPECT_TRUE(List().empty());

  // Names the table text cannot carry (they would shift its columns or be skipped by the rule): refused,
  // so the listing and the rule never disagree.
  for (const char* name : {"", "PA6,GF30", "PC;ABS", "-1"}) {
    fs::remove(folder_ / "user.sqlite");
    const fs::path named = UserDatabase("INSERT INTO materials (name, tolerance_group) VALUES ('PEEK', 'G'), ('" +
                                        std::string(name) + "', 'G');"
                                        "INSERT INTO bands VALUES ('G', 0, 10, 0.1, 0.1, 1);");
    ASSERT_EQ(Open(named), DbStatus::Ok) << name;
    EXPECT_EQ(Table(), L"failed") << name;
    EXPECT_EQ(db_->Status(), DbStatus::BadData) << name;
    EXPECT_THAT(Narrow(db_->ErrorText()), HasSubstr("whose name")) << name;
    EXPECT_TRUE(List().empty()) << name;
  }

  // A damaged file: the table definitions (first page) intact, the pages holding the rows scrambled.
  ASSERT_EQ(db_->OpenDefaultDatabase(), DbStatus::Ok);
  std::string bytes = ReadBytes(defaultFile_);
  for (size_t i = 4096; i < bytes.size(); ++i) bytes[i] = static_cast<char>(0xA5 ^ (i * 31));
  WriteBytes(defaultFile_, bytes);
  if (db_->OpenDefaultDatabase() == DbStatus::Ok) {
    EXPECT_EQ(Table(), L"failed");
  }
  EXPECT_EQ(db_->Status(), DbStatus::NotADatabase) << Narrow(db_->ErrorText());
  EXPECT_EQ(ReadBytes(defaultFile_), bytes);
}

TEST_F(MaterialDb, ReadOnlyFolderRefusesANewDatabaseButServesAnExistingOne) {
  const fs::path locked = folder_ / "locked";
  const fs::path existing = locked / "existing" / "materials.sqlite";
  EnvOverride inLocked("KVX_MATERIAL_DB", existing.string());
  ASSERT_EQ(db_->OpenDefaultDatabase(), DbStatus::Ok);
  const auto readOnly = fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read | fs::perms::others_exec;
  fs::permissions(folder_, readOnly | fs::perms::owner_write);
  fs::permissions(existing.parent_path(), readOnly);
  fs::permissions(locked, readOnly);

  // The superuser may write anywhere, so the check runs in a child that gives that up.
  EXPECT_EXIT(
      {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) std::_Exit(2);
        EnvOverride inNew("KVX_MATERIAL_DB", (locked / "new" / "materials.sqlite").string());
        const bool refused = db_->OpenDefaultDatabase() == DbStatus::CannotCreate && !fs::exists(locked / "new");
        EnvOverride back("KVX_MATERIAL_DB", existing.string());
        const bool served = db_->OpenDefaultDatabase() == DbStatus::Ok && List().size() == 7;
        std::_Exit(refused && served ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

// ---- kvxim materials ---------------------------------------------------------------------------------

TEST_F(MaterialDb, CommandListsEveryMaterialWithItsBandsAsTextOrJsonAndABadDatabaseOnOneLine) {
  ASSERT_EQ(db_->OpenDefaultDatabase(), DbStatus::Ok);
  std::ostringstream text, json, err;
  ASSERT_EQ(RunMaterialsCommand(*db_, false, text, err), 0);
  ASSERT_EQ(RunMaterialsCommand(*db_, true, json, err), 0);
  EXPECT_EQ(err.str(), "");

  EXPECT_THAT(text.str(), HasSubstr(defaultFile_.string()));
  EXPECT_THAT(text.str(), HasSubstr("\nAISI_304 (tolerance group ISO2768m)\n"));
  std::istringstream lines(text.str());
  int blocks = 0, bandLines = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.find("(tolerance group ") != std::string::npos) ++blocks;
    else if (line.starts_with("  ") && line.find("over") == std::string::npos) ++bandLines;
  }
  EXPECT_EQ(blocks, 7);
  EXPECT_EQ(bandLines, 6 * 21 + 7);

  const auto list = nlohmann::json::parse(json.str(), nullptr, false);
  ASSERT_TRUE(list.is_array() && list.size() == 7u) << json.str();
  EXPECT_EQ(list[0]["name"], "ABS");
  EXPECT_EQ(list[0]["group"], "TG130");
  EXPECT_EQ(list[0]["bands"].size(), 21u);
  EXPECT_EQ(list[6]["bands"][6], (nlohmann::json{{"over", 1000.0}, {"upto", 2000.0}, {"a", 1.2}, {"b", 1.2}}));

  // A bad database is reported on one line.
  const fs::path file = folder_ / "broken.sqlite";
  WriteBytes(file, std::string(8192, 'x'));
  Open(file);
  for (bool asJson : {false, true}) {
    std::ostringstream out, message;
    EXPECT_NE(RunMaterialsCommand(*db_, asJson, out, message), 0);
    EXPECT_EQ(out.str(), "");
    EXPECT_THAT(message.str(), HasSubstr(file.string()));
    EXPECT_EQ(std::ranges::count(message.str(), '\n'), 1);
  }
}

}  // namespace
