#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "codec/frame_writer.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/frame_model.h"

// The writer's two ways of checking what it wrote, with files that change in between.

namespace depth_io::test {
namespace {

const char kErrorFileCheck[] = " - DEBUG - write_compressed_data - verif mode 0\n";
const char kReadBack[] = " --- VERIFICATION of DEPTH CONTENT ---\n";
const char kDone[] = " - DEBUG - write_compressed_data - done\n";

/// What came after `line`.
std::string after(const std::string& output, const std::string& line) {
  const std::size_t at = output.find(line);
  return at == std::string::npos ? "(never printed)" : output.substr(at + line.size());
}

/// A frame with error records, verified by comparing its error file.
class ErrorFileVerification : public testing::Test {
 protected:
  ErrorFileVerification() : bench_(5, 3, -3.0F) {
    bench_.call.verification = 0;
    bench_.call.debug = 1;
  }

  /// Changes the error file just before it is compared; what is printed from then on.
  std::string verify(const std::function<void(std::string&)>& change) {
    PrintHook hook(kErrorFileCheck, [&] {
      std::string bytes = bench_.bytes(".err");
      change(bytes);
      write_file(bench_.name(".err"), bytes);
    });
    bench_.write();
    EXPECT_TRUE(hook.fired());
    return after(hook.output(), kErrorFileCheck);
  }

