#pragma once
// Filling a resource format with a run-time number of texts (the rules pass up to four).
#include <string>
#include <vector>

#include "kvx/params/ResourceText.h"

namespace kvx::rules {

// `format` filled with `texts` in order; more than four texts give the readable fallback text.
inline std::wstring FillFormat(const std::wstring& format, const std::vector<std::wstring>& texts) {
  using kvx::params::FormatText;
  switch (texts.size()) {
    case 0: return FormatText(format);
    case 1: return FormatText(format, texts[0]);
    case 2: return FormatText(format, texts[0], texts[1]);
    case 3: return FormatText(format, texts[0], texts[1], texts[2]);
    case 4: return FormatText(format, texts[0], texts[1], texts[2], texts[3]);
    default: break;
  }
  std::wstring fallback = kvx::params::FormatFallback(format, {});
  for (size_t i = 0; i < texts.size(); ++i) fallback += (i == 0 ? L" (" : L", ") + texts[i];
  return fallback + L")";
}

}  // namespace kvx::rules
