// The rule-set round trip as a whole process, for run-ruleset-processes.sh:
//   kvx_ruleset_process roundtrip IN OUT   load, GetRule on every node, GetXML into a new document, save
//   kvx_ruleset_process load               only load the module and its database (the start-up cost)
// KVX_MATERIAL_DB (or the default database) is used as kvxim would.
#include <cstdio>
#include <cstring>

#include "RuleSetRoundTrip.h"

int main(int argc, char** argv) {
  const bool roundTrip = argc == 4 && std::strcmp(argv[1], "roundtrip") == 0;
  if (!roundTrip && !(argc == 2 && std::strcmp(argv[1], "load") == 0)) {
    std::fprintf(stderr, "usage: kvx_ruleset_process roundtrip IN OUT | load\n");
    return 2;
  }
  std::wstring error, warning;
  auto host = kvxim::ModuleHost::Load(L"", error, warning);
  if (!host) {
    std::fprintf(stderr, "%s\n", kvx::platform::Narrow(error).c_str());
    return 1;
  }
  if (!roundTrip) return 0;
  const std::size_t rules = kvx::bench::RuleSetRoundTrip(*host, argv[2], argv[3]);
  std::printf("%zu rules\n", rules);
  return rules == 0 ? 1 : 0;
}
