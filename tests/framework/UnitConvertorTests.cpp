// Lengths and angles between the unit codes; unknown kinds and codes pass values through unchanged.
#include <gtest/gtest.h>

#include <numbers>

#include "kvx/framework/KvxTypes.h"
#include "kvx/framework/KvxUnitConvertor.h"

namespace {
double Length(double value, int from, int to) {
  return CKVXUnitConvertor::ConversionFromOneUnitToAnother(value, KVX_QUANTITY_LENGTH, from, to);
}
double Angle(double value, int from, int to) {
  return CKVXUnitConvertor::ConversionFromOneUnitToAnother(value, KVX_QUANTITY_ANGLE, from, to);
}
}  // namespace

TEST(UnitConvertor, EveryLengthUnitHasItsSizeAndRoundTrips) {
  // Feet-and-inches values are held in feet.
  const std::pair<int, double> millimetresPerUnit[] = {
      {KVX_UNIT_MM, 1.0},        {KVX_UNIT_CM, 10.0},       {KVX_UNIT_M, 1000.0},          {KVX_UNIT_INCH, 25.4},
      {KVX_UNIT_FOOT, 304.8},    {KVX_UNIT_FOOT_INCH, 304.8}, {KVX_UNIT_ANGSTROM, 1e-7},   {KVX_UNIT_NM, 1e-6},
      {KVX_UNIT_MICROMETRE, 1e-3}, {KVX_UNIT_MIL, 0.0254},  {KVX_UNIT_MICROINCH, 2.54e-5}};
  for (const auto& [code, millimetres] : millimetresPerUnit) {
    EXPECT_DOUBLE_EQ(Length(1.0, code, KVX_UNIT_MM), millimetres) << "code " << code;
    EXPECT_DOUBLE_EQ(Length(millimetres, KVX_UNIT_MM, code), 1.0) << "code " << code;
    for (const auto& [to, unused] : millimetresPerUnit) {
      EXPECT_NEAR(Length(Length(1234.5678, code, to), to, code), 1234.5678, 1e-8) << code << " -> " << to;
    }
  }
  EXPECT_DOUBLE_EQ(Length(12.0, KVX_UNIT_INCH, KVX_UNIT_FOOT), 1.0);
  EXPECT_DOUBLE_EQ(Length(-3.0, KVX_UNIT_MM, KVX_UNIT_INCH), -3.0 / 25.4);
}

TEST(UnitConvertor, AnglesBetweenDegreesAndRadians) {
  EXPECT_DOUBLE_EQ(Angle(180.0, KVX_ANGLE_DEGREE, KVX_ANGLE_RADIAN), std::numbers::pi);
  EXPECT_DOUBLE_EQ(Angle(std::numbers::pi / 2, KVX_ANGLE_RADIAN, KVX_ANGLE_DEGREE), 90.0);
  // The degree-minute forms hold their values in degrees.
  EXPECT_DOUBLE_EQ(Angle(1.5, KVX_ANGLE_DEGREE, KVX_ANGLE_DEG_MIN), 1.5);
  EXPECT_DOUBLE_EQ(Angle(1.5, KVX_ANGLE_DEG_MIN_SEC, KVX_ANGLE_DEGREE), 1.5);
  EXPECT_DOUBLE_EQ(Angle(90.0, KVX_ANGLE_DEG_MIN, KVX_ANGLE_RADIAN), std::numbers::pi / 2);
}

TEST(UnitConvertor, UnknownKindOrCodeLeavesTheValue) {
  for (int kind : {0, 3, -1, 99}) {
    EXPECT_EQ(CKVXUnitConvertor::ConversionFromOneUnitToAnother(7.5, kind, KVX_UNIT_MM, KVX_UNIT_INCH), 7.5) << kind;
  }
  for (int code : {-1, 11, 99}) {
    EXPECT_EQ(Length(7.5, code, KVX_UNIT_MM), 7.5) << code;
    EXPECT_EQ(Length(7.5, KVX_UNIT_MM, code), 7.5) << code;
  }
  for (int code : {-1, 4, 5, 10}) {
    EXPECT_EQ(Angle(7.5, code, KVX_ANGLE_RADIAN), 7.5) << code;
    EXPECT_EQ(Angle(7.5, KVX_ANGLE_DEGREE, code), 7.5) << code;
  }
}
