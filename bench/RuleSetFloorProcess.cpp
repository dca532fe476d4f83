// The round trip's floor as a whole process (pugixml only):  kvx_ruleset_floor IN OUT
#include <cstdio>

#include "RuleSetFloor.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: kvx_ruleset_floor IN OUT\n");
    return 2;
  }
  const std::size_t visited = kvx::bench::RuleSetFloor(argv[1], argv[2]);
  std::printf("%zu visited\n", visited);
  return visited == 0 ? 1 : 0;
}
