#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"
#include "tests/support/catalogue_fixture.h"
#include "tests/support/console_capture.h"
#include "tests/support/temp_directory.h"

namespace depth_io::test {
namespace {

const std::string kListing =
    " - INFO - listing sub folders and creating info.txt for each of them and a list.txt for their "
    "content\n";
const std::string kFirst = "2013-04-09T14-05-07.042000";
const std::string kSecond = "2013-04-09T14-05-08.000000";
const std::string kThird = "2013-04-10T00-00-00.000000";

std::string writing_line(const std::string& path) {
  return "(ListEntriesInDir) opening for writing " + path + "\n";
}

/// A recording with numbered sub-directories.
class Recording {
 public:
  std::string make_folder(const std::string& name) {
    std::filesystem::create_directory(path(name));
    return path(name);
  }
  void add_frame(const std::string& folder, const std::string& stamp) {
    std::filesystem::create_directory(path(folder));
    touch_frame(path(folder), stamp);
  }
  std::string path() const { return directory_.path(); }
  std::string path(const std::string& name) const { return directory_.file(name); }
  std::string text_of(const std::string& name) const { return read_file(path(name)); }
  bool has(const std::string& name) const { return std::filesystem::exists(path(name)); }

  int list(const std::string& directory) {
    console = capture_console([&] { result = ListEntriesInDir(directory.c_str()); });
    return result;
  }
  int list() { return list(path()); }

  /// What the listing of one sub-directory prints; `directory` as it was given.
  static std::string folder_lines(const std::string& directory, const std::string& folder,
                                  int files) {
    const std::string info = directory + "/info" + folder + ".txt";
    return writing_line(directory + "/" + folder + "/list.txt") + writing_line(info) + "'" +
           folder + "' subdir 1 nbfiles " + std::to_string(files) + " (" + info + ")\n";
  }
  static std::string last_lines(const std::string& directory, int folders) {
    return writing_line(directory + "/info.txt") + "nb_sub_dir " + std::to_string(folders) + "\n";
  }

  int read_info(const std::string& directory) {
    Text text(directory);
    console = capture_console([&] { result = ReadInfoNbSubDir(text); });
    return result;
  }

  int result = -1;
  ConsoleTrace console;

