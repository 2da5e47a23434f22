#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "codec/frame_reader.h"
#include "tests/support/stored_frame.h"

// Damaged and hostile frames: bounded, soon, and never a memory error.

namespace depth_io::test {
namespace {

using Depths = std::vector<float>;

constexpr char kLabelWrong[] = " - ERROR - load_compressed_data - label wrong\n";

// --- Label maps ---------------------------------------------------------------------------------

/// Label maps of a 4 x 2 frame with references 1.0 and 3.0.
struct LabelMapCase {
  const char* name;
  std::string content;
  bool good;
  Depths depths;  ///< when good
};

const LabelMapCase kLabelMaps[] = {
    {"Empty", "", true, {0, 0, 0, 0, 0, 0, 0, 0}},
    {"OnlyTheLastEmptyLine", "\n", true, {0, 0, 0, 0, 0, 0, 0, 0}},
    {"NoNumbers", "runs\n8 0\n", true, {0, 0, 0, 0, 0, 0, 0, 0}},
    {"CountOnly", "5\n", true, {0, 0, 0, 0, 0, 0, 0, 0}},
    {"CountZero", "0\n8 0\n", true, {0, 0, 0, 0, 0, 0, 0, 0}},
    {"CountNegative", "-1\n8 0\n", true, {0, 0, 0, 0, 0, 0, 0, 0}},
    {"CountSmallestInt", "-2147483648\n8 0\n", true, {0, 0, 0, 0, 0, 0, 0, 0}},
    {"CountTwoBillion", "2000000000\n6 0\n2 1\n\n", true, {1, 1, 1, 1, 1, 1, 3, 3}},
    {"CountLargestInt", "2147483647\n6 0\n2 1\n\n", true, {1, 1, 1, 1, 1, 1, 3, 3}},
    {"CountIsNotTakenModulo", "4294967297\n6 0\n2 1\n\n", true, {1, 1, 1, 1, 1, 1, 3, 3}},
    {"CountTooSmall", "1\n6 0\n2 1\n\n", true, {1, 1, 1, 1, 1, 1, 0, 0}},
    {"CountTooLarge", "3\n4 0\n2 1\n\n", true, {1, 1, 1, 1, 3, 3, 0, 0}},
    {"EndsEarly", "3\n2 1\n1 0\n", true, {3, 3, 1, 0, 0, 0, 0, 0}},
    {"EndsInsideAPair", "2\n2 1\n4", true, {3, 3, 0, 0, 0, 0, 0, 0}},
    {"BadWordEndsIt", "3\n2 1\nabc 0\n2 0\n", true, {3, 3, 0, 0, 0, 0, 0, 0}},
    {"BadLabelWordEndsIt", "3\n2 1\n3 x\n2 0\n", true, {3, 3, 0, 0, 0, 0, 0, 0}},
    {"LastRunIsCut", "1\n900 0\n", true, {1, 1, 1, 1, 1, 1, 1, 1}},
    {"SecondRunIsCut", "2\n5 0\n900 1\n", true, {1, 1, 1, 1, 1, 3, 3, 3}},
    {"LaterRunsAreIgnored", "4\n5 0\n900 1\n7 99\n1 -8\n", true, {1, 1, 1, 1, 1, 3, 3, 3}},
    {"LengthZero", "2\n0 1\n8 0\n", true, {1, 1, 1, 1, 1, 1, 1, 1}},
    {"LengthNegative", "3\n2 1\n-2 0\n6 0\n", true, {3, 3, 1, 1, 1, 1, 1, 1}},
    {"LengthSmallestInt", "2\n-2147483648 0\n8 1\n", true, {3, 3, 3, 3, 3, 3, 3, 3}},
    {"LengthZeroOfAWrongLabel", "2\n0 77\n8 0\n", true, {1, 1, 1, 1, 1, 1, 1, 1}},
    {"LengthLargestInt", "2\n2 1\n2147483647 0\n", true, {3, 3, 1, 1, 1, 1, 1, 1}},
    {"LengthIsNotTakenModulo", "2\n4294967297 1\n7 0\n", true, {3, 3, 3, 3, 3, 3, 3, 3}},
    {"LengthOfManyDigits", "1\n99999999999999999999999999 1\n", true, {3, 3, 3, 3, 3, 3, 3, 3}},
    {"NegativeLengthOfManyDigits",
     "2\n-99999999999999999999999999 1\n8 0\n",
     true,
     {1, 1, 1, 1, 1, 1, 1, 1}},
    {"LabelOnePastTheLast", "1\n8 2\n", false, {}},
    {"LabelMinusTwo", "1\n8 -2\n", false, {}},
    {"LabelLargestInt", "1\n8 2147483647\n", false, {}},
    {"LabelSmallestInt", "1\n8 -2147483648\n", false, {}},
    {"LabelIsNotTakenModulo", "1\n8 4294967296\n", false, {}},
    {"LabelIsNotTakenModuloToMinusOne", "1\n8 4294967295\n", false, {}},
    {"LabelOfManyDigits", "1\n8 99999999999999999999999999\n", false, {}},
    {"WrongLabelOfTheLastPixel", "2\n7 0\n1 2\n", false, {}},
    {"WholeNumberBeforeAPoint", "1\n8.5 0\n", true, {0, 0, 0, 0, 0, 0, 0, 0}},
    {"ZeroBytes", std::string(5000, '\0'), true, {0, 0, 0, 0, 0, 0, 0, 0}},
    {"ManyBlanks", std::string(500000, ' '), true, {0, 0, 0, 0, 0, 0, 0, 0}},
    {"ManyDigits", std::string(500000, '9'), true, {0, 0, 0, 0, 0, 0, 0, 0}},
};

void PrintTo(const LabelMapCase& sample, std::ostream* out) { *out << sample.name; }

class DamagedLabelMap : public testing::TestWithParam<LabelMapCase> {};

TEST_P(DamagedLabelMap, IsBoundedOrRefused) {
  StoredFrame frame;
  frame.label_map = GetParam().content;
  EXPECT_EQ(frame.read(), GetParam().good);
  if (GetParam().good) {
    EXPECT_EQ(frame.depths(), GetParam().depths);
  } else {
    EXPECT_NE(frame.console.output.find(kLabelWrong), std::string::npos);
  }
  EXPECT_EQ(frame.console.keys, 0);
}

TEST_P(DamagedLabelMap, HasTheSameResultThroughTheSilentEntry) {
  StoredFrame frame;
  frame.label_map = GetParam().content;
  EXPECT_EQ(frame.read_silently(), GetParam().good);
  if (GetParam().good) {
    EXPECT_EQ(frame.depths(), GetParam().depths);
  }
}

INSTANTIATE_TEST_SUITE_P(DamagedFrame, DamagedLabelMap, testing::ValuesIn(kLabelMaps),
                         [](const auto& case_of) { return case_of.param.name; });

TEST(DamagedFrame, MillionsOfEmptyRunsEndAtTheNumberOfPixelsSoon) {
  StoredFrame frame;
  frame.label_map = "2000000000\n";
  for (int i = 0; i < 2000000; ++i) frame.label_map += "0 0\n";
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(frame.read());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  EXPECT_EQ(frame.depths(), Depths(8, 0.0F));
}

TEST(DamagedFrame, NeverMoreRunsThanPixels) {
  StoredFrame frame;
  frame.label_map = "100\n";
  for (int i = 0; i < 8; ++i) frame.label_map += "0 0\n";
  frame.label_map += "8 0\n";
  EXPECT_TRUE(frame.read());
  EXPECT_EQ(frame.depths(), Depths(8, 0.0F));
}

// --- Reference files ----------------------------------------------------------------------------

struct ReferenceCase {
  const char* name;
  std::string content;
  const char* message;  ///< null: a good frame
};

constexpr char kNblabels[] = " - ERROR - load_compressed_data - loading nblabels\n";
constexpr char kA11[] = " - ERROR - load_compressed_data - loading a11\n";
constexpr char kCy[] = " - ERROR - load_compressed_data - loading cy\n";

const std::string kCamera = " a11 500.0 a22 250.0 cx 1.0 cy 2.0\n";

const ReferenceCase kReferenceFiles[] = {
    {"KeywordOf10kB", std::string(10000, 'n') + " 2" + kCamera + "1\n3\n", kNblabels},
    {"KeywordBeginsRight", "nblabels" + std::string(10000, 's') + " 2" + kCamera, kNblabels},
    {"SecondKeywordOf10kB", "nblabels 2 a11" + std::string(10000, '1') + " 500", kA11},
    {"OnlyBlanks", std::string(100000, ' '), kNblabels},
    {"OnlyZeroBytes", std::string(100000, '\0'), kNblabels},
    {"CountMissing", "nblabels", nullptr},
    {"CountUnreadable", "nblabels many" + kCamera, nullptr},
    {"CountNegative", "nblabels -5" + kCamera, nullptr},
    {"CountIsNotTakenModulo", "nblabels 4294967297" + kCamera + "1\n3\n", nullptr},
    {"CountLargestInt", "nblabels 2147483647" + kCamera + "1\n3\n", nullptr},
    {"CountAbovePixelsWithReferences",
     "nblabels 12" + kCamera + "1\n3\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n", nullptr},
    {"EndsAfterTheIntrinsics", "nblabels 2 a11 500 a22 250 cx 1 cy 2", nullptr},
    {"EndsAfterOneReference", "nblabels 2" + kCamera + "1.0\n", nullptr},
    {"EndsBeforeCy", "nblabels 2 a11 500 a22 250 cx 1", kCy},
    {"FocalLengthZero", "nblabels 2 a11 0 a22 0 cx 1 cy 2\n1\n3\n", nullptr},
    {"FocalLengthNan", "nblabels 2 a11 nan a22 nan cx nan cy nan\n1\n3\n", nullptr},
    {"FocalLengthInf", "nblabels 2 a11 inf a22 -inf cx inf cy inf\n1\n3\n", nullptr},
    {"FocalLengthTooLarge", "nblabels 2 a11 1e39 a22 1e9999 cx 1e-99 cy 2\n1\n3\n", nullptr},
    {"ReferenceNan", "nblabels 2" + kCamera + "nan\nnan\n", nullptr},
    {"ReferenceNegativeNan", "nblabels 2" + kCamera + "-nan\nnan\n", nullptr},
    {"ReferenceTooLarge", "nblabels 2" + kCamera + "1e39\n-1e39\n", nullptr},
    {"ReferenceTooSmall", "nblabels 2" + kCamera + "1e-60\n-1e-60\n", nullptr},
    {"ReferenceHex", "nblabels 2" + kCamera + "0x10\n0x1p4\n", nullptr},
    {"ReferenceOfManyDigits", "nblabels 2" + kCamera + std::string(400, '9') + "\n3\n", nullptr},
    {"ReferenceWord", "nblabels 2" + kCamera + "one\nthree\n", nullptr},
};

void PrintTo(const ReferenceCase& sample, std::ostream* out) { *out << sample.name; }

class DamagedReferences : public testing::TestWithParam<ReferenceCase> {};

TEST_P(DamagedReferences, AreRefusedOrGiveBoundedDepths) {
  StoredFrame frame;
  frame.references = GetParam().content;
  EXPECT_EQ(frame.read(), GetParam().message == nullptr);
  if (GetParam().message != nullptr) {
    EXPECT_NE(frame.console.output.find(GetParam().message), std::string::npos);
    EXPECT_EQ(frame.console.keys, 1);
  }
  for (const float depth : frame.depths()) {
    EXPECT_TRUE(std::isnan(depth) || (depth >= 0.0F && depth <= 255.0F)) << depth;
  }
}

TEST_P(DamagedReferences, HaveTheSameResultThroughTheSilentEntry) {
  StoredFrame frame;
  frame.references = GetParam().content;
  EXPECT_EQ(frame.read_silently(), GetParam().message == nullptr);
  EXPECT_EQ(frame.console.output, "");
}

INSTANTIATE_TEST_SUITE_P(DamagedFrame, DamagedReferences, testing::ValuesIn(kReferenceFiles),
                         [](const auto& case_of) { return case_of.param.name; });

TEST(DamagedFrame, UnreadableLabelCountIsAFrameWithoutLabels) {
  StoredFrame frame;
  frame.references = "nblabels many" + kCamera;
  EXPECT_TRUE(frame.read());
  EXPECT_NE(frame.console.output.find(" - INFO - load_compressed_data - No loaded Labels\n"),
            std::string::npos);
}

TEST(DamagedFrame, FirstReferencesAreKeptWhenThereAreMoreThanPixels) {
  StoredFrame frame;
  frame.references = "nblabels 12" + kCamera + "1\n3\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n";
  EXPECT_TRUE(frame.read());
  EXPECT_EQ(frame.depths(), (Depths{1, 1, 1, 1, 1, 1, 3, 3}));
  EXPECT_EQ(frame.record->LabelRefZ[7], 8.0F);
}

TEST(DamagedFrame, LabelWhoseReferenceWasNotKeptIsWrong) {
  StoredFrame frame;
  frame.references = "nblabels 12" + kCamera + "1\n3\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n";
  frame.label_map = "1\n8 10\n\n";
  EXPECT_FALSE(frame.read());
  EXPECT_NE(frame.console.output.find(kLabelWrong), std::string::npos);
}

TEST(DamagedFrame, InfiniteReferencesAreClamped) {
  StoredFrame frame;
  frame.references = "nblabels 2" + kCamera + "inf\n-inf\n";
  EXPECT_TRUE(frame.read());
  EXPECT_EQ(frame.depths(), (Depths{255, 255, 255, 255, 255, 255, 0, 0}));
}

TEST(DamagedFrame, ZeroFocalLengthLeavesTheDepths) {
  StoredFrame frame;
  frame.references = "nblabels 2 a11 0 a22 0 cx 1 cy 2\n1\n3\n";
  EXPECT_TRUE(frame.read());
  EXPECT_EQ(frame.depths(), (Depths{1, 1, 1, 1, 1, 1, 3, 3}));
  EXPECT_FALSE(std::isfinite(frame.record->LoadedMapX[0]));
}

TEST(DamagedFrame, MissingReferencesKeepMinusOneAndGiveNoDepth) {
  StoredFrame frame;
  frame.references = "nblabels 2" + kCamera + "1.0\n";
  EXPECT_TRUE(frame.read());
  EXPECT_EQ(frame.depths(), (Depths{1, 1, 1, 1, 1, 1, 0, 0}));
}

// --- Error files --------------------------------------------------------------------------------

struct ErrorFileCase {
  const char* name;
  std::string content;
  Depths depths;
};

const Depths kUncorrected = {1, 1, 1, 1, 1, 1, 3, 3};

/// The first bytes of a file of two records for pixels 0 and 1, codes 225 and 25.
std::string first_bytes(std::size_t count) {
  return error_file({{0, 0, 0, 225}, {0, 0, 1, 25}}).substr(0, count);
}

const ErrorFileCase kErrorFiles[] = {
    {"Empty", "", kUncorrected},
    {"OneByte", "\x01", kUncorrected},
    {"HalfTheCounts", first_bytes(6), kUncorrected},
    {"CountsWithoutRecords", first_bytes(12), kUncorrected},
    {"RecordOfOneByte", first_bytes(13), kUncorrected},
    {"RecordOfTwoBytes", first_bytes(14), kUncorrected},
    {"FirstRecordOnly", first_bytes(15), {2, 1, 1, 1, 1, 1, 3, 3}},
    {"SecondRecordCut", first_bytes(17), {2, 1, 1, 1, 1, 1, 3, 3}},
    {"BothRecords", first_bytes(18), {2, 0, 1, 1, 1, 1, 3, 3}},
    {"LargestCounts", std::string(12, '\xFF'), kUncorrected},
    {"LargestCountsAndARecord",
     std::string(12, '\xFF') + std::string("\0\0\xE1", 3),
     {2, 1, 1, 1, 1, 1, 3, 3}},
    {"MoreBytesThanCounted",
     error_file({{0, 0, 0, 225}}) + "\x01\x01\x01",
     {2, 1, 1, 1, 1, 1, 3, 3}},
    {"RowOutside", error_file({{0, 2, 0, 225}, {0, 0, 0, 225}}), {2, 1, 1, 1, 1, 1, 3, 3}},
    {"ColumnOutside", error_file({{0, 0, 4, 225}, {0, 0, 0, 225}}), {2, 1, 1, 1, 1, 1, 3, 3}},
    {"FarOutside", error_file({{0, 255, 255, 225}, {0, 0, 0, 225}}), {2, 1, 1, 1, 1, 1, 3, 3}},
    {"RegionsOutside", error_file({{1, 0, 0, 225}, {2, 0, 0, 225}, {3, 0, 0, 225}, {5, 0, 0, 225}}),
     kUncorrected},
    {"CodeAboveTheWindow", error_file({{0, 0, 0, 255}}), {2.3F, 1, 1, 1, 1, 1, 3, 3}},
};

void PrintTo(const ErrorFileCase& sample, std::ostream* out) { *out << sample.name; }

class DamagedErrorFile : public testing::TestWithParam<ErrorFileCase> {};

TEST_P(DamagedErrorFile, GivesTheRecordsThatAreWholeAndInside) {
  StoredFrame frame;
  frame.errors = GetParam().content;
  EXPECT_TRUE(frame.read());
  const Depths depths = frame.depths();
  for (std::size_t i = 0; i < depths.size(); ++i) {
    EXPECT_NEAR(depths[i], GetParam().depths[i], 1e-6) << "pixel " << i;
  }
}

TEST_P(DamagedErrorFile, HasTheSameResultThroughTheSilentEntry) {
  StoredFrame frame;
  frame.errors = GetParam().content;
  EXPECT_TRUE(frame.read_silently());
  EXPECT_NEAR(frame.depths()[0], GetParam().depths[0], 1e-6);
}

INSTANTIATE_TEST_SUITE_P(DamagedFrame, DamagedErrorFile, testing::ValuesIn(kErrorFiles),
                         [](const auto& case_of) { return case_of.param.name; });

}  // namespace
}  // namespace depth_io::test
