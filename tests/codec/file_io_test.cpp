#include "codec/file_io.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <limits>
#include <string>

#include "tests/support/temp_directory.h"

namespace depth_io::test {
namespace {

// --- What programs that the process starts inherit ----------------------------------------------

/// Whether the descriptors of an open file go on to other programs; false when it is not open.
bool is_inherited(const std::string& path) {
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    if (std::filesystem::read_symlink(entry.path(), error) != path) continue;
    const int flags = fcntl(std::stoi(entry.path().filename()), F_GETFD);
    if ((flags & FD_CLOEXEC) == 0) return true;
  }
  return false;
}

TEST(OpenFiles, AreNotInheritedByOtherPrograms) {
  const TempDirectory directory;
  const std::string path = directory.file("f");
  {
    const OutputFile file(path.c_str());
    ASSERT_TRUE(file.is_open());
    EXPECT_FALSE(is_inherited(path));
  }
  std::FILE* const stream = open_regular_file(path.c_str());
  ASSERT_NE(stream, nullptr);
  EXPECT_FALSE(is_inherited(path));
  std::fclose(stream);
  const int usual = open(path.c_str(), O_RDONLY);
  EXPECT_TRUE(is_inherited(path));
  close(usual);
}

// --- Reading ------------------------------------------------------------------------------------

TEST(ReadRegularFile, GivesAllBytes) {
  const TempDirectory directory;
  const std::string bytes("a\0b\n", 4);
  write_file(directory.file("f"), bytes);
  const auto file = read_regular_file(directory.file("f").c_str());
  ASSERT_TRUE(file);
  EXPECT_EQ(file->text(), bytes);
  EXPECT_EQ(file->bytes().size(), 4U);
}

TEST(ReadRegularFile, AnEmptyFileIsAFile) {
  const TempDirectory directory;
  write_file(directory.file("f"), "");
  const auto file = read_regular_file(directory.file("f").c_str());
  ASSERT_TRUE(file);
  EXPECT_TRUE(file->text().empty());
}

TEST(ReadRegularFile, RefusesEverythingElse) {
  const TempDirectory directory;
  ASSERT_EQ(mkfifo(directory.file("fifo").c_str(), 0600), 0);
  EXPECT_FALSE(read_regular_file(directory.file("fifo").c_str()));
  EXPECT_FALSE(read_regular_file(directory.path().c_str()));
  EXPECT_FALSE(read_regular_file("/dev/zero"));
  EXPECT_FALSE(read_regular_file(directory.file("missing").c_str()));
  EXPECT_FALSE(read_regular_file(nullptr));
}

TEST(ReadRegularFile, RefusesAFileThatIsTooLarge) {
  const TempDirectory directory;
  write_file(directory.file("f"), "x");
  ASSERT_EQ(truncate(directory.file("f").c_str(), static_cast<off_t>(kLargestFile) + 1), 0);
  EXPECT_FALSE(read_regular_file(directory.file("f").c_str()));
}

// --- Writing ------------------------------------------------------------------------------------

TEST(OutputFile, FollowsNoLink) {
  const TempDirectory directory;
  write_file(directory.file("target"), "kept");
  std::filesystem::create_symlink(directory.file("target"), directory.file("link"));
  OutputFile file(directory.file("link").c_str());
  EXPECT_FALSE(file.is_open());
  EXPECT_FALSE(file.write("x", 1));
  EXPECT_FALSE(file.close());
  EXPECT_EQ(read_file(directory.file("target")), "kept");
}

TEST(OutputFile, DoesNotWaitForAReader) {
  const TempDirectory directory;
  ASSERT_EQ(mkfifo(directory.file("fifo").c_str(), 0600), 0);
  const OutputFile file(directory.file("fifo").c_str());
  EXPECT_FALSE(file.is_open());
}

TEST(OutputFile, TellsThatADiskIsFull) {
  OutputFile file("/dev/full");
  ASSERT_TRUE(file.is_open());
  EXPECT_FALSE(file.write("x", 1));
  EXPECT_FALSE(file.close());
}

TEST(BufferedFile, TellsThatADiskIsFullAtTheEnd) {
  BufferedFile file("/dev/full");
  ASSERT_TRUE(file.is_open());
  file.write("x");
  EXPECT_FALSE(file.close());
}

TEST(BufferedFile, WritesMoreThanItsBuffer) {
  const TempDirectory directory;
  BufferedFile file(directory.file("f").c_str());
  std::string expected;
  for (int i = 0; i < 20000; ++i) {
    file.write_int(i);
    file.write(" ");
    expected += std::to_string(i) + " ";
  }
  const std::string large(100000, 'x');
  file.write(large);
  file.write_bytes({'y'});
  EXPECT_TRUE(file.close());
  EXPECT_EQ(read_file(directory.file("f")), expected + large + "y");
}

TEST(BufferedFile, WritesIntegersAsTheyAre) {
  const TempDirectory directory;
  const std::string path = directory.file("numbers");
  std::string expected;
  BufferedFile file(path.c_str());
  const auto write = [&](int number) {
    file.write_line(number, number);
    expected += std::to_string(number) + " " + std::to_string(number) + "\n";
  };
  for (int number = -1100; number < 12000; ++number) write(number);
  for (int number : {99999, 100000, 123456, 999000, 999999, 1000000, 1000001, 76543210})
    write(number);
  write(std::numeric_limits<int>::max());
  write(std::numeric_limits<int>::min());
  ASSERT_TRUE(file.close());
  EXPECT_EQ(read_file(path), expected);
}

TEST(BufferedFile, WritesSixDecimals) {
  const TempDirectory directory;
  BufferedFile file(directory.file("f").c_str());
  for (const float number : {0.0F, -1.5F, 0.1F, 533.0F, std::numeric_limits<float>::max(),
                             std::numeric_limits<float>::infinity()}) {
    file.write_fixed(number);
    file.write("\n");
  }
  EXPECT_TRUE(file.close());
  EXPECT_EQ(read_file(directory.file("f")),
            "0.000000\n-1.500000\n0.100000\n533.000000\n"
            "340282346638528859811704183484516925440.000000\ninf\n");
}

TEST(ReplacedFile, StandsUnderItsNameOnlyWhenPutInPlace) {
  const TempDirectory directory;
  write_file(directory.file("f"), "old");
  ReplacedFile file(directory.file("f"));
  file.content().write("new");
  EXPECT_EQ(read_file(directory.file("f")), "old");
  EXPECT_TRUE(file.put_in_place());
  EXPECT_EQ(read_file(directory.file("f")), "new");
}

TEST(ReplacedFile, ReplacesALinkAndNotItsTarget) {
  const TempDirectory directory;
  write_file(directory.file("target"), "kept");
  std::filesystem::create_symlink(directory.file("target"), directory.file("link"));
  ReplacedFile file(directory.file("link"));
  file.content().write("new");
  EXPECT_TRUE(file.put_in_place());
  EXPECT_EQ(read_file(directory.file("target")), "kept");
  EXPECT_FALSE(std::filesystem::is_symlink(directory.file("link")));
}

TEST(ReplacedFile, TwoOfOneNameAreBothWritten) {
  const TempDirectory directory;
  ReplacedFile first(directory.file("f"));
  ReplacedFile second(directory.file("f"));
  first.content().write("of the first");
  second.content().write("of the second");
  EXPECT_TRUE(second.put_in_place());
  EXPECT_EQ(read_file(directory.file("f")), "of the second");
  EXPECT_TRUE(first.put_in_place());
  EXPECT_EQ(read_file(directory.file("f")), "of the first");
}

TEST(ReplacedFile, FileInItsWayIsNotWrittenThrough) {
  // The names that a killed process of the same number could have left, or somebody have guessed.
  const TempDirectory directory;
  write_file(directory.file("kept"), "kept");
  constexpr int kGuesses = 1000;
  for (int i = 0; i < kGuesses; ++i) {
    const std::string guess = ".part-" + std::to_string(getpid()) + "-" + std::to_string(i);
    std::filesystem::create_hard_link(directory.file("kept"), directory.file(guess));
  }
  ReplacedFile file(directory.file("f"));
  file.content().write("new");
  EXPECT_TRUE(file.put_in_place());
  EXPECT_EQ(read_file(directory.file("f")), "new");
  EXPECT_EQ(read_file(directory.file("kept")), "kept");
  EXPECT_EQ(std::filesystem::hard_link_count(directory.file("kept")), kGuesses);
}

TEST(OutputFile, ThatMustBeNewLeavesWhatIsThere) {
  const TempDirectory directory;
  write_file(directory.file("f"), "old");
  OutputFile file(directory.file("f").c_str(), Creation::kNew);
  EXPECT_FALSE(file.is_open());
  EXPECT_FALSE(file.close());
  EXPECT_EQ(read_file(directory.file("f")), "old");
}

TEST(RegularFile, IsTellableFromWhatIsNone) {
  const TempDirectory directory;
  write_file(directory.file("f"), "");
  EXPECT_TRUE(is_regular_file(directory.file("f").c_str()));
  EXPECT_FALSE(is_regular_file(directory.path().c_str()));
  EXPECT_FALSE(is_regular_file(directory.file("missing").c_str()));
  EXPECT_FALSE(is_regular_file("/dev/null"));
  EXPECT_FALSE(is_regular_file(nullptr));
}

TEST(ReplacedFile, LeavesNothingBehindWhenItFails) {
  const TempDirectory directory;
  std::filesystem::create_directories(directory.file("f") + "/in-the-way");
  {
    ReplacedFile file(directory.file("f"));
    file.content().write("new");
    EXPECT_FALSE(file.put_in_place());
  }
  int entries = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory.path())) {
    ++entries;
  }
  EXPECT_EQ(entries, 1);
}

}  // namespace
}  // namespace depth_io::test
