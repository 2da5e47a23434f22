#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "catalogue/catalogue.h"
#include "tests/support/catalogue_fixture.h"
#include "tests/support/console_capture.h"
#include "tests/support/process_limits.h"
#include "tests/support/temp_directory.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

const std::string kStamp = "2013-04-09T14-05-07.042000";
const std::string kList = "0 " + kStamp + "\n";
const std::string kInfo = "start 0 " + kStamp + "\nend 0 " + kStamp + "\n";

int list(const std::string& directory, ConsoleTrace* console = nullptr) {
  int result = -1;
  const ConsoleTrace trace = capture_console([&] { result = ListEntriesInDir(directory.c_str()); });
  if (console != nullptr) *console = trace;
  return result;
}

int read_info(const std::string& directory, ConsoleTrace* console = nullptr) {
  Text text(directory);
  int result = -1;
  const ConsoleTrace trace = capture_console([&] { result = ReadInfoNbSubDir(text); });
  if (console != nullptr) *console = trace;
  return result;
}

/// A recording with one sub-directory "00000000" of one frame.
class HostileDirectory : public testing::Test {
 protected:
  HostileDirectory() { add_folder("00000000"); }
  std::string add_folder(const std::string& name) {
    const std::string folder = path(name);
    fs::create_directory(folder);
    touch_frame(folder, kStamp);
    return folder;
  }
  std::string path() const { return directory_.path(); }
  std::string path(const std::string& name) const { return directory_.file(name); }
  TempDirectory directory_;
  TempDirectory elsewhere_;
};

// --- Many sub-directories -----------------------------------------------------------------------

class FewDescriptors : public HostileDirectory, public testing::WithParamInterface<rlim_t> {};

TEST_P(FewDescriptors, ListFifteenHundredFolders) {
  for (int i = 1; i < 1500; ++i) add_folder(std::to_string(10'000'000 + i));
  const DescriptorLimit limit(GetParam());
  EXPECT_EQ(list(path()), 1500);
  EXPECT_EQ(read_file(path("info.txt")), "nb_sub_dir 1500\n");
  int lists = 0;
  for (const auto& entry : fs::directory_iterator(path())) {
    if (entry.is_directory() && read_file(entry.path().string() + "/list.txt") == kList) ++lists;
  }
  EXPECT_EQ(lists, 1500);
}

INSTANTIATE_TEST_SUITE_P(Limits, FewDescriptors, testing::Values(64, 128, 256));

