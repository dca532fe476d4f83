// The resource compiler: table syntax and its errors, picture folders, placeholders, the generated
// literals, and the kvx_rescomp program's exit status and messages.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "Pictures.h"
#include "Placeholders.h"
#include "SourceWriter.h"
#include "StringTable.h"

namespace fs = std::filesystem;
using namespace kvx::rescomp;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

// A scratch folder that disappears with the test.
struct ScratchFolder {
  fs::path path = [] {
    std::string pattern = (fs::temp_directory_path() / "kvx_rescomp_XXXXXX").string();
    return fs::path(mkdtemp(pattern.data()));
  }();
  ~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
  fs::path Write(const fs::path& relative, const std::string& content) const {
    fs::create_directories((path / relative).parent_path());
    std::ofstream(path / relative, std::ios::binary) << content;
    return path / relative;
  }
};

template <typename Errors>
std::vector<std::string> Strings(const Errors& errors) {
  std::vector<std::string> strings;
  for (const auto& error : errors) strings.push_back(error.ToString());
  return strings;
}

}  // namespace

TEST(RescompTable, ReadsEntriesCommentsEscapesAndWindowsLineEnds) {
  const std::string content =
      "\xEF\xBB\xBF# comment\n\n   \t\n  # indented comment\n"
      "2043\t\\sor equal to\r\n"
      "7\tTab\\there, line\\nbreak, backslash \\\\ and # not a comment\n"
      "65535\tGr\xC3\xB6\xC3\x9F" "e\n"
      "12\t\n1\tlast line without new line";
  const TableParse parse = ParseStringTable(content, "t.txt");

  ASSERT_TRUE(parse.ok()) << parse.errors.front().ToString();
  using E = std::pair<int, std::string>;
  std::vector<E> entries;
  for (const auto& entry : parse.table.entries) entries.emplace_back(entry.id, entry.text);
  EXPECT_THAT(entries, ElementsAre(E{1, "last line without new line"},
                                   E{7, "Tab\there, line\nbreak, backslash \\ and # not a comment"}, E{12, ""},
                                   E{2043, " or equal to"}, E{65535, "Gr\xC3\xB6\xC3\x9F" "e"}));
  EXPECT_EQ(parse.table.Find(2043)->line, 5);
  EXPECT_EQ(parse.table.Find(2), nullptr);
}

TEST(RescompTable, ReportsEveryBadLineWithItsNumber) {
  const std::vector<std::pair<std::string, std::string>> cases = {  // a line, the error it gives
      {"2043 no tab here", "found no TAB"},
      {"20a3\ttext", "'20a3' is not a decimal number"},
      {"-5\ttext", "'-5' is not a decimal number"},
      {" 12\ttext", "is not a decimal number"},
      {"0\ttext", "0 is outside 1..65535"},
      {"65536\ttext", "65536 is outside 1..65535"},
      {"123456789012345678901234567890\ttext", "outside 1..65535"},
      {"5\ttrailing space ", "write \\s"},
      {"5\t leading space", "write \\s"},
      {"5\tunknown \\q escape", "unknown escape \\q"},
      {"5\tlone backslash\\", "lone backslash"},
      {"5\tLatin-1 \xE4", "not valid UTF-8"},
      {"5\toverlong \xC0\xAF", "not valid UTF-8"},
      {"5\tsurrogate \xED\xA0\x80", "not valid UTF-8"},
  };
  for (const auto& [line, message] : cases) {
    SCOPED_TRACE(line);
    const TableParse parse = ParseStringTable("# header\n" + line + "\n", "lang/strings.txt");
    ASSERT_EQ(parse.errors.size(), 1u);
    EXPECT_EQ(parse.errors[0].line, 2);
    EXPECT_THAT(parse.errors[0].ToString(), HasSubstr("lang/strings.txt:2: error: "));
    EXPECT_THAT(parse.errors[0].message, HasSubstr(message));
  }
}

