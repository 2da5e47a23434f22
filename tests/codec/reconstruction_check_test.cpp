#include "codec/reconstruction_check.h"

#include <cmath>
#include <limits>

#include "codec/frame_reader.h"
#include "codec/frame_writer.h"
#include "tests/support/frame_fixture.h"

// The check of a frame that was written and read back against the truth.
namespace depth_io::test {
namespace {

constexpr char kErrorReading[] = "error reading\n";

/// True maps and records that agree: a slanted wall, seen by a camera of two focal lengths.
class ReconstructionCheck : public ::testing::Test {
 protected:
  static constexpr int kWidth = 5;
  static constexpr int kHeight = 4;

  ReconstructionCheck() {
    for (std::size_t i = 0; i < write_.pixels(); ++i) {
      check_->LoadedDepth[i] = map_z_[i] = 1.0F + 0.1F * static_cast<float>(i);
    }
    set_intrinsics(2.0F, 4.0F, 1.0F, 3.0F);
  }

  /// Makes everything agree with these intrinsics and the loaded depths.
  void set_intrinsics(float a11, float a22, float cx, float cy) {
    check_->loaded_a11 = a11_ = a11;
    check_->loaded_a22 = a22_ = a22;
    check_->loaded_cx = cx_ = cx;
    check_->loaded_cy = cy_ = cy;
    for (int row = 0; row < kHeight; ++row) {
      for (int col = 0; col < kWidth; ++col) {
        const std::size_t i = write_.at(row, col);
        const float z = check_->LoadedDepth[i];
        map_x_[i] = (static_cast<float>(row) - cx) * z / a11;
        map_y_[i] = (static_cast<float>(col) - cy) * z / a22;
      }
    }
  }
  void mask_everything() {
    for (std::size_t i = 0; i < write_.pixels(); ++i) write_->write_MapObject[i] = -1;
  }

  bool run(int width = kWidth, int height = kHeight) {
    bool good = false;
    console_ = capture_console([&] {
      good = check_camera_depth_refbased(write_.get(), check_.get(), map_x_.data(), map_y_.data(),
                                         map_z_.data(), width, height, a11_, a22_, cx_, cy_);
    });
    return good;
  }
  void expect_passes() {
    EXPECT_TRUE(run());
    EXPECT_EQ(console_.output, "");
    EXPECT_EQ(console_.keys, 0);
  }
  void expect_fails(const std::string& output, int keys) {
    EXPECT_FALSE(run());
    EXPECT_EQ(console_.output, output);
    EXPECT_EQ(console_.keys, keys);
  }

