#include "codec/numeric.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <random>

namespace depth_io::test {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr double kInfinityDouble = std::numeric_limits<double>::infinity();
const float kNan = std::numeric_limits<float>::quiet_NaN();

struct PowerCase {
  int a, b, expected;
};

void expect_powers(const std::initializer_list<PowerCase>& cases) {
  for (const PowerCase& c : cases) {
    EXPECT_EQ(_Power(c.a, c.b), c.expected) << c.a << " to the power " << c.b;
  }
}

TEST(Power, IsExactForWholeResults) {
  expect_powers({{10, 0, 1},
                 {10, 1, 10},
                 {10, 9, 1000000000},
                 {2, 30, 1073741824},
                 {-3, 3, -27},
                 {-3, 2, 9},
                 {-10, 9, -1000000000},
                 {7, 1, 7},
                 {0, 5, 0},
                 {0, 0, 1},
                 {1, INT_MAX, 1},
                 {46340, 2, 2147395600}});
}

TEST(Power, RoundsFractionsHalfAwayFromZero) {
  expect_powers({{2, -1, 1}, {-2, -1, -1}, {3, -1, 0}, {-3, -1, 0}, {4, -1, 0}, {1, -7, 1}});
  expect_powers({{-1, -7, -1}, {-1, -8, 1}, {10, -400, 0}});
}

TEST(Power, TheLargestMagnitudeThatFitsIsTheMostNegativeInt) { EXPECT_EQ(_Power(-2, 31), INT_MIN); }

TEST(Power, IsZeroWhenTheResultDoesNotFitAnInt) {
  expect_powers({{2, 31, 0},
                 {10, 10, 0},
                 {-10, 11, 0},
                 {46341, 2, 0},
                 {10, 400, 0},
                 {-10, 401, 0},
                 {0, -1, 0},
                 {INT_MAX, INT_MAX, 0},
                 {INT_MIN, INT_MAX, 0}});
}

TEST(AbsoluteValue, DropsTheSign) {
  EXPECT_EQ(__GetAbsf(-1.5f), 1.5f);
  EXPECT_EQ(__GetAbsf(1.5f), 1.5f);
  EXPECT_EQ(__GetAbsf(0.25f), 0.25f);
  EXPECT_EQ(__GetAbsf(-0.25f), 0.25f);
  EXPECT_EQ(__GetAbsf(-std::numeric_limits<float>::max()), std::numeric_limits<float>::max());
  EXPECT_EQ(__GetAbsf(-kInfinity), kInfinity);
  EXPECT_TRUE(std::isnan(__GetAbsf(kNan)));
}

// Only what is below zero is negated.
TEST(AbsoluteValue, KeepsTheSignOfZero) {
  EXPECT_FALSE(std::signbit(__GetAbsf(0.0f)));
  EXPECT_TRUE(std::signbit(__GetAbsf(-0.0f)));
}

struct ModuloCase {
  int mode, source, quotient, remainder;
};

// The three forms must agree: engines use all of them.
void expect_modulo(const ModuloCase& c) {
  SCOPED_TRACE(testing::Message() << c.source << " modulo " << c.mode);
  EXPECT_EQ(__Modulo(c.mode, c.source), c.remainder);
  int quotient = 12345;
  EXPECT_EQ(__Modulo(c.mode, c.source, quotient), c.remainder);
  EXPECT_EQ(quotient, c.quotient);
  int out_quotient = 12345;
  int out_remainder = 12345;
  __Modulo(c.mode, c.source, out_quotient, out_remainder);
  EXPECT_EQ(out_quotient, c.quotient);
  EXPECT_EQ(out_remainder, c.remainder);
}

TEST(Modulo, TruncatesTheQuotientTowardZero) {
  for (const ModuloCase& c : {ModuloCase{256, 300, 1, 44},
                              {256, -1, 0, -1},
                              {256, -300, -1, -44},
                              {-256, 300, -1, 44},
                              {-256, -300, 1, -44},
                              {256, 256, 1, 0},
                              {256, 255, 0, 255},
                              {1000, 1999, 1, 999},
                              {30, 31, 1, 1},
                              {7, 0, 0, 0},
                              {1, 16777216, 16777216, 0}}) {
    expect_modulo(c);
  }
}

// Frame 16777217 in a ring of one slot gets slot 1: history slots are computed this way.
TEST(Modulo, DividesInSinglePrecision) {
  expect_modulo({1, 16777217, 16777216, 1});
  expect_modulo({10, 99999999, 10000000, -1});
  expect_modulo({1000, 99999999, 100000, -1});
  expect_modulo({1, -16777217, -16777216, -1});
}

TEST(Modulo, ByZeroGivesQuotientZeroAndTheSourceItself) {
  for (const int source : {0, 1, -1, 300, INT_MAX, INT_MIN}) expect_modulo({0, source, 0, source});
}

TEST(Modulo, QuotientThatDoesNotFitAnIntIsZero) {
  expect_modulo({1, INT_MAX, 0, INT_MAX});
  expect_modulo({-1, INT_MIN, 0, INT_MIN});
}

TEST(Modulo, MostNegativeIntIsDivided) {
  expect_modulo({1, INT_MIN, INT_MIN, 0});
  expect_modulo({2, INT_MIN, -1073741824, 0});
  expect_modulo({INT_MIN, INT_MIN, 1, 0});
  expect_modulo({INT_MIN, 5, 0, 5});
}

TEST(Modulo, AgreesWithTheIntegerOperatorsUpToTwoToThe24) {
  std::mt19937 random(1);
  std::uniform_int_distribution<int> sources(-16777216, 16777216);
  std::uniform_int_distribution<int> modes(1, 4096);
  for (int i = 0; i < 20000; ++i) {
    const int source = sources(random);
    const int mode = modes(random);
    int quotient = 0;
    const int remainder = __Modulo(mode, source, quotient);
    ASSERT_EQ(quotient, static_cast<int>(static_cast<float>(source) / static_cast<float>(mode)));
    ASSERT_EQ(wrapping_add(wrapping_multiply(quotient, mode), remainder), source);
    if (source / mode < 4096 && source / mode > -4096) {
      ASSERT_EQ(quotient, source / mode) << source << " modulo " << mode;
      ASSERT_EQ(remainder, source % mode) << source << " modulo " << mode;
    }
  }
}

TEST(Magnitude, OfWholeTriples) {
  EXPECT_EQ(_Magnitudef(3.0f, 4.0f), 5.0f);
  EXPECT_EQ(_Magnitudef(-3.0f, 4.0f), 5.0f);
  EXPECT_EQ(_Magnitudef(2.0f, 3.0f, 6.0f), 7.0f);
  EXPECT_EQ(_Magnitudef(2.0f, -3.0f, -6.0f), 7.0f);
  EXPECT_EQ(_Magnitudef(2, -3, 6), 7.0f);
  EXPECT_EQ(_Magnitudef(0, 0, 0), 0.0f);
  EXPECT_EQ(_Magnitudef(0.0f, 0.0f), 0.0f);
}

// Chosen so that double precision, a fused sum and every other order round differently.
TEST(Magnitude, SumsInSinglePrecisionFromTheLeft) {
  EXPECT_EQ(_Magnitudef(96.8f, 80.2f, 31.4f), 0x1.03238cp+7f);
  EXPECT_EQ(_Magnitudef(26.9f, 92.9f, 83.1f), 0x1.fe0d94p+6f);
  EXPECT_EQ(_Magnitudef(89.0f, 79.6f, 51.1f), 0x1.03c1bp+7f);
  EXPECT_EQ(_Magnitudef(97.6f, 77.3f), 0x1.f2034cp+6f);
  EXPECT_EQ(_Magnitudef(67.1f, 81.3f), 0x1.a5a7ep+6f);
}

TEST(Magnitude, OfIntsConvertsEachSquareBeforeItSums) {
  EXPECT_EQ(_Magnitudef(2951, 16105, 11796), 0x1.3b4f44p+14f);
  EXPECT_EQ(_Magnitudef(2417, 3850, 1299), 0x1.277c48p+12f);
  EXPECT_EQ(_Magnitudef(3883, 9723, 14328), 0x1.15465cp+14f);
}

TEST(Magnitude, SquaresOfIntsWrapAround) {
  EXPECT_EQ(_Magnitudef(65536, 3, 4), 5.0f);
  EXPECT_EQ(_Magnitudef(INT_MIN, INT_MIN, 2), 2.0f);
  EXPECT_TRUE(std::isnan(_Magnitudef(46341, 0, 0)));
}

TEST(Magnitude, OfFloatsOverflowsToInfinity) {
  EXPECT_EQ(_Magnitudef(1e30f, 0.0f, 0.0f), kInfinity);
  EXPECT_EQ(_Magnitudef(1e30f, 1e30f), kInfinity);
  EXPECT_TRUE(std::isnan(_Magnitudef(kNan, 1.0f, 1.0f)));
}

TEST(TruncateToInt, DropsTheFraction) {
  EXPECT_EQ(truncate_to_int(1.999), 1);
  EXPECT_EQ(truncate_to_int(-1.999), -1);
  EXPECT_EQ(truncate_to_int(-0.5), 0);
  EXPECT_EQ(truncate_to_int(2147483647.9), INT_MAX);
  EXPECT_EQ(truncate_to_int(-2147483648.9), INT_MIN);
}

TEST(TruncateToInt, IsZeroForWhatDoesNotFit) {
  for (const double value :
       {2147483648.0, -2147483649.0, 1e39, -1e39, kInfinityDouble, -kInfinityDouble}) {
    EXPECT_EQ(truncate_to_int(value), 0) << value;
  }
  EXPECT_EQ(truncate_to_int(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST(RoundHalfAway, RoundsHalvesAwayFromZero) {
  EXPECT_EQ(round_half_away(0.5), 1);
  EXPECT_EQ(round_half_away(-0.5), -1);
  EXPECT_EQ(round_half_away(2.5), 3);
  EXPECT_EQ(round_half_away(-2.5), -3);
  EXPECT_EQ(round_half_away(2.49), 2);
  EXPECT_EQ(round_half_away(-2.49), -2);
  EXPECT_EQ(round_half_away(2147483647.25), INT_MAX);
  EXPECT_EQ(round_half_away(-2147483648.25), INT_MIN);
}

TEST(RoundHalfAway, IsZeroForWhatDoesNotFit) {
  for (const double value : {2147483647.5, 2147483648.0, -2147483649.0, 1e39, -1e39,
                             kInfinityDouble, -kInfinityDouble}) {
    EXPECT_EQ(round_half_away(value), 0) << value;
  }
  EXPECT_EQ(round_half_away(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST(WrappingArithmetic, WrapsInTwosComplement) {
  EXPECT_EQ(wrapping_add(INT_MAX, 1), INT_MIN);
  EXPECT_EQ(wrapping_add(INT_MIN, -1), INT_MAX);
  EXPECT_EQ(wrapping_subtract(INT_MIN, 1), INT_MAX);
  EXPECT_EQ(wrapping_subtract(0, INT_MIN), INT_MIN);
  EXPECT_EQ(wrapping_multiply(65536, 65536), 0);
  EXPECT_EQ(wrapping_multiply(INT_MIN, -1), INT_MIN);
  EXPECT_EQ(wrapping_multiply(46341, 46341), -2147479015);
}

}  // namespace
}  // namespace depth_io::test
