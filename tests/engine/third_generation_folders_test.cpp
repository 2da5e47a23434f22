#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "tests/support/third_generation_fixture.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

const std::string kNoSuchLine = "MKDIR ERROR: No such file or directory\n";

bool handle(ThirdEngine& engine, const Moment& m) {
  return engine.SubDirHandle(kFrameNumber, m.year, m.month, m.day, m.hour, m.minute, m.second,
                             m.millisecond);
}

bool handle_for_buffer(ThirdEngine& engine, const Moment& m) {
  return engine.SubDirHandle_for_buffer_recording(m.year, m.month, m.day, m.hour, m.minute,
                                                  m.second, m.millisecond);
}

void set_last_recorded(ThirdEngine& engine, const Moment& m) {
  engine.INITIALISED = true;
  engine.last_time_recorded_year = m.year;
  engine.last_time_recorded_month = m.month;
  engine.last_time_recorded_day = m.day;
  engine.last_time_recorded_hour = m.hour;
  engine.last_time_recorded_minute = m.minute;
}

/// An engine whose folders belong to `kMoment`.
class Folders : public testing::Test {
 protected:
  Folders() {
    EXPECT_TRUE(quietly([&] { return handle(engine(), kMoment); }));
    set_last_recorded(engine(), kMoment);
  }
  ThirdEngine& engine() { return recorder_.engine; }
  std::string path() const { return recorder_.path(); }
  std::string day(const Moment& m = kMoment) const { return day_folder(path(), m); }
  std::string hour(const Moment& m = kMoment) const { return hour_folder(path(), m); }
  std::string minute(const Moment& m = kMoment) const { return minute_folder(path(), m); }

  void expect_folders(const std::string& day, const std::string& hour, const std::string& minute) {
    EXPECT_EQ(engine().CurrentFolderStringDay, day);
    EXPECT_EQ(engine().CurrentFolderStringHour, hour);
    EXPECT_EQ(engine().CurrentFolderStringMinute, minute);
  }
  ThirdRecorder recorder_;
};

// --- The first frame ----------------------------------------------------------------------------

