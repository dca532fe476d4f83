#include "Placeholders.h"

#include <algorithm>

namespace kvx::rescomp {

namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kFlags = "-+ #0'";
constexpr std::string_view kConversions = "diouxXeEfFgGaAcCsSpn";
// Longest first, so that "ll" is not read as "l".
constexpr std::string_view kLengthModifiers[] = {"I64", "I32", "hh", "ll", "h", "l", "L", "j", "z", "t", "q", "I", "w"};

bool IsIn(std::string_view set, char c) { return set.find(c) != std::string_view::npos; }

void SkipDigits(std::string_view text, std::size_t& pos) {
  while (pos < text.size() && IsIn(kDigits, text[pos])) ++pos;
}

// An optional "n$" argument position; left untouched when the digits are not followed by '$'.
void SkipPosition(std::string_view text, std::size_t& pos) {
  std::size_t end = pos;
  SkipDigits(text, end);
  if (end > pos && end < text.size() && text[end] == '$') pos = end + 1;
}

// Width or precision: digits, or '*' with an optional "n$".
void SkipCount(std::string_view text, std::size_t& pos) {
  if (pos < text.size() && text[pos] == '*') {
    ++pos;
    SkipPosition(text, pos);
    return;
  }
  SkipDigits(text, pos);
}

void SkipLengthModifier(std::string_view text, std::size_t& pos) {
  for (std::string_view modifier : kLengthModifiers) {
    if (text.substr(pos, modifier.size()) == modifier) {
      pos += modifier.size();
      return;
    }
  }
}

// The end of the conversion that starts with the '%' at `start`, one past its last character.
// For a malformed one, the end includes the first character that does not fit.
std::size_t ConversionEnd(std::string_view text, std::size_t start) {
  std::size_t pos = start + 1;
  SkipPosition(text, pos);
  while (pos < text.size() && IsIn(kFlags, text[pos])) ++pos;
  SkipCount(text, pos);
  if (pos < text.size() && text[pos] == '.') {
    ++pos;
    SkipCount(text, pos);
  }
  SkipLengthModifier(text, pos);
  return pos < text.size() ? pos + 1 : pos;
}

bool EndsInConversion(std::string_view placeholder) {
  return placeholder.size() > 1 && IsIn(kConversions, placeholder.back());
}

std::string Joined(const std::vector<std::string>& placeholders) {
  if (placeholders.empty()) return "none";
  std::string text;
  for (const auto& placeholder : placeholders) text += (text.empty() ? "" : " ") + placeholder;
  return text;
}

// The larger of a conversion's width and precision as written (digits only; '*' takes an argument).
int LargestFieldSize(std::string_view conversion) {
  std::size_t pos = 1;
  SkipPosition(conversion, pos);
  while (pos < conversion.size() && IsIn(kFlags, conversion[pos])) ++pos;
  auto number = [&] {
    long value = 0;
    for (; pos < conversion.size() && IsIn(kDigits, conversion[pos]); ++pos) {
      value = std::min<long>(value * 10 + (conversion[pos] - '0'), kMaxFieldSize + 1L);
    }
    return static_cast<int>(value);
  };
  const int width = number();
  int precision = 0;
  if (pos < conversion.size() && conversion[pos] == '.') {
    ++pos;
    precision = number();
  }
  return std::max(width, precision);
}

}  // namespace

std::vector<std::string> PrintfPlaceholders(std::string_view format) {
  std::vector<std::string> placeholders;
  std::size_t pos = 0;
  while ((pos = format.find('%', pos)) != std::string_view::npos) {
    if (format.substr(pos, 2) == "%%") {
      pos += 2;
      continue;
    }
    const std::size_t end = ConversionEnd(format, pos);
    std::string placeholder(format.substr(pos, end - pos));
    // A malformed conversion keeps its raw text, marked so it can never equal a valid one.
    if (!EndsInConversion(placeholder)) placeholder = "(bad)" + placeholder;
    placeholders.push_back(std::move(placeholder));
    pos = end;
  }
  return placeholders;
}

Diagnostics CheckFieldSizes(const StringTable& table) {
  Diagnostics errors;
  for (const StringEntry& entry : table.entries) {
    for (const std::string& placeholder : PrintfPlaceholders(entry.text)) {
      if (LargestFieldSize(placeholder) <= kMaxFieldSize) continue;
      errors.push_back({table.file, entry.line,
                        "the placeholder " + placeholder + " of id " + std::to_string(entry.id) +
                            " has a width or precision above " + std::to_string(kMaxFieldSize)});
    }
  }
  return errors;
}

Diagnostics CompareWithReference(const StringTable& table, const StringTable& reference) {
  Diagnostics errors;
  auto fail = [&](int line, std::string message) { errors.push_back({table.file, line, std::move(message)}); };
  for (const StringEntry& entry : table.entries) {
    const std::string id = "id " + std::to_string(entry.id);
    const StringEntry* original = reference.Find(entry.id);
    if (!original) {
      fail(entry.line, id + " is not in " + reference.file);
      continue;
    }
    const std::string where = reference.file + ":" + std::to_string(original->line);
    const auto ours = PrintfPlaceholders(entry.text);
    const auto theirs = PrintfPlaceholders(original->text);
    if (ours != theirs) {
      fail(entry.line, "the placeholders of " + id + " (" + Joined(ours) + ") differ from " + where + " (" +
                           Joined(theirs) + ")");
    }
    if (entry.sameAsEnglish && entry.text != original->text) {
      fail(entry.line, id + " is marked as the English text but differs from " + where);
    }
    if (!entry.sameAsEnglish && !entry.text.empty() && entry.text == original->text) {
      fail(entry.line, id + " is the English text of " + where + " unchanged: translate it, or write " +
                           std::to_string(entry.id) + "= where it is the same word on purpose");
    }
  }
  for (const StringEntry& original : reference.entries) {
    if (table.Find(original.id)) continue;
    fail(0, "id " + std::to_string(original.id) + " of " + reference.file + ":" + std::to_string(original.line) +
                " has no translation");
  }
  return errors;
}

}  // namespace kvx::rescomp