TEST_F(HostileDirectory, EveryDescriptorIsClosed) {
  add_folder("00000001");
  fs::create_directory(path("empty"));
  touch(path("file"));
  const int before = open_descriptors();
  list(path());
  list(path("missing"));
  read_info(path());
  read_info(path("missing"));
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(HostileDirectory, ListingOneFolderClosesIt) {
  depth_io_ClassBufferChar1D sorted;
  depth_io_ClassBufferChar1D stamps;
  depth_io_ClassBufferDOUBLE unix_times;
  depth_io_ClassBufferINT index;
  sorted.Create(10, 30);
  stamps.Create(10, 30);
  unix_times.Create(10);
  index.Create(10);
  const int before = open_descriptors();
  capture_console([&] {
    for (int i = 0; i < 20; ++i) {
      ListEntriesInSubDir(path("00000000").c_str(), sorted, stamps, unix_times, index);
    }
  });
  EXPECT_EQ(open_descriptors(), before);
}

// --- Names --------------------------------------------------------------------------------------

TEST_F(HostileDirectory, LongestFolderNameThatHasAnInfoFileIsListed) {
  const std::string name(247, 'f');
  add_folder(name);
  EXPECT_EQ(list(path()), 2);
  EXPECT_EQ(read_file(path(name) + "/list.txt"), kList);
  EXPECT_EQ(read_file(path("info" + name + ".txt")), kInfo);
}

TEST_F(HostileDirectory, FolderNameTooLongForAnInfoFileDoesNoHarm) {
  const std::string name(255, 'f');
  add_folder(name);
  list(path());
  EXPECT_EQ(read_file(path("00000000/list.txt")), kList);
  for (const std::string& entry : names_in_directory_order(path())) {
    EXPECT_TRUE(entry == name || entry == "00000000" || entry == "info00000000.txt" ||
                entry == "info.txt")
        << entry;
  }
}

TEST_F(HostileDirectory, DeepRecordingIsListedOrLeftAlone) {
  std::string deep = path();
  for (int i = 0; i < 6; ++i) {
    deep += "/" + std::string(200, static_cast<char>('a' + i));
    fs::create_directory(deep);
  }
  fs::create_directory(deep + "/00000000");
  touch_frame(deep + "/00000000", kStamp);
  if (list(deep) == 1) {
    EXPECT_EQ(read_file(deep + "/00000000/list.txt"), kList);
  }
  EXPECT_EQ(names_in_directory_order(path()).size(), 2U) << "a cut path names another place";
}

TEST_F(HostileDirectory, PathBeyondAnyLimitIsNothing) {
  const std::string given = path() + "/" + std::string(100'000, 'd');
  EXPECT_EQ(list(given), 0);
  ConsoleTrace console;
  EXPECT_EQ(read_info(given, &console), 0);
  EXPECT_EQ(console.keys, 1);
  EXPECT_NE(console.output.find("FAILED - run 'ListEntriesInDir(directory)' before\n"),
            std::string::npos);
}

TEST_F(HostileDirectory, PercentSignsInNamesArePlainText) {
  add_folder("%s%n%d");
  ConsoleTrace console;
  EXPECT_EQ(list(path(), &console), 2);
  EXPECT_NE(console.output.find("'%s%n%d' subdir 1 nbfiles 1 (" + path("info%s%n%d.txt") + ")\n"),
            std::string::npos);
}

TEST_F(HostileDirectory, FolderOfOddNamesOnlyIsNotCounted) {
  const std::string folder = path("odd");
  fs::create_directory(folder);
  for (const char* name : {".rle", "a.rle", "-depth.rle", "2013 04-depth.rle", "\n\n-depth.rle"}) {
    touch(folder + "/" + name);
  }
  touch(folder + "/" + std::string(40, '1') + "-depth.rle");
  EXPECT_EQ(list(path()), 1);
  EXPECT_FALSE(fs::exists(folder + "/list.txt"));
  EXPECT_FALSE(fs::exists(path("infoodd.txt")));
}

TEST_F(HostileDirectory, OddNamesAreNotInTheList) {
  for (const char* name : {".rle", "-depth.rle", "20 3-depth.rle", "2\t3-depth.rle"}) {
    touch(path("00000000/") + name);
  }
  touch(path("00000000/" + std::string(30, '1') + "-depth.rle"));
  EXPECT_EQ(list(path()), 1);
  EXPECT_EQ(read_file(path("00000000/list.txt")), kList);
}

// --- Links --------------------------------------------------------------------------------------

TEST_F(HostileDirectory, LinkedFolderIsNotWrittenTo) {
  touch_frame(elsewhere_.path(), kStamp);
  fs::create_directory_symlink(elsewhere_.path(), path("linked"));
  EXPECT_EQ(list(path()), 1);
  EXPECT_FALSE(fs::exists(elsewhere_.file("list.txt")));
  EXPECT_FALSE(fs::exists(path("infolinked.txt")));
}

TEST_F(HostileDirectory, LinkToItselfIsPassedOver) {
  fs::create_directory_symlink(path("loop"), path("loop"));
  fs::create_directory_symlink(path(), path("here"));
  EXPECT_EQ(list(path()), 1);
}

struct LinkedFile {
  const char* what;
  const char* name;
};

class LinkedFiles : public HostileDirectory, public testing::WithParamInterface<LinkedFile> {};

TEST_P(LinkedFiles, AreNotWrittenThrough) {
  write_file(elsewhere_.file("precious"), "precious");
  fs::create_symlink(elsewhere_.file("precious"), path(GetParam().name));
  EXPECT_EQ(list(path()), 1);
  EXPECT_EQ(read_file(elsewhere_.file("precious")), "precious");
}

TEST_P(LinkedFiles, ThatDangleMakeNoFileElsewhere) {
  fs::create_symlink(elsewhere_.file("new"), path(GetParam().name));
  EXPECT_EQ(list(path()), 1);
  EXPECT_FALSE(fs::exists(elsewhere_.file("new")));
}

TEST_P(LinkedFiles, GiveWayToRealOnes) {
  write_file(elsewhere_.file("precious"), "precious");
  fs::create_symlink(elsewhere_.file("precious"), path(GetParam().name));
  list(path());
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path(GetParam().name))));
}

