#include "tests/support/second_generation_list_fixture.h"

// Playback of numbered sub-directories through their content lists.
namespace depth_io::test {
namespace {

constexpr char kNoColour[] = "failed to read bgr image\n";

using SecondGenerationList = SecondGenerationListFixture;

// --- A whole recording --------------------------------------------------------------------------

TEST_F(SecondGenerationList, FourFramesOfTwoSubDirectoriesAndTheEnd) {
  record(4, 2);
  start_player();
  for (int i = 0; i < 4; ++i) EXPECT_EQ(read_depth(), static_cast<float>(i + 1));
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, opening_next_line(list(2)) + kFinishedLine);
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationList, WholeOutputOfTheFirstFrame) {
  record(4, 2);
  const std::string listing = listing_lines(directory_.path());
  start_player();
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output,
            start_lines(listing, 2) + opening_line(list(0)) + reading_line(base(0, 0)));
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(SecondGenerationList, WholeOutputOfTheNextFrame) {
  record(4, 2);
  start_player();
  read();
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, reading_line(base(0, 1)));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationList, WholeOutputOfTheFirstFrameOfTheNextSubDirectory) {
  record(4, 2);
  start_player();
  read();
  read();
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, opening_next_line(list(1)) + reading_line(base(1, 2)));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(engine_.CurrentSubDirectoryIndex, 1);
}

TEST_F(SecondGenerationList, FirstReadWritesTheCatalogueFiles) {
  record(3, 2);
  start_player();
  read();
  EXPECT_EQ(read_file(list(0)), "0 " + stamp(0) + "\n1 " + stamp(1) + "\n");
  EXPECT_EQ(read_file(list(1)), "0 " + stamp(2) + "\n");
  EXPECT_EQ(read_file(directory_.file("info.txt")), "nb_sub_dir 2\n");
}

TEST_F(SecondGenerationList, FrameIsLoadedWithColourIntrinsicsAndNames) {
  record(1, 1);
  start_player();
  read();
  EXPECT_EQ(depth_of(engine_), flat_depth(1.0F));
  EXPECT_NEAR(engine_.ColourImage[0], 10, 1);
  EXPECT_EQ(engine_.GetIntrinsic_a11(), 533.0F);
  EXPECT_EQ(engine_.GetIntrinsic_cx(), 240.0F);
  EXPECT_TRUE(engine_.INITIALISED);
  EXPECT_EQ(engine_.depth_string, base(0, 0));
  EXPECT_EQ(engine_.bgr_string, folder(0) + "/" + stamp(0) + "-bgrimage.jpg");
}

TEST_F(SecondGenerationList, ColourNameIsBuiltWithoutAColourStemToo) {
  record(1, 1);
  settings_.colour_stem.clear();
  start_player();
  EXPECT_TRUE(read().result);
  EXPECT_EQ(engine_.bgr_string, folder(0) + "/" + stamp(0) + "-bgrimage.jpg");
  EXPECT_EQ(colour_of(engine_), flat_colour(7));
}

TEST_F(SecondGenerationList, StemsOfTheSettingsAreNotUsed) {
  record(1, 1);
  settings_.depth_stem = "x";
  settings_.colour_stem = "y";
  start_player();
  EXPECT_TRUE(read().result);
  EXPECT_NEAR(engine_.ColourImage[0], 10, 1);
}

TEST_F(SecondGenerationList, NamesAreInTheOtherOrderWithoutReversal) {
  record(1, 1);
  start_player();
  write_file(list(0), "0 entry\n");
  engine_.REVERSE_NAME = false;
  engine_.INITIALISED = true;
  engine_.fSubDir_r = std::fopen(list(0).c_str(), "r");
  const auto seen = read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(engine_.depth_string, folder(0) + "/depth-entry");
  EXPECT_EQ(engine_.bgr_string, folder(0) + "/bgrimage-entry.jpg");
}

TEST_F(SecondGenerationList, DirectoryWithASlashGetsAnotherOne) {
  record(1, 1);
  settings_.directory = directory_.slash();
  start_player();
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_NE(seen.output.find(opening_line(directory_.slash() + "/00000000/list.txt")),
            std::string::npos);
}

TEST_F(SecondGenerationList, FramesComeByTimeHoweverTheyWereRecorded) {
  settings_.per_directory = 10;
  {
    SecondRecorder recorder(settings_);
    for (const int second : {5, 1, 3}) {
      recorder.record(moment_after(second), flat_depth(static_cast<float>(second)));
    }
  }
  start_player();
  for (const float depth : {1.0F, 3.0F, 5.0F}) EXPECT_EQ(read_depth(), depth);
}

TEST_F(SecondGenerationList, PositionsAreNotUsedAndCleared) {
  record(2, 2);
  start_player();
  engine_.SetCurrentFrame(99);
  engine_.SetCurrentTimeStamp(2013, 1, 1, 1, 1, 1, 1);
  EXPECT_EQ(read_depth(), 1.0F);
  EXPECT_FALSE(engine_._CurrentFrame_active);
  EXPECT_FALSE(engine_._CurrentTimeStamp_active);
}

