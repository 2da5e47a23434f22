#include "codec/frame_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/frame_model.h"
#include "tests/support/german_locale.h"
#include "tests/support/stored_frame.h"

// Good frames, made by hand.

namespace depth_io::test {
namespace {

using Depths = std::vector<float>;
using Labels = std::vector<int>;

/// Which files a read found to be cut off, by their endings.
std::string damage_of(StoredFrame& frame) {
  FrameDamage damage;
  bool good = false;
  frame.console = capture_console(
      [&] { good = load_and_check(frame.record.get(), frame.base().c_str(), damage); });
  if (!good) return "not read";
  return std::string(damage.label_map ? ".rle" : "") + (damage.references ? ".ref" : "") +
         (damage.codes ? ".jpg" : "") + (damage.errors ? ".err" : "");
}

TEST(FrameReader, FindsNoDamageInWholeFrames) {
  StoredFrame frame;
  frame.store();
  EXPECT_EQ(damage_of(frame), "");
  EXPECT_EQ(frame.depths(), (Depths{1, 1, 1, 1, 1, 1, 3, 3}));
  EXPECT_NE(frame.console.output.find("reading compressed data"), std::string::npos);
  frame.errors[1] = 1;
  frame.errors += std::string("\0\0x", 3);
  frame.store();
  EXPECT_EQ(damage_of(frame), "");
}

TEST(FrameReader, TellsWhichFileWasCutOff) {
  StoredFrame frame;
  frame.label_map = "2\n6 0\n1 1\n";
  frame.store();
  EXPECT_EQ(damage_of(frame), ".rle");
  frame.label_map = "2\n6 0\n2 1\n\n";
  frame.references = "nblabels 2 a11 500.0 a22 250.0 cx 1.0 cy 2.0\n1.000000\n3.00";
  frame.store();
  EXPECT_EQ(damage_of(frame), ".ref");
  frame.references = "nblabels 2 a11 500.0 a22 250.0 cx 1.0 cy 2.0\n1.000000\n";
  frame.store();
  EXPECT_EQ(damage_of(frame), ".ref");
  frame.references = "nblabels 2 a11 500.0 a22 250.0 cx 1.0 cy 2.0\n1.000000\n3.000000\n";
  for (const unsigned size : {0U, 3U, 11U, 13U}) {
    frame.errors = std::string(size, '\0');
    frame.store();
    EXPECT_EQ(damage_of(frame), ".err");
  }
  frame.errors = std::string(12, '\0');
  frame.store();
  const std::string image = read_file(frame.name(".jpg"));
  write_file(frame.name(".jpg"), image.substr(0, image.size() - 3));
  EXPECT_EQ(damage_of(frame), ".jpg");
}

TEST(FrameReader, LabelsAreFilledInRasterOrderAcrossRows) {
  StoredFrame frame;
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.labels(), (Labels{0, 0, 0, 0, 0, 0, 1, 1}));
}

TEST(FrameReader, Code125GivesTheReferenceDepth) {
  StoredFrame frame;
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.depths(), (Depths{1, 1, 1, 1, 1, 1, 3, 3}));
}

TEST(FrameReader, UnlabelledPixelsHaveNoDepthAndNoMaps) {
  StoredFrame frame;
  frame.label_map = "3\n1 -1\n3 0\n4 -1\n\n";
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.depths(), (Depths{0, 1, 1, 1, 0, 0, 0, 0}));
  EXPECT_EQ(frame.record->LoadedMapX[0], 0.0F);
  EXPECT_EQ(frame.record->LoadedMapY[0], 0.0F);
  EXPECT_EQ(frame.record->LoadedMapX[7], 0.0F);
}

TEST(FrameReader, IntrinsicsAreRead) {
  StoredFrame frame;
  frame.references = "nblabels 1 a11 533.014404 a22 531.5 cx -0.25 cy 239.75\n1.0\n";
  frame.label_map = "1\n8 0\n\n";
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.record->loaded_a11, 533.014404F);
  EXPECT_EQ(frame.record->loaded_a22, 531.5F);
  EXPECT_EQ(frame.record->loaded_cx, -0.25F);
  EXPECT_EQ(frame.record->loaded_cy, 239.75F);
}

TEST(FrameReader, ReferencesAreKeptAndTheRestIsMinusOne) {
  StoredFrame frame;
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(Depths(frame.record->LabelRefZ, frame.record->LabelRefZ + 4), (Depths{1, 3, -1, -1}));
}

