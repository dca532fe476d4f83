#pragma once
// Reading a stored number without building a stream for each one.
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>

namespace kvx::params {

namespace detail {
inline bool StartsWithNoCase(std::wstring_view text, std::wstring_view word) {
  if (text.size() < word.size()) return false;
  for (size_t i = 0; i < word.size(); ++i) {
    if ((text[i] | 0x20) != word[i]) return false;
  }
  return true;
}
}  // namespace detail

// The number a text starts with, as a classic-locale `stream >> double` reads it: white space skipped, the
// longest number-shaped prefix taken, 0 when that prefix is no number or overflows. Besides, "inf" and
// "nan" with an optional sign, which is how "%f" writes values that are not finite, read back as such.
inline double ReadDouble(std::wstring_view text) {
  size_t at = text.find_first_not_of(L" \t\n\v\f\r");
  if (at == std::wstring_view::npos) return 0.0;
  std::string number;
  if (text[at] == L'-' || text[at] == L'+') number += static_cast<char>(text[at++]);
  const std::wstring_view rest = text.substr(at);
  const bool negative = !number.empty() && number[0] == '-';
  if (detail::StartsWithNoCase(rest, L"inf")) {
    return negative ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
  }
  if (detail::StartsWithNoCase(rest, L"nan")) return std::numeric_limits<double>::quiet_NaN();
  bool digits = false, point = false;
  for (; at < text.size(); ++at) {
    const wchar_t c = text[at];
    if (c >= L'0' && c <= L'9') {
      digits = true;
    } else if (c == L'.' && !point) {
      point = true;
    } else {
      break;
    }
    number += static_cast<char>(c);
  }
  if (digits && at < text.size() && (text[at] == L'e' || text[at] == L'E')) {
    number += 'e';
    if (++at < text.size() && (text[at] == L'-' || text[at] == L'+')) number += static_cast<char>(text[at++]);
    for (; at < text.size() && text[at] >= L'0' && text[at] <= L'9'; ++at) number += static_cast<char>(text[at]);
  }
  // from_chars takes no "+"; and the whole prefix must be the number, as the stream demands.
  const size_t first = !number.empty() && number[0] == '+' ? 1 : 0;
  double value = 0.0;
  const auto [end, failure] = std::from_chars(number.data() + first, number.data() + number.size(), value);
  if (failure != std::errc() || end != number.data() + number.size()) return 0.0;
  return value;
}

}  // namespace kvx::params
