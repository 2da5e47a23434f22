#include "tools/source/image_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "codec/liblinjpeg.h"
#include "tests/tools/image_directory.h"
#include "tools/source/open_source.h"
#include "tools/system/failure.h"

namespace depth_io::tools {
namespace {

using test::ImageDirectory;
using testing::HasSubstr;

/// What opening the directory, or loading its first frame, says.
std::string complaint(const ImageDirectory& images, std::optional<double> scale = {}) {
  try {
    ImageSource source(images.path(), {.units_per_metre = scale});
    Frame frame;
    source.load(0, frame);
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status(), kFailed);
    return failure.what();
  }
  return "";
}

TEST(ImageSource, DepthIsDividedByTheScale) {
  ImageDirectory images;
  images.set_scale("5000\n");
  images.add_depth("0", 7500);
  ImageSource source(images.path(), {});
  Frame frame;
  source.load(0, frame);
  EXPECT_FLOAT_EQ(frame.depth[0], 1.5F);
  EXPECT_FLOAT_EQ(frame.depth[kFramePixels - 1], 1.5F);
}

TEST(ImageSource, TheScaleOfTheUserHolds) {
  ImageDirectory images;
  images.add_depth("0", 7500);
  ImageSource source(images.path(), {.units_per_metre = 2500});
  Frame frame;
  source.load(0, frame);
  EXPECT_FLOAT_EQ(frame.depth[0], 3.0F);
}

TEST(ImageSource, ColourComesAsBlueGreenRed) {
  ImageDirectory images;
  images.add_depth("0", 1000);
  images.add_colour("0", {200, 100, 50});
  ImageSource source(images.path(), {});
  Frame frame;
  source.load(0, frame);
  EXPECT_TRUE(frame.has_colour);
  EXPECT_EQ(frame.bgr[0], 50);
  EXPECT_EQ(frame.bgr[1], 100);
  EXPECT_EQ(frame.bgr[2], 200);
}

TEST(ImageSource, ColourMayBeAJpeg) {
  ImageDirectory images;
  images.add_depth("0", 1000);
  std::filesystem::create_directories(images.file("rgb"));
  Picture picture(kFrameWidth, kFrameHeight, {200, 100, 50});
  std::string path = images.file("rgb/0.jpg");
  ASSERT_TRUE(JpegFile().RGBToJpegFile(path.data(), picture.bytes().data(), kFrameWidth,
                                       kFrameHeight, true, 95));
  ImageSource source(images.path(), {});
  Frame frame;
  source.load(0, frame);
  EXPECT_NEAR(frame.bgr[0], 50, 4);
  EXPECT_NEAR(frame.bgr[2], 200, 4);
}

TEST(ImageSource, ColourMayBeAbsent) {
  ImageDirectory images;
  images.add_depth("0", 1000);
  ImageSource source(images.path(), {});
  Frame frame;
  frame.has_colour = true;
  source.load(0, frame);
  EXPECT_FALSE(source.has_colour());
  EXPECT_FALSE(frame.has_colour);
}

TEST(ImageSource, ColourMayBeLeftAlone) {
  ImageDirectory images;
  images.add_depth("0", 1000);
  images.add_colour("another", {});
  EXPECT_FALSE(ImageSource(images.path(), {.with_colour = false}).has_colour());
}

TEST(ImageSource, NumbersInNamesCount) {
  ImageDirectory images;
  images.add_depth("frame10", 10);
  images.add_depth("frame9", 9);
  images.add_depth("frame0100", 100);
  ImageSource source(images.path(), {.units_per_metre = 1});
  Frame frame;
  std::vector<float> first_readings;
  while (source.next(frame)) first_readings.push_back(frame.depth[0]);
  EXPECT_THAT(first_readings, testing::ElementsAre(9.0F, 10.0F, 100.0F));
}

TEST(ImageSource, OrderOfNames) {
  const struct {
    const char* first;
    const char* second;
  } cases[] = {{"1", "2"},    {"2", "10"}, {"a1", "b0"},     {"a", "a1"},
               {"007", "10"}, {"01", "1"}, {"x2y1", "x2y3"}, {"", "a"}};
  for (const auto& pair : cases) {
    EXPECT_TRUE(comes_before(pair.first, pair.second)) << pair.first << " " << pair.second;
    EXPECT_FALSE(comes_before(pair.second, pair.first)) << pair.first << " " << pair.second;
  }
}

TEST(ImageSource, ThereIsNoFrameAfterTheLast) {
  ImageDirectory images;
  images.add_depth("0", 1000);
  ImageSource source(images.path(), {});
  Frame frame;
  EXPECT_THROW(source.load(1, frame), Failure);
}

TEST(ImageSource, AMissingDirectoryIsTold) {
  EXPECT_THROW(ImageSource("/nonexistent/images", {}), Failure);
}

TEST(ImageSource, AMissingDepthDirectoryIsTold) {
  const ImageDirectory images;
  std::filesystem::remove(images.file("depth"));
  EXPECT_THAT(complaint(images), HasSubstr("cannot list"));
}

TEST(ImageSource, AnEmptyDepthDirectoryIsTold) {
  EXPECT_THAT(complaint(ImageDirectory()), HasSubstr("no .png files"));
}

TEST(ImageSource, BadScalesAreRefused) {
  for (const char* text : {"", "metres", "0", "-1000", "nan", "inf", "1000 units", "1e999"}) {
    ImageDirectory images;
    images.add_depth("0", 1000);
    images.set_scale(text);
    EXPECT_THAT(complaint(images), HasSubstr("units per metre")) << text;
  }
}

TEST(ImageSource, AMissingScaleIsTold) {
  ImageDirectory images;
  images.add_depth("0", 1000);
  std::filesystem::remove(images.file("scale"));
  EXPECT_THAT(complaint(images), HasSubstr("--scale"));
  EXPECT_EQ(complaint(images, 1000.0), "");
}

TEST(ImageSource, OtherSizesAreRefused) {
  ImageDirectory images;
  images.add_depth("0", 1000, 320, 240);
  EXPECT_THAT(complaint(images), HasSubstr("is 320 x 240 pixels; frames are 640 x 480"));
}

TEST(ImageSource, ColourOfOtherSizesIsRefused) {
  ImageDirectory images;
  images.add_depth("0", 1000);
  images.add_colour("0", {}, 641);
  EXPECT_THAT(complaint(images), HasSubstr("is 641 x 480 pixels"));
}

TEST(ImageSource, AMissingColourImageIsTold) {
  ImageDirectory images;
  images.add_depth("0", 1000);
  images.add_depth("1", 1000);
  images.add_colour("0", {});
  EXPECT_THAT(complaint(images), HasSubstr("rgb/1.png"));
}

TEST(ImageSource, ADamagedColourImageIsTold) {
  ImageDirectory images;
  images.add_depth("0", 1000);
  std::filesystem::create_directories(images.file("rgb"));
  test::write_file(images.file("rgb/0.jpg"), "no JPEG");
  EXPECT_THAT(complaint(images), HasSubstr("rgb/0.jpg"));
}

TEST(OpenSource, TextsThatNameNoSourceAreUsageErrors) {
  for (const char* text :
       {"", "images", "images:", "camera", "Synthetic", "synthetic:1", "openni", "openni:"}) {
    SourceChoice choice;
    choice.text = text;
    LibraryLog log(false);
    EXPECT_THROW(open_source(choice, log), UsageFailure) << text;
  }
}

}  // namespace
}  // namespace depth_io::tools
