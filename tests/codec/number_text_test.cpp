#include "codec/number_text.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "tests/support/console_capture.h"

namespace depth_io::test {
namespace {

/// The 12 bytes that callers provide, between bytes that must stay as they are.
class GuardedText {
 public:
  static constexpr std::size_t kSize = 12;

  char* data() { return bytes_.data() + kGuard; }
  /// The text written; the NUL must lie within the 12 bytes.
  std::string text() {
    const std::string all(data(), kSize);
    EXPECT_NE(all.find('\0'), std::string::npos) << "no NUL within the buffer";
    return all.substr(0, all.find('\0'));
  }
  bool guards_intact() const {
    const std::string guard(kGuard, kMark);
    return std::string(bytes_.data(), kGuard) == guard &&
           std::string(bytes_.data() + kGuard + kSize, kGuard) == guard;
  }

 private:
  static constexpr std::size_t kGuard = 32;
  static constexpr char kMark = '#';
  std::vector<char> bytes_ = std::vector<char>(kSize + 2 * kGuard, kMark);
};

std::string fixed_width(int source, int nb_digits) {
  GuardedText text;
  __TransfromIntsChars(source, nb_digits, text.data());
  EXPECT_TRUE(text.guards_intact()) << source << " with " << nb_digits << " digits";
  return text.text();
}

std::string all_digits(int source, int& digits) {
  GuardedText text;
  digits = __GetStringFromInt(text.data(), source);
  EXPECT_TRUE(text.guards_intact()) << source;
  return text.text();
}

std::string zero_padded(const std::string& digits, std::size_t width) {
  return digits.size() >= width ? digits.substr(digits.size() - width)
                                : std::string(width - digits.size(), '0') + digits;
}

std::string not_an_integer(const std::string& text) {
  return " ---ERROR--- PROBLEM IN GetIntFromString(..) -> NOT A INTEGER IN STRING '" + text + "'\n";
}

TEST(DigitCharacter, IsWrittenWithANul) {
  for (int digit = 0; digit <= 9; ++digit) {
    char dest[3] = {'#', '#', '#'};
    __vsip_itoa(digit, dest);
    EXPECT_EQ(dest[0], "0123456789"[digit]);
    EXPECT_EQ(dest[1], '\0');
    EXPECT_EQ(dest[2], '#');
  }
}

TEST(DigitCharacter, IsNotWrittenForOtherValues) {
  for (const int value : {-1, 10, 11, 48, 57, -9, 256, INT_MAX, INT_MIN}) {
    char dest[2] = {'#', '#'};
    __vsip_itoa(value, dest);
    EXPECT_EQ(std::string(dest, 2), "##") << value;
  }
}

TEST(DigitCount, OfNamedNumbers) {
  const struct {
    int number, digits;
  } cases[] = {{0, 1},        {1, 1},        {9, 1},        {10, 2},
               {99, 2},       {100, 3},      {-1, 1},       {-9, 1},
               {-10, 2},      {-250, 3},     {999999, 6},   {9999999, 7},
               {10000000, 8}, {16777216, 8}, {99999990, 8}, {100000000, 9}};
  for (const auto& c : cases) EXPECT_EQ(__GetNbDigit(c.number), c.digits) << c.number;
}

TEST(DigitCount, IsExactAroundEveryPowerOfTenBelowTwoToThe24) {
  for (int power = 10, digits = 2; digits <= 8; power *= 10, ++digits) {
    EXPECT_EQ(__GetNbDigit(power - 1), digits - 1);
    EXPECT_EQ(__GetNbDigit(power), digits);
    EXPECT_EQ(__GetNbDigit(power + 1), digits);
    EXPECT_EQ(__GetNbDigit(-power), digits);
    EXPECT_EQ(__GetNbDigit(1 - power), digits - 1);
  }
}

// The number passes through a single-precision float, which rounds these up to a power of ten.
TEST(DigitCount, CountsTheSinglePrecisionNumber) {
  EXPECT_EQ(__GetNbDigit(99999999), 9);
  EXPECT_EQ(__GetNbDigit(999999999), 10);
  EXPECT_EQ(__GetNbDigit(-999999999), 10);
}

TEST(DigitCount, OfTenDigitNumbersIsTen) {
  for (const int number : {1000000000, 2000000000, INT_MAX, -1000000000, -INT_MAX, INT_MIN}) {
    EXPECT_EQ(__GetNbDigit(number), 10) << number;
  }
}

struct FixedWidthCase {
  int source, nb_digits;
  const char* text;
};

void expect_texts(const std::vector<FixedWidthCase>& cases) {
  for (const FixedWidthCase& c : cases) {
    EXPECT_EQ(fixed_width(c.source, c.nb_digits), c.text)
        << c.source << " with " << c.nb_digits << " digits";
    GuardedText text;
    __GetStringFromInt(text.data(), c.nb_digits, c.source);
    EXPECT_EQ(text.text(), c.text) << c.source << " with " << c.nb_digits << " digits";
    EXPECT_TRUE(text.guards_intact());
  }
}

TEST(FixedWidth, PadsWithZeros) {
  expect_texts({{7, 4, "0007"}, {0, 3, "000"}, {12, 5, "00012"}, {0, 1, "0"}, {42, 2, "42"}});
  expect_texts({{1, 10, "0000000001"}, {150, 7, "0000150"}, {16777216, 10, "0016777216"}});
}

TEST(FixedWidth, KeepsTheLastDigitsOfLongerNumbers) {
  expect_texts({{123, 2, "23"}, {1234, 3, "234"}, {100000, 1, "0"}, {16777216, 7, "6777216"}});
  expect_texts({{12013, 4, "2013"}, {1000, 3, "000"}, {-1234, 2, "-34"}, {10, 1, "0"}});
}

TEST(FixedWidth, PutsTheSignBeforeTheDigits) {
  expect_texts({{-5, 3, "-005"}, {-1, 1, "-1"}, {-42, 2, "-42"}, {-10, 4, "-0010"}});
}

TEST(FixedWidth, NoDigitsGiveTheSignAlone) {
  expect_texts({{42, 0, ""}, {0, 0, ""}, {-5, 0, "-"}});
}

TEST(FixedWidth, NegativeCountIsAsZero) {
  expect_texts({{7, -1, ""}, {7, -3, ""}, {-7, -3, "-"}, {7, INT_MIN, ""}, {INT_MIN, -1, "-"}});
}

TEST(FixedWidth, CountIsCappedAtTen) {
  expect_texts({{7, 11, "0000000007"},
                {-7, 15, "-0000000007"},
                {123456, 1000, "0000123456"},
                {1, INT_MAX, "0000000001"}});
}

// Frame numbers in file names depend on it.
TEST(FixedWidth, IsExactForNumbersUpToTwoToThe24) {
  for (int number = 0; number <= 16777216; number += 211) {
    ASSERT_EQ(fixed_width(number, 10), zero_padded(std::to_string(number), 10));
  }
}

// From 10485762 on, a quotient kept in single precision gives wrong last digits.
TEST(FixedWidth, IsExactAroundTheLimitsOfSinglePrecision) {
  for (const int centre : {0, 1000, 99999, 1048576, 4194304, 8388608, 10000000, 10485762, 12582912,
                           16000000, 16775000}) {
    for (int number = centre - 1500; number <= centre + 1500; ++number) {
      if (number < 0) continue;
      ASSERT_EQ(fixed_width(number, 8), zero_padded(std::to_string(number), 8));
    }
  }
}

TEST(FixedWidth, EveryWidthKeepsTheLowDigits) {
  std::mt19937 random(2);
  std::uniform_int_distribution<int> numbers(0, 16777216);
  for (int i = 0; i < 2000; ++i) {
    const int number = numbers(random);
    for (int width = 0; width <= 10; ++width) {
      const std::string digits =
          zero_padded(std::to_string(number), static_cast<std::size_t>(width));
      ASSERT_EQ(fixed_width(number, width), digits) << number;
      const std::string sign = number > 0 ? "-" : "";
      ASSERT_EQ(fixed_width(-number, width), sign + digits) << -number;
    }
  }
}

TEST(FixedWidth, LargerNumbersAreTheNearestSinglePrecisionOnes) {
  expect_texts({{16777217, 8, "16777216"},
                {16777219, 8, "16777220"},
                {2000000001, 10, "2000000000"},
                {123456789, 9, "123456792"},
                {-123456789, 9, "-123456792"},
                {INT_MAX, 10, "2147483648"}});
  std::mt19937 random(3);
  std::uniform_int_distribution<int> numbers(16777216, INT_MAX);
  for (int i = 0; i < 5000; ++i) {
    const int number = numbers(random);
    const auto nearest = static_cast<std::int64_t>(static_cast<float>(number));
    ASSERT_EQ(fixed_width(number, 10), zero_padded(std::to_string(nearest), 10)) << number;
  }
}

TEST(FixedWidth, MostNegativeIntKeepsItsMagnitude) {
  expect_texts({{INT_MIN, 10, "-2147483648"}, {INT_MIN, 3, "-648"}, {INT_MIN, 12, "-2147483648"}});
}

TEST(AllDigits, AreWrittenWithoutPadding) {
  const struct {
    int source;
    const char* text;
    int digits;
  } cases[] = {{0, "0", 1},
               {7, "7", 1},
               {10, "10", 2},
               {-250, "-250", 3},
               {123456, "123456", 6},
               {16777216, "16777216", 8},
               {99999999, "100000000", 9},
               {1000000000, "1000000000", 10},
               {INT_MAX, "2147483648", 10},
               {INT_MIN, "-2147483648", 10}};
  for (const auto& c : cases) {
    int digits = -1;
    EXPECT_EQ(all_digits(c.source, digits), c.text);
    EXPECT_EQ(digits, c.digits) << c.source;
  }
}

TEST(AllDigits, ReadBackAsTheNumber) {
  std::mt19937 random(4);
  std::uniform_int_distribution<int> numbers(-16777216, 16777216);
  for (int i = 0; i < 5000; ++i) {
    const int number = numbers(random);
    int digits = 0;
    const std::string text = all_digits(number, digits);
    ASSERT_EQ(text, std::to_string(number));
    ASSERT_EQ(__GetIntFromString(Text(text)), number);
  }
}

struct ParseCase {
  const char* text;
  int value;
};

void expect_values(const std::vector<ParseCase>& cases) {
  for (const ParseCase& c : cases) {
    int value = 12345;
    const ConsoleTrace trace = capture_console([&] { value = __GetIntFromString(Text(c.text)); });
    EXPECT_EQ(value, c.value) << "'" << c.text << "'";
    EXPECT_EQ(trace.output, "") << "'" << c.text << "'";
    EXPECT_EQ(trace.keys, 0) << "'" << c.text << "'";
  }
}

TEST(IntFromString, ReadsDigitsAndALeadingSign) {
  expect_values({{"0", 0},
                 {"7", 7},
                 {"42", 42},
                 {"-42", -42},
                 {"-0042", -42},
                 {"0000150", 150},
                 {"-0", 0},
                 {"2013", 2013},
                 {"123456789", 123456789},
                 {"999999999", 999999999},
                 {"1000000000", 1000000000},
                 {"0000000000000000042", 42},
                 {"00000000002147483647", 2147483647}});
}

TEST(IntFromString, EmptyTextAndLoneSignAreZero) { expect_values({{"", 0}, {"-", 0}}); }

TEST(IntFromString, ReadsTheLimitsOfInt) {
  expect_values({{"2147483647", INT_MAX}, {"-2147483647", -INT_MAX}, {"-2147483648", INT_MIN}});
}

TEST(IntFromString, NumberThatDoesNotFitAnIntIsZero) {
  expect_values({{"2147483648", 0},
                 {"-2147483649", 0},
                 {"4294967297", 0},
                 {"9999999999", 0},
                 {"18446744073709551617", 0},
                 {"-99999999999999999999", 0},
                 {"100000000000000000000000000000000000000000", 0}});
}

TEST(IntFromString, AnyOtherCharacterIsReportedOnceAndWaits) {
  for (const char* text :
       {"12a", "a12", "x",    "--5", "5-",   "-5-",   "1-2",          " 5",   "5 ",
        "5\n", "\n",  "\t5",  "+5",  "1.5",  "1,5",   "0x10",         "1e3",  "-x",
        "- 5", "abc", "12/3", ":",   "\x80", "5\xff", "99999999999a", "%s%n", "''"}) {
    int value = 12345;
    const ConsoleTrace trace = capture_console([&] { value = __GetIntFromString(Text(text)); });
    EXPECT_EQ(value, -1) << "'" << text << "'";
    EXPECT_EQ(trace.output, not_an_integer(text));
    EXPECT_EQ(trace.keys, 1) << "'" << text << "'";
  }
}

TEST(IntFromString, EveryByteThatIsNoDigitIsRefused) {
  for (int byte = 1; byte < 256; ++byte) {
    const std::string text = std::string("1") + static_cast<char>(byte);
    const bool digit = byte >= '0' && byte <= '9';
    int value = 12345;
    const ConsoleTrace trace = capture_console([&] { value = __GetIntFromString(Text(text)); });
    ASSERT_EQ(value, digit ? 10 + byte - '0' : -1) << "byte " << byte;
    ASSERT_EQ(trace.output, digit ? "" : not_an_integer(text)) << "byte " << byte;
    ASSERT_EQ(trace.keys, digit ? 0 : 1) << "byte " << byte;
  }
}

TEST(IntFromString, LongTextIsReportedWhole) {
  const std::string text = std::string(5000, '7') + "x";
  int value = 0;
  const ConsoleTrace trace = capture_console([&] { value = __GetIntFromString(Text(text)); });
  EXPECT_EQ(value, -1);
  EXPECT_EQ(trace.output, not_an_integer(text));
  EXPECT_EQ(trace.keys, 1);
}

TEST(IntFromString, NullIsReportedOnceAndWaits) {
  int value = 0;
  const ConsoleTrace trace = capture_console([&] { value = __GetIntFromString(nullptr); });
  EXPECT_EQ(value, -1);
  EXPECT_EQ(trace.output, not_an_integer("(null)"));
  EXPECT_EQ(trace.keys, 1);
}

TEST(IntFromString, LeavesTheTextAsItWas) {
  Text good("-0042");
  EXPECT_EQ(__GetIntFromString(good), -42);
  EXPECT_EQ(good.str(), "-0042");
}

}  // namespace
}  // namespace depth_io::test
