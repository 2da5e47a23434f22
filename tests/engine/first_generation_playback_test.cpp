#include <sys/stat.h>

#include <cmath>

#include "tests/support/engine_fixture.h"

// Reading recorded frames back by number or moment, depth only and with colour.
namespace depth_io::test {
namespace {

/// Frames recorded by one engine and played by another.
class FirstGenerationPlayback : public ::testing::Test {
 protected:
  FirstGenerationPlayback() {
    recorder_.a11 = 533.25F;
    recorder_.a22 = 534.5F;
    recorder_.cx = 239.75F;
    recorder_.cy = 319.5F;
    Text path(directory_.slash());
    Text stem("depth");
    recorder_.start_recording(path, stem, 8);
  }

  void record(int frame, DepthMap depth) {
    recorder_.input(depth.data());
    ASSERT_TRUE(quietly([&] { return recorder_.apply(frame, 0); }));
  }

  void record(int frame, DepthMap depth, ColourImage colour) {
    recorder_.input(depth.data(), colour.data());
    ASSERT_TRUE(quietly([&] { return recorder_.apply(frame, 0); }));
  }

  void record_at(const Moment& m, DepthMap depth, ColourImage colour) {
    recorder_.input(depth.data(), colour.data());
    ASSERT_TRUE(quietly([&] { return apply_at(recorder_, 0, m, -1.0F); }));
  }

  Outcome<bool> read(int frame, int digits = 8) {
    return observe([&] { return player_.read(depth_.data(), path_, stem_, digits, frame); });
  }

  Outcome<bool> read_at(const Moment& m) {
    return observe([&] {
      return player_.read(depth_.data(), path_, stem_, m.year, m.month, m.day, m.hour, m.minute,
                          m.second, m.millisecond);
    });
  }

  Outcome<bool> read_colour(int frame, int digits = 8) {
    return observe([&] {
      return player_.read(depth_.data(), colour_.data(), path_, stem_, colour_stem_, digits, frame);
    });
  }

  Outcome<bool> read_colour_at(const Moment& m) {
    return observe([&] {
      return player_.read(depth_.data(), colour_.data(), path_, stem_, colour_stem_, m.year,
                          m.month, m.day, m.hour, m.minute, m.second, m.millisecond);
    });
  }

  std::string failed_line(int frame, const std::string& stamp, int stamped, int digits) const {
    return "ERROR KV_RGBD_CameraCompression read - read_compressed at " + std::to_string(frame) +
           " stamp " + stamp + " ('" + directory_.slash() + "'depth' stamp " +
           std::to_string(stamped) + " nbdgt " + std::to_string(digits) + ") failed\n";
  }

  TempDirectory directory_;
  KV_RGBD_CameraCompression recorder_;
  KV_RGBD_CameraCompression player_;
  DepthMap depth_ = flat_depth(-1.0F);
  ColourImage colour_ = flat_colour(7);
  Text path_{directory_.slash()};
  Text stem_{"depth"};
  Text colour_stem_{"bgrimage"};
};

// --- By frame number ----------------------------------------------------------------------------

TEST_F(FirstGenerationPlayback, FrameIsNamedByStemAndNumber) {
  record(42, flat_depth(1.0F));
  const auto seen = read(42);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "reading compressed data '" + directory_.slash() + "depth-00000042'\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationPlayback, ReversedFrameIsNamedByNumberAndStem) {
  recorder_.REVERSE_NAME = player_.REVERSE_NAME = true;
  record(42, flat_depth(1.0F));
  const auto seen = read(42);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "reading compressed data '" + directory_.slash() + "00000042-depth'\n");
}

TEST_F(FirstGenerationPlayback, NegativeFrameNumberFindsItsFrame) {
  record(-7, flat_depth(1.0F));
  const auto seen = read(-7);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, reading_line(directory_.file("depth--00000007")));
}

