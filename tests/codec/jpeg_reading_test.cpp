#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
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
  int width = -1;
  int height = -1;
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

Outcome read_jpeg(const std::string& name, Bytes& pixels) {
  Outcome outcome;
  Text file(name);
  outcome.console = capture_console([&] {
    outcome.good =
        JpegFile().JpegFileToRGB_fast(pixels.data(), file, outcome.width, outcome.height);
  });
  return outcome;
}

Bytes flat_pixels(int pixels, unsigned char b0, unsigned char b1, unsigned char b2) {
  Bytes bytes;
  for (int i = 0; i < pixels; ++i) bytes.insert(bytes.end(), {b0, b1, b2});
  return bytes;
}

std::size_t open_descriptors() { return entries_in("/proc/self/fd"); }

// --- Reading ------------------------------------------------------------------------------------

TEST(JpegRead, GreyFileFillsAllThreeBytes) {
  TempDirectory directory;
  const std::string name = directory.file("grey.jpg");
  Bytes ramp;
  for (int i = 0; i < 32 * 8; ++i) ramp.push_back(static_cast<unsigned char>(4 * (i % 32)));
  encode_plainly(name, 32, 8, 1, ramp);
  Bytes pixels(32 * 8 * 3, 77);
  const Outcome outcome = read_jpeg(name, pixels);
  ASSERT_TRUE(outcome.good);
  EXPECT_EQ(outcome.width, 32);
  EXPECT_EQ(outcome.height, 8);
  EXPECT_EQ(outcome.console.output, "");
  const Bytes plain = decode_plainly(name).samples;
  for (std::size_t i = 0; i < plain.size(); ++i) {
    ASSERT_EQ(pixels[3 * i], plain[i]);
    ASSERT_EQ(pixels[3 * i + 1], plain[i]);
    ASSERT_EQ(pixels[3 * i + 2], plain[i]);
  }
}

TEST(JpegRead, ColourFileComesInComponentOrder) {
  TempDirectory directory;
  const std::string name = directory.file("colour.jpg");
  encode_plainly(name, 19, 11, 3, flat_pixels(19 * 11, 200, 100, 30));
  Bytes pixels(19 * 11 * 3, 77);
  ASSERT_TRUE(read_jpeg(name, pixels).good);
  EXPECT_EQ(pixels, decode_plainly(name).samples);
}

TEST(JpegRead, OwnGreyFileOf125ComesBackExactly) {
  TempDirectory directory;
  const std::string name = directory.file("grey.jpg");
  ASSERT_TRUE(write_jpeg(name, Bytes(40 * 30 * 3, 125), 40, 30, false).good);
  Bytes pixels(40 * 30 * 3, 1);
  ASSERT_TRUE(read_jpeg(name, pixels).good);
  EXPECT_EQ(pixels, Bytes(40 * 30 * 3, 125));
}

TEST(JpegRead, OwnGreyFileOf122ComesBackAs121) {
  TempDirectory directory;
  const std::string name = directory.file("grey.jpg");
  ASSERT_TRUE(write_jpeg(name, Bytes(8 * 8 * 3, 122), 8, 8, false).good);
  Bytes pixels(8 * 8 * 3, 1);
  ASSERT_TRUE(read_jpeg(name, pixels).good);
  EXPECT_EQ(pixels, Bytes(8 * 8 * 3, 121));
}

TEST(JpegRead, MissingFileIsNamedAndSizeIsZero) {
  TempDirectory directory;
  const std::string name = directory.file("missing.jpg");
  Bytes pixels(3, 7);
  const Outcome outcome = read_jpeg(name, pixels);
  EXPECT_FALSE(outcome.good);
  EXPECT_EQ(outcome.width, 0);
  EXPECT_EQ(outcome.height, 0);
  EXPECT_EQ(outcome.console.output, "JPEG :\nCan't open " + name + "\n");
  EXPECT_EQ(outcome.console.keys, 0);
}

TEST(JpegRead, NullBufferIsToldAndSizeIsLeft) {
  Text name("/nowhere.jpg");
  int width = 5;
  int height = 6;
  bool good = true;
  const ConsoleTrace console =
      capture_console([&] { good = JpegFile().JpegFileToRGB_fast(nullptr, name, width, height); });
  EXPECT_FALSE(good);
  EXPECT_EQ(console.output, "JpegFile unsigned char stream needs to be allocated beforehand\n");
  EXPECT_EQ(console.keys, 0);
  EXPECT_EQ(width, 5);
  EXPECT_EQ(height, 6);
}

TEST(JpegRead, NullNameIsRefused) {
  Bytes pixels(3, 7);
  int width = 5;
  int height = 6;
  bool good = true;
  const ConsoleTrace console = capture_console(
      [&] { good = JpegFile().JpegFileToRGB_fast(pixels.data(), nullptr, width, height); });
  EXPECT_FALSE(good);
  EXPECT_EQ(console.keys, 0);
}

