// The "Parameter" element: what the typed storage writes for each value type, the clean-up it does before
// writing, how it finds and reads its element back, and the asymmetries saved rule sets depend on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "../support/ModuleFixture.h"
#include "CanonicalXml.h"
#include "kvx/params/TypedParamStorage.h"

namespace {
using kvx::params::CTypedParamStorage;
using kvx::test::CanonicalXml;
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

  EXPECT_EQ(CanonicalXml(limit->GetParameterXML().get()), CanonicalXml(R"(
    <Parameter Name="Gap ä" Type="-17" Status="0">
      <Operator>8</Operator>
      <OperatorOption>8</OperatorOption><OperatorOption>5</OperatorOption>
      <ParameterType>1</ParameterType>
      <Value>0.500000</Value><Value>2.000000</Value>
      <ResultCriteria Status="1" CriteriaType="42">
        <PercentDeviation/>
        <AbsoluteDeviation>
          <Unknown><Value>1.000000</Value></Unknown>
          <Warning><Value>5.000000</Value></Warning>
          <Info><Value>3.000000</Value><Value>2.000000</Value></Info>
          <Unknown><Value>9.000000</Value></Unknown>
        </AbsoluteDeviation>
        <AbsoluteValue><Warning><Value>0.250000</Value></Warning></AbsoluteValue>
      </ResultCriteria>
      <Remarks>checked by hand</Remarks>
    </Parameter>)"));
}

TEST_F(ParamXmlTest, WritesEachValueTypeInItsTextForm) {
  auto ints = Make<KVX_TYPE_INT>(1);
  ints->Values() = {-5, 2147483647};
  EXPECT_THAT(ValueTexts(*ints->GetParameterXML()), ElementsAre("-5", "2147483647"));
  auto flags = Make<KVX_TYPE_BOOL>(3);
  flags->Values() = {true, false};
  EXPECT_THAT(ValueTexts(*flags->GetParameterXML()), ElementsAre("1", "0"));
  auto doubles = Make<KVX_TYPE_DOUBLE>(4);
  doubles->Values() = {-0.0000004, 1234567.25};
  EXPECT_THAT(ValueTexts(*doubles->GetParameterXML()), ElementsAre("-0.000000", "1234567.250000"));
  // Strings are written as their text and unsigned values with "%u" (the house decision for types 5 and 7).
  auto strings = Make<KVX_TYPE_STRING>(5);
  strings->Values() = {L"a b", L""};
  EXPECT_THAT(ValueTexts(*strings->GetParameterXML()), ElementsAre("a b", ""));
  auto opaque = Make<KVX_TYPE_OPAQUE>(6);
  opaque->Values() = {1234};
  EXPECT_THAT(ValueTexts(*opaque->GetParameterXML()), ElementsAre(""));
  auto unsigneds = Make<KVX_TYPE_UNSIGNED>(7);
  unsigneds->Values() = {4000000000u};
  EXPECT_THAT(ValueTexts(*unsigneds->GetParameterXML()), ElementsAre("4000000000"));
  auto lists = Make<KVX_TYPE_STRING_LIST>(8);
  lists->Values() = {StringList(std::vector<std::wstring>{L"x"}), std::nullopt};
  EXPECT_THAT(ValueTexts(*lists->GetParameterXML()), ElementsAre("", ""));
}

TEST_F(ParamXmlTest, RangeOperatorDropsOneFiveSevenElevenValuesInMemoryToo) {
  for (int count = 1; count <= 12; ++count) {
    SCOPED_TRACE("values: " + std::to_string(count));
    auto range = Make<KVX_TYPE_DOUBLE>(10, KVX_OP_RANGE);
    range->Values().assign(static_cast<size_t>(count), 2.5);
    const auto element = range->GetParameterXML();
    const bool dropped = count == 1 || count == 5 || count == 7 || count == 11;
    const size_t expected = dropped ? 0 : static_cast<size_t>(count);
    EXPECT_EQ(ValueTexts(*element).size(), expected);
    EXPECT_EQ(range->Values().size(), expected);
  }
  auto single = Make<KVX_TYPE_DOUBLE>(11, KVX_OP_EQUAL);
  single->Values() = {4.0};
  EXPECT_THAT(ValueTexts(*single->GetParameterXML()), ElementsAre("4.000000")) << "only the range operator";
}

TEST_F(ParamXmlTest, EmptyValuesAreResetOnlyWithoutRemarks) {
  auto bare = Make<KVX_TYPE_DOUBLE>(12);
  bare->Values().reserve(64);
  EXPECT_THAT(ValueTexts(*bare->GetParameterXML()), IsEmpty());
  EXPECT_EQ(bare->Values().capacity(), 10u) << "reset to the initial capacity";

  auto remarked = Make<KVX_TYPE_DOUBLE>(13);
  remarked->csRemarks = L"none yet";
  remarked->Values().reserve(64);
  EXPECT_THAT(ValueTexts(*remarked->GetParameterXML()), IsEmpty());
  EXPECT_EQ(remarked->Values().capacity(), 64u) << "left untouched";
}

TEST_F(ParamXmlTest, MultiAttributeValuesBecomeAttributeSets) {
  auto lists = Make<KVX_TYPE_STRING_LIST>(30, KVX_OP_EQUAL, KVX_PARAM_MULTI_ATTRIBUTE);
  lists->Values() = {StringList(std::vector<std::wstring>{L"a", L"b", L"c", L"d", L"e", L"f", L"g"}),
                     StringList(std::vector<std::wstring>{}), std::nullopt,
                     StringList(std::vector<std::wstring>{L"only"})};
  const auto element = lists->GetParameterXML();
  std::string values;
  for (const pugi::xml_node& value : element->Raw().children("Value")) values += CanonicalXml(value);
  EXPECT_EQ(values, CanonicalXml(std::string(
                        R"(<Value Attribute1="a" Attribute2="b" Attribute3="c" Attribute4="d" Attribute5="e")"
                        R"( Attribute6="f" Attribute7="g"/>)")) +
                        CanonicalXml(std::string(R"(<Value Attribute1="only"/>)")));

  // Every other value type has no attribute sets and writes nothing for its values.
  auto doubles = Make<KVX_TYPE_DOUBLE>(31, KVX_OP_EQUAL, KVX_PARAM_MULTI_ATTRIBUTE);
  doubles->Values() = {1.0, 2.0};
  EXPECT_THAT(ValueTexts(*doubles->GetParameterXML()), IsEmpty());
}

TEST_F(ParamXmlTest, NoDocumentNoElement) {
  context_.xmlDocument = nullptr;
  auto limit = Make<KVX_TYPE_DOUBLE>(41);
  limit->Values() = {1.0};
  EXPECT_EQ(limit->GetParameterXML(), nullptr);
}

// --- reading ----------------------------------------------------------------------------------------

TEST_F(ParamXmlTest, ReadsEveryPartOfItsOwnElement) {
  const auto rule = RuleWith(R"(
    <Parameter Name="Other" Type="99"><Operator>3</Operator><Value>9</Value></Parameter>
    <Parameter Name="Saved name" Type="2517" Status="0">
      <Operator>8</Operator>
      <OperatorOption>8</OperatorOption><OperatorOption>5</OperatorOption>
      <ParameterType>1</ParameterType>
      <Value>1.25</Value><Value>7</Value>
      <ResultCriteria Status="0" CriteriaType="4">
        <PercentDeviation><Warning><Value>10</Value><Value>20</Value></Warning><Info><Value>1.5</Value></Info></PercentDeviation>
        <AbsoluteDeviation/>
        <AbsoluteValue><Info><Value>3</Value></Info></AbsoluteValue>
      </ResultCriteria>
      <Remarks>saved remark</Remarks>
    </Parameter>)");
  auto gap = Make<KVX_TYPE_DOUBLE>(2517);
  gap->csName = L"Gap";
  gap->csRemarks = L"mine";
  gap->PopulateParameterFromXML(rule.get());

  EXPECT_EQ(gap->iOperator, 8);
  EXPECT_THAT(gap->operatorOptions, ElementsAre(8, 5));
  EXPECT_EQ(gap->iParameterType, 1);
  EXPECT_FALSE(gap->bStatus);
  EXPECT_THAT(gap->Values(), ElementsAre(1.25, 7.0));
  EXPECT_FALSE(gap->bResultCriteriaStatus);
  EXPECT_EQ(gap->csCriteriaType, 4);
  ASSERT_EQ(gap->csPercentDeviation.size(), 2u);
  EXPECT_EQ(gap->csPercentDeviation[1].dValue2, 20.0);
  EXPECT_EQ(gap->csPercentDeviation[2].dValue1, 1.5);
  EXPECT_TRUE(gap->csAbsoluteDeviation.empty());
  EXPECT_EQ(gap->csAbsoluteValue[2].dValue1, 3.0);
  // Name and Remarks belong to the rule's own definition and are not read.
  EXPECT_EQ(gap->csName, L"Gap");
  EXPECT_EQ(gap->csRemarks, L"mine");
}

TEST_F(ParamXmlTest, FindsTheFirstElementWhoseTypeScansToTheIdOrStaysAsItWas) {
  const auto rule = RuleWith(R"(
    <Parameter><Value>1</Value></Parameter>
    <Parameter Type="12abc"><Value>2</Value></Parameter>
    <Parameter Type="12"><Value>3</Value></Parameter>
    <Parameter Type="depth"><Value>4</Value></Parameter>
    <Parameter Type=""><Value>5</Value></Parameter>)");
  auto twelve = Make<KVX_TYPE_DOUBLE>(12);
  twelve->PopulateParameterFromXML(rule.get());
  EXPECT_THAT(twelve->Values(), ElementsAre(2.0)) << "\"%ld\" reads the leading number";

  // A "Type" that is no number scans as 0; the element without "Type" is skipped.
  auto zero = Make<KVX_TYPE_DOUBLE>(0);
  zero->PopulateParameterFromXML(rule.get());
  EXPECT_THAT(zero->Values(), ElementsAre(4.0));

  auto missing = Make<KVX_TYPE_DOUBLE>(2);
  missing->Values() = {3.0};
  missing->operatorOptions = {7};
  missing->csPercentDeviation[1] = {1.0, 0.0};
  missing->PopulateParameterFromXML(rule.get());
  missing->PopulateParameterFromXML(nullptr);
  EXPECT_THAT(missing->Values(), ElementsAre(3.0));
  EXPECT_EQ(missing->iOperator, KVX_OP_GREATER_EQUAL);
  EXPECT_THAT(missing->operatorOptions, ElementsAre(7));
  EXPECT_EQ(missing->csPercentDeviation.size(), 1u);
}

TEST_F(ParamXmlTest, ReadingAppendsValuesAndReplacesOptionsOnlyWhenGiven) {
  const auto rule = RuleWith(R"(
    <Parameter Type="5"><Operator>5</Operator><ParameterType>8</ParameterType><Value>2</Value></Parameter>
    <Parameter Type="6"><OperatorOption>3</OperatorOption><Value>4</Value></Parameter>)");
  auto kept = Make<KVX_TYPE_DOUBLE>(5);
  kept->Values() = {1.0};
  kept->operatorOptions = {7, 8};
  kept->PopulateParameterFromXML(rule.get());
  EXPECT_THAT(kept->Values(), ElementsAre(1.0, 2.0));
  EXPECT_THAT(kept->operatorOptions, ElementsAre(7, 8));

  // Missing "Operator" and "ParameterType" elements read as 0.
  auto replaced = Make<KVX_TYPE_DOUBLE>(6);
  replaced->operatorOptions = {7, 8};
  replaced->PopulateParameterFromXML(rule.get());
  EXPECT_THAT(replaced->operatorOptions, ElementsAre(3));
  EXPECT_EQ(replaced->iOperator, 0);
  EXPECT_EQ(replaced->iParameterType, 0);
}

TEST_F(ParamXmlTest, StatusIsFalseOnlyForTheExactTextZero) {
  const auto rule = RuleWith(R"(
    <Parameter Type="1"/>
    <Parameter Type="2" Status="0"><ResultCriteria Status="0"/></Parameter>
    <Parameter Type="3" Status="false"><ResultCriteria Status=""/></Parameter>
    <Parameter Type="4" Status="00"><ResultCriteria/></Parameter>)");
  const bool expected[] = {true, false, true, true};
  for (long id = 1; id <= 4; ++id) {
    SCOPED_TRACE("Type " + std::to_string(id));
    auto limit = Make<KVX_TYPE_DOUBLE>(id);
    limit->bStatus = !expected[id - 1];
    limit->bResultCriteriaStatus = false;
    limit->PopulateParameterFromXML(rule.get());
    EXPECT_EQ(limit->bStatus, expected[id - 1]);
    EXPECT_EQ(limit->bResultCriteriaStatus, id >= 3) << "no ResultCriteria leaves it; absent \"Status\" gives true";
  }
}

TEST_F(ParamXmlTest, ResultCriteriaReadsOnlyWarningAndInfo) {
  const auto rule = RuleWith(R"(
    <Parameter Type="1"><ResultCriteria CriteriaType="x">
      <PercentDeviation><Unknown><Value>5</Value></Unknown><Warning/></PercentDeviation>
      <AbsoluteDeviation><Info><Value>1</Value><Value>2</Value><Value>3</Value></Info></AbsoluteDeviation>
    </ResultCriteria></Parameter>
    <Parameter Type="2"><Value>1</Value></Parameter>)");
  auto limit = Make<KVX_TYPE_DOUBLE>(1);
  limit->csCriteriaType = 9;
  limit->csPercentDeviation[0] = {8.0, 0.0};
  limit->csAbsoluteValue[1] = {8.0, 0.0};
  limit->PopulateParameterFromXML(rule.get());

  EXPECT_EQ(limit->csCriteriaType, 0) << "unreadable CriteriaType";
  EXPECT_TRUE(limit->csPercentDeviation.empty()) << "Unknown is not read, an empty Warning adds nothing";
  ASSERT_EQ(limit->csAbsoluteDeviation.size(), 1u);
  EXPECT_EQ(limit->csAbsoluteDeviation[2].dValue1, 0.0) << "three values read as (0, 0)";
  EXPECT_EQ(limit->csAbsoluteDeviation[2].dValue2, 0.0);
  EXPECT_TRUE(limit->csAbsoluteValue.empty()) << "cleared even though its element is missing";

  // Without a ResultCriteria element the criteria stay as they were.
  auto untouched = Make<KVX_TYPE_DOUBLE>(2);
  untouched->csCriteriaType = 9;
  untouched->csAbsoluteValue[1] = {8.0, 0.0};
  untouched->PopulateParameterFromXML(rule.get());
  EXPECT_EQ(untouched->csCriteriaType, 9);
  EXPECT_EQ(untouched->csAbsoluteValue.size(), 1u);
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
    <Parameter Type="6"><Value>77</Value></Parameter>
    <Parameter Type="7"><Value>17</Value></Parameter>
    <Parameter Type="8"><Value>a</Value></Parameter>)");
  auto Read = [&rule](auto parameter) {
    parameter->PopulateParameterFromXML(rule.get());
    return parameter;
  };
  auto ints = Read(Make<KVX_TYPE_INT>(1));
  auto longs = Read(Make<KVX_TYPE_LONG>(2));
  auto flags = Read(Make<KVX_TYPE_BOOL>(3));
  auto doubles = Read(Make<KVX_TYPE_DOUBLE>(4));
  auto strings = Read(Make<KVX_TYPE_STRING>(5));
  auto opaque = Read(Make<KVX_TYPE_OPAQUE>(6));
  auto unsigneds = Read(Make<KVX_TYPE_UNSIGNED>(7));
  auto lists = Read(Make<KVX_TYPE_STRING_LIST>(8));

