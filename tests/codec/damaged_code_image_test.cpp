#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "codec/frame_reader.h"
#include "tests/support/frame_model.h"
#include "tests/support/stored_frame.h"

// Frames whose code image is damaged, hostile or of another size.

namespace depth_io::test {
namespace {

using Bytes = std::vector<unsigned char>;
using Depths = std::vector<float>;

constexpr char kFailed[] = " - ERROR - load_compressed_data - loading JpegFileToRGB failed !!!\n";

/// A frame of 16 x 8 pixels, one label of 2.0 m, read once with code 200 everywhere: what another
/// code image does not fill would show as 2.75 m.
class OtherCodeImage : public testing::Test {
 protected:
  OtherCodeImage() : frame_(16, 8) {
    frame_.label_map = "1\n128 0\n\n";
    frame_.references = "nblabels 1 a11 500 a22 500 cx 0 cy 0\n2.0\n";
    frame_.set_codes(Bytes(128, 200));
    EXPECT_TRUE(frame_.read());
    EXPECT_EQ(frame_.depths(), Depths(128, 2.75F));
  }

  std::string name() const { return frame_.name(".jpg"); }

  void expect_refused() {
    EXPECT_FALSE(frame_.reload());
    const std::string& output = frame_.console.output;
    ASSERT_GE(output.size(), sizeof kFailed);
    EXPECT_EQ(output.substr(output.size() - (sizeof kFailed - 1)), kFailed);
    EXPECT_EQ(frame_.console.keys, 0);
    EXPECT_EQ(frame_.depths(), Depths(128, 0.0F));
    EXPECT_FALSE(frame_.reload_silently());
    EXPECT_EQ(frame_.console.output.find("load_compressed_data"), std::string::npos);
  }

