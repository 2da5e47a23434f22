#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "catalogue/catalogue.h"
#include "tests/support/catalogue_fixture.h"
#include "tests/support/console_capture.h"
#include "tests/support/temp_directory.h"

// Directories of file systems that list neither "." nor "..": this program's readdir hides them.

namespace {
int hidden_entries = 0;
}  // namespace

extern "C" dirent* readdir(DIR* directory) {
  static const auto next = reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir"));
  for (;;) {
    dirent* const entry = next(directory);
    if (entry == nullptr) return nullptr;
    if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) return entry;
    ++hidden_entries;
  }
}

namespace depth_io::test {
namespace {

class DotlessDirectory : public testing::Test {
 protected:
  DotlessDirectory() {
    std::filesystem::create_directory(path());
    touch_frame(path(), "2013-04-09T14-05-07.042000");
    touch_frame(path(), "2013-04-09T14-05-08.042000");
    write_file(path() + "/other.txt", "");
    hidden_entries = 0;
  }
  std::string path() const { return directory_.file("00000000"); }
  const TempDirectory& directory() const { return directory_; }

 private:
  TempDirectory directory_;
};

TEST_F(DotlessDirectory, ItsEntriesAreCounted) {
  depth_io_ClassBufferChar1D sorted_stamps;
  depth_io_ClassBufferChar1D stamps;
  depth_io_ClassBufferDOUBLE times;
  depth_io_ClassBufferINT order;
  sorted_stamps.Create(10, 30);
  stamps.Create(10, 30);
  times.Create(10);
  order.Create(10);
  int frames = -1;
  const ConsoleTrace console = capture_console(
      [&] { frames = ListEntriesInSubDir(path().c_str(), sorted_stamps, stamps, times, order); });
  ASSERT_GT(hidden_entries, 0) << "the listing did not ask this program's readdir";
  EXPECT_EQ(frames, 2);
  EXPECT_EQ(console.output, "nbfiles 3 nbframes 2 (" + path() + ")\n");
}

TEST_F(DotlessDirectory, RecordingIsListed) {
  int folders = -1;
  capture_console([&] { folders = ListEntriesInDir(directory().path().c_str()); });
  EXPECT_EQ(folders, 1);
  EXPECT_EQ(read_file(path() + "/list.txt"),
            "0 2013-04-09T14-05-07.042000\n1 2013-04-09T14-05-08.042000\n");
}

}  // namespace
}  // namespace depth_io::test
