// Lengths and angles between the unit codes; unknown kinds and codes pass values through unchanged.
#include <gtest/gtest.h>

#include <cmath>
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

TEST(UnitConvertor, LengthsBetweenMillimetresInchesAndFeet) {
  EXPECT_DOUBLE_EQ(Length(25.4, KVX_UNIT_MM, KVX_UNIT_INCH), 1.0);
  EXPECT_DOUBLE_EQ(Length(1.0, KVX_UNIT_INCH, KVX_UNIT_MM), 25.4);
  EXPECT_DOUBLE_EQ(Length(12.0, KVX_UNIT_INCH, KVX_UNIT_FOOT), 1.0);
  EXPECT_DOUBLE_EQ(Length(1.0, KVX_UNIT_FOOT, KVX_UNIT_MM), 304.8);
  EXPECT_DOUBLE_EQ(Length(2.0, KVX_UNIT_FOOT_INCH, KVX_UNIT_INCH), 24.0) << "feet-and-inches values are feet";
  EXPECT_DOUBLE_EQ(Length(-3.0, KVX_UNIT_MM, KVX_UNIT_INCH), -3.0 / 25.4);
  EXPECT_EQ(Length(0.0, KVX_UNIT_M, KVX_UNIT_MIL), 0.0);
}

TEST(UnitConvertor, EveryLengthUnitHasItsSize) {
  struct Case {
    int code;
    double millimetres;  // one unit in mm
  };
  const Case cases[] = {{KVX_UNIT_MM, 1.0},          {KVX_UNIT_CM, 10.0},     {KVX_UNIT_M, 1000.0},
                        {KVX_UNIT_INCH, 25.4},       {KVX_UNIT_FOOT, 304.8},  {KVX_UNIT_FOOT_INCH, 304.8},
                        {KVX_UNIT_ANGSTROM, 1e-7},   {KVX_UNIT_NM, 1e-6},     {KVX_UNIT_MICROMETRE, 1e-3},
                        {KVX_UNIT_MIL, 0.0254},      {KVX_UNIT_MICROINCH, 2.54e-5}};
  for (const auto& c : cases) {
    EXPECT_DOUBLE_EQ(Length(1.0, c.code, KVX_UNIT_MM), c.millimetres) << "code " << c.code;
    EXPECT_DOUBLE_EQ(Length(c.millimetres, KVX_UNIT_MM, c.code), 1.0) << "code " << c.code;
  }
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
    EXPECT_EQ(CKVXUnitConvertor::ConversionFromOneUnitToAnother(7.5, kind, KVX_UNIT_MM, KVX_UNIT_INCH), 7.5)
        << "kind " << kind;
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

TEST(UnitConvertor, RoundTripsComeBackWithinRounding) {
  for (int from = KVX_UNIT_MM; from <= KVX_UNIT_MICROINCH; ++from) {
    for (int to = KVX_UNIT_MM; to <= KVX_UNIT_MICROINCH; ++to) {
      for (double value : {0.1, 2.5, 1234.5678}) {
        const double back = Length(Length(value, from, to), to, from);
        EXPECT_NEAR(back, value, value * 1e-12) << from << " -> " << to;
      }
    }
  }
  for (int from = KVX_ANGLE_DEGREE; from <= KVX_ANGLE_DEG_MIN_SEC; ++from) {
    for (int to = KVX_ANGLE_DEGREE; to <= KVX_ANGLE_DEG_MIN_SEC; ++to) {
      EXPECT_NEAR(Angle(Angle(37.25, from, to), to, from), 37.25, 1e-12) << from << " -> " << to;
    }
  }
}
