// The loops built for this processor against the portable ones, and those against plain loops.

#include "codec/pixel_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "codec/depth_code.h"
#include "codec/error_detection.h"
#include "codec/frame_writer.h"
#include "codec/labelling.h"
#include "codec/luminance.h"

namespace depth_io::test {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
const PixelKernels* const kBuilds[] = {&portable_pixel_kernels(), &pixel_kernels()};
const std::size_t kSizes[] = {0, 1, 15, 16, 17, 31, 32, 33, 63, 64, 65, 640, 1001};

std::vector<std::uint32_t> bits(const std::vector<float>& values) {
  std::vector<std::uint32_t> all;
  for (const float value : values) all.push_back(std::bit_cast<std::uint32_t>(value));
  return all;
}

TEST(PixelKernels, ExpandsEveryCodeToGreyBytesAndTheirLuminance) {
  for (const PixelKernels* kernels : kBuilds) {
    for (const std::size_t size : kSizes) {
      std::vector<int> codes(size);
      for (std::size_t i = 0; i < size; ++i) codes[i] = static_cast<int>(i * 37 % 256);
      std::vector<unsigned char> bgr(3 * size + 1, 77);
      std::vector<unsigned char> grey(size + 1, 77);
      std::vector<unsigned char> bytes(size + 1, 77);
      kernels->expand_codes(codes.data(), size, {bgr.data(), grey.data(), bytes.data()});
      for (std::size_t i = 0; i < size; ++i) {
        ASSERT_EQ(grey[i], luminance(codes[i], codes[i], codes[i]));
        for (std::size_t byte = 0; byte < 3; ++byte) ASSERT_EQ(bgr[3 * i + byte], codes[i]);
        ASSERT_EQ(bytes[i], codes[i]);
      }
      EXPECT_EQ(bgr.back(), 77);
      EXPECT_EQ(grey.back(), 77);
      EXPECT_EQ(bytes.back(), 77);
    }
  }
}

TEST(PixelKernels, ExpandsGreyToThreeBytes) {
  for (const PixelKernels* kernels : kBuilds) {
    for (const std::size_t size : kSizes) {
      std::vector<unsigned char> grey(size);
      std::iota(grey.begin(), grey.end(), static_cast<unsigned char>(5));
      std::vector<unsigned char> bgr(3 * size + 1, 77);
      kernels->expand_grey(grey.data(), size, bgr.data());
      for (std::size_t i = 0; i < 3 * size; ++i) ASSERT_EQ(bgr[i], grey[i / 3]);
      EXPECT_EQ(bgr.back(), 77);
    }
  }
}

struct CodedRuns {
  std::vector<int> lengths, values;
  bool operator==(const CodedRuns&) const = default;
};

CodedRuns code_plainly(const std::vector<int>& values, std::size_t longest) {
  CodedRuns runs;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const bool goes_on = i > 0 && values[i] == values[i - 1] &&
                         static_cast<std::size_t>(runs.lengths.back()) < longest;
    if (goes_on) {
      ++runs.lengths.back();
    } else {
      runs.lengths.push_back(1);
      runs.values.push_back(values[i]);
    }
  }
  return runs;
}

void expect_runs(const std::vector<int>& values, std::size_t longest) {
  for (const PixelKernels* kernels : kBuilds) {
    CodedRuns runs{std::vector<int>(values.size()), std::vector<int>(values.size())};
    const int count = kernels->code_runs(values.data(), values.size(), longest, runs.lengths.data(),
                                         runs.values.data());
    runs.lengths.resize(static_cast<std::size_t>(count));
    runs.values.resize(static_cast<std::size_t>(count));
    ASSERT_EQ(runs, code_plainly(values, longest)) << values.size() << ", " << longest;
  }
}

TEST(PixelKernels, EndsARunWhereverItsEndLies) {
  for (const std::size_t size : {0U, 1U, 2U, 63U, 64U, 65U, 66U, 129U, 200U}) {
    for (std::size_t length = 0; length <= size; ++length) {
      std::vector<int> values(size, -1);
      std::fill(values.begin() + static_cast<std::ptrdiff_t>(length), values.end(), 3);
      for (const std::size_t longest : {1U, 2U, 64U, 30000U}) expect_runs(values, longest);
    }
  }
}

