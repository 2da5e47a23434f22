#include "codec/ppm_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/support/console_capture.h"
#include "tests/support/temp_directory.h"

namespace depth_io::test {
namespace {

using Plane = std::vector<float>;

struct Saved {
  bool result = false;
  ConsoleTrace trace;
};

Saved save(const std::string& path, int width, int height, Plane red, Plane green, Plane blue) {
  Saved saved;
  saved.trace = capture_console([&] {
    saved.result = __SaveAsPpm(width, height, red.data(), green.data(), blue.data(), Text(path));
  });
  return saved;
}

std::string could_not_open(const std::string& path) {
  return " - ERROR - SaveAsPpm() failed: file '" + path + "' could't be opened for writing\n";
}

void expect_failure(const std::string& path) {
  const Saved saved = save(path, 1, 1, {1}, {2}, {3});
  EXPECT_FALSE(saved.result);
  EXPECT_EQ(saved.trace.output, could_not_open(path));
  EXPECT_EQ(saved.trace.keys, 1);
}

/// The byte that a red value is stored as.
int stored_byte(float value) {
  const TempDirectory directory;
  const std::string path = directory.file("one.ppm");
  EXPECT_TRUE(save(path, 1, 1, {value}, {0}, {0}).result);
  const std::string header = "P6\n#NoComment\n1 1\n255\n";
  const std::string bytes = read_file(path);
  if (bytes.size() != header.size() + 3) return -1;
  return static_cast<unsigned char>(bytes[header.size()]);
}

TEST(PpmFile, IsHeaderThenRedGreenBlueOfEachPixelInOrder) {
  const TempDirectory directory;
  const std::string path = directory.file("image.ppm");
  const Saved saved = save(path, 3, 2, {65, 66, 67, 68, 69, 70}, {97, 98, 99, 100, 101, 102},
                           {48, 49, 50, 51, 52, 53});
  EXPECT_TRUE(saved.result);
  EXPECT_EQ(read_file(path), "P6\n#NoComment\n3 2\n255\nAa0Bb1Cc2Dd3Ee4Ff5");
}

TEST(PpmFile, SuccessPrintsNothingAndDoesNotWait) {
  const TempDirectory directory;
  const Saved saved = save(directory.file("image.ppm"), 1, 1, {1}, {2}, {3});
  EXPECT_TRUE(saved.result);
  EXPECT_EQ(saved.trace.output, "");
  EXPECT_EQ(saved.trace.keys, 0);
}

TEST(PpmFile, ValuesAreTruncatedTowardZero) {
  EXPECT_EQ(stored_byte(0.0f), 0);
  EXPECT_EQ(stored_byte(0.999f), 0);
  EXPECT_EQ(stored_byte(-0.999f), 0);
  EXPECT_EQ(stored_byte(127.5f), 127);
  EXPECT_EQ(stored_byte(255.99f), 255);
}

TEST(PpmFile, ValuesOutsideAByteWrapAround) {
  EXPECT_EQ(stored_byte(256.0f), 0);
  EXPECT_EQ(stored_byte(256.7f), 0);
  EXPECT_EQ(stored_byte(300.0f), 44);
  EXPECT_EQ(stored_byte(-1.0f), 255);
  EXPECT_EQ(stored_byte(-1.9f), 255);
  EXPECT_EQ(stored_byte(-256.0f), 0);
  EXPECT_EQ(stored_byte(-257.5f), 255);
  EXPECT_EQ(stored_byte(65535.0f), 255);
  EXPECT_EQ(stored_byte(16777215.0f), 255);
  EXPECT_EQ(stored_byte(2147483520.0f), 128);
  EXPECT_EQ(stored_byte(-2147483648.0f), 0);
}

TEST(PpmFile, ValuesThatFitNoIntAreZero) {
  using Limits = std::numeric_limits<float>;
  for (const float value : {2147483648.0f, 3e9f, 1e20f, -1e20f, Limits::max(), Limits::lowest(),
                            Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
    EXPECT_EQ(stored_byte(value), 0) << value;
  }
}

TEST(PpmFile, RandomImageIsStoredWhole) {
  constexpr int kWidth = 97;
  constexpr int kHeight = 61;
  std::mt19937 random(5);
  std::uniform_int_distribution<int> values(-1000, 1000);
  Plane planes[3];
  std::string expected = "P6\n#NoComment\n97 61\n255\n";
  for (int i = 0; i < kWidth * kHeight; ++i) {
    for (Plane& plane : planes) {
      const int value = values(random);
      plane.push_back(static_cast<float>(value) + (value < 0 ? -0.25f : 0.25f));
      expected += static_cast<char>(static_cast<unsigned>(value) & 255u);
    }
  }
  const TempDirectory directory;
  const std::string path = directory.file("image.ppm");
  EXPECT_TRUE(save(path, kWidth, kHeight, planes[0], planes[1], planes[2]).result);
  EXPECT_EQ(read_file(path), expected);
}

TEST(PpmFile, ImageWithoutPixelsIsTheHeader) {
  const TempDirectory directory;
  const std::string path = directory.file("empty.ppm");
  const int sizes[][2] = {{0, 0}, {0, 5}, {4, 0}, {-2, 3}, {3, -2}};
  for (const auto& [width, height] : sizes) {
    EXPECT_TRUE(save(path, width, height, {1}, {2}, {3}).result);
    EXPECT_EQ(read_file(path), "P6\n#NoComment\n" + std::to_string(width) + " " +
                                   std::to_string(height) + "\n255\n");
  }
}

TEST(PpmFile, MissingPlaneIsReportedAndWaits) {
  const TempDirectory directory;
  const std::string path = directory.file("image.ppm");
  for (int missing = 0; missing < 3; ++missing) {
    const Saved saved = save(path, 1, 1, missing == 0 ? Plane() : Plane{1},
                             missing == 1 ? Plane() : Plane{2}, missing == 2 ? Plane() : Plane{3});
    EXPECT_FALSE(saved.result);
    EXPECT_NE(saved.trace.output, "");
    EXPECT_EQ(saved.trace.keys, 1);
  }
}

TEST(PpmFile, MissingNameIsReportedAndWaits) {
  float plane[] = {1};
  bool result = true;
  const ConsoleTrace trace =
      capture_console([&] { result = __SaveAsPpm(1, 1, plane, plane, plane, nullptr); });
  EXPECT_FALSE(result);
  EXPECT_NE(trace.output, "");
  EXPECT_EQ(trace.keys, 1);
}

TEST(PpmFile, ReplacesALongerFile) {
  const TempDirectory directory;
  const std::string path = directory.file("image.ppm");
  write_file(path, std::string(10000, '#'));
  EXPECT_TRUE(save(path, 1, 1, {65}, {66}, {67}).result);
  EXPECT_EQ(read_file(path), "P6\n#NoComment\n1 1\n255\nABC");
}

TEST(PpmFile, MissingDirectoryIsReportedAndWaits) {
  const TempDirectory directory;
  expect_failure(directory.file("missing/image.ppm"));
}

TEST(PpmFile, EmptyNameIsReportedAndWaits) { expect_failure(""); }

TEST(PpmFile, DirectoryInPlaceOfTheFileIsReportedAndWaits) {
  const TempDirectory directory;
  expect_failure(directory.path());
}

TEST(PpmFile, NameThatIsTooLongIsReportedWholeAndWaits) {
  const TempDirectory directory;
  expect_failure(directory.file(std::string(5000, 'n')));
}

// A link in a recording directory could name any file of the user.
TEST(PpmFile, SymbolicLinkIsNotFollowed) {
  const TempDirectory directory;
  const std::string target = directory.file("target");
  const std::string link = directory.file("image.ppm");
  write_file(target, "precious");
  ASSERT_EQ(symlink(target.c_str(), link.c_str()), 0);
  expect_failure(link);
  EXPECT_EQ(read_file(target), "precious");
}

TEST(PpmFile, FullDiskIsReportedAndWaits) {
  const std::string path = "/dev/full";
  if (access(path.c_str(), W_OK) != 0) GTEST_SKIP() << "no " << path << " here";
  const Saved saved = save(path, 1, 1, {1}, {2}, {3});
  EXPECT_FALSE(saved.result);
  EXPECT_NE(saved.trace.output, "");
  EXPECT_EQ(saved.trace.keys, 1);
}

}  // namespace
}  // namespace depth_io::test
