// The XML wrapper: created nodes wait out of sight until they are appended, node handles stay valid
// while the document changes around them, and whatever is written is well-formed XML.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "kvx/framework/KvxXML.h"
#include "kvx/platform/Text.h"

using kvx::platform::Narrow;
using kvx::platform::Widen;

namespace {
// Parses `text` with pugixml directly: what another reader of our files would see.
testing::AssertionResult WellFormed(const std::string& text) {
  pugi::xml_document check;
  const auto result = check.load_string(text.c_str());
  if (!result) return testing::AssertionFailure() << result.description() << " in\n" << text;
  return testing::AssertionSuccess();
}

// Counts the attributes called `name` on the root element of `text`.
int CountRootAttributes(const std::string& text, const char* name) {
  pugi::xml_document parsed;
  parsed.load_string(text.c_str());
  int count = 0;
  for (const auto attribute : parsed.document_element().attributes()) count += std::string(attribute.name()) == name;
  return count;
}

std::string Load(KvxXMLDocument& document, const std::string& text) {
  std::wstring error;
  return document.LoadText(text, error) ? std::string() : Narrow(error);
}
}  // namespace

class XmlDocument : public ::testing::Test {
 protected:
  void SetUp() override { root_ = document_.CreateRootNode(L"RuleSet"); }
  KvxXMLDocument document_;
  std::unique_ptr<KvxXMLNode> root_;
};

// --- Parked nodes --------------------------------------------------------------------------------

