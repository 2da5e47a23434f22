#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "codec/frame_reader.h"
#include "codec/frame_writer.h"
#include "codec/run_length.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/frame_model.h"
#include "tests/support/jpeg_fixture.h"

// What is written comes back: random depth maps, masks and sizes.

namespace depth_io::test {
namespace {

using Random = std::mt19937;

float between(Random& random, float low, float high) {
  return low + (high - low) * static_cast<float>(random() % 1000001) / 1000000.0F;
}

struct Size {
  int width;
  int height;
};

std::size_t pixels_of(Size size) {
  return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
}

/// Reads a written frame into a record of its own.
bool read_back(const WriterBench& bench, OwnedRecord& record) {
  Text name(bench.base());
  bool good = false;
  capture_console([&] { good = load_compressed_data(record.get(), name, 0); });
  return good;
}

/// Largest distance that a depth may have from its source after a way through the files: the
/// tolerance of its coded depth, half a code step, and the six decimals of the reference.
float allowed(int code, float reference) {
  return model_tolerance(model_decode(code, reference)) + 0.005001F + 0.000002F;
}

void expect_within_tolerance(Size size, const std::vector<float>& depths) {
  WriterBench bench(size.width, size.height, depths);
  ASSERT_EQ(bench.write(), 1) << bench.console.output;
  OwnedRecord loaded(size.width, size.height);
  ASSERT_TRUE(read_back(bench, loaded));
  for (std::size_t i = 0; i < depths.size(); ++i) {
    const int label = bench.record->Label[i];
    ASSERT_EQ(loaded->Label[i], label) << "pixel " << i;
    const float limit = allowed(bench.record->Encode[i], bench.record->LabelRefZ[label]);
    ASSERT_NEAR(loaded->LoadedDepth[i], model_clamp(depths[i]), limit) << "pixel " << i;
  }
}

/// Rooms: slopes, a step or two, holes of depth 0.
std::vector<float> room(Size size, Random& random) {
  const float near = between(random, 0.4F, 3.0F);
  const float slope = between(random, -0.002F, 0.004F);
  const auto step_col = static_cast<int>(random() % static_cast<unsigned>(size.width));
  const float step = between(random, 0.0F, 3.0F);
  const auto holes = random() % 20 + 2;
  std::vector<float> depths;
  for (int row = 0; row < size.height; ++row) {
    for (int col = 0; col < size.width; ++col) {
      float z = near + slope * static_cast<float>(row) + (col >= step_col ? step : 0.0F);
      if (random() % holes == 0) z = 0.0F;
      depths.push_back(z);
    }
  }
  return depths;
}

TEST(CodecRoundTrip, RoomsOfManySizesComeBackWithinTolerance) {
  Random random(11);
  const Size sizes[] = {{1, 1},   {2, 1},   {1, 2},     {3, 5},    {8, 8},     {9, 7},
                        {17, 16}, {64, 48}, {1, 500},   {767, 3},  {255, 257}, {320, 240},
                        {513, 2}, {31, 33}, {640, 480}, {768, 512}};
  for (const Size size : sizes) {
    SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height));
    for (int round = 0; round < (pixels_of(size) < 10000 ? 10 : 2); ++round) {
      expect_within_tolerance(size, room(size, random));
    }
  }
}

TEST(CodecRoundTrip, NoiseComesBackWithinTolerance) {
  Random random(12);
  for (int round = 0; round < 40; ++round) {
    const Size size = {static_cast<int>(random() % 100) + 1, static_cast<int>(random() % 100) + 1};
    SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height));
    const float far = between(random, 0.5F, 12.0F);
    std::vector<float> depths(pixels_of(size));
    for (float& z : depths) z = between(random, 0.0F, far);
    expect_within_tolerance(size, depths);
  }
}

TEST(CodecRoundTrip, NegativeDepthsComeBackAsZero) {
  Random random(13);
  for (int round = 0; round < 20; ++round) {
    std::vector<float> depths(40 * 30);
    for (float& z : depths) z = between(random, -5.0F, 5.0F);
    expect_within_tolerance({40, 30}, depths);
  }
}

