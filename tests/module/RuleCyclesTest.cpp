// Rules made and released over and over through the module's exports leave the resident memory flat: what
// leaks or keeps growing while still reachable (a cache, a list that never shrinks) shows as growth after
// the warm-up. The 100,000-cycle count is the benchmark's (bench/RuleSetBench.cpp).
#include <unistd.h>

#include <fstream>
#include <functional>

#include "../e2e/ModuleLoader.h"

#if defined(__SANITIZE_ADDRESS__)
// Freed memory held back by the sanitizer would grow the resident set up to its quarantine's bound; a small
// bound is reached within the warm-up. The runtime looks the hook up by name: it must stay visible.
extern "C" __attribute__((visibility("default"), used)) const char* __asan_default_options() {
  return "quarantine_size_mb=1";
}
#endif

namespace kvx::test {
namespace {

long ResidentKiB() {
  long pages = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

TEST(RuleCycles, ResidentMemoryStaysFlatAcrossCreationAndRelease) {
  constexpr int kWarmUp = 200;
  constexpr int kCycles = 2000;
  // Far below a rule lost per cycle (a few KiB each), far above the heap's page-sized steps.
  constexpr long kMarginKiB = 4096;

  LoadedModule module;
  auto root = module.document.CreateRootNode(L"RuleSet");
  auto factory = module.AllRules();
  for (CKvxRule* rule : factory) {
    if (auto node = rule->GetXML()) root->AppendNode(node.get());
  }
  const size_t ruleCount = factory.size();
  module.Release(factory);
  const auto nodes = root->GetNodeList(L"Rule");
  ASSERT_EQ(nodes->GetSize(), static_cast<int>(ruleCount));
  ASSERT_GT(nodes->GetSize(), 0);

  const std::pair<const char*, std::function<void(int)>> cycles[] = {
      {"GetRule and DeleteRule",
       [&](int i) {
         CKvxRule* rule = nullptr;
         module.GetRule(nodes->GetItem(i % nodes->GetSize()).get(), &rule);
         ASSERT_NE(rule, nullptr);
         module.DeleteRule(&rule);
       }},
      {"GetAllRules and DeleteRule of every rule",
       [&](int) {
         auto all = module.AllRules();
         ASSERT_EQ(all.size(), ruleCount);
         module.Release(all);
       }},
  };
  for (const auto& [name, cycle] : cycles) {
    SCOPED_TRACE(name);
    for (int i = 0; i < kWarmUp; ++i) cycle(i);
    const long settled = ResidentKiB();
    for (int i = 0; i < kCycles && !HasFatalFailure(); ++i) cycle(i);
    EXPECT_LT(ResidentKiB() - settled, kMarginKiB) << "resident " << ResidentKiB() << " KiB";
  }
}

}  // namespace
}  // namespace kvx::test
