#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <regex>
#include <string>

#include "tests/support/third_generation_fixture.h"

// What playback prints, where it waits, and how it fails.
namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

Moment at(int minute, int second = 0) { return {2013, 4, 9, 14, minute, second, 0}; }

std::string read_failed_line(const std::string& base, int frame = 0,
                             const std::string& stamp_string = "") {
  return "ERROR KV_RGBD_CameraCompression read - (1)" + std::to_string(frame) + ", (2) '', (3) '" +
         stamp_string + "'  (" + base + ")\n";
}

/// The number in the debug line about the current stamp is no index: it is left out.
std::string without_next_index(const std::string& output) {
  return std::regex_replace(output, std::regex("next index -?[0-9]+"), "next index N");
}

const std::string kStart = "DEBUG - read - read_compressed start\n";
const std::string kFirstSearch =
    "DEBUG - read - not initialised so do that now: Read_FindNextFolder_and_update_CurrentTime\n";
const std::string kNextSearch =
    "DEBUG - read - EOF redo Read_FindNextFolder_and_update_CurrentTime\n";
const std::string kCurrent = "DEBUG - read - current stamp (next index N)\n";
const std::string kValidity = "DEBUG - read - set map depth validity\n";
const std::string kLoad = "DEBUG - read - load_compressed_data\n";
const std::string kDone = "DEBUG - read - done\n";

std::string check_line(const std::string& folder, const Moment& m, int reached) {
  char fields[100];
  std::snprintf(fields, sizeof fields, "%d %d %d, %d %d %d.%d", m.year, m.month, m.day, m.hour,
                m.minute, m.second, m.millisecond);
  return "DEBUG - read - check if we reach wanted start time '" + folder + "''" + stamp_of(m) +
         "' : " + fields + " REACHED_WANTED_START_TIME " + std::to_string(reached) + "\n";
}

std::string reached_line(int reached) {
  return "DEBUG - read - REACHED_WANTED_START_TIME " + std::to_string(reached) + "\n";
}

/// A tree with frames at 14:05:10 and 14:05:20.
class ThirdPlaybackTrace : public testing::Test {
 protected:
  explicit ThirdPlaybackTrace(bool colour = false) {
    record_tree(path(), {{at(5, 10), 1.5F}, {at(5, 20), 2.5F}}, colour);
  }
  std::string path() const { return directory_.path(); }
  std::string folder(int minute = 5) const { return minute_folder(path(), at(minute)); }
  std::string base(const Moment& m) const { return folder(m.minute) + stamp_of(m) + "-depth"; }
  std::string first_lines() const { return listed_line(8, 2, folder()) + searching_line(folder()); }
  TempDirectory directory_;
};

// --- Lines --------------------------------------------------------------------------------------

TEST_F(ThirdPlaybackTrace, FirstFrameTellsSearchAndReading) {
  ThirdPlayer player(path(), at(5), at(7));
  const auto seen = player.read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, first_lines() + reading_line(base(at(5, 10))));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(ThirdPlaybackTrace, NextFrameTellsItsReading) {
  ThirdPlayer player(path(), at(5), at(7));
  player.read();
  const auto seen = player.read();
  EXPECT_EQ(seen.output, reading_line(base(at(5, 20))));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(ThirdPlaybackTrace, EachMinuteUpToTheStopIsTold) {
  ThirdPlayer player(path(), at(5), at(8));
  player.read();
  player.read();
  const auto seen = player.read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, searching_line(folder(6)) + searching_line(folder(7)) +
                             searching_line(folder(8)) + kStopLine);
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(ThirdPlaybackTrace, FolderAtTheStopIsListedButNotPlayed) {
  ThirdPlayer player(path(), at(4), at(5));
  const auto seen = player.read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, searching_line(folder(4)) + first_lines() + kStopLine + kNoContentLine);
  EXPECT_EQ(seen.keys, 2);
}