TEST(JpegRead, ForeignContentIsAFatalErrorOnOneLine) {
  TempDirectory directory;
  const std::string name = directory.file("bad.jpg");
  Bytes pixels(300, 7);
  write_file(name, "hello");
  const Outcome text = read_jpeg(name, pixels);
  EXPECT_FALSE(text.good);
  EXPECT_EQ(text.console.output, "JPEG Fatal Error Not a JPEG file: starts with 0x68 0x65\n");
  EXPECT_EQ(text.console.keys, 0);
}

TEST(JpegRead, EmptyFileIsAFatalErrorOnOneLine) {
  TempDirectory directory;
  const std::string name = directory.file("empty.jpg");
  Bytes pixels(300, 7);
  write_file(name, "");
  const Outcome outcome = read_jpeg(name, pixels);
  EXPECT_FALSE(outcome.good);
  EXPECT_EQ(outcome.console.output.rfind("JPEG Fatal Error ", 0), 0U) << outcome.console.output;
  EXPECT_EQ(occurrences(outcome.console.output, "\n"), 1U);
}

TEST(JpegRead, HeaderWithoutAnImageIsRefused) {
  TempDirectory directory;
  const std::string name = directory.file("tables.jpg");
  write_file(name, "\xFF\xD8\xFF\xD9");
  Bytes pixels(300, 7);
  EXPECT_FALSE(read_jpeg(name, pixels).good);
}

TEST(JpegRead, FailuresKeepNoDescriptor) {
  TempDirectory directory;
  const std::string name = directory.file("bad.jpg");
  encode_flat(name, 8, 8, 1, 125);
  write_file(name, read_file(name).substr(0, 60));
  Bytes pixels(300, 7);
  read_jpeg(name, pixels);
  const std::size_t before = open_descriptors();
  for (int i = 0; i < 20; ++i) read_jpeg(name, pixels);
  EXPECT_EQ(open_descriptors(), before);
}

TEST(JpegRead, TruncatedFileDecodesAndNothingReachesTheConsole) {
  TempDirectory directory;
  const std::string name = directory.file("cut.jpg");
  Bytes noise(64 * 64);
  for (std::size_t i = 0; i < noise.size(); ++i) {
    noise[i] = static_cast<unsigned char>(i * 2654435761U >> 13);
  }
  encode_plainly(name, 64, 64, 1, noise);
  const std::string whole = read_file(name);
  write_file(name, whole.substr(0, whole.size() / 2));
  Bytes pixels(64 * 64 * 3, 7);
  testing::internal::CaptureStderr();
  const Outcome outcome = read_jpeg(name, pixels);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(outcome.good);
  EXPECT_EQ(outcome.console.output, "");
}

// A progressive image is kept as a whole until its last scan is read.
TEST(JpegRead, ImageThatWantsGigabytesIsRefused) {
  TempDirectory directory;
  const std::string name = directory.file("wide.jpg");
  encode_plainly(name, 8, 8, 1, Bytes(64, 125), one_coefficient_scans(0));
  std::string bytes = read_file(name);
  const std::size_t frame_header = bytes.find("\xFF\xC2");
  ASSERT_NE(frame_header, std::string::npos);
  bytes.replace(frame_header + 5, 4, "\xFF\xDC\xFF\xDC");  // 65500 x 65500
  write_file(name, bytes);
  Bytes pixels(300, 7);
  const Outcome outcome = read_jpeg(name, pixels);
  EXPECT_FALSE(outcome.good);
  EXPECT_EQ(outcome.console.output.rfind("JPEG Fatal Error ", 0), 0U) << outcome.console.output;
  EXPECT_EQ(pixels, Bytes(300, 7));
}

TEST(JpegRead, SpecialFilesCannotBeOpened) {
  TempDirectory directory;
  const std::string fifo = directory.file("fifo.jpg");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  Bytes pixels(300, 7);
  for (const std::string& name : {fifo, directory.path(), std::string("/dev/zero")}) {
    const Outcome outcome = read_jpeg(name, pixels);
    EXPECT_FALSE(outcome.good);
    EXPECT_EQ(outcome.console.output, "JPEG :\nCan't open " + name + "\n");
  }
}

TEST(JpegRead, FileBeyondTheSizeCapCannotBeOpened) {
  TempDirectory directory;
  const std::string name = directory.file("huge.jpg");
  encode_flat(name, 8, 8, 1, 125);
  std::filesystem::resize_file(name, 64U * 1024 * 1024 + 1);
  Bytes pixels(300, 7);
  const Outcome outcome = read_jpeg(name, pixels);
  EXPECT_FALSE(outcome.good);
  EXPECT_EQ(outcome.console.output, "JPEG :\nCan't open " + name + "\n");
}

// --- Bounded reading ----------------------------------------------------------------------------

JpegReadResult read_bounded(const std::string& name, Bytes& pixels) {
  JpegReadResult result;
  capture_console([&] { result = read_jpeg_file(name.c_str(), pixels); });
  return result;
}

