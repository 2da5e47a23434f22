#include "codec/calibration_dump.h"

#include <sys/stat.h>

#include <cstdint>
#include <cstring>
#include <limits>

#include "tests/support/frame_fixture.h"
#include "tests/support/german_locale.h"
#include "tests/support/no_space_left.h"

// The uncompressed depth map for a calibration tool.
namespace depth_io::test {
namespace {

constexpr std::size_t kPixels = 640 * 480;
constexpr std::size_t kFileSize = 1228808;

std::string announcement(const std::string& name) {
  return "calibration_save_uncompressed\ncalibration_save_uncompressed depth '" + name + "'\n";
}

std::string failure_line(const std::string& name) {
  return announcement(name) + "calibration_save_uncomressed - failed to open '" + name +
         "' for writing\n";
}

class CalibrationDump : public ::testing::Test {
 protected:
  CalibrationDump() {
    for (std::size_t i = 0; i < kPixels; ++i) depth_.push_back(0.25F * static_cast<float>(i));
  }
  ConsoleTrace save(const std::string& name, int width = 640, int height = 480) {
    Text file(name);
    return capture_console(
        [&] { calibration_save_uncompressed(width, height, depth_.data(), file); });
  }
  std::string path() const { return directory_.file("depth.raw"); }
  std::vector<float> stored() const {
    const std::string bytes = read_file(path());
    std::vector<float> depths(bytes.size() / sizeof(float) - 2);
    std::memcpy(depths.data(), bytes.data() + 8, depths.size() * sizeof(float));
    return depths;
  }

  TempDirectory directory_;
  std::vector<float> depth_;
};

TEST_F(CalibrationDump, WholeOutputOfASavedMap) {
  const ConsoleTrace trace = save(path());
  EXPECT_EQ(trace.output, announcement(path()));
  EXPECT_EQ(trace.keys, 0);
}

TEST_F(CalibrationDump, FileBeginsWithHeightAndWidth) {
  save(path());
  EXPECT_EQ(read_file(path()).substr(0, 8), std::string("\xE0\x01\x00\x00\x80\x02\x00\x00", 8));
}

TEST_F(CalibrationDump, FileHasItsFixedLength) {
  save(path());
  EXPECT_EQ(std::filesystem::file_size(path()), kFileSize);
}

TEST_F(CalibrationDump, DepthsFollowRowByRowUnchanged) {
  save(path());
  EXPECT_TRUE(stored() == depth_);
}

TEST_F(CalibrationDump, OddValuesKeepEveryBit) {
  const std::uint32_t odd[] = {0x7FC12345U, 0xFFC00001U, 0x7F800000U, 0xFF800000U,
                               0x80000000U, 0x00000001U, 0x7F7FFFFFU};
  for (std::size_t i = 0; i < std::size(odd); ++i) {
    std::memcpy(&depth_[i], &odd[i], sizeof odd[i]);
  }
  save(path());
  EXPECT_EQ(read_file(path()).substr(8, sizeof odd),
            std::string(reinterpret_cast<const char*>(odd), sizeof odd));
}

TEST_F(CalibrationDump, SizesGivenByTheCallerAreNotUsed) {
  for (const auto& [width, height] :
       {std::pair{320, 240}, std::pair{0, 0}, std::pair{-1, -1}, std::pair{480, 640},
        std::pair{std::numeric_limits<int>::max(), std::numeric_limits<int>::max()}}) {
    save(path(), width, height);
    EXPECT_EQ(std::filesystem::file_size(path()), kFileSize);
    EXPECT_EQ(read_file(path()).substr(0, 8), std::string("\xE0\x01\x00\x00\x80\x02\x00\x00", 8));
    EXPECT_TRUE(stored() == depth_);
  }
}

TEST_F(CalibrationDump, EarlierFileIsReplacedWhole) {
  write_file(path(), std::string(2 * kFileSize, 'x'));
  save(path());
  EXPECT_EQ(std::filesystem::file_size(path()), kFileSize);
  EXPECT_TRUE(stored() == depth_);
}

TEST_F(CalibrationDump, FileIsTheSameUnderALocaleWithADecimalComma) {
  save(path());
  const std::string before = read_file(path());
  const GermanLocale locale;
  if (!locale.active()) GTEST_SKIP() << "no locale with a decimal comma";
  save(path());
  EXPECT_TRUE(read_file(path()) == before);
}

TEST_F(CalibrationDump, MapIsNotChanged) {
  const std::vector<float> before = depth_;
  save(path());
  EXPECT_TRUE(depth_ == before);
}

// --- Files that cannot be written ---------------------------------------------------------------

TEST_F(CalibrationDump, FileThatCannotBeOpenedIsALineWithoutAKey) {
  std::filesystem::create_directory(directory_.file("folder"));
  for (const std::string& name : {directory_.file("missing/depth.raw"), directory_.file("folder"),
                                  directory_.path() + "/" + std::string(300, 'a')}) {
    const ConsoleTrace trace = save(name);
    EXPECT_EQ(trace.output, failure_line(name));
    EXPECT_EQ(trace.keys, 0);
  }
}

TEST_F(CalibrationDump, EmptyNameCannotBeOpened) { EXPECT_EQ(save("").output, failure_line("")); }

TEST_F(CalibrationDump, LinkIsNotFollowed) {
  write_file(directory_.file("precious"), "precious");
  std::filesystem::create_symlink(directory_.file("precious"), path());
  EXPECT_EQ(save(path()).output, failure_line(path()));
  EXPECT_EQ(read_file(directory_.file("precious")), "precious");
}

TEST_F(CalibrationDump, FifoIsNotWaitedFor) {
  ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
  EXPECT_EQ(save(path()).output, failure_line(path()));
}

TEST_F(CalibrationDump, FullDiskIsALineWithoutAKey) {
  Text file(path());
  const PrintHook hook;
  const KeyCounter keys;
  {
    const NoSpaceLeft full(100'000);
    calibration_save_uncompressed(640, 480, depth_.data(), file);
  }
  EXPECT_EQ(hook.output(), failure_line(path()));
  EXPECT_EQ(keys.count(), 0);
}

TEST_F(CalibrationDump, LongNameThatTheSystemTakesIsNotCut) {
  std::string name = directory_.path();
  while (name.size() < 3000) name += "/.";
  name += "/depth.raw";
  EXPECT_EQ(save(name).output, announcement(name));
  EXPECT_EQ(std::filesystem::file_size(path()), kFileSize);
}

TEST_F(CalibrationDump, NoMapAndNoNameWriteNothing) {
  Text file(path());
  capture_console([&] { calibration_save_uncompressed(640, 480, depth_.data(), nullptr); });
  capture_console([&] { calibration_save_uncompressed(640, 480, nullptr, file); });
  EXPECT_FALSE(std::filesystem::exists(path()) && std::filesystem::file_size(path()) == kFileSize);
}

}  // namespace
}  // namespace depth_io::test