TEST_F(FirstGenerationPlayback, NumberOfDigitsIsThatOfTheCall) {
  recorder_.Record_number_digits = 3;
  record(1042, flat_depth(1.0F));
  EXPECT_FALSE(read(1042, 4).result);
  const auto seen = read(42, 3);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, reading_line(directory_.file("depth-042")));
}

TEST_F(FirstGenerationPlayback, MapsAreFilled) {
  record(0, flat_depth(2.0F));
  ASSERT_TRUE(read(0).result);
  const int row = 100;
  const int column = 500;
  const std::size_t i = column + row * kWidth;
  EXPECT_FLOAT_EQ(depth_[i], 2.0F);
  EXPECT_EQ(player_.MapZd.buffer[i], depth_[i]);
  EXPECT_FLOAT_EQ(player_.MapXd.buffer[i], (100.0F - 239.75F) * 2.0F / 533.25F);
  EXPECT_FLOAT_EQ(player_.MapYd.buffer[i], (500.0F - 319.5F) * 2.0F / 534.5F);
}

TEST_F(FirstGenerationPlayback, IntrinsicsAreThoseOfTheFrame) {
  record(0, flat_depth(2.0F));
  ASSERT_TRUE(read(0).result);
  EXPECT_EQ(player_.GetIntrinsic_a11(), 533.25F);
  EXPECT_EQ(player_.GetIntrinsic_a22(), 534.5F);
  EXPECT_EQ(player_.GetIntrinsic_cx(), 239.75F);
  EXPECT_EQ(player_.GetIntrinsic_cy(), 319.5F);
}

TEST_F(FirstGenerationPlayback, SceneComesBackWithinTheTolerance) {
  const DepthMap scene = scene_depth(3);
  record(0, scene);
  ASSERT_TRUE(read(0).result);
  int wrong = 0;
  for (std::size_t i = 0; i < scene.size(); ++i) {
    // Half a code step, and the rounding of the reference on disk, on top.
    const float tolerance = GetCompressionErrorThreshold(scene[i]) + 0.00501F;
    if (std::abs(depth_[i] - scene[i]) > tolerance) ++wrong;
  }
  EXPECT_EQ(wrong, 0);
}

TEST_F(FirstGenerationPlayback, DepthOnlyReadTurnsColourOff) {
  record(0, flat_depth(2.0F));
  player_.COLOUR_IMAGE_ON = true;
  ASSERT_TRUE(read(0).result);
  EXPECT_FALSE(player_.COLOUR_IMAGE_ON);
}

TEST_F(FirstGenerationPlayback, PixelsAboveOneCentimetreHaveDepth) {
  // Three labels, each on its reference; the references are then replaced on disk.
  DepthMap depth = flat_depth(6.0F);
  depth[0] = 1.0F;
  depth[1] = 3.0F;
  record(0, depth);
  write_file(directory_.file("depth-00000000.ref"),
             "nblabels 3 a11 533.250000 a22 534.500000 cx 239.750000 cy 319.500000\n"
             "0.010000\n0.010100\n0.0100000007\n");
  // A flat code image decodes without loss, so each pixel loads as its reference.
  ASSERT_TRUE(read(0).result);
  EXPECT_EQ(depth_[0], 0.01F);
  EXPECT_FALSE(player_.MapHasDepth.buffer[0]);
  EXPECT_EQ(depth_[1], 0.0101F);
  EXPECT_TRUE(player_.MapHasDepth.buffer[1]);
  EXPECT_EQ(depth_[2], std::nextafter(0.01F, 1.0F));
  EXPECT_TRUE(player_.MapHasDepth.buffer[2]);
}

TEST_F(FirstGenerationPlayback, HasDepthOfAnEarlierFrameIsForgotten) {
  record(0, flat_depth(2.0F));
  record(1, flat_depth(0.0F));
  ASSERT_TRUE(read(0).result);
  ASSERT_TRUE(player_.MapHasDepth.buffer[5]);
  ASSERT_TRUE(read(1).result);
  EXPECT_FALSE(player_.MapHasDepth.buffer[5]);
}

