#include <climits>

#include "tests/support/engine_fixture.h"

// Writing past frames out of the ring by their frame numbers.
namespace depth_io::test {
namespace {

/// Depth of frame `frame` in these tests; tells frames apart after a round trip.
float depth_of(int frame) { return 1.0F + 0.125F * static_cast<float>(frame); }

class FirstGenerationRecording : public ::testing::Test {
 protected:
  Outcome<int> record(KV_RGBD_CameraCompression& engine, int start, int stop, int current,
                      int debug = 0) {
    Text path(directory_.slash());
    Text stem("past");
    return observe([&] { return engine.recording(start, stop, current, path, stem, 3, debug); });
  }

  static std::string recording_line(int frame, int slot, int size) {
    return "recording " + std::to_string(frame) + " history_index " + std::to_string(slot) +
           " (SizeHistory " + std::to_string(size) + ")\n";
  }

  std::string written_lines(int frame, int slot, int size) const {
    return recording_line(frame, slot, size) + saving_line(directory_.slash(), "past", frame);
  }

  static void fill(KV_RGBD_CameraCompression& engine, int first, int last) {
    for (int frame = first; frame <= last; ++frame) {
      ASSERT_TRUE(store_flat(engine, frame, depth_of(frame)));
    }
  }

  TempDirectory directory_;
};

TEST_F(FirstGenerationRecording, WholeOutputOfARangeInTheRing) {
  KV_RGBD_CameraCompression engine(3);
  fill(engine, 0, 4);
  const auto seen = record(engine, 2, 4, 4);
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output,
            "recording 2 history_index 2 (SizeHistory 3)\n"
            "saving '" +
                directory_.slash() +
                "/past' index 2 timestamp \n"
                "recording 3 history_index 0 (SizeHistory 3)\n"
                "saving '" +
                directory_.slash() +
                "/past' index 3 timestamp \n"
                "recording 4 history_index 1 (SizeHistory 3)\n"
                "saving '" +
                directory_.slash() + "/past' index 4 timestamp \n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationRecording, FramesAreNamedAsIfRecordedLive) {
  KV_RGBD_CameraCompression engine(3);
  fill(engine, 0, 4);
  record(engine, 3, 4, 4);
  EXPECT_EQ(files_in(directory_.path()), depth_files({"past-003", "past-004"}));
}

TEST_F(FirstGenerationRecording, EachFrameIsTheOneOfItsNumber) {
  KV_RGBD_CameraCompression engine(3);
  fill(engine, 0, 4);
  record(engine, 2, 4, 4);
  for (const int frame : {2, 3, 4}) {
    EXPECT_NEAR(recorded_depth(directory_.file("past-00" + std::to_string(frame))), depth_of(frame),
                1e-5F);
  }
}

TEST_F(FirstGenerationRecording, PartOfARangeInTheRingIsWrittenAndTheResultIsFailure) {
  KV_RGBD_CameraCompression engine(10);
  fill(engine, 15, 25);
  const auto seen = record(engine, 14, 18, 25);
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output,
            " - WARNING - depth history corresponding index out of range 14 (SizeHistory 10) "
            "current_frame 25 [15:25]\n"
            " - WARNING - depth history corresponding index out of range 15 (SizeHistory 10) "
            "current_frame 25 [15:25]\n" +
                written_lines(16, 6, 10) + written_lines(17, 7, 10) + written_lines(18, 8, 10));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(files_in(directory_.path()), depth_files({"past-016", "past-017", "past-018"}));
}

TEST_F(FirstGenerationRecording, FrameAfterTheCurrentOneIsOutOfRange) {
  KV_RGBD_CameraCompression engine(2);
  fill(engine, 0, 1);
  const auto seen = record(engine, 1, 2, 1);
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output,
            written_lines(1, 1, 2) +
                " - WARNING - depth history corresponding index out of range 2 (SizeHistory 2) "
                "current_frame 1 [-1:1]\n");
}

TEST_F(FirstGenerationRecording, EmptyRangeIsASilentSuccess) {
  KV_RGBD_CameraCompression engine(2);
  fill(engine, 0, 1);
  const auto seen = record(engine, 1, 0, 1);
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output, "");
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(FirstGenerationRecording, SlotNeverFilledIsWrittenAsItIs) {
  KV_RGBD_CameraCompression engine(2);
  const auto seen = record(engine, 0, 0, 0);
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output, written_lines(0, 0, 2));
  EXPECT_EQ(recorded_depth(directory_.file("past-000")), 0.0F);
}

