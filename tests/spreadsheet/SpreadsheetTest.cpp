// The spreadsheet reader on both roads, the .xlsx helper library, the shared column walk, the table
// check, the directory probe and `kvxim sheet`.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zip.h>

#include <CLI/CLI.hpp>
#include <climits>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "SheetCommand.h"
#include "kvx/params/Spreadsheet.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"
#include "kvx/spreadsheet/ColumnWalk.h"
#include "../../params/spreadsheet/src/SpreadsheetRoads.h"
#include "../../params/spreadsheet/src/posix/BiffSheet.h"

namespace fs = std::filesystem;
using kvx::params::ColumnRequest;
using kvx::params::SpreadsheetTable;
using kvx::sheet::CellRead;
using kvx::sheet::CellType;
using kvx::sheet::CellValue;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Column = std::vector<std::wstring>;

fs::path Sample(const char* name) { return fs::path(KVX_SOURCE_DIR "/tests/spreadsheet/data") / name; }
std::wstring Wide(const fs::path& path) { return kvx::platform::Widen(path.string()); }
const std::wstring kTestResources = kvx::platform::Widen(SHEET_TEST_RESOURCES);

std::vector<ColumnRequest> Columns(std::initializer_list<const wchar_t*> letters, std::int32_t kind = 0) {
  std::vector<ColumnRequest> requests;
  for (const wchar_t* letter : letters) requests.push_back({letter, kind});
  return requests;
}

// A fresh folder per test under the build's test output.
fs::path ScratchFolder() {
  const auto* info = testing::UnitTest::GetInstance()->current_test_info();
  fs::path folder = fs::path(KVX_BIN_DIR).parent_path() / "test-output" / "spreadsheet" /
                    (std::string(info->test_suite_name()) + "." + info->name());
  fs::remove_all(folder);
  fs::create_directories(folder);
  return folder;
}

// Writes a zip archive with the given members, as another program would write a workbook.
void WriteZip(const fs::path& path, const std::map<std::string, std::string>& members) {
  int code = 0;
  zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code);
  ASSERT_NE(archive, nullptr);
  for (const auto& [name, content] : members) {
    zip_source_t* source = zip_source_buffer(archive, content.data(), content.size(), 0);
    ASSERT_GE(zip_file_add(archive, name.c_str(), source, ZIP_FL_ENC_UTF_8), 0);
  }
  ASSERT_EQ(zip_close(archive), 0);
}

// Makes the stand-in resource library current, so each message reads "text <id>".
class SpreadsheetTest : public testing::Test {
 protected:
  void SetUp() override {
    resources_ = kvx::platform::ResourceLibrary::Load(kTestResources);
    ASSERT_NE(resources_, nullptr);
    previous_ = kvx::platform::SetCurrentResourceLibrary(resources_.get());
    SetEmptyColumnsFormat("Columns %s are empty");
  }
  void TearDown() override { kvx::platform::SetCurrentResourceLibrary(previous_); }

  void SetEmptyColumnsFormat(const char* format) {
    using SetFormatFn = void (*)(const char*);
    const auto library = kvx::platform::DynamicLibrary::Load(kTestResources);
    library->template Function<SetFormatFn>("SheetTestSetEmptyColumnsFormat")(format);
  }

  // Reads `path` and expects success; the stale column must be gone, as reading empties the table first.
  SpreadsheetTable Read(const fs::path& path, const std::vector<ColumnRequest>& requests) {
    SpreadsheetTable table{{L"stale"}, {L"stale"}};
    std::wstring error;
    EXPECT_TRUE(kvx::params::ReadSpreadsheet(Wide(path), requests, table, error)) << kvx::platform::Narrow(error);
    return table;
  }

  // Reads `path` and returns the error text of the expected failure.
  std::wstring Failure(const fs::path& path) {
    SpreadsheetTable table{{L"stale"}};
    std::wstring error;
    EXPECT_FALSE(kvx::params::ReadSpreadsheet(Wide(path), Columns({L"A"}), table, error));
    return error;
  }

  std::unique_ptr<kvx::platform::ResourceLibrary> resources_;
  const kvx::platform::ResourceLibrary* previous_ = nullptr;
};