TEST(FrameReader, MapsPairRowsWithTheFirstAxis) {
  StoredFrame frame;
  ASSERT_TRUE(frame.read());
  for (int row = 0; row < 2; ++row) {
    for (int col = 0; col < 4; ++col) {
      const std::size_t i = frame.record.at(row, col);
      const float z = frame.record->LoadedDepth[i];
      EXPECT_EQ(frame.record->LoadedMapX[i], (static_cast<float>(row) - 1.0F) * z / 500.0F);
      EXPECT_EQ(frame.record->LoadedMapY[i], (static_cast<float>(col) - 2.0F) * z / 250.0F);
    }
  }
  EXPECT_EQ(frame.record->LoadedMapX[0], -0.002F);
  EXPECT_EQ(frame.record->LoadedMapY[7], 0.012F);
}

TEST(FrameReader, EveryCodeIsDecodedInSinglePrecision) {
  StoredFrame frame(256, 8);
  std::vector<unsigned char> codes(256 * 8);
  for (std::size_t i = 0; i < codes.size(); ++i) codes[i] = static_cast<unsigned char>(i % 256);
  frame.set_codes(codes);
  frame.label_map = "1\n2048 0\n\n";
  frame.references = "nblabels 1 a11 500 a22 500 cx 0 cy 0\n1.7331\n";
  ASSERT_TRUE(frame.read());
  const std::vector<unsigned char> decoded = decode_plainly(frame.name(".jpg")).samples;
  for (std::size_t i = 0; i < decoded.size(); ++i) {
    ASSERT_EQ(frame.record->LoadedDepth[i], model_clamp(model_decode(decoded[i], 1.7331F)));
    ASSERT_EQ(frame.record->EncodeUC[3 * i], decoded[i]);
    ASSERT_EQ(frame.record->EncodeUC[3 * i + 2], decoded[i]);
  }
}

TEST(FrameReader, CodeImageIsSteppedThroughAtEveryPixel) {
  StoredFrame frame(16, 8);
  std::vector<unsigned char> codes(128, 25);
  std::fill(codes.begin() + 64, codes.end(), static_cast<unsigned char>(225));
  frame.set_codes(codes);
  frame.label_map = "2\n32 -1\n96 0\n\n";
  frame.references = "nblabels 1 a11 500 a22 500 cx 0 cy 0\n2.0\n";
  ASSERT_TRUE(frame.read());
  EXPECT_NEAR(frame.record->LoadedDepth[40], 1.0F, 0.1F);
  EXPECT_NEAR(frame.record->LoadedDepth[127], 3.0F, 0.1F);
}

// --- Error records ------------------------------------------------------------------------------

TEST(FrameReader, ErrorRecordDecidesOverTheCodeImage) {
  StoredFrame frame;
  frame.errors = error_file({{0, 0, 2, 200}, {0, 1, 3, 0}});
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.record->LoadedDepth[2], model_decode(200, 1.0F));
  EXPECT_EQ(frame.record->LoadedDepth[7], model_decode(0, 3.0F));
  EXPECT_EQ(frame.record->LoadedDepth[1], 1.0F);
}

TEST(FrameReader, ErrorCorrectHoldsExactCodesAndMinusOneElsewhere) {
  StoredFrame frame;
  frame.errors = error_file({{0, 0, 2, 200}, {0, 1, 3, 0}});
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(Labels(frame.record->ErrorCorrect, frame.record->ErrorCorrect + 8),
            (Labels{-1, -1, 200, -1, -1, -1, -1, 0}));
}

TEST(FrameReader, MapsFollowTheCorrectedDepth) {
  StoredFrame frame;
  frame.errors = error_file({{0, 0, 3, 200}});
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.record->LoadedMapX[3], -1.0F * model_decode(200, 1.0F) / 500.0F);
}

TEST(FrameReader, RecordsOfAllRegionsGoToTheirPlaces) {
  StoredFrame frame(640, 480);
  frame.label_map = "1\n307200 0\n\n";
  std::vector<ErrorRecord> records;
  for (int region = 0; region < 6; ++region) records.push_back({region, 7, 100, 10 + region});
  frame.errors = error_file(records);
  ASSERT_TRUE(frame.read());
  for (int region = 0; region < 6; ++region) {
    const int row = 7 + 256 * (region / 3);
    const int col = 100 + 256 * (region % 3);
    EXPECT_EQ(frame.record->ErrorCorrect[frame.record.at(row, col)], 10 + region);
  }
  const int* const first = frame.record->ErrorCorrect;
  EXPECT_EQ(std::count(first, first + 640 * 480, -1), 640 * 480 - 6);
}

