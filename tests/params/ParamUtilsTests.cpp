// Parameter utilities: the legacy value layout, unit codes read from the rule document, range-limit
// conversion and the database directory check.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "../support/ModuleFixture.h"
#include "kvx/framework/KvxUnitConvertor.h"
#include "kvx/params/ParamUtils.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/res/StringIds.h"

namespace {
namespace fs = std::filesystem;
using namespace kvx::params;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::unique_ptr<CDoubleParamStorage> Doubles(std::vector<double> values, bool status = true) {
  auto parameter = std::make_unique<CDoubleParamStorage>(2468, KVX_OP_LESS_EQUAL, 8, true, false);
  parameter->Values() = std::move(values);
  parameter->bStatus = status;
  return parameter;
}

TEST(LegacyValues, TwoOrThreeValuesCarryTheStatusInFront) {
  auto on = Doubles({1.0, 5.0}, false);
  NormaliseLegacyValues(on.get());
  EXPECT_TRUE(on->bStatus);
  EXPECT_THAT(on->Values(), ElementsAre(5.0));

  auto off = Doubles({0.0, 2.0, 3.0}, true);
  NormaliseLegacyValues(off.get());
  EXPECT_FALSE(off->bStatus);
  EXPECT_THAT(off->Values(), ElementsAre(2.0, 3.0));

  auto almost = Doubles({0.999, 2.0}, true);
  NormaliseLegacyValues(almost.get());
  EXPECT_FALSE(almost->bStatus) << "only exactly 1.0 means on";
  EXPECT_THAT(almost->Values(), ElementsAre(2.0));
}

TEST(LegacyValues, OtherCountsOtherTypesAndNullAreLeftAlone) {
  for (const std::vector<double>& values : {std::vector<double>{}, {0.0}, {0.0, 1.0, 2.0, 3.0}}) {
    auto parameter = Doubles(values, true);
    NormaliseLegacyValues(parameter.get());
    EXPECT_TRUE(parameter->bStatus);
    EXPECT_EQ(parameter->Values(), values);
  }
  CTypedParamStorage<KVX_TYPE_INT> ints(1, KVX_OP_EQUAL, 8, true, false);
  ints.Values() = {0, 7};
  NormaliseLegacyValues(&ints);
  EXPECT_TRUE(ints.bStatus);
  EXPECT_THAT(ints.Values(), ElementsAre(0, 7));
  NormaliseLegacyValues(nullptr);
}

class UnitsFromDocument : public kvx::test::ModuleFixture {};

TEST_F(UnitsFromDocument, OnlyTheFirstCharacterOfTheParentsAttributeCounts) {
  const std::pair<const char*, int> cases[] = {{"3", 3}, {"10", 1}, {"12", 1}, {"x", 0}, {"", 0}, {"-1", 0}, {" 4", 0}};
  for (const auto& [text, code] : cases) {
    SCOPED_TRACE(text);
    const auto rule = LoadRule(std::string("<RuleSet Unit=\"") + text + "\" AngularUnit=\"" + text +
                               "\" ><Rule Unit=\"7\" AngularUnit=\"7\"/></RuleSet>");
    EXPECT_EQ(ReadUnitFromDocument(rule.get()), code);
    EXPECT_EQ(ReadAngularUnitFromDocument(rule.get()), code);
  }
}

TEST_F(UnitsFromDocument, LengthAndAngleAreSeparateAndMissingMeansZero) {
  auto rule = LoadRule(R"(<RuleSet Unit="3" AngularUnit="1"><Rule/></RuleSet>)");
  EXPECT_EQ(ReadUnitFromDocument(rule.get()), 3);
  EXPECT_EQ(ReadAngularUnitFromDocument(rule.get()), 1);

  rule = LoadRule(R"(<RuleSet AngularUnit="2"><Rule/></RuleSet>)");
  EXPECT_EQ(ReadUnitFromDocument(rule.get()), 0);
  EXPECT_EQ(ReadAngularUnitFromDocument(rule.get()), 2);

  rule = LoadRule(R"(<Rule Unit="3" AngularUnit="1"/>)");
  EXPECT_EQ(ReadUnitFromDocument(rule.get()), 0) << "a rule element at the top has no parent";
  EXPECT_EQ(ReadAngularUnitFromDocument(rule.get()), 0);
  EXPECT_EQ(ReadUnitFromDocument(nullptr), 0);
  EXPECT_EQ(ReadAngularUnitFromDocument(nullptr), 0);
}

TEST(RangeLimits, ConvertThroughTheFrameworkConvertor) {
  auto parameter = Doubles({2.0});
  parameter->dRangeMin = 25.4;
  parameter->dRangeMax = 254.0;
  ConvertRangeLimits(parameter.get(), KVX_QUANTITY_LENGTH, KVX_UNIT_MM, KVX_UNIT_INCH);
  EXPECT_NEAR(parameter->dRangeMin, 1.0, 1e-12);
  EXPECT_NEAR(parameter->dRangeMax, 10.0, 1e-12);
  EXPECT_THAT(parameter->Values(), ElementsAre(2.0)) << "values are the rule's business";

  parameter->dRangeMax = 90.0;
  ConvertRangeLimits(parameter.get(), KVX_QUANTITY_ANGLE, KVX_ANGLE_DEGREE, KVX_ANGLE_RADIAN);
  EXPECT_NEAR(parameter->dRangeMax,
              CKVXUnitConvertor::ConversionFromOneUnitToAnother(90.0, KVX_QUANTITY_ANGLE, KVX_ANGLE_DEGREE,
                                                                KVX_ANGLE_RADIAN),
              1e-12);
  ConvertRangeLimits(nullptr, KVX_QUANTITY_LENGTH, KVX_UNIT_MM, KVX_UNIT_INCH);
}

// --- database directory ---------------------------------------------------------------------------------

class DatabaseDirectory : public kvx::test::ModuleFixture {
 protected:
  void SetUp() override {
    ModuleFixture::SetUp();
    if (const char* old = std::getenv(kVariable)) saved_ = old;
    const char* base = std::getenv("KVX_TEST_OUTPUT");
    folder_ = fs::path(base ? base : fs::temp_directory_path().string()) /
              ("database-dir-" + std::to_string(::getpid()) + "-" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(folder_);
  }
  void TearDown() override {
    if (saved_) ::setenv(kVariable, saved_->c_str(), 1); else ::unsetenv(kVariable);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
    ModuleFixture::TearDown();
  }
  static constexpr const char* kVariable = "KORVEX_DATABASE_DIR";
  fs::path folder_;
  std::optional<std::string> saved_;
};

TEST_F(DatabaseDirectory, AUsableFolderIsReportedWithTheWarningIcon) {
  fs::create_directories(folder_);
  ::setenv(kVariable, (folder_.string() + "\\\\").c_str(), 1);  // trailing backslashes are dropped
  EXPECT_TRUE(CheckDatabaseDirectory(true));
  ASSERT_EQ(messages_.messages.size(), 1u);
  EXPECT_EQ(messages_.messages[0].text, En(kvx::res::kDatabaseDirUsable));
  EXPECT_EQ(messages_.messages[0].caption, L"Korvex");
  EXPECT_EQ(messages_.messages[0].icon, KvxMessageIcon::Exclamation);
}

TEST_F(DatabaseDirectory, AMissingVariableIsReportedAsUnusable) {
  ::unsetenv(kVariable);
  EXPECT_FALSE(CheckDatabaseDirectory(true));
  ASSERT_EQ(messages_.messages.size(), 1u);
  EXPECT_EQ(messages_.messages[0].text, En(kvx::res::kDatabaseDirNotUsable));
  EXPECT_EQ(messages_.messages[0].caption, L"Korvex");
}

TEST_F(DatabaseDirectory, WithoutAReportNothingIsProbedOrShown) {
  ::setenv(kVariable, folder_.string().c_str(), 1);
  EXPECT_FALSE(CheckDatabaseDirectory(false));
  EXPECT_FALSE(fs::exists(folder_)) << "the probe would have created the folder";
  EXPECT_THAT(messages_.messages, IsEmpty());
}

}  // namespace
