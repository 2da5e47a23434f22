#include "tools/picture/png_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/temp_directory.h"
#include "tools/system/failure.h"

namespace depth_io::tools {
namespace {

using test::read_file;
using test::TempDirectory;
using test::write_file;

GreyImage ramp(int width, int height) {
  GreyImage image{width, height, {}};
  for (int i = 0; i < width * height; ++i) {
    image.pixels.push_back(static_cast<std::uint16_t>(i * 257));
  }
  return image;
}

Picture gradient(int width, int height) {
  Picture picture(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      picture.set(x, y,
                  {static_cast<unsigned char>(x), static_cast<unsigned char>(y),
                   static_cast<unsigned char>(x + y)});
    }
  }
  return picture;
}

TEST(PngFile, GreyImagesComeBackUnchanged) {
  const TempDirectory directory;
  const GreyImage image = ramp(33, 21);
  write_grey_png(directory.file("a.png"), image);
  const GreyImage read = read_grey_png(directory.file("a.png"));
  EXPECT_EQ(read.width, 33);
  EXPECT_EQ(read.height, 21);
  EXPECT_EQ(read.pixels, image.pixels);
}

TEST(PngFile, PicturesComeBackUnchanged) {
  const TempDirectory directory;
  const Picture picture = gradient(40, 30);
  write_colour_png(directory.file("a.png"), picture);
  const Picture read = read_colour_png(directory.file("a.png"));
  EXPECT_EQ(read.width(), 40);
  EXPECT_EQ(read.height(), 30);
  EXPECT_EQ(read.bytes(), picture.bytes());
}

TEST(PngFile, AGreyImageReadAsColourIsGrey) {
  const TempDirectory directory;
  write_grey_png(directory.file("a.png"), GreyImage{1, 1, {0x8080}});
  EXPECT_EQ(read_colour_png(directory.file("a.png")).at(0, 0), (Colour{128, 128, 128}));
}

TEST(PngFile, AColourImageIsNoDepthImage) {
  const TempDirectory directory;
  write_colour_png(directory.file("a.png"), gradient(8, 8));
  EXPECT_THROW(read_grey_png(directory.file("a.png")), Failure);
}

TEST(PngFile, LeavesNothingButTheFile) {
  const TempDirectory directory;
  write_colour_png(directory.file("a.png"), gradient(8, 8));
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
    files += entry.is_regular_file() ? 1 : 0;
  }
  EXPECT_EQ(files, 1);
}

TEST(PngFile, ADirectoryThatDoesNotExistIsAFailure) {
  const TempDirectory directory;
  EXPECT_THROW(write_colour_png(directory.file("none/a.png"), gradient(8, 8)), Failure);
}

TEST(PngFile, BadFilesAreRefused) {
  const TempDirectory directory;
  write_grey_png(directory.file("good.png"), ramp(64, 64));
  const std::string good = read_file(directory.file("good.png"));
  std::string wrong_sum = good;
  wrong_sum[good.size() / 2] = static_cast<char>(wrong_sum[good.size() / 2] ^ 0x55);
  const struct {
    const char* name;
    std::string bytes;
  } cases[] = {{"empty", ""},
               {"text", "this is no image at all"},
               {"signature only", good.substr(0, 8)},
               {"header only", good.substr(0, 33)},
               {"half", good.substr(0, good.size() / 2)},
               {"without end", good.substr(0, good.size() - 4)},
               {"wrong checksum", wrong_sum}};
  for (const auto& bad : cases) {
    write_file(directory.file("bad.png"), bad.bytes);
    EXPECT_THROW(read_grey_png(directory.file("bad.png")), Failure) << bad.name;
    EXPECT_THROW(read_colour_png(directory.file("bad.png")), Failure) << bad.name;
  }
}

TEST(PngFile, AHugeImageIsRefusedByItsHeader) {
  const TempDirectory directory;
  write_grey_png(directory.file("wide.png"), ramp(5000, 1));
  EXPECT_THROW(read_grey_png(directory.file("wide.png")), Failure);
}

TEST(PngFile, APipeIsNotWaitedFor) {
  const TempDirectory directory;
  ASSERT_EQ(mkfifo(directory.file("pipe.png").c_str(), 0600), 0);
  EXPECT_THROW(read_grey_png(directory.file("pipe.png")), Failure);
}

}  // namespace
}  // namespace depth_io::tools
