#include "tools/export/whole_file.h"

#include <gtest/gtest.h>

#include "tests/support/temp_directory.h"
#include "tools/export/cloud_file.h"
#include "tools/picture/png_file.h"

namespace depth_io::tools {
namespace {

/// Each way to shorten a whole file must be noticed.
void expect_wholeness(const std::string& ending, const std::string& bytes) {
  const test::TempDirectory directory;
  const std::string path = directory.file("file" + ending);
  EXPECT_FALSE(is_whole_file(path));
  test::write_file(path, bytes);
  EXPECT_TRUE(is_whole_file(path)) << ending;
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{1}, bytes.size() / 2, bytes.size() - 1}) {
    test::write_file(path, bytes.substr(0, size));
    EXPECT_FALSE(is_whole_file(path)) << ending << " " << size;
  }
}

TEST(WholeFile, PngFilesEndWithTheirLastChunk) {
  const test::TempDirectory directory;
  write_grey_png(directory.file("a.png"), {2, 1, {1, 2}});
  expect_wholeness(".png", test::read_file(directory.file("a.png")));
}

TEST(WholeFile, JpegFilesEndWithTheirMark) { expect_wholeness(".jpg", "\xFF\xD8...\xFF\xD9"); }

TEST(WholeFile, CloudsAreAsLongAsTheySay) {
  const std::vector<CloudPoint> points(3);
  for (const bool with_colour : {false, true}) {
    expect_wholeness(".ply", cloud_text(points, with_colour, {"a comment"}));
  }
  expect_wholeness(".ply", cloud_text({}, true, {}));
}

TEST(WholeFile, LongerCloudsAreNotWhole) {
  const test::TempDirectory directory;
  test::write_file(directory.file("a.ply"), cloud_text({}, true, {}) + "x");
  EXPECT_FALSE(is_whole_file(directory.file("a.ply")));
}

TEST(WholeFile, ForeignFilesAreNot) {
  const test::TempDirectory directory;
  for (const char* const name : {"a.png", "a.jpg", "a.ply", "a.txt"}) {
    test::write_file(directory.file(name), "ply\nelement vertex 0\n end_header\n");
    EXPECT_FALSE(is_whole_file(directory.file(name))) << name;
  }
}

}  // namespace
}  // namespace depth_io::tools
