#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "catalogue/catalogue.h"
#include "tests/support/child_process.h"
#include "tests/support/file_tree.h"
#include "tests/support/german_locale.h"
#include "tests/support/players.h"
#include "tests/support/process_limits.h"
#include "tests/support/quiet_console.h"

// Engines at work where something of the usual surroundings is missing or small.
namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

bool plays_all(int generation, const std::string& directory, int frames = kPlayedFrames) {
  const auto player = make_player(generation, directory, frames);
  player->rewind();
  const Played played = play(*player);
  return played.frames == frames && played.all_are_right && played.came_to_end;
}

bool records_and_plays(int generation, const std::string& directory) {
  return record_to_play(generation, directory) && plays_all(generation, directory);
}

class Environment : public testing::TestWithParam<int> {
 protected:
  int generation() const { return GetParam(); }
  const std::string& directory() const { return directory_.path(); }

  /// The files of the same recording, made and played as usual.
  std::map<std::string, std::string> usual_files() const {
    const QuietConsole console;
    const TempDirectory usual;
    EXPECT_TRUE(records_and_plays(generation(), usual.path()));
    return file_tree(usual.path());
  }
  void expect_usual_files() const {
    const auto usual = usual_files();
    const auto seen = file_tree(directory());
    EXPECT_GE(usual.size(), 15U);
    ASSERT_EQ(seen.size(), usual.size());
    for (const auto& [name, bytes] : usual) {
      ASSERT_TRUE(seen.contains(name)) << name;
      EXPECT_TRUE(seen.at(name) == bytes) << name;
    }
  }

 private:
  TempDirectory directory_;
};

// --- Standard streams ---------------------------------------------------------------------------

/// A failed frame and a good one after it: engines wait for a key at a failure.
bool fails_and_goes_on(int generation, const std::string& directory) {
  const auto recorder = make_recorder(generation, directory);
  const std::string away = directory + ".away";
  recorder->show(0);
  fs::rename(directory, away);
  const bool has_failed = !recorder->capture(played_moment(0), true);
  fs::rename(away, directory);
  return has_failed && recorder->capture(played_moment(0), true) &&
         recorder->has(0, played_moment(0));
}

TEST_P(Environment, FailuresDoNotBlockWhereStandardInputIsTheNullDevice) {
  const int status = run_in_child([&] {
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    return fails_and_goes_on(generation(), directory());
  });
  EXPECT_EQ(status, 0);
}

TEST_P(Environment, FailuresDoNotBlockWhereStandardInputIsClosed) {
  const int status = run_in_child([&] {
    close(STDIN_FILENO);
    return fails_and_goes_on(generation(), directory());
  });
  EXPECT_EQ(status, 0);
}

TEST_P(Environment, FailuresDoNotBlockAServiceWhereStandardInputIsAnIdlePipe) {
  const int status = run_in_child([&] {
    int ends[2];
    if (pipe(ends) != 0) return false;
    dup2(ends[0], STDIN_FILENO);
    const QuietConsole service;
    return fails_and_goes_on(generation(), directory());
  });
  EXPECT_EQ(status, 0);
}

TEST_P(Environment, NoFrameIsLostWhereStandardOutputIsFull) {
  const int status = run_in_child([&] {
    dup2(open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    return records_and_plays(generation(), directory());
  });
  EXPECT_EQ(status, 0);
  expect_usual_files();
}

// What is opened next gets the descriptor of standard output; messages must not land in it.
TEST_P(Environment, NoMessageLandsInAFileWhereStandardStreamsAreClosed) {
  const int status = run_in_child([&] {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(stream);
    return records_and_plays(generation(), directory());
  });
  EXPECT_EQ(status, 0);
  expect_usual_files();
}

// --- Locale, stack, descriptors -----------------------------------------------------------------

TEST_P(Environment, FilesAndFramesAreTheSameInAGermanLocale) {
  {
    const QuietConsole console;
    const GermanLocale locale;
    if (!locale.active()) GTEST_SKIP() << "no German locale is installed or can be built here";
    EXPECT_TRUE(records_and_plays(generation(), directory()));
  }
  expect_usual_files();
}

struct StackWork {
  int generation;
  std::string directory;
  bool good = false;
};

void* work_on_small_stack(void* argument) {
  auto* const work = static_cast<StackWork*>(argument);
  bool good = records_and_plays(work->generation, work->directory);
  const TempDirectory place;
  const auto recorder = make_recorder(work->generation, place.path());
  const Moment m = played_moment(0);
  recorder->show(1);
  good = good && recorder->capture(m, false) && recorder->record_ring(m, m) && recorder->has(1, m);
  if (work->generation == 2) good = good && ListEntriesInDir(place.path().c_str()) == 1;
  work->good = good;
  return nullptr;
}

TEST_P(Environment, AStackOf512KilobytesIsEnough) {
  const QuietConsole console;
  constexpr std::size_t kStack = 512 * 1024;
  StackWork work{generation(), directory()};
  pthread_attr_t attributes;
  pthread_t thread;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStack), 0);
  ASSERT_EQ(pthread_create(&thread, &attributes, work_on_small_stack, &work), 0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  pthread_attr_destroy(&attributes);
  EXPECT_TRUE(work.good) << console.text();
}