TEST_F(FirstGenerationPlayback, FrameWithoutLabelsIsZeroAndKeepsTheIntrinsicsLoadedBefore) {
  record(0, flat_depth(2.0F));
  std::fill_n(recorder_.RW.write_MapObject, kPixels, -1);
  record(1, flat_depth(2.0F));
  ASSERT_TRUE(read(0).result);
  player_.a11 = 1.0F;
  const auto seen = read(1);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, reading_line(directory_.file("depth-00000001")) +
                             " - INFO - load_compressed_data - No loaded Labels\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(depth_[5], 0.0F);
  EXPECT_FALSE(player_.MapHasDepth.buffer[5]);
  EXPECT_EQ(player_.a11, 533.25F);
}

TEST_F(FirstGenerationPlayback, FrameReadBackCanBeRecordedAgain) {
  record(0, flat_depth(2.5F));
  ASSERT_TRUE(read(0).result);
  Text again("again");
  player_.start_recording(path_, again, 3);
  ASSERT_TRUE(quietly([&] { return player_.apply(0, 0); }));
  EXPECT_NEAR(recorded_depth(directory_.file("again-000")), 2.5F, 1e-5F);
  EXPECT_NE(read_file(directory_.file("again-000.ref")).find("a11 533.250000"), std::string::npos);
}

TEST_F(FirstGenerationPlayback, MotionCanBeMeasuredOnFramesReadBack) {
  record(0, flat_depth(2.0F));
  record(1, flat_depth(1.0F));
  player_.USE_FRAME_DIFF = true;
  player_.threshold_pct_motion = 1000.0F;
  for (const int frame : {0, 1}) {
    ASSERT_TRUE(read(frame).result);
    ASSERT_TRUE(quietly([&] { return player_.apply(frame, 0); }));
  }
  EXPECT_EQ(player_.pct_moving, 1.0F);
}

// --- By moment ----------------------------------------------------------------------------------

TEST_F(FirstGenerationPlayback, StampedFrameIsNamedByItsStamp) {
  record_at(kMoment, flat_depth(2.0F), flat_colour(9));
  const auto seen = read_at(kMoment);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "reading compressed data '" + directory_.slash() +
                             "depth-2013-04-09T14-05-07.042000'\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FLOAT_EQ(depth_[0], 2.0F);
  EXPECT_STREQ(player_.timestamp.buffer, kMomentStamp);
}

TEST_F(FirstGenerationPlayback, ReversedStampedFrameBeginsWithItsStamp) {
  recorder_.REVERSE_NAME = player_.REVERSE_NAME = true;
  record_at(kMoment, flat_depth(2.0F), flat_colour(9));
  const auto seen = read_at(kMoment);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, reading_line(directory_.file("2013-04-09T14-05-07.042000-depth")));
}

// --- With colour --------------------------------------------------------------------------------

TEST_F(FirstGenerationPlayback, ColourFrameGivesDepthAndColour) {
  record(3, flat_depth(2.0F), flat_colour(120));
  const auto seen = read_colour(3);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, reading_line(directory_.file("depth-00000003")));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FLOAT_EQ(depth_[0], 2.0F);
  EXPECT_NEAR(colour_[kColourBytes / 2], 120, 3);
  EXPECT_EQ(player_.GetBgrImageAt(kColourBytes / 2), colour_[kColourBytes / 2]);
  EXPECT_TRUE(player_.COLOUR_IMAGE_ON);
}

TEST_F(FirstGenerationPlayback, ChannelsKeepTheirOrder) {
  ColourImage colour = flat_colour(40);
  for (std::size_t i = 0; i < colour.size(); i += 3) colour[i] = 200;
  record(3, flat_depth(2.0F), colour);
  ASSERT_TRUE(read_colour(3).result);
  EXPECT_NEAR(colour_[0], 200, 5);
  EXPECT_NEAR(colour_[1], 40, 5);
  EXPECT_NEAR(colour_[2], 40, 5);
}