  WriterBench bench_;
};

TEST_F(ErrorFileVerification, UnchangedFileIsSilent) {
  EXPECT_EQ(verify([](std::string&) {}), kDone);
  EXPECT_EQ(bench_.result, 1);
  EXPECT_EQ(bench_.console.keys, 0);
}

TEST_F(ErrorFileVerification, OtherCodeIsToldWaitsAndGoesOn) {
  EXPECT_EQ(verify([](std::string& bytes) {
              bytes[12 + 3 * 1 + 2] = 99;
              bytes[12 + 3 * 7 + 2] = 98;
            }),
            std::string("ERRRRRRRROR 0 0, 0 1\nERRRRRRRROR 0 0, 1 2\n") + kDone);
  EXPECT_EQ(bench_.result, 1);
  EXPECT_EQ(bench_.console.keys, 2);
}

TEST_F(ErrorFileVerification, RecordsOutsideTheImageArePassedOver) {
  EXPECT_EQ(verify([](std::string& bytes) {
              bytes[12] = 3;  // row 3 of rows 0..2
              bytes[14] = 99;
              bytes[12 + 3 + 1] = 5;  // column 5 of columns 0..4
              bytes[12 + 3 + 2] = 99;
            }),
            kDone);
  EXPECT_EQ(bench_.result, 1);
}

TEST_F(ErrorFileVerification, OtherCountIsToldWaitsAndFails) {
  EXPECT_EQ(verify([](std::string& bytes) { bytes[1] = 14; }), "error error nb errors\n");
  EXPECT_EQ(bench_.result, 0);
  EXPECT_EQ(bench_.console.keys, 1);
}

TEST_F(ErrorFileVerification, CountsAreBigEndian) {
  EXPECT_EQ(verify([](std::string& bytes) { bytes[0] = 1; }), "error error nb errors\n");
  EXPECT_EQ(bench_.result, 0);
}

TEST_F(ErrorFileVerification, CountOfTheLastRegionIsCompared) {
  EXPECT_EQ(verify([](std::string& bytes) { bytes[11] = 1; }), "error error nb errors\n");
  EXPECT_EQ(bench_.result, 0);
}

TEST_F(ErrorFileVerification, MissingFileFails) {
  PrintHook hook(kErrorFileCheck, [&] { std::filesystem::remove(bench_.name(".err")); });
  bench_.write();
  ASSERT_TRUE(hook.fired());
  EXPECT_EQ(bench_.result, 0);
  EXPECT_NE(after(hook.output(), kErrorFileCheck), "");
}

TEST(ErrorFileVerificationRegions, MismatchIsToldWithItsRegionAndThePlaceInIt) {
  WriterBench bench(640, 480, 1.0F);
  bench.call.depths[300 * 640 + 600] = -3.0F;
  bench.call.verification = 0;
  bench.call.debug = 1;
  PrintHook hook(kErrorFileCheck, [&] {
    std::string bytes = bench.bytes(".err");
    bytes[14] = 1;
    write_file(bench.name(".err"), bytes);
  });
  EXPECT_EQ(bench.write(), 1);
  EXPECT_EQ(after(hook.output(), kErrorFileCheck), std::string("ERRRRRRRROR 1 2, 44 88\n") + kDone);
}

// --- Reading the frame back ---------------------------------------------------------------------

/// Writes with a read-back before which `change` is called; what is printed after the reader's
/// line.
std::string read_back(WriterBench& bench, const std::function<void()>& change) {
  bench.call.verification = 1;
  PrintHook hook(kReadBack, change);
  bench.write();
  EXPECT_TRUE(hook.fired());
  return after(hook.output(), "reading compressed data '" + bench.base() + "'\n");
}

TEST(ReadBackVerification, GoodFrameIsSilent) {
  std::vector<float> depths;
  for (int i = 0; i < 64 * 48; ++i) depths.push_back(0.5F + static_cast<float>(i % 97) * 0.05F);
  WriterBench bench(64, 48, depths);
  EXPECT_EQ(read_back(bench, [] {}), "");
  EXPECT_EQ(bench.result, 1);
}

TEST(ReadBackVerification, LargeDeviationsAreToldWaitAndGoOn) {
  WriterBench bench(2, 2, 1.0F);
  const std::string output = read_back(
      bench, [&] { write_file(bench.name(".ref"), "nblabels 1 a11 1 a22 1 cx 0 cy 0\n1.5\n"); });
  std::string expected;
  for (const char* at : {"0 0", "0 1", "1 0", "1 1"}) {
    expected += std::string("VERIFICATION - large dev : at ") + at +
                ": loaded 1.500000 vs gtZ 1.000000 ThresholdError 0.500000 vs 0.020000\n";
  }
  EXPECT_EQ(output, expected);
  EXPECT_EQ(bench.result, 1);
  EXPECT_EQ(bench.console.keys, 4);
}

TEST(ReadBackVerification, MarginOfAMillimetreIsAllowed) {
  WriterBench bench(1, 1, 1.0F);
  EXPECT_EQ(
      read_back(
          bench,
          [&] { write_file(bench.name(".ref"), "nblabels 1 a11 1 a22 1 cx 0 cy 0\n1.0205\n"); }),
      "");
}

TEST(ReadBackVerification, MoreThanTheMarginIsTold) {
  WriterBench bench(1, 1, 1.0F);
  EXPECT_EQ(
      read_back(
          bench,
          [&] { write_file(bench.name(".ref"), "nblabels 1 a11 1 a22 1 cx 0 cy 0\n1.0215\n"); }),
      "VERIFICATION - large dev : at 0 0: loaded 1.021500 vs gtZ 1.000000 ThresholdError "
      "0.021500 vs 0.020000\n");
}

TEST(ReadBackVerification, MaskedPixelsAreAlwaysTold) {
  WriterBench bench(2, 1, 1.5F);
  std::fill_n(bench.record->write_MapObject, 2, -1);
  EXPECT_EQ(read_back(bench, [] {}),
            " - INFO - load_compressed_data - No loaded Labels\n"
            "VERIFICATION - large dev : at 0 0: loaded 0.000000 vs gtZ -1.250000 ThresholdError "
            "1.250000 vs 0.010000\n"
            "VERIFICATION - large dev : at 0 1: loaded 0.000000 vs gtZ -1.250000 ThresholdError "
            "1.250000 vs 0.010000\n");
  EXPECT_EQ(bench.result, 1);
  EXPECT_EQ(bench.console.keys, 2);
}

TEST(ReadBackVerification, NegativeDepthsAreToldBecauseTheyLoadAsZero) {
  WriterBench bench(1, 1, -3.0F);
  EXPECT_EQ(read_back(bench, [] {}),
            "VERIFICATION - large dev : at 0 0: loaded 0.000000 vs gtZ -3.000000 ThresholdError "
            "3.000000 vs 0.010000\n");
}

TEST(ReadBackVerification, InfiniteDepthIsToldBecauseItLoadsAs255) {
  WriterBench bench(1, 1, std::numeric_limits<float>::infinity());
  EXPECT_EQ(read_back(bench, [] {}),
            "VERIFICATION - large dev : at 0 0: loaded 255.000000 vs gtZ inf ThresholdError inf vs "
            "0.050000\n");
}

TEST(ReadBackVerification, UnreadableFrameIsToldWaitsOnceAndFails) {
  WriterBench bench(4, 2, 1.0F);
  const std::string output = read_back(bench, [&] { std::filesystem::remove(bench.name(".err")); });
  EXPECT_EQ(output, " - ERROR - load_compressed_data - failed to load '" + bench.name(".err") +
                        "'\nERROR VERIFICATION apply - read_compressed failed\n");
  EXPECT_EQ(bench.result, 0);
  EXPECT_EQ(bench.console.keys, 1);
}

TEST(ReadBackVerification, DamagedReferenceFileWaitsInTheReaderToo) {
  WriterBench bench(4, 2, 1.0F);
  const std::string output = read_back(bench, [&] { write_file(bench.name(".ref"), "labels 1"); });
  EXPECT_EQ(output,
            " - ERROR - load_compressed_data - loading nblabels\n"
            "ERROR VERIFICATION apply - read_compressed failed\n");
  EXPECT_EQ(bench.result, 0);
  EXPECT_EQ(bench.console.keys, 2);
}

TEST(ReadBackVerification, LabelThatWasNeverMadeIsToldWaitsAndFails) {
  WriterBench bench(4, 2, 1.0F);
  const std::string output = read_back(bench, [&] { bench.record->Label[3] = 1; });
  EXPECT_EQ(output, "error encode3\n");
  EXPECT_EQ(bench.result, 0);
  EXPECT_EQ(bench.console.keys, 1);
}

TEST(ReadBackVerification, LabelBelowMinusOneIsToldWaitsAndFails) {
  WriterBench bench(4, 2, 1.0F);
  const std::string output = read_back(bench, [&] { bench.record->Label[3] = -2; });
  EXPECT_EQ(output, "error encode3\n");
  EXPECT_EQ(bench.result, 0);
}

TEST(ReadBackVerification, OwnRecordIsNotTouched) {
  WriterBench bench(4, 2, 1.0F);
  std::fill_n(bench.record->LoadedDepth, 8, 7.0F);
  std::fill_n(bench.record->ErrorCorrect, 8, 9);
  read_back(bench, [] {});
  EXPECT_EQ(bench.record->LoadedDepth[5], 7.0F);
  EXPECT_EQ(bench.record->ErrorCorrect[5], 9);
}

}  // namespace
}  // namespace depth_io::test
