#include "tools/recording/recording_scan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/temp_directory.h"
#include "tools/recorder/tree_end.h"
#include "tools/recording/recording_folders.h"
#include "tools/system/failure.h"

namespace depth_io::tools {
namespace {

namespace fs = std::filesystem;
using test::TempDirectory;
using testing::ElementsAre;
using testing::IsEmpty;

void add_file(const TempDirectory& directory, const std::string& name) {
  fs::create_directories(fs::path(directory.file(name)).parent_path());
  test::write_file(directory.file(name), "");
}

std::vector<std::string> names_of(const RecordingScan& scan) {
  std::vector<std::string> names;
  for (const RecordedFrame& frame : scan.frames) names.push_back(frame.depth_name());
  return names;
}

TEST(RecordingScan, FindsFramesOfEveryLayoutInTheOrderOfTime) {
  const TempDirectory directory;
  add_file(directory, "2013-04-05/14h/07mn/2013-04-05T14-07-09.000000-depth.rle");
  add_file(directory, "2013-04-05/14h/06mn/2013-04-05T14-06-09.000000-depth.rle");
  add_file(directory, "2013-04-04/23h/59mn/2013-04-04T23-59-59.999000-depth.rle");
  const RecordingScan scan = scan_recording(directory.path(), {});
  EXPECT_THAT(names_of(scan), ElementsAre("2013-04-04/23h/59mn/2013-04-04T23-59-59.999000-depth",
                                          "2013-04-05/14h/06mn/2013-04-05T14-06-09.000000-depth",
                                          "2013-04-05/14h/07mn/2013-04-05T14-07-09.000000-depth"));
  EXPECT_THAT(scan.layouts, ElementsAre(Layout::kTree));
}

TEST(RecordingScan, MixedLayoutsAreAllFound) {
  const TempDirectory directory;
  add_file(directory, "00000003/2013-04-05T14-07-09.000000-depth.rle");
  add_file(directory, "depth-2013-04-05T14-07-08.000000.rle");
  add_file(directory, "2013-04-05T14-07-07.000000-depth.rle");
  const RecordingScan scan = scan_recording(directory.path(), {});
  EXPECT_THAT(names_of(scan),
              ElementsAre("2013-04-05T14-07-07.000000-depth", "depth-2013-04-05T14-07-08.000000",
                          "00000003/2013-04-05T14-07-09.000000-depth"));
  EXPECT_THAT(scan.layouts, ElementsAre(Layout::kFlat, Layout::kNumbered));
}

TEST(RecordingScan, TellsWhichFilesAFrameHas) {
  const TempDirectory directory;
  add_file(directory, "2013-04-05T14-07-07.000000-depth.rle");
  add_file(directory, "2013-04-05T14-07-07.000000-depth.err");
  add_file(directory, "2013-04-05T14-07-07.000000-bgrimage.jpg");
  const RecordingScan scan = scan_recording(directory.path(), {});
  ASSERT_EQ(scan.frames.size(), 1U);
  const RecordedFrame& frame = scan.frames[0];
  EXPECT_TRUE(frame.has_label_map && frame.has_errors && frame.has_colour);
  EXPECT_FALSE(frame.has_reference || frame.has_codes || frame.has_depth_files());
}

TEST(RecordingScan, ForeignNamesArePassedOver) {
  const TempDirectory directory;
  for (const char* name :
       {"notes.txt", "depth-.rle", "-depth.rle", "depth.rle", "2013-04-05T14-07-07-depth.rle",
        "x2013-04-05T14-07-07.000000-depth.rle", "2013-02-30T14-07-07.000000-depth.rle",
        "0000000/2013-04-05T14-07-07.000000-depth.rle", "000000000/depth-00000000.rle",
        "2013-4-5/14h/07mn/2013-04-05T14-07-07.000000-depth.rle",
        "2013-04-05/14/07mn/2013-04-05T14-07-07.000000-depth.rle",
        "2013-04-05/14h/7mn/2013-04-05T14-07-07.000000-depth.rle",
        "2013-04-05/14h/2013-04-05T14-07-07.000000-depth.rle", "00000001", "2013-04-06"}) {
    add_file(directory, name);
  }
  EXPECT_THAT(names_of(scan_recording(directory.path(), {})), IsEmpty());
}

TEST(RecordingScan, FoldersOutsideARangeAreNotLookedInto) {
  const TempDirectory directory;
  add_file(directory, "2013-04-05/14h/06mn/2013-04-05T14-06-09.000000-depth.rle");
  add_file(directory, "2013-04-05/14h/07mn/2013-04-05T14-07-09.000000-depth.rle");
  add_file(directory, "2013-04-06/14h/07mn/2013-04-06T14-07-09.000000-depth.rle");
  const TimeRange range = time_range_of({"2013-04-05T14:07:30", "2013-04-05T23:00:00"});
  EXPECT_THAT(names_of(scan_recording(directory.path(), range)),
              ElementsAre("2013-04-05/14h/07mn/2013-04-05T14-07-09.000000-depth"));
}

TEST(RecordingScan, FoldersThatCannotBeLookedAtAreTold) {
  const TempDirectory directory;
  add_file(directory, "2013-04-05/14h/07mn/2013-04-05T14-07-09.000000-depth.rle");
  add_file(directory, "2013-04-05/15h");
  fs::create_symlink("08mn", directory.file("2013-04-05/14h/08mn"));
  fs::create_symlink("nowhere", directory.file("2013-04-05/14h/09mn"));
  const RecordingScan scan = scan_recording(directory.path(), {});
  EXPECT_EQ(scan.frames.size(), 1U);
  EXPECT_THAT(scan.unreadable_folders, ElementsAre("2013-04-05/14h/08mn/"));
}

TEST(RecordingScan, ADirectoryThatIsNotThereIsAFailure) {
  EXPECT_THROW(scan_recording("/nowhere/at/all", {}), Failure);
}

TEST(RecordingFolders, AreKnownByTheirNames) {
  EXPECT_TRUE(is_day_folder("2013-04-05"));
  EXPECT_TRUE(is_hour_folder("23h"));
  EXPECT_TRUE(is_minute_folder("59mn"));
  EXPECT_TRUE(is_numbered_folder("00000042"));
  for (const char* name : {"", "2013-04-05x", "2013_04_05", "h23", "23H", "59m", "0000004", "x"}) {
    EXPECT_FALSE(is_day_folder(name) || is_hour_folder(name) || is_minute_folder(name) ||
                 is_numbered_folder(name))
        << name;
  }
}

TEST(TreeEnd, IsTheLastFrameOfTheLastFolderThatHoldsOne) {
  const TempDirectory directory;
  EXPECT_FALSE(last_moment_of_tree(directory.path()));
  add_file(directory, "2013-04-05/14h/07mn/2013-04-05T14-07-09.000000-depth.rle");
  add_file(directory, "2013-04-05/14h/07mn/2013-04-05T14-07-10.000000-bgrimage.jpg");
  add_file(directory, "2013-04-05/14h/07mn/notes.txt");
  fs::create_directories(directory.file("2013-04-06/00h/00mn"));
  const auto last = last_moment_of_tree(directory.path());
  ASSERT_TRUE(last);
  EXPECT_EQ(last->second, 10);
}

TEST(TreeEnd, AFrameIsThereWhenItsLastFileIs) {
  const TempDirectory directory;
  const Moment moment{2013, 4, 5, 14, 7, 9, 0};
  add_file(directory, "2013-04-05/14h/07mn/2013-04-05T14-07-09.000000-depth.rle");
  EXPECT_FALSE(tree_has_frame(directory.path(), moment));
  add_file(directory, "2013-04-05/14h/07mn/2013-04-05T14-07-09.000000-depth.err");
  EXPECT_TRUE(tree_has_frame(directory.path(), moment));
}

}  // namespace
}  // namespace depth_io::tools
