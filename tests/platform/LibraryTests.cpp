// Dynamic libraries and resource libraries: loading, exports, and the process-wide current resource
// library with its scope guard.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "PlatformTestSupport.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"

using namespace kvx::platform;

namespace {
std::wstring Fixture(const std::wstring& baseName) {
  return Widen(KVX_PLATFORM_FIXTURES "/") + LibraryFileName(baseName);
}
const std::wstring kResFixture = Fixture(L"kvx_platform_fixture_res");
const std::wstring kPlainFixture = Fixture(L"kvx_platform_fixture_plain");
}  // namespace

// --- Dynamic libraries -------------------------------------------------------------------------

TEST(DynamicLibrary, LoadsByPathFindsExportsButNeverLoadsOnFindAndKnowsItsAbsolutePath) {
  EXPECT_EQ(DynamicLibrary::FindLoaded(kPlainFixture), nullptr);
  std::wstring error;
  const auto library = DynamicLibrary::Load(kResFixture, &error);
  ASSERT_TRUE(library) << Narrow(error);
  const auto answer = library->Function<int (*)()>("KvxFixtureAnswer");
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(answer(), 42);
  EXPECT_EQ(library->Symbol("NoSuchExport"), nullptr);
  {
    const auto loaded = DynamicLibrary::Load(kPlainFixture);  // unloaded again before the relative load below
    ASSERT_TRUE(loaded);
    const auto found = DynamicLibrary::FindLoaded(kPlainFixture);
    ASSERT_TRUE(found);
    EXPECT_NE(found->Symbol("KvxFixturePlain"), nullptr);
  }

  const std::wstring libraryPath = PathOfBinaryContaining(library->Symbol("KvxFixtureAnswer"));
  EXPECT_TRUE(std::filesystem::equivalent(Narrow(libraryPath), Narrow(kResFixture)));
  const std::wstring self = PathOfBinaryContaining(reinterpret_cast<const void*>(&Fixture));
  ASSERT_FALSE(self.empty());
  EXPECT_EQ(self.front(), L'/');
  EXPECT_TRUE(std::filesystem::equivalent(Narrow(self), "/proc/self/exe"));
  EXPECT_EQ(PathOfBinaryContaining(nullptr), L"");

  // Loaded by a relative path: the path must lead to the file whatever the working folder is later.
  const auto fixtures = std::filesystem::path(KVX_PLATFORM_FIXTURES);
  const auto saved = std::filesystem::current_path();
  std::filesystem::current_path(fixtures.parent_path());
  const auto relative = DynamicLibrary::Load(
      Widen("./" + fixtures.filename().string() + "/") + LibraryFileName(L"kvx_platform_fixture_plain"));
  std::filesystem::current_path("/");
  ASSERT_TRUE(relative);
  const std::wstring path = PathOfBinaryContaining(relative->Symbol("KvxFixturePlain"));
  std::filesystem::current_path(saved);
  ASSERT_FALSE(path.empty());
  EXPECT_EQ(path.front(), L'/');
  EXPECT_TRUE(std::filesystem::equivalent(Narrow(path), Narrow(kPlainFixture)));
}

TEST(DynamicLibrary, MissingEmptyOrFakeFileFailsWithAReason) {
  kvx::test::ScratchFolder folder;
  kvx::test::WriteWholeFile(folder / "libfake.so", "not an ELF file");
  for (const std::wstring& path : {Fixture(L"kvx_no_such_library"), std::wstring(L"libkvx_no_such_library.so"),
                                   std::wstring(), Widen((folder / "libfake.so").string())}) {
    std::wstring error;
    EXPECT_EQ(DynamicLibrary::Load(path, &error), nullptr) << Narrow(path);
    EXPECT_FALSE(error.empty()) << Narrow(path);
    EXPECT_EQ(DynamicLibrary::Load(path), nullptr) << "without an error text either";
  }
}

// --- Resource libraries --------------------------------------------------------------------------

TEST(ResourceLibrary, LoadsStringsAndPicturesOrNothing) {
  const auto library = ResourceLibrary::Load(kResFixture);
  ASSERT_TRUE(library);
  EXPECT_EQ(library->String(2), L"Gr\u00f6\u00dfe %s mm");
  EXPECT_EQ(library->String(3), L"") << "an empty entry is still an entry";
  EXPECT_EQ(library->String(999), std::nullopt);
  const Picture picture = library->PictureById(10);
  EXPECT_EQ(picture.format, "svg");
  EXPECT_EQ(std::string(picture.bytes.begin(), picture.bytes.end()), "<svg xmlns=\"http://www.w3.org/2000/svg\"/>");
  EXPECT_TRUE(library->PictureById(11).empty());
  for (const std::wstring& path : {Fixture(L"kvx_no_such_library"), kPlainFixture, std::wstring()}) {
    EXPECT_EQ(ResourceLibrary::Load(path), nullptr) << Narrow(path);
  }
}

// The process-wide current library: texts come from it, scopes nest and restore in order, and a released
// library is never current again.
TEST(CurrentResourceLibrary, TextsScopesAndReleasedLibraries) {
  ResourceScope restoreAtTheEnd(nullptr);
  SetCurrentResourceLibrary(nullptr);
  auto first = ResourceLibrary::Load(kResFixture), second = ResourceLibrary::Load(kResFixture);
  ASSERT_TRUE(first && second);
  EXPECT_EQ(LoadResString(1), L"");
  EXPECT_TRUE(LoadResPicture(10).empty());
  EXPECT_EQ(SetCurrentResourceLibrary(first.get()), nullptr);
  EXPECT_EQ(LoadResString(1), L"fixture one");
  EXPECT_EQ(LoadResString(999), L"");
  EXPECT_EQ(LoadResPicture(10).format, "svg");
  EXPECT_EQ(SetCurrentResourceLibrary(second.get()), first.get());

  SetCurrentResourceLibrary(first.get());
  {
    ResourceScope outer(second.get());
    EXPECT_EQ(CurrentResourceLibrary(), second.get());
    {
      ResourceScope inner(first.get());
      EXPECT_EQ(CurrentResourceLibrary(), first.get());
      // Someone inside the scope switches without a guard: the scope still puts its saved one back.
      SetCurrentResourceLibrary(nullptr);
    }
    EXPECT_EQ(CurrentResourceLibrary(), second.get());
    {
      ResourceScope none(nullptr);
      EXPECT_EQ(CurrentResourceLibrary(), second.get()) << "a null scope keeps the current one";
      SetCurrentResourceLibrary(first.get());
    }
    EXPECT_EQ(CurrentResourceLibrary(), second.get());
  }
  EXPECT_EQ(CurrentResourceLibrary(), first.get());
  first.reset();
  EXPECT_EQ(CurrentResourceLibrary(), nullptr);

  // A scope that saved a library which is released meanwhile must not bring the dangling pointer back.
  auto doomed = ResourceLibrary::Load(kResFixture);
  SetCurrentResourceLibrary(doomed.get());
  {
    ResourceScope scope(second.get());
    doomed.reset();
  }
  EXPECT_EQ(CurrentResourceLibrary(), nullptr);
  EXPECT_EQ(LoadResString(1), L"");
}
