#pragma once
// UTF-8 well-formedness: tables are edited by hand, and an editor that saved them in a legacy code
// page would otherwise put garbled text into the libraries without a word.
#include <string_view>

namespace kvx::rescomp {

// True when `text` is well-formed UTF-8 (no overlong forms, surrogates or code points past U+10FFFF).
bool IsValidUtf8(std::string_view text);

}  // namespace kvx::rescomp
