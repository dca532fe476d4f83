// The rule-set round trip through the module's exports (RuleSetRoundTrip.h) beside its floor, pugixml
// alone (RuleSetFloor.h), measured in the same run; the creation and release of rules; and the resident
// memory across 100,000 cycles of each. Whole-process time and peak memory: run-ruleset-processes.sh.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "RuleSetFloor.h"
#include "RuleSetRoundTrip.h"

namespace fs = std::filesystem;

namespace {

std::string DataPath(const std::string& name) { return (fs::path(KVX_BENCH_DATA_DIR) / name).string(); }

// One module for the whole run, as a host keeps it; its database is a private copy in the data folder.
kvxim::ModuleHost& Host() {
  static std::unique_ptr<kvxim::ModuleHost> host = [] {
    fs::create_directories(KVX_BENCH_DATA_DIR);
    // Through the default road, which creates the database when it is missing (an explicit path does not):
    // without its tolerance table the samples would lack a quarter of their values.
    ::setenv("KVX_MATERIAL_DB", DataPath("materials.sqlite").c_str(), 1);
    std::wstring error, warning;
    auto loaded = kvxim::ModuleHost::Load(L"", error, warning);
    if (!loaded || !warning.empty()) {
      std::fprintf(stderr, "%s\n", kvx::platform::Narrow(loaded ? warning : error).c_str());
      std::exit(1);
    }
    return loaded;
  }();
  return *host;
}

std::string Sample(int rules) {
  const std::string path = DataPath("rules-" + std::to_string(rules) + ".xml");
  if (!kvx::bench::WriteSampleRuleSet(Host(), rules, path)) {
    std::fprintf(stderr, "cannot write %s\n", path.c_str());
    std::exit(1);
  }
  return path;
}

double ResidentKiB() {
  long pages = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1024.0;
}

void SetFileCounters(benchmark::State& state, const std::string& path) {
  state.counters["MB"] = static_cast<double>(fs::file_size(path)) / 1e6;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * fs::file_size(path)));
}

void BM_RuleSetFloor(benchmark::State& state) {
  const std::string input = Sample(static_cast<int>(state.range(0)));
  const std::string output = DataPath("floor-out.xml");
  for (auto _ : state) {
    if (kvx::bench::RuleSetFloor(input, output) == 0) state.SkipWithError("floor failed");
  }
  SetFileCounters(state, input);
}

void BM_RuleSetRoundTrip(benchmark::State& state) {
  const std::string input = Sample(static_cast<int>(state.range(0)));
  const std::string output = DataPath("roundtrip-out.xml");
  for (auto _ : state) {
    if (kvx::bench::RuleSetRoundTrip(Host(), input, output) != static_cast<size_t>(state.range(0))) {
      state.SkipWithError("round trip lost rules");
    }
  }
  SetFileCounters(state, input);
}

// One GetAllRules and the release of every rule it made.
void BM_AllRulesDeleteAll(benchmark::State& state) {
  for (auto _ : state) {
    kvx::bench::RuleBatch rules(Host());
    kvx::bench::CollectAllRules(Host(), rules);
  }
}

// GetRule and DeleteRule on each factory record in turn.
void BM_GetRuleDeleteRule(benchmark::State& state) {
  std::wstring error;
  Host().Document().LoadFile(kvx::platform::Widen(Sample(20)), error);
  const auto nodes = Host().Document().GetRootNode()->GetNodeList(L"Rule");
  int index = 0;
  for (auto _ : state) {
    CKvxRule* rule = nullptr;
    Host().GetRule(nodes->GetItem(index).get(), &rule);
    Host().DeleteRule(&rule);
    index = (index + 1) % nodes->GetSize();
  }
}

// Resident memory after 100,000 cycles beside after the first 1,000: flat when nothing leaks or grows.
void BM_MemoryAcrossCycles(benchmark::State& state) {
  const bool allRules = state.range(0) == 1;
  std::wstring error;
  Host().Document().LoadFile(kvx::platform::Widen(Sample(20)), error);
  const auto nodes = Host().Document().GetRootNode()->GetNodeList(L"Rule");
  const auto cycle = [&](int i) {
    if (allRules) {
      kvx::bench::RuleBatch rules(Host());
      kvx::bench::CollectAllRules(Host(), rules);
      return;
    }
    CKvxRule* rule = nullptr;
    Host().GetRule(nodes->GetItem(i % nodes->GetSize()).get(), &rule);
    Host().DeleteRule(&rule);
  };
  for (auto _ : state) {
    for (int i = 0; i < 1000; ++i) cycle(i);
    const double settled = ResidentKiB();
    for (int i = 1000; i < 100000; ++i) cycle(i);
    state.counters["growth_KiB"] = ResidentKiB() - settled;
    state.counters["resident_KiB"] = ResidentKiB();
  }
}

}  // namespace

BENCHMARK(BM_RuleSetFloor)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RuleSetRoundTrip)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AllRulesDeleteAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GetRuleDeleteRule)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MemoryAcrossCycles)->ArgName("all_rules")->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