  OwnedRecord write_{kWidth, kHeight};
  OwnedRecord check_{kWidth, kHeight};
  std::vector<float> map_x_ = std::vector<float>(write_.pixels());
  std::vector<float> map_y_ = std::vector<float>(write_.pixels());
  std::vector<float> map_z_ = std::vector<float>(write_.pixels());
  float a11_ = 0.0F;
  float a22_ = 0.0F;
  float cx_ = 0.0F;
  float cy_ = 0.0F;
  ConsoleTrace console_;
};

float above(float value) { return std::nextafter(value, 100.0F); }

TEST_F(ReconstructionCheck, AgreementPassesInSilence) { expect_passes(); }

// --- Sizes --------------------------------------------------------------------------------------

TEST_F(ReconstructionCheck, RecordsOfDifferentSizesAreAnErrorWithAKey) {
  for (const auto& [width, height] : {std::pair{4, 5}, std::pair{5, 3}, std::pair{6, 4}}) {
    OwnedRecord other(width, height);
    bool good = true;
    const ConsoleTrace trace = capture_console([&] {
      good = check_camera_depth_refbased(write_.get(), other.get(), map_x_.data(), map_y_.data(),
                                         map_z_.data(), kWidth, kHeight, 0.0F, 0.0F, 0.0F, 0.0F);
    });
    EXPECT_FALSE(good);
    EXPECT_EQ(trace.output, kErrorReading);
    EXPECT_EQ(trace.keys, 1);
  }
}

TEST_F(ReconstructionCheck, SizeOtherThanTheRecordsIsAnErrorWithAKey) {
  for (const auto& [width, height] :
       {std::pair{4, 5}, std::pair{5, 5}, std::pair{1, 1}, std::pair{0, 0}, std::pair{-5, -4},
        std::pair{100000, 100000}}) {
    EXPECT_FALSE(run(width, height)) << width << ' ' << height;
    EXPECT_EQ(console_.output, kErrorReading);
    EXPECT_EQ(console_.keys, 1);
  }
}

TEST_F(ReconstructionCheck, MissingMapIsAnErrorWithAKey) {
  for (int missing = 0; missing < 3; ++missing) {
    float* maps[] = {map_x_.data(), map_y_.data(), map_z_.data()};
    maps[missing] = nullptr;
    bool good = true;
    const ConsoleTrace trace = capture_console([&] {
      good = check_camera_depth_refbased(write_.get(), check_.get(), maps[0], maps[1], maps[2],
                                         kWidth, kHeight, a11_, a22_, cx_, cy_);
    });
    EXPECT_FALSE(good) << missing;
    EXPECT_EQ(trace.output, kErrorReading) << missing;
    EXPECT_EQ(trace.keys, 1) << missing;
  }
}

// --- Intrinsics ---------------------------------------------------------------------------------

struct Intrinsic {
  const char* name;
  float struct_read_write_depth::*loaded;
};

const Intrinsic kIntrinsics[] = {{"a11", &struct_read_write_depth::loaded_a11},
                                 {"a22", &struct_read_write_depth::loaded_a22},
                                 {"cx", &struct_read_write_depth::loaded_cx},
                                 {"cy", &struct_read_write_depth::loaded_cy}};

TEST_F(ReconstructionCheck, IntrinsicsMayDifferByTheirToleranceExactly) {
  mask_everything();
  for (const float sign : {1.0F, -1.0F}) {
    for (const Intrinsic& intrinsic : kIntrinsics) {
      set_intrinsics(0.0F, 0.0F, 0.0F, 0.0F);
      check_.get().*intrinsic.loaded = sign * 0.01F;
      expect_passes();
    }
  }
}

TEST_F(ReconstructionCheck, IntrinsicsBeyondTheirToleranceAreAnErrorWithAKey) {
  mask_everything();
  for (const float sign : {1.0F, -1.0F}) {
    for (const Intrinsic& intrinsic : kIntrinsics) {
      set_intrinsics(0.0F, 0.0F, 0.0F, 0.0F);
      check_.get().*intrinsic.loaded = sign * above(0.01F);
      SCOPED_TRACE(intrinsic.name);
      expect_fails(kErrorReading, 1);
    }
  }
}

TEST_F(ReconstructionCheck, IntrinsicsAreTestedBeforeTheDepths) {
  check_->LoadedDepth[0] = 9.0F;
  check_->loaded_cx += 1.0F;
  expect_fails(kErrorReading, 1);
}

// --- Depths -------------------------------------------------------------------------------------

TEST_F(ReconstructionCheck, DepthSlightlyOffPasses) {
  check_->LoadedDepth[7] += 0.15F;
  set_intrinsics(2.0F, 4.0F, 1.0F, 3.0F);
  expect_passes();
}

TEST_F(ReconstructionCheck, DepthFarOffIsToldWithIndexAndBothDepths) {
  map_z_[7] = 1.5F;
  check_->LoadedDepth[7] = 1.75F;
  expect_fails("error reconstructewde depth at 7 1.750000 vs 1.500000\n", 0);
}

TEST_F(ReconstructionCheck, DepthTooNearIsToldToo) {
  map_z_[0] = 1.5F;
  check_->LoadedDepth[0] = 1.25F;
  expect_fails("error reconstructewde depth at 0 1.250000 vs 1.500000\n", 0);
}

TEST_F(ReconstructionCheck, DepthMayDifferByItsToleranceExactly) {
  for (const float sign : {1.0F, -1.0F}) {
    map_z_[19] = 0.0F;
    check_->LoadedDepth[19] = sign * 0.2F;
    set_intrinsics(2.0F, 4.0F, 1.0F, 3.0F);
    expect_passes();
    check_->LoadedDepth[19] = sign * above(0.2F);
    EXPECT_FALSE(run());
    EXPECT_TRUE(console_.output.starts_with("error reconstructewde depth at 19 "));
  }
}

TEST_F(ReconstructionCheck, FirstWrongDepthIsTold) {
  map_z_[3] = map_z_[9] = 7.0F;
  expect_fails("error reconstructewde depth at 3 1.300000 vs 7.000000\n", 0);
}

TEST_F(ReconstructionCheck, EveryDepthIsTestedBeforeAnyX) {
  map_x_[0] += 5.0F;
  map_z_[19] = 9.0F;
  expect_fails("error reconstructewde depth at 19 2.900000 vs 9.000000\n", 0);
}

// --- X and Y ------------------------------------------------------------------------------------

TEST_F(ReconstructionCheck, WrongXIsALineWithoutAKey) {
  map_x_[7] += 0.2F;
  expect_fails("error reconstructewde X\n", 0);
}

TEST_F(ReconstructionCheck, WrongYIsALineWithoutAKey) {
  map_y_[7] -= 0.2F;
  expect_fails("error reconstructewde Y\n", 0);
}

TEST_F(ReconstructionCheck, XIsTestedBeforeYOfTheSamePixel) {
  map_x_[7] += 0.2F;
  map_y_[7] += 0.2F;
  expect_fails("error reconstructewde X\n", 0);
}

TEST_F(ReconstructionCheck, YOfAnEarlierPixelIsTestedBeforeXOfALaterOne) {
  map_y_[7] += 0.2F;
  map_x_[8] += 0.2F;
  expect_fails("error reconstructewde Y\n", 0);
}

TEST_F(ReconstructionCheck, XMayDifferByItsToleranceExactly) {
  // The row of the principal point has X 0.
  const std::size_t i = write_.at(1, 2);
  for (const float sign : {1.0F, -1.0F}) {
    map_x_[i] = sign * 0.1F;
    expect_passes();
    map_x_[i] = sign * above(0.1F);
    expect_fails("error reconstructewde X\n", 0);
  }
}

TEST_F(ReconstructionCheck, YMayDifferByItsToleranceExactly) {
  const std::size_t i = write_.at(2, 3);
  for (const float sign : {1.0F, -1.0F}) {
    map_y_[i] = sign * 0.1F;
    expect_passes();
    map_y_[i] = sign * above(0.1F);
    expect_fails("error reconstructewde Y\n", 0);
  }
}

TEST_F(ReconstructionCheck, XGoesWithTheRowAndYWithTheColumn) {
  map_x_.swap(map_y_);
  expect_fails("error reconstructewde X\n", 0);
}

TEST_F(ReconstructionCheck, TrueIntrinsicsAreUsedNotTheLoadedOnes) {
  for (std::size_t i = 0; i < write_.pixels(); ++i) {
    check_->LoadedDepth[i] = map_z_[i] = 100.0F;
  }
  set_intrinsics(1.0F, 1.0F, 0.0F, 0.0F);
  check_->loaded_a11 = 1.009F;
  expect_passes();
}

TEST_F(ReconstructionCheck, MapsOfTheReaderAreNotLookedAt) {
  for (std::size_t i = 0; i < write_.pixels(); ++i) {
    check_->LoadedMapX[i] = check_->LoadedMapY[i] = 1e9F;
  }
  expect_passes();
}

// --- Mask ---------------------------------------------------------------------------------------

TEST_F(ReconstructionCheck, PixelLeftOutByTheMaskIsNeverCompared) {
  for (const int mask : {-1, -7, std::numeric_limits<int>::min()}) {
    write_->write_MapObject[7] = mask;
    check_->LoadedDepth[7] = 99.0F;
    map_x_[7] = map_y_[7] = -99.0F;
    expect_passes();
  }
}

TEST_F(ReconstructionCheck, PixelWithAPositiveMaskIsCompared) {
  for (const int mask : {0, 1, 1000}) {
    write_->write_MapObject[7] = mask;
    map_z_[7] = 9.0F;
    EXPECT_FALSE(run()) << mask;
  }
}

TEST_F(ReconstructionCheck, MaskIsThatOfTheWriter) {
  check_->write_MapObject[7] = -1;
  map_z_[7] = 9.0F;
  EXPECT_FALSE(run());
}

TEST_F(ReconstructionCheck, NothingToCompareIsAgreement) {
  mask_everything();
  map_z_[0] = 9.0F;
  expect_passes();
}

// --- Through the codec --------------------------------------------------------------------------

/// A frame written and read back.
class ReconstructionOfAFrame : public ::testing::Test {
 protected:
  static constexpr int kWidth = 64;
  static constexpr int kHeight = 48;

