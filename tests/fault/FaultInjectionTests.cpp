// Saves and the material database's first creation under injected faults: file-system calls that fail
// with a chosen error (through the LD_PRELOAD shim beside this file) and kills at chosen calls or at
// random moments. After every fault the old file is intact or the new one complete, nothing temporary
// stays behind, and a failure is explained with the system's reason.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Environment = std::vector<std::pair<std::string, std::string>>;

constexpr int kKill = 0;  // as the error of a fault: the process is killed at that call instead

struct Fault {
  const char* call;  // open, write, fsync, link or rename (see FaultShim.c)
  long after;        // calls that succeed first; bytes, for a write whose `bytes` is set
  bool bytes;
  int error;
};

std::string Describe(const Fault& fault) {
  return std::string(fault.call) + " after " + std::to_string(fault.after) + (fault.bytes ? " bytes: " : " calls: ") +
         (fault.error == kKill ? "killed" : std::strerror(fault.error));
}

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

// The names in `folder` other than `keep`: what a write left behind.
std::vector<std::string> LeftIn(const fs::path& folder, const std::string& keep) {
  std::vector<std::string> left;
  for (const auto& entry : fs::directory_iterator(folder))
    if (entry.path().filename() != keep) left.push_back(entry.path().filename().string());
  return left;
}

struct Finished {
  bool killed = false;
  int exitCode = -1;
  std::string err;
};

// kvxim as its own process, standard error into `errFile`, `environment` added to ours.
struct Kvxim {
  fs::path errFile;
  pid_t pid = ::fork();

  Kvxim(std::vector<std::string> args, const Environment& environment, fs::path err) : errFile(std::move(err)) {
    if (pid != 0) return;
    for (const auto& [name, value] : environment) ::setenv(name.c_str(), value.c_str(), 1);
    ::dup2(::open("/dev/null", O_RDWR), 0);
    ::dup2(::open("/dev/null", O_RDWR), 1);
    ::dup2(::open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 2);
    args.insert(args.begin(), KVX_BIN_DIR "/kvxim");
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }

  Finished Wait() const {
    int status = 0;
    ::waitpid(pid, &status, 0);
    return {WIFSIGNALED(status), WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(errFile)};
  }
};

class Faults : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("kvx-fault-" + std::to_string(::getpid()) + "-" +
                                          ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(folder_ / "out");
    factory_ = folder_ / "factory.xml", inches_ = folder_ / "inches.xml", target_ = folder_ / "out" / "rules.xml";
    plain_ = Database(folder_ / "materials.sqlite");
  }
  void TearDown() override { fs::remove_all(folder_); }

  Environment Database(const fs::path& file) const { return {{"KVX_MATERIAL_DB", file.string()}}; }

  // The shim, set to inject `fault` into calls on paths under `folder`.
  Environment Injecting(const Fault& fault, const fs::path& folder, bool noUnnamedFiles) const {
    return {{"KVX_MATERIAL_DB", (folder_ / "materials.sqlite").string()}, {"LD_PRELOAD", KVX_FAULT_SHIM},
            {"KVX_FAULT_CALL", fault.call}, {"KVX_FAULT_PATH", folder.string()},
            {fault.bytes ? "KVX_FAULT_BYTES" : "KVX_FAULT_AFTER", std::to_string(fault.after)},
            {"KVX_FAULT_ERRNO", std::to_string(fault.error)}, {"KVX_FAULT_NO_TMPFILE", noUnnamedFiles ? "1" : "0"}};
  }

  Finished Run(const std::vector<std::string>& args, const Environment& environment) const {
    return Kvxim(args, environment, folder_ / "stderr").Wait();
  }

  // Runs kvxim without faults; fails the test when it does not succeed.
  void RunCleanly(const std::vector<std::string>& args, const Environment& environment) const {
    const Finished run = Run(args, environment);
    ASSERT_EQ(run.exitCode, 0) << run.err;
  }

  // A material database that SQLite finds sound and that holds the whole factory data.
  static std::string DatabaseProblem(const fs::path& file) {
    sqlite3* db = nullptr;
    std::string problem;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) problem = "cannot be opened";
    const auto text = [&](const char* sql) {
      sqlite3_stmt* statement = nullptr;
      sqlite3_prepare_v2(db, sql, -1, &statement, nullptr);
      std::string result = sqlite3_step(statement) == SQLITE_ROW ? (const char*)sqlite3_column_text(statement, 0) : "";
      sqlite3_finalize(statement);
      return result;
    };
    if (problem.empty() && text("PRAGMA integrity_check") != "ok") problem = "fails the integrity check";
    if (problem.empty() && text("SELECT count(*) FROM materials") != "7") problem = "lacks materials";
    sqlite3_close(db);
    return problem;
  }

  std::vector<std::string> ConvertTo(const fs::path& file) const {
    return {"convert", factory_.string(), "--length", "inch", "--angle", "radian", "-o", file.string()};
  }

  // The factory rule set, and the same in inches; returns how long the conversion took.
  std::chrono::steady_clock::duration WriteRuleSets() const {
    RunCleanly({"new", "-o", factory_.string()}, plain_);
    const auto started = std::chrono::steady_clock::now();
    RunCleanly(ConvertTo(inches_), plain_);
    return std::chrono::steady_clock::now() - started;
  }

  fs::path folder_, factory_, inches_, target_;
  Environment plain_;  // no faults
};

