#include "tests/support/engine_fixture.h"

// Reading a frame for calibration: silent, by a base name and a complete colour file name.
namespace depth_io::test {
namespace {

class FirstGenerationCalibration : public ::testing::Test {
 protected:
  FirstGenerationCalibration() {
    KV_RGBD_CameraCompression recorder;
    recorder.a11 = 533.25F;
    recorder.a22 = 534.5F;
    recorder.cx = 239.75F;
    recorder.cy = 319.5F;
    Text path(directory_.slash());
    Text stem("depth");
    recorder.start_recording(path, stem, 3);
    DepthMap depth = flat_depth(2.0F);
    ColourImage colour = flat_colour(120);
    recorder.input(depth.data(), colour.data());
    quietly([&] { return recorder.apply(7, 0); });
  }

  Outcome<int> read() {
    return observe([&] { return engine_.read_for_calib_tool(depth_.data(), base_); });
  }

  Outcome<int> read_colour() {
    return observe([&] {
      return engine_.read_for_calib_tool(depth_.data(), colour_.data(), base_, colour_file_);
    });
  }

  std::string failed_line() const {
    return "ERROR KV_RGBD_CameraCompression read - read_compressed '" + base_.str() + "' failed\n";
  }

  TempDirectory directory_;
  KV_RGBD_CameraCompression engine_;
  DepthMap depth_ = flat_depth(-1.0F);
  ColourImage colour_ = flat_colour(7);
  Text base_{directory_.file("depth-007")};
  Text colour_file_{directory_.file("bgrimage-007.jpg")};
};

TEST_F(FirstGenerationCalibration, DepthIsReadSilently) {
  const auto seen = read();
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FLOAT_EQ(depth_[kPixels - 1], 2.0F);
}

TEST_F(FirstGenerationCalibration, MapsAndIntrinsicsAreFilled) {
  ASSERT_EQ(read().result, 1);
  const int i = 500 + 100 * kWidth;
  EXPECT_FLOAT_EQ(engine_.GetDepthAt(i), 2.0F);
  EXPECT_FLOAT_EQ(engine_.MapXd.buffer[i], (100.0F - 239.75F) * 2.0F / 533.25F);
  EXPECT_FLOAT_EQ(engine_.MapYd.buffer[i], (500.0F - 319.5F) * 2.0F / 534.5F);
  EXPECT_TRUE(engine_.MapHasDepth.buffer[i]);
  EXPECT_EQ(engine_.a11, 533.25F);
  EXPECT_EQ(engine_.a22, 534.5F);
  EXPECT_EQ(engine_.cx, 239.75F);
  EXPECT_EQ(engine_.cy, 319.5F);
}

TEST_F(FirstGenerationCalibration, OneCentimetreIsNotDepth) {
  write_file(base_.str() + ".ref",
             "nblabels 1 a11 533.250000 a22 534.500000 cx 239.750000 cy 319.500000\n0.010000\n");
  ASSERT_EQ(read().result, 1);
  EXPECT_EQ(depth_[0], 0.01F);
  EXPECT_FALSE(engine_.MapHasDepth.buffer[0]);
}

TEST_F(FirstGenerationCalibration, LittleMoreThanOneCentimetreIsDepth) {
  write_file(base_.str() + ".ref",
             "nblabels 1 a11 533.250000 a22 534.500000 cx 239.750000 cy 319.500000\n0.010100\n");
  ASSERT_EQ(read().result, 1);
  EXPECT_TRUE(engine_.MapHasDepth.buffer[0]);
}

TEST_F(FirstGenerationCalibration, DepthOnlyFormLeavesColourOnOrOff) {
  for (const bool on : {false, true}) {
    engine_.COLOUR_IMAGE_ON = on;
    ASSERT_EQ(read().result, 1);
    EXPECT_EQ(engine_.COLOUR_IMAGE_ON, on);
  }
}

TEST_F(FirstGenerationCalibration, MissingFrameIsReportedInOneLine) {
  base_ = Text(directory_.file("depth-008"));
  engine_.SetDepthAt(0, 3.0F);
  engine_.MapHasDepth.Init(true);
  const auto seen = read();
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output, "ERROR KV_RGBD_CameraCompression read - read_compressed '" +
                             directory_.path() + "/depth-008' failed\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(engine_.GetDepthAt(0), 0.0F);
  EXPECT_FALSE(engine_.MapHasDepth.buffer[0]);
  EXPECT_EQ(depth_[0], -1.0F);
}

TEST_F(FirstGenerationCalibration, MissingCodeImageIsReportedByItsReaderToo) {
  std::filesystem::remove(base_.str() + ".jpg");
  const auto seen = read();
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output, cannot_open_jpeg_lines(base_.str() + ".jpg") + failed_line());
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationCalibration, DamagedReferenceFileNeverWaits) {
  write_file(base_.str() + ".ref", "nonsense\n");
  const auto seen = read();
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output, failed_line());
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationCalibration, CompleteNameOfADepthFileIsNotFound) {
  base_ = Text(directory_.file("depth-007.rle"));
  EXPECT_EQ(read().result, 0);
}