TEST_F(XmlDocument, CreatedNodesStayOutOfTheTextAndVanishWhenReleasedUnappended) {
  {
    auto rule = document_.CreateNode(L"Rule");
    ASSERT_TRUE(rule);
    rule->AddAttribute(L"Name", L"parked");
    EXPECT_EQ(document_.ToText().find("parked"), std::string::npos) << "parked nodes are not content";
    EXPECT_EQ(document_.GetRootNode()->GetNodeName(), L"RuleSet");
  }
  const std::string text = document_.ToText();
  EXPECT_EQ(text, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<RuleSet />\n");
  EXPECT_EQ(text.find("staging"), std::string::npos);
}

TEST_F(XmlDocument, AppendedNodesStayAfterTheirHandlesAreReleased) {
  {
    auto rule = document_.CreateNode(L"Rule");
    auto parameter = document_.CreateNode(L"Parameter");
    parameter->AddAttribute(L"Type", L"2468");
    ASSERT_TRUE(rule->AppendNode(parameter.get()));
    ASSERT_TRUE(root_->AppendNode(rule.get()));
  }
  EXPECT_EQ(document_.ToText(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<RuleSet>\n  <Rule>\n    <Parameter Type=\"2468\" />\n  </Rule>\n</RuleSet>\n");
}

TEST_F(XmlDocument, ChildOfAParkedNodeGoesWithItsParent) {
  auto rule = document_.CreateNode(L"Rule");
  {
    auto child = document_.CreateNode(L"Parameter");
    ASSERT_TRUE(rule->AppendNode(child.get()));
  }
  EXPECT_EQ(rule->GetNodeList(L"Parameter")->GetSize(), 1) << "releasing the child's handle keeps it";
  rule.reset();
  EXPECT_EQ(document_.ToText().find("Parameter"), std::string::npos);
}

TEST_F(XmlDocument, ReleasingASecondHandleDoesNotDropAParkedNode) {
  // Reading a unit from the parent of a parameter node hands out a second handle to the parked rule.
  auto rule = document_.CreateNode(L"Rule");
  rule->AddAttribute(L"Unit", L"3");
  auto parameter = document_.CreateNode(L"Parameter");
  ASSERT_TRUE(rule->AppendNode(parameter.get()));
  {
    auto parent = parameter->GetParentNode();
    ASSERT_TRUE(parent);
    std::wstring unit;
    EXPECT_TRUE(parent->GetAttributeValue(L"Unit", unit));
    EXPECT_EQ(unit, L"3");
  }
  std::wstring unit;
  EXPECT_TRUE(rule->GetAttributeValue(L"Unit", unit)) << "the rule must still be there";
  ASSERT_TRUE(root_->AppendNode(rule.get()));
  parameter.reset();
  rule.reset();
  EXPECT_NE(document_.ToText().find("<Rule Unit=\"3\">"), std::string::npos) << document_.ToText();
}

TEST_F(XmlDocument, ParkedNodesSurviveANewRootAndALoad) {
  auto early = document_.CreateNode(L"Rule");
  early->AddAttribute(L"Name", L"early");
  root_ = document_.CreateRootNode(L"RuleSet");
  ASSERT_TRUE(root_->AppendNode(early.get()));
  EXPECT_NE(document_.ToText().find("<Rule Name=\"early\" />"), std::string::npos);

  auto waiting = document_.CreateNode(L"Rule");
  waiting->AddAttribute(L"Name", L"waiting");
  ASSERT_EQ(Load(document_, "<RuleSet><Rule Name=\"loaded\"/></RuleSet>"), "");
  root_ = document_.GetRootNode();
  ASSERT_TRUE(root_->AppendNode(waiting.get()));
  EXPECT_EQ(root_->GetNodeList(L"Rule")->GetSize(), 2);
  early.reset();
  waiting.reset();
  EXPECT_EQ(document_.ToText(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<RuleSet>\n  <Rule Name=\"loaded\" />\n  <Rule Name=\"waiting\" />\n</RuleSet>\n");
}

TEST_F(XmlDocument, CreateNodeNeedsAValidName) {
  EXPECT_EQ(document_.CreateNode(L""), nullptr);
  EXPECT_EQ(document_.CreateNode(L"two words"), nullptr);
  EXPECT_EQ(document_.CreateNode(L"1st"), nullptr);
  EXPECT_EQ(document_.CreateNode(L"a<b"), nullptr);
  EXPECT_NE(document_.CreateNode(L"Gr\u00f6\u00dfe"), nullptr);
  EXPECT_NE(document_.CreateNode(L"_x-1.y:z"), nullptr);
}

// --- Moving nodes ----------------------------------------------------------------------------------

TEST_F(XmlDocument, AppendRefusesCyclesForeignNodesAndNull) {
  auto outer = document_.CreateNode(L"Outer");
  auto inner = document_.CreateNode(L"Inner");
  ASSERT_TRUE(outer->AppendNode(inner.get()));
  EXPECT_FALSE(inner->AppendNode(outer.get())) << "a node cannot go inside its own child";
  EXPECT_FALSE(outer->AppendNode(outer.get()));
  EXPECT_FALSE(outer->AppendNode(nullptr));

  KvxXMLDocument other;
  auto foreign = other.CreateNode(L"Foreign");
  EXPECT_FALSE(root_->AppendNode(foreign.get()));
  EXPECT_TRUE(WellFormed(document_.ToText()));
}

TEST_F(XmlDocument, AppendMovesAnExistingNodeToTheEnd) {
  ASSERT_EQ(Load(document_, "<RuleSet><A/><B/><C/></RuleSet>"), "");
  root_ = document_.GetRootNode();
  auto a = root_->SelectSingleNode(L"A");
  ASSERT_TRUE(root_->AppendNode(a.get()));
  EXPECT_EQ(document_.ToText(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<RuleSet>\n  <B />\n  <C />\n  <A />\n</RuleSet>\n");
}

TEST_F(XmlDocument, ReplaceChildKeepsThePosition) {
  ASSERT_EQ(Load(document_, "<RuleSet><Rule Name='a'/><Rule Name='b'/><Rule Name='c'/></RuleSet>"), "");
  root_ = document_.GetRootNode();
  auto old = root_->GetNodeList(L"Rule")->GetItem(1);
  auto replacement = document_.CreateNode(L"Rule");
  replacement->AddAttribute(L"Name", L"B2");
  ASSERT_TRUE(root_->ReplaceChild(replacement.get(), old.get()));
  EXPECT_EQ(old->GetNodeName(), L"") << "the old handle no longer refers to anything";
  EXPECT_FALSE(old->AddAttribute(L"x", L"1"));
  old.reset();
  replacement.reset();
  EXPECT_EQ(document_.ToText(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<RuleSet>\n  <Rule Name=\"a\" />\n  <Rule Name=\"B2\" />\n"
            "  <Rule Name=\"c\" />\n</RuleSet>\n");
}

TEST_F(XmlDocument, ReplaceChildRefusesWhatIsNotAChild) {
  ASSERT_EQ(Load(document_, "<RuleSet><Rule><Parameter/></Rule></RuleSet>"), "");
  root_ = document_.GetRootNode();
  auto rule = root_->SelectSingleNode(L"Rule");
  auto grandchild = rule->SelectSingleNode(L"Parameter");
  auto fresh = document_.CreateNode(L"Fresh");
  const std::string before = document_.ToText();
  EXPECT_FALSE(root_->ReplaceChild(fresh.get(), grandchild.get()));
  EXPECT_FALSE(root_->ReplaceChild(nullptr, rule.get()));
  EXPECT_FALSE(root_->ReplaceChild(fresh.get(), nullptr));
  EXPECT_FALSE(rule->ReplaceChild(root_.get(), grandchild.get())) << "an ancestor cannot replace its descendant";
  EXPECT_EQ(document_.ToText(), before);
}

// --- Reading -----------------------------------------------------------------------------------------

TEST_F(XmlDocument, ParentOfTheRootAndOfParkedNodesIsNull) {
  EXPECT_EQ(root_->GetParentNode(), nullptr);
  auto parked = document_.CreateNode(L"Rule");
  EXPECT_EQ(parked->GetParentNode(), nullptr);
  ASSERT_TRUE(root_->AppendNode(parked.get()));
  auto parent = parked->GetParentNode();
  ASSERT_TRUE(parent);
  EXPECT_EQ(parent->GetNodeName(), L"RuleSet");
}

TEST_F(XmlDocument, ChildListsKeepDocumentOrder) {
  ASSERT_EQ(Load(document_, "<RuleSet><Rule N='1'/><Other/><Rule N='2'><Rule N='nested'/></Rule><Rule N='3'/></RuleSet>"),
            "");
  root_ = document_.GetRootNode();
  const auto list = root_->GetNodeList(L"Rule");
  ASSERT_EQ(list->GetSize(), 3);
  for (int i = 0; i < 3; ++i) {
    std::wstring n;
    ASSERT_TRUE(list->GetItem(i)->GetAttributeValue(L"N", n));
    EXPECT_EQ(n, std::to_wstring(i + 1));
  }
  EXPECT_EQ(list->GetItem(3), nullptr);
  EXPECT_EQ(list->GetItem(-1), nullptr);
  EXPECT_EQ(root_->GetNodeList(L"Missing")->GetSize(), 0);
  EXPECT_EQ(root_->SelectSingleNode(L"Missing"), nullptr);
  std::wstring n;
  root_->SelectSingleNode(L"Rule")->GetAttributeValue(L"N", n);
  EXPECT_EQ(n, L"1");
}

TEST_F(XmlDocument, AttributeReadsLeaveTheOutputAloneWhenMissing) {
  ASSERT_EQ(Load(document_, "<Rule Name='Gr&#xF6;&#xDF;e' Empty=''/>"), "");
  root_ = document_.GetRootNode();
  std::wstring value = L"untouched";
  EXPECT_FALSE(root_->GetAttributeValue(L"Missing", value));
  EXPECT_EQ(value, L"untouched");
  EXPECT_TRUE(root_->GetAttributeValue(L"Empty", value));
  EXPECT_EQ(value, L"");
  EXPECT_TRUE(root_->GetAttributeValue(L"Name", value));
  EXPECT_EQ(value, L"Gr\u00f6\u00dfe");
}

TEST_F(XmlDocument, NodeTextAndItsIntegerForm) {
  auto value = document_.CreateNode(L"Value");
  value->SetNodeValue(L"42");
  EXPECT_EQ(value->GetNodeValue(), L"42");
  EXPECT_EQ(value->GetNodeValueInInt(), 42);
  value->SetNodeValue(L"-7");
  EXPECT_EQ(value->GetNodeValueInInt(), -7);
  for (const wchar_t* notInteger : {L"", L"abc", L" "}) {
    value->SetNodeValue(notInteger);
    EXPECT_EQ(value->GetNodeValueInInt(), 0) << Narrow(notInteger);
  }
  value->SetNodeValue(L"a < b & \"c\"");
  ASSERT_TRUE(root_->AppendNode(value.get()));
  EXPECT_TRUE(WellFormed(document_.ToText()));
  KvxXMLDocument reread;
  ASSERT_EQ(Load(reread, document_.ToText()), "");
  EXPECT_EQ(reread.GetRootNode()->SelectSingleNode(L"Value")->GetNodeValue(), L"a < b & \"c\"");
}

// --- Writing attributes --------------------------------------------------------------------------------

TEST_F(XmlDocument, AttributesKeepTheirOrderAndSurviveAnyText) {
  auto rule = document_.CreateNode(L"Rule");
  const std::wstring awkward = L"<&>\"' \u00b0 \u65e5\u672c \U0001F600";
  EXPECT_TRUE(rule->AddAttribute(L"Name", awkward));
  EXPECT_TRUE(rule->AddAttribute(L"Module", L"KvxIMRulesValidator"));
  EXPECT_TRUE(rule->AddAttribute(L"Status", L"1"));
  EXPECT_FALSE(rule->AddAttribute(L"", L"x"));
  ASSERT_TRUE(root_->AppendNode(rule.get()));
  const std::string text = document_.ToText();
  ASSERT_TRUE(WellFormed(text));
  EXPECT_LT(text.find("Name="), text.find("Module="));
  EXPECT_LT(text.find("Module="), text.find("Status="));
  KvxXMLDocument reread;
  ASSERT_EQ(Load(reread, text), "");
  std::wstring name;
  reread.GetRootNode()->SelectSingleNode(L"Rule")->GetAttributeValue(L"Name", name);
  EXPECT_EQ(name, awkward);
}

TEST_F(XmlDocument, AddingAnAttributeTwiceKeepsOneAttribute) {
  EXPECT_TRUE(root_->AddAttribute(L"Unit", L"0"));
  EXPECT_TRUE(root_->AddAttribute(L"AngularUnit", L"0"));
  EXPECT_TRUE(root_->AddAttribute(L"Unit", L"3"));
  const std::string text = document_.ToText();
  EXPECT_TRUE(WellFormed(text));
  EXPECT_EQ(CountRootAttributes(text, "Unit"), 1) << text;
  std::wstring unit;
  root_->GetAttributeValue(L"Unit", unit);
  EXPECT_EQ(unit, L"3");
  EXPECT_LT(text.find("Unit="), text.find("AngularUnit=")) << "the attribute keeps its place";
}

TEST_F(XmlDocument, AttributeNamesThatXmlCannotHoldAreRefused) {
  for (const wchar_t* bad : {L"two words", L"1x", L"a=b", L"a\"b", L"<x", L"-x"}) {
    EXPECT_FALSE(root_->AddAttribute(bad, L"v")) << Narrow(bad);
  }
  EXPECT_TRUE(WellFormed(document_.ToText())) << document_.ToText();
}

// --- Loading and saving -----------------------------------------------------------------------------------

TEST_F(XmlDocument, LoadErrorsNameTheLine) {
  struct Case {
    const char* text;
    const char* line;
  };
  const Case cases[] = {
      {"<RuleSet>\n  <Rule>\n</RuleSet>\n", "line 3"},
      {"<RuleSet>\n<Rule Name=\"x>\n</RuleSet>", "line 2"},
      {"<RuleSet a='1' a='2'/>", "line 1"},
      {"<RuleSet/>\n<Second/>", "line 2"},
  };
  for (const auto& c : cases) {
    std::wstring error;
    EXPECT_FALSE(document_.LoadText(c.text, error)) << c.text;
    EXPECT_NE(Narrow(error).find(c.line), std::string::npos) << Narrow(error);
  }
}

TEST_F(XmlDocument, DocumentWithoutRootIsRefused) {
  for (const char* text : {"", "   ", "<!-- only a comment -->", "<?xml version=\"1.0\"?>"}) {
    std::wstring error;
    EXPECT_FALSE(document_.LoadText(text, error)) << text;
    EXPECT_FALSE(error.empty());
  }
}

TEST_F(XmlDocument, FailedLoadKeepsThePreviousContent) {
  root_->AddAttribute(L"Unit", L"1");
  const std::string before = document_.ToText();
  std::wstring error;
  EXPECT_FALSE(document_.LoadText("<broken", error));
  EXPECT_EQ(document_.ToText(), before);
  EXPECT_TRUE(root_->AddAttribute(L"Still", L"usable"));
}

TEST_F(XmlDocument, ByteOrderMarkIsAccepted) {
  EXPECT_EQ(Load(document_, "\xEF\xBB\xBF<RuleSet Unit=\"2\"/>"), "");
  EXPECT_EQ(document_.GetRootNode()->GetNodeName(), L"RuleSet");
}

TEST_F(XmlDocument, FilesLoadAndSaveWithPathInErrors) {
  const auto folder = std::filesystem::temp_directory_path() / ("kvx-xml-" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  const auto path = folder / "set.xml";
  std::wstring error;
  EXPECT_FALSE(document_.LoadFile(Widen(path.string()), error));
  EXPECT_NE(Narrow(error).find(path.string()), std::string::npos) << Narrow(error);

  std::ofstream(path) << "<RuleSet>\n<Rule>\n</RuleSet>";
  EXPECT_FALSE(document_.LoadFile(Widen(path.string()), error));
  EXPECT_NE(Narrow(error).find(path.string()), std::string::npos);
  EXPECT_NE(Narrow(error).find("line 3"), std::string::npos) << Narrow(error);

  EXPECT_FALSE(document_.LoadFile(Widen(folder.string()), error)) << "a folder is no document";

  auto rule = document_.CreateNode(L"Rule");
  root_->AppendNode(rule.get());
  auto parked = document_.CreateNode(L"Parked");
  ASSERT_TRUE(document_.SaveFile(Widen(path.string()), error)) << Narrow(error);
  std::ifstream in(path);
  std::stringstream saved;
  saved << in.rdbuf();
  EXPECT_EQ(saved.str(), document_.ToText());
  KvxXMLDocument reread;
  ASSERT_TRUE(reread.LoadFile(Widen(path.string()), error)) << Narrow(error);
  EXPECT_EQ(reread.ToText(), document_.ToText());

  EXPECT_FALSE(document_.SaveFile(Widen((folder / "missing" / "x.xml").string()), error));
  EXPECT_FALSE(error.empty());
  std::filesystem::remove_all(folder);
}