// --- Both roads read the same cells to the same texts -------------------------------------------

class BothRoadsTest : public SpreadsheetTest, public testing::WithParamInterface<const char*> {};

TEST_P(BothRoadsTest, LayoutSampleGivesTheSameTable) {
  const SpreadsheetTable table = Read(Sample(GetParam()), Columns({L"A", L"B", L"C", L"D", L"E", L"F", L"G"}));
  ASSERT_EQ(table.size(), 7u);
  EXPECT_THAT(table[0], ElementsAre(L"Over", L"0.0", L"3.0", L"6.5", L"10.0"));
  EXPECT_THAT(table[1], ElementsAre(L"x", L"", L"2.5"));  // values in rows 1 and 3
  EXPECT_THAT(table[2], IsEmpty());                       // its first ten cells are empty
  EXPECT_EQ(table[3], Column({L"1.0", L"", L"", L"", L"", L"", L"", L"", L"", L"", L"2.0"}));
  EXPECT_THAT(table[4], ElementsAre(L"100000.0", L"-3.0", L"1.25", L"0.0", L"123456.789"));
  EXPECT_THAT(table[5], ElementsAre(L"\u00d8 10 \u00b5m", L" a ", L" "));
  EXPECT_THAT(table[6], ElementsAre(L"", L"5.0", L"0.25", L"", L"7.0"));  // a date, a time: no numbers
  std::wstring error;
  EXPECT_FALSE(kvx::params::CheckSpreadsheetTable(table, error));
  EXPECT_EQ(error, L"Columns 3 are empty");

  // Kind 4 gives fixed numbers and keeps texts; letters that are no column give empty columns.
  EXPECT_THAT(Read(Sample(GetParam()), Columns({L"E", L"A"}, kvx::sheet::kColumnKindFixed)),
              ElementsAre(ElementsAre(L"100000.000000", L"-3.000000", L"1.250000", L"0.000000", L"123456.789000"),
                          ElementsAre(L"Over", L"0.000000", L"3.000000", L"6.500000", L"10.000000")));
  EXPECT_THAT(Read(Sample(GetParam()), Columns({L"", L"1", L"A1", L"b", L"ZZZZ"})),
              ElementsAre(IsEmpty(), IsEmpty(), IsEmpty(), ElementsAre(L"x", L"", L"2.5"), IsEmpty()));
}

INSTANTIATE_TEST_SUITE_P(Samples, BothRoadsTest, testing::Values("layout.xlsx", "layout.xls"));

// --- Choosing the road -------------------------------------------------------------------------

TEST_F(SpreadsheetTest, ExtensionChoosesTheRoad) {
  const fs::path folder = ScratchFolder();
  fs::copy_file(Sample("layout.xlsx"), folder / "book.xls");
  fs::copy_file(Sample("layout.xlsx"), folder / "BOOK.XLSX");
  EXPECT_EQ(Failure(folder / "book.xls"), L"text 2532");  // the workbook road cannot open a zip archive
  EXPECT_THAT(Read(folder / "BOOK.XLSX", Columns({L"B"})), ElementsAre(Column{L"x", L"", L"2.5"}));  // capitals too
}

TEST_F(SpreadsheetTest, WorkbookRoadSetsTheModuleLastRowAndTheHelperDoesNot) {
  Read(Sample("layout.xls"), Columns({L"F"}));
  EXPECT_EQ(kvx::params::SpreadsheetLastRow(), 14);  // rows 4 to 13 empty, 14 would be next
  Read(Sample("layout.xls"), Columns({L"A"}));
  EXPECT_EQ(kvx::params::SpreadsheetLastRow(), 16);
  Read(Sample("layout.xlsx"), Columns({L"F"}));
  EXPECT_EQ(kvx::params::SpreadsheetLastRow(), 16);
}

TEST_F(SpreadsheetTest, MissingHelperOrExportLeavesTheErrorUntouched) {
  SpreadsheetTable table{{L"kept"}};
  std::wstring error = L"before";
  for (const std::wstring& helper : {std::wstring(L"/no/such/libHelper.so"), kTestResources}) {
    EXPECT_FALSE(kvx::params::detail::ReadThroughHelper(helper, Wide(Sample("layout.xlsx")), Columns({L"A"}), table,
                                                        error));
  }
  EXPECT_EQ(error, L"before");
  EXPECT_THAT(table, ElementsAre(Column{L"kept"}));
}

