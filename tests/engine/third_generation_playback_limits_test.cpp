#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/catalogue_fixture.h"
#include "tests/support/third_generation_fixture.h"

// Playback of folders that hold more, or other things, than an engine wrote.
namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

Moment at(int minute, int second = 0, int millisecond = 0) {
  return {2013, 4, 9, 14, minute, second, millisecond};
}

/// A minute folder of 14:05 to be filled by hand.
class ThirdOddFolder : public testing::Test {
 protected:
  ThirdOddFolder() { fs::create_directories(folder()); }
  std::string path() const { return directory_.path(); }
  std::string folder(int minute = 5) const { return minute_folder(path(), at(minute)); }
  /// Empty label maps, one in each millisecond.
  void touch_stamps(int count) {
    for (int i = 0; i < count; ++i) {
      touch_frame(folder(), stamp_of(at(5, i / 1000, i % 1000)));
    }
  }
  TempDirectory directory_;
};

// --- Full tables --------------------------------------------------------------------------------

class ThirdFullFolder : public ThirdOddFolder, public testing::WithParamInterface<int> {};

TEST_P(ThirdFullFolder, TableBoundsTheFrames) {
  const int most = std::min(GetParam(), 10'000);
  touch_stamps(GetParam());
  ThirdPlayer player(path(), at(5, 59), at(6));
  const auto found = observe([&] {
    player.engine.param.ReadFolder_Current_Minute = 5;
    return player.engine.Read_FindNextFolder_and_update_CurrentTime(0);
  });
  EXPECT_TRUE(found.result);
  EXPECT_EQ(player.engine.LAST_STAMP_INDEX, most - 1);
  EXPECT_EQ(player.engine.SortedStamps.GetCounter(), most);
  EXPECT_EQ(player.engine.SortedStamps.N1D, 10'000);
}

TEST_P(ThirdFullFolder, FramesBeforeTheStartArePassedOverUpToTheNextFolder) {
  touch_stamps(GetParam());
  ThirdPlayer player(path(), at(5, 59), at(6));
  int passed = 0;
  bool sorted = true;
  std::string before;
  {
    ConsoleCapture console;
    while (passed < 20'000 && player.engine.Read(0)) {
      ++passed;
      sorted = sorted && before < player.engine.getCurrentTimestamp();
      before = player.engine.getCurrentTimestamp();
    }
  }
  EXPECT_EQ(passed, std::min(GetParam(), 10'000));
  EXPECT_TRUE(sorted);
  EXPECT_TRUE(player.engine.REACHED_WANTED_STOP_TIME);
}

INSTANTIATE_TEST_SUITE_P(Stamps, ThirdFullFolder, testing::Values(9'999, 10'000, 10'001, 12'345));

TEST_F(ThirdOddFolder, FullFolderIsFollowedByAShortOne) {
  touch_stamps(10'001);
  record_tree(path(), {{at(6, 1), 1.5F}, {at(6, 2), 2.5F}});
  ThirdPlayer player(path(), at(5, 59), at(7));
  EXPECT_EQ(player.stamps(20'000),
            (std::vector<std::string>{stamp_of(at(6, 1)), stamp_of(at(6, 2))}));
}

// --- Other things in a minute folder ------------------------------------------------------------

TEST_F(ThirdOddFolder, OddNamesArePassedOver) {
  record_tree(path(), {{at(5, 1), 1.5F}});
  for (const char* name : {".rle", "a.rle", "-depth.rle", "2013 04-depth.rle", "20\n3-depth.rle"}) {
    touch(folder() + name);
  }
  touch(folder() + std::string(30, '2') + "-depth.rle");
  ThirdPlayer player(path(), at(5), at(6));
  EXPECT_EQ(player.stamps(100), std::vector<std::string>{stamp_of(at(5, 1))});
}

TEST_F(ThirdOddFolder, OtherFilesAreNoFrames) {
  touch(folder() + "notes.txt");
  touch(folder() + "list.txt");
  ThirdPlayer player(path(), at(5), at(6));
  EXPECT_EQ(player.read().output,
            searching_line(folder()) + searching_line(folder(6)) + kStopLine + kNoContentLine);
}

TEST_F(ThirdOddFolder, FolderNamedLikeAFrameFails) {
  fs::create_directory(folder() + stamp_of(at(5)) + "-depth.rle");
  ThirdPlayer player(path(), at(5), at(6));
  EXPECT_FALSE(player.read().result);
}

TEST_F(ThirdOddFolder, LinkToADeviceFails) {
  fs::create_symlink("/dev/zero", folder() + stamp_of(at(5)) + "-depth.rle");
  ThirdPlayer player(path(), at(5), at(6));
  EXPECT_FALSE(player.read().result);
}

TEST_F(ThirdOddFolder, StampThatIsNoMomentIsNotLoadedBeforeTheStart) {
  touch_frame(folder(), "2013-04-09T99-05-07.042000");
  ThirdPlayer player(path(), at(5), at(6));
  const auto seen = player.read();
  EXPECT_TRUE(seen.result);
  EXPECT_FALSE(player.engine.REACHED_WANTED_START_TIME);
  EXPECT_EQ(seen.output, listed_line(1, 1, folder()) + searching_line(folder()));
}

TEST_F(ThirdOddFolder, StampWithLettersIsReportedTwice) {
  touch_frame(folder(), "2013-04-09T14-05-xx.000000");
  ThirdPlayer player(path(), at(5), at(6));
  const auto seen = player.read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, not_an_integer("xx") + listed_line(1, 1, folder()) +
                             searching_line(folder()) + not_an_integer("xx"));
  EXPECT_EQ(seen.keys, 2);
}

TEST_F(ThirdOddFolder, EmptyFramesFailOneByOne) {
  touch_stamps(3);
  record_tree(path(), {{at(6, 1), 1.5F}});
  ThirdPlayer player(path(), at(5), at(7));
  EXPECT_FALSE(player.read().result);
  player.engine.INITIALISED = true;  // as a caller that goes on in spite of the failure
  EXPECT_FALSE(player.read().result);
  EXPECT_FALSE(player.read().result);
  EXPECT_TRUE(player.read().result);
  EXPECT_EQ(player.engine.DepthMap[0], 1.5F);
}

TEST_F(ThirdOddFolder, FilesInTheFoldersPlacesArePassedOver) {
  touch(hour_folder(path(), at(6)) + "06mn");
  record_tree(path(), {{at(7, 1), 1.5F}});
  ThirdPlayer player(path(), at(6), at(8));
  EXPECT_EQ(player.stamps(100), std::vector<std::string>{stamp_of(at(7, 1))});
}

// --- Paths and descriptors ----------------------------------------------------------------------

TEST(ThirdPlaybackPaths, PathThatDoesNotFitFindsNothing) {
  TempDirectory root;
  for (const std::size_t length : {std::size_t{491}, std::size_t{500}, std::size_t{511}}) {
    const std::string directory = directory_of_length(root, length);
    fs::create_directories(minute_folder(directory, at(5)));
    touch_frame(minute_folder(directory, at(5)), stamp_of(at(5)));
    touch_frame(directory, stamp_of(at(5)));
    touch_frame(day_folder(directory, at(5)), stamp_of(at(5)));
    ThirdPlayer player(directory, at(5), at(7));
    EXPECT_FALSE(player.read().result) << length;
    EXPECT_EQ(player.engine.getCurrentTimestamp(), "") << "a cut path names another place";
  }
}

TEST(ThirdPlaybackPaths, FrameNameThatDoesNotFitFails) {
  TempDirectory root;
  const std::string directory = directory_of_length(root, 480);
  fs::create_directories(minute_folder(directory, at(5)));
  touch_frame(minute_folder(directory, at(5)), stamp_of(at(5)));
  ThirdPlayer player(directory, at(5), at(7));
  EXPECT_FALSE(player.read().result);
}

TEST(ThirdPlaybackPaths, EveryDescriptorIsClosed) {
  TempDirectory directory;
  record_tree(directory.path(), {{at(5, 1), 1.5F}, {at(6, 1), 1.5F}}, true);
  fs::remove(minute_folder(directory.path(), at(6)) + stamp_of(at(6, 1)) + "-depth.err");
  const int before = open_descriptors();
  ThirdPlayer player(directory.path(), at(0), at(10), true);
  for (int i = 0; i < 5; ++i) player.read();
  EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
}  // namespace depth_io::test