TEST_P(Environment, SixtyFourDescriptorsAreEnough) {
  constexpr int kFrames = 140;  // more folders than that in each generation that has folders
  const QuietConsole console;
  const DescriptorLimit limit(64);
  ASSERT_TRUE(record_to_play(generation(), directory(), kFrames)) << console.text();
  EXPECT_TRUE(plays_all(generation(), directory(), kFrames)) << console.text();
}

// --- Directories that cannot be written ---------------------------------------------------------

/// Makes a directory with all that is in it read-only, for as long as it lives.
class ReadOnly {
 public:
  explicit ReadOnly(std::string directory) : directory_(std::move(directory)) { set(0555); }
  ~ReadOnly() { set(0755); }
  ReadOnly(const ReadOnly&) = delete;
  ReadOnly& operator=(const ReadOnly&) = delete;

 private:
  void set(mode_t mode) const {
    EXPECT_EQ(chmod(directory_.c_str(), mode), 0);
    for (const auto& entry : fs::recursive_directory_iterator(directory_)) {
      EXPECT_EQ(chmod(entry.path().c_str(), entry.is_directory() ? mode : mode & 0666U), 0);
    }
  }
  std::string directory_;
};

TEST_P(Environment, ReadOnlyDirectoryFailsTheFrameAndIsLeftAsItWas) {
  QuietConsole console;
  const auto recorder = make_recorder(generation(), directory());
  recorder->show(0);
  ASSERT_TRUE(recorder->capture(moment_of(0), true)) << console.text();
  const auto before = file_tree(directory());
  {
    const ReadOnly read_only(directory());
    const OrdinaryUser user;
    ASSERT_TRUE(user.ordinary());
    recorder->show(1);
    console.clear();
    EXPECT_FALSE(recorder->capture(moment_of(1), true));
    EXPECT_TRUE(console.complains()) << console.text();
    EXPECT_EQ(file_tree(directory()), before);
  }
  EXPECT_TRUE(recorder->capture(moment_of(1), true)) << console.text();
  EXPECT_TRUE(recorder->has(0, moment_of(0)));
  EXPECT_TRUE(recorder->has(1, moment_of(1)));
}

TEST_P(Environment, ReadOnlyRecordingIsPlayed) {
  const QuietConsole console;
  ASSERT_TRUE(record_to_play(generation(), directory()));
  // The second generation plays what was listed.
  if (generation() == 2) {
    ASSERT_EQ(ListEntriesInDir(directory().c_str()), (kPlayedFrames + 1) / 2);
  }
  const auto before = file_tree(directory());
  {
    const ReadOnly read_only(directory());
    const OrdinaryUser user;
    ASSERT_TRUE(user.ordinary());
    EXPECT_TRUE(plays_all(generation(), directory())) << console.text();
  }
  EXPECT_EQ(file_tree(directory()), before);
}

INSTANTIATE_TEST_SUITE_P(Generations, Environment, testing::Values(1, 2, 3));

TEST(EnvironmentOfTheSecondGeneration, ReadOnlyRecordingThatWasNeverListedGivesNoFrames) {
  const QuietConsole console;
  const TempDirectory directory;
  ASSERT_TRUE(record_to_play(2, directory.path()));
  const auto before = file_tree(directory.path());
  {
    const ReadOnly read_only(directory.path());
    const OrdinaryUser user;
    ASSERT_TRUE(user.ordinary());
    EXPECT_FALSE(plays_all(2, directory.path()));
    EXPECT_TRUE(console.complains()) << console.text();
  }
  EXPECT_EQ(file_tree(directory.path()), before);
}

}  // namespace
}  // namespace depth_io::test