// --- Damaged and missing files -------------------------------------------------------------------

TEST_F(SpreadsheetTest, DamagedFilesGiveTheirErrorText) {
  for (const char* name : {"truncated.xlsx", "nosheet.xlsx", "empty.xlsx"})
    EXPECT_EQ(Failure(Sample(name)), L"text 2534") << name;
  // The spreadsheet application cannot open these .xls files: damaged, older than BIFF8, or no file at all.
  for (const char* name : {"truncated.xls", "random.xls", "empty.xls", "biff5.xls", "", "missing.xls"})
    EXPECT_EQ(Failure(Sample(name)), L"text 2532") << name;  // "" is the folder itself
  EXPECT_EQ(Failure(Sample("missing.xlsx")), L"text 2532");
}

// Files that once crashed a reader, most of them found by the fuzzer: each is read or refused, nothing more.
TEST_F(SpreadsheetTest, HostileXlsFilesAreReadOrRefused) {
  const fs::path folder = Sample("hostile");
  ASSERT_TRUE(fs::is_directory(folder));
  for (const auto& entry : fs::directory_iterator(folder)) {
    SpreadsheetTable table;
    std::wstring error;
    if (!kvx::params::ReadSpreadsheet(Wide(entry.path()), Columns({L"A", L"B", L"IV"}), table, error)) {
      EXPECT_EQ(error, L"text 2532") << entry.path();
    }
  }
}

// --- Workbooks written by other programs ---------------------------------------------------------

constexpr const char* kRelationshipTypes = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

std::map<std::string, std::string> ForeignWorkbook(const std::string& sheetXml) {
  const std::string types = kRelationshipTypes;
  return {
      {"_rels/.rels",
       R"(<?xml version="1.0"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
       R"(<Relationship Id="rId1" Type=")" + types + R"(/officeDocument" Target="/book/main.xml"/></Relationships>)"},
      {"book/main.xml",
       R"(<x:workbook xmlns:x="http://schemas.openxmlformats.org/spreadsheetml/2006/main" xmlns:r=")" + types +
           R"("><x:sheets><x:sheet name="Only" sheetId="7" r:id="s1"/></x:sheets></x:workbook>)"},
      {"book/_rels/main.xml.rels",
       R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
       R"(<Relationship Id="s1" Type=")" + types + R"(/worksheet" Target="sheets/one.xml"/>)"
       R"(<Relationship Id="t" Type=")" + types + R"(/sharedStrings" Target="../strings.xml"/></Relationships>)"},
      {"strings.xml",
       R"(<x:sst xmlns:x="http://schemas.openxmlformats.org/spreadsheetml/2006/main">)"
       R"(<x:si><x:t>plain</x:t></x:si>)"
       R"(<x:si><x:r><x:t xml:space="preserve">rich </x:t></x:r><x:r><x:rPr><x:b/></x:rPr><x:t>text</x:t></x:r>)"
       R"(<x:rPh sb="0" eb="1"><x:t>guide</x:t></x:rPh></x:si>)"
       R"(<x:si><x:t>line_x000D_end &amp; more</x:t></x:si></x:sst>)"},
      {"book/sheets/one.xml", sheetXml},
  };
}

