#include "tests/support/engine_fixture.h"

// Reading the frame that a recorded file's path names. Only the lengths of directory and stem are
// cut off the path, so the "-" of a real path stays in front of the stamp; callers put it into the
// stem and record with that stem, or leave it out of the path.
namespace depth_io::test {
namespace {

class FirstGenerationStemStamp : public ::testing::Test {
 protected:
  void record(const char* stem, const char* colour_stem) {
    Text depth_name(stem);
    Text colour_name(colour_stem);
    KV_RGBD_CameraCompression recorder;
    recorder.REVERSE_NAME = player_.REVERSE_NAME;
    recorder.start_recording(path_, depth_name, colour_name, 8);
    DepthMap depth = flat_depth(2.0F);
    ColourImage colour = flat_colour(120);
    recorder.input(depth.data(), colour.data());
    ASSERT_TRUE(quietly([&] { return apply_at(recorder, 0, kMoment, -1.0F); }));
  }

  Outcome<bool> read(Text stem, Text stem_stamp) {
    return observe([&] { return player_.read(depth_.data(), path_, stem, stem_stamp); });
  }

  Outcome<bool> read_colour(Text stem, Text colour_stem, Text stem_stamp) {
    return observe([&] {
      return player_.read(depth_.data(), colour_.data(), path_, stem, colour_stem, stem_stamp);
    });
  }

  static std::string stem_stamp_line(const std::string& stem_stamp) {
    return "KV_RGBD_CameraCompression::read - stem_stamp '" + stem_stamp + "'\n";
  }

  TempDirectory directory_;
  KV_RGBD_CameraCompression player_;
  DepthMap depth_ = flat_depth(-1.0F);
  ColourImage colour_ = flat_colour(7);
  Text path_{directory_.slash()};
};

TEST_F(FirstGenerationStemStamp, PathWithoutTheDashFindsTheFrame) {
  record("depth", "bgrimage");
  const auto seen = read("depth", directory_.file("depth2013-04-09T14-05-07.042000.rle"));
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, reading_line(directory_.file("depth-2013-04-09T14-05-07.042000")));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FLOAT_EQ(depth_[0], 2.0F);
}

TEST_F(FirstGenerationStemStamp, StemWithItsDashFindsAFrameOfTwoDashes) {
  record("depth-", "bgrimage");
  const auto seen = read("depth-", directory_.file("depth-2013-04-09T14-05-07.042000.rle"));
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, reading_line(directory_.file("depth--2013-04-09T14-05-07.042000")));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationStemStamp, StemWithItsDashMissesAFrameOfOneDash) {
  record("depth", "bgrimage");
  const auto seen = read("depth-", directory_.file("depth-2013-04-09T14-05-07.042000.rle"));
  EXPECT_FALSE(seen.result);
  const std::string base = directory_.file("depth--2013-04-09T14-05-07.042000");
  EXPECT_EQ(seen.output, reading_line(base) + failed_to_open_line(base + ".rle") +
                             "ERROR KV_RGBD_CameraCompression read - read_compressed at -1 stamp "
                             "2013-04-09T14-05-07.042000 ('" +
                             directory_.slash() + "'depth-' stamp 1 nbdgt -1) failed\n");
}

TEST_F(FirstGenerationStemStamp, PathAsRecordedShiftsEveryField) {
  record("depth", "bgrimage");
  const auto seen = read("depth", directory_.file("depth-2013-04-09T14-05-07.042000.rle"));
  EXPECT_FALSE(seen.result);
  const std::string stamp = "-0201-00-00T-01-00-00.-001";
  const std::string base = directory_.file("depth-" + stamp);
  EXPECT_EQ(seen.output,
            " ---ERROR--- PROBLEM IN GetIntFromString(..) -> NOT A INTEGER IN STRING 'T1'\n"
            " ---ERROR--- PROBLEM IN GetIntFromString(..) -> NOT A INTEGER IN STRING '.04'\n" +
                reading_line(base) + failed_to_open_line(base + ".rle") +
                "ERROR KV_RGBD_CameraCompression read - read_compressed at -1 stamp " + stamp +
                " ('" + directory_.slash() + "'depth' stamp 1 nbdgt -1) failed\n");
  EXPECT_EQ(seen.keys, 2);
}

