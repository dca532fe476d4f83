#pragma once
// Small helpers shared by the platform tests: a scratch folder and scoped environment changes.
#include "../support/ScopedEnv.h"
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
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
    std::error_code ignored;
    // Folders a test made read-only must become writable again before they can be emptied.
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path_, ignored)) {
      if (entry.is_directory(ignored)) std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_all,
                                                                     std::filesystem::perm_options::add, ignored);
    }
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all, std::filesystem::perm_options::add,
                                 ignored);
    std::filesystem::remove_all(path_, ignored);
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
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

inline void WriteWholeFile(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// Permission checks do not apply to the superuser, so tests that need a refused write skip there.
#define KVX_SKIP_IF_SUPERUSER()                                                   \
  do {                                                                            \
    if (::geteuid() == 0) GTEST_SKIP() << "permission checks do not bind root";   \
  } while (0)

}  // namespace kvx::test
