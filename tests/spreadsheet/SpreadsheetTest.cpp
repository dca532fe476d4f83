// The spreadsheet reader on both roads, the .xlsx helper library, the shared column walk, the table
// check, the directory probe and `kvxim sheet`.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zip.h>

#include <CLI/CLI.hpp>
#include <climits>
#include <cstring>
#include <fmt/format.h>
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
#include "xlsx/XlsxParts.h"
#include "xlsx/XlsxRowStream.h"
#include "../../params/spreadsheet/src/SpreadsheetRoads.h"
#include "../../params/spreadsheet/src/posix/BiffSheet.h"

namespace fs = std::filesystem;
namespace xlsx = kvx::sheet::xlsx;
using kvx::params::ColumnRequest;
using kvx::params::SpreadsheetTable;
using kvx::platform::Narrow;
using kvx::sheet::CellRead;
using kvx::sheet::CellType;
using kvx::sheet::CellValue;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Column = std::vector<std::wstring>;

fs::path Sample(const char* name) { return fs::path(KVX_SOURCE_DIR "/tests/spreadsheet/data") / name; }
std::wstring Wide(const fs::path& path) { return kvx::platform::Widen(path.string()); }
std::vector<fs::path> Samples(const std::string& names) {
  std::vector<fs::path> paths;
  std::istringstream list(names);
  for (std::string name; list >> name;) paths.push_back(Sample(name.c_str()));
  return paths;
}
const std::wstring kTestResources = kvx::platform::Widen(SHEET_TEST_RESOURCES);

std::vector<ColumnRequest> Columns(std::initializer_list<const wchar_t*> letters, std::int32_t kind = 0) {
  std::vector<ColumnRequest> requests;
  for (const wchar_t* letter : letters) requests.push_back({letter, kind});
  return requests;
}

// Reads the columns `letters` ("A,B") of `path` as `kind`: the cells joined by ',' and the columns by '|', or
// '!' and the error text. A stale column in the table must be gone: reading empties the table first.
std::string Read(const fs::path& path, const std::string& letters, std::int32_t kind = 0) {
  std::vector<ColumnRequest> requests;
  std::istringstream list(letters);
  for (std::string letter; std::getline(list, letter, ',');) requests.push_back({kvx::platform::Widen(letter), kind});
  SpreadsheetTable table{{L"stale"}, {L"stale"}};
  std::wstring error;
  if (!kvx::params::ReadSpreadsheet(Wide(path), requests, table, error)) return "!" + Narrow(error);
  std::string text;
  for (const Column& column : table) {
    text += &column == table.data() ? "" : "|";
    for (const std::wstring& cell : column) text += (&cell == column.data() ? "" : ",") + Narrow(cell);
  }
  return text;
}

constexpr const char* kRelationshipTypes = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

// A workbook as another program writes it: prefixed names, a workbook part in a folder of its own, shared
// strings with rich and phonetic runs and an escaped carriage return.
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

// Cells with and without references, of every type, rows out of order.
const std::string kForeignSheet =
    R"(<x:worksheet xmlns:x="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><x:sheetData>)"
    R"(<x:row><x:c t="s"><x:v>0</x:v></x:c><x:c t="s"><x:v>1</x:v></x:c>)"
    R"(<x:c t="inlineStr"><x:is><x:t>inline</x:t></x:is></x:c></x:row>)"
    R"(<x:row><x:c><x:v>4</x:v></x:c><x:c t="b"><x:v>1</x:v></x:c><x:c t="str"><x:v>formula</x:v></x:c></x:row>)"
    R"(<x:row><x:c t="s"><x:v>2</x:v></x:c><x:c t="e"><x:v>#DIV/0!</x:v></x:c><x:c><x:v>2.5E1</x:v></x:c></x:row>)"
    R"(<x:row r="5"><x:c r="C5" t="s"><x:v>99</x:v></x:c><x:c r="A5"><x:v>5</x:v></x:c></x:row>)"
    R"(<x:row r="4"><x:c r="A4"><x:v>4.5</x:v></x:c><x:c r="B4" s="3"/></x:row>)"
    R"(</x:sheetData></x:worksheet>)";