TEST(CodecRoundTrip, LargestFrameComesBackWithinTolerance) {
  // Calm outside the area that error records can reach, rough inside it.
  const Size size = {1024, 768};
  Random random(14);
  std::vector<float> depths(pixels_of(size), 2.0F);
  for (std::size_t row = 0; row < 512; ++row) {
    for (std::size_t col = 0; col < 768; ++col) {
      depths[row * 1024 + col] = between(random, 0.9F, 3.1F);
    }
  }
  depths[0] = 2.0F;
  expect_within_tolerance(size, depths);
}

TEST(CodecRoundTrip, NoiseBeyondTheErrorRecordsIsRefused) {
  const Size size = {1024, 768};
  Random random(15);
  std::vector<float> depths(pixels_of(size), 2.0F);
  for (std::size_t i = 600 * 1024; i < depths.size(); ++i) depths[i] = between(random, 0.9F, 3.1F);
  WriterBench bench(size.width, size.height, depths);
  EXPECT_EQ(bench.write(), 0);
  EXPECT_NE(bench.console.output.find("ERROR errors v2 check_NbErrors 0 vs "), std::string::npos);
}

TEST(CodecRoundTrip, DepthsUpToThirtyMetresComeBackWithinTolerance) {
  Random random(16);
  for (int round = 0; round < 10; ++round) {
    std::vector<float> depths(64 * 48);
    // Whole codes: the rounding of single precision does not matter.
    for (float& z : depths) z = static_cast<float>(random() % 120) * 0.25F;
    expect_within_tolerance({64, 48}, depths);
  }
}

// --- Masks --------------------------------------------------------------------------------------

std::vector<int> random_mask(std::size_t pixels, Random& random) {
  const auto share = random() % 8 + 2;
  std::vector<int> mask(pixels);
  for (int& entry : mask) entry = random() % share == 0 ? -1 : static_cast<int>(random() % 3);
  return mask;
}

TEST(CodecRoundTrip, MaskedFramesAreTheModelsFiles) {
  Random random(21);
  for (int round = 0; round < 40; ++round) {
    const Size size = {static_cast<int>(random() % 90) + 1, static_cast<int>(random() % 90) + 1};
    SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height));
    std::vector<float> depths(pixels_of(size));
    for (float& z : depths) z = between(random, 0.0F, 6.0F);
    const std::vector<int> mask = random_mask(depths.size(), random);
    WriterBench bench(size.width, size.height, depths);
    std::copy(mask.begin(), mask.end(), bench.record->write_MapObject);
    ASSERT_EQ(bench.write(), 1) << bench.console.output;
    const FrameModel model = model_labels(depths, mask);
    ASSERT_FALSE(model.refused);
    ASSERT_EQ(bench.bytes(".rle"), model_label_map_text(model.labels));
    ASSERT_EQ(bench.bytes(".ref"),
              model_reference_text(model.references, 525.0F, 525.5F, 319.5F, 239.5F));
    const std::vector<bool> flagged =
        model_error_map(model, decode_plainly(bench.name(".jpg")).samples);
    ASSERT_EQ(bench.bytes(".err"), model_error_bytes(model, flagged, size.width, size.height));
  }
}

TEST(CodecRoundTrip, MaskedFramesComeBackAsTheirFilesSay) {
  Random random(22);
  for (int round = 0; round < 40; ++round) {
    const Size size = {static_cast<int>(random() % 90) + 1, static_cast<int>(random() % 90) + 1};
    SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height));
    std::vector<float> depths(pixels_of(size));
    for (float& z : depths) z = between(random, 0.0F, 6.0F);
    const std::vector<int> mask = random_mask(depths.size(), random);
    WriterBench bench(size.width, size.height, depths);
    std::copy(mask.begin(), mask.end(), bench.record->write_MapObject);
    ASSERT_EQ(bench.write(), 1) << bench.console.output;
    OwnedRecord loaded(size.width, size.height);
    ASSERT_TRUE(read_back(bench, loaded));
    const std::vector<unsigned char> decoded = decode_plainly(bench.name(".jpg")).samples;
    for (std::size_t i = 0; i < depths.size(); ++i) {
      const int label = bench.record->Label[i];
      ASSERT_EQ(label < 0, mask[i] < 0);
      ASSERT_EQ(loaded->Label[i], label);
      if (label < 0) {
        ASSERT_EQ(loaded->LoadedDepth[i], 0.0F);
        continue;
      }
      const int code = bench.record->ErrorMap[i] ? bench.record->Encode[i] : decoded[i];
      const float reference = bench.record->LabelRefZ[label];
      ASSERT_NEAR(loaded->LoadedDepth[i], model_clamp(model_decode(code, reference)), 2e-6F);
    }
  }
}