TEST_F(ThirdPlaybackTrace, RangeWithoutFramesWarns) {
  ThirdPlayer player(path(), at(10), at(13));
  const auto seen = player.read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, searching_line(folder(10)) + searching_line(folder(11)) +
                             searching_line(folder(12)) + searching_line(folder(13)) + kStopLine +
                             kNoContentLine);
  EXPECT_EQ(seen.keys, 2);
  EXPECT_FALSE(player.engine.INITIALISED);
}

TEST_F(ThirdPlaybackTrace, FrameBeforeTheStartIsSilent) {
  ThirdPlayer player(path(), at(5, 15), at(7));
  const auto seen = player.read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, first_lines());
}

TEST_F(ThirdPlaybackTrace, EmptyRangeIsSearchedAnewByTheNextRead) {
  ThirdPlayer player(path(), at(10), at(11));
  const auto first = player.read();
  const auto second = player.read();
  EXPECT_FALSE(second.result);
  EXPECT_EQ(second.output, first.output);
}

// --- Debug lines --------------------------------------------------------------------------------

TEST_F(ThirdPlaybackTrace, DebugTracesTheFirstFrame) {
  ThirdPlayer player(path(), at(5), at(7));
  const auto seen = player.read(1);
  const ConsoleTrace reader = reader_trace(base(at(5, 10)), 1);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(without_next_index(seen.output),
            kStart + kFirstSearch + first_lines() + kCurrent + check_line(folder(), at(5, 10), 1) +
                reached_line(1) + kLoad + reader.output + kValidity + kDone);
  EXPECT_EQ(seen.keys, reader.keys);
}

TEST_F(ThirdPlaybackTrace, DebugChecksTheStartOnlyUntilItIsReached) {
  ThirdPlayer player(path(), at(5), at(7));
  player.read(1);
  const auto seen = player.read(1);
  const ConsoleTrace reader = reader_trace(base(at(5, 20)), 1);
  EXPECT_EQ(without_next_index(seen.output),
            kStart + kCurrent + reached_line(1) + kLoad + reader.output + kValidity + kDone);
}

TEST_F(ThirdPlaybackTrace, DebugShowsTheLowBitsOfTheTextsAddressAsNextIndex) {
  ThirdPlayer player(path(), at(5), at(7));
  const auto seen = player.read(1);
  std::smatch match;
  ASSERT_TRUE(std::regex_search(seen.output, match, std::regex("next index (-?[0-9]+)")));
  const auto low_bits = [](const char* text) {
    return static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(text));
  };
  const std::string number = match[1];
  EXPECT_TRUE(number == std::to_string(low_bits(player.engine.temp_string2)) ||
              number == std::to_string(low_bits(player.engine.SortedStamps.arr1D[0].buffer)))
      << number;
}