 private:
  TempDirectory directory_;
};

// --- The files ----------------------------------------------------------------------------------

TEST(ListEntriesInDir, ListIsNumberedFromZeroByTime) {
  Recording recording;
  for (const std::string& stamp : {kThird, kSecond, kFirst}) recording.add_frame("00000000", stamp);
  EXPECT_EQ(recording.list(), 1);
  EXPECT_EQ(recording.text_of("00000000/list.txt"),
            "0 " + kFirst + "\n1 " + kSecond + "\n2 " + kThird + "\n");
}

TEST(ListEntriesInDir, ListDoesNotDependOnTheOrderOfTheDirectory) {
  for (const bool rising : {true, false}) {
    Recording recording;
    std::string expected;
    for (int i = 0; i < 30; ++i) {
      recording.add_frame("00000000", stamp_text({2013, 4, 9, 14, 5, rising ? i : 29 - i, 0}));
      expected += std::to_string(i) + " " + stamp_text({2013, 4, 9, 14, 5, i, 0}) + "\n";
    }
    recording.list();
    EXPECT_EQ(recording.text_of("00000000/list.txt"), expected);
  }
}

TEST(ListEntriesInDir, InfoOfAFolderTellsFirstAndLast) {
  Recording recording;
  for (const std::string& stamp : {kThird, kSecond, kFirst}) recording.add_frame("00000003", stamp);
  recording.list();
  EXPECT_EQ(recording.text_of("info00000003.txt"),
            "start 0 " + kFirst + "\nend 2 " + kThird + "\n");
}

TEST(ListEntriesInDir, OneFrameIsFirstAndLast) {
  Recording recording;
  recording.add_frame("00000000", kFirst);
  recording.list();
  EXPECT_EQ(recording.text_of("info00000000.txt"),
            "start 0 " + kFirst + "\nend 0 " + kFirst + "\n");
}

TEST(ListEntriesInDir, InfoOfTheRecordingCountsFolders) {
  Recording recording;
  recording.add_frame("00000000", kFirst);
  recording.add_frame("00000001", kSecond);
  recording.add_frame("00000002", kThird);
  EXPECT_EQ(recording.list(), 3);
  EXPECT_EQ(recording.text_of("info.txt"), "nb_sub_dir 3\n");
}

TEST(ListEntriesInDir, EachFolderHasItsOwnFiles) {
  Recording recording;
  recording.add_frame("00000000", kFirst);
  recording.add_frame("00000001", kSecond);
  recording.add_frame("00000001", kThird);
  recording.list();
  EXPECT_EQ(recording.text_of("00000000/list.txt"), "0 " + kFirst + "\n");
  EXPECT_EQ(recording.text_of("00000001/list.txt"), "0 " + kSecond + "\n1 " + kThird + "\n");
  EXPECT_EQ(recording.text_of("info00000001.txt"),
            "start 0 " + kSecond + "\nend 1 " + kThird + "\n");
}

TEST(ListEntriesInDir, FolderWithoutFramesIsNotCounted) {
  Recording recording;
  recording.add_frame("00000000", kFirst);
  recording.make_folder("00000001");
  touch(recording.make_folder("00000002") + "/" + kFirst + "-depth.ref");
  EXPECT_EQ(recording.list(), 1);
  for (const std::string folder : {"00000001", "00000002"}) {
    EXPECT_FALSE(recording.has(folder + "/list.txt"));
    EXPECT_FALSE(recording.has("info" + folder + ".txt"));
  }
}

TEST(ListEntriesInDir, EmptyRecordingHasNoFolders) {
  Recording recording;
  EXPECT_EQ(recording.list(), 0);
  EXPECT_EQ(recording.text_of("info.txt"), "nb_sub_dir 0\n");
  EXPECT_EQ(recording.console.output, kListing + Recording::last_lines(recording.path(), 0));
}

TEST(ListEntriesInDir, FoldersNeedNoNumber) {
  Recording recording;
  recording.add_frame("kitchen", kFirst);
  EXPECT_EQ(recording.list(), 1);
  EXPECT_EQ(recording.text_of("infokitchen.txt"), "start 0 " + kFirst + "\nend 0 " + kFirst + "\n");
}

TEST(ListEntriesInDir, FoldersInFoldersAreNotListed) {
  Recording recording;
  recording.make_folder("outer");
  recording.add_frame("outer/inner", kFirst);
  EXPECT_EQ(recording.list(), 0);
  EXPECT_FALSE(recording.has("outer/inner/list.txt"));
}

TEST(ListEntriesInDir, FramesInTheRecordingItselfAreNotListed) {
  Recording recording;
  touch_frame(recording.path(), kFirst);
  EXPECT_EQ(recording.list(), 0);
  EXPECT_FALSE(recording.has("list.txt"));
}

TEST(ListEntriesInDir, OldFilesAreReplaced) {
  Recording recording;
  recording.add_frame("00000000", kFirst);
  write_file(recording.path("00000000/list.txt"), std::string(5000, 'x'));
  write_file(recording.path("info00000000.txt"), std::string(5000, 'x'));
  write_file(recording.path("info.txt"), std::string(5000, 'x'));
  recording.list();
  EXPECT_EQ(recording.text_of("00000000/list.txt"), "0 " + kFirst + "\n");
  EXPECT_EQ(recording.text_of("info00000000.txt"),
            "start 0 " + kFirst + "\nend 0 " + kFirst + "\n");
  EXPECT_EQ(recording.text_of("info.txt"), "nb_sub_dir 1\n");
}

TEST(ListEntriesInDir, LeavesNoOtherFiles) {
  Recording recording;
  recording.add_frame("00000000", kFirst);
  recording.list();
  EXPECT_EQ(names_in_directory_order(recording.path()).size(), 3U);
  EXPECT_EQ(names_in_directory_order(recording.path("00000000")).size(), 2U);
}

TEST(ListEntriesInDir, ThousandsOfFramesAreListed) {
  Recording recording;
  for (int i = 0; i < 3000; ++i) {
    recording.add_frame("00000000", stamp_text({2013, 4, 9, 14, i % 60, i / 60, 0}));
  }
  EXPECT_EQ(recording.list(), 1);
  EXPECT_EQ(recording.text_of("info00000000.txt"),
            "start 0 2013-04-09T14-00-00.000000\nend 2999 2013-04-09T14-59-49.000000\n");
}

// --- What is printed ----------------------------------------------------------------------------

TEST(ListEntriesInDirConsole, TellsEveryFile) {
  Recording recording;
  recording.add_frame("00000000", kFirst);
  recording.list();
  EXPECT_EQ(recording.console.output, kListing +
                                          Recording::folder_lines(recording.path(), "00000000", 1) +
                                          Recording::last_lines(recording.path(), 1));
  EXPECT_EQ(recording.console.keys, 0);
}

TEST(ListEntriesInDirConsole, FoldersComeInDirectoryOrder) {
  Recording recording;
  for (int i = 0; i < 12; ++i) recording.add_frame("folder" + std::to_string(i * 5 % 12), kFirst);
  std::string expected = kListing;
  for (const std::string& name : names_in_directory_order(recording.path())) {
    expected += Recording::folder_lines(recording.path(), name, 1);
  }
  recording.list();
  EXPECT_EQ(recording.console.output, expected + Recording::last_lines(recording.path(), 12));
}

TEST(ListEntriesInDirConsole, EveryFileOfAFolderCounts) {
  Recording recording;
  recording.add_frame("00000000", kFirst);
  touch(recording.path("00000000/" + kFirst + "-depth.jpg"));
  touch(recording.path("00000000/notes"));
  recording.list();
  EXPECT_EQ(recording.console.output, kListing +
                                          Recording::folder_lines(recording.path(), "00000000", 3) +
                                          Recording::last_lines(recording.path(), 1));
}

TEST(ListEntriesInDirConsole, SecondListingCountsTheListOfTheFirst) {
  Recording recording;
  recording.add_frame("00000000", kFirst);
  recording.list();
  EXPECT_EQ(recording.list(), 1);
  EXPECT_EQ(recording.console.output, kListing +
                                          Recording::folder_lines(recording.path(), "00000000", 2) +
                                          Recording::last_lines(recording.path(), 1));
}

TEST(ListEntriesInDirConsole, DirectoryIsShownAsGiven) {
  Recording recording;
  recording.add_frame("00000000", kFirst);
  const std::string given = recording.path() + "/";
  EXPECT_EQ(recording.list(given), 1);
  EXPECT_EQ(recording.console.output, kListing + Recording::folder_lines(given, "00000000", 1) +
                                          Recording::last_lines(given, 1));
}

TEST(ListEntriesInDirConsole, PlainFilesArePassedOverSilently) {
  Recording recording;
  touch(recording.path("notes.txt"));
  touch(recording.path(kFirst + "-depth.rle"));
  recording.list();
  EXPECT_EQ(recording.console.output, kListing + Recording::last_lines(recording.path(), 0));
}

TEST(ListEntriesInDirConsole, MissingRecordingIsQuietlyNothing) {
  Recording recording;
  EXPECT_EQ(recording.list(recording.path("missing")), 0);
  EXPECT_EQ(recording.console.output, kListing);
  EXPECT_EQ(recording.console.keys, 0);
  EXPECT_TRUE(names_in_directory_order(recording.path()).empty());
}

TEST(ListEntriesInDirConsole, FileIsQuietlyNothing) {
  Recording recording;
  touch(recording.path("file"));
  EXPECT_EQ(recording.list(recording.path("file")), 0);
  EXPECT_EQ(recording.console.output, kListing);
}

TEST(ListEntriesInDirConsole, EmptyNameIsQuietlyNothing) {
  Recording recording;
  EXPECT_EQ(recording.list(""), 0);
  EXPECT_EQ(recording.console.output, kListing);
}

TEST(ListEntriesInDirConsole, NullIsQuietlyNothing) {
  int result = -1;
  const ConsoleTrace trace = capture_console([&] { result = ListEntriesInDir(nullptr); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(trace.keys, 0);
}

TEST(ListEntriesInDirConsole, BadCharacterIsReportedAndTheListingGoesOn) {
  Recording recording;
  recording.add_frame("00000000", "2013-0x-09T14-05-07.042000");
  recording.add_frame("00000000", kFirst);
  EXPECT_EQ(recording.list(), 1);
  EXPECT_EQ(recording.console.output, kListing + not_an_integer("0x") +
                                          Recording::folder_lines(recording.path(), "00000000", 2) +
                                          Recording::last_lines(recording.path(), 1));
  EXPECT_EQ(recording.console.keys, 1);
  EXPECT_EQ(recording.text_of("info.txt"), "nb_sub_dir 1\n");
}

// --- Reading the number back --------------------------------------------------------------------

TEST(ReadInfoNbSubDir, GivesTheNumberOfTheListing) {
  Recording recording;
  recording.add_frame("00000000", kFirst);
  recording.add_frame("00000001", kFirst);
  recording.list();
  EXPECT_EQ(recording.read_info(recording.path()), 2);
  EXPECT_EQ(recording.console.output, "opening for reading nb sub directories '" +
                                          recording.path("info.txt") +
                                          "'\n => 2 sub directories\n");
  EXPECT_EQ(recording.console.keys, 0);
}

TEST(ReadInfoNbSubDir, MissingFileAsksForTheListing) {
  Recording recording;
  EXPECT_EQ(recording.read_info(recording.path()), 0);
  EXPECT_EQ(recording.console.output, "opening for reading nb sub directories '" +
                                          recording.path("info.txt") +
                                          "'\nFAILED - run 'ListEntriesInDir(directory)' before\n");
  EXPECT_EQ(recording.console.keys, 1);
}

struct InfoText {
  const char* what;
  std::string text;
  int number;
};

class GoodInfo : public testing::TestWithParam<InfoText> {};

TEST_P(GoodInfo, GivesItsNumber) {
  Recording recording;
  write_file(recording.path("info.txt"), GetParam().text);
  EXPECT_EQ(recording.read_info(recording.path()), GetParam().number);
  EXPECT_EQ(recording.console.output, "opening for reading nb sub directories '" +
                                          recording.path("info.txt") + "'\n => " +
                                          std::to_string(GetParam().number) + " sub directories\n");
  EXPECT_EQ(recording.console.keys, 0);
}

INSTANTIATE_TEST_SUITE_P(Texts, GoodInfo,
                         testing::Values(InfoText{"Plain", "nb_sub_dir 17\n", 17},
                                         InfoText{"NoLineEnd", "nb_sub_dir 17", 17},
                                         InfoText{"OtherBlanks", "\n  nb_sub_dir\t\n17 rest", 17},
                                         InfoText{"Negative", "nb_sub_dir -3\n", -3},
                                         InfoText{"LettersBehind", "nb_sub_dir 12abc\n", 12},
                                         InfoText{"NoNumber", "nb_sub_dir\n", 0},
                                         InfoText{"NoLine", "nb_sub_dir", 0},
                                         InfoText{"NotANumber", "nb_sub_dir many\n", 0}),
                         [](const auto& row) { return row.param.what; });

TEST(ReadInfoNbSubDir, NumberThatDoesNotFitIsNotCut) {
  Recording recording;
  write_file(recording.path("info.txt"), "nb_sub_dir 4294967297\n");
  EXPECT_NE(recording.read_info(recording.path()), 1);
}

class BadInfo : public testing::TestWithParam<InfoText> {};

TEST_P(BadInfo, IsRefused) {
  Recording recording;
  write_file(recording.path("info.txt"), GetParam().text);
  EXPECT_EQ(recording.read_info(recording.path()), 0);
  EXPECT_EQ(recording.console.output, "opening for reading nb sub directories '" +
                                          recording.path("info.txt") +
                                          "'\nERROR - failed to read 'nb_sub_dir'\n");
  EXPECT_EQ(recording.console.keys, 1);
}

INSTANTIATE_TEST_SUITE_P(Texts, BadInfo,
                         testing::Values(InfoText{"Empty", "", 0}, InfoText{"Blanks", " \n\n", 0},
                                         InfoText{"OtherWord", "nb_sub_dirs 4\n", 0},
                                         InfoText{"UpperCase", "NB_SUB_DIR 4\n", 0},
                                         InfoText{"NoBlank", "nb_sub_dir4\n", 0},
                                         InfoText{"NumberFirst", "4 nb_sub_dir\n", 0},
                                         InfoText{"LongWord", std::string(10'000, 'n'), 0},
                                         InfoText{"NulByte", std::string("nb_\0sub_dir 4", 13), 0}),
                         [](const auto& row) { return row.param.what; });

TEST(ReadInfoNbSubDir, SlashAtTheEndIsDoubled) {
  Recording recording;
  recording.list();
  EXPECT_EQ(recording.read_info(recording.path() + "/"), 0);
  EXPECT_EQ(recording.console.output, "opening for reading nb sub directories '" +
                                          recording.path() +
                                          "//info.txt'\n => 0 sub directories\n");
}

// --- The command-line entry ---------------------------------------------------------------------

int run_count_entries(const std::vector<std::string>& arguments) {
  std::vector<Text> texts(arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (Text& text : texts) argv.push_back(text);
  argv.push_back(nullptr);
  return countEntriesInDir_main(static_cast<int>(arguments.size()), argv.data());
}

TEST(CountEntriesInDir, ListsAndTellsTheNumber) {
  Recording recording;
  recording.add_frame("00000000", kFirst);
  int status = -1;
  const ConsoleTrace trace = capture_console([&] {
    status = run_count_entries({"countEntriesInDir", recording.path()});
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(trace.output, kListing + Recording::folder_lines(recording.path(), "00000000", 1) +
                              Recording::last_lines(recording.path(), 1) + "entries in " +
                              recording.path() + ": 1\n");
  EXPECT_EQ(trace.keys, 0);
  EXPECT_EQ(recording.text_of("00000000/list.txt"), "0 " + kFirst + "\n");
}

TEST(CountEntriesInDir, MissingDirectoryHasNoEntries) {
  Recording recording;
  const std::string missing = recording.path("missing");
  int status = -1;
  const ConsoleTrace trace = capture_console([&] {
    status = run_count_entries({"countEntriesInDir", missing});
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(trace.output, kListing + "entries in " + missing + ": 0\n");
}

TEST(CountEntriesInDirDeath, WithoutArgumentEndsSilentlyWithStatusOne) {
  EXPECT_EXIT(run_count_entries({"countEntriesInDir"}), testing::ExitedWithCode(1), "^$");
}

TEST(CountEntriesInDirDeath, WithTwoArgumentsEndsWithStatusOneAndListsNothing) {
  Recording recording;
  EXPECT_EXIT(run_count_entries({"countEntriesInDir", recording.path(), "more"}),
              testing::ExitedWithCode(1), "^$");
  EXPECT_FALSE(recording.has("info.txt"));
}

TEST(CountEntriesInDirDeath, WithoutItsOwnNameEndsWithStatusOne) {
  EXPECT_EXIT(run_count_entries({}), testing::ExitedWithCode(1), "^$");
}

}  // namespace
}  // namespace depth_io::test
