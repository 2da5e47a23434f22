#include "tools/source/tum_lists.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/temp_directory.h"
#include "tools/system/failure.h"

namespace depth_io::tools {
namespace {

using testing::HasSubstr;

std::vector<ListedImage> list_of(const std::string& text) {
  const test::TempDirectory directory;
  test::write_file(directory.file("depth.txt"), text);
  return read_tum_list(directory.file("depth.txt"));
}

TEST(TumLists, TimesAndFilesAreReadCommentsAreNot) {
  const auto images = list_of("# depth\n\n  # more\n1.5 depth/a.png\n\t2.000001\tb.png\r\n");
  ASSERT_EQ(images.size(), 2U);
  EXPECT_EQ(images[0].microseconds, 1500000);
  EXPECT_EQ(images[0].file, "depth/a.png");
  EXPECT_EQ(images[1].microseconds, 2000001);
  EXPECT_EQ(images[1].file, "b.png");
}

TEST(TumLists, MicrosecondsOfOurTimesAreExact) {
  EXPECT_EQ(list_of("1305031102.160407 a.png")[0].microseconds, 1305031102160407);
}

TEST(TumLists, ImagesComeInTheOrderOfTime) {
  const auto images = list_of("3 c.png\n1 a.png\n2 b.png\n");
  EXPECT_EQ(images[0].file, "a.png");
  EXPECT_EQ(images[2].file, "c.png");
}

TEST(TumLists, DamagedLinesAreTold) {
  for (const char* const line :
       {"1.5", "a.png 1.5", "1.5 a.png b.png", "-1 a.png", "nan a.png", "inf a.png", "1e300 a.png",
        "253402300799 a.png", "1,5 a.png", "0x10 a.png", "1 /etc/passwd", "1 ../a.png",
        "1 depth/../../a.png"}) {
    try {
      list_of(std::string("# first\n") + line + "\n");
      FAIL() << line;
    } catch (const Failure& failure) {
      EXPECT_THAT(failure.what(), HasSubstr("line 2 of")) << line;
    }
  }
}

TEST(TumLists, AMissingListIsTold) {
  EXPECT_THROW(read_tum_list("/nonexistent/depth.txt"), Failure);
}

ListedImage at(double seconds) {
  return {static_cast<std::int64_t>(seconds * 1e6), std::to_string(seconds)};
}

/// Seconds of the colour image that each depth image gets, in text.
std::vector<std::string> partners(const std::vector<double>& depth,
                                  const std::vector<double>& colour, double max_gap) {
  std::vector<ListedImage> depth_images;
  std::vector<ListedImage> colour_images;
  for (const double seconds : depth) depth_images.push_back(at(seconds));
  for (const double seconds : colour) colour_images.push_back(at(seconds));
  std::vector<std::string> files;
  for (const ListedFrame& frame : associate(depth_images, colour_images, max_gap)) {
    files.push_back(frame.colour ? frame.colour->file.substr(0, 4) : "none");
  }
  return files;
}

TEST(TumLists, TheNearestColourImageIsThePartner) {
  EXPECT_THAT(partners({1.0, 2.0, 3.0}, {0.99, 1.02, 1.98, 3.01}, 0.05),
              testing::ElementsAre("0.99", "1.98", "3.01"));
}

TEST(TumLists, BeyondTheGapThereIsNone) {
  EXPECT_THAT(partners({1.0, 2.0}, {1.02, 2.03}, 0.02), testing::ElementsAre("1.02", "none"));
  EXPECT_THAT(partners({1.0}, {1.0}, 0), testing::ElementsAre("1.00"));
  EXPECT_THAT(partners({1.0, 2.0}, {}, 10), testing::ElementsAre("none", "none"));
}

TEST(TumLists, ManyColourImagesBetweenTwoDepthImagesArePassed) {
  EXPECT_THAT(partners({1.0, 9.0}, {1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0}, 0.1),
              testing::ElementsAre("1.00", "9.00"));
}

}  // namespace
}  // namespace depth_io::tools
