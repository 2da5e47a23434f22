#include <climits>

#include "tests/support/engine_fixture.h"

namespace depth_io::test {
namespace {

constexpr char kNullInputLine[] = "error - KV_RGBD_CameraCompression::input - NULL input\n";
constexpr char kNullOutputLine[] =
    "error - KV_RGBD_CameraCompression::output_to_cvMat - NULL input\n";

// --- Current frame ------------------------------------------------------------------------------

TEST(FirstGenerationFrame, DepthComesOutAsItWentIn) {
  KV_RGBD_CameraCompression engine;
  DepthMap in = scene_depth(1);
  DepthMap out = flat_depth(-1.0F);
  engine.input(in.data());
  engine.output_to_cvMat_depth(out.data());
  EXPECT_EQ(out, in);
}

TEST(FirstGenerationFrame, ColourComesOutAsItWentIn) {
  KV_RGBD_CameraCompression engine;
  DepthMap depth = flat_depth(1.0F);
  ColourImage in = flat_colour(0);
  for (std::size_t i = 0; i < in.size(); ++i) in[i] = static_cast<unsigned char>(i % 251);
  ColourImage out = flat_colour(0);
  engine.input(depth.data(), in.data());
  engine.output_to_cvMat_bgrImage(out.data());
  EXPECT_EQ(out, in);
}

TEST(FirstGenerationFrame, InputIsSilent) {
  KV_RGBD_CameraCompression engine;
  DepthMap depth = flat_depth(1.0F);
  ColourImage colour = flat_colour(9);
  const ConsoleTrace trace = capture_console([&] {
    engine.input(depth.data(), colour.data());
    engine.input(depth.data());
    engine.output_to_cvMat_depth(depth.data());
    engine.output_to_cvMat_bgrImage(colour.data());
  });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

TEST(FirstGenerationFrame, InputWithColourTurnsColourOn) {
  KV_RGBD_CameraCompression engine;
  DepthMap depth = flat_depth(1.0F);
  ColourImage colour = flat_colour(9);
  engine.input(depth.data(), colour.data());
  EXPECT_TRUE(engine.COLOUR_IMAGE_ON);
}

TEST(FirstGenerationFrame, InputOfDepthOnlyTurnsColourOffAndKeepsItsBytes) {
  KV_RGBD_CameraCompression engine;
  DepthMap depth = flat_depth(1.0F);
  ColourImage colour = flat_colour(9);
  engine.input(depth.data(), colour.data());
  engine.input(depth.data());
  EXPECT_FALSE(engine.COLOUR_IMAGE_ON);
  EXPECT_EQ(engine.GetBgrImageAt(0), 9);
  EXPECT_EQ(engine.GetBgrImageAt(kColourBytes - 1), 9);
}

TEST(FirstGenerationFrame, InputLeavesHasDepthToTheCaller) {
  KV_RGBD_CameraCompression engine;
  DepthMap depth = flat_depth(1.0F);
  engine.MapHasDepth.buffer[7] = true;
  engine.input(depth.data());
  EXPECT_TRUE(engine.MapHasDepth.buffer[7]);
  EXPECT_FALSE(engine.MapHasDepth.buffer[8]);
}

TEST(FirstGenerationFrame, InputLeavesMetricXAndYAlone) {
  KV_RGBD_CameraCompression engine;
  DepthMap depth = flat_depth(1.0F);
  engine.MapXd.Init(3.0F);
  engine.MapYd.Init(4.0F);
  engine.input(depth.data());
  EXPECT_EQ(engine.MapXd.buffer[5], 3.0F);
  EXPECT_EQ(engine.MapYd.buffer[5], 4.0F);
}

TEST(FirstGenerationFrame, SingleValuesAreReadAndSet) {
  KV_RGBD_CameraCompression engine;
  engine.SetDepthAt(kPixels - 1, 2.5F);
  engine.SetBgrImageAt(kColourBytes - 1, 200);
  EXPECT_EQ(engine.GetDepthAt(kPixels - 1), 2.5F);
  EXPECT_EQ(engine.MapZd.buffer[kPixels - 1], 2.5F);
  EXPECT_EQ(engine.GetDepthAt(0), 0.0F);
  EXPECT_EQ(engine.GetBgrImageAt(kColourBytes - 1), 200);
  EXPECT_EQ(engine.colour_image.buffer[kColourBytes - 1], 200);
  EXPECT_EQ(engine.GetBgrImageAt(0), 0);
}

TEST(FirstGenerationFrame, IntrinsicsAreThoseOfTheFields) {
  KV_RGBD_CameraCompression engine;
  engine.a11 = 1.0F;
  engine.a22 = 2.0F;
  engine.cx = 3.0F;
  engine.cy = 4.0F;
  EXPECT_EQ(engine.GetIntrinsic_a11(), 1.0F);
  EXPECT_EQ(engine.GetIntrinsic_a22(), 2.0F);
  EXPECT_EQ(engine.GetIntrinsic_cx(), 3.0F);
  EXPECT_EQ(engine.GetIntrinsic_cy(), 4.0F);
}

// --- Null pointers ------------------------------------------------------------------------------

TEST(FirstGenerationNull, DepthInputIsReportedAndNotRead) {
  KV_RGBD_CameraCompression engine;
  engine.SetDepthAt(3, 2.0F);
  const ConsoleTrace trace = capture_console([&] { engine.input(nullptr); });
  EXPECT_EQ(trace.output, kNullInputLine);
  EXPECT_EQ(trace.keys, 0);
  EXPECT_EQ(engine.GetDepthAt(3), 2.0F);
}

TEST(FirstGenerationNull, DepthInputWithColourIsReported) {
  KV_RGBD_CameraCompression engine;
  engine.SetDepthAt(3, 2.0F);
  ColourImage colour = flat_colour(9);
  const ConsoleTrace trace = capture_console([&] { engine.input(nullptr, colour.data()); });
  EXPECT_EQ(trace.output, kNullInputLine);
  EXPECT_EQ(trace.keys, 0);
  EXPECT_EQ(engine.GetDepthAt(3), 2.0F);
}

TEST(FirstGenerationNull, ColourInputIsNotRead) {
  KV_RGBD_CameraCompression engine;
  DepthMap depth = flat_depth(1.0F);
  engine.SetBgrImageAt(3, 77);
  const ConsoleTrace trace = capture_console([&] { engine.input(depth.data(), nullptr); });
  EXPECT_EQ(trace.keys, 0);
  EXPECT_EQ(engine.GetBgrImageAt(3), 77);
}

TEST(FirstGenerationNull, DepthOutputIsReported) {
  KV_RGBD_CameraCompression engine;
  const ConsoleTrace trace = capture_console([&] { engine.output_to_cvMat_depth(nullptr); });
  EXPECT_EQ(trace.output, kNullOutputLine);
  EXPECT_EQ(trace.keys, 0);
}

TEST(FirstGenerationNull, ColourOutputTakesNoKey) {
  KV_RGBD_CameraCompression engine;
  engine.SetBgrImageAt(3, 77);
  const ConsoleTrace trace = capture_console([&] { engine.output_to_cvMat_bgrImage(nullptr); });
  EXPECT_EQ(trace.keys, 0);
  EXPECT_EQ(engine.GetBgrImageAt(3), 77);
}

TEST(FirstGenerationNull, StampOutputTakesNoKey) {
  KV_RGBD_CameraCompression engine;
  ASSERT_TRUE(store_flat_at(engine, 0, kMoment, 1.0F));
  const ConsoleTrace trace =
      capture_console([&] { engine.GetHistoryCorrespondingTimeStamp(nullptr, 0); });
  EXPECT_EQ(trace.keys, 0);
  EXPECT_STREQ(engine.HistoryTimeStamp.arr1D[0].buffer, kMomentStamp);
}

TEST(FirstGenerationNull, RecordingNamesChangeNothing) {
  KV_RGBD_CameraCompression engine;
  Text directory("rec/");
  Text stem("stem");
  capture_console([&] {
    engine.start_recording(nullptr, stem, 3);
    engine.start_recording(directory, nullptr, 3);
    engine.start_recording(directory, stem, nullptr, 3);
  });
  EXPECT_FALSE(engine.Record);
  EXPECT_STREQ(engine.Record_directory, "./");
  EXPECT_STREQ(engine.Record_stem_depth, "depth");
  EXPECT_STREQ(engine.Record_stem_bgr, "bgrimage");
  EXPECT_EQ(engine.Record_number_digits, 8);
}

// --- Switching recording on and off -------------------------------------------------------------

TEST(FirstGenerationStartRecording, DepthOnlyFormKeepsTheColourStem) {
  KV_RGBD_CameraCompression engine;
  Text directory("rec/");
  Text stem("stem");
  const ConsoleTrace trace = capture_console([&] { engine.start_recording(directory, stem, 5); });
  EXPECT_EQ(trace.output, "");
  EXPECT_TRUE(engine.Record);
  EXPECT_STREQ(engine.Record_directory, "rec/");
  EXPECT_STREQ(engine.Record_stem_depth, "stem");
  EXPECT_STREQ(engine.Record_stem_bgr, "bgrimage");
  EXPECT_EQ(engine.Record_number_digits, 5);
}

TEST(FirstGenerationStartRecording, ColourFormSetsBothStems) {
  KV_RGBD_CameraCompression engine;
  Text directory("rec/");
  Text stem("stem");
  Text colour_stem("colour");
  const ConsoleTrace trace =
      capture_console([&] { engine.start_recording(directory, stem, colour_stem, 5); });
  EXPECT_EQ(trace.output, "");
  EXPECT_TRUE(engine.Record);
  EXPECT_STREQ(engine.Record_directory, "rec/");
  EXPECT_STREQ(engine.Record_stem_depth, "stem");
  EXPECT_STREQ(engine.Record_stem_bgr, "colour");
  EXPECT_EQ(engine.Record_number_digits, 5);
}

TEST(FirstGenerationStartRecording, StopKeepsTheNames) {
  KV_RGBD_CameraCompression engine;
  Text directory("rec/");
  Text stem("stem");
  engine.start_recording(directory, stem, 5);
  engine.stop_recording();
  EXPECT_FALSE(engine.Record);
  EXPECT_STREQ(engine.Record_directory, "rec/");
  EXPECT_STREQ(engine.Record_stem_depth, "stem");
}

TEST(FirstGenerationStartRecording, LongestNamesAreStoredWhole) {
  KV_RGBD_CameraCompression engine;
  Text directory(std::string(511, 'd'));
  Text stem(std::string(127, 's'));
  Text colour_stem(std::string(127, 'c'));
  const ConsoleTrace trace =
      capture_console([&] { engine.start_recording(directory, stem, colour_stem, 5); });
  EXPECT_EQ(trace.output, "");
  EXPECT_TRUE(engine.Record);
  EXPECT_EQ(engine.Record_directory, directory.str());
  EXPECT_EQ(engine.Record_stem_depth, stem.str());
  EXPECT_EQ(engine.Record_stem_bgr, colour_stem.str());
}

TEST(FirstGenerationStartRecording, EmptyNamesAreStored) {
  KV_RGBD_CameraCompression engine;
  Text nothing("");
  engine.start_recording(nothing, nothing, nothing, 0);
  EXPECT_TRUE(engine.Record);
  EXPECT_STREQ(engine.Record_directory, "");
  EXPECT_STREQ(engine.Record_stem_depth, "");
  EXPECT_STREQ(engine.Record_stem_bgr, "");
  EXPECT_EQ(engine.Record_number_digits, 0);
}

TEST(FirstGenerationStartRecording, OverlongNamesAreRefusedAndNothingChanges) {
  const std::string long_directory(512, 'd');
  const std::string long_stem(128, 's');
  struct Case {
    std::string directory, stem, colour_stem;
  };
  const Case cases[] = {{long_directory, "s", "c"}, {"d/", long_stem, "c"}, {"d/", "s", long_stem}};
  for (const Case& bad : cases) {
    KV_RGBD_CameraCompression engine;
    Text directory(bad.directory);
    Text stem(bad.stem);
    Text colour_stem(bad.colour_stem);
    const ConsoleTrace trace =
        capture_console([&] { engine.start_recording(directory, stem, colour_stem, 5); });
    EXPECT_TRUE(is_one_error_line(trace.output)) << trace.output;
    EXPECT_EQ(trace.keys, 0);
    EXPECT_FALSE(engine.Record);
    EXPECT_STREQ(engine.Record_directory, "./");
    EXPECT_STREQ(engine.Record_stem_depth, "depth");
    EXPECT_STREQ(engine.Record_stem_bgr, "bgrimage");
    EXPECT_EQ(engine.Record_number_digits, 8);
  }
}

TEST(FirstGenerationStartRecording, OverlongNamesOfTheDepthOnlyFormAreRefused) {
  const std::pair<std::string, std::string> cases[] = {{std::string(512, 'd'), "s"},
                                                       {"d/", std::string(5000, 's')}};
  for (const auto& [long_directory, long_stem] : cases) {
    KV_RGBD_CameraCompression engine;
    Text directory(long_directory);
    Text stem(long_stem);
    const ConsoleTrace trace = capture_console([&] { engine.start_recording(directory, stem, 5); });
    EXPECT_TRUE(is_one_error_line(trace.output)) << trace.output;
    EXPECT_EQ(trace.keys, 0);
    EXPECT_FALSE(engine.Record);
    EXPECT_STREQ(engine.Record_directory, "./");
    EXPECT_STREQ(engine.Record_stem_depth, "depth");
    EXPECT_EQ(engine.Record_number_digits, 8);
  }
}

TEST(FirstGenerationStartRecording, RefusedNamesLeaveARunningRecordingAsItWas) {
  KV_RGBD_CameraCompression engine;
  Text directory("rec/");
  Text stem("stem");
  Text long_directory(std::string(600, 'd'));
  engine.start_recording(directory, stem, 5);
  capture_console([&] { engine.start_recording(long_directory, stem, 7); });
  EXPECT_TRUE(engine.Record);
  EXPECT_STREQ(engine.Record_directory, "rec/");
  EXPECT_EQ(engine.Record_number_digits, 5);
}

TEST(FirstGenerationRelease, DoesNothing) {
  KV_RGBD_CameraCompression engine;
  engine.SetDepthAt(3, 2.0F);
  engine.Record = true;
  const ConsoleTrace trace = capture_console([&] { engine.release(); });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
  EXPECT_EQ(engine.GetDepthAt(3), 2.0F);
  EXPECT_EQ(engine.MapZd.N, kPixels);
  EXPECT_TRUE(engine.Record);
}

// --- Slots of frame numbers ---------------------------------------------------------------------

TEST(FirstGenerationSlots, FrameNumbersGoRoundTheRing) {
  KV_RGBD_CameraCompression engine(5);
  const int slots[] = {0, 1, 2, 3, 4, 0, 1, 2};
  for (int frame = 0; frame < 8; ++frame) {
    EXPECT_EQ(engine.GetHistoryCorrespondingIndex(frame), slots[frame]);
  }
}

TEST(FirstGenerationSlots, NegativeFrameNumbersGiveNegativeSlotsExceptMultiplesOfTheSize) {
  KV_RGBD_CameraCompression engine(5);
  const std::pair<int, int> cases[] = {{-1, -1}, {-4, -4}, {-5, 0}, {-6, -1}, {-10, 0}};
  for (const auto& [frame, slot] : cases) {
    EXPECT_EQ(engine.GetHistoryCorrespondingIndex(frame), slot) << frame;
  }
}

TEST(FirstGenerationSlots, EveryFrameNumberSharesTheOnlySlot) {
  KV_RGBD_CameraCompression engine;
  for (const int frame : {0, 1, 99, -1, 16777216}) {
    EXPECT_EQ(engine.GetHistoryCorrespondingIndex(frame), 0) << frame;
  }
}

TEST(FirstGenerationSlots, SinglePrecisionGivesASlotBeyondTheOnlyOne) {
  KV_RGBD_CameraCompression engine;
  EXPECT_EQ(engine.GetHistoryCorrespondingIndex(16777217), 1);
}

TEST(FirstGenerationSlots, SinglePrecisionGivesANegativeSlotOfTen) {
  KV_RGBD_CameraCompression engine(10);
  EXPECT_EQ(engine.GetHistoryCorrespondingIndex(16777219), -1);
  EXPECT_EQ(engine.GetHistoryCorrespondingIndex(16777216), 6);
}

// --- Stamps of slots ----------------------------------------------------------------------------

TEST(FirstGenerationSlotStamp, SlotNeverFilledIsEmpty) {
  KV_RGBD_CameraCompression engine(5);
  char stamp[kStampSize] = "something";
  const auto seen = observe([&] { return engine.GetHistoryCorrespondingTimeStamp(stamp, 7); });
  EXPECT_EQ(seen.result, 2);
  EXPECT_EQ(seen.output, "");
  EXPECT_STREQ(stamp, "");
}

TEST(FirstGenerationSlotStamp, FilledSlotGivesItsStamp) {
  KV_RGBD_CameraCompression engine(2);
  ASSERT_TRUE(store_flat_at(engine, 0, moment_at(1), 1.0F));
  ASSERT_TRUE(store_flat_at(engine, 1, moment_at(2), 1.0F));
  char stamp[kStampSize] = "";
  EXPECT_EQ(engine.GetHistoryCorrespondingTimeStamp(stamp, 3), 1);
  EXPECT_STREQ(stamp, "2013-04-09T14-05-07.002000");
}

TEST(FirstGenerationSlotStamp, NoSuchSlotIsReportedAndLeavesTheTextAlone) {
  KV_RGBD_CameraCompression engine(5);
  char stamp[kStampSize] = "something";
  const auto seen = observe([&] { return engine.GetHistoryCorrespondingTimeStamp(stamp, -1); });
  EXPECT_EQ(seen.result, -1);
  EXPECT_EQ(seen.output, "ERROR BUFFER TIMESTAMP HISTORY BUFFER\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_STREQ(stamp, "something");
}

TEST(FirstGenerationSlotStamp, SlotBeyondTheRingIsReported) {
  KV_RGBD_CameraCompression engine;
  char stamp[kStampSize] = "something";
  const auto seen =
      observe([&] { return engine.GetHistoryCorrespondingTimeStamp(stamp, 16777217); });
  EXPECT_EQ(seen.result, -1);
  EXPECT_EQ(seen.output, "ERROR BUFFER TIMESTAMP HISTORY BUFFER\n");
  EXPECT_STREQ(stamp, "something");
}

}  // namespace
}  // namespace depth_io::test