TEST_P(LinkedFiles, FifoIsNotWaitedFor) {
  ASSERT_EQ(mkfifo(path(GetParam().name).c_str(), 0600), 0);
  EXPECT_EQ(list(path()), 1);
}

TEST_P(LinkedFiles, FolderInTheFilesPlaceDoesNoHarm) {
  fs::create_directory(path(GetParam().name));
  touch(path(GetParam().name) + "/kept");
  EXPECT_EQ(list(path()), 1);
  EXPECT_TRUE(fs::exists(path(GetParam().name) + "/kept"));
  EXPECT_LE(names_in_directory_order(path()).size(), 3U) << "no temporary file stays";
  EXPECT_LE(names_in_directory_order(path("00000000")).size(), 2U);
}

INSTANTIATE_TEST_SUITE_P(Files, LinkedFiles,
                         testing::Values(LinkedFile{"List", "00000000/list.txt"},
                                         LinkedFile{"FolderInfo", "info00000000.txt"},
                                         LinkedFile{"Info", "info.txt"}),
                         [](const auto& row) { return row.param.what; });

// --- What cannot be read or written -------------------------------------------------------------

TEST_F(HostileDirectory, FifoInTheRecordingIsPassedOver) {
  ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
  EXPECT_EQ(list(path()), 1);
}

TEST_F(HostileDirectory, ReadOnlyRecordingStaysAsItIs) {
  chmod(path().c_str(), 0555);
  chmod(path("00000000").c_str(), 0555);
  {
    const OrdinaryUser user;
    ASSERT_TRUE(user.ordinary());
    list(path());
  }
  EXPECT_EQ(names_in_directory_order(path()).size(), 1U);
  EXPECT_EQ(names_in_directory_order(path("00000000")).size(), 1U);
  chmod(path("00000000").c_str(), 0700);
  chmod(path().c_str(), 0700);
}

TEST_F(HostileDirectory, UnreadableFolderIsPassedOver) {
  add_folder("00000001");
  chmod(path().c_str(), 0777);
  chmod(path("00000000").c_str(), 0777);
  chmod(path("00000001").c_str(), 0000);
  int folders = -1;
  {
    const OrdinaryUser user;
    ASSERT_TRUE(user.ordinary());
    folders = list(path());
  }
  EXPECT_EQ(folders, 1);
  chmod(path("00000001").c_str(), 0700);
}

TEST_F(HostileDirectory, UnreadableRecordingIsNothing) {
  chmod(path().c_str(), 0000);
  int folders = -1;
  {
    const OrdinaryUser user;
    ASSERT_TRUE(user.ordinary());
    folders = list(path());
  }
  EXPECT_EQ(folders, 0);
  chmod(path().c_str(), 0700);
  EXPECT_FALSE(fs::exists(path("info.txt")));
}

// --- Reading odd info files ---------------------------------------------------------------------

class OddInfo : public HostileDirectory {
 protected:
  void expect_not_opened() {
    ConsoleTrace console;
    EXPECT_EQ(read_info(path(), &console), 0);
    EXPECT_EQ(console.output, "opening for reading nb sub directories '" + path("info.txt") +
                                  "'\nFAILED - run 'ListEntriesInDir(directory)' before\n");
    EXPECT_EQ(console.keys, 1);
  }
};

TEST_F(OddInfo, FifoIsNotWaitedFor) {
  ASSERT_EQ(mkfifo(path("info.txt").c_str(), 0600), 0);
  expect_not_opened();
}

TEST_F(OddInfo, FolderIsNotOpened) {
  fs::create_directory(path("info.txt"));
  expect_not_opened();
}

TEST_F(OddInfo, DeviceIsNotOpened) {
  fs::create_symlink("/dev/zero", path("info.txt"));
  expect_not_opened();
}

TEST_F(OddInfo, HugeFileIsNotOpened) {
  touch(path("info.txt"));
  fs::resize_file(path("info.txt"), std::uintmax_t{65} * 1024 * 1024);
  expect_not_opened();
}

TEST_F(OddInfo, NullIsNoDirectory) {
  int result = -1;
  capture_console([&] { result = ReadInfoNbSubDir(nullptr); });
  EXPECT_EQ(result, 0);
}

}  // namespace
}  // namespace depth_io::test