TEST(PixelKernels, CodesRunsOfAnyLengths) {
  std::mt19937 random(11);
  for (int round = 0; round < 60; ++round) {
    std::vector<int> values;
    while (values.size() < 700) {
      values.insert(values.end(), 1 + random() % (1U << random() % 8),
                    static_cast<int>(random() % 3));
    }
    for (const std::size_t longest : {1U, 3U, 100U, 30000U}) expect_runs(values, longest);
  }
}

TEST(PixelKernels, RefillsWhateverIsThere) {
  for (const PixelKernels* kernels : kBuilds) {
    for (const std::size_t size : kSizes) {
      std::vector<float> values(size + 1, -1.0F);
      for (std::size_t i = 0; i < size; i += 29) values[i] = i % 2 == 0 ? kNaN : 0.0F;
      values[size] = 5.0F;
      kernels->refill(values.data(), size, std::bit_cast<std::uint32_t>(-1.0F));
      for (std::size_t i = 0; i < size; ++i) ASSERT_EQ(values[i], -1.0F);
      EXPECT_EQ(values[size], 5.0F);
    }
  }
}

/// What a depth map is coded into.
struct Coded {
  std::vector<int> label;
  std::vector<int> code;
  std::size_t count;
};

Coded code_with(const PixelKernels& kernels, const LabelTable& table,
                const std::vector<float>& depth, const std::vector<int>& mask) {
  Coded coded{std::vector<int>(depth.size(), 99), std::vector<int>(depth.size(), 99), 0};
  LabelIntervals intervals = table.sure_intervals();
  coded.count = kernels.code_pixels(depth.data(), mask.data(), depth.size(), intervals,
                                    coded.label.data(), coded.code.data());
  return coded;
}

TEST(PixelKernels, CodesWhatTheTableAndTheCodeSay) {
  std::vector<float> references(64);
  int count = 0;
  LabelTable table(references.data(), 64, count);
  for (const float reference : {2.0F, 4.1F, 0.5F, 7.0F}) table.add(reference);
  std::mt19937 random(5);
  std::uniform_int_distribution<int> millimetres(1, 8200);
  std::uniform_int_distribution<int> masked(0, 9);
  for (const PixelKernels* kernels : kBuilds) {
    std::size_t coded_pixels = 0;
    for (int round = 0; round < 2000; ++round) {
      std::vector<float> depth(32);
      std::vector<int> mask(32);
      float base = static_cast<float>(millimetres(random)) / 1000.0F;
      for (std::size_t i = 0; i < depth.size(); ++i) {
        if (masked(random) == 0) base = static_cast<float>(millimetres(random)) / 1000.0F;
        depth[i] = base;
        mask[i] = masked(random) == 0 ? -1 - masked(random) : masked(random);
      }
      const Coded coded = code_with(*kernels, table, depth, mask);
      ASSERT_EQ(coded.count % kCodedBlock, 0U);
      coded_pixels += coded.count;
      for (std::size_t i = 0; i < coded.count; ++i) {
        const int label = mask[i] < 0 ? -1 : table.find(depth[i]);
        ASSERT_EQ(coded.label[i], label);
        ASSERT_EQ(
            coded.code[i],
            label < 0 ? 0 : encode_depth(depth[i], references[static_cast<std::size_t>(label)]));
      }
      for (std::size_t i = coded.count + kCodedBlock; i < depth.size(); ++i) {
        ASSERT_EQ(coded.label[i], 99);
      }
    }
    EXPECT_GT(coded_pixels, 30000U);
  }
}

TEST(PixelKernels, StopsBeforeABlockWithoutASureLabel) {
  std::vector<float> references(8);
  int count = 0;
  LabelTable table(references.data(), 8, count);
  table.add(2.0F);
  for (const PixelKernels* kernels : kBuilds) {
    for (const float strange : {kNaN, std::numeric_limits<float>::infinity(), -40.0F, 9.0F}) {
      std::vector<float> depth(64, 2.3F);
      depth[40] = strange;
      EXPECT_EQ(code_with(*kernels, table, depth, std::vector<int>(64)).count, 32U);
    }
  }
}

TEST(PixelKernels, LeavesOutMaskedPixelsThatAreNoNumbers) {
  std::vector<float> references(8);
  int count = 0;
  LabelTable table(references.data(), 8, count);
  table.add(2.0F);
  for (const PixelKernels* kernels : kBuilds) {
    std::vector<float> depth(16, 2.3F);
    std::vector<int> mask(16);
    depth[3] = kNaN;
    mask[3] = -7;
    const Coded coded = code_with(*kernels, table, depth, mask);
    EXPECT_EQ(coded.count, 16U);
    EXPECT_EQ(coded.label[3], -1);
    EXPECT_EQ(coded.code[3], 0);
    EXPECT_EQ(coded.label[4], 0);
  }
}

