// The "Parameter" element: what the typed storage writes for each value type, the clean-up it does before
// writing, how it finds and reads its element back, and the asymmetries saved rule sets depend on.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>

#include <limits>
#include <optional>
#include <type_traits>

#include "../support/ModuleFixture.h"
#include "kvx/params/TypedParamStorage.h"

namespace {
using kvx::params::CTypedParamStorage;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using StringList = std::optional<std::vector<std::wstring>>;

template <Type_e kType>
std::unique_ptr<CTypedParamStorage<kType>> Make(long id, KvxOperator_e op = KVX_OP_GREATER_EQUAL,
                                                KvxParamType_e paramType = 8) {
  return std::make_unique<CTypedParamStorage<kType>>(id, op, paramType, true, false);
}

// The element texts of the "Value" children, in order (empty for an element without text).
std::vector<std::string> ValueTexts(const KvxXMLNode& parameter) {
  std::vector<std::string> texts;
  for (const pugi::xml_node& value : parameter.Raw().children("Value")) texts.emplace_back(value.text().get());
  return texts;
}

template <Type_e kType>
using ValuesOf = std::remove_reference_t<decltype(std::declval<CTypedParamStorage<kType>&>().Values())>;

// The "Value" texts a parameter of `kType` holding `values` writes.
template <Type_e kType>
std::vector<std::string> Written(ValuesOf<kType> values, KvxOperator_e op = KVX_OP_GREATER_EQUAL,
                                 KvxParamType_e paramType = 8) {
  auto parameter = Make<kType>(1, op, paramType);
  parameter->Values() = std::move(values);
  return ValueTexts(*parameter->GetParameterXML());
}

// An element as one canonical line (attributes in their order, element texts, no indentation), so that a test
// states the exact element and attribute order without depending on pretty-printing.
std::string CanonicalXml(const pugi::xml_node& node) {
  if (node.type() == pugi::node_pcdata) return node.value();
  std::string out = std::string("<") + node.name();
  for (const pugi::xml_attribute& a : node.attributes()) out += std::string(" ") + a.name() + "=\"" + a.value() + "\"";
  out += ">";
  for (const pugi::xml_node& child : node.children()) out += CanonicalXml(child);
  return out + "</" + node.name() + ">";
}
std::string CanonicalXml(const std::string& xml) {
  pugi::xml_document document;
  EXPECT_TRUE(document.load_string(xml.c_str())) << xml;
  return CanonicalXml(document.document_element());
}

// Everything reading may touch, as one line: "op options kind status values | criteria | name remarks".
std::string Describe(const CTypedParamStorage<KVX_TYPE_DOUBLE>& p) {
  std::string line = fmt::format("op {} options {} kind {} status {} values {} | criteria {} {}", p.iOperator,
                                 fmt::join(p.operatorOptions, ","), p.iParameterType, p.bStatus,
                                 fmt::join(p.Values(), ","), p.bResultCriteriaStatus, p.csCriteriaType);
  for (const auto* map : {&p.csPercentDeviation, &p.csAbsoluteDeviation, &p.csAbsoluteValue}) {
    line += " [";
    for (const auto& [level, pair] : *map) line += fmt::format(" {}:{}/{}", level, pair.dValue1, pair.dValue2);
    line += " ]";
  }
  return line + " | " + kvx::platform::Narrow(p.csName + L" " + p.csRemarks);
}

class ParamXmlTest : public kvx::test::ModuleFixture {
 protected:
  // A "Rule" element holding `parameters` (the "Parameter" elements as text).
  std::unique_ptr<KvxXMLNode> RuleWith(const std::string& parameters) {
    return LoadRule("<RuleSet><Rule Name=\"R\">" + parameters + "</Rule></RuleSet>");
  }
};

// --- writing ----------------------------------------------------------------------------------------

TEST_F(ParamXmlTest, WritesAttributesAndChildrenInTheirFixedOrder) {
  auto limit = Make<KVX_TYPE_DOUBLE>(-17, KVX_OP_LESS_EQUAL, 1);
  limit->csName = L"Gap \u00e4";
  limit->bStatus = false;
  limit->operatorOptions = {8, 5};
  limit->Values() = {0.5, 2.0};
  limit->csCriteriaType = 42;
  limit->csRemarks = L"checked by hand";
  // Levels outside 1..2 are written as "Unknown"; the second value only when above zero.
  limit->csAbsoluteDeviation = {{2, {3.0, 2.0}}, {0, {1.0, 0.0}}, {1, {5.0, -1.0}}, {7, {9.0, 0.0}}};
  limit->csAbsoluteValue = {{1, {0.25, 0.0}}};

  const auto element = limit->GetParameterXML();
  ASSERT_TRUE(element);
  EXPECT_EQ(CanonicalXml(element->Raw()), CanonicalXml(R"(<Parameter Name="Gap ä" Type="-17" Status="0">
      <Operator>8</Operator><OperatorOption>8</OperatorOption><OperatorOption>5</OperatorOption>
      <ParameterType>1</ParameterType><Value>0.500000</Value><Value>2.000000</Value>
      <ResultCriteria Status="1" CriteriaType="42"><PercentDeviation/>
        <AbsoluteDeviation><Unknown><Value>1.000000</Value></Unknown><Warning><Value>5.000000</Value></Warning>
          <Info><Value>3.000000</Value><Value>2.000000</Value></Info><Unknown><Value>9.000000</Value></Unknown>
        </AbsoluteDeviation><AbsoluteValue><Warning><Value>0.250000</Value></Warning></AbsoluteValue>
      </ResultCriteria><Remarks>checked by hand</Remarks></Parameter>)"));

  context_.xmlDocument = nullptr;
  EXPECT_EQ(limit->GetParameterXML(), nullptr) << "no document, no element";
}

// Strings are written as their text and unsigned values with "%u" (the house decision for types 5 and 7).
TEST_F(ParamXmlTest, WritesEachValueTypeInItsTextForm) {
  EXPECT_THAT(Written<KVX_TYPE_INT>({-5, 2147483647}), ElementsAre("-5", "2147483647"));
  EXPECT_THAT(Written<KVX_TYPE_BOOL>({true, false}), ElementsAre("1", "0"));
  EXPECT_THAT(Written<KVX_TYPE_DOUBLE>({-0.0000004, 1234567.25}), ElementsAre("-0.000000", "1234567.250000"));
  EXPECT_THAT(Written<KVX_TYPE_STRING>({L"a b", L""}), ElementsAre("a b", ""));
  EXPECT_THAT(Written<KVX_TYPE_OPAQUE>({1234}), ElementsAre(""));
  EXPECT_THAT(Written<KVX_TYPE_UNSIGNED>({4000000000u}), ElementsAre("4000000000"));
  EXPECT_THAT(Written<KVX_TYPE_STRING_LIST>({StringList(std::vector<std::wstring>{L"x"}), std::nullopt}),
              ElementsAre("", ""));
  EXPECT_THAT(Written<KVX_TYPE_DOUBLE>({4.0}, KVX_OP_EQUAL), ElementsAre("4.000000")) << "only the range drops";
  // Every value type but the string list has no attribute sets and writes nothing for its values.
  EXPECT_THAT(Written<KVX_TYPE_DOUBLE>({1.0, 2.0}, KVX_OP_EQUAL, KVX_PARAM_MULTI_ATTRIBUTE), IsEmpty());
}

// Before writing, a range with 1, 5, 7 or 11 values is emptied, and empty values get back their initial
// capacity unless the parameter has remarks.
TEST_F(ParamXmlTest, WritingCleansTheValuesUp) {
  for (size_t count = 1; count <= 12; ++count) {
    auto range = Make<KVX_TYPE_DOUBLE>(10, KVX_OP_RANGE);
    range->Values().assign(count, 2.5);
    const size_t expected = count == 1 || count == 5 || count == 7 || count == 11 ? 0 : count;
    EXPECT_EQ(ValueTexts(*range->GetParameterXML()).size(), expected) << count;
    EXPECT_EQ(range->Values().size(), expected) << count << " values, in memory too";
  }
  for (const wchar_t* remarks : {L"", L"none yet"}) {
    auto empty = Make<KVX_TYPE_DOUBLE>(12);
    empty->csRemarks = remarks;
    empty->Values().reserve(64);
    EXPECT_THAT(ValueTexts(*empty->GetParameterXML()), IsEmpty());
    EXPECT_EQ(empty->Values().capacity(), *remarks ? 64u : 10u);
  }
}

TEST_F(ParamXmlTest, MultiAttributeValuesBecomeAttributeSets) {
  auto lists = Make<KVX_TYPE_STRING_LIST>(30, KVX_OP_EQUAL, KVX_PARAM_MULTI_ATTRIBUTE);
  lists->Values() = {StringList(std::vector<std::wstring>{L"a", L"b", L"c", L"d", L"e", L"f", L"g"}),
                     StringList(std::vector<std::wstring>{}), std::nullopt,
                     StringList(std::vector<std::wstring>{L"only"})};
  std::string values;
  for (const pugi::xml_node& value : lists->GetParameterXML()->Raw().children("Value")) values += CanonicalXml(value);
  EXPECT_EQ(values, R"(<Value Attribute1="a" Attribute2="b" Attribute3="c" Attribute4="d" Attribute5="e")"
                    R"( Attribute6="f" Attribute7="g"></Value><Value Attribute1="only"></Value>)");
}

// --- reading ----------------------------------------------------------------------------------------

// Each parameter starts from the same edited state. It reads the first element whose "Type" scans ("%ld") to
// its id: values are appended, options replaced only when given, a missing "Operator" or "ParameterType"
// reads as 0. A "ResultCriteria" element clears all three criteria and reads only Warning and Info (three
// values read as 0/0, an unreadable CriteriaType as 0); without one they stay. Name and Remarks belong to the
// rule's own definition and are never read; without its element a parameter stays as it was.
TEST_F(ParamXmlTest, ReadsItsOwnElementOverWhatItHeld) {
  const auto rule = RuleWith(R"(
    <Parameter><Value>1</Value></Parameter><Parameter Type="12abc"><Value>2</Value></Parameter>
    <Parameter Type="12"><Value>3</Value></Parameter><Parameter Type="depth"><Value>4</Value></Parameter>
    <Parameter Type=""><Value>5</Value></Parameter>
    <Parameter Name="Saved name" Type="2517" Status="0"><Operator>8</Operator>
      <OperatorOption>8</OperatorOption><OperatorOption>5</OperatorOption><ParameterType>1</ParameterType>
      <Value>1.25</Value><Value>7</Value><ResultCriteria Status="0" CriteriaType="4">
        <PercentDeviation><Warning><Value>10</Value><Value>20</Value></Warning><Info><Value>1.5</Value></Info></PercentDeviation>
        <AbsoluteDeviation/><AbsoluteValue><Info><Value>3</Value></Info></AbsoluteValue>
      </ResultCriteria><Remarks>saved remark</Remarks></Parameter>
    <Parameter Type="5"><Operator>5</Operator><ParameterType>8</ParameterType><Value>2</Value></Parameter>
    <Parameter Type="6"><OperatorOption>3</OperatorOption><Value>4</Value></Parameter>
    <Parameter Type="7"><ResultCriteria CriteriaType="x">
      <PercentDeviation><Unknown><Value>5</Value></Unknown><Warning/></PercentDeviation>
      <AbsoluteDeviation><Info><Value>1</Value><Value>2</Value><Value>3</Value></Info></AbsoluteDeviation>
    </ResultCriteria></Parameter>)");
  const std::string untouchedCriteria = "criteria true 9 [ 0:8/0 ] [ ] [ 1:8/0 ] | Gap mine";
  const std::pair<long, std::string> cases[] = {
      {2517, "op 8 options 8,5 kind 1 status false values 1,1.25,7 | criteria false 4 [ 1:10/20 2:1.5/0 ] [ ] "
             "[ 2:3/0 ] | Gap mine"},
      {12, "op 0 options 7,8 kind 0 status true values 1,2 | " + untouchedCriteria},
      {0, "op 0 options 7,8 kind 0 status true values 1,4 | " + untouchedCriteria},
      {2, "op 7 options 7,8 kind 8 status true values 1 | " + untouchedCriteria},
      {5, "op 5 options 7,8 kind 8 status true values 1,2 | " + untouchedCriteria},
      {6, "op 0 options 3 kind 0 status true values 1,4 | " + untouchedCriteria},
      {7, "op 0 options 7,8 kind 0 status true values 1 | criteria true 0 [ ] [ 2:0/0 ] [ ] | Gap mine"},
  };
  for (const auto& [id, expected] : cases) {
    auto parameter = Make<KVX_TYPE_DOUBLE>(id);
    parameter->csName = L"Gap";
    parameter->csRemarks = L"mine";
    parameter->Values() = {1.0};
    parameter->operatorOptions = {7, 8};
    parameter->csCriteriaType = 9;
    parameter->csPercentDeviation[0] = {8.0, 0.0};
    parameter->csAbsoluteValue[1] = {8.0, 0.0};
    parameter->PopulateParameterFromXML(rule.get());
    parameter->PopulateParameterFromXML(nullptr);
    EXPECT_EQ(Describe(*parameter), expected) << "Type " << id;
  }
}

TEST_F(ParamXmlTest, StatusIsFalseOnlyForTheExactTextZero) {
  const auto rule = RuleWith(R"(
    <Parameter Type="1"/><Parameter Type="2" Status="0"><ResultCriteria Status="0"/></Parameter>
    <Parameter Type="3" Status="false"><ResultCriteria Status=""/></Parameter>
    <Parameter Type="4" Status="00"><ResultCriteria/></Parameter>)");
  const bool expected[] = {true, false, true, true};
  for (long id = 1; id <= 4; ++id) {
    auto limit = Make<KVX_TYPE_DOUBLE>(id);
    limit->bStatus = !expected[id - 1];
    limit->bResultCriteriaStatus = false;
    limit->PopulateParameterFromXML(rule.get());
    EXPECT_EQ(limit->bStatus, expected[id - 1]) << id;
    EXPECT_EQ(limit->bResultCriteriaStatus, id >= 3) << id << ": no ResultCriteria leaves it; no \"Status\": true";
  }
}

TEST_F(ParamXmlTest, ReadsEachValueTypeFromItsText) {
  const auto rule = RuleWith(R"(
    <Parameter Type="1"><Value>12abc</Value><Value>abc</Value><Value>99999999999</Value><Value> -7</Value></Parameter>
    <Parameter Type="2"><Value>-12x</Value><Value>x</Value></Parameter>
    <Parameter Type="3"><Value>true</Value><Value>0</Value><Value></Value><Value>1</Value></Parameter>
    <Parameter Type="4"><Value>2.5</Value><Value>x</Value><Value>1e3</Value><Value></Value><Value>1e</Value>
      <Value> +.5x</Value><Value>-3.</Value><Value>1,5</Value><Value>1e999</Value><Value>inf</Value><Value>-inf</Value>
      <Value>nan</Value></Parameter>
    <Parameter Type="5"><Value> as it stands </Value><Value/></Parameter>
    <Parameter Type="6"><Value>77</Value></Parameter><Parameter Type="7"><Value>17</Value></Parameter>
    <Parameter Type="8"><Value>a</Value></Parameter>
    <Parameter Type="30"><ParameterType>24</ParameterType>
      <Value Attribute1="a" Attribute2="b" Attribute3="c" Attribute4="d" Attribute5="e" Attribute6="f" Attribute7="g"/>
      <Value Attribute3="three" Attribute1="one"/><Value/></Parameter>)");
  const auto Read = [&rule](auto parameter) {
    parameter->PopulateParameterFromXML(rule.get());
    return parameter->Values();
  };
  EXPECT_THAT(Read(Make<KVX_TYPE_INT>(1)), ElementsAre(12, 0, 0, -7)) << "a failed or overflowing conversion is 0";
  EXPECT_THAT(Read(Make<KVX_TYPE_LONG>(2)), ElementsAre(-12, 0));
  EXPECT_THAT(Read(Make<KVX_TYPE_BOOL>(3)), ElementsAre(true, false, true, true));
  // As a classic-locale stream reads them (the longest number-shaped prefix; 0 when it is no number or
  // overflows), except that what "%f" writes for values that are not finite reads back.
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_THAT(Read(Make<KVX_TYPE_DOUBLE>(4)),
              ElementsAre(2.5, 0.0, 1000.0, 0.0, 0.0, 0.5, -3.0, 1.0, 0.0, inf, -inf, testing::IsNan()));
  EXPECT_THAT(Read(Make<KVX_TYPE_STRING>(5)), ElementsAre(L" as it stands ", L""));
  EXPECT_THAT(Read(Make<KVX_TYPE_OPAQUE>(6)), ElementsAre(0));
  EXPECT_THAT(Read(Make<KVX_TYPE_UNSIGNED>(7)), ElementsAre(0u)) << "unsigned values are written but read as 0";
  EXPECT_THAT(Read(Make<KVX_TYPE_STRING_LIST>(8)), ElementsAre(std::nullopt));
  // Multi-attribute values read at most five attributes, without gaps.
  const auto lists = Read(Make<KVX_TYPE_STRING_LIST>(30, KVX_OP_EQUAL, 1));
  ASSERT_EQ(lists.size(), 3u);
  EXPECT_THAT(*lists[0], ElementsAre(L"a", L"b", L"c", L"d", L"e"));
  EXPECT_THAT(*lists[1], ElementsAre(L"one", L"three"));
  EXPECT_THAT(*lists[2], IsEmpty());
}

}  // namespace