TEST(FirstFolders, AllThreeLevelsAreMadeAndTold) {
  ThirdRecorder recorder;
  const auto seen = observe([&] { return handle(recorder.engine, kMoment); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, new_folder_lines(recorder.path(), kMoment));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_TRUE(fs::is_directory(recorder.path() + "/2013-04-09/14h/05mn"));
}

TEST(FirstFolders, PathsAreKept) {
  ThirdRecorder recorder;
  quietly([&] { return handle(recorder.engine, kMoment); });
  EXPECT_EQ(recorder.engine.CurrentFolderStringDay, recorder.path() + "/2013-04-09/");
  EXPECT_EQ(recorder.engine.CurrentFolderStringHour, recorder.path() + "/2013-04-09/14h/");
  EXPECT_EQ(recorder.engine.CurrentFolderStringMinute, recorder.path() + "/2013-04-09/14h/05mn/");
}

TEST(FirstFolders, NumbersArePaddedWithZeros) {
  ThirdRecorder recorder;
  quietly([&] { return handle(recorder.engine, {33, 1, 2, 3, 4, 5, 6}); });
  EXPECT_TRUE(fs::is_directory(recorder.path() + "/0033-01-02/03h/04mn"));
}

TEST(FirstFolders, SlashBehindTheDirectoryIsDoubled) {
  ThirdRecorder recorder;
  set_recording(recorder.parameters, recorder.path() + "/");
  construct(recorder.engine, recorder.parameters);
  const auto seen = observe([&] { return handle(recorder.engine, kMoment); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, new_folder_lines(recorder.path() + "/", kMoment));
}

TEST(FirstFolders, EveryoneMayUseThem) {
  ThirdRecorder recorder;
  const mode_t before = umask(0);
  quietly([&] { return handle(recorder.engine, kMoment); });
  umask(before);
  for (const std::string& folder :
       {day_folder(recorder.path(), kMoment), hour_folder(recorder.path(), kMoment),
        minute_folder(recorder.path(), kMoment)}) {
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms::all) << folder;
  }
}

TEST(FirstFolders, ExistingOnesAreTold) {
  ThirdRecorder recorder;
  fs::create_directories(recorder.folder(kMoment));
  const auto seen = observe([&] { return handle(recorder.engine, kMoment); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, new_day_line(day_folder(recorder.path(), kMoment)) + kExistsLine +
                             new_hour_line(hour_folder(recorder.path(), kMoment)) + kExistsLine +
                             new_minute_line(minute_folder(recorder.path(), kMoment)) +
                             kExistsLine);
  EXPECT_EQ(seen.keys, 0);
}

TEST(FirstFolders, ExistingDayGetsItsHourAndMinute) {
  ThirdRecorder recorder;
  fs::create_directories(day_folder(recorder.path(), kMoment));
  const auto seen = observe([&] { return handle(recorder.engine, kMoment); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, new_day_line(day_folder(recorder.path(), kMoment)) + kExistsLine +
                             new_hour_line(hour_folder(recorder.path(), kMoment)) +
                             new_minute_line(minute_folder(recorder.path(), kMoment)));
}

// --- Later frames -------------------------------------------------------------------------------

TEST_F(Folders, SameMinuteIsSilent) {
  Moment m = kMoment;
  m.second = 59;
  const auto seen = observe([&] { return handle(engine(), m); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  expect_folders(day(), hour(), minute());
}

TEST_F(Folders, SameMinuteIsNotMadeAgain) {
  fs::remove_all(day());
  EXPECT_TRUE(handle(engine(), kMoment));
  EXPECT_FALSE(fs::exists(day()));
}

TEST_F(Folders, BeforeTheFirstFrameIsInTheRingAllLevelsAreMade) {
  engine().INITIALISED = false;
  const auto seen = observe([&] { return handle(engine(), kMoment); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, new_day_line(day()) + kExistsLine + new_hour_line(hour()) + kExistsLine +
                             new_minute_line(minute()) + kExistsLine);
}

TEST_F(Folders, NextMinuteGetsAMinuteFolder) {
  Moment m = kMoment;
  m.minute = 6;
  const auto seen = observe([&] { return handle(engine(), m); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, new_minute_line(minute(m)));
  expect_folders(day(), hour(), minute(m));
}

TEST_F(Folders, NextHourGetsHourAndMinute) {
  Moment m = kMoment;
  m.hour = 15;
  m.minute = 0;
  const auto seen = observe([&] { return handle(engine(), m); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, new_hour_line(hour(m)) + new_minute_line(minute(m)));
  expect_folders(day(), hour(m), minute(m));
}

TEST_F(Folders, SameMinuteNumberInAnotherHourKeepsTheMinuteFolder) {
  Moment m = kMoment;
  m.hour = 15;
  const auto seen = observe([&] { return handle(engine(), m); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, new_hour_line(hour(m)));
  expect_folders(day(), hour(m), minute());
}

TEST_F(Folders, SameHourNumberOnAnotherDayKeepsTheHourFolder) {
  Moment m = kMoment;
  m.day = 10;
  const auto seen = observe([&] { return handle(engine(), m); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, new_day_line(day(m)));
  expect_folders(day(m), hour(), minute());
  EXPECT_TRUE(fs::is_empty(day(m)));
}

TEST_F(Folders, OtherMinuteOfTheSameHourNumberOnAnotherDayLandsInTheOldHour) {
  Moment m = kMoment;
  m.day = 10;
  m.minute = 6;
  const auto seen = observe([&] { return handle(engine(), m); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, new_day_line(day(m)) + new_minute_line(hour() + "06mn/"));
  EXPECT_TRUE(fs::is_directory(hour() + "06mn"));
}

TEST_F(Folders, OtherHourOnAnotherDayLandsInTheNewDay) {
  Moment m = kMoment;
  m.day = 10;
  m.hour = 0;
  m.minute = 0;
  quietly([&] { return handle(engine(), m); });
  expect_folders(day(m), hour(m), minute(m));
}

TEST_F(Folders, SameDayOfAnotherMonthOrYearIsAnotherDay) {
  for (const Moment& m : {Moment{2013, 5, 9, 14, 5, 7, 42}, Moment{2014, 4, 9, 14, 5, 7, 42}}) {
    quietly([&] { return handle(engine(), m); });
    EXPECT_EQ(engine().CurrentFolderStringDay, day(m));
  }
}

// --- Folders that cannot be made ----------------------------------------------------------------

TEST(FailedFolders, DayBelowAMissingDirectoryTellsTheReason) {
  ThirdRecorder recorder;
  fs::remove(recorder.path());
  const auto seen = observe([&] { return handle(recorder.engine, kMoment); });
  const std::string day = day_folder(recorder.path(), kMoment);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, new_day_line(day) + kNoSuchLine + failed_folder_line(day));
  EXPECT_EQ(seen.keys, 1);
}

TEST(FailedFolders, FileInTheDaysPlaceStopsTheHour) {
  ThirdRecorder recorder;
  write_file(recorder.directory.file("2013-04-09"), "");
  const auto seen = observe([&] { return handle(recorder.engine, kMoment); });
  const std::string hour = hour_folder(recorder.path(), kMoment);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, new_day_line(day_folder(recorder.path(), kMoment)) + kExistsLine +
                             new_hour_line(hour) + failed_folder_line(hour));
  EXPECT_EQ(seen.keys, 1);
}

TEST(FailedFolders, FileInTheHoursPlaceStopsTheMinute) {
  ThirdRecorder recorder;
  fs::create_directory(recorder.directory.file("2013-04-09"));
  write_file(recorder.directory.file("2013-04-09/14h"), "");
  const auto seen = observe([&] { return handle(recorder.engine, kMoment); });
  const std::string minute = recorder.folder(kMoment);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, new_day_line(day_folder(recorder.path(), kMoment)) + kExistsLine +
                             new_hour_line(hour_folder(recorder.path(), kMoment)) + kExistsLine +
                             new_minute_line(minute) + failed_folder_line(minute));
  EXPECT_EQ(seen.keys, 1);
}

TEST(FailedFolders, PathThatDoesNotFitIsNotCut) {
  TempDirectory root;
  for (const std::size_t length :
       {std::size_t{490}, std::size_t{497}, std::size_t{505}, std::size_t{511}}) {
    const std::string directory = directory_of_length(root, length);
    ThirdParameters parameters;
    set_recording(parameters, directory);
    ThirdEngine engine;
    construct(engine, parameters);
    const bool fits = length + 24 - 3 < 512;  // "/YYYY-MM-DD/HHh/MMmn/"
    EXPECT_EQ(quietly([&] { return handle(engine, kMoment); }), fits) << length;
    EXPECT_EQ(quietly([&] { return handle_for_buffer(engine, kMoment); }), fits) << length;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
      EXPECT_TRUE(entry.path().filename() == "2013-04-09" || entry.path().filename() == "14h" ||
                  entry.path().filename() == "05mn")
          << entry.path();
    }
  }
}

// --- Folders for recording from the ring --------------------------------------------------------

TEST(BufferFolders, AreMadeSilently) {
  ThirdRecorder recorder;
  const auto seen = observe([&] { return handle_for_buffer(recorder.engine, kMoment); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_TRUE(fs::is_directory(recorder.path() + "/2013-04-09/14h/05mn"));
}

TEST(BufferFolders, PathsAreKept) {
  ThirdRecorder recorder;
  handle_for_buffer(recorder.engine, kMoment);
  EXPECT_EQ(recorder.engine.CurrentFolderStringDay, day_folder(recorder.path(), kMoment));
  EXPECT_EQ(recorder.engine.CurrentFolderStringHour, hour_folder(recorder.path(), kMoment));
  EXPECT_EQ(recorder.engine.CurrentFolderStringMinute, recorder.folder(kMoment));
}

TEST(BufferFolders, EveryoneMayUseThem) {
  ThirdRecorder recorder;
  const mode_t before = umask(0);
  handle_for_buffer(recorder.engine, kMoment);
  umask(before);
  EXPECT_EQ(fs::status(recorder.folder(kMoment)).permissions(), fs::perms::all);
  EXPECT_EQ(fs::status(day_folder(recorder.path(), kMoment)).permissions(), fs::perms::all);
}

TEST_F(Folders, ExistingOnesAreSilentForTheRing) {
  const auto seen = observe([&] { return handle_for_buffer(engine(), kMoment); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
}

TEST_F(Folders, AllLevelsAreMadeForTheRingWhateverWasRecordedLast) {
  fs::remove_all(day());
  EXPECT_TRUE(handle_for_buffer(engine(), kMoment));
  EXPECT_TRUE(fs::is_directory(minute()));
}

TEST_F(Folders, SameNumbersOnAnotherDayGetTheirOwnFolderForTheRing) {
  Moment m = kMoment;
  m.day = 10;
  EXPECT_TRUE(handle_for_buffer(engine(), m));
  expect_folders(day(m), hour(m), minute(m));
  EXPECT_TRUE(fs::is_directory(minute(m)));
}

TEST(FailedBufferFolders, DayBelowAMissingDirectoryTellsTheReason) {
  ThirdRecorder recorder;
  fs::remove(recorder.path());
  const auto seen = observe([&] { return handle_for_buffer(recorder.engine, kMoment); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, kNoSuchLine + failed_folder_line(day_folder(recorder.path(), kMoment)));
  EXPECT_EQ(seen.keys, 1);
}

TEST(FailedBufferFolders, FileInTheDaysPlaceStopsTheHour) {
  ThirdRecorder recorder;
  write_file(recorder.directory.file("2013-04-09"), "");
  const auto seen = observe([&] { return handle_for_buffer(recorder.engine, kMoment); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, failed_folder_line(hour_folder(recorder.path(), kMoment)));
  EXPECT_EQ(seen.keys, 1);
}

TEST(FailedBufferFolders, FileInTheHoursPlaceStopsTheMinute) {
  ThirdRecorder recorder;
  fs::create_directory(recorder.directory.file("2013-04-09"));
  write_file(recorder.directory.file("2013-04-09/14h"), "");
  const auto seen = observe([&] { return handle_for_buffer(recorder.engine, kMoment); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, failed_folder_line(recorder.folder(kMoment)));
  EXPECT_EQ(seen.keys, 1);
}

}  // namespace
}  // namespace depth_io::test
