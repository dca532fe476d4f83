// The XML wrapper: created nodes wait out of sight until they are appended, node handles stay valid
// while the document changes around them, and whatever is written is well-formed XML.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "kvx/framework/KvxXML.h"
#include "kvx/platform/Text.h"

using kvx::platform::Narrow;
using kvx::platform::Widen;

namespace {
// The saved text of a document whose root element is `body`.
std::string Saved(const std::string& body) { return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + body; }

// Parses `text` with pugixml directly: what another reader of our files would see.
testing::AssertionResult WellFormed(const std::string& text) {
  pugi::xml_document check;
  const auto result = check.load_string(text.c_str());
  if (!result) return testing::AssertionFailure() << result.description() << " in\n" << text;
  return testing::AssertionSuccess();
}
}  // namespace

class XmlDocument : public ::testing::Test {
 protected:
  void SetUp() override { root_ = document_.CreateRootNode(L"RuleSet"); }
  // Loads `text` and makes its root the current one; returns the error, empty on success.
  std::string Load(const std::string& text) {
    std::wstring error;
    if (!document_.LoadText(text, error)) return Narrow(error);
    root_ = document_.GetRootNode();
    return {};
  }
  KvxXMLDocument document_;
  std::unique_ptr<KvxXMLNode> root_;
};

// A parked node survives a second handle to it being released (a parameter's parent), a new root and a
// load; appended, it is content, whatever handles are released after.
TEST_F(XmlDocument, ParkedNodesStayOutOfTheTextUntilAppended) {
  {
    auto rule = document_.CreateNode(L"Rule");
    rule->AddAttribute(L"Name", L"parked");
    ASSERT_TRUE(rule->AppendNode(document_.CreateNode(L"Parameter").get()));
    EXPECT_EQ(rule->GetParentNode(), nullptr);
    EXPECT_EQ(document_.ToText().find("parked"), std::string::npos) << "parked nodes are not content";
  }
  EXPECT_EQ(document_.ToText(), Saved("<RuleSet />\n")) << "released unappended, they vanish";
  auto rule = document_.CreateNode(L"Rule");
  rule->AddAttribute(L"Unit", L"3");
  auto parameter = document_.CreateNode(L"Parameter");
  parameter->AddAttribute(L"Type", L"2468");
  ASSERT_TRUE(rule->AppendNode(parameter.get()));
  std::wstring unit;
  EXPECT_TRUE(parameter->GetParentNode()->GetAttributeValue(L"Unit", unit));
  EXPECT_TRUE(rule->GetAttributeValue(L"Unit", unit)) << "the rule must still be there";
  root_ = document_.CreateRootNode(L"RuleSet");
  ASSERT_TRUE(root_->AppendNode(rule.get()));
  EXPECT_EQ(parameter->GetParentNode()->GetNodeName(), L"Rule");
  parameter.reset();
  rule.reset();
  EXPECT_EQ(document_.ToText(),
            Saved("<RuleSet>\n  <Rule Unit=\"3\">\n    <Parameter Type=\"2468\" />\n  </Rule>\n</RuleSet>\n"));

  auto waiting = document_.CreateNode(L"Rule");
  waiting->AddAttribute(L"Name", L"waiting");
  ASSERT_EQ(Load("<RuleSet><Rule Name=\"loaded\"/></RuleSet>"), "");
  ASSERT_TRUE(root_->AppendNode(waiting.get()));
  waiting.reset();
  EXPECT_EQ(document_.ToText(),
            Saved("<RuleSet>\n  <Rule Name=\"loaded\" />\n  <Rule Name=\"waiting\" />\n</RuleSet>\n"));
}

