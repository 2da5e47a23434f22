#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <random>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "codec/frame_writer.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/frame_model.h"

// The frame writer at its limits: full disks, long names, missing arguments, very many labels.

namespace depth_io::test {
namespace {

/// Lets no file grow beyond 4096 bytes, as a full disk would.
class FullDisk {
 public:
  FullDisk() : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    rlimit limit = before_;
    limit.rlim_cur = 4096;
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit before_ = {};
  void (*handler_)(int);
};

void write_on_full_disk(WriterBench& bench) {
  bench.console = capture_console([&] {
    const FullDisk full;
    bench.result = bench.call.write(bench.record.get());
  });
}

void expect_text_file_fails(WriterBench& bench, const std::string& ending) {
  write_on_full_disk(bench);
  EXPECT_EQ(bench.result, 0);
  EXPECT_EQ(bench.console.output, bench.call.saving_line() +
                                      "write_compressed_data - failed to write '" +
                                      bench.name(ending) + "'\n");
  EXPECT_EQ(bench.console.keys, 0);
}

TEST(FullDiskWriting, LabelMapThatDoesNotFitFailsTheFrame) {
  std::vector<float> depths;
  for (int i = 0; i < 1600; ++i) depths.push_back(i % 2 == 0 ? 1.0F : 3.0F);
  WriterBench bench(40, 40, depths);
  expect_text_file_fails(bench, ".rle");
}

TEST(FullDiskWriting, ReferencesThatDoNotFitFailTheFrame) {
  std::vector<float> depths;
  for (int i = 0; i < 500; ++i) depths.push_back(2.0F * static_cast<float>(i));
  WriterBench bench(25, 20, depths);
  expect_text_file_fails(bench, ".ref");
}

TEST(FullDiskWriting, ErrorRecordsThatDoNotFitFailTheFrame) {
  WriterBench bench(40, 40, -3.0F);
  expect_text_file_fails(bench, ".err");
}

void expect_jpeg_fails(WriterBench& bench, const std::string& name, const std::string& size) {
  write_on_full_disk(bench);
  EXPECT_EQ(bench.result, 0);
  const std::string& output = bench.console.output;
  const std::string before = bench.call.saving_line() + "JPEG Fatal Error ";
  EXPECT_EQ(output.substr(0, before.size()), before);
  const std::string last = "\nwrite_compressed_data - liblinjpeg - failed to save encode jpeg '" +
                           name + "' " + size + "\n";
  ASSERT_GE(output.size(), last.size());
  EXPECT_EQ(output.substr(output.size() - last.size()), last);
  EXPECT_EQ(occurrences(output, "\n"), 3U);
  EXPECT_EQ(bench.console.keys, 0);
}

TEST(FullDiskWriting, CodeImageThatDoesNotFitFailsTheFrame) {
  std::mt19937 random(7);
  std::vector<float> depths(128 * 96, 2.0F);
  for (std::size_t i = 1; i < depths.size(); ++i) {
    depths[i] = 0.8F + static_cast<float>(random() % 2400) / 1000.0F;
  }
  WriterBench bench(128, 96, depths);
  expect_jpeg_fails(bench, bench.name(".jpg"), "128 x 96");
}

TEST(FullDiskWriting, SmallestCodeImageIsFlushedAndTested) {
  // Small enough to stay in a stream's buffer until the file is closed.
  std::mt19937 random(7);
  std::vector<float> depths(96 * 56, 2.0F);
  for (std::size_t i = 1; i < depths.size(); ++i) {
    depths[i] = 0.8F + static_cast<float>(random() % 2400) / 1000.0F;
  }
  WriterBench bench(96, 56, depths);
  ASSERT_EQ(bench.write(), 1);
  const std::uintmax_t size = std::filesystem::file_size(bench.name(".jpg"));
  ASSERT_GT(size, 4096U) << "the image is too small for this test";
  ASSERT_LT(size, 8192U) << "the image is too large for this test";
  expect_jpeg_fails(bench, bench.name(".jpg"), "96 x 56");
}

TEST(FullDiskWriting, ColourImageThatDoesNotFitFailsTheFrame) {
  WriterBench bench(128, 96, 1.0F);
  bench.call.colour_on = true;
  std::mt19937 random(7);
  for (int i = 0; i < 128 * 96 * 3; ++i) {
    bench.call.colour.push_back(static_cast<unsigned char>(random()));
  }
  expect_jpeg_fails(bench, bench.colour_name(), "128 x 96");
  EXPECT_FALSE(std::filesystem::exists(bench.name(".rle")));
}

TEST(FullDiskWriting, FrameIsWholeWhenThereIsRoomAgain) {
  WriterBench bench(40, 40, -3.0F);
  write_on_full_disk(bench);
  ASSERT_EQ(bench.result, 0);
  ASSERT_EQ(bench.write(), 1);
  EXPECT_EQ(bench.bytes(".err").size(), 12U + 3 * 1600);
}

TEST(FullDiskWriting, FailuresKeepNoDescriptor) {
  WriterBench bench(40, 40, -3.0F);
  write_on_full_disk(bench);
  const std::size_t before = entries_in("/proc/self/fd");
  for (int i = 0; i < 20; ++i) write_on_full_disk(bench);
  EXPECT_EQ(entries_in("/proc/self/fd"), before);
}

// --- Names --------------------------------------------------------------------------------------

/// A stem that makes the whole name of a file `length` characters long.
std::string stem_for(const WriterBench& bench, std::size_t length) {
  const std::size_t others = bench.call.directory.size() + std::string("-00042.rle").size();
  return std::string(length - others, 's');
}

TEST(LongFrameNames, NameOf249CharactersIsUsed) {
  WriterBench bench(4, 2, 1.0F);
  bench.add_colour();
  bench.call.depth_stem = stem_for(bench, 249);
  bench.call.colour_stem = std::string(bench.call.depth_stem.size(), 'c');
  EXPECT_EQ(bench.write(), 1);
  EXPECT_EQ(entries_in(bench.directory.path()), 5U);
}

TEST(LongFrameNames, NameOf249CharactersIsVerified) {
  WriterBench bench(4, 2, 1.0F);
  bench.call.depth_stem = stem_for(bench, 249);
  for (const int verification : {0, 1}) {
    bench.call.verification = verification;
    EXPECT_EQ(bench.write(), 1) << bench.console.output;
  }
}

TEST(LongFrameNames, DepthNameOf250CharactersFailsAndWritesNothing) {
  WriterBench bench(4, 2, 1.0F);
  for (const std::size_t length : {250U, 251U, 260U}) {
    bench.call.depth_stem = stem_for(bench, length);
    EXPECT_EQ(bench.write(), 0);
    EXPECT_EQ(bench.console.keys, 0);
    EXPECT_NE(bench.console.output.find("write_compressed_data - failed to write"),
              std::string::npos);
    EXPECT_EQ(entries_in(bench.directory.path()), 0U);
  }
}

TEST(LongFrameNames, ColourNameOf250CharactersFailsAndWritesNothing) {
  WriterBench bench(4, 2, 1.0F);
  bench.add_colour();
  bench.call.colour_stem = stem_for(bench, 250);
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(bench.console.keys, 0);
  EXPECT_NE(bench.console.output.find("failed to "), std::string::npos) << bench.console.output;
  EXPECT_EQ(entries_in(bench.directory.path()), 0U);
}

TEST(LongFrameNames, VeryLongStringsFail) {
  WriterBench bench(4, 2, 1.0F);
  bench.call.depth_stem = std::string(20000, 's');
  EXPECT_EQ(bench.write(), 0);
  EXPECT_EQ(entries_in(bench.directory.path()), 0U);
}

// --- Missing arguments --------------------------------------------------------------------------

struct Arguments {
  char* directory;
  char* stem;
  char* timestamp;
  float* depths;
};

/// Result of a call in which `remove` took something away.
int write_without(void (*remove)(Arguments&), bool by_timestamp = false) {
  WriterBench bench(4, 2, 1.0F);
  Arguments arguments = {bench.call.directory.data(), bench.call.depth_stem.data(),
                         bench.call.timestamp.data(), bench.call.depths.data()};
  remove(arguments);
  int result = -1;
  capture_console([&] {
    result = write_compressed_data(false, 2, bench.record.get(), arguments.directory,
                                   arguments.stem, false, nullptr, nullptr, by_timestamp, 5, 42,
                                   arguments.timestamp, arguments.depths, 1, 1, 0, 0, 0);
  });
  return result;
}

TEST(MissingArguments, NothingTakenAwayIsGood) {
  EXPECT_EQ(write_without([](Arguments&) {}), 1);
}

TEST(MissingArguments, NullDirectoryFails) {
  EXPECT_EQ(write_without([](Arguments& a) { a.directory = nullptr; }), 0);
}

TEST(MissingArguments, NullStemFails) {
  EXPECT_EQ(write_without([](Arguments& a) { a.stem = nullptr; }), 0);
}

TEST(MissingArguments, NullTimestampFailsWhenItNamesTheFrame) {
  EXPECT_EQ(write_without([](Arguments& a) { a.timestamp = nullptr; }, true), 0);
}

TEST(MissingArguments, NullDepthMapFails) {
  EXPECT_EQ(write_without([](Arguments& a) { a.depths = nullptr; }), 0);
}

TEST(MissingArguments, EmptyRecordFails) {
  WriterBench bench(4, 2, 1.0F);
  struct_read_write_depth empty;
  InitStruct(empty);
  int result = -1;
  capture_console([&] { result = bench.call.write(empty); });
  EXPECT_EQ(result, 0);
}

// --- Closed standard descriptors ----------------------------------------------------------------

TEST(ClosedDescriptors, MessagesNeverGoIntoAFrameFile) {
  // With standard output closed, the error file would get its descriptor while a message is due.
  WriterBench bench(256, 256, -3.0F);
  bench.console = capture_console([&] {
    close(STDOUT_FILENO);
    bench.result = bench.call.write(bench.record.get());
    std::fflush(stdout);
  });
  EXPECT_EQ(bench.result, 0);
  EXPECT_EQ(bench.bytes(".rle"), "3\n30000 0\n30000 0\n5536 0\n\n");
  EXPECT_EQ(bench.bytes(".err").find("error"), std::string::npos);
}

TEST(ClosedDescriptors, FrameIsWrittenWithoutStandardInput) {
  WriterBench bench(16, 16, 0.0F);
  bench.call.verification = 1;
  bench.console = capture_console([&] {
    close(STDIN_FILENO);
    bench.result = bench.call.write(bench.record.get());
  });
  EXPECT_EQ(bench.result, 1);
  EXPECT_EQ(bench.bytes(".rle"), golden("all_zero.rle"));
  EXPECT_EQ(bench.bytes(".ref"), golden("all_zero.ref"));
  EXPECT_EQ(bench.bytes(".err"), golden("all_zero.err"));
}

// --- Very many labels ---------------------------------------------------------------------------

/// A search through all labels takes 20 s and more. Without optimisation, with sanitizers or
/// coverage counters, the index takes up to 2.5 s.
constexpr double kSoon = 5;

/// Of this process: other programs on the machine do not count.
template <typename Code>
double processor_seconds(const Code& code) {
  const std::clock_t start = std::clock();
  code();
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

TEST(ManyLabels, RampInMillimetresIsExactFirstFitAndSoon) {
  std::vector<float> depths;
  for (std::uint32_t i = 0; i < 640 * 480; ++i) {
    depths.push_back(static_cast<float>(500 + i * 2654435761U % 7500));
  }
  // On whole numbers only a depth's neighbours and itself can be its reference.
  std::unordered_map<int, int> label_of_reference;
  std::vector<int> expected;
  for (const float depth : depths) {
    const int z = static_cast<int>(depth);
    int label = static_cast<int>(label_of_reference.size());
    for (const int reference : {z - 1, z, z + 1}) {
      const auto found = label_of_reference.find(reference);
      if (found != label_of_reference.end()) label = std::min(label, found->second);
    }
    if (label == static_cast<int>(label_of_reference.size())) label_of_reference[z] = label;
    expected.push_back(label);
  }
  WriterBench bench(640, 480, depths);
  EXPECT_LT(processor_seconds([&] { bench.write(); }), kSoon);
  EXPECT_EQ(std::vector<int>(bench.record->Label, bench.record->Label + 640 * 480), expected);
}

TEST(ManyLabels, EverySeparatePixelOpensALabelSoon) {
  std::vector<float> depths;
  for (int i = 0; i < 640 * 480; ++i) depths.push_back(static_cast<float>(2 * i));
  WriterBench bench(640, 480, depths);
  EXPECT_LT(processor_seconds([&] { bench.write(); }), kSoon);
  EXPECT_EQ(bench.record->Label[640 * 480 - 1], 640 * 480 - 1);
}

/// Labels of random maps against the plain search, where no code is refused.
void expect_first_fit(std::uint32_t seed, float (*depth)(std::mt19937&)) {
  std::mt19937 random(seed);
  for (int round = 0; round < 40; ++round) {
    std::vector<float> depths(48 * 36);
    for (float& z : depths) z = depth(random);
    const FrameModel model = model_labels(depths, std::vector<int>(depths.size(), 0));
    WriterBench bench(48, 36, depths);
    bench.write();
    if (model.refused) {
      EXPECT_EQ(bench.result, 0);
      continue;
    }
    const std::vector<int> labels(bench.record->Label, bench.record->Label + depths.size());
    const std::vector<int> codes(bench.record->Encode, bench.record->Encode + depths.size());
    ASSERT_EQ(labels, model.labels) << "round " << round;
    ASSERT_EQ(codes, model.codes) << "round " << round;
  }
}

TEST(ManyLabels, RoomDepthsAreExactFirstFit) {
  expect_first_fit(
      1, [](std::mt19937& random) { return static_cast<float>(random() % 8000000) * 1e-6F; });
}

TEST(ManyLabels, WindowBordersAreExactFirstFit) {
  expect_first_fit(
      2, [](std::mt19937& random) { return static_cast<float>(random() % 400) * 0.125F - 25.0F; });
}

TEST(ManyLabels, DistantCoarseDepthsAreExactFirstFit) {
  expect_first_fit(3, [](std::mt19937& random) {
    return 4194304.0F + static_cast<float>(random() % 60) * 0.5F;
  });
}

TEST(ManyLabels, DepthsOfAllSizesAreExactFirstFit) {
  expect_first_fit(4, [](std::mt19937& random) {
    const float sign = random() % 2 == 0 ? 1.0F : -1.0F;
    return sign *
           std::ldexp(static_cast<float>(random() % 64), static_cast<int>(random() % 40) - 8);
  });
}

}  // namespace
}  // namespace depth_io::test