TEST_F(SpreadsheetTest, ForeignWorkbookWithPrefixesSharedStringsAndCellsWithoutReferences) {
  const fs::path book = ScratchFolder() / "foreign.xlsx";
  const std::string sheet =
      R"(<x:worksheet xmlns:x="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><x:sheetData>)"
      R"(<x:row><x:c t="s"><x:v>0</x:v></x:c><x:c t="s"><x:v>1</x:v></x:c>)"
      R"(<x:c t="inlineStr"><x:is><x:t>inline</x:t></x:is></x:c></x:row>)"
      R"(<x:row><x:c><x:v>4</x:v></x:c><x:c t="b"><x:v>1</x:v></x:c>)"
      R"(<x:c t="str"><x:v>formula</x:v></x:c></x:row>)"
      R"(<x:row><x:c t="s"><x:v>2</x:v></x:c><x:c t="e"><x:v>#DIV/0!</x:v></x:c>)"
      R"(<x:c><x:v>2.5E1</x:v></x:c></x:row>)"
      R"(<x:row r="5"><x:c r="C5" t="s"><x:v>99</x:v></x:c><x:c r="A5"><x:v>5</x:v></x:c></x:row>)"
      R"(<x:row r="4"><x:c r="A4"><x:v>4.5</x:v></x:c><x:c r="B4" s="3"/></x:row>)"
      R"(</x:sheetData></x:worksheet>)";
  WriteZip(book, ForeignWorkbook(sheet));
  const SpreadsheetTable table = Read(book, Columns({L"A", L"B", L"C"}));
  ASSERT_EQ(table.size(), 3u);
  EXPECT_THAT(table[0], ElementsAre(L"plain", L"4.0", L"line\rend & more", L"4.5", L"5.0"));
  EXPECT_THAT(table[1], ElementsAre(L"rich text"));  // a boolean, an error and a styled blank read as empty
  EXPECT_THAT(table[2], ElementsAre(L"inline", L"formula", L"25.0"));  // a bad string index reads as empty

  // kvxim sheet escapes what JSON cannot carry as it is.
  std::ostringstream out, err;
  EXPECT_EQ(RunSheetCommand({book.string(), {"A"}, {}, true}, out, err), 0);
  EXPECT_EQ(out.str(), "[[\"plain\",\"4.0\",\"line\\rend & more\",\"4.5\",\"5.0\"]]\n");
}

TEST_F(SpreadsheetTest, ForeignWorkbookThatDoesNotHoldTogether) {
  const fs::path folder = ScratchFolder();
  auto noRels = ForeignWorkbook("<worksheet/>");
  noRels.erase("book/_rels/main.xml.rels");
  auto badStrings = ForeignWorkbook("<worksheet/>");
  badStrings["strings.xml"] = "<sst><si>";
  const std::map<std::string, std::map<std::string, std::string>> broken = {
      {"badxml", ForeignWorkbook("<x:worksheet><x:sheetData><x:row>")},
      {"norels", noRels},
      {"badstrings", badStrings},
      {"unclosed", ForeignWorkbook("<worksheet><sheetData><row><c><v>1</v></c></row>")},
  };
  for (const auto& [name, members] : broken) {
    WriteZip(folder / (name + ".xlsx"), members);
    EXPECT_EQ(Failure(folder / (name + ".xlsx")), L"text 2534") << name;
  }
  // A sheet without cells is read, to empty columns.
  for (const char* sheet : {"<worksheet/>", "<worksheet><x:sheetData/></worksheet>"}) {
    WriteZip(folder / "blank.xlsx", ForeignWorkbook(sheet));
    EXPECT_THAT(Read(folder / "blank.xlsx", Columns({L"A"})), ElementsAre(IsEmpty())) << sheet;
  }
}

TEST_F(SpreadsheetTest, BigSheetIsReadAcrossBlocks) {
  std::string xml = R"(<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheetData>)";
  for (int row = 1; row <= 60000; ++row) {
    const std::string r = std::to_string(row);
    xml += "<row r=\"" + r + "\"><c r=\"A" + r + "\"><v>" + r + "</v></c>";
    if (row % 7 == 0) xml += "<c r=\"C" + r + "\" t=\"inlineStr\"><is><t>t</t></is></c>";
    xml += "</row>";
  }
  xml += "</sheetData></worksheet>";
  ASSERT_GT(xml.size(), 3u << 20);  // several blocks of rows
  const fs::path book = ScratchFolder() / "big.xlsx";
  WriteZip(book, ForeignWorkbook(xml));
  const SpreadsheetTable table = Read(book, Columns({L"A", L"C"}));
  ASSERT_EQ(table.size(), 2u);
  ASSERT_EQ(table[0].size(), 60000u);
  EXPECT_EQ(table[0][12344], L"12345.0");
  EXPECT_EQ(table[0].back(), L"60000.0");
  ASSERT_EQ(table[1].size(), 59997u);  // the last multiple of 7
  EXPECT_EQ(table[1][6], L"t");
  EXPECT_EQ(table[1][7], L"");
}