TEST_F(FirstGenerationRecording, NegativeSlotEndsTheLoop) {
  KV_RGBD_CameraCompression engine(5);
  const auto seen = record(engine, -4, -1, -1);
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output, " - ERROR - depth history corresponding index out of range\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(FirstGenerationRecording, NegativeMultipleOfTheSizeIsWritten) {
  KV_RGBD_CameraCompression engine(5);
  ASSERT_TRUE(store_flat(engine, -5, 2.0F));
  const auto seen = record(engine, -5, -4, -4);
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output, written_lines(-5, 0, 5) +
                             " - ERROR - depth history corresponding index out of range\n");
  EXPECT_EQ(files_in(directory_.path()), depth_files({"past--005"}));
  EXPECT_NEAR(recorded_depth(directory_.file("past--005")), 2.0F, 1e-5F);
}

TEST_F(FirstGenerationRecording, SlotBeyondTheOnlyOneEndsTheLoop) {
  KV_RGBD_CameraCompression engine;
  const auto seen = record(engine, 16777217, 16777217, 16777217);
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output, " - ERROR - depth history corresponding index out of range\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationRecording, RoundedFrameNumberEndsTheLoop) {
  KV_RGBD_CameraCompression engine(10);
  const auto seen = record(engine, 16777219, 16777219, 16777219);
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output, " - ERROR - depth history corresponding index out of range\n");
}

TEST_F(FirstGenerationRecording, RangeUpToTheLargestIntEnds) {
  KV_RGBD_CameraCompression engine;
  const auto seen = record(engine, INT_MAX - 1, INT_MAX, INT_MAX - 5);
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output,
            " - WARNING - depth history corresponding index out of range 2147483646 (SizeHistory "
            "1) current_frame 2147483642 [2147483641:2147483642]\n"
            " - WARNING - depth history corresponding index out of range 2147483647 (SizeHistory "
            "1) current_frame 2147483642 [2147483641:2147483642]\n");
}

TEST_F(FirstGenerationRecording, FrameFarAfterTheSmallestCurrentFrameIsOutOfRange) {
  KV_RGBD_CameraCompression engine;
  const auto seen = record(engine, 5, 5, INT_MIN);
  EXPECT_EQ(seen.result, 0);
  const std::string start =
      " - WARNING - depth history corresponding index out of range 5 (SizeHistory 1) "
      "current_frame -2147483648 [";
  EXPECT_EQ(seen.output.substr(0, start.size()), start);
}

TEST_F(FirstGenerationRecording, RingWithoutSlotsHasNoFrame) {
  for (const int size : {0, -3}) {
    ConsoleCapture constructing;
    KV_RGBD_CameraCompression engine(size);
    constructing.stop();
    const auto seen = record(engine, 0, 0, 0);
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.output,
              " - WARNING - depth history corresponding index out of range 0 "
              "(SizeHistory " +
                  std::to_string(size) + ") current_frame 0 [" + std::to_string(-size) + ":0]\n");
  }
}

TEST_F(FirstGenerationRecording, ColourFormWritesTheColourOfTheSlot) {
  KV_RGBD_CameraCompression engine(2);
  DepthMap depth = flat_depth(1.0F);
  for (const int frame : {0, 1}) {
    ColourImage colour = flat_colour(static_cast<unsigned char>(50 + 100 * frame));
    engine.input(depth.data(), colour.data());
    ASSERT_TRUE(quietly([&] { return engine.apply(frame, 0); }));
  }
  Text path(directory_.slash());
  Text stem("past");
  Text colour_stem("colour");
  const auto seen =
      observe([&] { return engine.recording(0, 0, 1, path, stem, colour_stem, 3, 0); });
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output,
            recording_line(0, 0, 2) + saving_colour_lines(directory_.slash(), "past", "colour", 0));
  EXPECT_EQ(seen.keys, 0);
  ColourImage pixels = flat_colour(0);
  const std::string file = directory_.file("colour-000.jpg");
  ASSERT_TRUE(read_jpeg_file(file.c_str(), pixels).decoded);
  EXPECT_NEAR(pixels[kColourBytes / 2], 50, 3);
}

TEST_F(FirstGenerationRecording, DepthOnlyFormWritesNoColourOfAColourFrame) {
  KV_RGBD_CameraCompression engine;
  DepthMap depth = flat_depth(1.0F);
  ColourImage colour = flat_colour(50);
  engine.input(depth.data(), colour.data());
  ASSERT_TRUE(quietly([&] { return engine.apply(0, 0); }));
  EXPECT_EQ(record(engine, 0, 0, 0).output, written_lines(0, 0, 1));
  EXPECT_EQ(files_in(directory_.path()), depth_files({"past-000"}));
}