  ReconstructionOfAFrame() {
    const auto pixels = bench_.record.pixels();
    bench_.call.depths.resize(pixels);
    for (std::size_t i = 0; i < pixels; ++i) {
      const float z = i % 50 == 0 ? 0.0F : 1.0F + 0.001F * static_cast<float>(i);
      bench_.call.depths[i] = z;
      const auto row = static_cast<float>(i / kWidth);
      const auto col = static_cast<float>(i % kWidth);
      map_x_.push_back((row - bench_.call.cx) * z / bench_.call.a11);
      map_y_.push_back((col - bench_.call.cy) * z / bench_.call.a22);
    }
  }
  bool write_and_check() {
    EXPECT_EQ(bench_.write(), 1);
    return load_and_check();
  }
  bool load_and_check() {
    OwnedRecord loaded(kWidth, kHeight);
    Text base(bench_.base());
    bool good = false;
    console_ = capture_console([&] {
      const FrameCall& call = bench_.call;
      good = load_compressed_data_vostrel(loaded.get(), base) &&
             check_camera_depth_refbased(bench_.record.get(), loaded.get(), map_x_.data(),
                                         map_y_.data(), bench_.call.depths.data(), kWidth, kHeight,
                                         call.a11, call.a22, call.cx, call.cy);
    });
    return good;
  }