TEST_F(FirstGenerationStemStamp, ReversedFrameIsFoundByLengthsOnly) {
  player_.REVERSE_NAME = true;
  record("depth", "bgrimage");
  const auto seen = read("depth", directory_.file("?????2013-04-09T14-05-07.042000.rle"));
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, reading_line(directory_.file("2013-04-09T14-05-07.042000-depth")));
}

TEST_F(FirstGenerationStemStamp, ColourFormPrintsThePathAndFindsBoth) {
  record("depth", "bgrimage");
  const std::string stem_stamp = directory_.file("depth2013-04-09T14-05-07.042000.rle");
  const auto seen = read_colour("depth", "bgrimage", stem_stamp);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "KV_RGBD_CameraCompression::read - stem_stamp '" + stem_stamp + "'\n" +
                             reading_line(directory_.file("depth-2013-04-09T14-05-07.042000")));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FLOAT_EQ(depth_[0], 2.0F);
  EXPECT_NEAR(colour_[0], 120, 3);
}

TEST_F(FirstGenerationStemStamp, ColourFormWithoutColourImageFails) {
  record("depth", "bgrimage");
  const std::string stem_stamp = directory_.file("depth2013-04-09T14-05-07.042000.rle");
  const auto seen = read_colour("depth", "other", stem_stamp);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            stem_stamp_line(stem_stamp) +
                reading_line(directory_.file("depth-2013-04-09T14-05-07.042000")) +
                cannot_open_jpeg_lines(directory_.file("other-2013-04-09T14-05-07.042000.jpg")));
  EXPECT_FLOAT_EQ(depth_[0], 2.0F);
}

TEST_F(FirstGenerationStemStamp, StampPartOfThirtyCharactersFailsSilently) {
  const auto seen = read("depth", directory_.file("depth" + std::string(30, '1') + ".rle"));
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(depth_[0], -1.0F);
}

TEST_F(FirstGenerationStemStamp, StampPartOf29CharactersIsTaken) {
  record("depth", "bgrimage");
  const auto seen = read("depth", directory_.file("depth2013-04-09T14-05-07.042000abc.rle"));
  EXPECT_TRUE(seen.result);
}

TEST_F(FirstGenerationStemStamp, StampPartTooLongLeavesTheCurrentFrameAlone) {
  player_.SetDepthAt(0, 3.0F);
  read("depth", directory_.file("depth" + std::string(400, '1') + ".rle"));
  EXPECT_EQ(player_.GetDepthAt(0), 3.0F);
}

TEST_F(FirstGenerationStemStamp, ColourFormWithTooLongAStampPartPrintsThePathOnly) {
  const std::string stem_stamp = directory_.file("depth" + std::string(30, '1') + ".rle");
  const auto seen = read_colour("depth", "bgrimage", stem_stamp);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, stem_stamp_line(stem_stamp));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationStemStamp, PathsTooShortForAStampFail) {
  for (const char* text : {"", "x", ".rle", "/a/depth.rle"}) {
    EXPECT_FALSE(read("depth", text).result) << text;
    EXPECT_FALSE(read_colour("depth", "bgrimage", text).result) << text;
  }
}

TEST_F(FirstGenerationStemStamp, NullPathsFail) {
  Text stem("depth");
  Text colour_stem("bgrimage");
  EXPECT_FALSE(quietly([&] { return player_.read(depth_.data(), path_, stem, nullptr); }));
  EXPECT_FALSE(quietly([&] { return player_.read(depth_.data(), nullptr, stem, stem); }));
  EXPECT_FALSE(quietly([&] { return player_.read(depth_.data(), path_, nullptr, stem); }));
  EXPECT_FALSE(quietly([&] {
    return player_.read(depth_.data(), colour_.data(), path_, stem, colour_stem, nullptr);
  }));
}

}  // namespace
}  // namespace depth_io::test