TEST_F(ThirdPlaybackTrace, DebugTracesAFrameBeforeTheStart) {
  ThirdPlayer player(path(), at(5, 15), at(7));
  const auto seen = player.read(1);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(without_next_index(seen.output), kStart + kFirstSearch + first_lines() + kCurrent +
                                                 check_line(folder(), at(5, 10), 0) +
                                                 reached_line(0) + kDone);
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(ThirdPlaybackTrace, DebugTracesTheEnd) {
  ThirdPlayer player(path(), at(5), at(6));
  player.read();
  player.read();
  const auto seen = player.read(1);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, kStart + kNextSearch + searching_line(folder(6)) + kStopLine);
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(ThirdPlaybackTrace, OtherDebugNumbersAreOff) {
  ThirdPlayer player(path(), at(5), at(7));
  EXPECT_EQ(player.read(2).output, first_lines() + reading_line(base(at(5, 10))));
}

class ThirdColourTrace : public ThirdPlaybackTrace {
 protected:
  ThirdColourTrace() : ThirdPlaybackTrace(true) {}
  std::string colour_name(const Moment& m) const {
    return folder(m.minute) + stamp_of(m) + "-bgrimage.jpg";
  }
};

TEST_F(ThirdColourTrace, FirstFrameTellsSearchAndReading) {
  ThirdPlayer player(path(), at(5), at(7), true);
  EXPECT_EQ(player.read().output, listed_line(10, 2, folder()) + searching_line(folder()) +
                                      reading_line(base(at(5, 10))));
}

TEST_F(ThirdColourTrace, DebugTracesTheColourImage) {
  ThirdPlayer player(path(), at(5), at(7), true);
  player.read();
  const auto seen = player.read(1);
  const ConsoleTrace reader = reader_trace(base(at(5, 20)), 1);
  EXPECT_EQ(without_next_index(seen.output),
            kStart + kCurrent + reached_line(1) + kLoad + reader.output +
                "DEBUG - read - read_compressed jpeg '" + colour_name(at(5, 20)) +
                "'\nDEBUG - read - LoadColourImage\n" + kValidity + kDone);
}

TEST_F(ThirdColourTrace, MissingColourImageIsAFailure) {
  fs::remove(colour_name(at(5, 10)));
  ThirdPlayer player(path(), at(5), at(7), true);
  fill_frame(player.engine, 7.0F);
  const auto seen = player.read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            listed_line(9, 2, folder()) + searching_line(folder()) + reading_line(base(at(5, 10))) +
                cannot_open_jpeg_lines(colour_name(at(5, 10))) + "failed to read bgr image\n");
  EXPECT_EQ(seen.keys, 1);
  EXPECT_EQ(player.engine.DepthMap[0], 7.0F) << "the depth is copied after the colour";
  EXPECT_FALSE(player.engine.INITIALISED);
}

TEST_F(ThirdColourTrace, DamagedColourImageLeavesTheOldOne) {
  write_file(colour_name(at(5, 10)), "no image");
  ThirdPlayer player(path(), at(5), at(7), true);
  fill_frame(player.engine, 7.0F, 33);
  const auto seen = player.read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_EQ(player.engine.ColourImage[0], 33);
}

// --- Damaged frames -----------------------------------------------------------------------------

TEST_F(ThirdPlaybackTrace, DamagedFrameIsAFailure) {
  fs::remove(base(at(5, 10)) + ".ref");
  ThirdPlayer player(path(), at(5), at(7));
  player.engine.SetCurrentFrame(12);
  Text position("here");
  player.engine.SetCurrentTimeStamp(position);
  const auto seen = player.read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, listed_line(7, 2, folder()) + searching_line(folder()) +
                             reading_line(base(at(5, 10))) +
                             failed_to_open_line(base(at(5, 10)) + ".ref") +
                             read_failed_line(base(at(5, 10)), 12, "here"));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FALSE(player.engine.INITIALISED);
}

TEST_F(ThirdPlaybackTrace, ReadAfterADamagedFirstFrameIsRefused) {
  fs::remove(base(at(5, 10)) + ".ref");
  ThirdPlayer player(path(), at(5), at(7));
  player.read();
  const auto seen = player.read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            "ERROR - FindNextFolder_and_update_CurrentTime - cannot be performed if current folder "
            "not done yet\n" +
                kNoContentLine);
  EXPECT_EQ(seen.keys, 2);
}

TEST_F(ThirdPlaybackTrace, ReadAfterADamagedLaterFrameGoesOn) {
  record_tree(path(), {{at(5, 30), 3.5F}});
  fs::remove(base(at(5, 20)) + ".err");
  ThirdPlayer player(path(), at(5), at(7));
  EXPECT_TRUE(player.read().result);
  EXPECT_FALSE(player.read().result);
  EXPECT_TRUE(player.read().result);
  EXPECT_EQ(player.engine.getCurrentTimestamp(), stamp_of(at(5, 30)));
  EXPECT_EQ(player.engine.DepthMap[0], 3.5F);
}

