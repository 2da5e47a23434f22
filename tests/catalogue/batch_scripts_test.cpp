#include <sys/stat.h>

#include <cstdlib>

#include "catalogue/catalogue.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/second_generation_fixture.h"

// The shell scripts that survey numbered sub-directories, run as a user runs them, and their
// summaries.
namespace depth_io::test {
namespace {

constexpr char kCreateScript[] = "batch_create_empty_sub_dir.sh";
constexpr char kReadScript[] = "batch_read_sub_dir.sh";
constexpr char kRunItNow[] =
    "SUCCESS. NOW RUN ./batch_read_sub_dir.sh BEFORE running ReadSubDirBatch_part2\n";

std::string digits(int number) {
  const std::string text = std::to_string(number);
  return std::string(8 - text.size(), '0') + text;
}

/// Works in a directory of its own, in which "rec" is the recording.
class BatchScripts : public ::testing::Test {
 protected:
  BatchScripts() : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(directory_.path());
  }
  ~BatchScripts() override { std::filesystem::current_path(before_); }

  ConsoleTrace create(const std::string& recording, int count) {
    Text name(recording);
    return capture_console([&] { CreateSubDirBatch(name, count); });
  }
  ConsoleTrace read_part1(const std::string& recording, int count) {
    Text name(recording);
    return capture_console([&] { ReadSubDirBatch_part1(name, count); });
  }
  ConsoleTrace read_part2(const std::string& recording, int count) {
    Text name(recording);
    return capture_console([&] { ReadSubDirBatch_part2(name, count); });
  }
  Outcome<int> count_summaries(const std::string& recording, int count) {
    Text name(recording);
    return observe([&] { return ReadNbSubDir(name, count); });
  }
  static int run(const std::string& script) {
    return std::system(("sh ./" + script + " 2>/dev/null").c_str());
  }
  /// A recording whose sub-directories hold these lists.
  static void make_lists(const std::vector<std::string>& lists) {
    for (std::size_t i = 0; i < lists.size(); ++i) {
      const std::string folder = "rec/" + digits(static_cast<int>(i));
      std::filesystem::create_directories(folder);
      write_file(folder + "/ls.txt", lists[i]);
    }
  }
  static std::string summary(int number) { return "rec/fresume" + digits(number) + ".txt"; }
  static std::string scan_line(int number) {
    return "ReadSubDirBatch_part2 - open 'rec/" + digits(number) + "/ls.txt' to scan\n";
  }
  static std::string write_line(int number) {
    return "ReadSubDirBatch_part2 - open '" + summary(number) + "' to write start and stop\n";
  }
  static std::string count_line(int number) {
    return "ReadNbSubDir - open '" + summary(number) + "' to scan\n";
  }

