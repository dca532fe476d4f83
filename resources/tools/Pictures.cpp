#include "Pictures.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

#include "StringTable.h"

namespace kvx::rescomp {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPictureExtension = ".svg";

// The folder's entries in name order, so that the generated source does not depend on the file system.
std::vector<fs::directory_entry> SortedEntries(const fs::path& folder, std::error_code& error) {
  std::vector<fs::directory_entry> entries;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    entries.push_back(*it);
  }
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.path().filename() < b.path().filename(); });
  return entries;
}

bool ReadWholeFile(const fs::path& file, std::string* bytes) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return false;
  std::ostringstream content;
  content << stream.rdbuf();
  *bytes = std::move(content).str();
  return !stream.bad();
}

class PictureCollector {
 public:
  void ScanFolder(const fs::path& folder) {
    std::error_code error;
    if (!fs::is_directory(folder, error)) return Fail(folder, "picture folder not found");
    std::map<int, fs::path> seenInFolder;
    for (const auto& entry : SortedEntries(folder, error)) {
      if (entry.path().filename().string().starts_with('.')) continue;
      ScanFile(entry, seenInFolder);
    }
    if (error) Fail(folder, "cannot list the folder: " + error.message());
  }

  PictureScan Finish() {
    PictureScan scan;
    for (auto& [id, picture] : byId_) scan.pictures.push_back(std::move(picture));
    scan.errors = std::move(errors_);
    return scan;
  }

 private:
  void ScanFile(const fs::directory_entry& entry, std::map<int, fs::path>& seenInFolder) {
    const fs::path& path = entry.path();
    std::error_code error;
    if (!entry.is_regular_file(error) || path.extension() != kPictureExtension) {
      return Fail(path, "unexpected entry; pictures are files named <id>.svg");
    }
    const IdParse id = ParseResourceId(path.stem().string());
    if (id.status != IdParse::Status::Ok) {
      return Fail(path, "the file name must be a resource id in 1..65535 followed by .svg");
    }
    const auto [previous, inserted] = seenInFolder.emplace(id.id, path);
    if (!inserted) {
      return Fail(path, "duplicate picture id " + std::to_string(id.id) + " (also " + previous->second.string() + ")");
    }
    if (byId_.contains(id.id)) return;  // hidden by the same id in an earlier folder
    PictureEntry picture{id.id, "svg", {}, path};
    if (!ReadWholeFile(path, &picture.bytes)) return Fail(path, "cannot read the picture");
    if (picture.bytes.empty()) return Fail(path, "the picture file is empty");
    byId_.emplace(id.id, std::move(picture));
  }

  void Fail(const fs::path& path, std::string message) {
    errors_.push_back({path.string(), 0, std::move(message)});
  }

  std::map<int, PictureEntry> byId_;
  Diagnostics errors_;
};

}  // namespace

PictureScan CollectPictures(const std::vector<fs::path>& folders) {
  PictureCollector collector;
  for (const auto& folder : folders) collector.ScanFolder(folder);
  return collector.Finish();
}

}  // namespace kvx::rescomp