TEST(CodecRoundTrip, FullyMaskedFramesComeBackWithoutDepth) {
  WriterBench bench(33, 21, 1.5F);
  std::fill_n(bench.record->write_MapObject, 33 * 21, -1);
  ASSERT_EQ(bench.write(), 1);
  OwnedRecord loaded(33, 21);
  ASSERT_TRUE(read_back(bench, loaded));
  EXPECT_EQ(std::count(loaded->LoadedDepth, loaded->LoadedDepth + 33 * 21, 0.0F), 33 * 21);
}

// --- Not a number, infinities, random bits ------------------------------------------------------

TEST(CodecRoundTrip, SpecialValuesLeaveTheirNeighboursAlone) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  WriterBench bench(3, 2, {1.0F, nan, inf, -inf, 2.0F, 1.0F});
  ASSERT_EQ(bench.write(), 1);
  OwnedRecord loaded(3, 2);
  ASSERT_TRUE(read_back(bench, loaded));
  EXPECT_NEAR(loaded->LoadedDepth[0], 1.0F, allowed(125, 1.0F));
  EXPECT_EQ(loaded->LoadedDepth[2], 255.0F);
  EXPECT_EQ(loaded->LoadedDepth[3], 0.0F);
  EXPECT_NEAR(loaded->LoadedDepth[4], 2.0F, allowed(225, 1.0F));
  EXPECT_NEAR(loaded->LoadedDepth[5], 1.0F, allowed(125, 1.0F));
}

TEST(CodecRoundTrip, StretchesBetweenPixelsThatAreNoNumbersAreCodedLikeAnyOthers) {
  Random random(7);
  for (int round = 0; round < 20; ++round) {
    std::vector<float> depths(640 * 6);
    float wall = 2.0F;
    for (std::size_t i = 0; i < depths.size(); ++i) {
      if (random() % 70 == 0) wall = 1.0F + 0.25F * static_cast<float>(random() % 20);
      const bool is_gap = random() % 40 == 0;
      depths[i] = is_gap ? std::numeric_limits<float>::quiet_NaN()
                         : wall + 0.001F * static_cast<float>(random() % 90);
    }
    const FrameModel model = model_labels(depths, std::vector<int>(depths.size(), 0));
    WriterBench bench(640, 6, depths);
    ASSERT_EQ(bench.write(), 1);
    ASSERT_EQ(bench.bytes(".rle"), model_label_map_text(model.labels));
    OwnedRecord loaded(640, 6);
    ASSERT_TRUE(read_back(bench, loaded));
    for (std::size_t i = 0; i < depths.size(); ++i) {
      if (std::isnan(depths[i])) continue;
      ASSERT_NEAR(loaded->LoadedDepth[i], depths[i], 0.06F) << "pixel " << i;
    }
  }
}

TEST(CodecRoundTrip, FramesMayBeWiderThanAnyCameras) {
  constexpr int kWidth = 4200;
  std::vector<float> depths(kWidth * 2, 1.5F);
  std::fill(depths.begin() + kWidth / 2, depths.begin() + kWidth, 4.0F);
  WriterBench bench(kWidth, 2, depths);
  ASSERT_EQ(bench.write(), 1) << bench.console.output;
  OwnedRecord loaded(kWidth, 2);
  ASSERT_TRUE(read_back(bench, loaded));
  for (std::size_t i = 0; i < depths.size(); ++i) {
    ASSERT_NEAR(loaded->LoadedDepth[i], depths[i], 0.06F) << "pixel " << i;
  }
}