// Makes the stand-in resource library current, so each message reads "text <id>"; gives each test a fresh folder.
class SpreadsheetTest : public testing::Test {
 protected:
  void SetUp() override {
    resources_ = kvx::platform::ResourceLibrary::Load(kTestResources);
    ASSERT_NE(resources_, nullptr);
    previous_ = kvx::platform::SetCurrentResourceLibrary(resources_.get());
    SetEmptyColumnsFormat("Columns %s are empty");
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    folder_ = fs::path(KVX_BIN_DIR).parent_path() / "test-output" / "spreadsheet" / info->name();
    fs::remove_all(folder_);
    fs::create_directories(folder_);
  }
  void TearDown() override { kvx::platform::SetCurrentResourceLibrary(previous_); }

  void SetEmptyColumnsFormat(const char* format) {
    using SetFormatFn = void (*)(const char*);
    const auto library = kvx::platform::DynamicLibrary::Load(kTestResources);
    library->template Function<SetFormatFn>("SheetTestSetEmptyColumnsFormat")(format);
  }

  // Writes a zip archive with the given members into the test's folder.
  fs::path Zip(const std::string& name, const std::map<std::string, std::string>& members) {
    const fs::path path = folder_ / name;
    int code = 0;
    zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code);
    EXPECT_NE(archive, nullptr);
    for (const auto& [member, content] : members) {
      zip_source_t* source = zip_source_buffer(archive, content.data(), content.size(), 0);
      EXPECT_GE(zip_file_add(archive, member.c_str(), source, ZIP_FL_ENC_UTF_8), 0);
    }
    EXPECT_EQ(zip_close(archive), 0);
    return path;
  }

  std::unique_ptr<kvx::platform::ResourceLibrary> resources_;
  const kvx::platform::ResourceLibrary* previous_ = nullptr;
  fs::path folder_;
};

// --- Every workbook reads to its table, or to the error text that says why not ------------------

