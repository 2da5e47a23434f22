#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "codec/frame_writer.h"
#include "tests/support/frame_fixture.h"

// Everything that the frame writer prints, and every pause.

namespace depth_io::test {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

const std::string kDebug = " - DEBUG - write_compressed_data";

/// What the writer prints in debug mode between the start and the verification.
std::string debug_steps(const WriterBench& bench) {
  return kDebug + " - init\n" +                                     //
         kDebug + " - label ref\n" +                                //
         kDebug + " - rle init\n" +                                 //
         kDebug + " - rle exe\n" +                                  //
         kDebug + " - rle success\n" +                              //
         kDebug + " - ref\n" +                                      //
         kDebug + " - jpg init\n" +                                 //
         kDebug + " - jpg saving '" + bench.name(".jpg") + "'\n" +  //
         kDebug + " - jpg saved\n" +                                //
         kDebug + " - load jpg for err\n" +                         //
         kDebug + " - loaded jpg\n" +                               //
         kDebug + " - err prep\n" +                                 //
         kDebug + " - err init\n" +                                 //
         kDebug + " - err '" + bench.name(".err") + "'\n" +         //
         kDebug + " - err saved\n";
}

// --- Good frames --------------------------------------------------------------------------------

TEST(FrameWriterMessages, FrameWithoutColourIsOneLine) {
  WriterBench bench(4, 2, 1.0F);
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(bench.console.output, "saving '" + bench.directory.path() +
                                      "//depth' index 42 timestamp 2024-05-06T07-08-09.123000\n");
  EXPECT_EQ(bench.console.keys, 0);
}

TEST(FrameWriterMessages, FrameWithColourIsTwoLines) {
  WriterBench bench(4, 2, 1.0F);
  bench.add_colour();
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(bench.console.output,
            "saving '" + bench.directory.path() +
                "//depth|bgr' index 42, timestamp 2024-05-06T07-08-09.123000\nsaving done\n");
  EXPECT_EQ(bench.console.keys, 0);
}

TEST(FrameWriterMessages, IndexIsPrintedUnpaddedAndSigned) {
  WriterBench bench(1, 1, 1.0F);
  bench.call.number = -7;
  bench.call.timestamp = "";
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(bench.console.output,
            "saving '" + bench.directory.path() + "//depth' index -7 timestamp \n");
}

TEST(FrameWriterMessages, DebugTraceIsCompleteAndInOrder) {
  WriterBench bench(4, 2, 1.0F);
  bench.call.debug = 1;
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(bench.console.output,
            kDebug + "\n" + bench.call.saving_line() + debug_steps(bench) + kDebug + " - done\n");
  EXPECT_EQ(bench.console.keys, 0);
}

TEST(FrameWriterMessages, DebugTraceWithColourAndVerificationOfTheErrorFile) {
  WriterBench bench(4, 2, 1.0F);
  bench.add_colour();
  bench.call.debug = 1;
  bench.call.verification = 0;
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(bench.console.output,
            kDebug + "\n" + bench.call.saving_line() +                          //
                kDebug + " - jpgfile saving '" + bench.colour_name() + "'\n" +  //
                kDebug + " - jpgfile saved sucessfull\n" +                      //
                "saving done\n" + debug_steps(bench) +                          //
                kDebug + " - verif mode 0\n" +                                  //
                kDebug + " - done\n");
  EXPECT_EQ(bench.console.keys, 0);
}

TEST(FrameWriterMessages, OtherDebugValuesAreSilent) {
  for (const int debug : {0, 2, -1}) {
    WriterBench bench(4, 2, 1.0F);
    bench.call.debug = debug;
    bench.call.verification = 0;
    ASSERT_EQ(bench.write(), 1);
    EXPECT_EQ(bench.console.output, bench.call.saving_line()) << debug;
  }
}

TEST(FrameWriterMessages, VerificationByReadingBackTellsSo) {
  WriterBench bench(4, 2, 1.0F);
  bench.call.verification = 1;
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(bench.console.output, bench.call.saving_line() +
                                      " --- VERIFICATION of DEPTH CONTENT ---\n"
                                      "reading compressed data '" +
                                      bench.base() + "'\n");
  EXPECT_EQ(bench.console.keys, 0);
}

TEST(FrameWriterMessages, ReadingBackInDebugModeWaitsOnceAtItsEnd) {
  WriterBench bench(4, 2, 1.0F);
  bench.call.verification = 1;
  bench.call.debug = 1;
  ASSERT_EQ(bench.write(), 1);
  const std::string& output = bench.console.output;
  EXPECT_EQ(output.find(kDebug + " - verif mode"), std::string::npos);
  EXPECT_NE(output.find("DEBUG - load_compressed_data  - done\n"), std::string::npos);
  EXPECT_EQ(output.substr(output.size() - kDebug.size() - 8), kDebug + " - done\n");
  EXPECT_EQ(bench.console.keys, 1);
}

TEST(FrameWriterMessages, OtherVerificationModesCheckNothing) {
  for (const int mode : {2, -1, 7}) {
    WriterBench bench(4, 2, 1.0F);
    bench.call.verification = mode;
    bench.call.debug = 1;
    EXPECT_EQ(bench.write(), 1);
    EXPECT_EQ(bench.console.output.find("verif"), std::string::npos) << mode;
    EXPECT_EQ(bench.console.output.find("VERIF"), std::string::npos) << mode;
  }
}

// --- Files that cannot be written ---------------------------------------------------------------

TEST(FrameWriterMessages, UnwritableColourImageEndsTheFrameWithoutAWait) {
  WriterBench bench(4, 2, 1.0F);
  bench.add_colour();
  std::filesystem::create_directory(bench.colour_name());
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.console.output,
            bench.call.saving_line() + "JpegFile :\nCan't open " + bench.colour_name() +
                "\nwrite_compressed_data - liblinjpeg - failed to save encode jpeg '" +
                bench.colour_name() + "' 4 x 2\n");
  EXPECT_EQ(bench.console.keys, 0);
  EXPECT_EQ(entries_in(bench.directory.path()), 1U);
}