TEST_F(FirstGenerationRecording, ReverseNameIntrinsicsAndVerificationAreThoseOfTheEngine) {
  KV_RGBD_CameraCompression engine;
  engine.REVERSE_NAME = true;
  engine.VERIFICATION = 1;
  engine.a11 = 500.0F;
  engine.a22 = 501.0F;
  engine.cx = 240.0F;
  engine.cy = 320.0F;
  fill(engine, 0, 0);
  const auto seen = record(engine, 0, 0, 0);
  EXPECT_EQ(seen.output, written_lines(0, 0, 1) + " --- VERIFICATION of DEPTH CONTENT ---\n" +
                             reading_line(directory_.file("000-past")));
  EXPECT_EQ(read_file(directory_.file("000-past.ref")),
            "nblabels 1 a11 500.000000 a22 501.000000 cx 240.000000 cy 320.000000\n1.000000\n");
}

TEST_F(FirstGenerationRecording, DebugIsPassedOnToTheWriter) {
  KV_RGBD_CameraCompression engine;
  fill(engine, 0, 0);
  const std::string start = recording_line(0, 0, 1) + " - DEBUG - write_compressed_data\n";
  EXPECT_EQ(record(engine, 0, 0, 0, 1).output.substr(0, start.size()), start);
}

TEST_F(FirstGenerationRecording, StateOfTheEngineIsLeftAlone) {
  KV_RGBD_CameraCompression engine(3);
  fill(engine, 0, 1);
  engine.input(flat_depth(9.0F).data());
  record(engine, 0, 1, 1);
  EXPECT_FALSE(engine.Record);
  EXPECT_FALSE(engine.RECORDED);
  EXPECT_EQ(engine.last_time_recorded_at, 0);
  EXPECT_EQ(engine.last_time_recorded_year, -1);
  EXPECT_EQ(engine.HistoryModCounter, 2);
  EXPECT_EQ(engine.HistoryCounter, 0);
  EXPECT_EQ(engine.GetDepthAt(0), 9.0F);
  EXPECT_EQ(slot_depth(engine, 0), depth_of(0));
  EXPECT_STREQ(engine.Record_stem_depth, "depth");
  EXPECT_STREQ(engine.Record_directory, "./");
}

TEST_F(FirstGenerationRecording, WriterFailureEndsTheLoopWithOneWait) {
  KV_RGBD_CameraCompression engine(3);
  fill(engine, 0, 1);
  const std::string missing = directory_.file("missing");
  Text path(missing + "/");
  Text stem("past");
  const auto seen = observe([&] { return engine.recording(0, 1, 1, path, stem, 3, 0); });
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output, recording_line(0, 0, 3) + saving_line(missing + "/", "past", 0) +
                             failed_to_write_line(missing + "/past-000.rle") +
                             "ERROR KV_RGBD_CameraCompression apply - write_compressed failed\n");
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(FirstGenerationRecording, FramesBeforeAWriterFailureStay) {
  KV_RGBD_CameraCompression engine(3);
  fill(engine, 0, 2);
  // A directory stands where the second frame's label map is to go.
  std::filesystem::create_directory(directory_.file("past-001.rle"));
  const auto seen = record(engine, 0, 2, 2);
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.keys, 1);
  std::vector<std::string> expected = depth_files({"past-000"});
  expected.push_back("past-001.rle");
  EXPECT_EQ(files_in(directory_.path()), expected);
}

TEST_F(FirstGenerationRecording, NullNamesFail) {
  KV_RGBD_CameraCompression engine;
  fill(engine, 0, 0);
  Text path(directory_.slash());
  Text stem("past");
  EXPECT_EQ(quietly([&] { return engine.recording(0, 0, 0, nullptr, stem, 3, 0); }), 0);
  EXPECT_EQ(quietly([&] { return engine.recording(0, 0, 0, path, nullptr, 3, 0); }), 0);
  EXPECT_EQ(quietly([&] { return engine.recording(0, 0, 0, path, stem, nullptr, 3, 0); }), 0);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(FirstGenerationRecording, LongFormTakesFrameNumbers) {
  KV_RGBD_CameraCompression engine(2);
  fill(engine, 0, 1);
  Text path(directory_.slash());
  Text stem("past");
  const auto seen = observe([&] {
    return engine._recording(false, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 1, 1, 1,
                             path, stem, false, nullptr, 3, 0);
  });
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output, written_lines(1, 1, 2));
}

}  // namespace
}  // namespace depth_io::test
