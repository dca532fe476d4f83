// kvx_rescomp: compiles a language's string table and pictures into the C++ source of its
// resource library. Problems are printed as "file:line: error: ..." and make the exit status 1;
// the output file is then left as it was.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "Pictures.h"
#include "Placeholders.h"
#include "SourceWriter.h"
#include "StringTable.h"
#include "kvx/platform/FileSystem.h"
#include "kvx/platform/Text.h"

namespace {

namespace fs = std::filesystem;
using kvx::rescomp::Diagnostics;

constexpr int kInputError = 1;

struct Options {
  fs::path table;
  std::vector<fs::path> pictureFolders;
  fs::path reference;
  fs::path output;
};

void Print(const Diagnostics& diagnostics) {
  for (const auto& diagnostic : diagnostics) std::cerr << diagnostic.ToString() << '\n';
}

// Warnings only: a translation with a wrong placeholder still builds, and its texts are checked
// again when they are used as formats.
void WarnAboutPlaceholders(const kvx::rescomp::StringTable& table, const fs::path& referencePath) {
  const auto reference = kvx::rescomp::ReadStringTable(referencePath);
  if (!reference.ok()) {
    std::cerr << referencePath.string() << ": warning: reference table unusable, placeholders not compared\n";
    return;
  }
  Print(kvx::rescomp::ComparePlaceholders(table, reference.table));
}

int Compile(const Options& options) {
  const auto parse = kvx::rescomp::ReadStringTable(options.table);
  const auto pictures = kvx::rescomp::CollectPictures(options.pictureFolders);
  Print(parse.errors);
  Print(pictures.errors);
  if (!parse.ok() || !pictures.ok()) return kInputError;
  if (!options.reference.empty()) WarnAboutPlaceholders(parse.table, options.reference);

  const std::string source = kvx::rescomp::GenerateResourceSource(parse.table, pictures.pictures);
  std::wstring error;
  if (!kvx::platform::WriteFileAtomically(kvx::platform::Widen(options.output.string()), source, &error)) {
    std::cerr << options.output.string() << ": error: cannot write: " << kvx::platform::Narrow(error) << '\n';
    return kInputError;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Compiles a string table and its pictures into the C++ source of a resource library."};
  Options options;
  app.add_option("--table", options.table, "UTF-8 string table (<id><TAB><text> lines)")->required();
  app.add_option("--pictures", options.pictureFolders,
                 "folder of <id>.svg pictures; repeat it, earlier folders win");
  app.add_option("--reference", options.reference,
                 "table whose placeholders this one must keep (mismatches are warnings)");
  app.add_option("--output", options.output, "C++ source to write")->required();
  CLI11_PARSE(app, argc, argv);
  return Compile(options);
}