TEST(PixelKernels, CodesNothingWithoutLabels) {
  std::vector<float> references(8);
  int count = 0;
  const LabelTable table(references.data(), 8, count);
  for (const PixelKernels* kernels : kBuilds) {
    EXPECT_EQ(code_with(*kernels, table, std::vector<float>(32), std::vector<int>(32)).count, 0U);
  }
}

/// A row of codes, and what is made of it.
struct RebuiltRow {
  explicit RebuiltRow(std::size_t size) : codes(size), depth(size), x(size), y(size) {}

  void fill(std::mt19937& random) {
    for (unsigned char& code : codes) code = static_cast<unsigned char>(random() % 256);
  }
  void rebuild(const PixelKernels& kernels, std::size_t count, float reference, int column,
               const RowGeometry& geometry) {
    kernels.rebuild_pixels({codes.data(), depth.data(), x.data(), y.data()}, count, codes.size(),
                           reference, column, geometry);
  }
  void rebuild_plainly(std::size_t count, float reference, int column, const RowGeometry& g) {
    for (std::size_t i = 0; i < count; ++i) {
      const int code = codes[i];
      const float z = clamp_depth(static_cast<float>(code) / 100.0F - 1.25F + reference);
      depth[i] = z;
      x[i] = g.x * z / g.a11;
      y[i] = (static_cast<float>(column + static_cast<int>(i)) - g.cy) * z / g.a22;
    }
  }

  std::vector<unsigned char> codes;
  std::vector<float> depth, x, y;
};

/// The same bits, or no number on both sides: which of them may differ.
void expect_same_values(const std::vector<float>& values, const std::vector<float>& expected,
                        std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (std::isnan(values[i]) && std::isnan(expected[i])) continue;
    ASSERT_EQ(std::bit_cast<std::uint32_t>(values[i]), std::bit_cast<std::uint32_t>(expected[i]))
        << "pixel " << i << ": " << values[i] << " for " << expected[i];
  }
}

/// Rebuilds the same row both ways and compares the pixels asked for.
void compare_rebuilt(const RebuiltRow& row, std::size_t count, float reference, int column,
                     const RowGeometry& geometry) {
  RebuiltRow expected = row;
  expected.rebuild_plainly(count, reference, column, geometry);
  for (const PixelKernels* kernels : kBuilds) {
    RebuiltRow rebuilt = row;
    rebuilt.rebuild(*kernels, count, reference, column, geometry);
    expect_same_values(rebuilt.depth, expected.depth, count);
    expect_same_values(rebuilt.x, expected.x, count);
    expect_same_values(rebuilt.y, expected.y, count);
  }
}

TEST(PixelKernels, RebuildsDepthsAndMapsInTheOrderOfThePlainLoop) {
  std::mt19937 random(7);
  const RowGeometry geometry(-37.25F, 533.014404F, 533.5F, 319.75F);
  for (const std::size_t size : kSizes) {
    for (const float reference :
         {0.0F, 1.7F, 254.5F, -3.0F, 1e-30F, 1e30F, kNaN, std::numeric_limits<float>::infinity()}) {
      RebuiltRow row(size);
      row.fill(random);
      compare_rebuilt(row, size, reference, 11, geometry);
    }
  }
}

TEST(PixelKernels, RebuildsFewerPixelsThanThereIsRoomFor) {
  std::mt19937 random(8);
  const RowGeometry geometry(12.5F, 533.0F, 533.0F, 320.0F);
  for (std::size_t count = 1; count <= 40; ++count) {
    RebuiltRow row(40);
    row.fill(random);
    compare_rebuilt(row, count, 2.0F, 0, geometry);
  }
}

TEST(PixelKernels, PixelsBehindTheRoomAreLeftAlone) {
  for (const PixelKernels* kernels : kBuilds) {
    RebuiltRow row(13);
    row.depth.push_back(7.0F);
    row.x.push_back(7.0F);
    row.y.push_back(7.0F);
    row.rebuild(*kernels, 13, 2.0F, 0, RowGeometry(1.0F, 500.0F, 500.0F, 320.0F));
    EXPECT_EQ(row.depth.back(), 7.0F);
    EXPECT_EQ(row.x.back(), 7.0F);
    EXPECT_EQ(row.y.back(), 7.0F);
  }
}