TEST(RescompTable, AllErrorsAreCollectedAndNameTheirPlace) {
  const TableParse parse = ParseStringTable("10\tfirst\nbad\n10\tagain\n11\tok\n0010\tthird\n", "t.txt");

  ASSERT_EQ(parse.errors.size(), 3u);
  EXPECT_EQ(parse.errors[0].line, 2);
  EXPECT_EQ(parse.errors[1].ToString(), "t.txt:3: error: duplicate id 10 (first defined on line 1)");
  EXPECT_EQ(parse.errors[2].line, 5);  // leading zeros do not make a new id
  EXPECT_EQ(parse.table.Find(10)->text, "first");
  EXPECT_EQ(parse.table.Find(11)->text, "ok");

  // An unreadable file is one error naming it.
  ScratchFolder scratch;
  for (const fs::path& file : {scratch.path / "missing.txt", scratch.path}) {
    EXPECT_THAT(Strings(ReadStringTable(file).errors), ElementsAre(file.string() + ": error: cannot read the table"));
  }
}

TEST(RescompPictures, EarlierFolderWinsAndBadEntriesAreErrors) {
  ScratchFolder scratch;
  scratch.Write("lang/7.svg", "<svg>lang</svg>");
  scratch.Write("shared/7.svg", "<svg>shared</svg>");
  scratch.Write("shared/8.svg", "<svg>eight</svg>");
  scratch.Write("shared/.gitkeep", "");

  const PictureScan good = CollectPictures({scratch.path / "lang", scratch.path / "shared"});
  ASSERT_TRUE(good.ok()) << good.errors.front().ToString();
  ASSERT_EQ(good.pictures.size(), 2u);
  EXPECT_EQ(good.pictures[0].id, 7);
  EXPECT_EQ(good.pictures[0].bytes, "<svg>lang</svg>");  // the earlier folder wins
  EXPECT_EQ(good.pictures[1].id, 8);

  scratch.Write("bad/notes.txt", "x");
  scratch.Write("bad/rib.svg", "<svg/>");
  scratch.Write("bad/0.svg", "<svg/>");
  scratch.Write("bad/9.svg", "");
  scratch.Write("bad/10.svg", "<svg/>");
  scratch.Write("bad/010.svg", "<svg/>");
  const PictureScan bad = CollectPictures({scratch.path / "bad", scratch.path / "absent"});
  std::vector<std::string> messages;
  for (const auto& error : bad.errors) {
    messages.push_back(fs::path(error.file).filename().string() + ": " + error.message);
  }
  EXPECT_THAT(messages, ::testing::UnorderedElementsAre(
                            HasSubstr("notes.txt: unexpected entry"), HasSubstr("rib.svg: the file name must be"),
                            HasSubstr("0.svg: the file name must be"), HasSubstr("9.svg: the picture file is empty"),
                            HasSubstr("duplicate picture id 10"), HasSubstr("absent: picture folder not found")));
}

TEST(RescompPlaceholders, FindsConversionsAsWrittenAndRefusesHugeFields) {
  EXPECT_THAT(PrintfPlaceholders("plain 100%% sure"), IsEmpty());
  EXPECT_THAT(PrintfPlaceholders("less than%s %s x D, %d%% %-5.2lf %ls %1$s %*.*f"),
              ElementsAre("%s", "%s", "%d", "%-5.2lf", "%ls", "%1$s", "%*.*f"));
  // A broken conversion never equals a good one, so a translation that breaks one is noticed.
  EXPECT_THAT(PrintfPlaceholders("50%"), ElementsAre("(bad)%"));
  EXPECT_THAT(PrintfPlaceholders("%y and %5"), ElementsAre("(bad)%y", "(bad)%5"));
  const auto table = ParseStringTable("1\t%64s %.64f %1$s %I64d\n2\t%65s\n3\t%.999999999s\n", "t.txt");
  ASSERT_TRUE(table.ok());
  EXPECT_THAT(Strings(CheckFieldSizes(table.table)),
              ElementsAre("t.txt:2: error: the placeholder %65s of id 2 has a width or precision above 64",
                          "t.txt:3: error: the placeholder %.999999999s of id 3 has a width or precision above 64"));
}

