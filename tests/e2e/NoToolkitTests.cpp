// A host that opens no dialog loads no toolkit: neither the module's file nor listing, loading and saving
// rules bring in a Qt library. This program links no Qt itself, so whatever Qt shows up the module brought.
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "ModuleLoader.h"

namespace kvx::test {
namespace {

// The lines of `text` that name a Qt library.
std::string QtLines(std::istream&& text) {
  std::string found;
  for (std::string line; std::getline(text, line);) {
    if (line.find("libQt") != std::string::npos) found += line + "\n";
  }
  return found;
}

TEST(NoToolkit, ListingLoadingAndSavingRulesLoadNoQtLibrary) {
  LoadedModule module;
  std::vector<CKvxRule*> rules = module.AllRules();
  ASSERT_FALSE(rules.empty());
  auto root = module.document.CreateRootNode(L"RuleSet");
  for (CKvxRule* rule : rules) {
    if (auto node = rule->GetXML()) root->AppendNode(node.get());
  }
  module.Release(rules);
  const auto nodes = root->GetNodeList(L"Rule");
  for (int i = 0; i < nodes->GetSize(); ++i) {
    CKvxRule* rule = nullptr;
    module.GetRule(nodes->GetItem(i).get(), &rule);
    ASSERT_NE(rule, nullptr);
    module.DeleteRule(&rule);
  }
  const std::string file = ::testing::TempDir() + "/no-toolkit-rules.xml";
  std::wstring error;
  ASSERT_TRUE(module.document.SaveFile(kvx::platform::Widen(file), error)) << kvx::platform::Narrow(error);
  std::remove(file.c_str());

  EXPECT_EQ(QtLines(std::ifstream("/proc/self/maps")), "");
  const std::string needed = CommandOutput("ldd " KVX_BIN_DIR "/libKVXIMRulesu.so");
  ASSERT_NE(needed.find("libc.so"), std::string::npos) << needed;
  EXPECT_EQ(QtLines(std::istringstream(needed)), "") << "the module's file needs no Qt library either";
}

}  // namespace
}  // namespace kvx::test
