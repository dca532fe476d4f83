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

TEST(LegacyValues, OnlyTwoOrThreeDoublesCarryTheStatusInFront) {
  struct Case { std::vector<double> values; bool before; bool after; std::vector<double> left; };
  const Case cases[] = {{{1.0, 5.0}, false, true, {5.0}},
                        {{0.0, 2.0, 3.0}, true, false, {2.0, 3.0}},
                        {{0.999, 2.0}, true, false, {2.0}},  // only exactly 1.0 means on
                        {{}, true, true, {}},
                        {{0.0}, true, true, {0.0}},
                        {{0.0, 1.0, 2.0, 3.0}, true, true, {0.0, 1.0, 2.0, 3.0}}};
  for (const Case& each : cases) {
    auto parameter = Doubles(each.values, each.before);
    NormaliseLegacyValues(parameter.get());
    EXPECT_EQ(parameter->bStatus, each.after);
    EXPECT_EQ(parameter->Values(), each.left);
  }
  CTypedParamStorage<KVX_TYPE_INT> ints(1, KVX_OP_EQUAL, 8, true, false);
  ints.Values() = {0, 7};
  NormaliseLegacyValues(&ints);
  EXPECT_TRUE(ints.bStatus) << "other value types are left alone";
  EXPECT_THAT(ints.Values(), ElementsAre(0, 7));
  NormaliseLegacyValues(nullptr);
}

class UnitsFromDocument : public kvx::test::ModuleFixture {};

TEST_F(UnitsFromDocument, OnlyTheFirstCharacterOfTheParentsAttributeCounts) {
  const std::pair<const char*, int> cases[] = {{"3", 3}, {"12", 1}, {"x", 0}, {"", 0}, {"-1", 0}, {" 4", 0}};
  for (const auto& [text, code] : cases) {
    SCOPED_TRACE(text);
    const auto rule = LoadRule(std::string("<RuleSet Unit=\"") + text + "\" AngularUnit=\"" + text +
                               "\" ><Rule Unit=\"7\" AngularUnit=\"7\"/></RuleSet>");
    EXPECT_EQ(ReadUnitFromDocument(rule.get()), code);
    EXPECT_EQ(ReadAngularUnitFromDocument(rule.get()), code);
  }
  auto rule = LoadRule(R"(<RuleSet AngularUnit="2"><Rule/></RuleSet>)");
  EXPECT_EQ(ReadUnitFromDocument(rule.get()), 0) << "length and angle are separate";
  EXPECT_EQ(ReadAngularUnitFromDocument(rule.get()), 2);
  rule = LoadRule(R"(<Rule Unit="3" AngularUnit="1"/>)");
  EXPECT_EQ(ReadUnitFromDocument(rule.get()), 0) << "a rule element at the top has no parent";
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

// Without a report nothing is probed or shown; trailing backslashes are dropped.
TEST_F(DatabaseDirectory, UsableAndMissingFoldersAreReported) {
  ::setenv(kVariable, folder_.string().c_str(), 1);
  EXPECT_FALSE(CheckDatabaseDirectory(false));
  EXPECT_FALSE(fs::exists(folder_)) << "the probe would have created the folder";
  EXPECT_THAT(messages_.messages, IsEmpty());

  fs::create_directories(folder_);
  ::setenv(kVariable, (folder_.string() + "\\\\").c_str(), 1);
  EXPECT_TRUE(CheckDatabaseDirectory(true));
  ::unsetenv(kVariable);
  EXPECT_FALSE(CheckDatabaseDirectory(true));
  ASSERT_EQ(messages_.messages.size(), 2u);
  EXPECT_EQ(messages_.messages[0].text, En(kvx::res::kDatabaseDirUsable));
  EXPECT_EQ(messages_.messages[0].caption, L"Korvex");
  EXPECT_EQ(messages_.messages[0].icon, KvxMessageIcon::Exclamation);
  EXPECT_EQ(messages_.messages[1].text, En(kvx::res::kDatabaseDirNotUsable));
}

}  // namespace
