#pragma once
// Rule pictures of a resource library: files named "<id>.svg" in one or more folders.
#include <filesystem>
#include <string>
#include <vector>

#include "Diagnostic.h"

namespace kvx::rescomp {

struct PictureEntry {
  int id = 0;
  std::string format;                 // "svg"
  std::string bytes;                  // the file's content as it stands
  std::filesystem::path source;
};

struct PictureScan {
  std::vector<PictureEntry> pictures;  // sorted by id
  Diagnostics errors;
  bool ok() const { return errors.empty(); }
};

// Collects the pictures of `folders`, searched in order: a picture found in an earlier folder hides
// one with the same id in a later folder (a language's own drawing before the shared one).
// A missing folder, a file not named "<id>.svg", a duplicate id within one folder or an empty or
// unreadable file is an error; names starting with "." are ignored.
PictureScan CollectPictures(const std::vector<std::filesystem::path>& folders);

}  // namespace kvx::rescomp