TEST_F(SecondGenerationList, WholeOutputWithTheTraceOn) {
  record(2, 2);
  start_player();
  read();
  const auto seen = read(1);
  const ConsoleTrace reader = reader_trace(base(0, 1), 1);
  EXPECT_EQ(seen.output, "DEBUG - read - read_compressed\n" + reader.output +
                             "DEBUG - read - read_compressed jpeg '" + folder(0) + "/" + stamp(1) +
                             "-bgrimage.jpg'\nDEBUG - read - read_compressed done\n");
  EXPECT_EQ(seen.keys, reader.keys);
}

TEST_F(SecondGenerationList, TraceComesBeforeTheListing) {
  record(1, 1);
  const std::string listing = listing_lines(directory_.path());
  start_player();
  const auto seen = read(1);
  EXPECT_TRUE(seen.output.starts_with("DEBUG - read - read_compressed\n" + start_lines(listing, 1) +
                                      opening_line(list(0))))
      << seen.output;
}

TEST_F(SecondGenerationList, SecondPlayerPlaysTheSame) {
  record(2, 1);
  for (int player = 0; player < 2; ++player) {
    start_player();
    EXPECT_EQ(read_depth(), 1.0F);
    EXPECT_EQ(read_depth(), 2.0F);
  }
}

TEST_F(SecondGenerationList, OneDescriptorStaysOpenBetweenFrames) {
  record(4, 2);
  const int before = open_descriptors();
  {
    KV_RGBD_CameraCompression2 player;
    SecondSettings settings = settings_;
    settings.mode = 'R';
    start_engine(player, settings);
    for (int i = 0; i < 4; ++i) {
      EXPECT_TRUE(quietly([&] { return player.Read(0); }));
      EXPECT_EQ(open_descriptors(), before + 1) << i;
    }
  }
  EXPECT_EQ(open_descriptors(), before);
}

// --- The end ------------------------------------------------------------------------------------

TEST_F(SecondGenerationList, EndLeavesTheLastFrame) {
  record(2, 2);
  start_player();
  read();
  read();
  read();
  EXPECT_EQ(depth_of(engine_), flat_depth(2.0F));
  EXPECT_NEAR(engine_.ColourImage[0], 20, 1);
}

TEST_F(SecondGenerationList, ReadAfterTheEndFindsNoList) {
  record(1, 1);
  start_player();
  read();
  read();
  const auto seen = read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, kNoListLine);
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationList, MissingListOfTheNextSubDirectoryIsTheEnd) {
  record(4, 2);
  start_player();
  read();
  read();
  std::filesystem::remove(list(1));
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, opening_next_line(list(1)) + kFinishedLine);
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationList, EmptyListOfTheNextSubDirectoryIsTheEnd) {
  record(4, 2);
  start_player();
  read();
  read();
  write_file(list(1), " \n\n");
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, opening_next_line(list(1)) + kFinishedLine);
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationList, ReadAfterAnEmptyListGoesOnBehindIt) {
  record(3, 1);
  start_player();
  EXPECT_EQ(read_depth(), 1.0F);
  write_file(list(1), "");
  EXPECT_EQ(read().output, opening_next_line(list(1)) + kFinishedLine);
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, opening_next_line(list(2)) + reading_line(base(2, 2)));
  EXPECT_EQ(engine_.DepthMap[0], 3.0F);
}

TEST_F(SecondGenerationList, EmptyFirstListIsPassedOver) {
  record(2, 1);
  std::filesystem::remove_all(folder(0));
  std::filesystem::create_directory(folder(0));
  write_file(list(0), "");
  start_player();
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_TRUE(seen.output.ends_with(opening_line(list(0)) + opening_next_line(list(1)) +
                                    reading_line(base(1, 1))))
      << seen.output;
  EXPECT_EQ(engine_.DepthMap[0], 2.0F);
}

// --- Nothing to play ----------------------------------------------------------------------------

TEST_F(SecondGenerationList, EmptyDirectoryHasNoList) {
  start_player();
  const std::string listing = listing_lines(directory_.path());
  for (int i = 0; i < 2; ++i) {
    const auto seen = read();
    EXPECT_FALSE(seen.result);
    EXPECT_EQ(seen.output, start_lines(listing, 0) + opening_line(list(0)) + kNoListLine);
    EXPECT_EQ(seen.keys, 1);
  }
}

TEST_F(SecondGenerationList, MissingDirectoryHasNoList) {
  settings_.directory = directory_.file("missing");
  start_player();
  const auto seen = read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, listing_lines(settings_.directory) + " - INFO - 0 Sub Directories in '" +
                             settings_.directory + "' - PRESS TO START READING\n" +
                             opening_line(settings_.directory + "/00000000/list.txt") +
                             kNoListLine);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_FALSE(std::filesystem::exists(settings_.directory));
}

