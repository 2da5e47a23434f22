#include "codec/working_record.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>

#include "tests/support/console_capture.h"
#include "tests/support/stale_memory.h"

namespace depth_io::test {
namespace {

/// Gives every array of an allocated record back, whatever the record itself releases.
void release_all(struct_read_write_depth& record) {
  delete[] record.LoadedColourImage;
  record.LoadedColourImage = nullptr;
  DeAllocate(record);
}

/// Sets every byte of an array: touches memory past its end when it is too short.
template <typename Element>
void fill(Element* array, std::size_t count) {
  std::memset(static_cast<void*>(array), 1, count * sizeof(Element));
}

TEST(WorkingRecord, NewRecordHasNothingOfTheMemoryThatItIsMadeIn) {
  const InStaleMemory<struct_read_write_depth> made;
  expect_record_set(*made);
  InitStruct(*made);
  expect_record_set(*made);
}

TEST(WorkingRecord, InitStructMakesEveryPointerNull) {
  struct_read_write_depth record;
  int ints = 0;
  float floats = 0;
  unsigned char bytes = 0;
  bool flag = false;
  record.Label = record.Encode = record.ErrorCorrect = record.RLE_Nb = record.RLE_Val =
      record.write_MapObject = &ints;
  record.LabelRefZ = record.LoadedDepth = record.LoadedMapX = record.LoadedMapY = &floats;
  record.EncodeUC = record.EncodeUC2 = &bytes;
  record.ErrorMap = &flag;
  InitStruct(record);
  EXPECT_EQ(record.Label, nullptr);
  EXPECT_EQ(record.LabelRefZ, nullptr);
  EXPECT_EQ(record.Encode, nullptr);
  EXPECT_EQ(record.EncodeUC, nullptr);
  EXPECT_EQ(record.EncodeUC2, nullptr);
  EXPECT_EQ(record.ErrorMap, nullptr);
  EXPECT_EQ(record.ErrorCorrect, nullptr);
  EXPECT_EQ(record.LoadedDepth, nullptr);
  EXPECT_EQ(record.LoadedMapX, nullptr);
  EXPECT_EQ(record.LoadedMapY, nullptr);
  EXPECT_EQ(record.RLE_Nb, nullptr);
  EXPECT_EQ(record.RLE_Val, nullptr);
  EXPECT_EQ(record.write_MapObject, nullptr);
}

TEST(WorkingRecord, InitStructMakesNumbersZero) {
  struct_read_write_depth record;
  record.width = record.height = record.RLE_NbNb = 5;
  record.loaded_a11 = record.loaded_a22 = record.loaded_cx = record.loaded_cy = 5.0F;
  InitStruct(record);
  EXPECT_EQ(record.width, 0);
  EXPECT_EQ(record.height, 0);
  EXPECT_EQ(record.RLE_NbNb, 0);
  EXPECT_EQ(record.loaded_a11, 0.0F);
  EXPECT_EQ(record.loaded_a22, 0.0F);
  EXPECT_EQ(record.loaded_cx, 0.0F);
  EXPECT_EQ(record.loaded_cy, 0.0F);
}

TEST(WorkingRecord, InitStructLeavesColourImage) {
  struct_read_write_depth record;
  unsigned char colour = 7;
  record.LoadedColourImage = &colour;
  InitStruct(record);
  EXPECT_EQ(record.LoadedColourImage, &colour);
}

TEST(WorkingRecord, AllocateStoresSizeAndSaysNothing) {
  struct_read_write_depth record;
  InitStruct(record);
  bool allocated = false;
  const ConsoleTrace console = capture_console([&] { allocated = Allocate(record, 7, 5); });
  EXPECT_TRUE(allocated);
  EXPECT_EQ(record.width, 7);
  EXPECT_EQ(record.height, 5);
  EXPECT_EQ(console.output, "");
  EXPECT_EQ(console.keys, 0);
  release_all(record);
}

TEST(WorkingRecord, AllocateGivesEveryArrayItsFullSize) {
  struct_read_write_depth record;
  InitStruct(record);
  ASSERT_TRUE(Allocate(record, 7, 5));
  const std::size_t n = 35;
  ASSERT_EQ(pixel_count(record), n);
  for (int* array : {record.Label, record.Encode, record.ErrorCorrect, record.RLE_Nb,
                     record.RLE_Val, record.write_MapObject}) {
    ASSERT_NE(array, nullptr);
    fill(array, n);
  }
  for (float* array :
       {record.LabelRefZ, record.LoadedDepth, record.LoadedMapX, record.LoadedMapY}) {
    ASSERT_NE(array, nullptr);
    fill(array, n);
  }
  for (unsigned char* array : {record.EncodeUC, record.EncodeUC2, record.LoadedColourImage}) {
    ASSERT_NE(array, nullptr);
    fill(array, 3 * n);
  }
  ASSERT_NE(record.ErrorMap, nullptr);
  fill(record.ErrorMap, n);
  EXPECT_EQ(record.Label[n - 1], 0x01010101);
  release_all(record);
}

TEST(WorkingRecord, AllocateMakesMaskZeroAndRunsNone) {
  struct_read_write_depth record;
  InitStruct(record);
  record.RLE_NbNb = 9;
  ASSERT_TRUE(Allocate(record, 64, 48));
  EXPECT_EQ(std::count(record.write_MapObject, record.write_MapObject + 64 * 48, 0), 64 * 48);
  EXPECT_EQ(record.RLE_NbNb, 0);
  release_all(record);
}

struct Refusal {
  const char* name;
  void (*occupy)(struct_read_write_depth&);
  const char* message;
};

int some_int = 0;
float some_float = 0;

// Each case also occupies everything that is tested later: the first test decides.
const Refusal kRefusals[] = {
    {"Label",
     [](struct_read_write_depth& record) {
       record.Label = record.Encode = &some_int;
       record.LabelRefZ = &some_float;
       record.width = record.height = 3;
     },
     "ERROR Allocate 1\n"},
    {"LabelRefZ",
     [](struct_read_write_depth& record) {
       record.Encode = &some_int;
       record.LabelRefZ = &some_float;
       record.width = record.height = 3;
     },
     "ERROR Allocate 2\n"},
    {"Encode",
     [](struct_read_write_depth& record) {
       record.Encode = &some_int;
       record.width = record.height = 3;
     },
     "ERROR Allocate 3\n"},
    {"Width", [](struct_read_write_depth& record) { record.width = record.height = 3; },
     "ERROR Allocate 4\n"},
    {"NegativeWidth", [](struct_read_write_depth& record) { record.width = -1; },
     "ERROR Allocate 4\n"},
    {"Height", [](struct_read_write_depth& record) { record.height = 3; }, "ERROR Allocate 5\n"},
};

class AllocateRefusal : public testing::TestWithParam<Refusal> {};

TEST_P(AllocateRefusal, PrintsWaitsOnceAndLeavesRecord) {
  struct_read_write_depth record;
  InitStruct(record);
  GetParam().occupy(record);
  const struct_read_write_depth before = record;
  bool allocated = true;
  const ConsoleTrace console = capture_console([&] { allocated = Allocate(record, 4, 4); });
  EXPECT_FALSE(allocated);
  EXPECT_EQ(console.output, GetParam().message);
  EXPECT_EQ(console.keys, 1);
  EXPECT_EQ(record.Label, before.Label);
  EXPECT_EQ(record.LabelRefZ, before.LabelRefZ);
  EXPECT_EQ(record.Encode, before.Encode);
  EXPECT_EQ(record.width, before.width);
  EXPECT_EQ(record.height, before.height);
  EXPECT_EQ(record.EncodeUC, nullptr);
  EXPECT_EQ(record.LoadedColourImage, before.LoadedColourImage);
  EXPECT_EQ(record.write_MapObject, nullptr);
}

INSTANTIATE_TEST_SUITE_P(WorkingRecord, AllocateRefusal, testing::ValuesIn(kRefusals),
                         [](const auto& case_of) { return case_of.param.name; });

TEST(WorkingRecord, SecondAllocateIsRefusedAndKeepsArrays) {
  struct_read_write_depth record;
  InitStruct(record);
  ASSERT_TRUE(Allocate(record, 4, 3));
  const int* const label = record.Label;
  const unsigned char* const colour = record.LoadedColourImage;
  bool allocated = true;
  const ConsoleTrace console = capture_console([&] { allocated = Allocate(record, 8, 6); });
  EXPECT_FALSE(allocated);
  EXPECT_EQ(console.output, "ERROR Allocate 1\n");
  EXPECT_EQ(console.keys, 1);
  EXPECT_EQ(record.Label, label);
  EXPECT_EQ(record.LoadedColourImage, colour);
  EXPECT_EQ(record.width, 4);
  EXPECT_EQ(record.height, 3);
  release_all(record);
}

struct BadSize {
  const char* name;
  int width;
  int height;
};

class AllocateBadSize : public testing::TestWithParam<BadSize> {};

TEST_P(AllocateBadSize, IsRefusedWithoutWaitAndRecordStaysEmpty) {
  struct_read_write_depth record;
  InitStruct(record);
  bool allocated = true;
  const ConsoleTrace console =
      capture_console([&] { allocated = Allocate(record, GetParam().width, GetParam().height); });
  EXPECT_FALSE(allocated);
  EXPECT_EQ(console.keys, 0);
  EXPECT_EQ(record.Label, nullptr);
  EXPECT_EQ(record.write_MapObject, nullptr);
  EXPECT_EQ(record.width, 0);
  EXPECT_EQ(record.height, 0);
}

INSTANTIATE_TEST_SUITE_P(WorkingRecord, AllocateBadSize,
                         testing::Values(BadSize{"NegativeWidth", -1, 4},
                                         BadSize{"NegativeHeight", 4, -1},
                                         BadSize{"BothNegative", -3, -3},
                                         BadSize{"SmallestWidth", INT_MIN, 2},
                                         BadSize{"ProductWrapsToZero", 65536, 65536},
                                         BadSize{"ProductWrapsToNegative", 46341, 46341},
                                         BadSize{"Largest", INT_MAX, INT_MAX}),
                         [](const auto& case_of) { return case_of.param.name; });

TEST(WorkingRecord, DeAllocateMakesRecordEmpty) {
  struct_read_write_depth record;
  InitStruct(record);
  ASSERT_TRUE(Allocate(record, 4, 3));
  record.RLE_NbNb = 2;
  unsigned char* const colour = record.LoadedColourImage;
  DeAllocate(record);
  EXPECT_EQ(record.Label, nullptr);
  EXPECT_EQ(record.LabelRefZ, nullptr);
  EXPECT_EQ(record.Encode, nullptr);
  EXPECT_EQ(record.EncodeUC, nullptr);
  EXPECT_EQ(record.EncodeUC2, nullptr);
  EXPECT_EQ(record.ErrorMap, nullptr);
  EXPECT_EQ(record.ErrorCorrect, nullptr);
  EXPECT_EQ(record.LoadedDepth, nullptr);
  EXPECT_EQ(record.LoadedMapX, nullptr);
  EXPECT_EQ(record.LoadedMapY, nullptr);
  EXPECT_EQ(record.RLE_Nb, nullptr);
  EXPECT_EQ(record.RLE_Val, nullptr);
  EXPECT_EQ(record.write_MapObject, nullptr);
  EXPECT_EQ(record.RLE_NbNb, 0);
  EXPECT_EQ(record.width, 0);
  EXPECT_EQ(record.height, 0);
  delete[] colour;
}

TEST(WorkingRecord, DeAllocateLeavesColourImageToItsOwner) {
  struct_read_write_depth record;
  InitStruct(record);
  ASSERT_TRUE(Allocate(record, 4, 3));
  unsigned char* const colour = record.LoadedColourImage;
  colour[0] = 200;
  DeAllocate(record);
  ASSERT_EQ(record.LoadedColourImage, colour);
  EXPECT_EQ(record.LoadedColourImage[0], 200);
  delete[] colour;
}

TEST(WorkingRecord, DeAllocateOfWidthZeroReleasesNothing) {
  struct_read_write_depth record;
  InitStruct(record);
  // Arrays that were never allocated: releasing one of them would end the program.
  record.Label = record.write_MapObject = &some_int;
  record.LabelRefZ = &some_float;
  record.RLE_NbNb = 4;
  record.height = 6;
  DeAllocate(record);
  EXPECT_EQ(record.Label, nullptr);
  EXPECT_EQ(record.LabelRefZ, nullptr);
  EXPECT_EQ(record.write_MapObject, &some_int);
  EXPECT_EQ(record.RLE_NbNb, 0);
  EXPECT_EQ(record.height, 0);
}

TEST(WorkingRecord, RecordCanBeAllocatedAgainInAnotherSize) {
  struct_read_write_depth record;
  InitStruct(record);
  ASSERT_TRUE(Allocate(record, 4, 3));
  release_all(record);
  ASSERT_TRUE(Allocate(record, 16, 9));
  EXPECT_EQ(record.width, 16);
  EXPECT_EQ(record.write_MapObject[16 * 9 - 1], 0);
  release_all(record);
}

TEST(WorkingRecord, EmptySizeSucceedsAndMaskStaysWithItsOwner) {
  struct_read_write_depth record;
  InitStruct(record);
  bool allocated = false;
  const ConsoleTrace console = capture_console([&] { allocated = Allocate(record, 0, 0); });
  EXPECT_TRUE(allocated);
  EXPECT_EQ(console.output, "");
  int* const mask = record.write_MapObject;
  ASSERT_NE(mask, nullptr);
  delete[] record.LoadedColourImage;
  record.LoadedColourImage = nullptr;
  DeAllocate(record);
  EXPECT_EQ(record.Label, nullptr);
  EXPECT_EQ(record.write_MapObject, mask);
  delete[] mask;
}

TEST(WorkingRecord, EmptySizeAllocatesEmptyArrays) {
  struct_read_write_depth record;
  InitStruct(record);
  ASSERT_TRUE(Allocate(record, 0, 0));
  bool again = true;
  const ConsoleTrace console = capture_console([&] { again = Allocate(record, 4, 3); });
  EXPECT_FALSE(again);
  EXPECT_EQ(console.output, "ERROR Allocate 1\n");
  int* const mask = record.write_MapObject;
  release_all(record);
  delete[] mask;
}

TEST(WorkingRecord, ReleaseRecordTakesTheColourImageToo) {
  struct_read_write_depth record;
  InitStruct(record);
  ASSERT_TRUE(Allocate(record, 4, 3));
  release_record(record);
  EXPECT_EQ(record.LoadedColourImage, nullptr);
  EXPECT_EQ(record.Label, nullptr);
  EXPECT_EQ(record.width, 0);
}

TEST(WorkingRecord, DestructorLeavesArraysToTheirOwner) {
  unsigned char colour = 3;
  int label = 4;
  {
    struct_read_write_depth record;
    record.Label = &label;
    record.LoadedColourImage = &colour;
    record.width = record.height = 1;
  }
  EXPECT_EQ(label, 4);
  EXPECT_EQ(colour, 3);
}

}  // namespace
}  // namespace depth_io::test
