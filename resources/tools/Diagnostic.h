#pragma once
// Messages the resource compiler reports about its input, in the "file:line: error: text" form
// that editors and build logs turn into links.
#include <string>
#include <vector>

namespace kvx::rescomp {

struct Diagnostic {
  std::string file;
  int line = 0;  // 0 when the message is about the file as a whole
  std::string message;

  // "file:line: error: message" (the line is left out when it is 0).
  std::string ToString() const;
};

using Diagnostics = std::vector<Diagnostic>;

}  // namespace kvx::rescomp