TEST_F(SpreadsheetTest, WorkbooksReadToTheirTablesOrTheirErrors) {
  fs::copy_file(Sample("layout.xlsx"), folder_ / "book.xls");
  fs::copy_file(Sample("layout.xlsx"), folder_ / "BOOK.XLSX");
  auto noRels = ForeignWorkbook("<worksheet/>"), badStrings = noRels;
  noRels.erase("book/_rels/main.xml.rels");
  badStrings["strings.xml"] = "<sst><si>";
  std::string texts;  // shared texts going on in continuation records, some breaking inside a two-byte text
  for (int row = 0; row < 300; ++row) {
    texts += (row ? "," : "") + fmt::format("{:04} ", row);
    for (int i = 0; i < 20 + row % 17; ++i) texts += row % 2 == 0 ? "\u0416" : "z";
  }
  // The layout sample, written by two independent writers: values in rows 1 and 3 of B, the first ten cells
  // of C empty, a gap of nine in D, a date and a time in G that are no numbers.
  const std::string layout = "Over,0.0,3.0,6.5,10.0|x,,2.5||1.0,,,,,,,,,,2.0|100000.0,-3.0,1.25,0.0,123456.789|"
                             "\u00d8 10 \u00b5m, a , |,5.0,0.25,,7.0";
  const std::string fixed = "100000.000000,-3.000000,1.250000,0.000000,123456.789000|"
                            "Over,0.000000,3.000000,6.500000,10.000000";  // kind 4 keeps texts
  // One workbook saved by a spreadsheet program in both formats, with the results of its formulas, read from
  // the sheet it opens on: formulas as their results; booleans, dates and errors as empty texts.
  const std::string mixed = "Over,1.0,2.5,-3.0,0.0,123456.789,\u00d8 10 \u00b5m \U0001d70b, a |,,4.0,,5.0|"
                            ",,,,8.0,0.25|,,9.0,1.0|2.0,abcd,,,,0.625,x|"
                            "1.5,3.0,4.5,6.0,7.5,9.0,10.5,12.0,13.5,15.0,16.5,18.0,after|,7.0";
  const struct {
    std::vector<fs::path> files;
    const char* letters;
    int kind;
    std::string table;
  } cases[] = {
      {Samples("layout.xlsx layout.xls"), "A,B,C,D,E,F,G", 0, layout},
      {Samples("layout.xlsx layout.xls"), "E,A", kvx::sheet::kColumnKindFixed, fixed},
      {Samples("layout.xlsx layout.xls"), ",1,A1,b,ZZZZ", 0, "|||x,,2.5|"},  // letters that are no column: empty
      {{folder_ / "BOOK.XLSX"}, "B", 0, "x,,2.5"},        // the extension chooses the road, in capitals too
      {{folder_ / "book.xls"}, "A", 0, "!text 2532"},     // the workbook road cannot open a zip archive
      {Samples("active.xlsx active.xls"), "A", 0, "second sheet"},  // the sheet the workbook opens on
      {Samples("mixed.xlsx mixed.xls"), "A,B,C,D,E,F,G", 0, mixed},
      {Samples("texts.xls"), "A", 0, texts},
      {{Zip("foreign.xlsx", ForeignWorkbook(kForeignSheet))}, "A,B,C", 0,
       "plain,4.0,line\rend & more,4.5,5.0|rich text|inline,formula,25.0"},  // a bad string index reads as empty
      {{Zip("hidden.xlsx", ForeignWorkbook(R"(<worksheet><sheetData><row r="1"><c r="A1" t="inlineStr"><is><t>)"
                                           R"(<![CDATA[a</row>b]]></t></is></c></row><row r="2"><c r="A2"><v>2</v>)"
                                           R"(</c></row><!-- </row> --></sheetData></worksheet>)"))},
       "A", 0, "a</row>b,2.0"},  // a row end inside character data or a comment ends no row
      {{Zip("blank.xlsx", ForeignWorkbook("<worksheet/>")),
        Zip("blank2.xlsx", ForeignWorkbook("<worksheet><x:sheetData/></worksheet>"))}, "A", 0, ""},
      {{Zip("badxml.xlsx", ForeignWorkbook("<x:worksheet><x:sheetData><x:row>")),
        Zip("unclosed.xlsx", ForeignWorkbook("<worksheet><sheetData><row><c><v>1</v></c></row>")),
        Zip("norels.xlsx", noRels), Zip("badstrings.xlsx", badStrings), Sample("truncated.xlsx"),
        Sample("nosheet.xlsx"), Sample("empty.xlsx")}, "A", 0, "!text 2534"},
      // The spreadsheet application cannot open these: damaged, older than BIFF8, no file at all, a folder.
      {Samples("missing.xlsx truncated.xls random.xls empty.xls biff5.xls missing.xls ."), "A", 0, "!text 2532"},
  };
  for (const auto& c : cases)
    for (const fs::path& file : c.files) EXPECT_EQ(Read(file, c.letters, c.kind), c.table) << file << " " << c.letters;
}

