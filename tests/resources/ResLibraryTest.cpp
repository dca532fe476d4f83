// The built resource libraries, loaded the way the module loads them: strings and pictures by id
// through kvx::platform::ResourceLibrary, and the raw exports' answers for missing ids.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"

using kvx::platform::ResourceLibrary;

namespace {

std::wstring LibraryIn(const std::string& folder) {
  return kvx::platform::Widen(folder) + L"/" + kvx::platform::LibraryFileName(L"KVXIMRulesResu");
}

std::unique_ptr<ResourceLibrary> LoadLanguage(const std::string& language) {
  return ResourceLibrary::Load(LibraryIn(KVX_RESOURCE_ROOT "/" + language));
}

// The libraries built only for these tests.
std::unique_ptr<ResourceLibrary> LoadTestLibrary(const std::string& name) {
  return ResourceLibrary::Load(LibraryIn(KVX_TEST_RES_ROOT "/" + name));
}

std::string FileBytes(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

}  // namespace

TEST(ResourceLibraryAbi, BothLanguagesLoadSideBySideAndAnswerTheirOwnTexts) {
  // Same file name in two folders: each handle must reach its own library, not the first one loaded.
  const auto english = LoadLanguage("english");
  const auto german = LoadLanguage("german");
  ASSERT_TRUE(english && german);

  EXPECT_EQ(english->String(2056), L"Boss Base Radius");
  EXPECT_EQ(german->String(2056), L"Radius am Domfu\u00DF");
  EXPECT_EQ(english->String(2003), L"\u00C5");
  for (int missing : {-1, 0, 1, 2019, 65535, 70000}) EXPECT_EQ(english->String(missing), std::nullopt) << missing;
}

TEST(ResourceLibraryAbi, TestLibraryKeepsEscapedTextsAndSharedPicture) {
  const auto library = LoadTestLibrary("testlang");
  ASSERT_TRUE(library);
  EXPECT_EQ(library->String(1), L"plain text");
  EXPECT_EQ(library->String(2), L"Umlaut \u00E4 with \tescapes\\");

  const kvx::platform::Picture picture = library->PictureById(7);
  EXPECT_EQ(picture.format, "svg");
  const std::string expected = FileBytes(KVX_SOURCE_DIR "/tests/resources/data/pictures/7.svg");
  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(std::string(picture.bytes.begin(), picture.bytes.end()), expected);
  EXPECT_TRUE(library->PictureById(8).empty());
}

TEST(ResourceLibraryAbi, RawExportsAnswerNullForMissingIdsAndAcceptNullOutputs) {
  using PictureFn = const unsigned char* (*)(int, unsigned long*, const char**);
  using StringFn = const char* (*)(int);
  const auto library = kvx::platform::DynamicLibrary::Load(LibraryIn(KVX_TEST_RES_ROOT "/testlang"));
  ASSERT_TRUE(library);
  const auto picture = library->Function<PictureFn>("KvxResPicture");
  const auto string = library->Function<StringFn>("KvxResString");
  ASSERT_TRUE(picture && string);

  unsigned long size = 99;
  const char* format = "stale";
  EXPECT_EQ(picture(8, &size, &format), nullptr);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(format, nullptr);
  EXPECT_NE(picture(7, nullptr, nullptr), nullptr);
  EXPECT_EQ(string(4), nullptr);
  // Only the two exports are visible; the data tables stay inside the library.
  EXPECT_EQ(library->Symbol("_ZN3kvx3res4data8kStringsE"), nullptr);
}