TEST_F(SpreadsheetTest, RowEndInsideACommentOrCharacterData) {
  const fs::path book = ScratchFolder() / "hidden.xlsx";
  WriteZip(book, ForeignWorkbook(R"(<worksheet><sheetData>)"
                                 R"(<row r="1"><c r="A1" t="inlineStr"><is><t><![CDATA[a</row>b]]></t></is></c></row>)"
                                 R"(<row r="2"><c r="A2"><v>2</v></c></row><!-- </row> --></sheetData></worksheet>)"));
  EXPECT_THAT(Read(book, Columns({L"A"})), ElementsAre(Column{L"a</row>b", L"2.0"}));
}

TEST_F(SpreadsheetTest, TheActiveSheetIsRead) {
  for (const char* name : {"active.xlsx", "active.xls"})
    EXPECT_THAT(Read(Sample(name), Columns({L"A"})), ElementsAre(Column{L"second sheet"})) << name;
}

// One workbook saved by a spreadsheet program in both formats, with the results of its formulas: every
// kind of cell reads alike on both roads, as the program shows it (numbers and texts as such, formulas
// as their results, booleans, dates and errors as empty texts), from the sheet it opens on.
TEST_F(SpreadsheetTest, OneWorkbookReadsAlikeInBothFormats) {
  const std::string expected =
      "[[\"Over\",\"1.0\",\"2.5\",\"-3.0\",\"0.0\",\"123456.789\",\"\u00d8 10 \u00b5m \U0001d70b\",\" a \"],"
      R"(["","","4.0","","5.0"],)"                 // booleans, a boolean formula
      R"(["","","","","8.0","0.25"],)"             // a date, a time, a date and time, a date formula, a percentage
      R"(["","","9.0","1.0"],)"                    // error formulas; a formula on an empty cell
      R"(["2.0","abcd","","","","0.625","x"],)"    // formula results: number, text, boolean, error, empty text
      R"(["1.5","3.0","4.5","6.0","7.5","9.0","10.5","12.0","13.5","15.0","16.5","18.0","after"],)"
      R"(["","7.0"]])" "\n";
  for (const char* name : {"mixed.xlsx", "mixed.xls"}) {
    std::ostringstream out, err;
    EXPECT_EQ(RunSheetCommand({Sample(name).string(), {"A", "B", "C", "D", "E", "F", "G"}, {}, true}, out, err), 0);
    EXPECT_EQ(out.str(), expected) << name;
  }
}

// Shared texts beyond one record go on in continuation records, some breaking inside a two-byte text.
TEST_F(SpreadsheetTest, SharedTextsAcrossContinuationRecords) {
  const SpreadsheetTable table = Read(Sample("texts.xls"), Columns({L"A"}));
  ASSERT_EQ(table.size(), 1u);
  ASSERT_EQ(table[0].size(), 300u);
  for (std::size_t row = 0; row < table[0].size(); ++row) {
    wchar_t number[8];
    std::swprintf(number, 8, L"%04zu ", row);
    EXPECT_EQ(table[0][row], number + std::wstring(20 + row % 17, row % 2 == 0 ? L'\u0416' : L'z')) << row;
  }
}

// --- Workbook streams built record by record, for what no writer at hand produces -----------------

std::string LittleEndian(std::uint64_t value, int bytes) {
  std::string out;
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
  return out;
}
std::string Rec(std::uint16_t type, const std::string& data) {
  return LittleEndian(type, 2) + LittleEndian(data.size(), 2) + data;
}
std::string Bof(std::uint16_t version, std::uint16_t kind) {
  return Rec(0x0809, LittleEndian(version, 2) + LittleEndian(kind, 2) + std::string(12, '\0'));
}
std::string At(std::uint16_t row, std::uint16_t column) {
  return LittleEndian(row, 2) + LittleEndian(column, 2) + LittleEndian(0, 2);
}
const std::string kEof = Rec(0x000A, "");

