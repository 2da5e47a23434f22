#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "codec/frame_reader.h"
#include "tests/support/console_capture.h"
#include "tests/support/frame_fixture.h"

// The damaged frames of tests/data/bad, each held against what its manifest says.

namespace depth_io::test {
namespace {

const std::string kBadFrames = std::string(CAMERA_DEPTH_RW_TEST_DATA) + "/bad";

struct BadFrame {
  std::string name;
  int width = 0;
  int height = 0;
  bool loads = false;
  int pixels_with_depth = 0;  ///< when it loads
  std::string first_depth;    ///< metres, or "*"
  std::string last_depth;
  std::string reason;  ///< when it fails
};

void PrintTo(const BadFrame& frame, std::ostream* out) { *out << frame.name; }

std::vector<BadFrame> read_manifest() {
  std::vector<BadFrame> frames;
  std::ifstream manifest(kBadFrames + "/manifest.txt");
  for (std::string line; std::getline(manifest, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream words(line);
    BadFrame frame;
    std::string outcome;
    words >> frame.name >> frame.width >> frame.height >> outcome;
    frame.loads = outcome == "loads";
    if (frame.loads) {
      words >> frame.pixels_with_depth >> frame.first_depth >> frame.last_depth;
    } else {
      words >> frame.reason;
    }
    EXPECT_TRUE(words) << line;
    EXPECT_TRUE(frame.loads || outcome == "fails") << line;
    frames.push_back(frame);
  }
  return frames;
}

/// What the reader prints last.
const std::map<std::string, std::string> kMessages = {
    {"label-map-missing", " - WARNING - load_compressed_data - failed to open 'frame.rle'\n"},
    {"references-missing", " - WARNING - load_compressed_data - failed to open 'frame.ref'\n"},
    {"corrections-missing", " - ERROR - load_compressed_data - failed to load 'frame.err'\n"},
    {"nblabels", " - ERROR - load_compressed_data - loading nblabels\n"},
    {"a11", " - ERROR - load_compressed_data - loading a11\n"},
    {"a22", " - ERROR - load_compressed_data - loading a22\n"},
    {"cx", " - ERROR - load_compressed_data - loading cx\n"},
    {"cy", " - ERROR - load_compressed_data - loading cy\n"},
    {"code-image", " - ERROR - load_compressed_data - loading JpegFileToRGB failed !!!\n"},
    {"label", " - ERROR - load_compressed_data - label wrong\n"},
};

const std::set<std::string> kKeywords = {"nblabels", "a11", "a22", "cx", "cy"};

/// Reads a case from inside its directory: messages name the file as it was asked for.
class BadFrameReader {
 public:
  explicit BadFrameReader(const BadFrame& frame) : record(frame.width, frame.height) {
    std::filesystem::current_path(kBadFrames + "/" + frame.name);
  }
  ~BadFrameReader() { std::filesystem::current_path(before_); }
  BadFrameReader(const BadFrameReader&) = delete;
  BadFrameReader& operator=(const BadFrameReader&) = delete;

  bool read() {
    Text base("frame");
    bool good = false;
    console = capture_console([&] { good = load_compressed_data(record.get(), base, 0); });
    return good;
  }
  bool read_silently() {
    Text base("frame");
    bool good = false;
    console = capture_console([&] { good = load_compressed_data_vostrel(record.get(), base); });
    return good;
  }
  int pixels_with_depth() {
    const float* const depth = record->LoadedDepth;
    return static_cast<int>(
        std::count_if(depth, depth + record.pixels(), [](float z) { return z > 0.0F; }));
  }

  OwnedRecord record;
  ConsoleTrace console;

 private:
  std::filesystem::path before_ = std::filesystem::current_path();
};

void expect_depth(float depth, const std::string& expected) {
  if (expected == "*") {
    EXPECT_TRUE(depth >= 0.0F && depth <= 255.0F) << depth;
  } else if (expected == "nan") {
    EXPECT_TRUE(std::isnan(depth)) << depth;
  } else {
    EXPECT_NEAR(depth, std::stof(expected), 1e-5F);
  }
}

class MalformedCorpus : public testing::TestWithParam<BadFrame> {};

TEST_P(MalformedCorpus, HasTheOutcomeOfTheManifest) {
  const BadFrame& expected = GetParam();
  BadFrameReader reader(expected);
  ASSERT_EQ(reader.read(), expected.loads) << reader.console.output;
  if (expected.loads) {
    EXPECT_EQ(reader.pixels_with_depth(), expected.pixels_with_depth);
    expect_depth(reader.record->LoadedDepth[0], expected.first_depth);
    expect_depth(reader.record->LoadedDepth[reader.record.pixels() - 1], expected.last_depth);
    EXPECT_EQ(reader.console.keys, 0);
  } else {
    EXPECT_TRUE(reader.console.output.ends_with(kMessages.at(expected.reason)))
        << reader.console.output;
    EXPECT_EQ(reader.console.keys, static_cast<int>(kKeywords.count(expected.reason)));
  }
}

INSTANTIATE_TEST_SUITE_P(BadFrames, MalformedCorpus, testing::ValuesIn(read_manifest()),
                         [](const auto& frame) { return frame.param.name; });

TEST(MalformedCorpusFrames, HaveTheSameOutcomeThroughTheSilentEntry) {
  for (const BadFrame& expected : read_manifest()) {
    SCOPED_TRACE(expected.name);
    BadFrameReader reader(expected);
    EXPECT_EQ(reader.read_silently(), expected.loads);
    EXPECT_EQ(reader.console.output.find("load_compressed_data"), std::string::npos);
    EXPECT_EQ(reader.console.keys, 0);
    if (expected.loads) {
      EXPECT_EQ(reader.pixels_with_depth(), expected.pixels_with_depth);
    }
  }
}

TEST(MalformedCorpusFrames, LeaveNothingBehindForTheNextFrame) {
  for (const BadFrame& frame : read_manifest()) {
    SCOPED_TRACE(frame.name);
    BadFrameReader reader(frame);
    (void)reader.read();
    std::filesystem::current_path(kBadFrames + "/good_flat");
    EXPECT_TRUE(reader.read()) << reader.console.output;
    const float* const depth = reader.record->LoadedDepth;
    EXPECT_TRUE(
        std::all_of(depth, depth + reader.record.pixels(), [](float z) { return z == 2.0F; }));
  }
}

TEST(MalformedCorpusManifest, HasEightyCasesOrMore) { EXPECT_GE(read_manifest().size(), 80U); }

TEST(MalformedCorpusManifest, NamesEveryDirectoryOnce) {
  std::multiset<std::string> named;
  for (const BadFrame& frame : read_manifest()) named.insert(frame.name);
  std::multiset<std::string> present;
  for (const auto& entry : std::filesystem::directory_iterator(kBadFrames)) {
    if (entry.is_directory()) present.insert(entry.path().filename().string());
  }
  EXPECT_EQ(named, present);
}

TEST(MalformedCorpusManifest, EveryReasonHasAMessage) {
  for (const BadFrame& frame : read_manifest()) {
    if (!frame.loads) {
      EXPECT_EQ(kMessages.count(frame.reason), 1U) << frame.name;
    }
  }
}

}  // namespace
}  // namespace depth_io::test