  StoredFrame frame_;
};

constexpr float kDepthOfCodeZero = 2.0F - 1.25F;

TEST_F(OtherCodeImage, MuchLargerIsRefused) {
  encode_flat(name(), 640, 480, 1, 125);
  expect_refused();
}

TEST_F(OtherCodeImage, OneRowHigherIsRefused) {
  encode_flat(name(), 16, 9, 1, 125);
  expect_refused();
}

TEST_F(OtherCodeImage, OneColumnWiderIsRefused) {
  encode_flat(name(), 17, 8, 1, 125);
  expect_refused();
}

TEST_F(OtherCodeImage, LargerColourImageIsRefused) {
  encode_flat(name(), 32, 16, 3, 125);
  expect_refused();
}

TEST_F(OtherCodeImage, LargestPossibleIsRefusedSoon) {
  encode_flat(name(), 65500, 1, 1, 125);
  std::string bytes = read_file(name());
  // Claims 65500 rows of what it has one.
  const std::size_t frame_header = bytes.find("\xFF\xC0");
  ASSERT_NE(frame_header, std::string::npos);
  bytes[frame_header + 5] = '\xFF';
  bytes[frame_header + 6] = '\xDC';
  write_file(name(), bytes);
  const auto start = std::chrono::steady_clock::now();
  expect_refused();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(OtherCodeImage, SmallerIsPackedAndTheRestIsCodeZero) {
  encode_flat(name(), 8, 8, 1, 125);
  EXPECT_TRUE(frame_.reload());
  Depths expected(64, 2.0F);
  expected.resize(128, kDepthOfCodeZero);
  EXPECT_EQ(frame_.depths(), expected);
}

TEST_F(OtherCodeImage, OnePixelLeavesTheRestCodeZero) {
  encode_flat(name(), 1, 1, 1, 125);
  EXPECT_TRUE(frame_.reload());
  Depths expected(128, kDepthOfCodeZero);
  expected[0] = 2.0F;
  EXPECT_EQ(frame_.depths(), expected);
}

TEST_F(OtherCodeImage, TwoComponentsAreCodeZero) {
  encode_flat(name(), 16, 8, 2, 125);
  EXPECT_TRUE(frame_.reload());
  EXPECT_EQ(frame_.depths(), Depths(128, kDepthOfCodeZero));
}

TEST_F(OtherCodeImage, FourComponentsAreCodeZero) {
  encode_flat(name(), 16, 8, 4, 125);
  EXPECT_TRUE(frame_.reload());
  EXPECT_EQ(frame_.depths(), Depths(128, kDepthOfCodeZero));
}

TEST_F(OtherCodeImage, ColourUsesTheFirstByteOfEachPixel) {
  Bytes pixels;
  for (int i = 0; i < 128; ++i) pixels.insert(pixels.end(), {125, 60, 10});
  encode_plainly(name(), 16, 8, 3, pixels);
  const Bytes decoded = decode_plainly(name()).samples;
  EXPECT_TRUE(frame_.reload());
  for (std::size_t i = 0; i < 128; ++i) {
    ASSERT_EQ(frame_.record->LoadedDepth[i], model_decode(decoded[3 * i], 2.0F));
  }
}

TEST_F(OtherCodeImage, TruncatedStillDecodes) {
  Bytes noise(128);
  for (std::size_t i = 0; i < noise.size(); ++i) {
    noise[i] = static_cast<unsigned char>(i * 2654435761U >> 13);
  }
  frame_.set_codes(noise);
  const std::string whole = read_file(name());
  write_file(name(), whole.substr(0, whole.size() - 20));
  testing::internal::CaptureStderr();
  EXPECT_TRUE(frame_.reload());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(frame_.console.output, "reading compressed data '" + frame_.base() + "'\n");
}

TEST_F(OtherCodeImage, EmptyIsRefused) {
  write_file(name(), "");
  expect_refused();
}

TEST_F(OtherCodeImage, TruncatedHeadersAreRefused) {
  encode_flat(name(), 16, 8, 1, 125);
  const std::string whole = read_file(name());
  const std::size_t scan = whole.find("\xFF\xDA");
  ASSERT_NE(scan, std::string::npos);
  for (const std::size_t length : {std::size_t{1}, std::size_t{2}, scan / 2, scan}) {
    write_file(name(), whole.substr(0, length));
    EXPECT_FALSE(frame_.reload()) << length;
    EXPECT_NE(frame_.console.output.find("JPEG Fatal Error "), std::string::npos) << length;
    EXPECT_NE(frame_.console.output.find(kFailed), std::string::npos) << length;
  }
}

TEST_F(OtherCodeImage, RandomBytesAfterTheStartMarkerAreRefused) {
  write_file(name(), "\xFF\xD8\xFF" + std::string(4000, '\x7A'));
  expect_refused();
}

TEST_F(OtherCodeImage, EveryByteMayBeChangedWithoutHarm) {
  Bytes noise(128);
  for (std::size_t i = 0; i < noise.size(); ++i) {
    noise[i] = static_cast<unsigned char>(i * 2654435761U >> 13);
  }
  frame_.set_codes(noise);
  const std::string whole = read_file(name());
  for (std::size_t i = 0; i < whole.size(); ++i) {
    std::string damaged = whole;
    damaged[i] = static_cast<char>(damaged[i] ^ 0xFF);
    write_file(name(), damaged);
    const bool good = frame_.reload();
    const bool told = frame_.console.output.find(kFailed) != std::string::npos;
    ASSERT_NE(good, told) << "byte " << i;
  }
}

TEST_F(OtherCodeImage, MoreThanAHundredScansAreRefused) {
  encode_plainly(name(), 16, 8, 1, Bytes(128, 125), one_coefficient_scans(1));
  expect_refused();
}

TEST_F(OtherCodeImage, SixtyFourScansAreRead) {
  encode_plainly(name(), 16, 8, 1, Bytes(128, 125), one_coefficient_scans(0));
  EXPECT_TRUE(frame_.reload());
  EXPECT_EQ(frame_.depths(), Depths(128, 2.0F));
}

TEST(CodeImageBomb, HundredThousandScansOfAFullFrameAreRefusedSoon) {
  StoredFrame frame(640, 480);
  encode_plainly(frame.name(".jpg"), 640, 480, 1, Bytes(640 * 480, 125), one_coefficient_scans(0));
  write_file(frame.name(".jpg"), with_last_scan_repeated(read_file(frame.name(".jpg")), 100000));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(frame.read());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
}

}  // namespace
}  // namespace depth_io::test
