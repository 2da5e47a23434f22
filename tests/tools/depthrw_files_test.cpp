#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "tests/tools/depthrw_fixture.h"
#include "tests/tools/image_directory.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

/// The commands that write files about recordings: catalogue, dump, scripts, summaries.
class DepthrwFiles : public Depthrw {
 protected:
  /// Three frames at 1, 2 and 3 metres.
  void record_steps(const std::string& layout, std::vector<std::string> more = {}) {
    ImageDirectory images;
    for (int i = 0; i < 3; ++i) {
      images.add_depth(std::to_string(i), static_cast<std::uint16_t>(1000 * (i + 1)));
    }
    std::vector<std::string> arguments = {"record",
                                          "--out",
                                          path("rec"),
                                          "--layout",
                                          layout,
                                          "--source",
                                          "images:" + images.path(),
                                          "--start",
                                          "2013-12-31T23:59:59.900",
                                          "--fps",
                                          "10"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    ASSERT_EQ(run_program(arguments).status, 0);
  }

  /// The metres of a dump's pixel; -1 when it is none.
  double dumped_depth() const {
    const std::string bytes = read_file(path("dump"));
    const std::string header("\xE0\x01\0\0\x80\x02\0\0", 8);
    if (bytes.size() != 1228808 || bytes.substr(0, 8) != header) return -1;
    float depth = -1;
    std::memcpy(&depth, bytes.data() + 8 + 4 * 100000, sizeof depth);
    return static_cast<double>(depth);
  }
};

TEST_F(DepthrwFiles, TheCatalogueOfNumberedDirectoriesIsWritten) {
  record_steps("numbered", {"--per-directory", "2"});
  const ProgramResult result = run_program({"catalogue", path("rec")});
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(result.output, HasSubstr("listed     2 sub-directories"));
  EXPECT_EQ(result.messages, "");
  EXPECT_EQ(read_file(path("rec/00000000/list.txt")),
            "0 2013-12-31T23-59-59.900000\n1 2014-01-01T00-00-00.000000\n");
  EXPECT_EQ(read_file(path("rec/00000001/list.txt")), "0 2014-01-01T00-00-00.100000\n");
  EXPECT_EQ(read_file(path("rec/info00000000.txt")),
            "start 0 2013-12-31T23-59-59.900000\nend 1 2014-01-01T00-00-00.000000\n");
  EXPECT_EQ(read_file(path("rec/info.txt")), "nb_sub_dir 2\n");
  EXPECT_EQ(played_names().size(), 3U);
}

TEST_F(DepthrwFiles, TheCatalogueIsAlsoJson) {
  record_steps("numbered", {"--per-directory", "1"});
  const ProgramResult result = run_program({"catalogue", path("rec"), "--json"});
  EXPECT_EQ(nlohmann::json::parse(result.output)["sub_directories"], 3);
}

TEST_F(DepthrwFiles, ACatalogueThatCannotBeMadeIsAFailure) {
  EXPECT_EQ(run_program({"catalogue", path("none")}).status, 1);
  record_steps("numbered");
  fs::create_directory(path("rec/info.txt"));
  const ProgramResult result = run_program({"catalogue", path("rec")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("info.txt' could not be written"));
}

TEST_F(DepthrwFiles, ACatalogueOfNamesWithoutTimesIsAFailure) {
  fs::create_directories(path("rec/00000000"));
  write_file(path("rec/00000000/a frame at x-depth.rle"), "");
  write_file(path("rec/00000000/yesterday-at-noon-depth.rle"), "");
  const ProgramResult result = run_program({"catalogue", path("rec")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("could not be understood"));
}

TEST_F(DepthrwFiles, CountEntriesInDirListsAndCounts) {
  record_steps("numbered", {"--per-directory", "2"});
  ProgramStart start;
  start.program = COUNT_ENTRIES_PROGRAM;
  const ProgramResult result = run_program({path("rec")}, start);
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, testing::EndsWith("entries in " + path("rec") + ": 2\n"));
  EXPECT_EQ(read_file(path("rec/info.txt")), "nb_sub_dir 2\n");
}

TEST_F(DepthrwFiles, CountEntriesInDirWantsOneArgumentAndNoKey) {
  ProgramStart start;
  start.program = COUNT_ENTRIES_PROGRAM;
  EXPECT_EQ(run_program({}, start).status, 1);
  EXPECT_EQ(run_program({"a", "b"}, start).status, 1);
  fs::create_directories(path("rec/00000000"));
  write_file(path("rec/00000000/yesterday-at-noon-depth.rle"), "");
  EXPECT_EQ(run_program({path("rec")}, start).status, 0);
  start.output = Stream::kFull;
  EXPECT_EQ(run_program({path("rec")}, start).status, 1);
}

TEST_F(DepthrwFiles, AFrameIsDumpedByNumberPlaceTimeOrName) {
  const struct {
    const char* layout;
    const char* frame;
  } cases[] = {{"flat", "1"},
               {"flat", "depth-00000001"},
               {"flat", "2014-01-01T00:00:00"},
               {"tree", "1"},
               {"tree", "2014-01-01T00-00-00.000000"},
               {"tree", "2014-01-01/00h/00mn/2014-01-01T00-00-00.000000-depth"},
               {"numbered", "1"},
               {"numbered", "2014-01-01T00:00:00.000"}};
  for (const auto& c : cases) {
    fs::remove_all(path("rec"));
    record_steps(c.layout);
    const ProgramResult result = run_program({"dump", path("rec"), c.frame, path("dump")});
    EXPECT_EQ(result.status, 0) << c.layout << c.frame << result.messages;
    EXPECT_NEAR(dumped_depth(), 2.0, 1e-3) << c.layout << c.frame;
  }
}

TEST_F(DepthrwFiles, ADumpThatCannotBeMadeIsAFailure) {
  record_steps("tree");
  for (const char* frame : {"3", "2014-01-01T00:00:01", "depth"}) {
    const ProgramResult result = run_program({"dump", path("rec"), frame, path("dump")});
    EXPECT_EQ(result.status, 1) << frame;
    EXPECT_THAT(result.messages, HasSubstr("there is no frame"));
  }
  EXPECT_EQ(run_program({"dump", path("rec"), "0", path("none/dump")}).status, 1);
  EXPECT_EQ(run_program({"dump", path("rec"), "0", path("rec")}).status, 1);
  fs::remove(path("rec/" + played_names().at(0) + ".err"));
  EXPECT_EQ(run_program({"dump", path("rec"), "0", path("dump")}).status, 1);
  EXPECT_FALSE(fs::exists(path("dump")));
}

TEST_F(DepthrwFiles, ScriptsListWhatTheSummariesTell) {
  record_steps("numbered", {"--per-directory", "2"});
  ProgramStart start;
  start.working_directory = path("");
  const ProgramResult scripts = run_program({"scripts", path("rec"), "2"}, start);
  EXPECT_EQ(scripts.status, 0) << scripts.messages;
  EXPECT_EQ(scripts.output, "batch_create_empty_sub_dir.sh\nbatch_read_sub_dir.sh\n");
  EXPECT_EQ(run_program({"summaries", path("rec"), "2"}, start).status, 1);
  const std::string command = "sh '" + path("batch_read_sub_dir.sh") + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  const ProgramResult summaries = run_program({"summaries", path("rec"), "2"}, start);
  EXPECT_EQ(summaries.status, 0) << summaries.messages;
  EXPECT_THAT(summaries.output, HasSubstr("summarised 2 sub-directories"));
  EXPECT_EQ(read_file(path("rec/fresume00000000.txt")),
            "start 2013-12-31T23-59-59.900000-depth.rle\n"
            "stop 2014-01-01T00-00-00.000000-depth.rle\n");
}

TEST_F(DepthrwFiles, TheCreatingScriptMakesDirectories) {
  ProgramStart start;
  start.working_directory = path("");
  ASSERT_EQ(run_program({"scripts", path("new"), "3"}, start).status, 0);
  const std::string command = "sh '" + path("batch_create_empty_sub_dir.sh") + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_THAT(files_in("new"), testing::ElementsAre("00000000", "00000001", "00000002"));
}

TEST_F(DepthrwFiles, ScriptsThatCannotBeWrittenAreAFailure) {
  fs::create_directory(path("batch_read_sub_dir.sh"));
  ProgramStart start;
  start.working_directory = path("");
  EXPECT_EQ(run_program({"scripts", path("rec"), "3"}, start).status, 1);
}

TEST_F(DepthrwFiles, ADirectoryThatTheShellSplitsIsTold) {
  ProgramStart start;
  start.working_directory = path("");
  const ProgramResult result = run_program({"scripts", "my recording", "3"}, start);
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.messages, HasSubstr("one word"));
}

}  // namespace
}  // namespace depth_io::test
