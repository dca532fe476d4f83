#pragma once
// Test support: runs the built kvxim as a user would, in a folder of the test's own that also holds its
// material database, and collects its exit code and output.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>

namespace kvx::test {

struct ProcessResult {
  int exitCode = -1;
  std::string out;
  std::string err;
};

inline std::string ReadTextFile(const std::filesystem::path& path) {
  std::ifstream in(path);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Runs kvxim with `args` (shell-quoted) and no standard input; `environment` goes first ("env -u NAME").
inline ProcessResult RunKvxim(const std::filesystem::path& folder, const std::string& args,
                              const std::string& environment = "") {
  const std::filesystem::path out = folder / "stdout", err = folder / "stderr";
  const std::string command = environment + " KVX_MATERIAL_DB='" + (folder / "materials.sqlite").string() + "' " +
                              std::string(KVX_BIN_DIR) + "/kvxim " + args + " >'" + out.string() + "' 2>'" +
                              err.string() + "' </dev/null";
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadTextFile(out), ReadTextFile(err)};
}

// A folder of the test's own, removed afterwards, where kvxim runs with its own material database.
class KvximFolder : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() /
              ("kvxim-" + std::to_string(getpid()) + "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(folder_);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  ProcessResult Run(const std::string& args, const std::string& environment = "") {
    return RunKvxim(folder_, args, environment);
  }
  // The JSON kvxim prints for `args`, which must succeed; an empty array when it does not.
  nlohmann::json Json(const std::string& args) {
    const ProcessResult result = Run(args);
    EXPECT_EQ(result.exitCode, 0) << args << ": " << result.err;
    return result.exitCode == 0 ? nlohmann::json::parse(result.out) : nlohmann::json::array();
  }
  std::string Path(const std::string& name) const { return (folder_ / name).string(); }
  void Write(const std::string& name, const std::string& text) const { std::ofstream(folder_ / name) << text; }

  std::filesystem::path folder_;
};

}  // namespace kvx::test