// Globals (with `extra` records and a window whose active tab is 5) and one sheet holding `cells`.
std::string Stream(const std::string& cells, const std::string& extra = "") {
  const std::string window = Rec(0x003D, std::string(10, '\0') + LittleEndian(5, 2) + std::string(6, '\0'));
  const std::size_t globalsSize = 20 + extra.size() + window.size() + 13 + kEof.size();
  const std::string sheet = Rec(0x0085, LittleEndian(globalsSize, 4) + std::string("\0\0\1\0S", 5));
  return Bof(0x0600, 5) + extra + window + sheet + kEof + Bof(0x0600, 0x10) + cells + kEof;
}

TEST(BiffSheetTest, CellRecordsAndTheirEncodings) {
  const std::string cells =
      Rec(0x027E, At(0, 0) + LittleEndian(5 << 2 | 2, 4)) +        // an integer
      Rec(0x027E, At(1, 0) + LittleEndian(0x406F4001, 4)) +        // the high bits of 250.0, in hundredths
      Rec(0x00BD, At(2, 0).substr(0, 4) + LittleEndian(0, 2) + LittleEndian(static_cast<std::uint32_t>(-7 * 4 | 2), 4) +
                      LittleEndian(0, 2) + LittleEndian(0x406F4000, 4) + LittleEndian(1, 2)) +
      Rec(0x0204, At(3, 0) + LittleEndian(3, 2) + '\0' + "lbl") +
      // A formula's text result, going on in a continuation record with two bytes per character.
      Rec(0x0006, At(4, 0) + LittleEndian(0xFFFF000000000000, 8) + std::string(8, '\0')) +
      Rec(0x0207, LittleEndian(3, 2) + '\0' + "ab") + Rec(0x003C, "\x01\x16\x04") +
      Rec(0x00FD, At(5, 0) + LittleEndian(9, 4)) +                 // a shared text the workbook lacks
      Bof(0x0600, 0x20) + Rec(0x0203, At(6, 0) + LittleEndian(0x4058C00000000000, 8)) + kEof +  // a chart's
      Rec(0x0203, At(7, 0) + LittleEndian(0x4020000000000000, 8)) +
      Rec(0x0203, At(7, 300) + LittleEndian(0, 8)) + Rec(0x0006, At(8, 0));  // beyond column IV; too short
  const auto sheet = kvx::params::detail::BiffSheet::Parse(Stream(cells), Columns({L"A", L"B"}));
  ASSERT_NE(sheet, nullptr);  // the active tab names no sheet: the first is read
  kvx::sheet::SheetTable table;
  std::int32_t lastRow = 0;
  ASSERT_TRUE(kvx::sheet::ReadColumns(*sheet, Columns({L"A", L"B"}), table, lastRow));
  EXPECT_THAT(table, ElementsAre(Column{L"5.0", L"2.5", L"-7.0", L"lbl", L"ab\u0416", L"", L"", L"8.0"},
                                 Column{L"", L"", L"250.0"}));
}

TEST(BiffSheetTest, StreamsThatDoNotHoldTogetherAreRefused) {
  const std::string number = Rec(0x0203, At(0, 0) + LittleEndian(0, 8));
  const std::string good = Stream(number);
  const std::string sst = Rec(0x00FC, LittleEndian(2, 4) + LittleEndian(2, 4) + LittleEndian(1, 2) + '\0' + "x");
  const std::map<std::string, std::string> streams = {
      {"empty", ""},
      {"encrypted", Stream(number, Rec(0x002F, std::string(6, '\0')))},
      {"older version", Bof(0x0500, 5) + good.substr(20)},
      {"record beyond the end", Stream(number.substr(0, 10))},
      {"sheet without its end", good.substr(0, good.size() - kEof.size())},
      {"sheet beyond the end", good.substr(0, good.size() - number.size() - 24)},
      {"fewer shared texts than counted", Stream(number, sst)},
  };
  for (const auto& [name, stream] : streams)
    EXPECT_EQ(kvx::params::detail::BiffSheet::Parse(stream, Columns({L"A"})), nullptr) << name;
  EXPECT_NE(kvx::params::detail::BiffSheet::Parse(good, Columns({L"A"})), nullptr);
}

