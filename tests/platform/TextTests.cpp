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

bool IsSurrogate(char32_t cp) { return cp >= 0xD800 && cp <= 0xDFFF; }
}  // namespace

TEST(Utf8, KnownTextsEncodeAsExpected) {
  EXPECT_EQ(Narrow(L"Gr\u00f6\u00dfe"), "Gr\xC3\xB6\xC3\x9F" "e");
  EXPECT_EQ(Narrow(L"\u20ac"), "\xE2\x82\xAC");
  EXPECT_EQ(Narrow(std::wstring(1, static_cast<wchar_t>(0x1F600))), "\xF0\x9F\x98\x80");
  EXPECT_EQ(Widen("\xE6\x97\xA5\xE6\x9C\xAC"), L"\u65e5\u672c");
  EXPECT_EQ(Widen(""), L"");
  EXPECT_EQ(Narrow(L""), "");
}

TEST(Utf8, EveryScalarValueRoundTrips) {
  std::wstring all;
  for (char32_t cp = 1; cp <= 0x10FFFF; ++cp) {
    if (!IsSurrogate(cp)) all.push_back(static_cast<wchar_t>(cp));
  }
  const std::string utf8 = Narrow(all);
  EXPECT_EQ(Widen(utf8), all);
  EXPECT_EQ(Narrow(Widen(utf8)), utf8);
}

TEST(Utf8, MalformedSequencesBecomeReplacementAndTheRestSurvives) {
  struct Case {
    const char* name;
    std::string bytes;
  };
  const Case cases[] = {
      {"lone continuation byte", "\x80"},
      {"invalid lead byte", "\xFF"},
      {"five-byte lead", "\xF8\x88\x80\x80\x80"},
      {"truncated three-byte sequence", "\xE2\x82"},
      {"truncated four-byte sequence", "\xF0\x9F\x98"},
      {"encoded surrogate", "\xED\xA0\x80"},
      {"beyond U+10FFFF", "\xF4\x90\x80\x80"},
  };
  for (const auto& c : cases) {
    const std::wstring wide = Widen("<" + c.bytes + ">");
    ASSERT_GE(wide.size(), 3u) << c.name;
    EXPECT_EQ(wide.front(), L'<') << c.name;
    EXPECT_EQ(wide.back(), L'>') << c.name;
    for (size_t i = 1; i + 1 < wide.size(); ++i) EXPECT_EQ(wide[i], kReplacement) << c.name << " at " << i;
  }
}

TEST(Utf8, BrokenSequenceDoesNotSwallowTheNextCharacter) {
  // The lead promises three bytes, but an ASCII letter follows: the letter must be kept.
  EXPECT_EQ(Widen("\xE2" "A"), (std::wstring{kReplacement, L'A'}));
  EXPECT_EQ(Widen("\xC3" "\xE2\x82\xAC"), (std::wstring{kReplacement, L'\u20ac'}));
}

TEST(Utf8, OverlongEncodingsAreRejected) {
  // Overlong forms are the classic way to smuggle '/', '.' or NUL past a check made on the bytes.
  const std::string overlong[] = {"\xC0\xAF", "\xC1\xBF", "\xE0\x80\xAF", "\xE0\x9F\xBF", "\xF0\x80\x80\xAF",
                                  "\xF0\x8F\xBF\xBF", "\xC0\x80"};
  for (const auto& bytes : overlong) {
    const std::wstring wide = Widen(bytes);
    EXPECT_EQ(wide.find_first_not_of(kReplacement), std::wstring::npos) << "bytes of size " << bytes.size();
    EXPECT_FALSE(wide.empty());
  }
  // The shortest forms next to them are fine.
  EXPECT_EQ(Widen("\xC2\x80"), std::wstring(1, static_cast<wchar_t>(0x80)));
  EXPECT_EQ(Widen("\xE0\xA0\x80"), std::wstring(1, static_cast<wchar_t>(0x800)));
  EXPECT_EQ(Widen("\xF0\x90\x80\x80"), std::wstring(1, static_cast<wchar_t>(0x10000)));
}

TEST(Utf8, WideValuesWithoutScalarMeaningBecomeReplacement) {
  const std::wstring bad{static_cast<wchar_t>(0xD800), L'x', static_cast<wchar_t>(0xDFFF),
                         static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1)};
  EXPECT_EQ(Narrow(bad), "\xEF\xBF\xBDx\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(EqualsNoCase, ComparesAsciiLettersWithoutCase) {
  EXPECT_TRUE(EqualsNoCase(L"KvxIMRulesValidator", L"kvximrulesvalidator"));
  EXPECT_TRUE(EqualsNoCase(L"", L""));
  EXPECT_FALSE(EqualsNoCase(L"Rule", L"Rules"));
  EXPECT_FALSE(EqualsNoCase(L"Rule1", L"Rule2"));
  EXPECT_FALSE(EqualsNoCase(L"abc", std::wstring(L"abc\0", 4)));
}
