#include "codec/frame_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/frame_fixture.h"
#include "tests/support/frame_model.h"
#include "tests/support/german_locale.h"
#include "tests/support/jpeg_fixture.h"

namespace depth_io::test {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

std::vector<int> codes_of(WriterBench& bench) {
  return {bench.record->Encode, bench.record->Encode + bench.record.pixels()};
}

std::vector<int> labels_of(WriterBench& bench) {
  return {bench.record->Label, bench.record->Label + bench.record.pixels()};
}

// --- Golden files -------------------------------------------------------------------------------

/// Writes the frame and compares its text files, and its error file when there is a golden one.
void expect_golden(WriterBench& bench, const std::string& name, bool with_error_file) {
  ASSERT_EQ(bench.write(), 1) << bench.console.output;
  EXPECT_EQ(bench.bytes(".rle"), golden(name + ".rle"));
  EXPECT_EQ(bench.bytes(".ref"), golden(name + ".ref"));
  if (with_error_file) {
    EXPECT_EQ(bench.bytes(".err"), golden(name + ".err"));
  }
}

TEST(FrameWriter, FlatMapGivesOneLabelAndElevenRuns) {
  WriterBench bench(640, 480, 1.0F);
  expect_golden(bench, "flat", true);
  EXPECT_EQ(codes_of(bench), std::vector<int>(640 * 480, 125));
}

TEST(FrameWriter, MapOfZerosHasOneLabelOfDepthZero) {
  WriterBench bench(16, 16, 0.0F);
  expect_golden(bench, "all_zero", true);
  EXPECT_EQ(codes_of(bench), std::vector<int>(256, 125));
}

TEST(FrameWriter, DepthsBeyondTheWindowOpenASecondLabel) {
  WriterBench bench(4, 2, {1.0F, 1.0F, 2.2F, 2.3F, 2.3F, 2.25F, 1.0F, 1.0F});
  expect_golden(bench, "two_references", false);
  EXPECT_EQ(codes_of(bench), (std::vector<int>{125, 125, 245, 125, 125, 250, 125, 125}));
}

TEST(FrameWriter, FirstLabelThatFitsIsTakenNotTheNearest) {
  WriterBench bench(6, 1, {1.0F, 3.0F, 2.2F, 1.9F, 3.5F, 0.0F});
  expect_golden(bench, "first_fit", false);
  EXPECT_EQ(codes_of(bench), (std::vector<int>{125, 125, 245, 215, 175, 25}));
}

TEST(FrameWriter, NegativeMaskEntriesStayUnlabelled) {
  WriterBench bench(5, 3, 1.5F);
  const int mask[] = {-1, 0, 0, 0, -7, 0, 0, 3, 0, -1, -1, -1, 0, 0, 0};
  std::copy(std::begin(mask), std::end(mask), bench.record->write_MapObject);
  expect_golden(bench, "masked", false);
  EXPECT_EQ(codes_of(bench),
            (std::vector<int>{0, 125, 125, 125, 0, 125, 125, 125, 125, 0, 0, 0, 125, 125, 125}));
}

TEST(FrameWriter, FullyMaskedFrameHasNoReferencesAndTwelveZeroBytes) {
  WriterBench bench(8, 8, 1.5F);
  std::fill_n(bench.record->write_MapObject, 64, -1);
  expect_golden(bench, "all_masked", true);
  EXPECT_EQ(bench.bytes(".err"), std::string(12, '\0'));
}

TEST(FrameWriter, RunsAreCutAt30000) {
  WriterBench bench(300, 250, 2.0F);
  expect_golden(bench, "long_run", true);
}

TEST(FrameWriter, NegativeDepthsGetErrorRecordsInRasterOrder) {
  WriterBench bench(6, 5, -3.0F);
  expect_golden(bench, "negative", true);
}

TEST(FrameWriter, ReferencesAndIntrinsicsHaveSixDecimals) {
  WriterBench bench(3, 1, {1.2345678F, 3.9999999F, 6.0000004F});
  bench.call.a11 = 533.0144F;
  bench.call.a22 = 531.98765F;
  bench.call.cx = -0.5F;
  bench.call.cy = 1234567.0F;
  expect_golden(bench, "rounded_references", true);
}

TEST(FrameWriter, NotANumberAndInfinitiesOpenALabelEach) {
  WriterBench bench(3, 2, {kNaN, kInf, -kInf, 1.0F, kNaN, 300.0F});
  expect_golden(bench, "not_finite", true);
  EXPECT_EQ(labels_of(bench), (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

TEST(FrameWriter, RecordOfPixelAtRow300Column600IsInTheLastRegion) {
  WriterBench bench(640, 480, 1.0F);
  bench.call.depths[300 * 640 + 600] = -3.0F;
  expect_golden(bench, "one_record", true);
}

TEST(FrameWriter, RegionsFollowEachOtherByRowsOfThree) {
  WriterBench bench(768, 512, 1.0F);
  for (const std::size_t row : {0U, 255U, 256U, 511U}) {
    for (const std::size_t col : {0U, 255U, 256U, 511U, 512U, 767U}) {
      bench.call.depths[row * 768 + col] = -3.0F;
    }
  }
  expect_golden(bench, "six_regions", true);
}

TEST(FrameWriter, CountsAbove255UseTheHighByte) {
  WriterBench bench(300, 1, -3.0F);
  ASSERT_EQ(bench.write(), 1);
  const std::string bytes = bench.bytes(".err");
  ASSERT_EQ(bytes.size(), 12U + 3 * 300);
  EXPECT_EQ(bytes.substr(0, 4), std::string("\x01\x00\x00\x2C", 4));
}

TEST(FrameWriter, CountOf65535IsTheLargest) {
  WriterBench bench(256, 256, -3.0F);
  bench.record->write_MapObject[256 * 256 - 1] = -1;
  ASSERT_EQ(bench.write(), 1) << bench.console.output;
  EXPECT_EQ(bench.bytes(".err").substr(0, 2), "\xFF\xFF");
}

// --- Labels and codes ---------------------------------------------------------------------------

struct CodeCase {
  float depth;  ///< in a frame whose first reference is 1.0
  int label;
  int code;
};

TEST(FrameWriter, CodesAreRoundedHalfAwayFromZero) {
  const CodeCase cases[] = {
      {1.0F, 0, 125},   {2.25F, 0, 250},      {-0.25F, 0, 0},   {2.2F, 0, 245},   {1.125F, 0, 138},
      {0.875F, 0, 113}, {1.625F, 0, 188},     {0.0F, 0, 25},    {1.003F, 0, 125}, {1.006F, 0, 126},
      {2.3F, 1, 125},   {2.2500002F, 1, 125}, {-0.26F, 1, 125},
  };
  for (const CodeCase& sample : cases) {
    WriterBench bench(2, 1, {1.0F, sample.depth});
    ASSERT_EQ(bench.write(), 1) << sample.depth;
    EXPECT_EQ(bench.record->Label[1], sample.label) << sample.depth;
    EXPECT_EQ(bench.record->Encode[1], sample.code) << sample.depth;
  }
}

TEST(FrameWriter, ReferencesOfUsedLabelsAreUnroundedAndTheRestIsMinusOne) {
  WriterBench bench(3, 1, {1.2345678F, 3.9999999F, 1.0F});
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(bench.record->LabelRefZ[0], 1.2345678F);
  EXPECT_EQ(bench.record->LabelRefZ[1], 3.9999999F);
  EXPECT_EQ(bench.record->LabelRefZ[2], -1.0F);
}

TEST(FrameWriter, RecordKeepsNothingOfTheFrameBefore) {
  WriterBench bench(4, 2, {1.0F, 3.0F, -3.0F, 9.0F, 2.0F, 0.0F, 7.0F, 1.0F});
  ASSERT_EQ(bench.write(), 1);
  bench.call.depths.assign(8, 1.0F);
  std::fill_n(bench.record->write_MapObject, 4, -1);
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(labels_of(bench), (std::vector<int>{-1, -1, -1, -1, 0, 0, 0, 0}));
  EXPECT_EQ(codes_of(bench), (std::vector<int>{0, 0, 0, 0, 125, 125, 125, 125}));
  EXPECT_EQ(bench.record->LabelRefZ[1], -1.0F);
  EXPECT_FALSE(bench.record->ErrorMap[2]);
}

TEST(FrameWriter, RunsOfTheLabelMapStayInTheRecord) {
  WriterBench bench(4, 2, {1.0F, 1.0F, 2.2F, 2.3F, 2.3F, 2.25F, 1.0F, 1.0F});
  ASSERT_EQ(bench.write(), 1);
  ASSERT_EQ(bench.record->RLE_NbNb, 3);
  EXPECT_EQ(bench.record->RLE_Nb[1], 2);
  EXPECT_EQ(bench.record->RLE_Val[1], 1);
}

TEST(FrameWriter, DepthMapAndMaskAreNotChanged) {
  WriterBench bench(2, 1, {1.0F, -3.0F});
  bench.record->write_MapObject[0] = -4;
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(bench.call.depths, (std::vector<float>{1.0F, -3.0F}));
  EXPECT_EQ(bench.record->write_MapObject[0], -4);
}

// --- Code image and error map -------------------------------------------------------------------

TEST(FrameWriter, CodeImageRepeatsEachCodeThreeTimes) {
  WriterBench bench(2, 1, {1.0F, 2.25F});
  ASSERT_EQ(bench.write(), 1);
  const unsigned char* const bytes = bench.record->EncodeUC;
  EXPECT_EQ(std::vector<unsigned char>(bytes, bytes + 6),
            (std::vector<unsigned char>{125, 125, 125, 250, 250, 250}));
}

TEST(FrameWriter, CodeFileIsAGreyJpegOfTheFrameSize) {
  WriterBench bench(40, 30, 1.0F);
  ASSERT_EQ(bench.write(), 1);
  const PlainJpeg image = decode_plainly(bench.name(".jpg"));
  EXPECT_EQ(image.components, 1);
  EXPECT_EQ(image.width, 40);
  EXPECT_EQ(image.height, 30);
  EXPECT_EQ(image.first_quantisation_step, 2);
  EXPECT_EQ(image.samples, std::vector<unsigned char>(1200, 125));
}

/// A frame whose codes jump about, which JPEG spoils in many places.
std::vector<float> rough_map(int pixels) {
  std::vector<float> depths;
  for (unsigned i = 0; i < static_cast<unsigned>(pixels); ++i) {
    depths.push_back(0.3F + static_cast<float>((i * 2654435761U >> 16) % 2000) / 1000.0F);
  }
  return depths;
}

std::vector<bool> error_map_of(WriterBench& bench) {
  const bool* const map = bench.record->ErrorMap;
  return std::vector<bool>(map, map + bench.record.pixels());
}

TEST(FrameWriter, PixelsThatJpegSpoiledGetTheirExactCode) {
  WriterBench bench(64, 48, rough_map(64 * 48));
  ASSERT_EQ(bench.write(), 1) << bench.console.output;
  const FrameModel model = model_labels(bench.call.depths, std::vector<int>(64 * 48, 0));
  const std::vector<bool> flagged =
      model_error_map(model, decode_plainly(bench.name(".jpg")).samples);
  ASSERT_GT(std::count(flagged.begin(), flagged.end(), true), 50);
  EXPECT_EQ(error_map_of(bench), flagged);
  EXPECT_EQ(bench.bytes(".err"), model_error_bytes(model, flagged, 64, 48));
}

TEST(FrameWriter, ErrorDetectionMovesOnAtLabelledPixelsOnly) {
  WriterBench bench(64, 48, rough_map(64 * 48));
  std::vector<int> mask(64 * 48, 0);
  for (std::size_t i = 5; i < mask.size(); i += 7) mask[i] = -1;
  std::copy(mask.begin(), mask.end(), bench.record->write_MapObject);
  ASSERT_EQ(bench.write(), 1) << bench.console.output;
  const FrameModel model = model_labels(bench.call.depths, mask);
  const std::vector<unsigned char> decoded = decode_plainly(bench.name(".jpg")).samples;
  const std::vector<bool> flagged = model_error_map(model, decoded);
  ASSERT_NE(flagged, model_error_map(model, decoded, Cursor::kEveryPixel))
      << "the frame does not tell the two ways apart";
  EXPECT_EQ(error_map_of(bench), flagged);
  EXPECT_EQ(bench.bytes(".err"), model_error_bytes(model, flagged, 64, 48));
}

TEST(FrameWriter, PixelAfterAMaskedOneIsJudgedByTheMaskedPixelsBytes) {
  // The masked pixel's code 0 lies 0.25 m below zero on reference 1.0, so clamping alone moves it;
  // the pixel's own code 125 would not be moved.
  WriterBench bench(8, 8, 1.0F);
  bench.record->write_MapObject[0] = -1;
  ASSERT_EQ(bench.write(), 1);
  EXPECT_TRUE(bench.record->ErrorMap[1]);
  EXPECT_EQ(bench.bytes(".err").substr(12, 3), std::string("\0\1\x7D", 3));
}

// --- File names ---------------------------------------------------------------------------------

std::vector<std::string> names_in(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

TEST(FrameWriterNames, FrameIsFourFiles) {
  WriterBench bench(4, 2, 1.0F);
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(names_in(bench.directory.path()),
            (std::vector<std::string>{"depth-00042.err", "depth-00042.jpg", "depth-00042.ref",
                                      "depth-00042.rle"}));
}

TEST(FrameWriterNames, ColourImageIsAFifthFile) {
  WriterBench bench(4, 2, 1.0F);
  bench.add_colour();
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(names_in(bench.directory.path()),
            (std::vector<std::string>{"bgr-00042.jpg", "depth-00042.err", "depth-00042.jpg",
                                      "depth-00042.ref", "depth-00042.rle"}));
}

TEST(FrameWriterNames, ReversedNames) {
  WriterBench bench(4, 2, 1.0F);
  bench.add_colour();
  bench.call.reverse_name = true;
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(names_in(bench.directory.path()),
            (std::vector<std::string>{"00042-bgr.jpg", "00042-depth.err", "00042-depth.jpg",
                                      "00042-depth.ref", "00042-depth.rle"}));
}

TEST(FrameWriterNames, TimestampIsUsedVerbatim) {
  WriterBench bench(4, 2, 1.0F);
  bench.call.by_timestamp = true;
  ASSERT_EQ(bench.write(), 1);
  EXPECT_TRUE(
      std::filesystem::exists(bench.directory.file("depth-2024-05-06T07-08-09.123000.rle")));
}

TEST(FrameWriterNames, FrameSevenInThreeDigits) {
  WriterBench bench(4, 2, 1.0F);
  bench.call.digits = 3;
  bench.call.number = 7;
  ASSERT_EQ(bench.write(), 1);
  EXPECT_TRUE(std::filesystem::exists(bench.directory.file("depth-007.rle")));
}

TEST(FrameWriterNames, NoSeparatorIsAddedAfterTheDirectory) {
  WriterBench bench(4, 2, 1.0F);
  bench.call.directory = bench.directory.file("run");
  ASSERT_EQ(bench.write(), 1);
  EXPECT_TRUE(std::filesystem::exists(bench.directory.file("rundepth-00042.rle")));
}

TEST(FrameWriterNames, EqualStemsLeaveTheCodeImage) {
  WriterBench bench(16, 16, 1.0F);
  bench.add_colour();
  bench.call.colour_stem = "depth";
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(decode_plainly(bench.name(".jpg")).components, 1);
}

// --- Colour image -------------------------------------------------------------------------------

TEST(FrameWriter, ColourImageIsAThreeComponentJpegOfQuality95) {
  WriterBench bench(16, 8, 1.0F);
  bench.add_colour();
  ASSERT_EQ(bench.write(), 1);
  const PlainJpeg image = decode_plainly(bench.colour_name());
  EXPECT_EQ(image.components, 3);
  EXPECT_EQ(image.width, 16);
  EXPECT_EQ(image.height, 8);
  EXPECT_EQ(image.first_quantisation_step, 2);
  EXPECT_NEAR(image.samples[0], 90, 2);
}

TEST(FrameWriter, FileIsWrittenOverALongerOne) {
  WriterBench bench(8, 8, 1.0F);
  for (const char* ending : {".rle", ".ref", ".err"}) {
    write_file(bench.name(ending), std::string(5000, 'x'));
  }
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(bench.bytes(".rle"), "1\n64 0\n\n");
  EXPECT_EQ(bench.bytes(".err"), std::string(12, '\0'));
}

// --- Locale -------------------------------------------------------------------------------------

TEST(FrameWriter, TextFilesAreTheSameInAGermanLocale) {
  const GermanLocale locale;
  if (!locale.active()) GTEST_SKIP() << "no German locale is installed or can be built here";
  WriterBench bench(4, 2, {1.0F, 1.0F, 2.2F, 2.3F, 2.3F, 2.25F, 1.0F, 1.0F});
  expect_golden(bench, "two_references", false);
}

// --- Tolerance ----------------------------------------------------------------------------------

TEST(CompressionErrorThreshold, GrowsByOneHundredthPerMetreUpToFive) {
  const struct {
    float depth, tolerance;
  } cases[] = {
      {0.999F, 0.01F}, {0.0F, 0.01F},  {-3.0F, 0.01F},  {-kInf, 0.01F}, {1.0F, 0.02F},
      {1.999F, 0.02F}, {2.0F, 0.03F},  {2.999F, 0.03F}, {3.0F, 0.04F},  {3.999F, 0.04F},
      {4.0F, 0.05F},   {4.99F, 0.05F}, {5.0F, 0.05F},   {7.0F, 0.05F},  {kInf, 0.05F},
  };
  for (const auto& sample : cases) {
    float tolerance = 0;
    const ConsoleTrace console =
        capture_console([&] { tolerance = GetCompressionErrorThreshold(sample.depth); });
    EXPECT_EQ(tolerance, sample.tolerance) << sample.depth;
    EXPECT_EQ(console.output, "");
    EXPECT_EQ(console.keys, 0);
  }
}

TEST(CompressionErrorThreshold, LargestDepthBelowEachStepBelongsToTheLowerOne) {
  for (int metres = 1; metres <= 4; ++metres) {
    const float step = static_cast<float>(metres);
    EXPECT_NE(GetCompressionErrorThreshold(std::nextafter(step, 0.0F)),
              GetCompressionErrorThreshold(step));
  }
}

TEST(CompressionErrorThreshold, NotANumberIsToldAndWaitsForAKey) {
  float tolerance = 0;
  const ConsoleTrace console =
      capture_console([&] { tolerance = GetCompressionErrorThreshold(kNaN); });
  EXPECT_EQ(tolerance, 0.05F);
  EXPECT_EQ(console.output, "ERROR GetCompressionErrorThreshold\n");
  EXPECT_EQ(console.keys, 1);
}

}  // namespace
}  // namespace depth_io::test