TEST(FrameWriterMessages, NullColourImageEndsTheFrameWithoutAWait) {
  WriterBench bench(4, 2, 1.0F);
  bench.call.colour_on = true;  // with no buffer
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.console.output,
            bench.call.saving_line() +
                "write_compressed_data - liblinjpeg - failed to save encode jpeg '" +
                bench.colour_name() + "' 4 x 2\n");
  EXPECT_EQ(bench.console.keys, 0);
}

class UnwritableTextFile : public testing::TestWithParam<const char*> {};

TEST_P(UnwritableTextFile, IsNamedWithoutAWait) {
  WriterBench bench(4, 2, 1.0F);
  const std::string name = bench.name(GetParam());
  std::filesystem::create_directory(name);
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.console.output,
            bench.call.saving_line() + "write_compressed_data - failed to write '" + name + "'\n");
  EXPECT_EQ(bench.console.keys, 0);
}

TEST_P(UnwritableTextFile, BehindASymbolicLinkIsNotTouched) {
  WriterBench bench(4, 2, 1.0F);
  const std::string name = bench.name(GetParam());
  write_file(bench.directory.file("target"), "precious");
  std::filesystem::create_symlink(bench.directory.file("target"), name);
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.console.output,
            bench.call.saving_line() + "write_compressed_data - failed to write '" + name + "'\n");
  EXPECT_EQ(read_file(bench.directory.file("target")), "precious");
}

TEST_P(UnwritableTextFile, ThatIsAFifoWithoutAReaderDoesNotBlock) {
  WriterBench bench(4, 2, 1.0F);
  const std::string name = bench.name(GetParam());
  ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.console.output,
            bench.call.saving_line() + "write_compressed_data - failed to write '" + name + "'\n");
}

INSTANTIATE_TEST_SUITE_P(FrameWriterMessages, UnwritableTextFile,
                         testing::Values(".rle", ".ref", ".err"),
                         [](const auto& ending) { return std::string(ending.param).substr(1); });

TEST(FrameWriterMessages, UnwritableCodeImageEndsTheFrameWithoutAWait) {
  WriterBench bench(4, 2, 1.0F);
  std::filesystem::create_directory(bench.name(".jpg"));
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.console.output,
            bench.call.saving_line() + "JpegFile :\nCan't open " + bench.name(".jpg") +
                "\nwrite_compressed_data - liblinjpeg - failed to save encode jpeg '" +
                bench.name(".jpg") + "' 4 x 2\n");
  EXPECT_EQ(bench.console.keys, 0);
}

