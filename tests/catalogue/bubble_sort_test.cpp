#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "catalogue/catalogue.h"
#include "tests/support/console_capture.h"

namespace depth_io::test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Sorted {
  std::vector<double> values;
  std::vector<int> index;
};

/// The exchange over all ordered pairs that defines values and permutation.
Sorted plain_double_loop(std::vector<double> values, bool increase) {
  const std::size_t n = values.size();
  std::vector<int> index(n);
  std::iota(index.begin(), index.end(), 0);
  for (std::size_t the = 0; the < n; ++the) {
    for (std::size_t next = 0; next < n; ++next) {
      if (next == the) continue;
      const double temp = values[the];
      const double temp2 = values[next];
      if ((increase && temp2 > temp) || (!increase && temp > temp2)) {
        std::swap(values[the], values[next]);
        std::swap(index[the], index[next]);
      }
    }
  }
  return {std::move(values), std::move(index)};
}

Sorted library_sort(std::vector<double> values, bool increase) {
  const int n = static_cast<int>(values.size());
  std::vector<int> index(values.size(), -7);
  EXPECT_TRUE(BubbleSort(n, values.data(), index.data(), n, increase));
  return {std::move(values), std::move(index)};
}

/// Equal to the bit, so that -0.0 is not 0.0 and a NaN is itself.
bool same(const Sorted& a, const Sorted& b) {
  return a.index == b.index && a.values.size() == b.values.size() &&
         (a.values.empty() ||
          std::memcmp(a.values.data(), b.values.data(), a.values.size() * sizeof(double)) == 0);
}

bool sorts_as_the_plain_loop(const std::vector<double>& values) {
  return same(library_sort(values, true), plain_double_loop(values, true)) &&
         same(library_sort(values, false), plain_double_loop(values, false));
}

std::string shown(const std::vector<double>& values) {
  std::string text;
  for (const double value : values) text += std::to_string(value) + " ";
  return text;
}

/// Every text of `length` letters over an alphabet of numbers.
void expect_all_texts_sort_as_the_plain_loop(const std::vector<double>& alphabet,
                                             std::size_t length) {
  std::vector<std::size_t> letters(length, 0);
  std::vector<double> values(length);
  for (bool more = true; more;) {
    for (std::size_t i = 0; i < length; ++i) values[i] = alphabet[letters[i]];
    ASSERT_TRUE(sorts_as_the_plain_loop(values)) << shown(values);
    more = false;
    for (std::size_t i = 0; i < length && !more; ++i) {
      letters[i] = (letters[i] + 1) % alphabet.size();
      more = letters[i] != 0;
    }
  }
}

/// Random arrays of `alphabet_size` different numbers.
void expect_random_arrays_sort_as_the_plain_loop(int arrays, std::size_t longest, int alphabet_size,
                                                 unsigned seed) {
  std::mt19937 random(seed);
  for (int i = 0; i < arrays; ++i) {
    std::vector<double> values(random() % (longest + 1));
    for (double& value : values) {
      value =
          static_cast<double>(static_cast<int>(random() % static_cast<unsigned>(alphabet_size)) -
                              alphabet_size / 2) /
          2.0;
    }
    ASSERT_TRUE(sorts_as_the_plain_loop(values)) << shown(values);
  }
}

// --- Values and permutation ---------------------------------------------------------------------

TEST(BubbleSort, ThreeNumbersIncreasing) {
  const Sorted sorted = library_sort({3.0, 1.0, 2.0}, true);
  EXPECT_EQ(sorted.values, (std::vector<double>{1.0, 2.0, 3.0}));
  EXPECT_EQ(sorted.index, (std::vector<int>{1, 2, 0}));
}

TEST(BubbleSort, ThreeNumbersDecreasing) {
  const Sorted sorted = library_sort({3.0, 1.0, 2.0}, false);
  EXPECT_EQ(sorted.values, (std::vector<double>{3.0, 2.0, 1.0}));
  EXPECT_EQ(sorted.index, (std::vector<int>{0, 2, 1}));
}

TEST(BubbleSort, ShortFormIsIncreasing) {
  std::vector<double> values{3.0, 1.0, 2.0};
  std::vector<int> index(3, -7);
  EXPECT_TRUE(BubbleSort(3, values.data(), index.data(), 3));
  EXPECT_EQ(values, (std::vector<double>{1.0, 2.0, 3.0}));
  EXPECT_EQ(index, (std::vector<int>{1, 2, 0}));
}

