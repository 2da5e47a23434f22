#include <sys/stat.h>

#include "tests/support/second_generation_fixture.h"

// Numbered sub-directories: when the next one is made, what is printed, and what is refused.
namespace depth_io::test {
namespace {

using Engine = KV_RGBD_CameraCompression2;

/// Frames a second apart, recorded into sub-directories of `per_directory` frames.
class SecondGenerationSubDirectories : public ::testing::Test {
 protected:
  void start(int per_directory) {
    settings_.directory = directory_.path();
    settings_.sub_directories = true;
    settings_.per_directory = per_directory;
    start_engine(engine_, settings_);
    fill(engine_, flat_depth(1.0F));
  }
  Outcome<bool> capture(int second, bool record_now = true) {
    return observe([&] { return capture_at(engine_, record_now, second, moment_after(second)); });
  }
  std::string folder(const std::string& digits) const { return directory_.file(digits); }
  /// Frames of a sub-directory, as seconds after `kMoment`.
  std::vector<std::string> frames(const std::string& digits) const {
    return frames_in(folder(digits));
  }
  static std::vector<std::string> stamped(const std::vector<int>& seconds) {
    std::vector<std::string> names;
    for (const int second : seconds) names.push_back(stamp_of(moment_after(second)) + "-depth");
    return names;
  }

  TempDirectory directory_;
  SecondSettings settings_;
  Engine engine_;
};

TEST_F(SecondGenerationSubDirectories, FourthFrameOfThreeBeginsTheNextOne) {
  start(3);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(capture(i).result);
  EXPECT_EQ(files_in(directory_.path()), (std::vector<std::string>{"00000000", "00000001"}));
  EXPECT_EQ(frames("00000000"), stamped({0, 1, 2}));
  EXPECT_EQ(frames("00000001"), stamped({3}));
}

TEST_F(SecondGenerationSubDirectories, FrameCarriesAllItsFilesIntoTheSubDirectory) {
  settings_.colour_stem = "c";
  start(3);
  capture(0);
  std::vector<std::string> expected = depth_files(stamped({0}));
  expected.insert(expected.begin(), stamp_of(moment_after(0)) + "-c.jpg");
  EXPECT_EQ(files_in(folder("00000000")), expected);
}

TEST_F(SecondGenerationSubDirectories, WholeOutputOfTheFirstFrame) {
  start(3);
  const auto seen = capture(0);
  EXPECT_EQ(seen.output,
            first_info_line(moment_after(0)) + creating_line(folder("00000000")) +
                saving_line(folder("00000000") + "/", "depth", 0, stamp_of(moment_after(0))));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationSubDirectories, LineIsPrintedOnceForEachSubDirectory) {
  start(3);
  std::string output;
  for (int i = 0; i < 7; ++i) output += capture(i).output;
  for (const char* digits : {"00000000", "00000001", "00000002"}) {
    const std::string line = creating_line(folder(digits));
    const std::size_t first = output.find(line);
    ASSERT_NE(first, std::string::npos) << digits;
    EXPECT_EQ(output.find(line, first + 1), std::string::npos) << digits;
  }
  EXPECT_EQ(output.find("00000003"), std::string::npos);
}

TEST_F(SecondGenerationSubDirectories, WholeOutputOfALaterFrame) {
  start(3);
  capture(0);
  const auto seen = capture(1);
  RequestLine info;
  info.seconds = "1.000000";
  info.current = moment_after(1);
  info.last = moment_after(0);
  EXPECT_EQ(seen.output, info.str() + saving_line(folder("00000000") + "/", "depth", 1,
                                                  stamp_of(moment_after(1))));
}

TEST_F(SecondGenerationSubDirectories, RelativeDirectoryStandsInTheLineAsGiven) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(directory_.path());
  std::filesystem::create_directory("rec");
  settings_.directory = "rec";
  settings_.sub_directories = true;
  settings_.per_directory = 1;
  start_engine(engine_, settings_);
  const auto first = capture(0);
  const auto second = capture(1);
  std::filesystem::current_path(before);
  EXPECT_NE(first.output.find(" - INFO - CREATING SUB FOLDER 'rec/00000000'\n"), std::string::npos);
  EXPECT_NE(second.output.find(" - INFO - CREATING SUB FOLDER 'rec/00000001'\n"),
            std::string::npos);
  EXPECT_EQ(frames_in(directory_.file("rec/00000001")), stamped({1}));
}

TEST_F(SecondGenerationSubDirectories, DirectoryWithASlashGetsAnotherOne) {
  start(3);
  settings_.directory = directory_.slash();
  start_engine(engine_, settings_);
  const auto seen = capture(0);
  EXPECT_NE(seen.output.find(creating_line(directory_.slash() + "/00000000")), std::string::npos);
  EXPECT_EQ(frames("00000000"), stamped({0}));
}

TEST_F(SecondGenerationSubDirectories, NumbersOfOneAndLessGiveEachFrameItsOwn) {
  for (const int per_directory : {1, 0, -7}) {
    TempDirectory directory;
    SecondSettings settings;
    settings.directory = directory.path();
    settings.sub_directories = true;
    settings.per_directory = per_directory;
    Engine engine;
    start_engine(engine, settings);
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(capture_flat(engine, true, moment_after(i), 1.0F));
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(frames_in(directory.file("0000000" + std::to_string(i))), stamped({i}))
          << per_directory;
    }
    EXPECT_EQ(engine.CurrentSubDirectoryIndex, 3) << per_directory;
  }
}

