#include "catalogue/recording_list.h"
#include "tests/support/catalogue_fixture.h"
#include "tests/support/console_capture.h"

// A sub-directory that holds more frames than are listed of one. A million is too many for a test:
// the bound is a smaller one here.
namespace depth_io::test {
namespace {

static_assert(kMostListed == 1000000);

constexpr char kFullLine[] = "Cound not insert string, full array\n";

class BoundedListing : public testing::Test {
 protected:
  static constexpr std::size_t kMost = 3;

  std::string path(const std::string& name) const { return directory_.file(name); }

  void add_sub_directory(const std::string& name, int frames) const {
    std::filesystem::create_directory(path(name));
    for (int second = 0; second < frames; ++second) {
      touch_frame(path(name), stamp_text({2013, 4, 9, 14, 5, second, 0}));
    }
  }

  int list() {
    int sub_directories = -1;
    console_ = capture_console([&] { sub_directories = list_recording(directory_.path(), kMost); });
    return sub_directories;
  }

  /// How often the line stands in what the listing printed.
  int times_told() const {
    int times = 0;
    for (auto at = console_.output.find(kFullLine); at != std::string::npos;
         at = console_.output.find(kFullLine, at + 1)) {
      ++times;
    }
    return times;
  }

  /// Stamp texts of the first frames in directory order, by time.
  std::vector<std::string> first_stamps(const std::string& name) const {
    constexpr std::size_t kCut = sizeof "-depth.rle" - 1;
    std::vector<std::string> stamps;
    for (const std::string& file : names_in_directory_order(path(name))) {
      if (file.ends_with(".rle")) stamps.push_back(file.substr(0, file.size() - kCut));
    }
    stamps.resize(kMost);
    std::sort(stamps.begin(), stamps.end());
    return stamps;
  }

  ConsoleTrace console_;

 private:
  TempDirectory directory_;
};

TEST_F(BoundedListing, HoldsTheFirstFramesOfTheDirectoryByTimeAndTellsIt) {
  add_sub_directory("00000000", 8);
  EXPECT_EQ(list(), 1);
  const std::vector<std::string> stamps = first_stamps("00000000");
  EXPECT_EQ(read_file(path("00000000/list.txt")),
            "0 " + stamps[0] + "\n1 " + stamps[1] + "\n2 " + stamps[2] + "\n");
  EXPECT_EQ(read_file(path("info00000000.txt")),
            "start 0 " + stamps[0] + "\nend 2 " + stamps[2] + "\n");
  EXPECT_EQ(times_told(), 1);
  EXPECT_EQ(console_.keys, 0);
}

TEST_F(BoundedListing, SaysNothingOfASubDirectoryThatIsJustFull) {
  add_sub_directory("00000000", static_cast<int>(kMost));
  EXPECT_EQ(list(), 1);
  EXPECT_EQ(read_file(path("info00000000.txt")),
            "start 0 2013-04-09T14-05-00.000000\nend 2 2013-04-09T14-05-02.000000\n");
  EXPECT_EQ(times_told(), 0);
}

TEST_F(BoundedListing, BoundsEachSubDirectoryByItself) {
  for (const char* name : {"00000000", "00000001", "00000002"}) add_sub_directory(name, 4);
  add_sub_directory("00000003", 1);
  EXPECT_EQ(list(), 4);
  EXPECT_EQ(read_file(path("info.txt")), "nb_sub_dir 4\n");
  EXPECT_EQ(times_told(), 3);
}

}  // namespace
}  // namespace depth_io::test