const Fault kErrorFaults[] = {
    {"open", 0, false, EACCES}, {"write", 0, true, ENOSPC}, {"write", 4096, true, EDQUOT},
    {"fsync", 0, false, EIO},   {"link", 0, false, ENOSPC}, {"rename", 0, false, EROFS},
};
const Fault kKills[] = {
    {"open", 0, false, kKill},  {"write", 4096, true, kKill}, {"fsync", 0, false, kKill},
    {"link", 0, false, kKill},  {"rename", 0, false, kKill},  {"fsync", 1, false, kKill},
};

TEST_F(Faults, SavedRuleSetIsTheOldOneOrTheNewOneWhole) {
  WriteRuleSets();
  const struct {
    std::vector<std::string> args;
    fs::path old, written;
    bool noUnnamedFiles;
  } saves[] = {
      {{"new", "-o", target_.string()}, inches_, factory_, false},
      {{"new", "-o", target_.string()}, inches_, factory_, true},
      {ConvertTo(target_), factory_, inches_, false},
  };
  std::vector<Fault> faults(std::begin(kErrorFaults), std::end(kErrorFaults));
  faults.insert(faults.end(), std::begin(kKills), std::end(kKills));
  int tries = 0, oldIntact = 0, newComplete = 0;
  for (const auto& save : saves) {
    const std::string old = ReadFile(save.old), written = ReadFile(save.written);
    for (const Fault& fault : faults) {
      SCOPED_TRACE(save.args.front() + (save.noUnnamedFiles ? " (named temporary files), " : ", ") + Describe(fault));
      fs::copy_file(save.old, target_, fs::copy_options::overwrite_existing);
      const Finished run = Run(save.args, Injecting(fault, target_.parent_path(), save.noUnnamedFiles));
      const std::string now = ReadFile(target_);
      ++tries;
      oldIntact += now == old;
      newComplete += now == written;
      EXPECT_TRUE(now == old || now == written) << "damaged: " << now.size() << " bytes";
      if (run.exitCode == 0) { EXPECT_EQ(now, written); }
      if (fault.error != kKill && run.exitCode != 0) {
        EXPECT_NE(run.err.find(target_.string() + ": " + std::strerror(fault.error)), std::string::npos) << run.err;
      }
      // A failed write cleans up at once; what a killed one left is gone after the next write.
      if (fault.error == kKill) RunCleanly(save.args, plain_);
      EXPECT_EQ(LeftIn(target_.parent_path(), "rules.xml"), std::vector<std::string>{});
    }
  }
  std::printf("rule-set saves under faults: %d tries, %d old files intact, %d new files complete, %d damaged\n",
              tries, oldIntact, newComplete, tries - oldIntact - newComplete);
}