TEST_F(SecondGenerationSubDirectories, FramesNotWrittenMakeNothing) {
  start(3);
  const auto seen = capture(0, false);
  EXPECT_EQ(seen.output, "");
  EXPECT_TRUE(files_in(directory_.path()).empty());
  EXPECT_EQ(engine_.CurrentNbFramesSavedInSubDirectory, 0);
}

TEST_F(SecondGenerationSubDirectories, CountersFollowTheWrittenFrames) {
  start(3);
  const struct {
    int saved;
    int index;
  } expected[] = {{1, 0}, {2, 0}, {0, 1}, {1, 1}};
  for (int i = 0; i < 4; ++i) {
    capture(i);
    EXPECT_EQ(engine_.CurrentNbFramesSavedInSubDirectory, expected[i].saved) << i;
    EXPECT_EQ(engine_.CurrentSubDirectoryIndex, expected[i].index) << i;
  }
}

TEST_F(SecondGenerationSubDirectories, CountersStayWithoutSubDirectories) {
  settings_.directory = directory_.path();
  start_engine(engine_, settings_);
  for (int i = 0; i < 2; ++i) capture(i);
  EXPECT_EQ(engine_.CurrentNbFramesSavedInSubDirectory, 0);
  EXPECT_EQ(engine_.CurrentSubDirectoryIndex, 0);
  EXPECT_EQ(frames_in(directory_.path()), stamped({0, 1}));
}

TEST_F(SecondGenerationSubDirectories, FirstStampIsKept) {
  start(2);
  const int first_second[] = {0, 0, 2, 2};
  for (int i = 0; i < 4; ++i) {
    capture(i);
    EXPECT_EQ(engine_.FirstTimeStampSavedInSubDirectory.buffer,
              stamp_of(moment_after(first_second[i])));
  }
  EXPECT_EQ(engine_.FirstIndexSavedInSubDirectory, -1);
}

