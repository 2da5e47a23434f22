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

/// What a parser reads at once must be what it reads one by one, and nothing where it reads less.
void expect_same_pair(const std::string& text) {
  TextParser at_once(text);
  TextParser one_by_one(text);
  int first = -7;
  int second = -7;
  if (at_once.short_pair(first, second)) {
    EXPECT_EQ(one_by_one.integer(), first) << text;
    EXPECT_EQ(one_by_one.integer(), second) << text;
  } else {
    EXPECT_EQ(first, -7) << text;
    EXPECT_EQ(second, -7) << text;
  }
  EXPECT_EQ(at_once.word(), one_by_one.word()) << text;
}

TEST(TextParser, PairsAreWhatTheirNumbersAre) {
  const std::string behind = "\n123456 78 90 end of text";
  for (const char* const first :
       {"", "0", "7", "42", "0012", "1234567", "12345678", "-1", "+3", "x"}) {
    for (const char* const second : {"", "5", "31", "7654321", "99999999", "-1", "1.5", "y"}) {
      for (const char* const between : {" ", "\n", "\t", "  ", ",", ""}) {
        for (const char* const before : {"", " ", "\r\n"}) {
          expect_same_pair(std::string(before) + first + between + second + behind);
          expect_same_pair(std::string(before) + first + between + second);
        }
      }
    }
  }
}

TEST(TextParser, ReadsPairsAtOnceWhereThereAreSome) {
  TextParser parser("\n123 0\n7654321 1234567\n9 8\n and more text behind it");
  int first = 0;
  int second = 0;
  ASSERT_TRUE(parser.short_pair(first, second));
  EXPECT_EQ(first, 123);
  EXPECT_EQ(second, 0);
  ASSERT_TRUE(parser.short_pair(first, second));
  EXPECT_EQ(first, 7654321);
  EXPECT_EQ(second, 1234567);
  ASSERT_TRUE(parser.short_pair(first, second));
  EXPECT_EQ(first, 9);
  EXPECT_EQ(second, 8);
  EXPECT_FALSE(parser.short_pair(first, second));
  EXPECT_EQ(parser.word(), "and");
}

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
