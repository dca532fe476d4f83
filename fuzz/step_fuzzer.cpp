// A STEP part through the checker on any bytes: read, repaired, triangulated and measured for every rule
// the checker evaluates, within a time allowance per input as the command gives one part. A file that
// cannot be read is refused with a reason; a file that can must give a report.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "kvx/checker/Check.h"
#include "kvx/checker/Output.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kvx::checker;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const PartCheck checked = CheckStepBytes(bytes, {}, {}, std::chrono::milliseconds(2000));
  if (!checked.read.ok) {
    if (checked.read.error.empty()) {
      std::fprintf(stderr, "a refused part gives no reason\n");
      std::abort();
    }
    return 0;
  }
  ReportToJson(checked.read.part, checked.report).dump();
  return 0;
}