TEST(BoundedJpegRead, ImageOfExactlyTheRoomIsDecoded) {
  TempDirectory directory;
  const std::string name = directory.file("grey.jpg");
  encode_flat(name, 16, 8, 1, 125);
  Bytes pixels(16 * 8 * 3, 7);
  const JpegReadResult result = read_bounded(name, pixels);
  EXPECT_TRUE(result.decoded);
  EXPECT_EQ(result.width, 16);
  EXPECT_EQ(result.height, 8);
  EXPECT_EQ(result.warnings, 0);
  EXPECT_EQ(pixels, Bytes(16 * 8 * 3, 125));
}

TEST(BoundedJpegRead, ImageLargerThanTheRoomIsRefusedBeforeARowIsWritten) {
  TempDirectory directory;
  const std::string name = directory.file("grey.jpg");
  encode_flat(name, 16, 9, 1, 125);
  Bytes pixels(16 * 8 * 3, 7);
  EXPECT_FALSE(read_bounded(name, pixels).decoded);
  EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 125), 0);
}

TEST(BoundedJpegRead, RowsOfASmallImageArePackedAndTheRestIsZero) {
  TempDirectory directory;
  const std::string name = directory.file("grey.jpg");
  encode_flat(name, 8, 8, 1, 125);
  Bytes pixels(16 * 8 * 3, 7);
  EXPECT_TRUE(read_bounded(name, pixels).decoded);
  Bytes expected(16 * 8 * 3, 0);
  std::fill_n(expected.begin(), 8 * 8 * 3, static_cast<unsigned char>(125));
  EXPECT_EQ(pixels, expected);
}

TEST(BoundedJpegRead, RowsOfOtherComponentCountsAreZero) {
  TempDirectory directory;
  const std::string name = directory.file("odd.jpg");
  for (const int components : {2, 4}) {
    encode_flat(name, 16, 8, components, 125);
    Bytes pixels(16 * 8 * 3, 7);
    const JpegReadResult result = read_bounded(name, pixels);
    EXPECT_TRUE(result.decoded) << components;
    EXPECT_EQ(pixels, Bytes(16 * 8 * 3, 0)) << components;
  }
}

TEST(BoundedJpegRead, WarningsAreCounted) {
  TempDirectory directory;
  const std::string name = directory.file("cut.jpg");
  Bytes noise(64 * 64);
  for (std::size_t i = 0; i < noise.size(); ++i) {
    noise[i] = static_cast<unsigned char>(i * 2654435761U >> 13);
  }
  encode_plainly(name, 64, 64, 1, noise);
  const std::string whole = read_file(name);
  write_file(name, whole.substr(0, whole.size() / 2));
  Bytes pixels(64 * 64 * 3, 7);
  const JpegReadResult result = read_bounded(name, pixels);
  EXPECT_TRUE(result.decoded);
  EXPECT_GE(result.warnings, 1);
}

TEST(BoundedJpegRead, NullNameIsRefused) {
  Bytes pixels(300, 7);
  JpegReadResult result;
  capture_console([&] { result = read_jpeg_file(nullptr, pixels); });
  EXPECT_FALSE(result.decoded);
}

TEST(BoundedJpegRead, SixtyFourScansAreDecoded) {
  TempDirectory directory;
  const std::string name = directory.file("scans.jpg");
  encode_plainly(name, 16, 16, 1, Bytes(256, 125), one_coefficient_scans(0));
  ASSERT_TRUE(decode_plainly(name).progressive);
  Bytes pixels(16 * 16 * 3, 7);
  EXPECT_TRUE(read_bounded(name, pixels).decoded);
  EXPECT_EQ(pixels, Bytes(16 * 16 * 3, 125));
}

TEST(BoundedJpegRead, MoreThanAHundredScansAreRefused) {
  TempDirectory directory;
  const std::string name = directory.file("scans.jpg");
  encode_plainly(name, 16, 16, 1, Bytes(256, 125), one_coefficient_scans(1));
  Bytes pixels(16 * 16 * 3, 7);
  EXPECT_FALSE(read_bounded(name, pixels).decoded);
}

TEST(JpegRead, MoreThanAHundredScansAreRefused) {
  TempDirectory directory;
  const std::string name = directory.file("scans.jpg");
  encode_plainly(name, 16, 16, 1, Bytes(256, 125), one_coefficient_scans(2));
  Bytes pixels(16 * 16 * 3, 7);
  EXPECT_FALSE(read_jpeg(name, pixels).good);
}

TEST(BoundedJpegRead, ScanBombIsRefusedFast) {
  TempDirectory directory;
  const std::string name = directory.file("bomb.jpg");
  encode_plainly(name, 640, 480, 1, Bytes(640 * 480, 125), one_coefficient_scans(0));
  write_file(name, with_last_scan_repeated(read_file(name), 100000));
  Bytes pixels(640 * 480 * 3, 7);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(read_bounded(name, pixels).decoded);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
}

}  // namespace
}  // namespace depth_io::test