TEST(CodecRoundTrip, RandomBitsAreWrittenAndReadOrRefused) {
  Random random(31);
  int written = 0;
  for (int round = 0; round < 60; ++round) {
    std::vector<float> depths(32 * 24);
    for (float& z : depths) {
      const auto bits = static_cast<std::uint32_t>(random());
      std::memcpy(&z, &bits, sizeof z);
    }
    const FrameModel model = model_labels(depths, std::vector<int>(depths.size(), 0));
    WriterBench bench(32, 24, depths);
    ASSERT_EQ(bench.write(), model.refused ? 0 : 1);
    if (bench.result == 0) continue;
    ++written;
    ASSERT_EQ(bench.bytes(".rle"), model_label_map_text(model.labels));
    ASSERT_EQ(bench.bytes(".ref"),
              model_reference_text(model.references, 525.0F, 525.5F, 319.5F, 239.5F));
    OwnedRecord loaded(32, 24);
    ASSERT_TRUE(read_back(bench, loaded));
    for (std::size_t i = 0; i < depths.size(); ++i) {
      const float z = loaded->LoadedDepth[i];
      ASSERT_TRUE(std::isnan(z) || (z >= 0.0F && z <= 255.0F)) << z;
    }
  }
  EXPECT_GT(written, 0);
}

TEST(CodecRoundTrip, RandomIntrinsicsComeBackToSixDecimals) {
  Random random(32);
  for (int round = 0; round < 50; ++round) {
    WriterBench bench(2, 2, 1.0F);
    bench.call.a11 = between(random, 1.0F, 2000.0F);
    bench.call.a22 = between(random, -2000.0F, 2000.0F);
    bench.call.cx = between(random, -1.0F, 1.0F);
    bench.call.cy = between(random, -1e6F, 1e6F);
    ASSERT_EQ(bench.write(), 1);
    OwnedRecord loaded(2, 2);
    ASSERT_TRUE(read_back(bench, loaded));
    EXPECT_NEAR(loaded->loaded_a11, bench.call.a11, 6e-7F);
    EXPECT_NEAR(loaded->loaded_a22, bench.call.a22, 6e-7F);
    EXPECT_NEAR(loaded->loaded_cx, bench.call.cx, 6e-7F);
    EXPECT_EQ(loaded->loaded_cy, bench.call.cy);
  }
}

// --- Verification of random frames --------------------------------------------------------------

TEST(CodecRoundTrip, BothVerificationsAcceptRandomFramesSilently) {
  Random random(41);
  for (int round = 0; round < 20; ++round) {
    const Size size = {static_cast<int>(random() % 60) + 1, static_cast<int>(random() % 60) + 1};
    WriterBench bench(size.width, size.height, room(size, random));
    bench.call.verification = round % 2;
    ASSERT_EQ(bench.write(), 1);
    EXPECT_EQ(bench.console.keys, 0) << bench.console.output;
  }
}

// --- Label maps ---------------------------------------------------------------------------------

TEST(CodecRoundTrip, RunsOfRandomLabelMapsGiveTheLabelMapBack) {
  Random random(51);
  for (int round = 0; round < 30; ++round) {
    const Size size = {static_cast<int>(random() % 300) + 1, static_cast<int>(random() % 300) + 1};
    std::vector<int> labels(pixels_of(size));
    const auto length = random() % 2000 + 1;
    int label = -1;
    for (int& entry : labels) {
      if (random() % length == 0) label = static_cast<int>(random() % 50) - 1;
      entry = label;
    }
    std::vector<int> lengths(labels.size());
    std::vector<int> values(labels.size());
    int count = 0;
    rle(size.width, size.height, labels.data(), lengths.data(), values.data(), count, 30000, 0);
    std::vector<int> decoded;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
      ASSERT_GE(lengths[i], 1);
      ASSERT_LE(lengths[i], 30000);
      decoded.insert(decoded.end(), static_cast<std::size_t>(lengths[i]), values[i]);
    }
    ASSERT_EQ(decoded, labels);
  }
}

}  // namespace
}  // namespace depth_io::test