TEST_F(SecondGenerationList, RecordingThatBeginsWithALaterNumberIsNotPlayed) {
  record(2, 1);
  std::filesystem::remove_all(folder(0));
  start_player();
  const auto seen = read();
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(seen.output.ends_with(opening_line(list(0)) + kNoListLine));
}

// --- Frames that cannot be loaded ---------------------------------------------------------------

TEST_F(SecondGenerationList, FirstFrameThatDoesNotLoadIsToldWithItsName) {
  record(2, 2);
  std::filesystem::remove(base(0, 0) + ".ref");
  const std::string listing = listing_lines(directory_.path());
  start_player();
  const auto seen = read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, start_lines(listing, 1) + opening_line(list(0)) +
                             reading_line(base(0, 0)) + failed_to_open_line(base(0, 0) + ".ref") +
                             read_failed_line(base(0, 0)));
  EXPECT_EQ(seen.keys, 1);
  EXPECT_FALSE(engine_.INITIALISED);
}

TEST_F(SecondGenerationList, ReadAfterAFailedFirstFrameListsAgainAndFindsTheListOpen) {
  record(2, 2);
  std::filesystem::remove(base(0, 0) + ".ref");
  const std::string listing = listing_lines(directory_.path());
  start_player();
  read();
  for (int i = 0; i < 2; ++i) {
    const auto seen = read();
    EXPECT_FALSE(seen.result);
    EXPECT_EQ(seen.output, start_lines(listing, 1) + kListAlreadyOpen);
    EXPECT_EQ(seen.keys, 2);
  }
}

TEST_F(SecondGenerationList, EndBeforeAnyFrameFindsTheListOpenToo) {
  std::filesystem::create_directory(folder(0));
  std::filesystem::create_directory(folder(1));
  write_file(list(0), "");
  write_file(list(1), "");
  start_player();
  const auto first = read();
  EXPECT_TRUE(first.result);
  EXPECT_TRUE(first.output.ends_with(opening_next_line(list(1)) + kFinishedLine));
  EXPECT_FALSE(engine_.INITIALISED);
  const auto second = read();
  EXPECT_FALSE(second.result);
  EXPECT_TRUE(second.output.ends_with(kListAlreadyOpen));
  EXPECT_EQ(second.keys, 2);
}

TEST_F(SecondGenerationList, LaterFrameThatDoesNotLoadIsLeftBehind) {
  record(3, 3);
  start_player();
  EXPECT_EQ(read_depth(), 1.0F);
  std::filesystem::remove(base(0, 1) + ".rle");
  const auto seen = read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, reading_line(base(0, 1)) + failed_to_open_line(base(0, 1) + ".rle") +
                             read_failed_line(base(0, 1)));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(depth_of(engine_), flat_depth(1.0F));
  EXPECT_EQ(read_depth(), 3.0F);
}

TEST_F(SecondGenerationList, MissingColourImageIsAnErrorWithAKeyAndLeftBehind) {
  record(3, 3);
  start_player();
  EXPECT_EQ(read_depth(), 1.0F);
  const std::string image = folder(0) + "/" + stamp(1) + "-bgrimage.jpg";
  std::filesystem::remove(image);
  const auto seen = read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, reading_line(base(0, 1)) + cannot_open_jpeg_lines(image) + kNoColour);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_EQ(depth_of(engine_), flat_depth(1.0F));
  EXPECT_NEAR(engine_.ColourImage[0], 10, 1);
  EXPECT_EQ(read_depth(), 3.0F);
}

TEST_F(SecondGenerationList, HasDepthMapOnlyGainsPixels) {
  settings_.per_directory = 2;
  {
    SecondRecorder recorder(settings_);
    recorder.record(moment_after(0), depth_with_head(1.0F, 10, 0.0F));
    recorder.record(moment_after(1), depth_with_head(0.0F, 5, 2.0F));
  }
  start_player();
  read();
  EXPECT_FALSE(engine_.MapHasDepth.buffer[4]);
  read();
  EXPECT_TRUE(engine_.MapHasDepth.buffer[4]);
  EXPECT_FALSE(engine_.MapHasDepth.buffer[5]);
  EXPECT_EQ(engine_.DepthMap[kPixels - 1], 0.0F);
  EXPECT_TRUE(engine_.MapHasDepth.buffer[kPixels - 1]);
}

TEST_F(SecondGenerationList, FramesSavedOutOfTheRingPlayBack) {
  settings_.per_directory = 2;
  settings_.history = 3;
  start_engine(engine_, settings_);
  for (int i = 0; i < 4; ++i) {
    ASSERT_TRUE(capture_flat(engine_, false, moment_after(i), static_cast<float>(i + 1)));
  }
  ASSERT_TRUE(quietly([&] { return record_range(engine_, moment_after(0), moment_after(9)); }));
  start_player();
  // The ring had wrapped: the newest frame went into the first sub-directory.
  for (const float depth : {2.0F, 4.0F, 3.0F}) EXPECT_EQ(read_depth(), depth);
  EXPECT_TRUE(read().output.ends_with(kFinishedLine));
}

}  // namespace
}  // namespace depth_io::test