TEST_F(SpreadsheetTest, WorkbookRoadSetsTheModuleLastRowAndTheHelperDoesNot) {
  const std::pair<const char*, std::int32_t> reads[] = {{"F", 14}, {"A", 16}};  // F: rows 4 to 13 empty
  for (const auto& [letter, lastRow] : reads) {
    Read(Sample("layout.xls"), letter);
    EXPECT_EQ(kvx::params::SpreadsheetLastRow(), lastRow) << letter;
  }
  Read(Sample("layout.xlsx"), "F");
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

// Files that once crashed a reader, most of them found by the fuzzer: each is read or refused, nothing more.
TEST_F(SpreadsheetTest, HostileXlsFilesAreReadOrRefused) {
  ASSERT_TRUE(fs::is_directory(Sample("hostile")));
  for (const auto& entry : fs::directory_iterator(Sample("hostile"))) {
    const std::string result = Read(entry.path(), "A,B,IV");
    if (!result.empty() && result.front() == '!') {
      EXPECT_EQ(result, "!text 2532") << entry.path();
    }
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
struct ScriptedSheet : kvx::sheet::CellSource {
  std::map<std::int32_t, CellValue> cells;
  std::int32_t lastRow = INT_MAX, failingRow = 0;
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
  EXPECT_THAT(table, testing::IsEmpty());
}

// --- The table check, the directory probe and the file filters -----------------------------------

TEST_F(SpreadsheetTest, CheckNamesEveryEmptyColumnAndSurvivesBadTranslations) {
  std::wstring error = L"untouched";
  EXPECT_TRUE(kvx::params::CheckSpreadsheetTable({{L"1"}, {L"2"}}, error));
  EXPECT_TRUE(kvx::params::CheckSpreadsheetTable({}, error));
  EXPECT_EQ(error, L"untouched");
  EXPECT_FALSE(kvx::params::CheckSpreadsheetTable({{}, {L"2"}, {}, {}}, error));
  EXPECT_EQ(error, L"Columns 1, 3, 4 are empty");

  SetEmptyColumnsFormat("Spalten %d %s %s leer");
  EXPECT_FALSE(kvx::params::CheckSpreadsheetTable({{}, {L"2"}, {}}, error));
  EXPECT_THAT(Narrow(error), HasSubstr("1, 3"));
  kvx::platform::SetCurrentResourceLibrary(nullptr);  // no texts at all: an empty message, no crash
  EXPECT_FALSE(kvx::params::CheckSpreadsheetTable({{}}, error));
  EXPECT_EQ(error, L"");

  const auto english = kvx::platform::ResourceLibrary::Load(Wide(KVX_BIN_DIR "/res/english/libKVXIMRulesResu.so"));
  ASSERT_NE(english, nullptr);
  kvx::platform::ResourceScope scope(english.get());
  EXPECT_FALSE(kvx::params::CheckSpreadsheetTable({{}, {L"2"}, {}}, error));
  EXPECT_THAT(Narrow(error), testing::AllOf(HasSubstr("1, 3"), testing::Not(HasSubstr("%"))));
}

TEST_F(SpreadsheetTest, DirectoryProbeAndFileFilters) {
  EXPECT_EQ(kvx::params::ProbeDirectoryWithLogFile(Wide(folder_)), kvx::params::kDirectoryWritable);
  EXPECT_TRUE(fs::is_empty(folder_));  // the scratch log file is gone again
  std::ofstream(folder_ / "file.txt") << "x";
  for (const fs::path& notAFolder : {fs::path(), folder_ / "missing", folder_ / "file.txt"})
    EXPECT_EQ(kvx::params::ProbeDirectoryWithLogFile(Wide(notAFolder)), kvx::params::kNotADirectory) << notAFolder;
  // The scratch file cannot be created where a folder of its name stands (a test that holds as root too).
  fs::create_directories(folder_ / "busy" / "KVX.log");
  EXPECT_EQ(kvx::params::ProbeDirectoryWithLogFile(Wide(folder_ / "busy")), kvx::params::kDirectoryNotWritable);
  EXPECT_TRUE(fs::is_directory(folder_ / "busy" / "KVX.log"));

  // Kept exactly, odd spaces included: the host's file dialogs are given these strings as they are.
  EXPECT_STREQ(kvx::params::kSpreadsheetFileFilter, L"XLS Files (*.xls;*.xlsx)|*.xls; *.xlsx|");
  EXPECT_STREQ(kvx::params::kPartAssemblyFileFilter, L"(*.prt.*;*.prt)|*.prt.*;*.prt |(*.asm.*;*.asm)|*.asm.*;*.asm||");
}

// --- kvxim sheet ---------------------------------------------------------------------------------------

TEST_F(SpreadsheetTest, SheetCommandPrintsJsonOrRowsAndReportsFailures) {
  const struct {
    SheetCommandOptions options;
    int exitCode;
    std::string out, err;
  } runs[] = {
      {{Sample("layout.xlsx").string(), {"A", "B", "E"}, {0, 0, 4}, true}, 0,
       R"([["Over","0.0","3.0","6.5","10.0"],["x","","2.5"],)"
       R"(["100000.000000","-3.000000","1.250000","0.000000","123456.789000"]])" "\n", ""},
      {{Sample("layout.xls").string(), {"B", "C"}, {}, false}, 2,
       "Column B: 3 rows\n       1  x\n       2  \n       3  2.5\nColumn C: 0 rows\n",
       "kvxim sheet: column C is empty\n"},
      {{Sample("random.xls").string(), {"A"}, {}, true}, 1, "", "random.xls: text 2532"},
      {{Sample("layout.xls").string(), {"A"}, {0, 4}, true}, 1, "", "2 kinds given for 1 columns"},
      // What JSON cannot carry as it is gets escaped.
      {{Zip("foreign.xlsx", ForeignWorkbook(kForeignSheet)).string(), {"A"}, {}, true}, 0,
       "[[\"plain\",\"4.0\",\"line\\rend & more\",\"4.5\",\"5.0\"]]\n", ""},
  };
  for (const auto& run : runs) {
    std::ostringstream out, err;
    EXPECT_EQ(RunSheetCommand(run.options, out, err), run.exitCode) << err.str();
    EXPECT_EQ(out.str(), run.out);
    if (run.err.empty()) EXPECT_EQ(err.str(), "");
    else EXPECT_THAT(err.str(), HasSubstr(run.err));
  }

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

// --- The .xlsx reader against hostile archives: what an archive declares is never trusted beyond the data it
// really holds, and a sheet is searched in one pass however its rows fall into blocks. ------------------

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

xlsx::ZipArchive Open(const fs::path& path) {
  int code = 0;
  return xlsx::ZipArchive(zip_open(path.c_str(), ZIP_RDONLY, &code));
}

// Text that deflate shrinks a little, not a thousandfold.
std::string Varied(std::size_t size) {
  std::string text;
  for (std::uint32_t x = 12345; text.size() < size; x = x * 1103515245u + 12345u) text += char('a' + (x >> 16) % 26);
  return text;
}

using XlsxLimits = SpreadsheetTest;

TEST_F(XlsxLimits, DeclaredPartSizesAreNeverTrustedBeyondTheRealData) {
  const std::pair<const char*, std::uint32_t> cases[] = {
      {"a claim its compressed data cannot hold", 1u << 30},
      {"a claim deflate could hold but the data does not", 2u << 20},
      {"a claim shorter than the data", 100},
  };
  for (const auto& [what, declared] : cases) {
    const fs::path path = Zip("lying.zip", {{"part.xml", Varied(4000)}});
    DeclareSize(path, declared);
    const xlsx::ZipArchive archive = Open(path);
    ASSERT_TRUE(archive) << what;
    std::string bytes;
    EXPECT_FALSE(xlsx::ReadPart(archive.get(), "part.xml", bytes)) << what;
    EXPECT_LT(bytes.capacity(), std::size_t{256} << 10) << what;  // memory follows the data, not the claim
  }
}

TEST_F(XlsxLimits, RowEndsAreSearchedInOnePassAndARowLongerThanTheReaderHoldsIsRefused) {
  // One row spanning several blocks: the reader waits for its end without searching the front again. Then
  // many short rows, which blocks cut anywhere: none may be lost or read twice.
  std::string sheet = "<worksheet><sheetData><row r=\"1\">";
  for (int i = 0; sheet.size() < 5 * xlsx::kSheetBlockBytes; ++i) sheet += "<c><v>" + std::to_string(i) + "</v></c>";
  sheet += "</row>";
  for (int row = 2; row <= 60000; ++row) sheet += "<row><c><v>" + std::to_string(row) + "</v></c></row>";
  sheet += "</sheetData></worksheet>";
  const fs::path longRow = Zip("long-row.zip", {{"sheet.xml", sheet}});
  std::size_t rows = 0, searched = 0, sum = 0;
  const auto count = [&](const pugi::xml_node& fragment) {
    for (pugi::xml_node row : fragment.children("row")) {
      rows += row ? 1 : 0;
      sum += rows > 1 ? row.child("c").child("v").text().as_ullong() : 0;
    }
  };
  ASSERT_TRUE(xlsx::StreamRows(Open(longRow).get(), "sheet.xml", count, &searched));
  EXPECT_EQ(rows, 60000u);
  EXPECT_EQ(sum, 60000u * 60001 / 2 - 1);
  EXPECT_LE(searched, 2 * sheet.size());

  sheet = "<worksheet><sheetData><row><c><v>" + std::string(xlsx::kMaxPendingBytes + 2 * xlsx::kSheetBlockBytes, '7') +
          "</v></c></row></sheetData></worksheet>";
  EXPECT_FALSE(xlsx::StreamRows(Open(Zip("huge-row.zip", {{"sheet.xml", sheet}})).get(), "sheet.xml", count));
}

}  // namespace
