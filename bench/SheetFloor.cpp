// The floors of SheetFloors.h as a program of their own, to time them as whole processes beside
// `kvxim sheet`:  kvx_sheet_floor xlsx|xls FILE
#include <cstdio>
#include <cstring>

#include "SheetFloors.h"

int main(int argc, char** argv) {
  if (argc != 3 || (std::strcmp(argv[1], "xlsx") != 0 && std::strcmp(argv[1], "xls") != 0)) {
    std::fprintf(stderr, "usage: kvx_sheet_floor xlsx|xls FILE\n");
    return 2;
  }
  const bool xlsx = std::strcmp(argv[1], "xlsx") == 0;
  const std::size_t cells = xlsx ? kvx::bench::XlsxFloor(argv[2]) : kvx::bench::XlsFloor(argv[2]);
  std::printf("%zu cells\n", cells);
  return cells == 0 ? 1 : 0;
}
