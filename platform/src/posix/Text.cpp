#include "kvx/platform/Text.h"

#include <cwctype>
#include <type_traits>

namespace kvx::platform {

namespace {
constexpr char32_t kReplacement = 0xFFFD;

// Length of the UTF-8 sequence introduced by `lead`, 0 when it cannot start one.
int SequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if ((lead & 0xE0) == 0xC0) return 2;
  if ((lead & 0xF0) == 0xE0) return 3;
  if ((lead & 0xF8) == 0xF0) return 4;
  return 0;
}

// The smallest code point that needs `len` bytes; a shorter value in that many bytes is an overlong
// form, which could smuggle "/" or NUL past a check made on the bytes.
char32_t SmallestOfLength(int len) {
  switch (len) {
    case 2: return 0x80;
    case 3: return 0x800;
    default: return 0x10000;
  }
}

void AppendCodePoint(std::wstring& out, char32_t cp) {
  if constexpr (sizeof(wchar_t) == 2) {
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out.push_back(static_cast<wchar_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<wchar_t>(0xDC00 + (cp & 0x3FF)));
      return;
    }
  }
  out.push_back(static_cast<wchar_t>(cp));
}

// Length of the leading run of ASCII characters: almost every text of a rule set is ASCII throughout,
// and copying that run without decoding halves the cost of the rule-set round trip's conversions.
template <typename Char>
size_t AsciiPrefix(std::basic_string_view<Char> text) {
  size_t i = 0;
  while (i < text.size() && static_cast<std::make_unsigned_t<Char>>(text[i]) < 0x80) ++i;
  return i;
}
}  // namespace

std::wstring Widen(std::string_view utf8) {
  const size_t ascii = AsciiPrefix(utf8);
  std::wstring out(utf8.begin(), utf8.begin() + static_cast<std::ptrdiff_t>(ascii));
  if (ascii == utf8.size()) return out;
  out.reserve(utf8.size());
  for (size_t i = ascii; i < utf8.size();) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    const int len = SequenceLength(lead);
    if (len == 1) {
      out.push_back(static_cast<wchar_t>(lead));
      ++i;
      continue;
    }
    if (len == 0 || i + len > utf8.size()) {
      out.push_back(static_cast<wchar_t>(kReplacement));
      ++i;
      continue;
    }
    char32_t cp = lead & (0x7F >> len);
    bool ok = true;
    for (int k = 1; k < len; ++k) {
      const auto c = static_cast<unsigned char>(utf8[i + k]);
      if ((c & 0xC0) != 0x80) { ok = false; break; }
      cp = (cp << 6) | (c & 0x3F);
    }
    if (!ok || cp < SmallestOfLength(len) || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
      out.push_back(static_cast<wchar_t>(kReplacement));
      ++i;
      continue;
    }
    AppendCodePoint(out, cp);
    i += len;
  }
  return out;
}

std::string Narrow(std::wstring_view wide) {
  const size_t ascii = AsciiPrefix(wide);
  std::string out(ascii, '\0');
  for (size_t i = 0; i < ascii; ++i) out[i] = static_cast<char>(wide[i]);
  if (ascii == wide.size()) return out;
  out.reserve(wide.size());
  for (size_t i = ascii; i < wide.size(); ++i) {
    char32_t cp = static_cast<char32_t>(wide[i]);
    if constexpr (sizeof(wchar_t) == 2) {
      if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < wide.size()) {
        const char32_t low = static_cast<char32_t>(wide[i + 1]);
        if (low >= 0xDC00 && low <= 0xDFFF) {
          cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
          ++i;
        }
      }
    }
    if ((cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) cp = kReplacement;
    if (cp < 0x80) {
      out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
  }
  return out;
}

bool EqualsNoCase(std::wstring_view a, std::wstring_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::towlower(static_cast<wint_t>(a[i])) != std::towlower(static_cast<wint_t>(b[i]))) return false;
  }
  return true;
}

}  // namespace kvx::platform
