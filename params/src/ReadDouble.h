#pragma once
// Reading a stored number without building a stream for each one.
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>

namespace kvx::params {

namespace detail {
template <typename Char>
bool StartsWithNoCase(std::basic_string_view<Char> text, const char* word) {
  for (size_t i = 0; word[i] != '\0'; ++i) {
    if (i >= text.size() || (text[i] | 0x20) != word[i]) return false;
  }
  return true;
}

template <typename Char>
double ReadDoubleText(std::basic_string_view<Char> text) {
  const auto space = [](Char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
  size_t at = 0;
  while (at < text.size() && space(text[at])) ++at;
  if (at == text.size()) return 0.0;
  std::string number;
  if (text[at] == '-' || text[at] == '+') number += static_cast<char>(text[at++]);
  const std::basic_string_view<Char> rest = text.substr(at);
  const bool negative = !number.empty() && number[0] == '-';
  if (StartsWithNoCase(rest, "inf")) {
    return negative ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
  }
  if (StartsWithNoCase(rest, "nan")) return std::numeric_limits<double>::quiet_NaN();
  bool digits = false, point = false;
  for (; at < text.size(); ++at) {
    const Char c = text[at];
    if (c >= '0' && c <= '9') {
      digits = true;
    } else if (c == '.' && !point) {
      point = true;
    } else {
      break;
    }
    number += static_cast<char>(c);
  }
  if (digits && at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    number += 'e';
    if (++at < text.size() && (text[at] == '-' || text[at] == '+')) number += static_cast<char>(text[at++]);
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) number += static_cast<char>(text[at]);
  }
  // from_chars takes no "+"; and the whole prefix must be the number, as the stream demands.
  const size_t first = !number.empty() && number[0] == '+' ? 1 : 0;
  double value = 0.0;
  const auto [end, failure] = std::from_chars(number.data() + first, number.data() + number.size(), value);
  if (failure != std::errc() || end != number.data() + number.size()) return 0.0;
  return value;
}
}  // namespace detail

// The number a text starts with, as a classic-locale `stream >> double` reads it: white space skipped, the
// longest number-shaped prefix taken, 0 when that prefix is no number or overflows. Besides, "inf" and
// "nan" with an optional sign, which is how "%f" writes values that are not finite, read back as such.
inline double ReadDouble(std::wstring_view text) { return detail::ReadDoubleText(text); }
// The same for a UTF-8 text as the document holds it (no character outside ASCII is part of a number).
inline double ReadDouble(std::string_view text) { return detail::ReadDoubleText(text); }

}  // namespace kvx::params