TEST_F(FirstGenerationCalibration, OverlongNameFails) {
  base_ = Text(directory_.slash() + std::string(300, 'x'));
  const auto seen = read();
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationCalibration, ColourIsReadSilently) {
  const auto seen = read_colour();
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FLOAT_EQ(depth_[0], 2.0F);
  EXPECT_NEAR(colour_[0], 120, 3);
  EXPECT_EQ(engine_.GetBgrImageAt(0), colour_[0]);
  EXPECT_TRUE(engine_.COLOUR_IMAGE_ON);
}

TEST_F(FirstGenerationCalibration, MissingColourImageIsAlwaysReported) {
  colour_file_ = Text(directory_.file("missing.jpg"));
  engine_.colour_image.Init(5);
  const auto seen = read_colour();
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output,
            cannot_open_jpeg_lines(directory_.file("missing.jpg")) +
                " - ERROR - KV_RGBD_CameraCompression - loading JpegFileToRGB failed !!!\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FLOAT_EQ(depth_[0], 2.0F);
  EXPECT_TRUE(engine_.COLOUR_IMAGE_ON);
  EXPECT_EQ(engine_.GetBgrImageAt(0), 0);
  EXPECT_EQ(colour_[0], 7);
}

TEST_F(FirstGenerationCalibration, MissingDepthFrameFailsBeforeTheColourImage) {
  base_ = Text(directory_.file("depth-008"));
  const auto seen = read_colour();
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output, failed_line());
  EXPECT_FALSE(engine_.COLOUR_IMAGE_ON);
  EXPECT_EQ(colour_[0], 7);
}

TEST_F(FirstGenerationCalibration, ColourImageLargerThanTheFrameIsRefused) {
  std::vector<unsigned char> large(640U * 481U * 3U, 99);
  ASSERT_TRUE(engine_.jpgfile.RGBToJpegFile(colour_file_, large.data(), 640, 481, true, 95));
  EXPECT_EQ(read_colour().result, 0);
  EXPECT_EQ(colour_[0], 7);
}

TEST_F(FirstGenerationCalibration, NullNamesFail) {
  EXPECT_EQ(quietly([&] { return engine_.read_for_calib_tool(depth_.data(), nullptr); }), 0);
  EXPECT_EQ(quietly([&] {
              return engine_.read_for_calib_tool(depth_.data(), colour_.data(), nullptr,
                                                 colour_file_);
            }),
            0);
  EXPECT_EQ(quietly([&] {
              return engine_.read_for_calib_tool(depth_.data(), colour_.data(), base_, nullptr);
            }),
            0);
}

TEST_F(FirstGenerationCalibration, NullDepthArrayIsReported) {
  const auto seen = observe([&] { return engine_.read_for_calib_tool(nullptr, base_); });
  EXPECT_EQ(seen.output, "error - KV_RGBD_CameraCompression::output_to_cvMat - NULL input\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FLOAT_EQ(engine_.GetDepthAt(0), 2.0F);
}

}  // namespace
}  // namespace depth_io::test