TEST(FrameWriterMessages, FilesWrittenBeforeAFailureStay) {
  WriterBench bench(4, 2, 1.0F);
  std::filesystem::create_directory(bench.name(".err"));
  ASSERT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.bytes(".rle"), "1\n8 0\n\n");
  EXPECT_TRUE(std::filesystem::exists(bench.name(".ref")));
  EXPECT_TRUE(std::filesystem::exists(bench.name(".jpg")));
}

TEST(FrameWriterMessages, DebugTraceEndsAtTheFileThatCannotBeWritten) {
  WriterBench bench(4, 2, 1.0F);
  bench.call.debug = 1;
  std::filesystem::create_directory(bench.name(".rle"));
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.console.output,
            kDebug + "\n" + bench.call.saving_line() + kDebug + " - init\n" + kDebug +
                " - label ref\n" + kDebug + " - rle init\n" + kDebug + " - rle exe\n" +
                "write_compressed_data - failed to write '" + bench.name(".rle") + "'\n");
}

TEST(FrameWriterMessages, FrameOfNoPixelsHasNoRunsAndNoCodeImage) {
  WriterBench bench(0, 0, 1.0F);
  bench.call.depths.assign(1, 1.0F);
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.bytes(".rle"), "\n");
  EXPECT_EQ(bench.bytes(".ref"), golden("all_masked.ref"));
  EXPECT_EQ(bench.console.output,
            bench.call.saving_line() +
                "write_compressed_data - liblinjpeg - failed to save encode jpeg '" +
                bench.name(".jpg") + "' 0 x 0\n");
  EXPECT_EQ(bench.console.keys, 0);
}

// --- Code image that cannot be read back --------------------------------------------------------

TEST(FrameWriterMessages, CodeImageThatVanishedIsToldAndWaits) {
  WriterBench bench(4, 2, 1.0F);
  bench.call.debug = 1;
  PrintHook hook(kDebug + " - jpg saved\n", [&] { std::filesystem::remove(bench.name(".jpg")); });
  EXPECT_EQ(bench.write(), 0);
  const std::string expected = kDebug + " - load jpg for err\nJPEG :\nCan't open " +
                               bench.name(".jpg") +
                               "\nERROR - TOLVA_ReadJpgImage - JpegFileToRGB failed !!!\n";
  EXPECT_EQ(hook.output().substr(hook.output().size() - expected.size()), expected);
  EXPECT_EQ(bench.console.keys, 1);
}

// --- Depths that cannot be coded ----------------------------------------------------------------

TEST(FrameWriterMessages, CodeThatMissesItsDepthIsToldAndWaits) {
  // Beyond 16 m half a code step and the rounding of single precision exceed the check.
  WriterBench bench(3, 2, {20.0F, 20.0F, 20.0F, 20.0F, 20.875F, 20.0F});
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.console.output,
            bench.call.saving_line() +
                "ERROR dpth map saving - at 1 1 Z 20.875000 bestreflabel 0 Z 20.000000 -- encode "
                "213 estZ 20.880001 => error 0.005001\n");
  EXPECT_EQ(bench.console.keys, 1);
  EXPECT_EQ(entries_in(bench.directory.path()), 0U);
}

TEST(FrameWriterMessages, CodeThatMissesItsDepthIsToldWithItsLabel) {
  WriterBench bench(3, 1, {1.0F, 20.0F, 21.125F});
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.console.output,
            bench.call.saving_line() +
                "ERROR dpth map saving - at 0 2 Z 21.125000 bestreflabel 1 Z 20.000000 -- encode "
                "238 estZ 21.130001 => error 0.005001\n");
}

TEST(FrameWriterMessages, EachNotANumberPixelWaitsOnce) {
  WriterBench bench(3, 2, {kNaN, kInf, -kInf, 1.0F, kNaN, 300.0F});
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(bench.console.output, bench.call.saving_line() +
                                      "ERROR GetCompressionErrorThreshold\n"
                                      "ERROR GetCompressionErrorThreshold\n");
  EXPECT_EQ(bench.console.keys, 2);
}