TEST_F(FirstGenerationPlayback, ReversedColourFrameIsFound) {
  recorder_.REVERSE_NAME = player_.REVERSE_NAME = true;
  record(3, flat_depth(2.0F), flat_colour(120));
  EXPECT_TRUE(read_colour(3).result);
  EXPECT_NEAR(colour_[0], 120, 3);
}

TEST_F(FirstGenerationPlayback, StampedColourFrameIsFound) {
  for (const bool reverse : {false, true}) {
    recorder_.REVERSE_NAME = player_.REVERSE_NAME = reverse;
    record_at(kMoment, flat_depth(2.0F), flat_colour(120));
    colour_ = flat_colour(0);
    EXPECT_TRUE(read_colour_at(kMoment).result);
    EXPECT_NEAR(colour_[0], 120, 3);
    EXPECT_FLOAT_EQ(depth_[0], 2.0F);
  }
}

TEST_F(FirstGenerationPlayback, MissingColourImageFailsWithoutAWordOfTheEngine) {
  record(3, flat_depth(2.0F));
  const auto seen = read_colour(3);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, reading_line(directory_.file("depth-00000003")) +
                             cannot_open_jpeg_lines(directory_.file("bgrimage-00000003.jpg")));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationPlayback, MissingColourImageIsReportedWhenPrintingIsOn) {
  record(3, flat_depth(2.0F));
  player_.printout = 1;
  const auto seen = read_colour(3);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, reading_line(directory_.file("depth-00000003")) +
                             cannot_open_jpeg_lines(directory_.file("bgrimage-00000003.jpg")) +
                             " - ERROR - KV_RGBD_CameraCompression - loading JpegFileToRGB failed "
                             "!!!\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationPlayback, PrintingIsOnWithOneOnly) {
  record(3, flat_depth(2.0F));
  player_.printout = 2;
  EXPECT_EQ(read_colour(3).output.find("JpegFileToRGB failed"), std::string::npos);
}

TEST_F(FirstGenerationPlayback, DepthStaysLoadedWhenTheColourImageIsMissing) {
  record(3, flat_depth(2.0F));
  player_.colour_image.Init(5);
  ASSERT_FALSE(read_colour(3).result);
  EXPECT_FLOAT_EQ(depth_[0], 2.0F);
  EXPECT_FLOAT_EQ(player_.GetDepthAt(0), 2.0F);
  EXPECT_TRUE(player_.MapHasDepth.buffer[0]);
  EXPECT_TRUE(player_.COLOUR_IMAGE_ON);
  EXPECT_EQ(player_.GetBgrImageAt(0), 0);
  EXPECT_EQ(colour_[0], 7);
}

TEST_F(FirstGenerationPlayback, ColourImageLargerThanTheFrameIsRefused) {
  record(3, flat_depth(2.0F));
  std::vector<unsigned char> large(641U * 480U * 3U, 99);
  Text file(directory_.file("bgrimage-00000003.jpg"));
  ASSERT_TRUE(player_.jpgfile.RGBToJpegFile(file, large.data(), 641, 480, true, 95));
  EXPECT_FALSE(read_colour(3).result);
  EXPECT_EQ(colour_[0], 7);
  EXPECT_EQ(player_.GetBgrImageAt(0), 0);
}

TEST_F(FirstGenerationPlayback, ColourImageSmallerThanTheFrameLeavesTheRestZero) {
  record(3, flat_depth(2.0F));
  std::vector<unsigned char> small(320U * 240U * 3U, 99);
  Text file(directory_.file("bgrimage-00000003.jpg"));
  ASSERT_TRUE(player_.jpgfile.RGBToJpegFile(file, small.data(), 320, 240, true, 95));
  player_.colour_image.Init(5);
  EXPECT_TRUE(read_colour(3).result);
  EXPECT_NEAR(colour_[0], 99, 3);
  EXPECT_EQ(colour_[kColourBytes - 1], 0);
}