TEST_F(Faults, FirstMaterialDatabaseIsWholeOrAbsent) {
  const fs::path folder = folder_ / "db", database = folder / "materials.sqlite";
  std::vector<Fault> faults(std::begin(kErrorFaults), std::end(kErrorFaults) - 1);  // no rename: it links
  faults.push_back({"open", 1, false, EACCES});                                    // SQLite cannot open it
  faults.insert(faults.end(), std::begin(kKills), std::end(kKills) - 2);
  faults.push_back({"open", 1, false, kKill});
  int tries = 0, whole = 0, damaged = 0;
  for (const Fault& fault : faults) {
    SCOPED_TRACE(Describe(fault));
    fs::remove_all(folder);
    Environment environment = Injecting(fault, folder, false);
    environment.push_back({"KVX_MATERIAL_DB", database.string()});  // set last: it wins
    const Finished run = Run({"materials"}, environment);
    ++tries;
    if (fs::exists(database)) {
      ++whole;
      damaged += !DatabaseProblem(database).empty();
    }
    if (fault.error != kKill && run.exitCode != 0) {
      EXPECT_NE(run.err.find(std::strerror(fault.error)), std::string::npos) << run.err;
    }
    if (fault.error != kKill) { EXPECT_EQ(LeftIn(folder, "materials.sqlite"), std::vector<std::string>{}); }
    RunCleanly({"materials"}, Database(database));
    EXPECT_EQ(DatabaseProblem(database), "");
    EXPECT_EQ(LeftIn(folder, "materials.sqlite"), std::vector<std::string>{});
  }
  std::printf("first database creation under faults: %d tries, %d left none, %d whole, %d damaged\n", tries,
              tries - whole, whole, damaged);
  EXPECT_EQ(damaged, 0);
}

// Kills at random moments of a save and of the first database creation, and programs that run at once.
TEST_F(Faults, KilledAtRandomOrRunningAtOnceLeaveAValidResult) {
  const fs::path database = folder_ / "db" / "materials.sqlite";
  const auto usual = WriteRuleSets();  // how long a kill may wait: up to a whole run
  const std::string old = ReadFile(inches_), written = ReadFile(factory_);
  const std::vector<std::string> save = {"new", "-o", target_.string()};
  std::mt19937 random(std::random_device{}());
  std::uniform_int_distribution<long> moment(0, std::chrono::duration_cast<std::chrono::microseconds>(usual).count());
  int tries = 0, valid = 0;
  for (int round = 0; round < 6; ++round) {
    fs::remove_all(database.parent_path());
    fs::copy_file(inches_, target_, fs::copy_options::overwrite_existing);
    const Kvxim saving(save, plain_, folder_ / "stderr-save");
    const Kvxim creating({"materials"}, Database(database), folder_ / "stderr-db");
    std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
    ::kill(saving.pid, SIGKILL);
    ::kill(creating.pid, SIGKILL);
    saving.Wait();
    creating.Wait();
    tries += 2;
    valid += ReadFile(target_) == old || ReadFile(target_) == written;
    valid += !fs::exists(database) || DatabaseProblem(database).empty();
  }
  for (int round = 0; round < 3; ++round) {
    fs::remove_all(database.parent_path());
    std::vector<Kvxim> running;
    // The savers also find no database: none may warn or write a rule set without the tolerance table.
    for (int i = 0; i < 3; ++i) {
      running.emplace_back(save, Database(database), folder_ / ("stderr-save" + std::to_string(i)));
      running.emplace_back(std::vector<std::string>{"materials"}, Database(database),
                           folder_ / ("stderr-db" + std::to_string(i)));
    }
    for (const Kvxim& program : running) {
      const Finished run = program.Wait();
      EXPECT_EQ(run.exitCode, 0) << run.err;
      EXPECT_EQ(run.err, "") << "no warning";
    }
    tries += 2;
    valid += ReadFile(target_) == written;
    valid += DatabaseProblem(database).empty();
  }
  RunCleanly(save, plain_);
  RunCleanly({"materials"}, Database(database));
  EXPECT_EQ(LeftIn(target_.parent_path(), "rules.xml"), std::vector<std::string>{});
  EXPECT_EQ(LeftIn(database.parent_path(), "materials.sqlite"), std::vector<std::string>{});
  std::printf("killed at random or running at once: %d tries, %d valid results\n", tries, valid);
  EXPECT_EQ(valid, tries);
}

}  // namespace