  WriterBench bench_{kWidth, kHeight, 1.0F};
  std::vector<float> map_x_;
  std::vector<float> map_y_;
  ConsoleTrace console_;
};

TEST_F(ReconstructionOfAFrame, Passes) {
  EXPECT_TRUE(write_and_check());
  EXPECT_EQ(console_.output, "");
}

TEST_F(ReconstructionOfAFrame, PassesWithPixelsLeftOut) {
  for (std::size_t i = 0; i < bench_.record.pixels(); i += 3) {
    bench_.record->write_MapObject[i] = -1;
  }
  EXPECT_TRUE(write_and_check());
}

TEST_F(ReconstructionOfAFrame, AlteredReferenceDepthIsFound) {
  ASSERT_TRUE(write_and_check());
  std::string references = bench_.bytes(".ref");
  const std::size_t first = references.find('\n') + 1;
  references.replace(first, references.find('\n', first) - first, "0.500000");
  write_file(bench_.name(".ref"), references);
  EXPECT_FALSE(load_and_check());
  EXPECT_TRUE(console_.output.starts_with("error reconstructewde depth at "));
  EXPECT_EQ(console_.keys, 0);
}

TEST_F(ReconstructionOfAFrame, AlteredFocalLengthIsFound) {
  ASSERT_TRUE(write_and_check());
  std::string references = bench_.bytes(".ref");
  references.replace(references.find("525.000000"), 10, "525.020000");
  write_file(bench_.name(".ref"), references);
  EXPECT_FALSE(load_and_check());
  EXPECT_EQ(console_.output, kErrorReading);
  EXPECT_EQ(console_.keys, 1);
}

}  // namespace
}  // namespace depth_io::test