TEST(FrameReader, CountsAreBigEndian) {
  StoredFrame frame(300, 1);
  frame.label_map = "1\n300 0\n\n";
  std::vector<ErrorRecord> records;
  for (int col = 0; col < 256; ++col) records.push_back({0, 0, col, 200});
  records.push_back({0, 0, 0, 201});
  records.push_back({1, 0, 3, 202});
  frame.errors = error_file(records);
  ASSERT_EQ(frame.errors.substr(0, 4), std::string("\x01\x01\x00\x01", 4));
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.record->ErrorCorrect[255], 200);
  EXPECT_EQ(frame.record->ErrorCorrect[0], 201) << "the last record of a pixel counts";
  EXPECT_EQ(frame.record->ErrorCorrect[259], 202);
}

TEST(FrameReader, RecordOfAnUnlabelledPixelGivesNoDepth) {
  StoredFrame frame;
  frame.label_map = "2\n1 -1\n7 0\n\n";
  frame.errors = error_file({{0, 0, 0, 200}});
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.record->LoadedDepth[0], 0.0F);
}

// --- Clamping -----------------------------------------------------------------------------------

TEST(FrameReader, DepthBelowZeroIsZero) {
  StoredFrame frame;
  frame.references = "nblabels 2 a11 500 a22 250 cx 1 cy 2\n0.5\n-4\n";
  frame.errors = error_file({{0, 0, 0, 60}});
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.record->LoadedDepth[0], 0.0F);
  EXPECT_EQ(frame.record->LoadedDepth[1], 0.5F);
  EXPECT_EQ(frame.record->LoadedDepth[7], 0.0F);
}

TEST(FrameReader, DepthAbove255Is255) {
  StoredFrame frame;
  frame.references = "nblabels 2 a11 500 a22 250 cx 1 cy 2\n254.5\n4000\n";
  frame.errors = error_file({{0, 0, 0, 220}});
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.record->LoadedDepth[0], 255.0F);
  EXPECT_EQ(frame.record->LoadedDepth[1], 254.5F);
  EXPECT_EQ(frame.record->LoadedDepth[7], 255.0F);
}

// --- Frames without labels ----------------------------------------------------------------------

class FrameWithoutLabels : public testing::Test {
 protected:
  FrameWithoutLabels() {
    frame_.label_map = "1\n8 -1\n\n";
    frame_.references = "nblabels 0 a11 500 a22 250 cx 1 cy 2\n";
  }
  StoredFrame frame_;
};

TEST_F(FrameWithoutLabels, IsGoodWithAllDepthsZero) {
  std::fill_n(frame_.record->LoadedDepth, 8, 5.0F);
  std::fill_n(frame_.record->LoadedMapX, 8, 5.0F);
  std::fill_n(frame_.record->LoadedMapY, 8, 5.0F);
  EXPECT_TRUE(frame_.read());
  EXPECT_EQ(frame_.depths(), Depths(8, 0.0F));
  EXPECT_EQ(frame_.record->LoadedMapX[7], 0.0F);
  EXPECT_EQ(frame_.record->LoadedMapY[7], 0.0F);
}

TEST_F(FrameWithoutLabels, KeepsTheIntrinsicsOfBefore) {
  frame_.record->loaded_a11 = 77.0F;
  frame_.record->loaded_cy = 78.0F;
  EXPECT_TRUE(frame_.read());
  EXPECT_EQ(frame_.record->loaded_a11, 77.0F);
  EXPECT_EQ(frame_.record->loaded_cy, 78.0F);
}

TEST_F(FrameWithoutLabels, NeedsNeitherCodeImageNorErrorFile) {
  frame_.store();
  std::filesystem::remove(frame_.name(".jpg"));
  std::filesystem::remove(frame_.name(".err"));
  EXPECT_TRUE(frame_.reload());
}

TEST_F(FrameWithoutLabels, NegativeLabelCountIsTheSame) {
  frame_.references = "nblabels -3 a11 500 a22 250 cx 1 cy 2\n";
  EXPECT_TRUE(frame_.read());
  EXPECT_EQ(frame_.depths(), Depths(8, 0.0F));
}

TEST_F(FrameWithoutLabels, LabelsOfTheLabelMapAreNotJudged) {
  frame_.label_map = "1\n8 3\n\n";
  EXPECT_TRUE(frame_.read());
  EXPECT_EQ(frame_.depths(), Depths(8, 0.0F));
}

// --- What is left alone, what is cleared --------------------------------------------------------

TEST(FrameReader, ColourImageIsNotTouched) {
  StoredFrame frame;
  std::fill_n(frame.record->LoadedColourImage, 24, static_cast<unsigned char>(9));
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(std::count(frame.record->LoadedColourImage, frame.record->LoadedColourImage + 24, 9),
            24);
}

TEST(FrameReader, WritersMaskIsNotTouched) {
  StoredFrame frame;
  std::fill_n(frame.record->write_MapObject, 8, -5);
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(std::count(frame.record->write_MapObject, frame.record->write_MapObject + 8, -5), 8);
}

