#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "codec/frame_reader.h"
#include "tests/support/stored_frame.h"

// Everything that the frame reader prints, and every pause.

namespace depth_io::test {
namespace {

const std::string kDebug = "DEBUG - load_compressed_data  - ";

std::string reading_line(const StoredFrame& frame) {
  return "reading compressed data '" + frame.base() + "'\n";
}

/// The debug lines alone.
std::string debug_lines(const std::string& output) {
  std::string lines;
  std::size_t from = 0;
  while (from < output.size()) {
    const std::size_t end = output.find('\n', from) + 1;
    const std::string line = output.substr(from, end - from);
    if (line.rfind("DEBUG", 0) == 0) lines += line;
    from = end;
  }
  return lines;
}

std::string all_debug_lines(const StoredFrame& frame) {
  return kDebug + "1 '" + frame.base() + "'\n" +                              //
         kDebug + "2 \n" +                                                    //
         kDebug + "3\n" + kDebug + "4\n" + kDebug + "5\n" + kDebug + "6\n" +  //
         kDebug + "6 b\n" + kDebug + "7\n" + kDebug + "done\n";
}

// --- Good frames --------------------------------------------------------------------------------

TEST(FrameReaderMessages, GoodFrameIsOneLine) {
  StoredFrame frame;
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.console.output, reading_line(frame));
  EXPECT_EQ(frame.console.keys, 0);
}

TEST(FrameReaderMessages, DebugTraceIsCompleteAndInOrder) {
  StoredFrame frame;
  ASSERT_TRUE(frame.read(1));
  EXPECT_EQ(debug_lines(frame.console.output), all_debug_lines(frame));
  EXPECT_EQ(frame.console.output.size(),
            all_debug_lines(frame).size() + reading_line(frame).size());
}

TEST(FrameReaderMessages, ReadingLineStandsEarlyInTheDebugTrace) {
  StoredFrame frame;
  ASSERT_TRUE(frame.read(1));
  const std::string& output = frame.console.output;
  EXPECT_EQ(output.rfind(kDebug + "1 '" + frame.base() + "'\n", 0), 0U);
  EXPECT_LT(output.find(reading_line(frame)), output.find(kDebug + "3\n"));
}

TEST(FrameReaderMessages, DebugWaitsOnceAtTheEnd) {
  StoredFrame frame;
  ASSERT_TRUE(frame.read(1));
  EXPECT_EQ(frame.console.keys, 1);
}

TEST(FrameReaderMessages, OtherDebugValuesAreSilent) {
  for (const int debug : {2, -1}) {
    StoredFrame frame;
    ASSERT_TRUE(frame.read(debug));
    EXPECT_EQ(frame.console.output, reading_line(frame)) << debug;
    EXPECT_EQ(frame.console.keys, 0) << debug;
  }
}

TEST(FrameReaderMessages, FrameWithoutLabelsIsTold) {
  StoredFrame frame;
  frame.references = "nblabels 0 a11 500 a22 250 cx 1 cy 2\n";
  ASSERT_TRUE(frame.read());
  EXPECT_EQ(frame.console.output,
            reading_line(frame) + " - INFO - load_compressed_data - No loaded Labels\n");
  EXPECT_EQ(frame.console.keys, 0);
}

TEST(FrameReaderMessages, FrameWithoutLabelsWaitsOnceInDebugAndIsNotDone) {
  StoredFrame frame;
  frame.references = "nblabels 0 a11 500 a22 250 cx 1 cy 2\n";
  ASSERT_TRUE(frame.read(1));
  EXPECT_EQ(frame.console.keys, 1);
  EXPECT_EQ(frame.console.output.find("done"), std::string::npos);
  EXPECT_NE(frame.console.output.find(" - INFO - load_compressed_data - No loaded Labels\n"),
            std::string::npos);
}

// --- Failures -----------------------------------------------------------------------------------

/// `$` in a message stands for the frame's base name.
struct Failure {
  const char* name;
  std::function<void(StoredFrame&)> damage;  ///< after the good files were stored
  const char* message;
  int waits;        ///< with debug 0
  int debug_waits;  ///< with debug 1
};

std::function<void(StoredFrame&)> without(const char* ending) {
  return [ending](StoredFrame& frame) { std::filesystem::remove(frame.name(ending)); };
}

std::function<void(StoredFrame&)> with_content(const char* ending, const char* content) {
  return [=](StoredFrame& frame) { write_file(frame.name(ending), content); };
}

std::function<void(StoredFrame&)> with_directory(const char* ending) {
  return [ending](StoredFrame& frame) {
    std::filesystem::remove(frame.name(ending));
    std::filesystem::create_directory(frame.name(ending));
  };
}

std::function<void(StoredFrame&)> with_fifo(const char* ending) {
  return [ending](StoredFrame& frame) {
    std::filesystem::remove(frame.name(ending));
    ASSERT_EQ(mkfifo(frame.name(ending).c_str(), 0600), 0);
  };
}

std::function<void(StoredFrame&)> with_huge_file(const char* ending) {
  return [ending](StoredFrame& frame) {
    std::filesystem::resize_file(frame.name(ending), 64U * 1024 * 1024 + 1);
  };
}

constexpr char kNoLabelMap[] = " - WARNING - load_compressed_data - failed to open '$.rle'\n";
constexpr char kNoReferences[] = " - WARNING - load_compressed_data - failed to open '$.ref'\n";
constexpr char kNoCodeImage[] =
    "JPEG :\nCan't open $.jpg\n"
    " - ERROR - load_compressed_data - loading JpegFileToRGB failed !!!\n";
constexpr char kNoErrors[] = " - ERROR - load_compressed_data - failed to load '$.err'\n";

const Failure kFailures[] = {
    {"MissingLabelMap", without(".rle"), kNoLabelMap, 0, 1},
    {"MissingReferences", without(".ref"), kNoReferences, 0, 1},
    {"MissingCodeImage", without(".jpg"), kNoCodeImage, 0, 1},
    {"MissingErrors", without(".err"), kNoErrors, 0, 1},
    {"DirectoryAsLabelMap", with_directory(".rle"), kNoLabelMap, 0, 1},
    {"DirectoryAsReferences", with_directory(".ref"), kNoReferences, 0, 1},
    {"DirectoryAsCodeImage", with_directory(".jpg"), kNoCodeImage, 0, 1},
    {"DirectoryAsErrors", with_directory(".err"), kNoErrors, 0, 1},
    {"FifoAsLabelMap", with_fifo(".rle"), kNoLabelMap, 0, 1},
    {"FifoAsReferences", with_fifo(".ref"), kNoReferences, 0, 1},
    {"FifoAsCodeImage", with_fifo(".jpg"), kNoCodeImage, 0, 1},
    {"FifoAsErrors", with_fifo(".err"), kNoErrors, 0, 1},
    {"HugeLabelMap", with_huge_file(".rle"), kNoLabelMap, 0, 1},
    {"HugeReferences", with_huge_file(".ref"), kNoReferences, 0, 1},
    {"HugeCodeImage", with_huge_file(".jpg"), kNoCodeImage, 0, 1},
    {"HugeErrors", with_huge_file(".err"), kNoErrors, 0, 1},
    {"WordNblabels", with_content(".ref", "nblabel 2 a11 5 a22 5 cx 1 cy 2\n1\n3\n"),
     " - ERROR - load_compressed_data - loading nblabels\n", 1, 1},
    {"WordNblabelsLonger", with_content(".ref", "nblabelss 2 a11 5 a22 5 cx 1 cy 2\n1\n3\n"),
     " - ERROR - load_compressed_data - loading nblabels\n", 1, 1},
    {"WordInCapitals", with_content(".ref", "NBLABELS 2 a11 5 a22 5 cx 1 cy 2\n1\n3\n"),
     " - ERROR - load_compressed_data - loading nblabels\n", 1, 1},
    {"EmptyReferences", with_content(".ref", ""),
     " - ERROR - load_compressed_data - loading nblabels\n", 1, 1},
    {"WordA11", with_content(".ref", "nblabels 2 a12 5 a22 5 cx 1 cy 2\n1\n3\n"),
     " - ERROR - load_compressed_data - loading a11\n", 1, 1},
    {"WordA22", with_content(".ref", "nblabels 2 a11 5 a11 5 cx 1 cy 2\n1\n3\n"),
     " - ERROR - load_compressed_data - loading a22\n", 1, 1},
    {"WordCx", with_content(".ref", "nblabels 2 a11 5 a22 5 c 1 cy 2\n1\n3\n"),
     " - ERROR - load_compressed_data - loading cx\n", 1, 1},
    {"WordCy", with_content(".ref", "nblabels 2 a11 5 a22 5 cx 1 cx 2\n1\n3\n"),
     " - ERROR - load_compressed_data - loading cy\n", 1, 1},
    {"ReferencesEndAfterCount", with_content(".ref", "nblabels 2"),
     " - ERROR - load_compressed_data - loading a11\n", 1, 1},
    {"CodeImageIsText", with_content(".jpg", "hello"),
     "JPEG Fatal Error Not a JPEG file: starts with 0x68 0x65\n"
     " - ERROR - load_compressed_data - loading JpegFileToRGB failed !!!\n",
     0, 1},
    {"LabelTooLarge", with_content(".rle", "1\n8 2\n\n"),
     " - ERROR - load_compressed_data - label wrong\n", 0, 1},
    {"LabelBelowMinusOne", with_content(".rle", "1\n8 -2\n\n"),
     " - ERROR - load_compressed_data - label wrong\n", 0, 1},
};

std::string filled_in(std::string message, const StoredFrame& frame) {
  const std::size_t at = message.find('$');
  return at == std::string::npos ? message : message.replace(at, 1, frame.base());
}

class ReaderFailure : public testing::TestWithParam<Failure> {};

TEST_P(ReaderFailure, IsToldAndReturnsFalse) {
  StoredFrame frame;
  frame.store();
  GetParam().damage(frame);
  EXPECT_FALSE(frame.reload());
  EXPECT_EQ(frame.console.output, reading_line(frame) + filled_in(GetParam().message, frame));
  EXPECT_EQ(frame.console.keys, GetParam().waits);
}

TEST_P(ReaderFailure, InDebugModeEndsWithItsMessageAndAWait) {
  StoredFrame frame;
  frame.store();
  GetParam().damage(frame);
  EXPECT_FALSE(frame.reload(1));
  const std::string message = filled_in(GetParam().message, frame);
  const std::string& output = frame.console.output;
  ASSERT_GE(output.size(), message.size());
  EXPECT_EQ(output.substr(output.size() - message.size()), message);
  EXPECT_EQ(output.find(kDebug + "done"), std::string::npos);
  EXPECT_EQ(frame.console.keys, GetParam().debug_waits);
}

TEST_P(ReaderFailure, IsSilentThroughTheSilentEntry) {
  StoredFrame frame;
  frame.store();
  GetParam().damage(frame);
  EXPECT_FALSE(frame.reload_silently());
  std::string own_line = filled_in(GetParam().message, frame);
  own_line = own_line.rfind("JPEG", 0) == 0 ? own_line.substr(0, own_line.find(" - ERROR")) : "";
  EXPECT_EQ(frame.console.output, own_line);
  EXPECT_EQ(frame.console.keys, 0);
}

INSTANTIATE_TEST_SUITE_P(FrameReaderMessages, ReaderFailure, testing::ValuesIn(kFailures),
                         [](const auto& case_of) { return case_of.param.name; });

TEST(SilentFrameReaderMessages, GoodFrameIsSilent) {
  StoredFrame frame;
  ASSERT_TRUE(frame.read_silently());
  EXPECT_EQ(frame.console.output, "");
  EXPECT_EQ(frame.console.keys, 0);
}

TEST(SilentFrameReaderMessages, FrameWithoutLabelsIsSilent) {
  StoredFrame frame;
  frame.references = "nblabels 0 a11 500 a22 250 cx 1 cy 2\n";
  ASSERT_TRUE(frame.read_silently());
  EXPECT_EQ(frame.console.output, "");
  EXPECT_EQ(frame.console.keys, 0);
}

// --- Names --------------------------------------------------------------------------------------

/// A base name for the frame's files that is `length` characters long.
std::string long_base(const StoredFrame& frame, std::size_t length) {
  std::string directory = frame.directory.slash();
  const std::string rest = "depth-00042";
  while (directory.size() + rest.size() + 2 <= length) directory += "./";
  if (directory.size() + rest.size() < length) directory += "/";
  return directory + rest;
}

bool read_base(StoredFrame& frame, const std::string& base, bool silently) {
  Text name(base);
  bool good = false;
  frame.console = capture_console([&] {
    good = silently ? load_compressed_data_vostrel(frame.record.get(), name)
                    : load_compressed_data(frame.record.get(), name, 0);
  });
  return good;
}

TEST(FrameReaderNames, BaseNameOf507CharactersIsRead) {
  StoredFrame frame;
  frame.store();
  const std::string base = long_base(frame, 507);
  ASSERT_EQ(base.size(), 507U);
  EXPECT_TRUE(read_base(frame, base, false));
}

TEST(FrameReaderNames, LongerBaseNamesCannotBeOpened) {
  StoredFrame frame;
  frame.store();
  for (const std::size_t length : {508U, 509U, 3000U}) {
    const std::string base = long_base(frame, length);
    EXPECT_FALSE(read_base(frame, base, false)) << length;
    EXPECT_NE(frame.console.output.find(" - WARNING - load_compressed_data - failed to open '"),
              std::string::npos);
    EXPECT_EQ(frame.console.keys, 0);
  }
}

TEST(FrameReaderNames, SilentEntryReadsBaseNamesOf245Characters) {
  StoredFrame frame;
  frame.store();
  EXPECT_TRUE(read_base(frame, long_base(frame, 245), true));
}

TEST(FrameReaderNames, SilentEntryCannotOpenLongerBaseNames) {
  StoredFrame frame;
  frame.store();
  for (const std::size_t length : {246U, 247U, 300U, 3000U}) {
    EXPECT_FALSE(read_base(frame, long_base(frame, length), true)) << length;
    EXPECT_EQ(frame.console.output, "") << length;
  }
}

TEST(FrameReaderNames, NullNameFails) {
  StoredFrame frame;
  bool good = true;
  capture_console([&] { good = load_compressed_data(frame.record.get(), nullptr, 0); });
  EXPECT_FALSE(good);
  good = true;
  const ConsoleTrace silent =
      capture_console([&] { good = load_compressed_data_vostrel(frame.record.get(), nullptr); });
  EXPECT_FALSE(good);
  EXPECT_EQ(silent.output, "");
}

}  // namespace
}  // namespace depth_io::test
