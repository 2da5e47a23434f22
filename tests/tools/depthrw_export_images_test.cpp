#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "codec/liblinjpeg.h"
#include "tests/tools/export_fixture.h"
#include "tools/picture/png_file.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using tools::GreyImage;
using tools::kFramePixels;

using DepthrwExportImages = DepthrwExportFixture;

/// What a 16-bit image has to hold, worked out on its own.
std::uint16_t expected_value(float metres, double scale) {
  if (metres < 0.05F) return 0;
  const double value = std::floor(static_cast<double>(metres) * scale + 0.5);
  return value > 65535 ? 0 : static_cast<std::uint16_t>(value);
}

void expect_depth(const std::string& file, const tools::Frame& frame, double scale) {
  const GreyImage image = tools::read_grey_png(file);
  ASSERT_EQ(image.pixels.size(), kFramePixels) << file;
  long wrong = 0;
  long readings = 0;
  for (std::size_t i = 0; i < kFramePixels; ++i) {
    if (image.pixels[i] != expected_value(frame.depth[i], scale)) ++wrong;
    if (image.pixels[i] != 0) ++readings;
  }
  EXPECT_EQ(wrong, 0) << file;
  EXPECT_GT(readings, 200000) << file;
}

void expect_colour(const std::string& file, const tools::Frame& frame) {
  const tools::Picture picture = tools::read_colour_png(file);
  long wrong = 0;
  for (std::size_t i = 0; i < kFramePixels; ++i) {
    const unsigned char* const rgb = picture.bytes().data() + 3 * i;
    const unsigned char* const bgr = frame.bgr.data() + 3 * i;
    if (rgb[0] != bgr[2] || rgb[1] != bgr[1] || rgb[2] != bgr[0]) ++wrong;
  }
  EXPECT_EQ(wrong, 0) << file;
}

TEST_F(DepthrwExportImages, PngHoldsEachPixelOfDepthAndColour) {
  record("tree", "3", {"--start", "2014-01-01T08:00:59.95"});
  export_well("out", "png");
  for (const Played& played : played_frames()) {
    expect_depth(path("out/depth/" + played.name + ".png"), played.frame, 1000);
    expect_colour(path("out/rgb/" + played.name + ".png"), played.frame);
  }
  EXPECT_EQ(files_in("out/depth").size(), 3U);
}

TEST_F(DepthrwExportImages, TumHoldsEachPixelAtItsScale) {
  record("tree", "2", {"--start", "2014-01-01T08:00:59.95"});
  export_well("out", "tum");
  const std::vector<Played> played = played_frames();
  expect_depth(path("out/depth/1388563259.950000.png"), played[0].frame, 5000);
  expect_depth(path("out/depth/1388563259.983000.png"), played[1].frame, 5000);
  expect_colour(path("out/rgb/1388563259.983000.png"), played[1].frame);
}

TEST_F(DepthrwExportImages, TumListsNameEachImageWithItsTime) {
  record("flat", "2", {"--start", "2014-01-01T00:00:00", "--fps", "3"});
  export_well("out", "tum");
  EXPECT_THAT(read_file(path("out/depth.txt")),
              HasSubstr("\n1388534400.000000 depth/1388534400.000000.png\n"
                        "1388534400.333333 depth/1388534400.333333.png\n"));
  EXPECT_THAT(read_file(path("out/rgb.txt")),
              HasSubstr("\n1388534400.333333 rgb/1388534400.333333.png\n"));
  EXPECT_EQ(read_file(path("out/associations.txt")),
            "1388534400.000000 rgb/1388534400.000000.png "
            "1388534400.000000 depth/1388534400.000000.png\n"
            "1388534400.333333 rgb/1388534400.333333.png "
            "1388534400.333333 depth/1388534400.333333.png\n");
}

TEST_F(DepthrwExportImages, Open3dHasThatLayout) {
  record("tree", "2", {"--camera-type", "1", "--start", "2014-01-01T08:00:00"});
  export_well("out", "open3d");
  const std::vector<Played> played = played_frames();
  expect_depth(path("out/depth/" + played[1].name + ".png"), played[1].frame, 1000);
  expect_colour(path("out/color/" + played[1].name + ".png"), played[1].frame);
  const nlohmann::json camera = json_of("out/intrinsic.json");
  EXPECT_EQ(camera["width"], 640);
  EXPECT_EQ(camera["height"], 480);
  EXPECT_EQ(camera["intrinsic_matrix"],
            nlohmann::json({533.0, 0, 0, 0, 533.0, 0, 320.0, 240.0, 1}));
}

TEST_F(DepthrwExportImages, ColourAsJpegLooksAsRecorded) {
  record("tree", "1", {"--start", "2014-01-01T08:00:00"});
  export_well("out", "open3d", {"--colour", "jpg"});
  const Played played = played_frames()[0];
  std::vector<unsigned char> rgb(kFramePixels * 3);
  const std::string file = path("out/color/" + played.name + ".jpg");
  ASSERT_TRUE(read_jpeg_file(file.c_str(), rgb).decoded);
  double error = 0;
  for (std::size_t i = 0; i < rgb.size(); ++i) {
    const std::size_t channel = i % 3;
    error += std::abs(rgb[i] - played.frame.bgr[i - channel + 2 - channel]);
  }
  EXPECT_LT(error / static_cast<double>(rgb.size()), 3);
}

