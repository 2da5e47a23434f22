#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/third_generation_fixture.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using Stamps = std::vector<std::string>;

/// A moment of 2013-04-09.
Moment at(int hour, int minute, int second = 0, int millisecond = 0) {
  return {2013, 4, 9, hour, minute, second, millisecond};
}

Stamps stamps_of(const std::vector<Moment>& moments) {
  Stamps stamps;
  for (const Moment& m : moments) stamps.push_back(stamp_of(m));
  return stamps;
}

/// Frames at 14:05:10, 14:05:20, 14:05:50, 14:06:05, 14:06:45, 14:09:00 and 15:00:00.
class ThirdRange : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    directory_ = new TempDirectory;
    std::vector<FlatFrame> frames;
    for (const Moment& m : moments()) frames.push_back({m, 1.0F});
    record_tree(directory_->path(), frames);
  }
  static void TearDownTestSuite() {
    delete directory_;
    directory_ = nullptr;
  }
  static std::vector<Moment> moments() {
    return {at(14, 5, 10), at(14, 5, 20), at(14, 5, 50), at(14, 6, 5),
            at(14, 6, 45), at(14, 9, 0),  at(15, 0, 0)};
  }
  /// Numbers of the frames that the range delivers.
  static std::vector<int> played(const Moment& start, const Moment& stop) {
    ThirdPlayer player(directory_->path(), start, stop);
    std::vector<int> numbers;
    const Stamps all = stamps_of(moments());
    for (const std::string& stamp : player.stamps(100)) {
      numbers.push_back(static_cast<int>(std::find(all.begin(), all.end(), stamp) - all.begin()));
    }
    return numbers;
  }
  static TempDirectory* directory_;
};
TempDirectory* ThirdRange::directory_ = nullptr;

// --- Which frames a range delivers --------------------------------------------------------------

TEST_F(ThirdRange, WholeRecordingComesByTime) {
  EXPECT_EQ(played(at(14, 0), at(15, 1)), (std::vector<int>{0, 1, 2, 3, 4, 5, 6}));
}

TEST_F(ThirdRange, StartInsideAFolderLeavesOutTheFramesBefore) {
  EXPECT_EQ(played(at(14, 5, 15), at(14, 7)), (std::vector<int>{1, 2, 3, 4}));
}

TEST_F(ThirdRange, FrameAtTheStartBelongsToTheRange) {
  EXPECT_EQ(played(at(14, 5, 20), at(14, 6)), (std::vector<int>{1, 2}));
}

TEST_F(ThirdRange, FrameJustBeforeTheStartDoesNot) {
  EXPECT_EQ(played(at(14, 5, 20, 1), at(14, 6)), (std::vector<int>{2}));
}

TEST_F(ThirdRange, StartAfterTheFramesOfItsFolder) {
  EXPECT_EQ(played(at(14, 5, 55), at(14, 7)), (std::vector<int>{3, 4}));
}