TEST(FrameWriterMessages, MaskedNotANumberPixelIsSilent) {
  WriterBench bench(2, 1, {kNaN, 1.0F});
  bench.record->write_MapObject[0] = -1;
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(bench.console.output, bench.call.saving_line());
}

TEST(FrameWriterMessages, ReadingBackWaitsOnceMorePerNotANumberPixel) {
  WriterBench bench(3, 1, {kNaN, 1.0F, kNaN});
  bench.call.verification = 1;
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(occurrences(bench.console.output, "ERROR GetCompressionErrorThreshold\n"), 4U);
  EXPECT_EQ(bench.console.keys, 4);
}

// --- Error records outside the six regions ------------------------------------------------------

struct OutsideCase {
  const char* name;
  int width;
  int height;
  const char* message;
};

class FlaggedOutsideTheRegions : public testing::TestWithParam<OutsideCase> {};

TEST_P(FlaggedOutsideTheRegions, RefusesTheFrameAndWaits) {
  const OutsideCase& sample = GetParam();
  WriterBench bench(sample.width, sample.height, -3.0F);
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.console.output, bench.call.saving_line() + sample.message);
  EXPECT_EQ(bench.console.keys, 1);
  EXPECT_FALSE(std::filesystem::exists(bench.name(".err")));
}

INSTANTIATE_TEST_SUITE_P(
    FrameWriterMessages, FlaggedOutsideTheRegions,
    testing::Values(
        OutsideCase{"TooWide", 800, 1, "ERROR errors v2 check_NbErrors 768 vs 800\n"},
        OutsideCase{"TooHigh", 1, 601, "ERROR errors v2 check_NbErrors 512 vs 601\n"},
        OutsideCase{"OneColumnMore", 769, 2, "ERROR errors v2 check_NbErrors 1536 vs 1538\n"},
        OutsideCase{"OneRowMore", 3, 513, "ERROR errors v2 check_NbErrors 1536 vs 1539\n"}),
    [](const auto& case_of) { return case_of.param.name; });

TEST(FrameWriterMessages, LargeFrameWithoutFlaggedPixelsOutsideIsAccepted) {
  WriterBench bench(1024, 768, 2.0F);
  EXPECT_EQ(bench.write(), 1);
  EXPECT_EQ(bench.bytes(".err"), std::string(12, '\0'));
}

TEST(FrameWriterMessages, OnePixelAtRow600OrColumn800RefusesTheFrame) {
  for (const std::size_t at : {600U * 1024U + 10U, 10U * 1024U + 800U}) {
    WriterBench bench(1024, 768, 2.0F);
    bench.call.depths[at] = -3.0F;
    EXPECT_EQ(bench.write(), 0);
    EXPECT_EQ(bench.console.output,
              bench.call.saving_line() + "ERROR errors v2 check_NbErrors 0 vs 1\n");
  }
}

TEST(FrameWriterMessages, RegionOf65536RecordsIsToldAndWaits) {
  WriterBench bench(256, 256, -3.0F);
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.console.output, bench.call.saving_line() + "error error modulo\n");
  EXPECT_EQ(bench.console.keys, 1);
  EXPECT_TRUE(std::filesystem::exists(bench.name(".err")));
}

TEST(FrameWriterMessages, CountsBeforeTheRefusedOneAreWritten) {
  WriterBench bench(512, 256, 1.0F);
  for (std::size_t i = 0; i < bench.call.depths.size(); ++i) {
    if (i % 512 >= 256) bench.call.depths[i] = -3.0F;
  }
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.console.output, bench.call.saving_line() + "error error modulo\n");
  EXPECT_EQ(bench.bytes(".err"), std::string(2, '\0'));
}

// --- Many labels --------------------------------------------------------------------------------

TEST(FrameWriterMessages, NotANumberEverywhereIsToldPerPixelAndSoon) {
  WriterBench bench(640, 480, kNaN);
  const KeyCounter keys;
  PrintHook hook;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(bench.call.write(bench.record.get()), 1);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  EXPECT_EQ(keys.count(), 640 * 480);
  EXPECT_EQ(occurrences(hook.output(), "ERROR GetCompressionErrorThreshold\n"), 640U * 480U);
  EXPECT_EQ(bench.record->Label[640 * 480 - 1], 640 * 480 - 1);
}

}  // namespace
}  // namespace depth_io::test
