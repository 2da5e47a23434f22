#include "codec/frame_names.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace depth_io::test {
namespace {

TEST(PathText, BeginsEmptyAndFits) {
  const PathText path;
  EXPECT_STREQ(path.c_str(), "");
  EXPECT_EQ(path.length(), 0U);
  EXPECT_TRUE(path.fits());
}

TEST(PathText, AppendsWithoutSeparators) {
  PathText path;
  path.append("rec").append(std::string_view("/depth")).append("").append(".rle");
  EXPECT_STREQ(path.c_str(), "rec/depth.rle");
  EXPECT_EQ(path.length(), 13U);
  EXPECT_TRUE(path.fits());
}

TEST(PathText, LimitCountsTheTerminator) {
  PathText path(6);
  path.append("12345");
  EXPECT_TRUE(path.fits());
  EXPECT_STREQ(path.c_str(), "12345");
}

TEST(PathText, OneCharacterTooManyDoesNotFit) {
  PathText path(6);
  path.append("123456");
  EXPECT_FALSE(path.fits());
  EXPECT_LE(std::strlen(path.c_str()), 5U);
}

TEST(PathText, KeepsWhatFittedBefore) {
  PathText path(6);
  path.append("1234").append("56789");
  EXPECT_FALSE(path.fits());
  EXPECT_STREQ(path.c_str(), "1234");
}

TEST(PathText, ShortPieceDoesNotMakeACutPathUsable) {
  PathText path(6);
  path.append("1234").append("56789").append("x");
  EXPECT_FALSE(path.fits());
}

TEST(PathText, LargestPathHas511Characters) {
  PathText path;
  path.append(std::string(511, 'a'));
  EXPECT_TRUE(path.fits());
  EXPECT_EQ(std::strlen(path.c_str()), 511U);
  path.append("a");
  EXPECT_FALSE(path.fits());
}

TEST(PathText, LimitNeverGoesBeyondTheBuffer) {
  PathText path(100000);
  path.append(std::string(600, 'a'));
  EXPECT_FALSE(path.fits());
}

TEST(PathText, NullDoesNotFit) {
  PathText path;
  path.append("rec").append(static_cast<const char*>(nullptr));
  EXPECT_FALSE(path.fits());
}

TEST(PathText, CutToMakesRoomForAnotherEnding) {
  PathText path;
  path.append("depth");
  const std::size_t base = path.length();
  path.append(".rle");
  path.cut_to(base);
  EXPECT_STREQ(path.c_str(), "depth");
  path.append(".ref");
  EXPECT_STREQ(path.c_str(), "depth.ref");
  EXPECT_TRUE(path.fits());
}

TEST(PathText, DataIsTheText) {
  PathText path;
  path.append("depth");
  EXPECT_STREQ(path.data(), "depth");
}

struct Digits {
  int digits;
  int number;
  const char* text;
};

TEST(PathText, NumbersHaveExactlyTheDigitsAskedFor) {
  const Digits cases[] = {
      {5, 42, "00042"},
      {3, 7, "007"},
      {3, 1234, "234"},
      {5, 0, "00000"},
      {0, 42, ""},
      {-3, 42, ""},
      {3, -5, "-005"},
      {12, 42, "0000000042"},
      {8, 10485763, "10485763"},
      {8, 12345679, "12345679"},
      {8, 16777216, "16777216"},
  };
  for (const Digits& sample : cases) {
    PathText path;
    path.append_number(sample.digits, sample.number);
    EXPECT_STREQ(path.c_str(), sample.text) << sample.digits << ", " << sample.number;
    EXPECT_TRUE(path.fits());
  }
}

TEST(PathText, NumberThatDoesNotFitIsNotCut) {
  PathText path(6);
  path.append("abc").append_number(3, 7);
  EXPECT_FALSE(path.fits());
  EXPECT_STREQ(path.c_str(), "abc");
}

// --- Copies -------------------------------------------------------------------------------------

TEST(CopyText, CopiesWhatFits) {
  char destination[6] = "xxxxx";
  EXPECT_TRUE(copy_text(destination, sizeof destination, "12345"));
  EXPECT_STREQ(destination, "12345");
}

TEST(CopyText, TextThatDoesNotFitLeavesDestinationEmpty) {
  char destination[7] = "xxxxx!";
  EXPECT_FALSE(copy_text(destination, 6, "123456"));
  EXPECT_STREQ(destination, "");
  EXPECT_EQ(destination[6], '\0');
  EXPECT_EQ(destination[5], '!');
}

TEST(CopyText, EmptyTextFitsOneByte) {
  char destination[2] = "x";
  EXPECT_TRUE(copy_text(destination, 1, ""));
  EXPECT_STREQ(destination, "");
}

TEST(CopyText, NothingIsWrittenWithoutRoom) {
  char destination[2] = "x";
  EXPECT_FALSE(copy_text(destination, 0, ""));
  EXPECT_STREQ(destination, "x");
}

// --- Frame names --------------------------------------------------------------------------------

FrameKey by_number(int digits, int number) {
  FrameKey key;
  key.number_digits = digits;
  key.frame_number = number;
  return key;
}

FrameKey by_stamp(const char* stamp) {
  FrameKey key = by_number(5, 42);
  key.by_timestamp = true;
  key.timestamp = stamp;
  return key;
}

std::string frame_name(const char* directory, const char* stem, bool reverse, const FrameKey& key) {
  PathText path;
  append_frame_name(path, directory, stem, reverse, key);
  EXPECT_TRUE(path.fits());
  return path.c_str();
}

TEST(FrameName, NumberFollowsStem) {
  EXPECT_EQ(frame_name("rec/", "depth", false, by_number(5, 42)), "rec/depth-00042");
}

TEST(FrameName, ReversedNumberPrecedesStem) {
  EXPECT_EQ(frame_name("rec/", "bgr", true, by_number(5, 42)), "rec/00042-bgr");
}

TEST(FrameName, ThreeDigits) {
  EXPECT_EQ(frame_name("rec/", "depth", false, by_number(3, 7)), "rec/depth-007");
}

TEST(FrameName, StampStandsVerbatim) {
  EXPECT_EQ(frame_name("rec/", "depth", false, by_stamp("2024-05-06T07-08-09.123000")),
            "rec/depth-2024-05-06T07-08-09.123000");
}

TEST(FrameName, ReversedStamp) {
  EXPECT_EQ(frame_name("rec/", "depth", true, by_stamp("now")), "rec/now-depth");
}

TEST(FrameName, NoSeparatorIsAddedAfterTheDirectory) {
  EXPECT_EQ(frame_name("rec", "depth", false, by_number(2, 1)), "recdepth-01");
}

TEST(FrameName, EmptyPartsLeaveTheDash) { EXPECT_EQ(frame_name("", "", false, by_stamp("")), "-"); }

TEST(FrameName, GoesAfterWhatIsThere) {
  PathText path;
  path.append("here/");
  append_frame_name(path, "rec/", "depth", false, by_number(2, 1));
  EXPECT_STREQ(path.c_str(), "here/rec/depth-01");
}

TEST(FrameName, TooLongANameDoesNotFit) {
  PathText path(250);
  append_frame_name(path, "rec/", std::string(240, 's').c_str(), false, by_number(6, 1));
  EXPECT_FALSE(path.fits());
}

TEST(FrameName, NullDirectoryOrStemDoesNotFit) {
  PathText no_directory;
  append_frame_name(no_directory, nullptr, "depth", false, by_number(6, 1));
  EXPECT_FALSE(no_directory.fits());
  PathText no_stem;
  append_frame_name(no_stem, "rec/", nullptr, true, by_number(6, 1));
  EXPECT_FALSE(no_stem.fits());
}

TEST(FrameName, NullStampDoesNotFit) {
  PathText path;
  append_frame_name(path, "rec/", "depth", false, by_stamp(nullptr));
  EXPECT_FALSE(path.fits());
}

TEST(FrameName, StampIsNotUsedWhenNamedByNumber) {
  FrameKey key = by_number(3, 7);
  key.timestamp = "now";
  EXPECT_EQ(frame_name("rec/", "depth", false, key), "rec/depth-007");
}

TEST(FrameName, Endings) {
  EXPECT_STREQ(kLabelMapEnding, ".rle");
  EXPECT_STREQ(kReferenceEnding, ".ref");
  EXPECT_STREQ(kJpegEnding, ".jpg");
  EXPECT_STREQ(kErrorEnding, ".err");
}

}  // namespace
}  // namespace depth_io::test