TEST_F(SecondGenerationSubDirectories, FirstNumberIsKeptForFramesWithoutAStamp) {
  start(2);
  const auto seen = observe([&] { return engine_.apply_with_index(true, 42, 0); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, index_request().str() + creating_line(folder("00000000")) +
                             saving_line(folder("00000000") + "/", "depth", 42) +
                             "ERROR we do not use frame index anymore\n");
  EXPECT_EQ(seen.keys, 1);
  EXPECT_EQ(engine_.FirstIndexSavedInSubDirectory, 42);
  EXPECT_STREQ(engine_.FirstTimeStampSavedInSubDirectory.buffer, "");
  EXPECT_EQ(frames("00000000"), std::vector<std::string>{"00000042-depth"});
}

TEST_F(SecondGenerationSubDirectories, FramesWithoutAStampAreCountedAlthoughTheyAreRefused) {
  start(2);
  for (int i = 0; i < 3; ++i) {
    EXPECT_FALSE(quietly([&] { return engine_.apply_with_index(true, i, 0); }));
  }
  EXPECT_EQ(engine_.CurrentSubDirectoryIndex, 1);
  EXPECT_EQ(engine_.CurrentNbFramesSavedInSubDirectory, 1);
  EXPECT_EQ(frames("00000001"), std::vector<std::string>{"00000002-depth"});
}

TEST_F(SecondGenerationSubDirectories, NumberHasItsLowEightDigits) {
  start(1);
  engine_.CurrentSubDirectoryIndex = 1234567;
  capture(0);
  EXPECT_EQ(frames("01234567"), stamped({0}));
  EXPECT_STREQ(engine_.temp_strdest, "01234567");
}

TEST_F(SecondGenerationSubDirectories, ModeIsThatOfTheProcessMask) {
  start(1);
  const mode_t before = umask(0022);
  capture(0);
  umask(0);
  capture(1);
  umask(before);
  struct stat status = {};
  ASSERT_EQ(stat(folder("00000000").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0755U);
  ASSERT_EQ(stat(folder("00000001").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0777U);
}

TEST_F(SecondGenerationSubDirectories, NoContentListIsWritten) {
  start(2);
  for (int i = 0; i < 3; ++i) capture(i);
  EXPECT_FALSE(std::filesystem::exists(folder("00000000/list.txt")));
  EXPECT_FALSE(std::filesystem::exists(directory_.file("info.txt")));
}

// --- Refused ------------------------------------------------------------------------------------

TEST_F(SecondGenerationSubDirectories, ExistingOneIsRefused) {
  start(3);
  std::filesystem::create_directory(folder("00000000"));
  const auto seen = capture(0);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, first_info_line(moment_after(0)) + creating_line(folder("00000000")) +
                             failed_to_create_line(folder("00000000")));
  EXPECT_EQ(seen.keys, 1);
  EXPECT_TRUE(files_in(folder("00000000")).empty());
  EXPECT_FALSE(engine_.RECORDED);
  EXPECT_FALSE(engine_.INITIALISED);
}

TEST_F(SecondGenerationSubDirectories, ExistingOneIsRefusedAgainAndAgain) {
  start(3);
  std::filesystem::create_directory(folder("00000000"));
  for (int i = 0; i < 3; ++i) {
    const auto seen = capture(i);
    EXPECT_FALSE(seen.result);
    EXPECT_TRUE(seen.output.ends_with(creating_line(folder("00000000")) +
                                      failed_to_create_line(folder("00000000"))));
    EXPECT_EQ(seen.keys, 1);
  }
  EXPECT_TRUE(files_in(folder("00000000")).empty());
}

TEST_F(SecondGenerationSubDirectories, RefusedOneIsMadeOnceItIsOutOfTheWay) {
  start(3);
  std::filesystem::create_directory(folder("00000000"));
  capture(0);
  std::filesystem::remove(folder("00000000"));
  EXPECT_TRUE(capture(1).result);
  EXPECT_EQ(frames("00000000"), stamped({1}));
}

TEST_F(SecondGenerationSubDirectories, LaterOneThatExistsIsRefused) {
  start(2);
  std::filesystem::create_directory(folder("00000001"));
  EXPECT_TRUE(capture(0).result);
  EXPECT_TRUE(capture(1).result);
  const auto seen = capture(2);
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(seen.output.ends_with(creating_line(folder("00000001")) +
                                    failed_to_create_line(folder("00000001"))));
  EXPECT_EQ(seen.keys, 1);
  EXPECT_EQ(engine_.CurrentSubDirectoryIndex, 1);
  EXPECT_EQ(engine_.CurrentNbFramesSavedInSubDirectory, 0);
}

TEST_F(SecondGenerationSubDirectories, MissingDirectoryIsAFailureToCreate) {
  settings_.directory = directory_.file("missing");
  settings_.sub_directories = true;
  start_engine(engine_, settings_);
  const std::string made = settings_.directory + "/00000000";
  const auto seen = capture(0);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            first_info_line(moment_after(0)) + creating_line(made) + failed_to_create_line(made));
  EXPECT_EQ(seen.keys, 1);
  std::filesystem::create_directory(settings_.directory);
  const auto later = capture(1);
  EXPECT_TRUE(later.result);
  EXPECT_NE(later.output.find(creating_line(made)), std::string::npos);
  EXPECT_EQ(frames_in(made), stamped({1}));
}

TEST_F(SecondGenerationSubDirectories, SecondConstructDoesNotTakeOverAnExistingOne) {
  start(5);
  capture(0);
  start_engine(engine_, settings_);
  const auto seen = capture(1);
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(seen.output.ends_with(failed_to_create_line(folder("00000000"))));
  EXPECT_EQ(frames("00000000"), stamped({0}));
}

TEST_F(SecondGenerationSubDirectories, DirectoryTooLongForTheSubDirectoryIsRefused) {
  for (const std::size_t length : {std::size_t{503}, std::size_t{511}}) {
    std::string directory = directory_.path();
    while (directory.size() + 2 <= length) directory += "/.";
    directory.resize(length, '/');
    settings_.directory = directory;
    settings_.sub_directories = true;
    start_engine(engine_, settings_);
    const auto seen = capture(0);
    EXPECT_FALSE(seen.result) << length;
    EXPECT_EQ(seen.keys, 1) << length;
    EXPECT_TRUE(files_in(directory_.path()).empty()) << length;
    EXPECT_FALSE(engine_.INITIALISED) << length;
  }
}

// --- The two steps by themselves ----------------------------------------------------------------

TEST_F(SecondGenerationSubDirectories, HandleWithoutSubDirectoriesOnlyAddsASlash) {
  settings_.directory = directory_.path();
  start_engine(engine_, settings_);
  const auto seen = observe([&] { return engine_.SubDirHandle(true, 3); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(engine_.temp_string, directory_.slash());
  EXPECT_EQ(engine_.FirstIndexSavedInSubDirectory, -1);
}

TEST_F(SecondGenerationSubDirectories, HandleMakesTheSubDirectoryAndNamesBothPaths) {
  start(2);
  const auto seen = observe([&] { return engine_.SubDirHandle(false, 3); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, creating_line(folder("00000000")));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(engine_.temp_string, folder("00000000") + "/");
  EXPECT_EQ(engine_.temp_string2, folder("00000000"));
  EXPECT_STREQ(engine_.temp_strdest, "00000000");
  EXPECT_EQ(engine_.FirstIndexSavedInSubDirectory, 3);
}

TEST_F(SecondGenerationSubDirectories, HandleMakesNothingWhileTheSubDirectoryHoldsFrames) {
  start(2);
  engine_.CurrentNbFramesSavedInSubDirectory = 1;
  const auto seen = observe([&] { return engine_.SubDirHandle(false, 3); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(engine_.temp_string, folder("00000000") + "/");
  EXPECT_TRUE(files_in(directory_.path()).empty());
  EXPECT_EQ(engine_.FirstIndexSavedInSubDirectory, -1);
}

TEST_F(SecondGenerationSubDirectories, UpdateCountsAndMovesOn) {
  start(2);
  engine_.SubDirUpdate();
  EXPECT_EQ(engine_.CurrentNbFramesSavedInSubDirectory, 1);
  EXPECT_EQ(engine_.CurrentSubDirectoryIndex, 0);
  engine_.SubDirUpdate();
  EXPECT_EQ(engine_.CurrentNbFramesSavedInSubDirectory, 0);
  EXPECT_EQ(engine_.CurrentSubDirectoryIndex, 1);
}

TEST_F(SecondGenerationSubDirectories, UpdateDoesNothingWithoutSubDirectories) {
  settings_.directory = directory_.path();
  start_engine(engine_, settings_);
  engine_.SubDirUpdate();
  EXPECT_EQ(engine_.CurrentNbFramesSavedInSubDirectory, 0);
  EXPECT_EQ(engine_.CurrentSubDirectoryIndex, 0);
}

}  // namespace
}  // namespace depth_io::test
