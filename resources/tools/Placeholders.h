#pragma once
// The printf-style placeholders of a resource text. Summaries and messages are format strings
// filled with arguments in a fixed order, so a translation must keep every placeholder as it is.
#include <string>
#include <string_view>
#include <vector>

#include "Diagnostic.h"
#include "StringTable.h"

namespace kvx::rescomp {

// Each conversion of `format` in order, as written ("%s", "%-5.2lf", "%1$s"); "%%" is not one.
// A '%' not followed by a complete conversion yields its raw text ("%y", "%"), which matches no
// well-formed placeholder.
std::vector<std::string> PrintfPlaceholders(std::string_view format);

// A width or precision above this is refused: a translation must not make a format print megabytes.
inline constexpr int kMaxFieldSize = 64;

// Errors for every conversion of `table` whose width or precision exceeds kMaxFieldSize.
Diagnostics CheckFieldSizes(const StringTable& table);

// Errors that make a translation unusable against its English `reference`: an entry whose placeholders
// differ (count, order or conversion), an id that only one of the two tables has, a text left in English
// without the "same word" mark, and a marked text that is not the English one.
Diagnostics CompareWithReference(const StringTable& table, const StringTable& reference);

}  // namespace kvx::rescomp