TEST(PixelKernels, MetricMapsAreThoseOfThePlainDivisionForEveryCamera) {
  std::mt19937 random(9);
  std::uniform_real_distribution<float> focal(0.01F, 3000.0F);
  std::uniform_real_distribution<float> point(-700.0F, 700.0F);
  std::uniform_real_distribution<float> depth(0.0F, 30.0F);
  for (int camera = 0; camera < 2000; ++camera) {
    RebuiltRow row(640);
    row.fill(random);
    compare_rebuilt(row, 640, depth(random), 0,
                    RowGeometry(point(random), focal(random), focal(random), point(random)));
  }
}

TEST(PixelKernels, MetricMapsOfImpossibleCamerasAreThoseOfThePlainDivision) {
  constexpr float kImpossible[] = {0.0F,   -0.0F,   1e-42F,
                                   1e-30F, -533.0F, 1e30F,
                                   3e38F,  kNaN,    std::numeric_limits<float>::infinity()};
  std::mt19937 random(10);
  RebuiltRow row(64);
  row.fill(random);
  for (const float value : kImpossible) {
    compare_rebuilt(row, 64, 2.0F, 0, RowGeometry(value, 533.0F, 533.0F, 320.0F));
    compare_rebuilt(row, 64, 2.0F, 0, RowGeometry(1.0F, value, 533.0F, 320.0F));
    compare_rebuilt(row, 64, 2.0F, 0, RowGeometry(1.0F, 533.0F, value, 320.0F));
    compare_rebuilt(row, 64, 2.0F, 0, RowGeometry(1.0F, 533.0F, 533.0F, value));
  }
}

TEST(PixelKernels, MarksWhatThePlainLoopFindsMoving) {
  constexpr float kSpecial[] = {
      0.0F, -0.0F, kNaN, 1.0F, 1.1F, 0.9F, 3e38F, 1e-40F, std::numeric_limits<float>::infinity()};
  std::mt19937 random(13);
  const auto any = [&] { return kSpecial[random() % std::size(kSpecial)]; };
  for (const PixelKernels* kernels : kBuilds) {
    for (const std::size_t size : kSizes) {
      std::vector<float> before(size), now(size), moving(size);
      const std::unique_ptr<bool[]> had(new bool[size + 1]);
      const std::unique_ptr<bool[]> has(new bool[size + 1]);
      int expected_count = 0;
      std::vector<float> expected(size);
      for (std::size_t i = 0; i < size; ++i) {
        before[i] = any();
        now[i] = any();
        moving[i] = any();
        had[i] = random() % 3 != 0;
        has[i] = random() % 3 != 0;
        const bool moved = had[i] && has[i] && std::fabs((before[i] - now[i]) / now[i]) > 0.1F;
        expected[i] = moved ? 255.0F : 0.0F;
        expected_count += moved ? 1 : 0;
      }
      const int count = kernels->mark_motion({before.data(), now.data(), had.get(), has.get()},
                                             size, 0.1F, moving.data());
      EXPECT_EQ(count, expected_count);
      EXPECT_EQ(bits(moving), bits(expected));
    }
  }
}

TEST(LabelTolerance, AgreesWithTheComparisonOfDepthsForEveryPairOfCodes) {
  for (const float reference :
       {0.0F, 0.001F, 0.0049F, 0.3F,   0.51F,  1.0F,   1.2345F, 1.25F,  2.718F, 3.999F, 4.0F, 5.0F,
        6.3F, 17.77F, 29.9F,   100.0F, 247.9F, 249.5F, 254.0F,  256.3F, 300.0F, -0.4F,  -2.0F}) {
    const LabelTolerance tolerance = find_tolerance(reference);
    for (const PixelKernels* kernels : kBuilds) {
      for (int written = 0; written < 256; ++written) {
        std::vector<unsigned char> flags(256, static_cast<unsigned char>(written));
        std::vector<unsigned char> read(256);
        std::iota(read.begin(), read.end(), static_cast<unsigned char>(0));
        const int count = kernels->flag_moved(flags.data(), read.data(), 256, 256, tolerance);
        int expected_count = 0;
        for (std::size_t i = 0; i < 256; ++i) {
          const int code = static_cast<int>(i);
          const float written_depth = decode_depth(written, reference);
          const float read_depth = clamp_depth(decode_depth(code, reference));
          const bool expected =
              std::fabs(written_depth - read_depth) > GetCompressionErrorThreshold(written_depth);
          ASSERT_EQ(flags[i], expected ? 1 : 0) << reference << " " << written << " " << code;
          expected_count += expected ? 1 : 0;
        }
        ASSERT_EQ(count, expected_count);
      }
    }
  }
}

