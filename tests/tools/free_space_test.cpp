#include "tools/system/free_space.h"

#include <gtest/gtest.h>

#include "tests/support/temp_directory.h"

namespace depth_io::tools {
namespace {

TEST(FreeSpace, SizesAreRead) {
  const struct {
    const char* text;
    std::uintmax_t bytes;
  } cases[] = {{"0", 0},
               {"4096", 4096},
               {"1K", 1024},
               {"1.5K", 1536},
               {"256M", 256U << 20U},
               {"1G", 1U << 30U},
               {"2T", std::uintmax_t{2} << 40U}};
  for (const auto& c : cases) EXPECT_EQ(parse_size(c.text), c.bytes) << c.text;
}

TEST(FreeSpace, WhatIsNoSizeIsRefused) {
  for (const char* text :
       {"", "G", "-1", "1g", "1GB", "1 G", "nan", "inf", "1e3", "0x10", "1,5G", "99999999999T"}) {
    EXPECT_FALSE(parse_size(text)) << text;
  }
}

TEST(FreeSpace, AFloorThatNoDiskHasIsAShortage) {
  const test::TempDirectory directory;
  EXPECT_NE(FreeSpaceFloor(directory.path(), std::uintmax_t{1} << 59U).shortage(), "");
}

TEST(FreeSpace, WithoutAFloorThereIsNoShortage) {
  EXPECT_EQ(FreeSpaceFloor(test::TempDirectory().path(), 0).shortage(), "");
}

TEST(FreeSpace, OneByteIsThere) {
  const test::TempDirectory directory;
  EXPECT_EQ(FreeSpaceFloor(directory.path(), 1).shortage(), "");
}

TEST(FreeSpace, AFileSystemThatCannotBeAskedIsNoShortage) {
  EXPECT_EQ(FreeSpaceFloor("/nowhere/at/all", 1).shortage(), "");
}

}  // namespace
}  // namespace depth_io::tools
