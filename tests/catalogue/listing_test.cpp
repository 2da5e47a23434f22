#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"
#include "codec/timestamps.h"
#include "tests/support/catalogue_fixture.h"
#include "tests/support/console_capture.h"
#include "tests/support/temp_directory.h"

namespace depth_io::test {
namespace {

/// The caller's tables and one listing into them.
class Listing {
 public:
  explicit Listing(int rows = 100) : Listing(rows, rows, rows) {}
  Listing(int rows, int times, int indices, int columns = 30) {
    sorted.Create(rows, columns);
    stamps.Create(rows, columns);
    unix_times.Create(times);
    index.Create(indices);
  }

  int list(const std::string& directory) {
    console = capture_console([&] {
      result = ListEntriesInSubDir(directory.c_str(), sorted, stamps, unix_times, index);
    });
    return result;
  }

  std::vector<std::string> sorted_entries() { return rows(sorted); }
  std::vector<std::string> entries() { return rows(stamps); }

  depth_io_ClassBufferChar1D sorted;
  depth_io_ClassBufferChar1D stamps;
  depth_io_ClassBufferDOUBLE unix_times;
  depth_io_ClassBufferINT index;
  int result = -1;
  ConsoleTrace console;

 private:
  static std::vector<std::string> rows(depth_io_ClassBufferChar1D& table) {
    std::vector<std::string> texts;
    for (int i = 0; i < table.GetCounter(); ++i) texts.emplace_back(table.arr1D[i].buffer);
    return texts;
  }
};

const std::string kFirst = "2013-04-09T14-05-07.042000";
const std::string kSecond = "2013-04-09T14-05-08.000000";
const std::string kThird = "2013-04-10T00-00-00.000000";

// --- What is listed -----------------------------------------------------------------------------

TEST(ListEntriesInSubDir, EntryIsTheNameWithoutTenCharacters) {
  TempDirectory directory;
  touch(directory.file(kFirst + "-depth.rle"));
  Listing listing;
  EXPECT_EQ(listing.list(directory.path()), 1);
  EXPECT_EQ(listing.sorted_entries(), std::vector<std::string>{kFirst});
  EXPECT_EQ(listing.entries(), std::vector<std::string>{kFirst});
}

TEST(ListEntriesInSubDir, AnySixCharactersBeforeTheEndingAreCut) {
  TempDirectory directory;
  touch(directory.file(kFirst + "_DEPTH.rle"));
  Listing listing;
  EXPECT_EQ(listing.list(directory.path()), 1);
  EXPECT_EQ(listing.sorted_entries(), std::vector<std::string>{kFirst});
}

TEST(ListEntriesInSubDir, EntriesComeByTime) {
  TempDirectory directory;
  for (const std::string& stamp : {kThird, kFirst, kSecond}) touch_frame(directory.path(), stamp);
  Listing listing;
  EXPECT_EQ(listing.list(directory.path()), 3);
  EXPECT_EQ(listing.sorted_entries(), (std::vector<std::string>{kFirst, kSecond, kThird}));
}

TEST(ListEntriesInSubDir, EntriesStayInDirectoryOrderInTheRawTable) {
  TempDirectory directory;
  for (const std::string& stamp : {kThird, kFirst, kSecond}) touch_frame(directory.path(), stamp);
  std::vector<std::string> expected;
  for (const std::string& name : names_in_directory_order(directory.path())) {
    expected.push_back(name.substr(0, name.size() - 10));
  }
  Listing listing;
  listing.list(directory.path());
  EXPECT_EQ(listing.entries(), expected);
}

TEST(ListEntriesInSubDir, TimesAreSortedUnixTimes) {
  TempDirectory directory;
  for (const std::string& stamp : {kThird, kFirst, kSecond}) touch_frame(directory.path(), stamp);
  Listing listing;
  listing.list(directory.path());
  EXPECT_EQ(listing.unix_times.buffer[0], 1365516307.0 + static_cast<double>(42.0F / 1000.0F));
  EXPECT_EQ(listing.unix_times.buffer[1], 1365516308.0);
  EXPECT_EQ(listing.unix_times.buffer[2], 1365552000.0);
}

TEST(ListEntriesInSubDir, IndexTellsWhereEachEntryCameFrom) {
  TempDirectory directory;
  for (int second = 0; second < 40; ++second) {
    touch_frame(directory.path(), stamp_text({2013, 4, 9, 14, 5, (second * 7) % 40, 0}));
  }
  Listing listing;
  ASSERT_EQ(listing.list(directory.path()), 40);
  for (int i = 0; i < 40; ++i) {
    EXPECT_STREQ(listing.sorted.arr1D[i].buffer,
                 listing.stamps.arr1D[listing.index.buffer[i]].buffer);
  }
  EXPECT_TRUE(std::is_sorted(listing.unix_times.buffer, listing.unix_times.buffer + 40));
}

TEST(ListEntriesInSubDir, FramesOfOneMomentAreAllListed) {
  TempDirectory directory;
  touch(directory.file(kFirst + "-depth.rle"));
  touch(directory.file(kFirst + "-other.rle"));
  Listing listing;
  EXPECT_EQ(listing.list(directory.path()), 2);
  EXPECT_EQ(listing.sorted_entries(), (std::vector<std::string>{kFirst, kFirst}));
}

TEST(ListEntriesInSubDir, EntryOf29CharactersIsListed) {
  TempDirectory directory;
  touch(directory.file(kFirst + "abc-depth.rle"));
  Listing listing;
  EXPECT_EQ(listing.list(directory.path()), 1);
  EXPECT_EQ(listing.sorted_entries(), std::vector<std::string>{kFirst + "abc"});
}

TEST(ListEntriesInSubDir, NameOfElevenCharactersIsListed) {
  TempDirectory directory;
  touch(directory.file("2-depth.rle"));
  Listing listing;
  EXPECT_EQ(listing.list(directory.path()), 1);
  EXPECT_EQ(listing.sorted_entries(), std::vector<std::string>{"2"});
  EXPECT_EQ(listing.console.output, "nbfiles 1 nbframes 1 (" + directory.path() + ")\n");
  EXPECT_EQ(listing.console.keys, 0);
}

struct PassedOver {
  const char* what;
  std::string name;
};

class NamesPassedOver : public testing::TestWithParam<PassedOver> {};

TEST_P(NamesPassedOver, AreNoFrames) {
  TempDirectory directory;
  touch_frame(directory.path(), kFirst);
  touch(directory.file(GetParam().name));
  Listing listing;
  EXPECT_EQ(listing.list(directory.path()), 1);
  EXPECT_EQ(listing.sorted_entries(), std::vector<std::string>{kFirst});
  EXPECT_EQ(listing.console.keys, 0);
}

TEST_P(NamesPassedOver, AloneGiveNothing) {
  TempDirectory directory;
  touch(directory.file(GetParam().name));
  Listing listing;
  EXPECT_EQ(listing.list(directory.path()), 0);
  EXPECT_EQ(listing.console.output, "");
  EXPECT_EQ(listing.console.keys, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Names, NamesPassedOver,
    testing::Values(PassedOver{"Ending", ".rle"}, PassedOver{"OneLetter", "a.rle"},
                    PassedOver{"TenCharacters", "-depth.rle"},
                    PassedOver{"EntryOf30", kFirst + "abcd-depth.rle"},
                    PassedOver{"LongestName", std::string(245, '2') + "-depth.rle"},
                    PassedOver{"Blank", "2013-04-09T14-05 07.042000-depth.rle"},
                    PassedOver{"BlankInTheCut", kFirst + "- epth.rle"},
                    PassedOver{"Tab", "2013-04-09T14\t05-07.042000-depth.rle"},
                    PassedOver{"LineEnd", "2013-04-09T14-05-07.042000\n-depth.rle"},
                    PassedOver{"Escape", "2013-04-09T14\x1B-05-07.04200-depth.rle"},
                    PassedOver{"Delete", "2013-04-09T14\x7F-05-07.04200-depth.rle"},
                    PassedOver{"UpperCaseEnding", kSecond + "-depth.RLE"},
                    PassedOver{"EndingInTheMiddle", kSecond + "-depth.rle.bak"},
                    PassedOver{"OtherEnding", kSecond + "-depth.ref"}),
    [](const auto& row) { return row.param.what; });

// --- What is printed ----------------------------------------------------------------------------

TEST(ListEntriesInSubDirConsole, TellsFilesAndFrames) {
  TempDirectory directory;
  for (const std::string& stamp : {kFirst, kSecond}) {
    for (const char* ending : {".rle", ".ref", ".jpg", ".err"}) {
      touch(directory.file(stamp + "-depth" + ending));
    }
  }
  touch(directory.file("list.txt"));
  Listing listing;
  EXPECT_EQ(listing.list(directory.path()), 2);
  EXPECT_EQ(listing.console.output, "nbfiles 9 nbframes 2 (" + directory.path() + ")\n");
  EXPECT_EQ(listing.console.keys, 0);
}

TEST(ListEntriesInSubDirConsole, DirectoryIsShownAsGiven) {
  TempDirectory directory;
  touch_frame(directory.path(), kFirst);
  Listing listing;
  listing.list(directory.slash());
  EXPECT_EQ(listing.console.output, "nbfiles 1 nbframes 1 (" + directory.slash() + ")\n");
}

TEST(ListEntriesInSubDirConsole, NothingAboutADirectoryWithoutFrames) {
  TempDirectory directory;
  touch(directory.file("notes.txt"));
  Listing listing;
  EXPECT_EQ(listing.list(directory.path()), 0);
  EXPECT_EQ(listing.console.output, "");
}

TEST(ListEntriesInSubDirConsole, BadCharacterIsReportedAndTheListingGoesOn) {
  TempDirectory directory;
  touch_frame(directory.path(), "2013-04-09T14-05-0x.042000");
  touch_frame(directory.path(), kSecond);
  Listing listing;
  EXPECT_EQ(listing.list(directory.path()), 2);
  EXPECT_EQ(listing.console.output,
            not_an_integer("0x") + "nbfiles 2 nbframes 2 (" + directory.path() + ")\n");
  EXPECT_EQ(listing.console.keys, 1);
}

TEST(ListEntriesInSubDirConsole, FieldWithABadCharacterIsMinusOne) {
  TempDirectory directory;
  touch_frame(directory.path(), "2013-04-09T14-05-0x.000000");
  Listing listing;
  listing.list(directory.path());
  EXPECT_EQ(listing.unix_times.buffer[0], 1365516300.0 - 1.0);
}

TEST(ListEntriesInSubDirConsole, EveryBadFieldIsReported) {
  TempDirectory directory;
  touch_frame(directory.path(), "yyyy-mm-dd");
  Listing listing;
  EXPECT_EQ(listing.list(directory.path()), 1);
  EXPECT_EQ(listing.console.output, not_an_integer("yyyy") + not_an_integer("mm") +
                                        not_an_integer("dd") + "nbfiles 1 nbframes 1 (" +
                                        directory.path() + ")\n");
  EXPECT_EQ(listing.console.keys, 3);
}

TEST(ListEntriesInSubDirConsole, FieldCutByTheEndIsReadUpToIt) {
  TempDirectory directory;
  touch_frame(directory.path(), "2013-04-09T14-05-07.0");
  touch_frame(directory.path(), "2013-04-09T14-05-07");
  touch_frame(directory.path(), "2013-04-09T14-05-0");
  Listing listing;
  EXPECT_EQ(listing.list(directory.path()), 3);
  EXPECT_EQ(listing.unix_times.buffer[0], 1365516300.0);
  EXPECT_EQ(listing.unix_times.buffer[1], 1365516307.0);
  EXPECT_EQ(listing.unix_times.buffer[2], 1365516307.0);
  EXPECT_EQ(listing.console.keys, 0);
}

// --- Nothing to list ----------------------------------------------------------------------------

class NoDirectory : public testing::Test {
 protected:
  /// Lists `directory` into tables that hold something and expects them emptied, no more.
  void expect_nothing(const std::string& directory) {
    TempDirectory good;
    touch_frame(good.path(), kFirst);
    Listing listing;
    ASSERT_EQ(listing.list(good.path()), 1);
    EXPECT_EQ(listing.list(directory), 0);
    EXPECT_EQ(listing.sorted.GetCounter(), 0);
    EXPECT_EQ(listing.stamps.GetCounter(), 0);
    EXPECT_EQ(listing.unix_times.buffer[0], 1365516307.0 + static_cast<double>(42.0F / 1000.0F));
    EXPECT_EQ(listing.console.output, "");
    EXPECT_EQ(listing.console.keys, 0);
  }
  TempDirectory directory_;
};

TEST_F(NoDirectory, MissingOneEmptiesTheTables) { expect_nothing(directory_.file("missing")); }

TEST_F(NoDirectory, EmptyNameEmptiesTheTables) { expect_nothing(""); }

TEST_F(NoDirectory, FileEmptiesTheTables) {
  touch(directory_.file("file"));
  expect_nothing(directory_.file("file"));
}

TEST_F(NoDirectory, FifoEmptiesTheTables) {
  ASSERT_EQ(mkfifo(directory_.file("fifo").c_str(), 0600), 0);
  expect_nothing(directory_.file("fifo"));
}

TEST_F(NoDirectory, EmptyDirectoryEmptiesTheTables) { expect_nothing(directory_.path()); }

TEST_F(NoDirectory, NullIsNoDirectory) {
  Listing listing;
  EXPECT_EQ(ListEntriesInSubDir(nullptr, listing.sorted, listing.stamps, listing.unix_times,
                                listing.index),
            0);
}

TEST_F(NoDirectory, NothingIsWritten) {
  touch_frame(directory_.path(), kFirst);
  Listing listing;
  listing.list(directory_.path());
  EXPECT_EQ(names_in_directory_order(directory_.path()),
            std::vector<std::string>{kFirst + "-depth.rle"});
}

// --- Full tables --------------------------------------------------------------------------------

class FullTables : public testing::Test {
 protected:
  FullTables() {
    for (int i = 0; i < 25; ++i) {
      touch_frame(directory_.path(), stamp_text({2013, 4, 9, 14, 5, i, 0}));
    }
  }
  void expect_ten(Listing& listing) {
    EXPECT_EQ(listing.list(directory_.path()), 10);
    EXPECT_EQ(listing.sorted.GetCounter(), 10);
    const std::vector<std::string> entries = listing.sorted_entries();
    EXPECT_TRUE(std::is_sorted(entries.begin(), entries.end()));
    EXPECT_NE(listing.console.output, "");
  }
  TempDirectory directory_;
};

TEST_F(FullTables, ListTenOfTwentyFive) {
  Listing listing(10);
  expect_ten(listing);
}

TEST_F(FullTables, ShortTimesBoundTheListing) {
  Listing listing(100, 10, 100);
  expect_ten(listing);
}

TEST_F(FullTables, ShortIndexBoundsTheListing) {
  Listing listing(100, 100, 10);
  expect_ten(listing);
}

TEST_F(FullTables, AreTold) {
  Listing roomy(25);
  roomy.list(directory_.path());
  Listing full(10);
  full.list(directory_.path());
  EXPECT_GT(std::count(full.console.output.begin(), full.console.output.end(), '\n'),
            std::count(roomy.console.output.begin(), roomy.console.output.end(), '\n'));
}

TEST_F(FullTables, TablesThatWereNeverCreatedListNothing) {
  depth_io_ClassBufferChar1D sorted;
  depth_io_ClassBufferChar1D stamps;
  depth_io_ClassBufferDOUBLE unix_times;
  depth_io_ClassBufferINT index;
  int result = -1;
  capture_console([&] {
    result = ListEntriesInSubDir(directory_.path().c_str(), sorted, stamps, unix_times, index);
  });
  EXPECT_EQ(result, 0);
}

TEST_F(FullTables, RowsTooShortForTheEntriesTakeNone) {
  Listing listing(40, 40, 40, 10);
  listing.list(directory_.path());
  EXPECT_EQ(listing.stamps.GetCounter(), 0);
  EXPECT_EQ(listing.sorted.GetCounter(), 0);
}

}  // namespace
}  // namespace depth_io::test
