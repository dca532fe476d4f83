// Wide text inside, UTF-8 at the edges: the conversions must round-trip every scalar value and turn
// malformed input into U+FFFD without ever letting a disguised character through.
#include <gtest/gtest.h>

#include <string>

#include "kvx/platform/Text.h"

using kvx::platform::EqualsNoCase;
using kvx::platform::Narrow;
using kvx::platform::Widen;

namespace {
constexpr wchar_t kReplacement = 0xFFFD;
}

TEST(Utf8, EveryScalarValueRoundTrips) {
  EXPECT_EQ(Narrow(L"Gr\u00f6\u00dfe"), "Gr\xC3\xB6\xC3\x9F" "e");
  EXPECT_EQ(Narrow(std::wstring(1, static_cast<wchar_t>(0x1F600))), "\xF0\x9F\x98\x80");
  std::wstring all;
  for (char32_t cp = 1; cp <= 0x10FFFF; ++cp) {
    if (cp < 0xD800 || cp > 0xDFFF) all.push_back(static_cast<wchar_t>(cp));
  }
  const std::string utf8 = Narrow(all);
  EXPECT_EQ(Widen(utf8), all);
}

TEST(Utf8, MalformedOverlongOrMeaninglessValuesBecomeReplacementAndTheRestSurvives) {
  // Overlong forms are the classic way to smuggle '/', '.' or NUL past a check made on the bytes.
  const std::string malformed[] = {"\x80", "\xFF", "\xF8\x88\x80\x80\x80", "\xE2\x82", "\xF0\x9F\x98",
                                   "\xED\xA0\x80", "\xF4\x90\x80\x80",
                                   "\xC0\xAF", "\xC1\xBF", "\xE0\x80\xAF", "\xE0\x9F\xBF", "\xF0\x80\x80\xAF",
                                   "\xF0\x8F\xBF\xBF", "\xC0\x80"};
  for (const auto& bytes : malformed) {
    const std::wstring wide = Widen("<" + bytes + ">");
    ASSERT_GE(wide.size(), 3u) << bytes.size();
    EXPECT_EQ(wide.front(), L'<');
    EXPECT_EQ(wide.back(), L'>');
    for (size_t i = 1; i + 1 < wide.size(); ++i) EXPECT_EQ(wide[i], kReplacement) << Narrow(wide) << " at " << i;
  }
  // The shortest forms next to the overlong ones are fine.
  EXPECT_EQ(Widen("\xC2\x80\xE0\xA0\x80\xF0\x90\x80\x80"),
            (std::wstring{static_cast<wchar_t>(0x80), static_cast<wchar_t>(0x800), static_cast<wchar_t>(0x10000)}));
  // A broken sequence does not swallow the character after it.
  EXPECT_EQ(Widen("\xE2" "A"), (std::wstring{kReplacement, L'A'}));
  EXPECT_EQ(Widen("\xC3" "\xE2\x82\xAC"), (std::wstring{kReplacement, L'\u20ac'}));
  // Wide values without scalar meaning become the replacement on the way out.
  const std::wstring bad{static_cast<wchar_t>(0xD800), L'x', static_cast<wchar_t>(0xDFFF),
                         static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1)};
  EXPECT_EQ(Narrow(bad), "\xEF\xBF\xBDx\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(EqualsNoCase, ComparesAsciiLettersWithoutCase) {
  EXPECT_TRUE(EqualsNoCase(L"KvxIMRulesValidator", L"kvximrulesvalidator"));
  EXPECT_FALSE(EqualsNoCase(L"Rule", L"Rules"));
  EXPECT_FALSE(EqualsNoCase(L"abc", std::wstring(L"abc\0", 4)));
}