// --- The column walk with cells of every type -----------------------------------------------------

// A sheet given cell by cell; rows after `lastRow` do not exist, reading `failingRow` fails.
class ScriptedSheet : public kvx::sheet::CellSource {
 public:
  std::map<std::int32_t, CellValue> cells;
  std::int32_t lastRow = INT_MAX;
  std::int32_t failingRow = 0;
  int reads = 0;

  CellRead Read(const std::wstring&, std::int32_t row, CellValue& value) override {
    ++reads;
    if (row == failingRow) return CellRead::Failed;
    if (row > lastRow) return CellRead::NoSuchCell;
    const auto found = cells.find(row);
    value = found == cells.end() ? CellValue{} : found->second;
    return CellRead::Value;
  }
};

TEST(ColumnWalkTest, CellsOfEveryTypeSheetEndAndReadFailure) {
  ScriptedSheet sheet;
  sheet.cells = {{1, {CellType::Int16, 5, {}}}, {2, {CellType::Float, 1.5, {}}}, {3, {CellType::Int32, 70000, {}}},
                 {4, {CellType::Bool, 1, {}}},  {5, {CellType::Date, 0, {}}},   {6, {CellType::Error, 0, {}}},
                 {7, {CellType::Text, 0, L"end"}}};
  kvx::sheet::ColumnResult column;
  std::int32_t lastRow = 0;
  ASSERT_TRUE(kvx::sheet::ReadColumn(sheet, {L"A", 0}, column, lastRow));
  EXPECT_THAT(column, ElementsAre(L"5.0", L"1.5", L"70000.0", L"", L"", L"", L"end"));
  EXPECT_EQ(lastRow, 18);
  EXPECT_EQ(sheet.reads, 17);

  sheet.cells = {{1, {CellType::Double, 1, {}}}, {2, {CellType::Double, 2, {}}}};
  sheet.lastRow = 2;
  kvx::sheet::SheetTable table;
  lastRow = -1;
  ASSERT_TRUE(kvx::sheet::ReadColumns(sheet, {{L"A", 0}, {L"B", 4}}, table, lastRow));
  EXPECT_THAT(table, ElementsAre(Column{L"1.0", L"2.0"}, Column{L"1.000000", L"2.000000"}));
  EXPECT_EQ(lastRow, -1);  // the sheet ended before ten empty cells: the last row stays

  sheet.failingRow = 2;
  table.clear();
  EXPECT_FALSE(kvx::sheet::ReadColumns(sheet, {{L"A", 0}}, table, lastRow));
  EXPECT_THAT(table, IsEmpty());
}

// --- The table check -------------------------------------------------------------------------------

TEST_F(SpreadsheetTest, CheckNamesEveryEmptyColumnAndSurvivesBadTranslations) {
  std::wstring error = L"untouched";
  EXPECT_TRUE(kvx::params::CheckSpreadsheetTable({{L"1"}, {L"2"}}, error));
  EXPECT_TRUE(kvx::params::CheckSpreadsheetTable({}, error));
  EXPECT_EQ(error, L"untouched");
  EXPECT_FALSE(kvx::params::CheckSpreadsheetTable({{}, {L"2"}, {}, {}}, error));
  EXPECT_EQ(error, L"Columns 1, 3, 4 are empty");

  SetEmptyColumnsFormat("Spalten %d %s %s leer");
  EXPECT_FALSE(kvx::params::CheckSpreadsheetTable({{}, {L"2"}, {}}, error));
  EXPECT_THAT(kvx::platform::Narrow(error), HasSubstr("1, 3"));
  kvx::platform::SetCurrentResourceLibrary(nullptr);  // no texts at all: an empty message, no crash
  EXPECT_FALSE(kvx::params::CheckSpreadsheetTable({{}}, error));
  EXPECT_EQ(error, L"");

  const auto english = kvx::platform::ResourceLibrary::Load(Wide(KVX_BIN_DIR "/res/english/libKVXIMRulesResu.so"));
  ASSERT_NE(english, nullptr);
  kvx::platform::ResourceScope scope(english.get());
  EXPECT_FALSE(kvx::params::CheckSpreadsheetTable({{}, {L"2"}, {}}, error));
  EXPECT_THAT(kvx::platform::Narrow(error), testing::AllOf(HasSubstr("1, 3"), testing::Not(HasSubstr("%"))));
}

