#include <cmath>
#include <limits>

#include "engine/camera_depth_rw2.h"
#include "tests/support/engine_fixture.h"

// The settings of the second-generation engine: each setter with its value, flag and messages.
namespace depth_io::test {
namespace {

using Parameters = KV_RGBD_CameraCompression2_parameters;

constexpr char kWantsRecording[] = " - ERROR - ActivateSubDirectory - SetWriteOrRead(W) before\n";
constexpr char kWantsPlayback[] = " - ERROR - ActivateSubDirectory - SetWriteOrRead(R) before\n";
constexpr char kWantsDirectory[] = " - ERROR - ActivateSubDirectory - SetDirectory() before\n";

/// Every setting has a value and a flag that are not the default.
Parameters used_parameters() {
  Parameters parameters;
  Text directory("rec/");
  Text depth("d");
  Text colour("c");
  parameters.SetWriteOrRead('W');
  parameters.SetCameraType(1);
  parameters.SetSizeBuffer(7);
  parameters.SetDirectory(directory);
  parameters.ActivateSubDirectory(25);
  parameters.SetDepthStem(depth);
  parameters.SetBGRStem(colour);
  parameters.SetMaxFPS(4.5F);
  return parameters;
}

void expect_defaults(const Parameters& parameters) {
  EXPECT_EQ(parameters.CameraType, -1);
  EXPECT_FALSE(parameters.CameraType_active);
  EXPECT_EQ(parameters.WriteOrRead, 'X');
  EXPECT_FALSE(parameters.WriteOrRead_active);
  EXPECT_EQ(parameters.SizeBuffer, 1);
  EXPECT_TRUE(parameters.SizeBuffer_active);
  EXPECT_STREQ(parameters.Directory, "");
  EXPECT_FALSE(parameters.Directory_active);
  EXPECT_EQ(parameters.NbFramesPerSubDirectory, 0);
  EXPECT_FALSE(parameters.SubDirectory_active);
  EXPECT_STREQ(parameters.DepthStem, "");
  EXPECT_FALSE(parameters.DepthStem_active);
  EXPECT_STREQ(parameters.BGRStem, "");
  EXPECT_FALSE(parameters.BGRStem_active);
  EXPECT_EQ(parameters.MaxFPS, 0.0F);
  EXPECT_FALSE(parameters.MaxFPS_active);
}

void expect_used(const Parameters& parameters) {
  EXPECT_EQ(parameters.CameraType, 1);
  EXPECT_TRUE(parameters.CameraType_active);
  EXPECT_EQ(parameters.WriteOrRead, 'W');
  EXPECT_TRUE(parameters.WriteOrRead_active);
  EXPECT_EQ(parameters.SizeBuffer, 7);
  EXPECT_TRUE(parameters.SizeBuffer_active);
  EXPECT_STREQ(parameters.Directory, "rec/");
  EXPECT_TRUE(parameters.Directory_active);
  EXPECT_EQ(parameters.NbFramesPerSubDirectory, 25);
  EXPECT_TRUE(parameters.SubDirectory_active);
  EXPECT_STREQ(parameters.DepthStem, "d");
  EXPECT_TRUE(parameters.DepthStem_active);
  EXPECT_STREQ(parameters.BGRStem, "c");
  EXPECT_TRUE(parameters.BGRStem_active);
  EXPECT_EQ(parameters.MaxFPS, 4.5F);
  EXPECT_TRUE(parameters.MaxFPS_active);
}

TEST(SecondGenerationParameters, FreshObjectHasOneFrameOfHistoryAndNothingElseSet) {
  expect_defaults(Parameters{});
}

TEST(SecondGenerationParameters, TextFieldsHaveTheirFixedSizes) {
  EXPECT_EQ(sizeof(Parameters::Directory), 512U);
  EXPECT_EQ(sizeof(Parameters::DepthStem), 256U);
  EXPECT_EQ(sizeof(Parameters::BGRStem), 256U);
}

TEST(SecondGenerationParameters, EverySetterStoresItsValueAndRaisesItsFlag) {
  expect_used(used_parameters());
}

TEST(SecondGenerationParameters, SettersThatAcceptAreSilent) {
  const ConsoleTrace trace = capture_console([] { used_parameters(); });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

// --- Mode ---------------------------------------------------------------------------------------

TEST(SecondGenerationMode, FourLettersCountAsSetAndAreKeptAsGiven) {
  for (const char letter : {'r', 'R', 'w', 'W'}) {
    Parameters parameters;
    const ConsoleTrace trace = capture_console([&] { parameters.SetWriteOrRead(letter); });
    EXPECT_EQ(parameters.WriteOrRead, letter);
    EXPECT_TRUE(parameters.WriteOrRead_active);
    EXPECT_EQ(trace.output, "");
    EXPECT_EQ(trace.keys, 0);
  }
}

TEST(SecondGenerationMode, AnyOtherCharacterIsStoredAndReported) {
  for (const char letter : {'x', 'X', 'a', 'V', '1', ' '}) {
    Parameters parameters;
    const ConsoleTrace trace = capture_console([&] { parameters.SetWriteOrRead(letter); });
    EXPECT_EQ(trace.output,
              std::string("ERROR - ReadOrWrite ") + letter + " wrong, choose R or W\n");
    EXPECT_EQ(trace.keys, 1);
    EXPECT_EQ(parameters.WriteOrRead, letter);
    EXPECT_FALSE(parameters.WriteOrRead_active);
  }
}

TEST(SecondGenerationMode, WrongCharacterAfterAGoodOneIsStoredWithoutAWord) {
  Parameters parameters;
  parameters.SetWriteOrRead('W');
  const ConsoleTrace trace = capture_console([&] { parameters.SetWriteOrRead('x'); });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
  EXPECT_EQ(parameters.WriteOrRead, 'x');
  EXPECT_TRUE(parameters.WriteOrRead_active);
}

TEST(SecondGenerationMode, EachWrongCharacterBeforeAGoodOneIsReported) {
  Parameters parameters;
  const ConsoleTrace trace = capture_console([&] {
    parameters.SetWriteOrRead('a');
    parameters.SetWriteOrRead('b');
  });
  EXPECT_EQ(trace.output,
            "ERROR - ReadOrWrite a wrong, choose R or W\n"
            "ERROR - ReadOrWrite b wrong, choose R or W\n");
  EXPECT_EQ(trace.keys, 2);
}

// --- Camera, ring, rate -------------------------------------------------------------------------

TEST(SecondGenerationCameraType, TwoCamerasAreKnown) {
  for (const int camera : {0, 1}) {
    Parameters parameters;
    const auto seen = observe([&] { return static_cast<bool>(parameters.SetCameraType(camera)); });
    EXPECT_TRUE(seen.result);
    EXPECT_EQ(seen.output, "");
    EXPECT_EQ(seen.keys, 0);
    EXPECT_EQ(parameters.CameraType, camera);
    EXPECT_TRUE(parameters.CameraType_active);
  }
}

TEST(SecondGenerationCameraType, OthersAreRefused) {
  for (const int camera : {-1, 2, 100, std::numeric_limits<int>::min()}) {
    Parameters parameters;
    const auto seen = observe([&] { return static_cast<bool>(parameters.SetCameraType(camera)); });
    EXPECT_FALSE(seen.result);
    EXPECT_EQ(seen.output, "ERROR - camera type " + std::to_string(camera) +
                               " choice error (0 for kinect and 1 for asus)\n");
    EXPECT_EQ(seen.keys, 1);
    EXPECT_EQ(parameters.CameraType, -1);
    EXPECT_FALSE(parameters.CameraType_active);
  }
}

TEST(SecondGenerationCameraType, RefusedNumberLeavesTheEarlierCamera) {
  Parameters parameters;
  parameters.SetCameraType(0);
  quietly([&] { return static_cast<bool>(parameters.SetCameraType(2)); });
  EXPECT_EQ(parameters.CameraType, 0);
  EXPECT_TRUE(parameters.CameraType_active);
}

TEST(SecondGenerationParameters, RingSizeIsNotChecked) {
  for (const int size : {0, -5, std::numeric_limits<int>::max()}) {
    Parameters parameters;
    parameters.SizeBuffer_active = false;
    const ConsoleTrace trace = capture_console([&] { parameters.SetSizeBuffer(size); });
    EXPECT_EQ(parameters.SizeBuffer, size);
    EXPECT_TRUE(parameters.SizeBuffer_active);
    EXPECT_EQ(trace.output, "");
    EXPECT_EQ(trace.keys, 0);
  }
}

TEST(SecondGenerationParameters, RateIsNotChecked) {
  for (const float rate : {0.0F, -3.0F, 8.0F, 1e30F}) {
    Parameters parameters;
    const ConsoleTrace trace = capture_console([&] { parameters.SetMaxFPS(rate); });
    EXPECT_EQ(parameters.MaxFPS, rate);
    EXPECT_TRUE(parameters.MaxFPS_active);
    EXPECT_EQ(trace.output, "");
    EXPECT_EQ(trace.keys, 0);
  }
}

// --- Sub-directories ----------------------------------------------------------------------------

TEST(SecondGenerationSubDirectorySetting, RecordingStoresTheNumberAsItIs) {
  for (const int frames : {1, 0, -4, 25}) {
    Parameters parameters;
    parameters.SetWriteOrRead('W');
    const auto seen =
        observe([&] { return static_cast<bool>(parameters.ActivateSubDirectory(frames)); });
    EXPECT_TRUE(seen.result);
    EXPECT_EQ(seen.output, "");
    EXPECT_EQ(seen.keys, 0);
    EXPECT_EQ(parameters.NbFramesPerSubDirectory, frames);
    EXPECT_TRUE(parameters.SubDirectory_active);
  }
}

TEST(SecondGenerationSubDirectorySetting, RecordingWantsCapitalWBefore) {
  for (const char mode : {'X', 'w', 'R', 'r', 'x'}) {
    Parameters parameters;
    parameters.WriteOrRead = mode;
    parameters.WriteOrRead_active = true;
    const auto seen =
        observe([&] { return static_cast<bool>(parameters.ActivateSubDirectory(25)); });
    EXPECT_FALSE(seen.result) << mode;
    EXPECT_EQ(seen.output, kWantsRecording) << mode;
    EXPECT_EQ(seen.keys, 1) << mode;
    EXPECT_EQ(parameters.NbFramesPerSubDirectory, 0) << mode;
    EXPECT_FALSE(parameters.SubDirectory_active) << mode;
  }
}

TEST(SecondGenerationSubDirectorySetting, LowerCaseWCountsAsSetAndChoosesNoMode) {
  Parameters parameters;
  parameters.SetWriteOrRead('w');
  const auto seen = observe([&] { return static_cast<bool>(parameters.ActivateSubDirectory(3)); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, kWantsRecording);
  EXPECT_EQ(seen.keys, 1);
}

TEST(SecondGenerationSubDirectorySetting, RecordingDoesNotWantTheDirectoryBefore) {
  Parameters parameters;
  parameters.SetWriteOrRead('W');
  EXPECT_TRUE(parameters.ActivateSubDirectory(3));
  EXPECT_FALSE(parameters.Directory_active);
}

TEST(SecondGenerationSubDirectorySetting, PlaybackRaisesTheFlagAndLeavesTheNumber) {
  Parameters parameters;
  Text directory("rec");
  parameters.SetWriteOrRead('R');
  parameters.SetDirectory(directory);
  parameters.NbFramesPerSubDirectory = 9;
  const auto seen = observe([&] { return static_cast<bool>(parameters.ActivateSubDirectory()); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_TRUE(parameters.SubDirectory_active);
  EXPECT_EQ(parameters.NbFramesPerSubDirectory, 9);
}

TEST(SecondGenerationSubDirectorySetting, PlaybackWantsCapitalRBefore) {
  for (const char mode : {'X', 'r', 'W', 'w'}) {
    Parameters parameters;
    Text directory("rec");
    parameters.SetDirectory(directory);
    parameters.WriteOrRead = mode;
    parameters.WriteOrRead_active = true;
    const auto seen = observe([&] { return static_cast<bool>(parameters.ActivateSubDirectory()); });
    EXPECT_FALSE(seen.result) << mode;
    EXPECT_EQ(seen.output, kWantsPlayback) << mode;
    EXPECT_EQ(seen.keys, 1) << mode;
    EXPECT_FALSE(parameters.SubDirectory_active) << mode;
  }
}

TEST(SecondGenerationSubDirectorySetting, PlaybackWantsTheDirectoryBefore) {
  Parameters parameters;
  parameters.SetWriteOrRead('R');
  const auto seen = observe([&] { return static_cast<bool>(parameters.ActivateSubDirectory()); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, kWantsDirectory);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_FALSE(parameters.SubDirectory_active);
}

TEST(SecondGenerationSubDirectorySetting, PlaybackWithoutModeAndDirectoryReportsTheModeOnly) {
  Parameters parameters;
  const auto seen = observe([&] { return static_cast<bool>(parameters.ActivateSubDirectory()); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, kWantsPlayback);
  EXPECT_EQ(seen.keys, 1);
}

TEST(SecondGenerationSubDirectorySetting, RefusalLeavesAnEarlierActivation) {
  Parameters parameters;
  parameters.SetWriteOrRead('W');
  parameters.ActivateSubDirectory(25);
  parameters.SetWriteOrRead('R');
  quietly([&] { return static_cast<bool>(parameters.ActivateSubDirectory(3)); });
  EXPECT_EQ(parameters.NbFramesPerSubDirectory, 25);
  EXPECT_TRUE(parameters.SubDirectory_active);
}

// --- Texts --------------------------------------------------------------------------------------

struct TextSetting {
  const char* name;
  std::size_t size;
  void (*set)(Parameters&, char*);
  char* (*value)(Parameters&);
  bool (*active)(const Parameters&);
};

const TextSetting kTexts[] = {
    {"directory", 512, [](Parameters& p, char* text) { p.SetDirectory(text); },
     [](Parameters& p) { return p.Directory; },
     [](const Parameters& p) { return p.Directory_active; }},
    {"depth stem", 256, [](Parameters& p, char* text) { p.SetDepthStem(text); },
     [](Parameters& p) { return p.DepthStem; },
     [](const Parameters& p) { return p.DepthStem_active; }},
    {"colour stem", 256, [](Parameters& p, char* text) { p.SetBGRStem(text); },
     [](Parameters& p) { return p.BGRStem; }, [](const Parameters& p) { return p.BGRStem_active; }},
};

TEST(SecondGenerationTexts, LongestTextThatFitsIsStoredWhole) {
  for (const TextSetting& setting : kTexts) {
    Parameters parameters;
    Text longest(std::string(setting.size - 1, 'a'));
    const ConsoleTrace trace = capture_console([&] { setting.set(parameters, longest); });
    EXPECT_EQ(setting.value(parameters), longest.str()) << setting.name;
    EXPECT_TRUE(setting.active(parameters)) << setting.name;
    EXPECT_EQ(trace.output, "") << setting.name;
    EXPECT_EQ(trace.keys, 0) << setting.name;
  }
}

TEST(SecondGenerationTexts, LongerTextIsRefusedWithOneErrorLine) {
  for (const TextSetting& setting : kTexts) {
    for (const std::size_t size : {setting.size, setting.size + 1, std::size_t{100'000}}) {
      Parameters parameters;
      Text too_long(std::string(size, 'a'));
      const ConsoleTrace trace = capture_console([&] { setting.set(parameters, too_long); });
      EXPECT_TRUE(is_one_error_line(trace.output)) << setting.name << trace.output;
      EXPECT_EQ(trace.keys, 0) << setting.name;
    }
  }
}

TEST(SecondGenerationTexts, RefusedTextLeavesTheFlagDown) {
  for (const TextSetting& setting : kTexts) {
    Parameters parameters;
    Text too_long(std::string(setting.size, 'a'));
    ConsoleCapture capture;
    setting.set(parameters, too_long);
    capture.stop();
    EXPECT_STREQ(setting.value(parameters), "") << setting.name;
    EXPECT_FALSE(setting.active(parameters)) << setting.name;
  }
}

TEST(SecondGenerationTexts, RefusedTextLeavesTheOldValue) {
  for (const TextSetting& setting : kTexts) {
    Parameters parameters;
    Text old("old");
    Text too_long(std::string(setting.size, 'a'));
    setting.set(parameters, old);
    ConsoleCapture capture;
    setting.set(parameters, too_long);
    capture.stop();
    EXPECT_STREQ(setting.value(parameters), "old") << setting.name;
    EXPECT_TRUE(setting.active(parameters)) << setting.name;
  }
}

TEST(SecondGenerationTexts, NullIsRefusedLikeATextThatDoesNotFit) {
  for (const TextSetting& setting : kTexts) {
    Parameters parameters;
    Text old("old");
    setting.set(parameters, old);
    const ConsoleTrace trace = capture_console([&] { setting.set(parameters, nullptr); });
    EXPECT_TRUE(is_one_error_line(trace.output)) << setting.name << trace.output;
    EXPECT_STREQ(setting.value(parameters), "old") << setting.name;
  }
}

TEST(SecondGenerationTexts, EmptyTextIsStored) {
  for (const TextSetting& setting : kTexts) {
    Parameters parameters;
    Text old("old");
    Text empty("");
    setting.set(parameters, old);
    setting.set(parameters, empty);
    EXPECT_STREQ(setting.value(parameters), "") << setting.name;
    EXPECT_TRUE(setting.active(parameters)) << setting.name;
  }
}

// --- Copies -------------------------------------------------------------------------------------

TEST(SecondGenerationCopy, TakesEveryValueAndFlag) {
  Parameters source = used_parameters();
  Parameters copy;
  copy.SizeBuffer_active = false;
  copy.CopyFrom(source);
  expect_used(copy);
}

TEST(SecondGenerationCopy, OfAFreshObjectResetsAUsedOne) {
  Parameters source;
  Parameters copy = used_parameters();
  copy.SizeBuffer_active = false;
  copy.CopyFrom(source);
  expect_defaults(copy);
}

TEST(SecondGenerationCopy, LeavesTheSource) {
  Parameters source = used_parameters();
  Parameters copy;
  copy.CopyFrom(source);
  expect_used(source);
}

TEST(SecondGenerationCopy, OfAnObjectToItselfChangesNothing) {
  Parameters parameters = used_parameters();
  parameters.CopyFrom(parameters);
  expect_used(parameters);
}

TEST(SecondGenerationCopy, TakesTextsOfFullLength) {
  Parameters source;
  Parameters copy;
  for (const TextSetting& setting : kTexts) {
    Text longest(std::string(setting.size - 1, 'z'));
    setting.set(source, longest);
  }
  copy.CopyFrom(source);
  for (const TextSetting& setting : kTexts) {
    EXPECT_EQ(std::string(setting.value(copy)), std::string(setting.size - 1, 'z'));
  }
}

TEST(SecondGenerationCopy, KeepsRaisedFlagsOfWrongModes) {
  Parameters source;
  Parameters copy;
  source.SetWriteOrRead('w');
  copy.CopyFrom(source);
  EXPECT_EQ(copy.WriteOrRead, 'w');
  EXPECT_TRUE(copy.WriteOrRead_active);
}

}  // namespace
}  // namespace depth_io::test
