#include "codec/text_parser.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace depth_io::test {
namespace {

TEST(TextParser, WordsAreDelimitedByAnyBlank) {
  TextParser parser(" one\ttwo\r\nthree\v\ffour ");
  EXPECT_EQ(parser.word(), "one");
  EXPECT_EQ(parser.word(), "two");
  EXPECT_EQ(parser.word(), "three");
  EXPECT_EQ(parser.word(), "four");
  EXPECT_EQ(parser.word(), "");
}

TEST(TextParser, NumbersMayTouchWhatFollows) {
  TextParser parser("12abc");
  EXPECT_EQ(parser.integer(), 12);
  EXPECT_EQ(parser.word(), "abc");
}

TEST(TextParser, AFailedReadStaysWhereItIs) {
  TextParser parser("x 1");
  EXPECT_FALSE(parser.integer());
  EXPECT_FALSE(parser.real());
  EXPECT_EQ(parser.word(), "x");
  EXPECT_EQ(parser.integer(), 1);
}

TEST(TextParser, AtTheEndThereIsNoNumber) {
  TextParser parser("  ");
  EXPECT_FALSE(parser.integer());
  EXPECT_FALSE(parser.real());
}

struct IntegerCase {
  std::string text;
  int value;
};

class TextParserIntegers : public testing::TestWithParam<IntegerCase> {};

TEST_P(TextParserIntegers, AreReadOrSaturate) {
  TextParser parser(GetParam().text);
  EXPECT_EQ(parser.integer(), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Table, TextParserIntegers,
    testing::Values(IntegerCase{"0", 0}, IntegerCase{"-7", -7}, IntegerCase{"+7", 7},
                    IntegerCase{"007", 7}, IntegerCase{"2147483647", 2147483647},
                    IntegerCase{"2147483648", 2147483647}, IntegerCase{"4294967297", 2147483647},
                    IntegerCase{"-4294967297", std::numeric_limits<int>::min()},
                    IntegerCase{std::string(10000, '9'), 2147483647}, IntegerCase{"12.9", 12}));

TEST(TextParser, APlusBeforeAMinusIsNoNumber) {
  TextParser parser("+-1");
  EXPECT_FALSE(parser.integer());
}

TEST(TextParser, RealsOfEveryForm) {
  TextParser parser("1.5 -2 3e2 +4.25 .5");
  EXPECT_EQ(parser.real(), 1.5F);
  EXPECT_EQ(parser.real(), -2.0F);
  EXPECT_EQ(parser.real(), 300.0F);
  EXPECT_EQ(parser.real(), 4.25F);
  EXPECT_EQ(parser.real(), 0.5F);
}

TEST(TextParser, RealsBeyondAFloatAreInfiniteOrZero) {
  TextParser parser("1e39 -1e39 1e-60 1e999");
  EXPECT_EQ(parser.real(), std::numeric_limits<float>::infinity());
  EXPECT_EQ(parser.real(), -std::numeric_limits<float>::infinity());
  EXPECT_EQ(parser.real(), 0.0F);
  EXPECT_EQ(parser.real(), std::numeric_limits<float>::infinity());
}

TEST(TextParser, RealsThatAreNoNumbers) {
  TextParser parser("nan inf -inf");
  EXPECT_TRUE(std::isnan(*parser.real()));
  EXPECT_EQ(parser.real(), std::numeric_limits<float>::infinity());
  EXPECT_EQ(parser.real(), -std::numeric_limits<float>::infinity());
}

TEST(TextParser, ADecimalCommaEndsANumber) {
  TextParser parser("533,014404");
  EXPECT_EQ(parser.real(), 533.0F);
  EXPECT_EQ(parser.word(), ",014404");
}

}  // namespace
}  // namespace depth_io::test
