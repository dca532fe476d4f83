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

// A translation is checked against the English table: a wrong placeholder or a missing text stops the
// build here rather than showing a broken or English text to a user.
Diagnostics CompareWithReference(const kvx::rescomp::StringTable& table, const fs::path& referencePath) {
  const auto reference = kvx::rescomp::ReadStringTable(referencePath);
  if (!reference.ok()) return reference.errors;
  return kvx::rescomp::CompareWithReference(table, reference.table);
}

int Compile(const Options& options) {
  const auto parse = kvx::rescomp::ReadStringTable(options.table);
  const auto pictures = kvx::rescomp::CollectPictures(options.pictureFolders);
  Print(parse.errors);
  Print(pictures.errors);
  if (!parse.ok() || !pictures.ok()) return kInputError;
  Diagnostics problems = kvx::rescomp::CheckFieldSizes(parse.table);
  if (!options.reference.empty()) {
    const Diagnostics translation = CompareWithReference(parse.table, options.reference);
    problems.insert(problems.end(), translation.begin(), translation.end());
  }
  Print(problems);
  if (!problems.empty()) return kInputError;

  const std::string source = kvx::rescomp::GenerateResourceSource(parse.table, pictures.pictures);
  const kvx::platform::WriteResult written = kvx::platform::WriteFileAtomically(kvx::platform::Widen(options.output.string()), source);
  if (!written) {
    std::cerr << options.output.string() << ": error: " << kvx::platform::Narrow(written.description) << '\n';
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
                 "the English table this translation must match (ids and placeholders)");
  app.add_option("--output", options.output, "C++ source to write")->required();
  CLI11_PARSE(app, argc, argv);
  return Compile(options);
}
