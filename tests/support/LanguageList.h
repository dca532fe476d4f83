#pragma once
// Test support: every language the build makes a resource library for, from the comma-separated
// KVX_LANGUAGES definition the test's CMake gives (a ';' would split the definition).
#include <sstream>
#include <string>
#include <vector>

namespace kvx::test {

inline std::vector<std::string> BuiltLanguages() {
  std::vector<std::string> languages;
  std::stringstream list(KVX_LANGUAGES);
  for (std::string language; std::getline(list, language, ',');) languages.push_back(language);
  return languages;
}

}  // namespace kvx::test
