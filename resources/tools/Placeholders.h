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

// Warnings for every entry of `table` whose placeholders differ from the entry with the same id in
// `reference` (count, order or conversion), and for ids that only one of the two tables has.
Diagnostics ComparePlaceholders(const StringTable& table, const StringTable& reference);

}  // namespace kvx::rescomp