// --- The directory probe ---------------------------------------------------------------------------

TEST_F(SpreadsheetTest, DirectoryProbe) {
  const fs::path folder = ScratchFolder();
  EXPECT_EQ(kvx::params::ProbeDirectoryWithLogFile(Wide(folder)), kvx::params::kDirectoryWritable);
  EXPECT_TRUE(fs::is_empty(folder));  // the scratch log file is gone again
  std::ofstream(folder / "file.txt") << "x";
  for (const fs::path& notAFolder : {fs::path(), folder / "missing", folder / "file.txt"}) {
    EXPECT_EQ(kvx::params::ProbeDirectoryWithLogFile(Wide(notAFolder)), kvx::params::kNotADirectory) << notAFolder;
  }
  // The scratch file cannot be created where a folder of its name stands (a test that holds as root too).
  fs::create_directories(folder / "busy" / "KVX.log");
  EXPECT_EQ(kvx::params::ProbeDirectoryWithLogFile(Wide(folder / "busy")), kvx::params::kDirectoryNotWritable);
  EXPECT_TRUE(fs::is_directory(folder / "busy" / "KVX.log"));
}

// Kept exactly, odd spaces included: the host's file dialogs are given these strings as they are.
TEST(SpreadsheetFiltersTest, FiltersAreKeptExactly) {
  EXPECT_STREQ(kvx::params::kSpreadsheetFileFilter, L"XLS Files (*.xls;*.xlsx)|*.xls; *.xlsx|");
  EXPECT_STREQ(kvx::params::kPartAssemblyFileFilter, L"(*.prt.*;*.prt)|*.prt.*;*.prt |(*.asm.*;*.asm)|*.asm.*;*.asm||");
}

// --- kvxim sheet ---------------------------------------------------------------------------------------

TEST_F(SpreadsheetTest, SheetCommandPrintsJsonOrRowsAndReportsFailures) {
  struct Run {
    SheetCommandOptions options;
    int exitCode;
    std::string out, err;
  };
  const std::string layoutXls = Sample("layout.xls").string();
  const std::vector<Run> runs = {
      {{Sample("layout.xlsx").string(), {"A", "B", "E"}, {0, 0, 4}, true}, 0,
       R"([["Over","0.0","3.0","6.5","10.0"],["x","","2.5"],)"
       R"(["100000.000000","-3.000000","1.250000","0.000000","123456.789000"]])" "\n", ""},
      {{layoutXls, {"B", "C"}, {}, false}, 2,
       "Column B: 3 rows\n       1  x\n       2  \n       3  2.5\nColumn C: 0 rows\n",
       "kvxim sheet: column C is empty\n"},
      {{Sample("random.xls").string(), {"A"}, {}, true}, 1, "", "random.xls: text 2532"},
      {{layoutXls, {"A"}, {0, 4}, true}, 1, "", "2 kinds given for 1 columns"},
  };
  for (const Run& run : runs) {
    std::ostringstream out, err;
    EXPECT_EQ(RunSheetCommand(run.options, out, err), run.exitCode) << err.str();
    EXPECT_EQ(out.str(), run.out);
    if (run.err.empty()) EXPECT_EQ(err.str(), "");
    else EXPECT_THAT(err.str(), HasSubstr(run.err));
  }
}

TEST_F(SpreadsheetTest, SheetSubcommandParsesItsOptions) {
  CLI::App app;
  kvxim::CommandTable table;
  AddSheetCommand(app, table);
  EXPECT_THROW(app.parse("sheet", false), CLI::ParseError);  // FILE is required
  app.parse("sheet " + Sample("layout.xlsx").string() + " --columns B,F --json", false);
  ASSERT_EQ(table.size(), 1u);
  testing::internal::CaptureStdout();
  EXPECT_EQ(table[0].run(nullptr), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "[[\"x\",\"\",\"2.5\"],[\"\u00d8 10 \u00b5m\",\" a \",\" \"]]\n");
}

}  // namespace
