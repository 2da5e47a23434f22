#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "codec/liblinjpeg.h"
#include "tests/support/console_capture.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/jpeg_fixture.h"

namespace depth_io::test {
namespace {

using Bytes = std::vector<unsigned char>;

struct Outcome {
  bool good = false;
  ConsoleTrace console;
};

Outcome write_jpeg(const std::string& name, Bytes pixels, int width, int height, bool colour,
                   int quality = 95) {
  Outcome outcome;
  Text file(name);
  outcome.console = capture_console([&] {
    outcome.good = JpegFile().RGBToJpegFile(file, pixels.data(), width, height, colour, quality);
  });
  return outcome;
}

Bytes flat_pixels(int pixels, unsigned char b0, unsigned char b1, unsigned char b2) {
  Bytes bytes;
  for (int i = 0; i < pixels; ++i) bytes.insert(bytes.end(), {b0, b1, b2});
  return bytes;
}

std::size_t open_descriptors() { return entries_in("/proc/self/fd"); }

// --- Scanlines ----------------------------------------------------------------------------------

TEST(JpegScanline, ColourLineIsCopiedToItsRow) {
  Bytes line = {1, 2, 3, 4, 5, 6};
  Bytes image(18, 9);
  j_putRGBScanline(line.data(), 2, image.data(), 1);
  EXPECT_EQ(image, (Bytes{9, 9, 9, 9, 9, 9, 1, 2, 3, 4, 5, 6, 9, 9, 9, 9, 9, 9}));
}

TEST(JpegScanline, GreyLineFillsAllThreeBytesOfItsRow) {
  Bytes line = {1, 2};
  Bytes image(18, 9);
  j_putGrayScanlineToRGB(line.data(), 2, image.data(), 2);
  EXPECT_EQ(image, (Bytes{9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 1, 1, 1, 2, 2, 2}));
}

TEST(JpegScanline, LineWithoutPixelsWritesNothing) {
  Bytes line = {1, 2, 3};
  Bytes image(6, 9);
  j_putRGBScanline(line.data(), 0, image.data(), 0);
  j_putGrayScanlineToRGB(line.data(), 0, image.data(), 0);
  EXPECT_EQ(image, Bytes(6, 9));
}

// --- Writing ------------------------------------------------------------------------------------

TEST(JpegWrite, GreyFileHasOneComponentOfTheFullSize) {
  TempDirectory directory;
  const std::string name = directory.file("grey.jpg");
  const Outcome outcome = write_jpeg(name, flat_pixels(24 * 17, 125, 125, 125), 24, 17, false);
  EXPECT_TRUE(outcome.good);
  EXPECT_EQ(outcome.console.output, "");
  const PlainJpeg image = decode_plainly(name);
  EXPECT_EQ(image.components, 1);
  EXPECT_EQ(image.width, 24);
  EXPECT_EQ(image.height, 17);
  EXPECT_EQ(image.samples, Bytes(24 * 17, 125));
}

TEST(JpegWrite, ColourFileHasThreeComponentsInBufferOrder) {
  TempDirectory directory;
  const std::string name = directory.file("colour.jpg");
  EXPECT_TRUE(write_jpeg(name, flat_pixels(16 * 16, 220, 120, 20), 16, 16, true).good);
  const PlainJpeg image = decode_plainly(name);
  ASSERT_EQ(image.components, 3);
  EXPECT_NEAR(image.samples[0], 220, 4);
  EXPECT_NEAR(image.samples[1], 120, 4);
  EXPECT_NEAR(image.samples[2], 20, 4);
}

// Values whose three equal bytes give a luminance just below the value: worked out with other
// software in double precision.
const std::set<int> kLoweredGreys = {
    1,   2,   4,   8,   11,  13,  16,  22,  26,  27,  32,  39,  44,  51,  52,  54,  57,
    59,  61,  64,  78,  81,  88,  91,  95,  101, 102, 104, 108, 114, 115, 118, 122, 127,
    128, 143, 149, 156, 157, 162, 169, 175, 176, 182, 183, 190, 195, 202, 203, 204, 208,
    209, 216, 223, 225, 228, 230, 235, 236, 239, 241, 244, 249, 251, 254};

TEST(JpegWrite, SixtyFiveGreysAreStoredOneLower) {
  ASSERT_EQ(kLoweredGreys.size(), 65U);
  TempDirectory directory;
  const std::string name = directory.file("grey.jpg");
  for (int grey = 0; grey < 256; ++grey) {
    const auto byte = static_cast<unsigned char>(grey);
    ASSERT_TRUE(write_jpeg(name, flat_pixels(64, byte, byte, byte), 8, 8, false).good);
    const int stored = kLoweredGreys.contains(grey) ? grey - 1 : grey;
    EXPECT_EQ(decode_plainly(name).samples, Bytes(64, static_cast<unsigned char>(stored))) << grey;
  }
}

TEST(JpegWrite, LuminanceWeighsTheBytesInBufferOrderAndTruncates) {
  const struct {
    unsigned char b0, b1, b2, luminance;
  } cases[] = {
      {255, 0, 0, 76},     // 76.245
      {0, 255, 0, 149},    // 149.685
      {0, 0, 255, 29},     // 29.07
      {10, 200, 30, 123},  // 123.81
      {255, 255, 0, 225},  // 225.93
  };
  TempDirectory directory;
  const std::string name = directory.file("grey.jpg");
  for (const auto& sample : cases) {
    ASSERT_TRUE(
        write_jpeg(name, flat_pixels(64, sample.b0, sample.b1, sample.b2), 8, 8, false).good);
    EXPECT_EQ(decode_plainly(name).samples, Bytes(64, sample.luminance));
  }
}

TEST(JpegWrite, QualityGoesToTheQuantisation) {
  TempDirectory directory;
  const std::string name = directory.file("grey.jpg");
  const struct { int quality, step; } cases[] = {{95, 2}, {50, 16}, {100, 1}};
  for (const auto& sample : cases) {
    ASSERT_TRUE(write_jpeg(name, Bytes(192, 125), 8, 8, false, sample.quality).good);
    EXPECT_EQ(decode_plainly(name).first_quantisation_step, sample.step) << sample.quality;
  }
}

TEST(JpegWrite, LowestQualityStaysBaseline) {
  TempDirectory directory;
  const std::string name = directory.file("grey.jpg");
  ASSERT_TRUE(write_jpeg(name, Bytes(192, 125), 8, 8, false, 1).good);
  EXPECT_EQ(decode_plainly(name).first_quantisation_step, 255);
  EXPECT_NE(read_file(name).find("\xFF\xC0"), std::string::npos);
}

TEST(JpegWrite, OverwritesALongerFile) {
  TempDirectory directory;
  const std::string name = directory.file("grey.jpg");
  write_file(name, std::string(100000, 'x'));
  ASSERT_TRUE(write_jpeg(name, Bytes(192, 125), 8, 8, false).good);
  EXPECT_LT(std::filesystem::file_size(name), 2000U);
}

TEST(JpegWrite, NothingToWriteIsRefusedWithoutAWordOrAFile) {
  TempDirectory directory;
  const std::string name = directory.file("none.jpg");
  const struct {
    int width, height;
  } cases[] = {{0, 8}, {8, 0}, {0, 0}, {-8, 8}, {8, -8}, {-8, -1}};
  for (const auto& size : cases) {
    for (const bool colour : {false, true}) {
      const Outcome outcome = write_jpeg(name, Bytes(192, 1), size.width, size.height, colour);
      EXPECT_FALSE(outcome.good) << size.width << " x " << size.height;
      EXPECT_EQ(outcome.console.output, "");
      EXPECT_EQ(outcome.console.keys, 0);
    }
  }
  EXPECT_FALSE(std::filesystem::exists(name));
}

TEST(JpegWrite, NullBufferIsRefusedWithoutAWordOrAFile) {
  TempDirectory directory;
  Text name(directory.file("none.jpg"));
  bool good = true;
  const ConsoleTrace console =
      capture_console([&] { good = JpegFile().RGBToJpegFile(name, nullptr, 8, 8, true, 95); });
  EXPECT_FALSE(good);
  EXPECT_EQ(console.output, "");
  EXPECT_FALSE(std::filesystem::exists(name.str()));
}

TEST(JpegWrite, NullNameIsRefused) {
  Bytes pixels(192, 1);
  bool good = true;
  const ConsoleTrace console = capture_console(
      [&] { good = JpegFile().RGBToJpegFile(nullptr, pixels.data(), 8, 8, true, 95); });
  EXPECT_FALSE(good);
  EXPECT_EQ(console.keys, 0);
}

TEST(JpegWrite, UnopenableFileIsNamedWithoutAWait) {
  TempDirectory directory;
  const std::string name = directory.file("missing/grey.jpg");
  for (const bool colour : {false, true}) {
    const Outcome outcome = write_jpeg(name, Bytes(192, 1), 8, 8, colour);
    EXPECT_FALSE(outcome.good);
    EXPECT_EQ(outcome.console.output, "JpegFile :\nCan't open " + name + "\n");
    EXPECT_EQ(outcome.console.keys, 0);
  }
}

TEST(JpegWrite, SymbolicLinkIsNotFollowed) {
  TempDirectory directory;
  write_file(directory.file("target"), "precious");
  const std::string name = directory.file("link.jpg");
  std::filesystem::create_symlink(directory.file("target"), name);
  const Outcome outcome = write_jpeg(name, Bytes(192, 1), 8, 8, false);
  EXPECT_FALSE(outcome.good);
  EXPECT_EQ(outcome.console.output, "JpegFile :\nCan't open " + name + "\n");
  EXPECT_EQ(read_file(directory.file("target")), "precious");
}

TEST(JpegWrite, SizeBeyondJpegIsAFatalErrorOnOneLine) {
  TempDirectory directory;
  const Outcome outcome =
      write_jpeg(directory.file("wide.jpg"), Bytes(3 * 70000, 1), 70000, 1, false);
  EXPECT_FALSE(outcome.good);
  EXPECT_EQ(outcome.console.output,
            "JPEG Fatal Error Maximum supported image dimension is 65500 pixels\n");
  EXPECT_EQ(outcome.console.keys, 0);
}

TEST(JpegWrite, FailuresKeepNoDescriptor) {
  TempDirectory directory;
  const std::string name = directory.file("wide.jpg");
  write_jpeg(name, Bytes(3 * 70000, 1), 70000, 1, false);
  const std::size_t before = open_descriptors();
  for (int i = 0; i < 20; ++i) write_jpeg(name, Bytes(3 * 70000, 1), 70000, 1, i % 2 == 0);
  EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
}  // namespace depth_io::test
