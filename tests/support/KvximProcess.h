#pragma once
// Test support: runs the built kvxim as a user would, in a folder of the test's own that also holds its
// material database, and collects its exit code and output.
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace kvx::test {

struct ProcessResult {
  int exitCode = -1;
  std::string out;
  std::string err;
};

inline std::string ReadTextFile(const std::filesystem::path& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
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

}  // namespace kvx::test