// Append moves a node to the end and replace keeps its place; invalid names, cycles, foreign nodes and
// non-children are refused and leave the document as it was.
TEST_F(XmlDocument, MovesKeepTheTreeValidAndBadOnesAreRefused) {
  for (const wchar_t* bad : {L"", L"two words", L"1st", L"a<b"}) EXPECT_EQ(document_.CreateNode(bad), nullptr);
  EXPECT_NE(document_.CreateNode(L"Gr\u00f6\u00dfe"), nullptr);
  EXPECT_NE(document_.CreateNode(L"_x-1.y:z"), nullptr);
  auto outer = document_.CreateNode(L"Outer");
  auto inner = document_.CreateNode(L"Inner");
  ASSERT_TRUE(outer->AppendNode(inner.get()));
  EXPECT_FALSE(inner->AppendNode(outer.get())) << "a node cannot go inside its own child";
  EXPECT_FALSE(outer->AppendNode(outer.get()));
  EXPECT_FALSE(outer->AppendNode(nullptr));
  KvxXMLDocument other;
  EXPECT_FALSE(root_->AppendNode(other.CreateNode(L"Foreign").get()));

  ASSERT_EQ(Load("<RuleSet><A/><Rule Name='b'><Parameter/></Rule><C/></RuleSet>"), "");
  auto rule = root_->SelectSingleNode(L"Rule");
  auto grandchild = rule->SelectSingleNode(L"Parameter");
  auto fresh = document_.CreateNode(L"Rule");
  fresh->AddAttribute(L"Name", L"B2");
  const std::string before = document_.ToText();
  EXPECT_FALSE(root_->ReplaceChild(fresh.get(), grandchild.get()));
  EXPECT_FALSE(root_->ReplaceChild(nullptr, rule.get()));
  EXPECT_FALSE(root_->ReplaceChild(fresh.get(), nullptr));
  EXPECT_FALSE(rule->ReplaceChild(root_.get(), grandchild.get())) << "an ancestor cannot replace its descendant";
  EXPECT_EQ(document_.ToText(), before);

  ASSERT_TRUE(root_->AppendNode(root_->SelectSingleNode(L"A").get()));
  ASSERT_TRUE(root_->ReplaceChild(fresh.get(), rule.get()));
  EXPECT_EQ(rule->GetNodeName(), L"") << "the old handle no longer refers to anything";
  EXPECT_FALSE(rule->AddAttribute(L"x", L"1"));
  rule.reset();
  fresh.reset();
  EXPECT_EQ(document_.ToText(), Saved("<RuleSet>\n  <Rule Name=\"B2\" />\n  <C />\n  <A />\n</RuleSet>\n"));
}

// Child lists keep document order and missing reads leave their outputs alone; attributes keep their place
// and stay unique, and any text survives a save (what no XML can hold as U+FFFD).
TEST_F(XmlDocument, ReadsAndWritesKeepOrderAndSurviveAnyText) {
  ASSERT_EQ(Load("<RuleSet E=''><Rule N='1'/><Other/><Rule N='2'><Rule N='x'/></Rule><Rule N='3'/></RuleSet>"), "");
  const auto list = root_->GetNodeList(L"Rule");
  ASSERT_EQ(list->GetSize(), 3);
  std::wstring value;
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(list->GetItem(i)->GetAttributeValue(L"N", value));
    EXPECT_EQ(value, std::to_wstring(i + 1));
  }
  EXPECT_EQ(list->GetItem(3), nullptr);
  EXPECT_EQ(list->GetItem(-1), nullptr);
  EXPECT_EQ(root_->SelectSingleNode(L"Missing"), nullptr);
  EXPECT_FALSE(root_->GetAttributeValue(L"Missing", value));
  EXPECT_EQ(value, L"3");
  EXPECT_TRUE(root_->GetAttributeValue(L"E", value));
  EXPECT_EQ(value, L"");

  root_ = document_.CreateRootNode(L"RuleSet");
  const std::wstring awkward = L"<&>\"' \u00b0 \u65e5\u672c \U0001F600";
  const std::wstring unfit = std::wstring(L"a\x01" L"b\uFFFE") + static_cast<wchar_t>(0xD800);
  const std::wstring fitted = L"a\uFFFDb\uFFFD\uFFFD";
  EXPECT_TRUE(root_->AddAttribute(L"Unit", L"0"));
  EXPECT_TRUE(root_->AddAttribute(L"Name", awkward));
  EXPECT_TRUE(root_->AddAttribute(L"Control", unfit));
  auto text = document_.CreateNode(L"Text");
  const std::pair<const wchar_t*, int> numbers[] = {{L"42", 42}, {L"-7", -7}, {L"", 0}, {L"abc", 0}, {L" ", 0}};
  for (const auto& [number, expected] : numbers) {
    text->SetNodeValue(number);
    EXPECT_EQ(text->GetNodeValueInInt(), expected) << Narrow(number);
  }
  text->SetNodeValue(unfit + awkward);
  root_->AppendNode(text.get());
  EXPECT_TRUE(root_->AddAttribute(L"Unit", L"3"));
  for (const wchar_t* bad : {L"", L"two words", L"1x", L"a=b", L"a\"b", L"<x", L"-x"}) {
    EXPECT_FALSE(root_->AddAttribute(bad, L"v")) << Narrow(bad);
  }
  const std::string saved = document_.ToText();
  ASSERT_TRUE(WellFormed(saved));
  EXPECT_EQ(saved.find("Unit=", saved.find("Unit=") + 1), std::string::npos) << "a second add replaces: " << saved;
  EXPECT_LT(saved.find("Unit=\"3\""), saved.find("Name=")) << "the attribute keeps its place";
  ASSERT_EQ(Load(saved), "");
  std::wstring name, control;
  root_->GetAttributeValue(L"Name", name);
  root_->GetAttributeValue(L"Control", control);
  EXPECT_EQ(name, awkward);
  EXPECT_EQ(control, fitted);
  EXPECT_EQ(root_->SelectSingleNode(L"Text")->GetNodeValue(), fitted + awkward);
}