TEST(FrameReader, NothingOfTheFrameBeforeRemains) {
  StoredFrame frame;
  frame.errors = error_file({{0, 0, 2, 200}});
  ASSERT_TRUE(frame.read());
  frame.label_map = "1\n4 0\n\n";
  frame.references = "nblabels 1 a11 500 a22 250 cx 1 cy 2\n1.0\n";
  frame.errors = error_file({});
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.depths(), (Depths{1, 1, 1, 1, 0, 0, 0, 0}));
  EXPECT_EQ(frame.labels(), (Labels{0, 0, 0, 0, -1, -1, -1, -1}));
  EXPECT_EQ(frame.record->LabelRefZ[1], -1.0F);
  EXPECT_EQ(frame.record->ErrorCorrect[2], -1);
  EXPECT_EQ(frame.record->LoadedMapY[7], 0.0F);
}

TEST(FrameReader, MapsAreClearedBeforeAMissingFileIsNoticed) {
  StoredFrame frame;
  ASSERT_TRUE(frame.read());
  std::filesystem::remove(frame.name(".rle"));
  EXPECT_FALSE(frame.reload());
  EXPECT_EQ(frame.depths(), Depths(8, 0.0F));
  EXPECT_EQ(frame.labels(), Labels(8, -1));
  EXPECT_EQ(frame.record->LabelRefZ[0], -1.0F);
}

// --- Layout of the text files -------------------------------------------------------------------

TEST(FrameReader, BlanksAndLineEndsAreAllTheSame) {
  StoredFrame frame;
  frame.label_map = "  2 6\t0\r\n\n2   1";
  frame.references = "\n nblabels\t2\r\na11\n500.0 a22 250 cx 1 cy 2 1.0 3.0";
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.depths(), (Depths{1, 1, 1, 1, 1, 1, 3, 3}));
}

TEST(FrameReader, NumbersMayHaveExponentsAndSigns) {
  StoredFrame frame;
  frame.label_map = "+2\n+6 0\n2 +1\n\n";
  frame.references = "nblabels 2 a11 5e2 a22 +2.5E+2 cx 1. cy .5\n1e0\n30e-1\n";
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.depths(), (Depths{1, 1, 1, 1, 1, 1, 3, 3}));
  EXPECT_EQ(frame.record->loaded_a11, 500.0F);
  EXPECT_EQ(frame.record->loaded_a22, 250.0F);
  EXPECT_EQ(frame.record->loaded_cy, 0.5F);
}

TEST(FrameReader, TextFilesReadTheSameInAGermanLocale) {
  StoredFrame frame;
  frame.references = "nblabels 2 a11 500.5 a22 250.25 cx 1.5 cy 2.5\n1.25\n3.75\n";
  const GermanLocale locale;
  if (!locale.active()) GTEST_SKIP() << "no German locale is installed or can be built here";
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.depths(), (Depths{1.25F, 1.25F, 1.25F, 1.25F, 1.25F, 1.25F, 3.75F, 3.75F}));
  EXPECT_EQ(frame.record->loaded_a22, 250.25F);
}

// --- The silent entry ---------------------------------------------------------------------------

TEST(SilentFrameReader, ReadsTheSame) {
  StoredFrame frame;
  frame.errors = error_file({{0, 0, 2, 200}});
  ASSERT_TRUE(frame.read());
  const Depths depths = frame.depths();
  const float map_x = frame.record->LoadedMapX[7];
  StoredFrame again;
  again.errors = frame.errors;
  ASSERT_TRUE(again.read_silently());
  EXPECT_EQ(again.depths(), depths);
  EXPECT_EQ(again.record->LoadedMapX[7], map_x);
  EXPECT_EQ(again.record->loaded_a11, 500.0F);
  EXPECT_EQ(again.record->ErrorCorrect[2], 200);
}

TEST(SilentFrameReader, LeavesTheRecordsFileNameAlone) {
  StoredFrame frame;
  frame.record->temp_filename[0] = 'x';
  frame.record->temp_filename[1] = '\0';
  ASSERT_TRUE(frame.read_silently());
  EXPECT_STREQ(frame.record->temp_filename, "x");
}

TEST(FrameReader, BuildsNamesInTheRecord) {
  StoredFrame frame;
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(std::string(frame.record->temp_filename).rfind(frame.base(), 0), 0U);
}

TEST(SilentFrameReader, FrameWithoutLabelsIsGood) {
  StoredFrame frame;
  frame.references = "nblabels 0 a11 500 a22 250 cx 1 cy 2\n";
  EXPECT_TRUE(frame.read_silently());
  EXPECT_EQ(frame.depths(), Depths(8, 0.0F));
}

}  // namespace
}  // namespace depth_io::test