TEST_F(ThirdRange, StopInsideAFolderDeliversTheWholeFolder) {
  EXPECT_EQ(played(at(14, 5), at(14, 6, 30)), (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST_F(ThirdRange, StopAtAFoldersBeginningLeavesItOut) {
  EXPECT_EQ(played(at(14, 5), at(14, 6)), (std::vector<int>{0, 1, 2}));
}

TEST_F(ThirdRange, StopJustAfterAFoldersBeginningDeliversIt) {
  EXPECT_EQ(played(at(14, 5), at(14, 6, 0, 1)), (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST_F(ThirdRange, StartAndStopInOneFolder) {
  EXPECT_EQ(played(at(14, 5, 15), at(14, 5, 25)), (std::vector<int>{1, 2}));
}

TEST_F(ThirdRange, EmptyMinutesAndHoursAreCrossed) {
  EXPECT_EQ(played(at(14, 6, 10), at(15, 1)), (std::vector<int>{4, 5, 6}));
}

TEST_F(ThirdRange, NothingBeforeTheRecording) {
  EXPECT_EQ(played(at(13, 0), at(14, 5)), std::vector<int>{});
}

TEST_F(ThirdRange, NothingAfterTheRecording) {
  EXPECT_EQ(played(at(15, 1), at(15, 5)), std::vector<int>{});
}

TEST_F(ThirdRange, NothingInAGap) { EXPECT_EQ(played(at(14, 7), at(14, 9)), std::vector<int>{}); }

TEST_F(ThirdRange, NothingWhenTheStopComesFirst) {
  EXPECT_EQ(played(at(14, 6), at(14, 5)), std::vector<int>{});
}

TEST_F(ThirdRange, NothingOfAnotherDay) {
  EXPECT_EQ(played({2013, 4, 8, 14, 0, 0, 0}, {2013, 4, 8, 15, 1, 0, 0}), std::vector<int>{});
}

TEST_F(ThirdRange, FrameBeforeTheStartIsNotLoaded) {
  ThirdPlayer player(directory_->path(), at(14, 5, 15), at(14, 7));
  fill_frame(player.engine, 7.0F);
  const auto seen = player.read();
  EXPECT_TRUE(seen.result);
  EXPECT_FALSE(player.engine.REACHED_WANTED_START_TIME);
  EXPECT_TRUE(player.engine.INITIALISED);
  EXPECT_EQ(player.engine.DepthMap[0], 7.0F);
  EXPECT_EQ(player.engine.getCurrentTimestamp(), stamp_of(at(14, 5, 10)));
}

TEST_F(ThirdRange, StartStaysReached) {
  ThirdPlayer player(directory_->path(), at(14, 5, 15), at(14, 7));
  player.read();
  player.read();
  EXPECT_TRUE(player.engine.REACHED_WANTED_START_TIME);
  player.read();
  EXPECT_TRUE(player.engine.REACHED_WANTED_START_TIME);
}

TEST_F(ThirdRange, StopIsReachedAtTheEnd) {
  ThirdPlayer player(directory_->path(), at(14, 9), at(14, 10));
  EXPECT_TRUE(player.read().result);
  EXPECT_FALSE(player.engine.REACHED_WANTED_STOP_TIME);
  EXPECT_FALSE(player.read().result);
  EXPECT_TRUE(player.engine.REACHED_WANTED_STOP_TIME);
}

TEST_F(ThirdRange, IndicesAreThoseOfTheFolder) {
  ThirdPlayer player(directory_->path(), at(14, 5), at(14, 7));
  player.read();
  EXPECT_EQ(player.engine.CURRENT_STAMP_INDEX, 1);
  EXPECT_EQ(player.engine.LAST_STAMP_INDEX, 2);
  for (int i = 0; i < 3; ++i) player.read();
  EXPECT_EQ(player.engine.CURRENT_STAMP_INDEX, 1);
  EXPECT_EQ(player.engine.LAST_STAMP_INDEX, 1);
}

TEST_F(ThirdRange, FolderPositionMovesOn) {
  ThirdPlayer player(directory_->path(), at(14, 9), at(15, 1));
  player.read();
  EXPECT_EQ(player.engine.param.ReadFolder_Current_Minute, 9);
  player.read();
  EXPECT_EQ(player.engine.param.ReadFolder_Current_Hour, 15);
  EXPECT_EQ(player.engine.param.ReadFolder_Current_Minute, 0);
  EXPECT_EQ(player.engine.CurrentFolderStringDay, day_folder(directory_->path(), at(15, 0)));
  EXPECT_EQ(player.engine.CurrentFolderStringHour, hour_folder(directory_->path(), at(15, 0)));
  EXPECT_EQ(player.engine.CurrentFolderStringMinute, minute_folder(directory_->path(), at(15, 0)));
}

TEST_F(ThirdRange, NoFolderIsMade) {
  const Stamps before = files_in(day_folder(directory_->path(), at(14, 0)));
  played(at(13, 0), at(16, 0));
  EXPECT_EQ(files_in(day_folder(directory_->path(), at(14, 0))), before);
}

TEST_F(ThirdRange, PositionsSetByTheCallerAreForgotten) {
  ThirdPlayer player(directory_->path(), at(14, 5), at(14, 7));
  Text stamp(kMomentStamp);
  player.engine.SetCurrentFrame(3);
  player.engine.SetCurrentTimeStamp(2013, 1, 1, 1, 1, 1, 1);
  player.engine.SetCurrentTimeStamp(stamp);
  player.read();
  EXPECT_FALSE(player.engine._CurrentFrame_active);
  EXPECT_FALSE(player.engine._CurrentTimeStamp_active);
  EXPECT_FALSE(player.engine._CurrentStampString_active);
}

TEST_F(ThirdRange, ConstructAgainStartsAnew) {
  ThirdPlayer player(directory_->path(), at(14, 5), at(14, 7));
  const Stamps first = player.stamps(100);
  ThirdParameters parameters;
  set_recording(parameters, directory_->path());
  set_range(parameters, at(14, 5), at(14, 7));
  construct(player.engine, parameters);
  EXPECT_EQ(player.stamps(100), first);
}

// --- What a read delivers -----------------------------------------------------------------------

TEST(ThirdRead, DeliversDepthAndIntrinsics) {
  TempDirectory directory;
  record_tree(directory.path(), {{at(14, 5), 1.5F}}, false, 1);
  ThirdPlayer player(directory.path(), at(14, 5), at(14, 6));
  ASSERT_TRUE(player.read().result);
  EXPECT_EQ(player.engine.DepthMap[0], 1.5F);
  EXPECT_EQ(player.engine.DepthMap[kPixels - 1], 1.5F);
  EXPECT_EQ(player.engine.GetIntrinsic_a11(), 533.0F);
  EXPECT_EQ(player.engine.GetIntrinsic_a22(), 533.0F);
  EXPECT_EQ(player.engine.GetIntrinsic_cx(), 240.0F);
  EXPECT_EQ(player.engine.GetIntrinsic_cy(), 320.0F);
}

TEST(ThirdRead, DeliversASceneWithinTheTolerance) {
  ThirdRecorder recorder;
  const DepthMap scene = scene_depth(2);
  std::copy(scene.begin(), scene.end(), recorder.engine.DepthMap);
  ASSERT_TRUE(capture_quietly(recorder.engine, true, at(14, 5)));
  ThirdPlayer player(recorder.path(), at(14, 5), at(14, 6));
  ASSERT_TRUE(player.read().result);
  int bad = 0;
  for (std::size_t i = 0; i < scene.size(); ++i) {
    if (std::abs(player.engine.DepthMap[i] - scene[i]) > 0.06F) ++bad;
  }
  EXPECT_EQ(bad, 0);
}

TEST(ThirdRead, MarksPixelsWithDepthAndKeepsTheMarks) {
  TempDirectory directory;
  record_tree(directory.path(), {{at(14, 5, 1), 1.5F}, {at(14, 5, 2), 0.0F}});
  ThirdPlayer player(directory.path(), at(14, 5), at(14, 6));
  EXPECT_FALSE(player.engine.MapHasDepth.buffer[0]);
  ASSERT_TRUE(player.read().result);
  EXPECT_TRUE(is_all(player.engine.MapHasDepth, kPixels, true));
  ASSERT_TRUE(player.read().result);
  EXPECT_EQ(player.engine.DepthMap[0], 0.0F);
  EXPECT_TRUE(is_all(player.engine.MapHasDepth, kPixels, true));
}

TEST(ThirdRead, PixelsWithoutDepthAreNotMarked) {
  TempDirectory directory;
  record_tree(directory.path(), {{at(14, 5, 1), 0.0F}});
  ThirdPlayer player(directory.path(), at(14, 5), at(14, 6));
  ASSERT_TRUE(player.read().result);
  EXPECT_TRUE(is_all(player.engine.MapHasDepth, kPixels, false));
}

TEST(ThirdRead, DeliversTheColourImage) {
  TempDirectory directory;
  record_tree(directory.path(), {{at(14, 5), 1.5F, 200}}, true);
  ThirdPlayer player(directory.path(), at(14, 5), at(14, 6), true);
  ASSERT_TRUE(player.read().result);
  EXPECT_NEAR(player.engine.ColourImage[0], 200, 2);
  EXPECT_NEAR(player.engine.ColourImage[kColourBytes - 1], 200, 2);
}

TEST(ThirdRead, WithoutColourStemTheColourImageStays) {
  TempDirectory directory;
  record_tree(directory.path(), {{at(14, 5), 1.5F, 200}}, true);
  ThirdPlayer player(directory.path(), at(14, 5), at(14, 6), false);
  fill_frame(player.engine, 1.0F, 17);
  ASSERT_TRUE(player.read().result);
  EXPECT_EQ(player.engine.ColourImage[0], 17);
}

TEST(ThirdRead, NamesHaveTheFixedStems) {
  TempDirectory directory;
  record_tree(directory.path(), {{at(14, 5), 1.5F, 200}}, true);
  ThirdParameters parameters;
  set_recording(parameters, directory.path());
  Text stem("other");
  parameters.SetDepthStem(stem);
  parameters.SetBGRStem(stem);
  set_range(parameters, at(14, 5), at(14, 6));
  ThirdEngine engine;
  construct(engine, parameters);
  EXPECT_TRUE(quietly([&] { return engine.Read(0); }));
  const std::string base = minute_folder(directory.path(), at(14, 5)) + stamp_of(at(14, 5));
  EXPECT_EQ(engine.depth_string, base + "-depth");
  EXPECT_EQ(engine.bgr_string, base + "-bgrimage.jpg");
}

TEST(ThirdRead, WithoutReverseNameTheStemComesFirst) {
  TempDirectory directory;
  record_tree(directory.path(), {{at(14, 5), 1.5F}});
  ThirdPlayer player(directory.path(), at(14, 5), at(14, 6));
  player.engine.REVERSE_NAME = false;
  EXPECT_FALSE(player.read().result);
  const std::string folder = minute_folder(directory.path(), at(14, 5));
  EXPECT_EQ(player.engine.depth_string, folder + "depth-" + stamp_of(at(14, 5)));
  EXPECT_EQ(player.engine.bgr_string, folder + "bgrimage-" + stamp_of(at(14, 5)) + ".jpg");
}

TEST(ThirdRead, FramesOfOtherStemsAreNotFound) {
  TempDirectory directory;
  record_tree(directory.path(), {{at(14, 5), 1.5F}});
  const std::string folder = minute_folder(directory.path(), at(14, 5));
  for (const std::string& name : files_in(folder)) {
    std::string other = name;
    other.replace(other.find("depth"), 5, "stern");
    fs::rename(folder + name, folder + other);
  }
  ThirdPlayer player(directory.path(), at(14, 5), at(14, 6));
  EXPECT_FALSE(player.read().result);
}

TEST(ThirdRead, MidnightIsCrossed) {
  const std::vector<Moment> moments{{2013, 4, 9, 23, 58, 30, 0},
                                    {2013, 4, 9, 23, 59, 59, 999},
                                    {2013, 4, 10, 0, 0, 0, 0},
                                    {2013, 4, 10, 0, 1, 0, 0}};
  TempDirectory directory;
  std::vector<FlatFrame> frames;
  for (const Moment& m : moments) frames.push_back({m, 1.0F});
  record_tree(directory.path(), frames);
  ThirdPlayer player(directory.path(), {2013, 4, 9, 23, 50, 0, 0}, {2013, 4, 10, 0, 5, 0, 0});
  EXPECT_EQ(player.stamps(100), stamps_of(moments));
}

TEST(ThirdRead, FrameInTheFolderOfAnotherMomentIsPlayedThere) {
  ThirdRecorder recorder;
  ASSERT_TRUE(capture_flat(recorder.engine, true, at(14, 5, 10), 1.0F));
  ASSERT_TRUE(capture_flat(recorder.engine, true, {2013, 4, 10, 14, 5, 0, 0}, 1.0F));
  ThirdPlayer player(recorder.path(), at(14, 5), at(14, 6));
  EXPECT_EQ(player.stamps(100), stamps_of({at(14, 5, 10), {2013, 4, 10, 14, 5, 0, 0}}));
}

}  // namespace
}  // namespace depth_io::test
