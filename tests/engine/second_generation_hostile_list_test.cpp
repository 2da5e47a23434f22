#include <sys/stat.h>

#include <random>

#include "tests/support/second_generation_list_fixture.h"

// Content lists that no recorder wrote.
namespace depth_io::test {
namespace {

/// A first sub-directory with one good frame of 1 m, and a second one with frames of 2 m and 3 m
/// whose list the test writes. Playback has shown the first frame.
class SecondGenerationHostileList : public SecondGenerationListFixture {
 protected:
  SecondGenerationHostileList() {
    settings_.per_directory = 1;
    SecondRecorder recorder(settings_);
    recorder.record(moment_after(0), flat_depth(1.0F));
    recorder.record(moment_after(1), flat_depth(2.0F));
    settings_.per_directory = 10;
    // The frames stand beside the sub-directories, too.
    settings_.sub_directories = false;
    SecondRecorder beside(settings_);
    beside.record(moment_after(2), flat_depth(3.0F));
    settings_.sub_directories = true;
    start_player();
    quietly([&] { return engine_.Read(0); });
  }
  void play(const std::string& text) { write_file(list(1), text); }
  void expect_refused(const Outcome<bool>& seen) {
    EXPECT_FALSE(seen.result);
    EXPECT_EQ(depth_of(engine_), flat_depth(1.0F));
    EXPECT_LT(seen.output.size(), 20'000U);
  }
};

TEST_F(SecondGenerationHostileList, BeginsWithTheGoodFrame) {
  EXPECT_TRUE(engine_.INITIALISED);
  EXPECT_EQ(depth_of(engine_), flat_depth(1.0F));
  EXPECT_TRUE(std::filesystem::exists(directory_.file(stamp(2) + "-depth.rle")));
}

TEST_F(SecondGenerationHostileList, EntryThatLeavesTheSubDirectoryIsRefused) {
  for (const std::string& entry : {"../" + stamp(2), "../00000000/" + stamp(0), "./" + stamp(1),
                                   directory_.file(stamp(2)), "/" + stamp(1)}) {
    play("0 " + entry + "\n");
    const auto seen = read();
    EXPECT_EQ(seen.output.find("reading compressed data"), std::string::npos) << entry;
    expect_refused(seen);
    start_player();
    quietly([&] { return engine_.Read(0); });
  }
}

TEST_F(SecondGenerationHostileList, FrameAfterARefusedEntryIsPlayed) {
  play("0 ../" + stamp(2) + "\n1 " + stamp(1) + "\n");
  expect_refused(read());
  EXPECT_EQ(read_depth(), 2.0F);
}

TEST_F(SecondGenerationHostileList, SequenceNumberIsNotLookedAt) {
  for (const char* number : {"7", "-1", "99999999999999999999", "x", "../.."}) {
    play(std::string(number) + " " + stamp(1) + "\n");
    EXPECT_EQ(read_depth(), 2.0F) << number;
    start_player();
    quietly([&] { return engine_.Read(0); });
  }
}

TEST_F(SecondGenerationHostileList, WordsMayStandApartInAnyWay) {
  play("\n\t 0 \r\n\n\v\f " + stamp(1));
  EXPECT_EQ(read_depth(), 2.0F);
}

TEST_F(SecondGenerationHostileList, EntryOf10000CharactersIsRefused) {
  play("0 " + std::string(10'000, 'a') + "\n1 " + stamp(1) + "\n");
  expect_refused(read());
  EXPECT_EQ(read_depth(), 2.0F);
}

TEST_F(SecondGenerationHostileList, SequenceNumberOf10000CharactersIsOneWord) {
  play(std::string(10'000, '1') + " " + stamp(1) + "\n");
  EXPECT_EQ(read_depth(), 2.0F);
}

TEST_F(SecondGenerationHostileList, EntryThatAlmostFitsThePathIsRefused) {
  std::string text;
  for (std::size_t size = 400; size < 530; ++size) text += "0 " + std::string(size, 'a') + "\n";
  play(text);
  for (std::size_t size = 400; size < 530; ++size) {
    const auto seen = read();
    EXPECT_FALSE(seen.result) << size;
    EXPECT_LT(seen.output.size(), 20'000U) << size;
  }
  EXPECT_EQ(depth_of(engine_), flat_depth(1.0F));
  EXPECT_TRUE(read().output.ends_with(kFinishedLine));
}

TEST_F(SecondGenerationHostileList, MissingSecondWordIsNoFrame) {
  for (const char* text : {"0", "0\n", "0 \n\n"}) {
    play(text);
    const auto seen = read();
    expect_refused(seen);
    EXPECT_EQ(seen.keys, 0);
    start_player();
    quietly([&] { return engine_.Read(0); });
  }
}

TEST_F(SecondGenerationHostileList, PlaybackEndsBehindAMissingSecondWord) {
  play("0");
  read();
  EXPECT_TRUE(read().output.ends_with(kFinishedLine));
}

TEST_F(SecondGenerationHostileList, EntryWithANulIsNoFrame) {
  play(std::string("0 ") + stamp(1) + std::string("\0x\n", 3));
  const auto seen = read();
  EXPECT_LT(seen.output.size(), 20'000U);
}

TEST_F(SecondGenerationHostileList, FormatDirectivesAreText) {
  play("0 %s%n%s\n");
  const auto seen = read();
  EXPECT_EQ(seen.output, opening_next_line(list(1)) + reading_line(folder(1) + "/%s%n%s-depth") +
                             failed_to_open_line(folder(1) + "/%s%n%s-depth.rle") +
                             read_failed_line(folder(1) + "/%s%n%s-depth"));
  expect_refused(seen);
}

TEST_F(SecondGenerationHostileList, EntryMayHoldAnyPrintableCharacterButASlash) {
  std::string entry;
  for (char c = '!'; c <= '~'; ++c) {
    if (c != '/') entry += c;
  }
  play("0 " + entry + "\n");
  EXPECT_TRUE(read().output.ends_with(read_failed_line(folder(1) + "/" + entry + "-depth")));
}

TEST_F(SecondGenerationHostileList, RandomBytesComeToAnEnd) {
  std::mt19937 random(7);
  for (int round = 0; round < 5; ++round) {
    std::string bytes(3000, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    play(bytes);
    bool ended = false;
    for (int reads = 0; reads < 1600 && !ended; ++reads) {
      ended = read().output.ends_with(kFinishedLine);
    }
    EXPECT_TRUE(ended);
    start_player();
    quietly([&] { return engine_.Read(0); });
  }
}

// --- What is no file ----------------------------------------------------------------------------

TEST_F(SecondGenerationHostileList, FifoIsNotWaitedForAndTheEnd) {
  std::filesystem::remove(list(1));
  ASSERT_EQ(mkfifo(list(1).c_str(), 0600), 0);
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, opening_next_line(list(1)) + kFinishedLine);
}

TEST_F(SecondGenerationHostileList, DirectoryIsTheEnd) {
  std::filesystem::remove(list(1));
  std::filesystem::create_directory(list(1));
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, opening_next_line(list(1)) + kFinishedLine);
}

TEST_F(SecondGenerationHostileList, HugeListIsTheEnd) {
  write_sparse_file(list(1), std::uintmax_t{65} << 20U);
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, opening_next_line(list(1)) + kFinishedLine);
}

TEST_F(SecondGenerationListFixture, FifoAsFirstListIsNotWaitedFor) {
  std::filesystem::create_directory(folder(0));
  ASSERT_EQ(mkfifo(list(0).c_str(), 0600), 0);
  start_player();
  const auto seen = read();
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(seen.output.ends_with(opening_line(list(0)) + kNoListLine));
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(SecondGenerationListFixture, DirectoryTooLongForAListHasNone) {
  settings_.directory = directory_of_length(directory_, 495);
  start_player();
  const auto seen = read();
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(seen.output.ends_with(kNoListLine)) << seen.output;
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(SecondGenerationListFixture, LinkInTheListsPlaceIsNotWrittenThrough) {
  record(1, 1);
  const std::string target = directory_.file("precious");
  write_file(target, "precious");
  std::filesystem::create_symlink(target, list(0));
  start_player();
  EXPECT_EQ(read_depth(), 1.0F);
  EXPECT_EQ(read_file(target), "precious");
}

}  // namespace
}  // namespace depth_io::test
