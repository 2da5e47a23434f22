#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <map>

#include "tests/support/file_tree.h"
#include "tests/support/german_locale.h"
#include "tests/tools/depthrw_fixture.h"

// The program where something of the usual surroundings is missing or small.
namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

/// Of the recordings that a test makes all are of the same frames at the same times.
class DepthrwEnvironment : public Depthrw {
 protected:
  ProgramResult record_at(const std::string& name, const std::string& layout,
                          const ProgramStart& start = {}, const std::string& frames = "3") const {
    return run_program({"record", "--out", path(name), "--layout", layout, "--frames", frames,
                        "--seed", "1", "--fps", "0.02", "--start", "2013-04-09T14:05:07"},
                       start);
  }

  /// The files of the frames, without the description of the run.
  std::map<std::string, std::string> frame_files(const std::string& name) const {
    auto files = file_tree(path(name));
    std::erase_if(files, [](const auto& file) { return file.first.ends_with(".json"); });
    return files;
  }

  /// Records, plays and verifies as ever, started like this.
  void expect_usual_work(const ProgramStart& start,
                         const std::vector<const char*>& layouts = {"flat", "numbered", "tree"},
                         const std::string& frames = "3") const {
    for (const char* layout : layouts) {
      SCOPED_TRACE(layout);
      const std::string usual = std::string("usual_") + layout;
      ASSERT_EQ(record_at(usual, layout, {}, frames).status, 0);
      const ProgramResult recorded = record_at(layout, layout, start, frames);
      ASSERT_EQ(recorded.status, 0) << recorded.messages;
      EXPECT_TRUE(frame_files(layout) == frame_files(usual));
      EXPECT_GE(frame_files(layout).size(), 15U);
      for (const char* command : {"play", "info", "verify"}) {
        const ProgramResult seen = run_program({command, path(layout), "--json"}, start);
        const ProgramResult expected = run_program({command, path(layout), "--json"});
        EXPECT_EQ(seen.status, 0) << command << seen.messages;
        EXPECT_EQ(seen.output, expected.output) << command;
        EXPECT_NE(seen.output, "") << command;
      }
    }
  }
};

TEST_F(DepthrwEnvironment, WorksTheSameInAGermanLocale) {
  const GermanLocale locale;
  if (!locale.active()) GTEST_SKIP() << "no German locale is installed or can be built here";
  ProgramStart start;
  const std::string name = locale.name();
  start.prepare = [&name] { return setenv("LC_ALL", name.c_str(), 1) == 0; };
  expect_usual_work(start);
}

TEST_F(DepthrwEnvironment, AStackOf512KilobytesIsEnough) {
  ProgramStart start;
  start.prepare = [] {
    constexpr rlim_t kStack = 512 * 1024;
    const rlimit limit = {kStack, kStack};
    return setrlimit(RLIMIT_STACK, &limit) == 0;
  };
  expect_usual_work(start);
}

TEST_F(DepthrwEnvironment, SixtyFourDescriptorsAreEnough) {
  ProgramStart start;
  start.prepare = [] {
    constexpr rlim_t kDescriptors = 64;
    const rlimit limit = {kDescriptors, kDescriptors};
    return setrlimit(RLIMIT_NOFILE, &limit) == 0;
  };
  // More folders than that in the tree.
  expect_usual_work(start, {"tree"}, "70");
}

// --- Read-only directories ----------------------------------------------------------------------

/// The superuser may write everywhere: the program is started without that right.
ProgramStart without_override() {
  ProgramStart start;
  start.prepare = [] { return geteuid() != 0 || prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE) == 0; };
  return start;
}

class ReadOnlyRecording : public DepthrwEnvironment {
 protected:
  void SetUp() override {
    ASSERT_EQ(record_at("rec", "numbered").status, 0);
    ASSERT_EQ(run_program({"catalogue", path("rec")}).status, 0);
    before_ = file_tree(path("rec"));
    set_writable(false);
    ProgramStart touch = without_override();
    touch.program = "/bin/touch";
    ASSERT_NE(run_program({path("rec/new")}, touch).status, 0) << "the directory can be written";
  }
  void TearDown() override {
    EXPECT_TRUE(file_tree(path("rec")) == before_);
    set_writable(true);
  }
  void damage_a_frame() {
    set_writable(true);
    for (const auto& [name, bytes] : before_) {
      if (name.ends_with(".ref")) fs::resize_file(path("rec/" + name), bytes.size() / 2);
    }
    before_ = file_tree(path("rec"));
    set_writable(false);
  }

 private:
  void set_writable(bool is) const {
    const auto change = is ? fs::perm_options::add : fs::perm_options::remove;
    constexpr fs::perms kWrite =
        fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    fs::permissions(path("rec"), kWrite, change);
    for (const auto& entry : fs::recursive_directory_iterator(path("rec"))) {
      fs::permissions(entry.path(), kWrite, change);
    }
  }
  std::map<std::string, std::string> before_;
};

TEST_F(ReadOnlyRecording, IsPlayedVerifiedAndToldAbout) {
  for (const char* command : {"play", "verify", "info"}) {
    const ProgramResult seen = run_program({command, path("rec"), "--json"}, without_override());
    const ProgramResult expected = run_program({command, path("rec"), "--json"});
    EXPECT_EQ(seen.status, 0) << command << seen.messages;
    EXPECT_EQ(seen.output, expected.output) << command;
  }
}

TEST_F(ReadOnlyRecording, IsNotRecordedInto) {
  const ProgramResult appended = run_program(
      {"record", "--out", path("rec/more"), "--frames", "1", "--layout", "tree", "--append"},
      without_override());
  EXPECT_EQ(appended.status, 1);
  EXPECT_THAT(appended.messages, HasSubstr(path("rec/more")));
}

TEST_F(ReadOnlyRecording, IsCountedByTheListingProgram) {
  ProgramStart start = without_override();
  start.program = COUNT_ENTRIES_PROGRAM;
  const ProgramResult seen = run_program({path("rec")}, start);
  start.prepare = {};
  const ProgramResult expected = run_program({path("rec")}, start);
  EXPECT_EQ(seen.status, expected.status);
  EXPECT_EQ(seen.output, expected.output);
}

TEST_F(ReadOnlyRecording, QuarantineFailsAndMovesNothing) {
  damage_a_frame();
  const ProgramResult result =
      run_program({"verify", path("rec"), "--quarantine", path("aside")}, without_override());
  EXPECT_NE(result.status, 0);
  EXPECT_NE(result.messages, "");
}

}  // namespace
}  // namespace depth_io::test