TEST_F(FirstGenerationPlayback, NamedPipeInPlaceOfAColourImageDoesNotBlock) {
  record(3, flat_depth(2.0F));
  ASSERT_EQ(mkfifo(directory_.file("bgrimage-00000003.jpg").c_str(), 0600), 0);
  EXPECT_FALSE(read_colour(3).result);
}

// --- Failures -----------------------------------------------------------------------------------

TEST_F(FirstGenerationPlayback, MissingFrameIsReportedWithItsNumber) {
  const auto seen = read(42);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            reading_line(directory_.file("depth-00000042")) +
                failed_to_open_line(directory_.file("depth-00000042.rle")) +
                "ERROR KV_RGBD_CameraCompression read - read_compressed at 42 stamp  ('" +
                directory_.slash() + "'depth' stamp 0 nbdgt 8) failed\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationPlayback, MissingStampedFrameIsReportedWithItsStamp) {
  const auto seen = read_at(kMoment);
  EXPECT_FALSE(seen.result);
  const std::string base = directory_.file("depth-2013-04-09T14-05-07.042000");
  EXPECT_EQ(seen.output, reading_line(base) + failed_to_open_line(base + ".rle") +
                             "ERROR KV_RGBD_CameraCompression read - read_compressed at -1 stamp "
                             "2013-04-09T14-05-07.042000 ('" +
                             directory_.slash() + "'depth' stamp 1 nbdgt -1) failed\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationPlayback, MissingColourFrameIsReportedAsTheDepthFrame) {
  const auto seen = read_colour(42);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, reading_line(directory_.file("depth-00000042")) +
                             failed_to_open_line(directory_.file("depth-00000042.rle")) +
                             failed_line(42, "", 0, 8));
  EXPECT_EQ(colour_[0], 7);
}

TEST_F(FirstGenerationPlayback, FailedReadClearsTheMapsAndLeavesTheCallersArray) {
  record(0, flat_depth(2.0F));
  ASSERT_TRUE(read(0).result);
  depth_ = flat_depth(-1.0F);
  ASSERT_FALSE(read(1).result);
  EXPECT_EQ(depth_, flat_depth(-1.0F));
  for (const depth_io_ClassBuffer* map : {&player_.MapXd, &player_.MapYd, &player_.MapZd}) {
    EXPECT_TRUE(std::all_of(map->buffer, map->buffer + kPixels, [](float v) { return v == 0.0F; }));
  }
  EXPECT_TRUE(std::none_of(player_.MapHasDepth.buffer, player_.MapHasDepth.buffer + kPixels,
                           [](bool has_depth) { return has_depth; }));
  EXPECT_EQ(player_.a11, 533.25F);
}

TEST_F(FirstGenerationPlayback, FrameWithAMissingFileFails) {
  for (const char* ending : {".rle", ".ref", ".jpg", ".err"}) {
    record(0, flat_depth(2.0F));
    std::filesystem::remove(directory_.file(std::string("depth-00000000") + ending));
    const auto seen = read(0);
    EXPECT_FALSE(seen.result) << ending;
    EXPECT_EQ(seen.keys, 0) << ending;
    const std::string last = failed_line(0, "", 0, 8);
    ASSERT_GT(seen.output.size(), last.size());
    EXPECT_EQ(seen.output.substr(seen.output.size() - last.size()), last) << ending;
  }
}