  EXPECT_THAT(ints->Values(), ElementsAre(12, 0, 0, -7)) << "a conversion that fails or overflows gives 0";
  EXPECT_THAT(longs->Values(), ElementsAre(-12, 0));
  EXPECT_THAT(flags->Values(), ElementsAre(true, false, true, true));
  // As a classic-locale stream reads them (the longest number-shaped prefix; 0 when it is no number or
  // overflows), except that what "%f" writes for values that are not finite reads back.
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_THAT(doubles->Values(),
              ElementsAre(2.5, 0.0, 1000.0, 0.0, 0.0, 0.5, -3.0, 1.0, 0.0, inf, -inf, testing::IsNan()));
  EXPECT_THAT(strings->Values(), ElementsAre(L" as it stands ", L""));
  EXPECT_THAT(opaque->Values(), ElementsAre(0));
  // Unsigned values are written but come back as 0.
  EXPECT_THAT(unsigneds->Values(), ElementsAre(0u));
  EXPECT_THAT(lists->Values(), ElementsAre(std::nullopt));
}

TEST_F(ParamXmlTest, MultiAttributeValuesReadAtMostFiveAttributesWithoutGaps) {
  const auto rule = RuleWith(R"(
    <Parameter Type="30"><ParameterType>24</ParameterType>
      <Value Attribute1="a" Attribute2="b" Attribute3="c" Attribute4="d" Attribute5="e" Attribute6="f" Attribute7="g"/>
      <Value Attribute3="three" Attribute1="one"/>
      <Value/>
    </Parameter>)");
  auto lists = Make<KVX_TYPE_STRING_LIST>(30, KVX_OP_EQUAL, 1);
  lists->PopulateParameterFromXML(rule.get());
  ASSERT_EQ(lists->Values().size(), 3u);
  EXPECT_THAT(*lists->Values()[0], ElementsAre(L"a", L"b", L"c", L"d", L"e"));
  EXPECT_THAT(*lists->Values()[1], ElementsAre(L"one", L"three"));
  EXPECT_THAT(*lists->Values()[2], IsEmpty());
}

}  // namespace
