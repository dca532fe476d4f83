#pragma once
// Small helpers shared by the platform tests: a scratch folder, whole-file reads and writes, and scoped
// environment changes.
#include "../support/ScopedEnv.h"
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace kvx::test {

// A fresh folder under the system's temporary folder, removed with everything in it at the end.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kvx-platform-XXXXXX").string();
    if (::mkdtemp(pattern.data())) path_ = pattern;
  }
  ~ScratchFolder() {
    namespace fs = std::filesystem;
    std::error_code ignored;
    // Folders a test made read-only must become writable again before they can be emptied.
    fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ignored);
    for (const auto& entry : fs::recursive_directory_iterator(path_, ignored))
      fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

inline std::string ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline void WriteWholeFile(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// Permission checks do not apply to the superuser, so tests that need a refused write skip there.
#define KVX_SKIP_IF_SUPERUSER() \
  if (::geteuid() == 0) GTEST_SKIP() << "permission checks do not bind root"

}  // namespace kvx::test