TEST(BubbleSort, EqualNumbersAreRotatedByASmallerOne) {
  const Sorted sorted = library_sort({5.0, 5.0, 5.0, 1.0}, true);
  EXPECT_EQ(sorted.values, (std::vector<double>{1.0, 5.0, 5.0, 5.0}));
  EXPECT_EQ(sorted.index, plain_double_loop({5.0, 5.0, 5.0, 1.0}, true).index);
  EXPECT_NE(sorted.index, (std::vector<int>{3, 0, 1, 2})) << "that would be a stable sort";
}

TEST(BubbleSort, AllEqualStay) {
  const Sorted sorted = library_sort(std::vector<double>(100, 4.0), true);
  std::vector<int> identity(100);
  std::iota(identity.begin(), identity.end(), 0);
  EXPECT_EQ(sorted.index, identity);
}

TEST(BubbleSort, OnlyTheFirstNumbersAreSorted) {
  std::vector<double> values{3.0, 1.0, 0.5};
  std::vector<int> index(3, -7);
  EXPECT_TRUE(BubbleSort(3, values.data(), index.data(), 2, true));
  EXPECT_EQ(values, (std::vector<double>{1.0, 3.0, 0.5}));
  EXPECT_EQ(index, (std::vector<int>{1, 0, -7}));
}

TEST(BubbleSort, EveryTextOfThreeNumbersSortsAsThePlainLoop) {
  for (std::size_t length = 0; length <= 7; ++length) {
    expect_all_texts_sort_as_the_plain_loop({0.0, 1.0, 2.0}, length);
  }
}

TEST(BubbleSort, EveryTextOfTwoNumbersSortsAsThePlainLoop) {
  for (std::size_t length = 8; length <= 13; ++length) {
    expect_all_texts_sort_as_the_plain_loop({0.0, 1.0}, length);
  }
}

TEST(BubbleSort, EveryTextOfSpecialNumbersSortsAsThePlainLoop) {
  for (std::size_t length = 1; length <= 5; ++length) {
    expect_all_texts_sort_as_the_plain_loop({0.0, -0.0, kInfinity, -kInfinity, 1.0}, length);
  }
}

TEST(BubbleSort, HundredThousandShortArraysFullOfTiesSortAsThePlainLoop) {
  for (const int alphabet_size : {1, 2, 3, 5, 9}) {
    expect_random_arrays_sort_as_the_plain_loop(22'000, 24, alphabet_size,
                                                static_cast<unsigned>(alphabet_size));
  }
}

TEST(BubbleSort, LongArraysFullOfTiesSortAsThePlainLoop) {
  for (const int alphabet_size : {2, 3, 10, 60}) {
    expect_random_arrays_sort_as_the_plain_loop(150, 400, alphabet_size,
                                                static_cast<unsigned>(100 + alphabet_size));
  }
}

TEST(BubbleSort, ZerosOfBothSignsAreEqual) {
  std::mt19937 random(7);
  for (int i = 0; i < 3000; ++i) {
    std::vector<double> values(random() % 16);
    for (double& value : values) {
      const unsigned pick = random() % 4;
      value = pick == 0 ? -0.0 : pick == 1 ? 0.0 : pick == 2 ? 1.0 : -1.0;
    }
    ASSERT_TRUE(sorts_as_the_plain_loop(values)) << shown(values);
  }
}

TEST(BubbleSort, ArraysWithNaNSortAsThePlainLoop) {
  std::mt19937 random(11);
  for (int i = 0; i < 5000; ++i) {
    std::vector<double> values(1 + random() % 20);
    for (double& value : values) {
      value = random() % 5 == 0 ? kNaN : static_cast<double>(random() % 4);
    }
    ASSERT_TRUE(sorts_as_the_plain_loop(values)) << shown(values);
  }
}

TEST(BubbleSort, BigRunsSortAsThePlainLoop) {
  std::vector<double> values;
  for (const double value : {4.0, 2.0, 3.0, 2.0, 1.0, 4.0, 0.0}) {
    values.insert(values.end(), 300, value);
  }
  EXPECT_TRUE(sorts_as_the_plain_loop(values));
}

