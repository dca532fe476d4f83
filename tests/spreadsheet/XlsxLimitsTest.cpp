// The .xlsx reader against hostile archives: what an archive declares is never trusted beyond the data it
// really holds, and a sheet is searched in one pass however its rows fall into blocks.
#include <gtest/gtest.h>
#include <zip.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "xlsx/XlsxParts.h"
#include "xlsx/XlsxRowStream.h"

namespace fs = std::filesystem;
using namespace kvx::sheet::xlsx;

namespace {

fs::path Scratch(const std::string& name) {
  const fs::path folder = fs::path(KVX_BIN_DIR).parent_path() / "test-output" / "xlsx-limits";
  fs::create_directories(folder);
  return folder / name;
}

// One deflated member `name` holding `content`.
void WriteMember(const fs::path& path, const std::string& name, const std::string& content) {
  int code = 0;
  zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code);
  ASSERT_NE(archive, nullptr);
  zip_source_t* source = zip_source_buffer(archive, content.data(), content.size(), 0);
  const zip_int64_t index = zip_file_add(archive, name.c_str(), source, 0);
  ASSERT_GE(index, 0);
  ASSERT_EQ(zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_DEFLATE, 9), 0);
  ASSERT_EQ(zip_close(archive), 0);
}

// Rewrites the inflated size the archive declares for its only member, in both headers.
void DeclareSize(const fs::path& path, std::uint32_t size) {
  std::ifstream in(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(in), {}};
  in.close();
  const auto patch = [&](const char* signature, std::size_t offset) {
    const std::size_t at = bytes.find(signature);
    ASSERT_NE(at, std::string::npos);
    std::memcpy(bytes.data() + at + offset, &size, sizeof size);  // little-endian, as the format is
  };
  patch("PK\x03\x04", 22);
  patch("PK\x01\x02", 24);
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

ZipArchive Open(const fs::path& path) {
  int code = 0;
  return ZipArchive(zip_open(path.c_str(), ZIP_RDONLY, &code));
}

// Text that deflate shrinks a little, not a thousandfold.
std::string Varied(std::size_t size) {
  std::string text;
  for (std::uint32_t x = 12345; text.size() < size; x = x * 1103515245u + 12345u) text += char('a' + (x >> 16) % 26);
  return text;
}

}  // namespace

TEST(XlsxLimits, DeclaredPartSizesAreNeverTrustedBeyondTheRealData) {
  const std::pair<const char*, std::uint32_t> cases[] = {
      {"a claim its compressed data cannot hold", 1u << 30},
      {"a claim deflate could hold but the data does not", 2u << 20},
      {"a claim shorter than the data", 100},
  };
  for (const auto& [what, declared] : cases) {
    const fs::path path = Scratch("lying.zip");
    WriteMember(path, "part.xml", Varied(4000));
    DeclareSize(path, declared);
    const ZipArchive archive = Open(path);
    ASSERT_TRUE(archive) << what;
    std::string bytes;
    EXPECT_FALSE(ReadPart(archive.get(), "part.xml", bytes)) << what;
    EXPECT_LT(bytes.capacity(), std::size_t{256} << 10) << what;  // memory follows the data, not the claim
  }
}

TEST(XlsxLimits, RowEndsAreSearchedInOnePassAndARowLongerThanTheReaderHoldsIsRefused) {
  // One row spanning several blocks: the reader waits for its end without searching the front again. Then
  // many short rows, which blocks cut anywhere: none may be lost or read twice.
  std::string sheet = "<worksheet><sheetData><row r=\"1\">";
  for (int i = 0; sheet.size() < 5 * kSheetBlockBytes; ++i) sheet += "<c><v>" + std::to_string(i) + "</v></c>";
  sheet += "</row>";
  for (int row = 2; row <= 60000; ++row) sheet += "<row><c><v>" + std::to_string(row) + "</v></c></row>";
  sheet += "</sheetData></worksheet>";
  WriteMember(Scratch("long-row.zip"), "sheet.xml", sheet);
  std::size_t rows = 0, searched = 0, sum = 0;
  const auto count = [&](const pugi::xml_node& fragment) {
    for (pugi::xml_node row : fragment.children("row")) {
      rows += row ? 1 : 0;
      sum += rows > 1 ? row.child("c").child("v").text().as_ullong() : 0;
    }
  };
  ASSERT_TRUE(StreamRows(Open(Scratch("long-row.zip")).get(), "sheet.xml", count, &searched));
  EXPECT_EQ(rows, 60000u);
  EXPECT_EQ(sum, 60000u * 60001 / 2 - 1);
  EXPECT_LE(searched, 2 * sheet.size());

  sheet = "<worksheet><sheetData><row><c><v>" + std::string(kMaxPendingBytes + 2 * kSheetBlockBytes, '7') +
          "</v></c></row></sheetData></worksheet>";
  WriteMember(Scratch("huge-row.zip"), "sheet.xml", sheet);
  EXPECT_FALSE(StreamRows(Open(Scratch("huge-row.zip")).get(), "sheet.xml", count));
}