TEST_F(ThirdPlaybackTrace, DamagedFrameLeavesTheDepth) {
  write_file(base(at(5, 10)) + ".jpg", "no image");
  ThirdPlayer player(path(), at(5), at(7));
  fill_frame(player.engine, 7.0F);
  EXPECT_FALSE(player.read().result);
  EXPECT_EQ(player.engine.DepthMap[0], 7.0F);
  EXPECT_TRUE(is_all(player.engine.MapHasDepth, kPixels, false));
}

TEST_F(ThirdPlaybackTrace, FifoInAFramesPlaceIsNotWaitedFor) {
  fs::remove(base(at(5, 10)) + ".rle");
  ASSERT_EQ(mkfifo((base(at(5, 10)) + ".rle").c_str(), 0600), 0);
  ThirdPlayer player(path(), at(5), at(7));
  EXPECT_FALSE(player.read().result);
}

// --- Odd states ---------------------------------------------------------------------------------

TEST_F(ThirdPlaybackTrace, NegativeLastIndexIsAnError) {
  for (const int debug : {0, 1}) {
    ThirdPlayer player(path(), at(5), at(7));
    player.engine.INITIALISED = true;
    player.engine.LAST_STAMP_INDEX = -4;
    const auto seen = player.read(debug);
    EXPECT_FALSE(seen.result);
    EXPECT_EQ(seen.output,
              (debug == 1 ? kStart : "") + "ERROR - LAST_STAMP_INDEX -4 should not be 0\n");
    EXPECT_EQ(seen.keys, debug);
  }
}

TEST_F(ThirdPlaybackTrace, ReadingOnAfterTheEndFailsInTheLastFolder) {
  ThirdPlayer player(path(), at(5), at(7));
  for (int i = 0; i < 3; ++i) player.read();
  ASSERT_TRUE(player.engine.REACHED_WANTED_STOP_TIME);
  const std::string stale = folder(7) + stamp_of(at(5, 10)) + "-depth";
  const auto seen = player.read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            reading_line(stale) + failed_to_open_line(stale + ".rle") + read_failed_line(stale));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(ThirdPlaybackTrace, SearchWithinAFolderIsRefused) {
  ThirdPlayer player(path(), at(5), at(7));
  player.read();
  const auto seen =
      observe([&] { return player.engine.Read_FindNextFolder_and_update_CurrentTime(0); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            "ERROR - FindNextFolder_and_update_CurrentTime - cannot be performed if current folder "
            "not done yet\n");
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(ThirdPlaybackTrace, SearchWithoutARangeTouchesNothing) {
  ThirdRecorder none;
  ThirdEngine& engine = none.engine;
  engine.LAST_STAMP_INDEX = 5;
  const auto seen = observe([&] { return engine.Read_FindNextFolder_and_update_CurrentTime(0); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(engine.LAST_STAMP_INDEX, 5);
  EXPECT_EQ(engine.param.ReadFolder_Current_Minute, -1);
  EXPECT_STREQ(engine.CurrentFolderStringMinute, "");
}

TEST_F(ThirdPlaybackTrace, ReadWithoutARangeLoadsNothing) {
  ThirdRecorder none;
  fill_frame(none.engine, 7.0F);
  for (int i = 0; i < 5; ++i) {
    const auto seen = observe([&] { return none.engine.Read(0); });
    EXPECT_TRUE(seen.result);
    EXPECT_EQ(seen.output, "");
    EXPECT_EQ(none.engine.getCurrentTimestamp(), "");
    EXPECT_EQ(none.engine.DepthMap[0], 7.0F);
  }
}

TEST_F(ThirdPlaybackTrace, FirstSearchBeginsAtTheStartMinute) {
  ThirdPlayer player(path(), at(3), at(9));
  const auto seen = player.read();
  EXPECT_EQ(seen.output.substr(0, searching_line(folder(3)).size()), searching_line(folder(3)));
}

}  // namespace
}  // namespace depth_io::test