/// References that put each of the tolerance's steps next to the last code.
TEST(LabelTolerance, HoldsForTheLastCodesWhereverTheirTolerancesBegin) {
  for (int level = 1; level <= 5; ++level) {
    for (int code = 250; code < 258; ++code) {
      const float reference = static_cast<float>(level) - static_cast<float>(code) / 100.0F + 1.25F;
      const LabelTolerance tolerance = find_tolerance(reference);
      for (const PixelKernels* kernels : kBuilds) {
        for (int written = 240; written < 256; ++written) {
          std::vector<unsigned char> flags(256, static_cast<unsigned char>(written));
          std::vector<unsigned char> read(256);
          std::iota(read.begin(), read.end(), static_cast<unsigned char>(0));
          kernels->flag_moved(flags.data(), read.data(), 256, 256, tolerance);
          for (std::size_t i = 0; i < 256; ++i) {
            const float depth = decode_depth(written, reference);
            const float moved_to = clamp_depth(decode_depth(static_cast<int>(i), reference));
            const bool is_moved = std::fabs(depth - moved_to) > GetCompressionErrorThreshold(depth);
            ASSERT_EQ(flags[i], is_moved ? 1 : 0) << reference << " " << written << " " << i;
          }
        }
      }
    }
  }
}

TEST(LabelTolerance, HoldsForRandomReferencesAndSmallMoves) {
  std::mt19937 random(11);
  std::uniform_real_distribution<float> anywhere(0.0F, 30.0F);
  std::uniform_int_distribution<int> any_code(0, 250);
  std::uniform_int_distribution<int> move(-7, 7);
  for (int round = 0; round < 300; ++round) {
    const float reference =
        round % 2 == 0 ? anywhere(random) : std::round(anywhere(random) * 1000) / 1000;
    const LabelTolerance tolerance = find_tolerance(reference);
    std::vector<unsigned char> codes(640);
    std::vector<unsigned char> read(640);
    for (std::size_t i = 0; i < codes.size(); ++i) {
      codes[i] = static_cast<unsigned char>(any_code(random));
      read[i] = static_cast<unsigned char>(std::clamp(codes[i] + move(random), 0, 255));
    }
    for (const PixelKernels* kernels : kBuilds) {
      const std::size_t count = 1 + random() % codes.size();
      std::vector<unsigned char> flags = codes;
      kernels->flag_moved(flags.data(), read.data(), count, codes.size(), tolerance);
      for (std::size_t i = 0; i < codes.size(); ++i) {
        const float written_depth = decode_depth(codes[i], reference);
        const float read_depth = clamp_depth(decode_depth(read[i], reference));
        const bool is_moved =
            std::fabs(written_depth - read_depth) > GetCompressionErrorThreshold(written_depth);
        ASSERT_EQ(flags[i], i < count ? int{is_moved} : int{codes[i]}) << count << " " << i;
      }
    }
  }
}

TEST(Flags, AreVisitedInOrderAndCounted) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{7}, std::size_t{8},
                                 std::size_t{9}, std::size_t{63}, std::size_t{64}, std::size_t{65},
                                 std::size_t{127}, std::size_t{128}, std::size_t{255}}) {
    std::unique_ptr<bool[]> flags(new bool[size + 1]());
    std::vector<std::size_t> expected;
    for (std::size_t i = 0; i < size; ++i) {
      flags[i] = i * i % 7 < 3;
      if (flags[i]) expected.push_back(i);
    }
    flags[size] = true;
    std::vector<std::size_t> visited;
    for_each_flag(flags.get(), size, [&](std::size_t i) { visited.push_back(i); });
    EXPECT_EQ(visited, expected);
    EXPECT_EQ(count_flags(flags.get(), size), static_cast<int>(expected.size()));
  }
}

}  // namespace
}  // namespace depth_io::test