TEST(RescompPlaceholders, ATranslationMustMatchItsReference) {
  const auto reference =
      ParseStringTable("1\tA %s and %s\n2\tplain\n3\tcount %d\n4\tonly here\n6\tmm\n7\tsame\n8\tword\n", "en.txt");
  const auto translation = ParseStringTable(
      "1\t%s und %s\n2\tmit %s\n3\tAnzahl %s\n5\textra\n6=\tmm\n7\tsame\n8=\tWort\n", "de.txt");
  ASSERT_TRUE(reference.ok() && translation.ok());

  EXPECT_THAT(Strings(CompareWithReference(translation.table, reference.table)),
              ElementsAre("de.txt:2: error: the placeholders of id 2 (%s) differ from en.txt:2 (none)",
                          "de.txt:3: error: the placeholders of id 3 (%s) differ from en.txt:3 (%d)",
                          "de.txt:4: error: id 5 is not in en.txt",
                          "de.txt:6: error: id 7 is the English text of en.txt:6 unchanged: translate it, or write "
                          "7= where it is the same word on purpose",
                          "de.txt:7: error: id 8 is marked as the English text but differs from en.txt:7",
                          "de.txt: error: id 4 of en.txt:4 has no translation"));
}

TEST(RescompSource, LiteralsKeepEveryByte) {
  // The octal escape of the new line is followed by a digit: it must not swallow it.
  EXPECT_EQ(CxxStringLiteral("say \"hi\" \\ a?b\n1\xC3\xA4"),
            "\"say \\\"hi\\\" \\\\ a\\?b\\0121\\303\\244\"");
}

TEST(RescompTool, RejectsBadTablesWithFileLineAndExitStatus) {
  ScratchFolder scratch;
  const fs::path output = scratch.path / "out.cpp";
  auto run = [&](const fs::path& table, std::string* messages, const std::string& more = "") {
    const std::string command = "'" KVX_BIN_DIR "/kvx_rescomp' --table '" + table.string() + "' --output '" +
                                output.string() + "' " + more + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    char buffer[512];
    while (pipe && fgets(buffer, sizeof buffer, pipe)) *messages += buffer;
    return pipe ? pclose(pipe) : -1;
  };

  std::string messages;
  const fs::path duplicate = scratch.Write("dup.txt", "1\tone\n# c\n1\tagain\n2\t\n70000\tbig\n");
  EXPECT_NE(run(duplicate, &messages), 0);
  EXPECT_THAT(messages, HasSubstr("dup.txt:3: error: duplicate id 1 (first defined on line 1)"));
  EXPECT_THAT(messages, HasSubstr("dup.txt:5: error: the id 70000 is outside 1..65535"));
  EXPECT_FALSE(fs::exists(output));

  // A translation with a swapped placeholder and a missing text fails the build just as well.
  messages.clear();
  const fs::path english = scratch.Write("en.txt", "1\t%s of %d\n2\tone\n");
  const fs::path swapped = scratch.Write("de.txt", "# c\n1\t%d von %s\n");
  EXPECT_NE(run(swapped, &messages, "--reference '" + english.string() + "'"), 0);
  EXPECT_THAT(messages, HasSubstr("de.txt:2: error: the placeholders of id 1 (%d %s) differ"));
  EXPECT_THAT(messages, HasSubstr("de.txt: error: id 2 of " + english.string() + ":2 has no translation"));
  EXPECT_FALSE(fs::exists(output));

  messages.clear();
  const fs::path good = scratch.Write("good.txt", "1\tone\n");
  EXPECT_EQ(run(good, &messages), 0) << messages;
  EXPECT_TRUE(fs::exists(output));
}