TEST_F(DepthrwExportImages, ColourCanBeLeftOut) {
  record("tree", "1");
  export_well("out", "png", {"--colour", "none"});
  EXPECT_FALSE(fs::exists(path("out/rgb")));
  EXPECT_EQ(files_in("out/depth").size(), 1U);
}

TEST_F(DepthrwExportImages, ARecordingWithoutColourGivesDepthAlone) {
  record("tree", "1", {"--no-colour"});
  export_well("out", "tum");
  EXPECT_THAT(files_in("out"),
              ElementsAre("README.txt", "depth", "depth.txt", "export.json", "scale", "times.csv"));
}

TEST_F(DepthrwExportImages, TheScaleIsTheUsers) {
  record("tree", "1");
  export_well("out", "tum", {"--depth-scale", "2000.5"});
  expect_depth(path("out/depth/") + files_in("out/depth")[0], played_frames()[0].frame, 2000.5);
  EXPECT_EQ(read_file(path("out/scale")), "2000.5\n");
}

TEST_F(DepthrwExportImages, ReadingsBeyondTheScaleBecomeNoReadingAndAreCounted) {
  record("tree", "1", {"--start", "2014-01-01T08:00:00"});
  const ProgramResult result = export_to("out", "png", {"--depth-scale", "20000"});
  EXPECT_EQ(result.status, 0);
  const tools::Frame frame = played_frames()[0].frame;
  const long lost = std::count_if(frame.depth.begin(), frame.depth.end(),
                                  [](float z) { return std::floor(z * 20000.0 + 0.5) > 65535; });
  ASSERT_GT(lost, 1000);
  EXPECT_THAT(result.messages, HasSubstr(std::to_string(lost) + " readings beyond 3.277 m"));
  EXPECT_EQ(json_of("out/export.json")["frames"]["readings_too_deep"], lost);
  const GreyImage image = tools::read_grey_png(path("out/depth/2014-01-01T08-00-00.000000.png"));
  for (std::size_t i = 0; i < kFramePixels; ++i) {
    ASSERT_EQ(image.pixels[i], expected_value(frame.depth[i], 20000)) << i;
  }
}

TEST_F(DepthrwExportImages, EachStrideThFrameComes) {
  record("flat", "7", {"--no-colour"});
  export_well("out", "png", {"--stride", "3"});
  EXPECT_THAT(files_in("out/depth"), ElementsAre("00000000.png", "00000003.png", "00000006.png"));
}

TEST_F(DepthrwExportImages, ARangeOfTimeComes) {
  record("tree", "6", {"--no-colour", "--fps", "10", "--start", "2014-01-01T08:00:00"});
  export_well("out", "png",
              {"--from", "2014-01-01T08:00:00.1", "--to-time", "2014-01-01T08:00:00.3"});
  EXPECT_THAT(files_in("out/depth"),
              ElementsAre("2014-01-01T08-00-00.100000.png", "2014-01-01T08-00-00.200000.png",
                          "2014-01-01T08-00-00.300000.png"));
}

TEST_F(DepthrwExportImages, TheNumberOfThreadsChangesNothing) {
  record("numbered", "9", {"--per-directory", "4"});
  for (const char* const format : {"tum", "ply", "csv"}) {
    const std::string name = format;
    export_well(name + "1", format, {"--jobs", "1"});
    export_well(name + "5", format, {"--jobs", "5"});
    EXPECT_EQ(contents(name + "1"), contents(name + "5")) << format;
  }
}

TEST_F(DepthrwExportImages, FramesOfOneTimeInSeveralFoldersAllCome) {
  record("tree", "1", {"--no-colour", "--start", "2014-01-01T08:00:00"});
  fs::copy(path("rec/2014-01-01/08h/00mn"), path("rec/2014-01-01/08h/01mn"));
  export_well("png", "png");
  EXPECT_THAT(files_in("png/depth"),
              ElementsAre("2014-01-01T08-00-00.000000-2.png", "2014-01-01T08-00-00.000000.png"));
  export_well("tum", "tum");
  EXPECT_THAT(files_in("tum/depth"), ElementsAre("1388563200.000000.png", "1388563200.000001.png"));
}

TEST_F(DepthrwExportImages, FramesWithoutTimesCountFromZero) {
  record("flat", "2", {"--no-colour"});
  fs::remove(path("rec/recording.json"));
  const ProgramResult result = export_to("out", "tum", {"--fps", "4"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.messages, HasSubstr("4 frames a second are assumed"));
  EXPECT_THAT(files_in("out/depth"), ElementsAre("0.000000.png", "0.250000.png"));
}

TEST_F(DepthrwExportImages, TheImagesCanBeRecordedAgain) {
  record("flat", "3");
  export_well("out", "png");
  const std::string source = "images:" + path("out");
  const ProgramResult again =
      run_program({"record", "--out", path("again"), "--layout", "flat", "--source", source});
  EXPECT_EQ(again.status, 0) << again.messages;
  const ProgramResult verified = run_program({"verify", path("again"), "--against", source});
  EXPECT_EQ(verified.status, 0) << verified.messages << verified.output;
}

}  // namespace
}  // namespace depth_io::test