TEST_F(FirstGenerationPlayback, DamagedReferenceFileWaitsForOneKey) {
  record(0, flat_depth(2.0F));
  write_file(directory_.file("depth-00000000.ref"), "nblabel 1\n");
  const auto seen = read(0);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, reading_line(directory_.file("depth-00000000")) +
                             " - ERROR - load_compressed_data - loading nblabels\n" +
                             failed_line(0, "", 0, 8));
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(FirstGenerationPlayback, OverlongPathFailsAsAMissingFrame) {
  Text long_path(std::string(600, 'x') + "/");
  const auto seen = observe([&] { return player_.read(depth_.data(), long_path, stem_, 8, 42); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.keys, 0);
  EXPECT_NE(seen.output.find("ERROR KV_RGBD_CameraCompression read - read_compressed at 42"),
            std::string::npos);
}

TEST_F(FirstGenerationPlayback, OverlongColourStemFailsWithDepthLoaded) {
  record(3, flat_depth(2.0F));
  Text long_stem(std::string(600, 'x'));
  const auto seen = observe(
      [&] { return player_.read(depth_.data(), colour_.data(), path_, stem_, long_stem, 8, 3); });
  EXPECT_FALSE(seen.result);
  EXPECT_FLOAT_EQ(depth_[0], 2.0F);
  EXPECT_EQ(colour_[0], 7);
}

TEST_F(FirstGenerationPlayback, NullDepthArrayIsReportedAndTheFrameLoaded) {
  record(0, flat_depth(2.0F));
  const auto seen = observe([&] { return player_.read(nullptr, path_, stem_, 8, 0); });
  EXPECT_EQ(seen.output, reading_line(directory_.file("depth-00000000")) +
                             "error - KV_RGBD_CameraCompression::output_to_cvMat - NULL input\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FLOAT_EQ(player_.GetDepthAt(0), 2.0F);
}

TEST_F(FirstGenerationPlayback, NullColourArrayIsNotWritten) {
  record(3, flat_depth(2.0F), flat_colour(120));
  const auto seen = observe(
      [&] { return player_.read(depth_.data(), nullptr, path_, stem_, colour_stem_, 8, 3); });
  EXPECT_EQ(seen.keys, 0);
  EXPECT_NEAR(player_.GetBgrImageAt(0), 120, 3);
}

TEST_F(FirstGenerationPlayback, NullNamesFail) {
  record(0, flat_depth(2.0F), flat_colour(120));
  EXPECT_FALSE(quietly([&] { return player_.read(depth_.data(), nullptr, stem_, 8, 0); }));
  EXPECT_FALSE(quietly([&] { return player_.read(depth_.data(), path_, nullptr, 8, 0); }));
  EXPECT_FALSE(quietly(
      [&] { return player_.read(depth_.data(), colour_.data(), path_, stem_, nullptr, 8, 0); }));
}

// --- Long forms ---------------------------------------------------------------------------------

TEST_F(FirstGenerationPlayback, LongFormGivesAnInt) {
  record(3, flat_depth(2.0F));
  EXPECT_EQ(quietly([&] {
              return player_._read(depth_.data(), path_, stem_, false, 8, 3, -1, -1, -1, -1, -1, -1,
                                   -1);
            }),
            1);
  EXPECT_EQ(quietly([&] {
              return player_._read(depth_.data(), path_, stem_, true, -1, -1, 2013, 4, 9, 14, 5, 7,
                                   42);
            }),
            0);
}

TEST_F(FirstGenerationPlayback, LongColourFormGivesAnInt) {
  record(3, flat_depth(2.0F), flat_colour(120));
  record(4, flat_depth(2.0F));
  const auto read_frame = [&](int frame) {
    return quietly([&] {
      return player_._read(depth_.data(), colour_.data(), path_, stem_, colour_stem_, false, 8,
                           frame, -1, -1, -1, -1, -1, -1, -1);
    });
  };
  EXPECT_EQ(read_frame(3), 1);
  EXPECT_EQ(read_frame(4), 0);
  EXPECT_NEAR(colour_[0], 120, 3);
}

}  // namespace
}  // namespace depth_io::test