  TempDirectory directory_;
  std::filesystem::path before_;
};

// --- Script that makes sub-directories ----------------------------------------------------------

TEST_F(BatchScripts, CreateScriptHasALineForEachStep) {
  create("rec", 3);
  EXPECT_EQ(read_file(kCreateScript),
            "mkdir rec\ncd rec\nmkdir 00000000\nmkdir 00000001\nmkdir 00000002\n");
}

TEST_F(BatchScripts, CreatePrintsItsName) {
  const ConsoleTrace trace = create("rec", 3);
  EXPECT_EQ(trace.output, "CreateSubDirBatch\n");
  EXPECT_EQ(trace.keys, 0);
}

TEST_F(BatchScripts, CreateScriptMakesEmptySubDirectories) {
  create("rec", 12);
  EXPECT_EQ(run(kCreateScript), 0);
  const std::vector<std::string> made = files_in("rec");
  ASSERT_EQ(made.size(), 12U);
  EXPECT_EQ(made.front(), "00000000");
  EXPECT_EQ(made.back(), "00000011");
  EXPECT_TRUE(files_in("rec/00000005").empty());
}

TEST_F(BatchScripts, CreateScriptTakesAnAbsoluteDirectory) {
  create(directory_.file("elsewhere"), 1);
  EXPECT_EQ(run(kCreateScript), 0);
  EXPECT_EQ(files_in(directory_.file("elsewhere")), std::vector<std::string>{"00000000"});
}

TEST_F(BatchScripts, CreateScriptIsReplacedWhole) {
  create("rec", 100);
  create("x", 0);
  EXPECT_EQ(read_file(kCreateScript), "mkdir x\ncd x\n");
}

TEST_F(BatchScripts, CreateWithoutSubDirectoriesHasItsFirstLinesOnly) {
  for (const int count : {0, -1, -1000}) {
    const ConsoleTrace trace = create("rec", count);
    EXPECT_EQ(read_file(kCreateScript), "mkdir rec\ncd rec\n");
    EXPECT_EQ(trace.output, "CreateSubDirBatch\n");
  }
}

TEST_F(BatchScripts, DirectoryIsWrittenAsGiven) {
  create("a b'c\"$d;", 0);
  EXPECT_EQ(read_file(kCreateScript), "mkdir a b'c\"$d;\ncd a b'c\"$d;\n");
}

TEST_F(BatchScripts, ScriptsCannotBeExecutedAndBeginWithoutAnInterpreter) {
  create("rec", 1);
  read_part1("rec", 1);
  for (const char* script : {kCreateScript, kReadScript}) {
    struct stat status = {};
    ASSERT_EQ(stat(script, &status), 0);
    EXPECT_EQ(status.st_mode & 0111U, 0U) << script;
    EXPECT_FALSE(read_file(script).starts_with("#!")) << script;
  }
}

// --- Script that lists frames -------------------------------------------------------------------

TEST_F(BatchScripts, ReadScriptHasThreeLinesForEachSubDirectory) {
  read_part1("rec", 2);
  EXPECT_EQ(read_file(kReadScript),
            "cd rec\ncd 00000000\nls *.rle > ls.txt\ncd ..\ncd 00000001\nls *.rle > ls.txt\n"
            "cd ..\n");
}

TEST_F(BatchScripts, ReadPart1PrintsItsNameAndWhatToDo) {
  const ConsoleTrace trace = read_part1("rec", 2);
  EXPECT_EQ(trace.output, std::string("ReadSubDirBatch_part1\n") + kRunItNow);
  EXPECT_EQ(trace.keys, 0);
}

TEST_F(BatchScripts, ReadWithoutSubDirectoriesHasItsFirstLineOnly) {
  for (const int count : {0, -1}) {
    const ConsoleTrace trace = read_part1("rec", count);
    EXPECT_EQ(read_file(kReadScript), "cd rec\n");
    EXPECT_EQ(trace.output, std::string("ReadSubDirBatch_part1\n") + kRunItNow);
  }
}

TEST_F(BatchScripts, ScriptThatCannotBeCreatedIsNotTold) {
  std::filesystem::create_directory(kCreateScript);
  std::filesystem::create_directory(kReadScript);
  EXPECT_EQ(create("rec", 1).output, "CreateSubDirBatch\n");
  const ConsoleTrace trace = read_part1("rec", 1);
  EXPECT_EQ(trace.output, std::string("ReadSubDirBatch_part1\n") + kRunItNow);
  EXPECT_EQ(trace.keys, 0);
}

TEST_F(BatchScripts, LinksInTheScriptsPlaceAreNotWrittenThrough) {
  write_file("precious", "precious");
  for (const char* script : {kCreateScript, kReadScript}) {
    std::filesystem::create_symlink("precious", script);
  }
  create("rec", 1);
  read_part1("rec", 1);
  EXPECT_EQ(read_file("precious"), "precious");
}

// --- The whole survey ---------------------------------------------------------------------------

/// A recording of `frames` frames in sub-directories of two.
void record_frames(int frames) {
  std::filesystem::create_directory("rec");
  SecondSettings settings;
  settings.directory = "rec";
  settings.sub_directories = true;
  settings.per_directory = 2;
  SecondRecorder recorder(settings);
  for (int i = 0; i < frames; ++i) recorder.record(moment_after(i), flat_depth(1.0F));
}

std::string frame_name(int second) { return stamp_of(moment_after(second)) + "-depth.rle"; }

TEST_F(BatchScripts, SurveyOfARecording) {
  record_frames(5);
  read_part1("rec", 5);
  run(kReadScript);
  EXPECT_EQ(read_file("rec/00000000/ls.txt"), frame_name(0) + "\n" + frame_name(1) + "\n");
  EXPECT_EQ(read_file("rec/00000002/ls.txt"), frame_name(4) + "\n");
  read_part2("rec", 5);
  EXPECT_EQ(read_file(summary(0)), "start " + frame_name(0) + "\nstop " + frame_name(1) + "\n");
  EXPECT_EQ(read_file(summary(1)), "start " + frame_name(2) + "\nstop " + frame_name(3) + "\n");
  EXPECT_EQ(read_file(summary(2)), "start " + frame_name(4) + "\nstop " + frame_name(4) + "\n");
  EXPECT_FALSE(std::filesystem::exists(summary(3)));
  EXPECT_EQ(count_summaries("rec", 5).result, 3);
}

TEST_F(BatchScripts, SurveyOfEmptySubDirectoriesFindsNone) {
  create("rec", 3);
  run(kCreateScript);
  read_part1("rec", 3);
  run(kReadScript);
  EXPECT_EQ(read_file("rec/00000002/ls.txt"), "");
  EXPECT_EQ(read_part2("rec", 3).output,
            "ReadSubDirBatch_part2\n" + scan_line(0) + scan_line(1) + scan_line(2));
  EXPECT_EQ(count_summaries("rec", 3).result, 0);
}

TEST_F(BatchScripts, SurveyDoesNotDisturbPlayback) {
  record_frames(2);
  read_part1("rec", 1);
  run(kReadScript);
  read_part2("rec", 1);
  EXPECT_EQ(quietly([] { return ListEntriesInDir("rec"); }), 1);
  EXPECT_EQ(read_file("rec/00000000/list.txt"),
            "0 " + stamp_of(moment_after(0)) + "\n1 " + stamp_of(moment_after(1)) + "\n");
}

// --- Summaries ----------------------------------------------------------------------------------

TEST_F(BatchScripts, WholeOutputOfPart2) {
  make_lists({"a.rle\nb.rle\nc.rle\n", "", "d.rle\n"});
  const ConsoleTrace trace = read_part2("rec", 4);
  EXPECT_EQ(trace.output, "ReadSubDirBatch_part2\n" + scan_line(0) + write_line(0) + scan_line(1) +
                              scan_line(2) + write_line(2) + scan_line(3));
  EXPECT_EQ(trace.keys, 0);
}

TEST_F(BatchScripts, SummaryHasTheFirstAndLastWord) {
  make_lists({"a.rle\nb.rle\nc.rle\n"});
  read_part2("rec", 1);
  EXPECT_EQ(read_file(summary(0)), "start a.rle\nstop c.rle\n");
}

TEST_F(BatchScripts, OneNameIsFirstAndLast) {
  make_lists({"a.rle\n"});
  read_part2("rec", 1);
  EXPECT_EQ(read_file(summary(0)), "start a.rle\nstop a.rle\n");
}

TEST_F(BatchScripts, WordsMayStandApartInAnyWay) {
  make_lists({"\n \t a.rle\r\n\v b.rle c.rle"});
  read_part2("rec", 1);
  EXPECT_EQ(read_file(summary(0)), "start a.rle\nstop c.rle\n");
}

TEST_F(BatchScripts, EmptyListsGetNoSummary) {
  make_lists({"", " \n\n\t"});
  read_part2("rec", 2);
  EXPECT_FALSE(std::filesystem::exists(summary(0)));
  EXPECT_FALSE(std::filesystem::exists(summary(1)));
}

TEST_F(BatchScripts, OrderOfTheListIsKept) {
  make_lists({"z.rle\na.rle\n"});
  read_part2("rec", 1);
  EXPECT_EQ(read_file(summary(0)), "start z.rle\nstop a.rle\n");
}

TEST_F(BatchScripts, WordOf99CharactersIsKeptWhole) {
  const std::string word(99, 'w');
  make_lists({word + "\n"});
  read_part2("rec", 1);
  EXPECT_EQ(read_file(summary(0)), "start " + word + "\nstop " + word + "\n");
}

TEST_F(BatchScripts, HugeWordsDoNoHarm) {
  make_lists({std::string(10'000, 'w') + "\n", "a.rle\n"});
  const ConsoleTrace trace = read_part2("rec", 2);
  EXPECT_LT(trace.output.size(), 2000U);
  EXPECT_EQ(read_file(summary(1)), "start a.rle\nstop a.rle\n");
}

TEST_F(BatchScripts, EarlierSummaryIsReplacedWhole) {
  make_lists({"a.rle\n"});
  write_file(summary(0), std::string(5000, 'x'));
  read_part2("rec", 1);
  EXPECT_EQ(read_file(summary(0)), "start a.rle\nstop a.rle\n");
}

TEST_F(BatchScripts, SummaryThatCannotBeWrittenEndsThePartWithAKey) {
  make_lists({"a.rle\n", "b.rle\n", "c.rle\n"});
  std::filesystem::create_directory(summary(1));
  const ConsoleTrace trace = read_part2("rec", 3);
  EXPECT_EQ(trace.output, "ReadSubDirBatch_part2\n" + scan_line(0) + write_line(0) + scan_line(1) +
                              write_line(1) + "error opening\n");
  EXPECT_EQ(trace.keys, 1);
  EXPECT_TRUE(std::filesystem::exists(summary(0)));
  EXPECT_FALSE(std::filesystem::exists(summary(2)));
}

TEST_F(BatchScripts, LinkInASummarysPlaceIsNotWrittenThrough) {
  make_lists({"a.rle\n"});
  write_file("precious", "precious");
  std::filesystem::create_symlink(directory_.file("precious"), summary(0));
  read_part2("rec", 1);
  EXPECT_EQ(read_file("precious"), "precious");
}

TEST_F(BatchScripts, NothingIsLeftBesideTheSummaries) {
  make_lists({"a.rle\n", "b.rle\n"});
  read_part2("rec", 2);
  EXPECT_EQ(files_in("rec"),
            (std::vector<std::string>{"00000000", "00000001", "fresume00000000.txt",
                                      "fresume00000001.txt"}));
}

TEST_F(BatchScripts, MissingRecordingIsPassedOverQuietly) {
  EXPECT_EQ(read_part2("rec", 2).output, "ReadSubDirBatch_part2\n" + scan_line(0) + scan_line(1));
  EXPECT_FALSE(std::filesystem::exists("rec"));
}

TEST_F(BatchScripts, FifoInAListsPlaceIsNotWaitedFor) {
  make_lists({"a.rle\n", "b.rle\n"});
  std::filesystem::remove("rec/00000000/ls.txt");
  ASSERT_EQ(mkfifo("rec/00000000/ls.txt", 0600), 0);
  read_part2("rec", 2);
  EXPECT_FALSE(std::filesystem::exists(summary(0)));
  EXPECT_TRUE(std::filesystem::exists(summary(1)));
}

// --- Count --------------------------------------------------------------------------------------

TEST_F(BatchScripts, CountStopsAtTheFirstMissingSummary) {
  make_lists({"a.rle\n", "", "c.rle\n"});
  read_part2("rec", 3);
  const auto seen = count_summaries("rec", 3);
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output, "ReadNbSubDir\n" + count_line(0) + count_line(1));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(BatchScripts, CountIsAtMostTheNumberAskedFor) {
  make_lists({"a.rle\n", "b.rle\n", "c.rle\n"});
  read_part2("rec", 3);
  const auto seen = count_summaries("rec", 2);
  EXPECT_EQ(seen.result, 2);
  EXPECT_EQ(seen.output, "ReadNbSubDir\n" + count_line(0) + count_line(1));
}

TEST_F(BatchScripts, ContentOfASummaryIsNotLookedAt) {
  std::filesystem::create_directory("rec");
  write_file(summary(0), "");
  EXPECT_EQ(count_summaries("rec", 5).result, 1);
}

TEST_F(BatchScripts, FifoIsNoSummary) {
  std::filesystem::create_directory("rec");
  ASSERT_EQ(mkfifo(summary(0).c_str(), 0600), 0);
  EXPECT_EQ(count_summaries("rec", 5).result, 0);
}

TEST_F(BatchScripts, DescriptorsAreAllClosed) {
  make_lists(std::vector<std::string>(40, "a.rle\n"));
  const int before = open_descriptors();
  create("rec", 40);
  read_part1("rec", 40);
  read_part2("rec", 40);
  EXPECT_EQ(count_summaries("rec", 40).result, 40);
  EXPECT_EQ(open_descriptors(), before);
}

// --- Odd arguments ------------------------------------------------------------------------------

TEST_F(BatchScripts, NoSubDirectoriesMakeTheOtherTwoPrintTheirNamesOnly) {
  make_lists({"a.rle\n"});
  for (const int count : {0, -1, -1000}) {
    EXPECT_EQ(read_part2("rec", count).output, "ReadSubDirBatch_part2\n");
    const auto seen = count_summaries("rec", count);
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.output, "ReadNbSubDir\n");
  }
  EXPECT_FALSE(std::filesystem::exists(summary(0)));
}

TEST_F(BatchScripts, DirectoryWithASlashGetsAnotherOne) {
  make_lists({"a.rle\n"});
  EXPECT_EQ(read_part2("rec/", 1).output,
            "ReadSubDirBatch_part2\nReadSubDirBatch_part2 - open 'rec//00000000/ls.txt' to scan\n"
            "ReadSubDirBatch_part2 - open 'rec//fresume00000000.txt' to write start and stop\n");
  EXPECT_EQ(count_summaries("rec/", 1).result, 1);
}

TEST_F(BatchScripts, HugeDirectoryDoesNoHarm) {
  make_lists({"a.rle\n"});
  for (const std::size_t size : {std::size_t{511}, std::size_t{5000}, std::size_t{100'000}}) {
    const std::string directory(size, 'd');
    create(directory, 1);
    read_part1(directory, 1);
    read_part2(directory, 1);
    EXPECT_EQ(count_summaries(directory, 1).result, 0) << size;
  }
  EXPECT_FALSE(std::filesystem::exists(summary(0)));
}

TEST_F(BatchScripts, NoDirectoryDoesNoHarm) {
  capture_console([] { CreateSubDirBatch(nullptr, 2); });
  capture_console([] { ReadSubDirBatch_part1(nullptr, 2); });
  capture_console([] { ReadSubDirBatch_part2(nullptr, 2); });
  EXPECT_EQ(quietly([] { return ReadNbSubDir(nullptr, 2); }), 0);
}

}  // namespace
}  // namespace depth_io::test