// Bad and hostile text is refused with a reason (and its line), leaving the previous content usable.
TEST_F(XmlDocument, BadTextIsRefusedWithAReasonAndKeepsThePreviousContent) {
  const auto nested = [](int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += "<a>";
    for (int i = 0; i < depth; ++i) text += "</a>";
    return text;
  };
  const auto attributes = [](int count, const std::string& last) {
    std::string text = "<RuleSet";
    for (int i = 0; i < count; ++i) text += " a" + std::to_string(i) + "=\"1\"";
    return text + last + "/>";
  };
  root_->AddAttribute(L"Unit", L"1");
  const std::string before = document_.ToText();
  const std::pair<std::string, const char*> cases[] = {
      {"<RuleSet>\n  <Rule>\n</RuleSet>\n", "line 3"}, {"<RuleSet>\n<Rule Name=\"x>\n</RuleSet>", "line 2"},
      {"<RuleSet a='1' a='2'/>", "line 1"}, {"<RuleSet/>\n<Second/>", "line 2"}, {"", ""},
      {"<!-- only a comment -->", ""}, {"<?xml version=\"1.0\"?>", ""}, {nested(100000), "nest deeper than"},
      {attributes(KvxXMLDocument::kMaxAttributes + 1, ""), "more than"},
      {attributes(KvxXMLDocument::kMaxAttributes - 1, " a0=\"2\""), "a0 is given twice"},
      {"<RuleSet>&#1;</RuleSet>", "character"}, {"<RuleSet a=\"&#xFFFE;\"/>", "character"},
      {"<RuleSet>\xC3\x28</RuleSet>", "character"}, {"<RuleSet>\n<R\xC3\x97/></RuleSet>", "line 2: the element name"}};
  for (const auto& [text, reason] : cases) {
    const std::string error = Load(text);
    EXPECT_FALSE(error.empty()) << text.substr(0, 60);
    EXPECT_NE(error.find(reason), std::string::npos) << error << " for " << text.substr(0, 60);
  }
  EXPECT_EQ(document_.ToText(), before);
  EXPECT_TRUE(root_->AddAttribute(L"Still", L"usable"));
  EXPECT_EQ(Load("\xEF\xBB\xBF<RuleSet Unit=\"2\"/>"), "") << "a byte order mark is accepted";
  EXPECT_EQ(Load(nested(KvxXMLDocument::kMaxDepth)), "") << "the deepest allowed document loads";
  EXPECT_EQ(Load(attributes(KvxXMLDocument::kMaxAttributes, "")), "");
  EXPECT_EQ(Load("<R\xC3\xA8gle \xC3\xA9t\xC3\xA9=\"\xF0\x9F\x98\x80\"/>"), "") << "non-ASCII names and text";
  EXPECT_TRUE(WellFormed(document_.ToText()));
}

TEST_F(XmlDocument, FilesLoadAndSaveWithPathInErrors) {
  const auto folder = std::filesystem::temp_directory_path() / ("kvx-xml-" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  const std::string path = (folder / "set.xml").string();
  std::wstring error;
  EXPECT_FALSE(document_.LoadFile(Widen(path), error));
  EXPECT_NE(Narrow(error).find(path), std::string::npos) << Narrow(error);
  std::ofstream(path) << "<RuleSet>\n<Rule>\n</RuleSet>";
  EXPECT_FALSE(document_.LoadFile(Widen(path), error));
  EXPECT_NE(Narrow(error).find(path + ": line 3"), std::string::npos) << Narrow(error);
  EXPECT_FALSE(document_.LoadFile(Widen(folder.string()), error)) << "a folder is no document";

  root_->AppendNode(document_.CreateNode(L"Rule").get());
  auto parked = document_.CreateNode(L"Parked");
  ASSERT_TRUE(document_.SaveFile(Widen(path), error)) << Narrow(error);
  std::stringstream saved;
  saved << std::ifstream(path).rdbuf();
  EXPECT_EQ(saved.str(), document_.ToText());
  EXPECT_FALSE(document_.SaveFile(Widen((folder / "missing" / "x.xml").string()), error));
  EXPECT_FALSE(error.empty());
  std::filesystem::remove_all(folder);
}
