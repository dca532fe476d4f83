#include "Diagnostic.h"

namespace kvx::rescomp {

std::string Diagnostic::ToString() const {
  std::string text = file;
  if (line > 0) text += ":" + std::to_string(line);
  return text + ": error: " + message;
}

}  // namespace kvx::rescomp