TEST(BubbleSort, OrderedArraysSortAsThePlainLoop) {
  std::vector<double> rising(1500);
  for (std::size_t i = 0; i < rising.size(); ++i) rising[i] = static_cast<double>(i / 3);
  const std::vector<double> falling(rising.rbegin(), rising.rend());
  EXPECT_TRUE(sorts_as_the_plain_loop(rising));
  EXPECT_TRUE(sorts_as_the_plain_loop(falling));
}

// --- A million ----------------------------------------------------------------------------------

struct Million {
  const char* name;
  unsigned different;  ///< number of different values; 0: all
};

class BubbleSortOfAMillion : public testing::TestWithParam<Million> {};

TEST_P(BubbleSortOfAMillion, TakesSecondsAndCarriesThePermutation) {
  constexpr int kCount = 1'000'000;
  std::mt19937 random(5);
  std::vector<double> before(kCount);
  for (double& value : before) {
    value = GetParam().different == 0 ? std::uniform_real_distribution<double>(0.0, 1e9)(random)
                                      : static_cast<double>(random() % GetParam().different);
  }
  for (const bool increase : {true, false}) {
    std::vector<double> values = before;
    std::vector<int> index(kCount, -7);
    const std::clock_t start = std::clock();
    ASSERT_TRUE(BubbleSort(kCount, values.data(), index.data(), kCount, increase));
    EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 8.0);
    EXPECT_TRUE(increase ? std::is_sorted(values.begin(), values.end())
                         : std::is_sorted(values.rbegin(), values.rend()));
    std::vector<bool> seen(kCount, false);
    bool good = true;
    for (int k = 0; k < kCount && good; ++k) {
      const int from = index[static_cast<std::size_t>(k)];
      good = from >= 0 && from < kCount && !seen[static_cast<std::size_t>(from)] &&
             before[static_cast<std::size_t>(from)] == values[static_cast<std::size_t>(k)];
      if (good) seen[static_cast<std::size_t>(from)] = true;
    }
    EXPECT_TRUE(good);
  }
}

INSTANTIATE_TEST_SUITE_P(Arrays, BubbleSortOfAMillion,
                         testing::Values(Million{"Different", 0}, Million{"TwoValues", 2},
                                         Million{"ThousandValues", 1000}),
                         [](const auto& row) { return row.param.name; });

// --- Limits -------------------------------------------------------------------------------------

TEST(BubbleSortLimits, MoreNumbersThanTheTableIsImpossible) {
  std::vector<double> values{3.0, 1.0, 2.0};
  std::vector<int> index(3, -7);
  bool result = true;
  const ConsoleTrace trace =
      capture_console([&] { result = BubbleSort(2, values.data(), index.data(), 3, true); });
  EXPECT_FALSE(result);
  EXPECT_EQ(trace.output, " - ERROR - BubbleSort impossible\n");
  EXPECT_EQ(trace.keys, 1);
}

TEST(BubbleSortLimits, ImpossibleLeavesTheNumbersAndCountsTheIndex) {
  std::vector<double> values{3.0, 1.0, 2.0};
  std::vector<int> index(3, -7);
  capture_console([&] { BubbleSort(2, values.data(), index.data(), 3); });
  EXPECT_EQ(values, (std::vector<double>{3.0, 1.0, 2.0}));
  EXPECT_EQ(index, (std::vector<int>{0, 1, 2}));
}

TEST(BubbleSortLimits, SortingIsSilent) {
  std::vector<double> values{3.0, 1.0, kNaN};
  std::vector<int> index(3);
  const ConsoleTrace trace =
      capture_console([&] { BubbleSort(10, values.data(), index.data(), 3, false); });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

TEST(BubbleSortLimits, NoNumbersAreSorted) {
  double value = 3.0;
  int index = -7;
  EXPECT_TRUE(BubbleSort(0, &value, &index, 0, true));
  EXPECT_TRUE(BubbleSort(5, &value, &index, -1, true));
  EXPECT_EQ(value, 3.0);
  EXPECT_EQ(index, -7);
}

TEST(BubbleSortLimits, NullArraysAreNotTouched) {
  int index[2] = {-7, -7};
  double values[2] = {2.0, 1.0};
  capture_console([&] {
    BubbleSort(2, nullptr, index, 2, true);
    BubbleSort(2, values, nullptr, 2, true);
    BubbleSort(1, nullptr, nullptr, 2, true);
  });
  EXPECT_EQ(values[0], 2.0);
}

}  // namespace
}  // namespace depth_io::test
