#include <sys/stat.h>

#include <filesystem>
#include <ostream>

#include "tests/support/camera_fixture.h"
#include "tests/support/memory_limit.h"

// What becomes of each kind of configuration: what `init` answers and prints, with its steps traced
// and without, and what a frame taken all the same says.
namespace depth_io::test {
namespace {

constexpr int kNoMatch = 0x1000A;
constexpr int kCorrupted = 0x10014;
constexpr int kBadExtension = 0x1001B;
constexpr int kNoNodePresent = 0x1001D;
constexpr int kAllocationFailed = 0x20001;
constexpr int kFileNotOpened = 0x20007;
constexpr int kFileNotRead = 0x20009;

/// Of the number in a recording's first lines from which OpenNI takes the size of a table.
constexpr std::size_t kHighestNodeOffset = 20;

constexpr char kBeforeOpening[] = " - DEBUG ASUS - 14\n";
constexpr char kOpened[] = " - DEBUG ASUS - 14\n - DEBUG ASUS - 15\n";

/// A way to make a configuration below a directory; gives its path.
using Maker = std::string (*)(const std::string& directory);

struct Case {
  const char* name;
  Maker make;
  int status;
  const char* word;      ///< printed as the configuration's first; null: it is not looked into
  const char* trace;     ///< of the steps after that
  const char* messages;  ///< why it failed
};

void PrintTo(const Case& opened, std::ostream* out) { *out << opened.name; }

std::string text(const std::string& directory, const std::string& contents) {
  write_file(directory + "/camera.xml", contents);
  return directory + "/camera.xml";
}

std::string nodes(const std::string& directory, const std::string& production_nodes) {
  return text(directory,
              "<OpenNI> <ProductionNodes>" + production_nodes + "</ProductionNodes> </OpenNI>");
}

std::string playing(const std::string& directory, const std::string& recording) {
  return nodes(directory, "<Recording file=\"" + directory + "/" + recording +
                              "\" playbackSpeed=\"0.0\" repeat=\"false\"/>");
}

std::string recording_of(const std::string& directory, const OniCamera& camera) {
  write_oni(directory + "/camera.oni", camera, {pattern_frame(camera, 1)});
  return playing(directory, "camera.oni");
}

std::string cut_recording(const std::string& directory, std::size_t length) {
  const std::string configuration = recording_of(directory, OniCamera());
  std::filesystem::resize_file(directory + "/camera.oni", length);
  return configuration;
}

std::string recording_of_bytes(const std::string& directory, const std::string& bytes) {
  write_file(directory + "/camera.oni", bytes);
  return playing(directory, "camera.oni");
}

const Case kCases[] = {
    {"Missing", [](const std::string& d) { return d + "/missing.xml"; }, -1, nullptr, "",
     "file does not exists\n"},
    {"InAMissingDirectory", [](const std::string& d) { return d + "/missing/camera.xml"; }, -1,
     nullptr, "", "file does not exists\n"},
    {"BelowAFile", [](const std::string& d) { return text(d, "") + "/camera.xml"; }, -1, nullptr,
     "", "file does not exists\n"},
    {"WithoutAName", [](const std::string&) { return std::string(); }, -1, nullptr, "",
     "file does not exists\n"},
    {"NameTooLongForTheSystem",
     [](const std::string& d) { return d + "/" + std::string(5000, 'n'); }, -1, nullptr, "",
     "file does not exists\n"},
    {"Directory", [](const std::string& d) { return d; }, -1, nullptr, "",
     "file does not exists\n"},
    {"Pipe",
     [](const std::string& d) {
       mkfifo((d + "/pipe.xml").c_str(), 0600);
       return d + "/pipe.xml";
     },
     -1, nullptr, "", "file does not exists\n"},
    {"Device", [](const std::string&) { return std::string("/dev/zero"); }, -1, nullptr, "",
     "file does not exists\n"},
    {"LinkToNothing",
     [](const std::string& d) {
       std::filesystem::create_symlink("nothing", d + "/link.xml");
       return d + "/link.xml";
     },
     -1, nullptr, "", "file does not exists\n"},
    {"LargerThanAnyConfiguration",
     [](const std::string& d) {
       const std::string path = text(d, "<OpenNI>");
       std::filesystem::resize_file(path, (64U << 20U) + 1);
       return path;
     },
     -1, nullptr, "", "file does not exists\n"},
    {"Empty", [](const std::string& d) { return text(d, ""); }, kCorrupted, "", kBeforeOpening,
     "Open failed: The file is corrupted!\n"},
    {"Blank", [](const std::string& d) { return text(d, " \n\t \r\n"); }, kCorrupted, "",
     kBeforeOpening, "Open failed: The file is corrupted!\n"},
    {"NotXml", [](const std::string& d) { return text(d, "\n\t hello\vworld\n"); }, kCorrupted,
     "hello", kBeforeOpening, "Open failed: The file is corrupted!\n"},
    {"Binary", [](const std::string& d) { return text(d, std::string("\1\2\0\3", 4)); }, kCorrupted,
     "\1\2", kBeforeOpening, "Open failed: The file is corrupted!\n"},
    {"Malformed", [](const std::string& d) { return text(d, "<OpenNI> <ProductionNodes>"); },
     kCorrupted, "<OpenNI>", kBeforeOpening, "Open failed: The file is corrupted!\n"},
    {"OtherXml", [](const std::string& d) { return text(d, "<Other/>"); }, kNoMatch, "<Other/>",
     kOpened, "Find depth generator failed: No match found\n"},
    {"WithoutNodes", [](const std::string& d) { return text(d, "<OpenNI/>"); }, kNoMatch,
     "<OpenNI/>", kOpened, "Find depth generator failed: No match found\n"},
    {"WithAnEmptyListOfNodes", [](const std::string& d) { return nodes(d, ""); }, kNoMatch,
     "<OpenNI>", kOpened, "Find depth generator failed: No match found\n"},
    {"UnknownNodeType", [](const std::string& d) { return nodes(d, "<Node type=\"Teapot\"/>"); },
     kNoMatch, "<OpenNI>", kBeforeOpening, "Open failed: No match found\n"},
    {"NoDevice",
     [](const std::string& d) { return nodes(d, "<Node type=\"Depth\"/><Node type=\"Image\"/>"); },
     kNoNodePresent, "<OpenNI>", kBeforeOpening,
     "One or more of the following nodes could not be enumerated:\n\n\n"},
    {"RecordingMissing", [](const std::string& d) { return playing(d, "missing.oni"); },
     kFileNotOpened, "<OpenNI>", kBeforeOpening, "Open failed: Failed to open the file!\n"},
    {"RecordingIsADirectory",
     [](const std::string& d) {
       std::filesystem::create_directory(d + "/camera.oni");
       return playing(d, "camera.oni");
     },
     kFileNotRead, "<OpenNI>", kBeforeOpening, "Open failed: Failed to read from the file!\n"},
    {"RecordingOfAnotherKind",
     [](const std::string& d) {
       write_file(d + "/camera.avi", "RIFF");
       return playing(d, "camera.avi");
     },
     kBadExtension, "<OpenNI>", kBeforeOpening, "Open failed: Bad file extension\n"},
    {"RecordingEmpty", [](const std::string& d) { return recording_of_bytes(d, ""); }, kCorrupted,
     "<OpenNI>", kBeforeOpening, "Open failed: The file is corrupted!\n"},
    {"RecordingGarbage",
     [](const std::string& d) { return recording_of_bytes(d, std::string(100000, '\xB7')); },
     kCorrupted, "<OpenNI>", kBeforeOpening, "Open failed: The file is corrupted!\n"},
    {"RecordingCutInItsFirstLines", [](const std::string& d) { return cut_recording(d, 100); },
     kCorrupted, "<OpenNI>", kBeforeOpening, "Open failed: The file is corrupted!\n"},
    {"RecordingCutInAFrame", [](const std::string& d) { return cut_recording(d, 1000000); },
     kCorrupted, "<OpenNI>", kBeforeOpening, "Open failed: The file is corrupted!\n"},
    {"NoDepthNode",
     [](const std::string& d) {
       OniCamera colour_only;
       colour_only.has_depth = false;
       return recording_of(d, colour_only);
     },
     kNoMatch, "<OpenNI>", kOpened, "Find depth generator failed: No match found\n"},
    {"NoImageNode",
     [](const std::string& d) {
       OniCamera depth_only;
       depth_only.has_colour = false;
       return recording_of(d, depth_only);
     },
     kNoMatch, "<OpenNI>", kOpened, "Find image generator failed: No match found\n"},
};

class Opening : public CameraTest, public testing::WithParamInterface<Case> {
 protected:
  std::string configuration_ = GetParam().make(directory().path());
};

TEST_P(Opening, AnswersAndSaysWhy) {
  const Outcome<int> outcome = init(configuration_);
  EXPECT_EQ(outcome.result, GetParam().status);
  EXPECT_EQ(outcome.output, reading(configuration_) + GetParam().messages);
  EXPECT_EQ(outcome.keys, 0);
}

TEST_P(Opening, TracesItsSteps) {
  const Outcome<int> outcome = init(configuration_, 1);
  const char* const word = GetParam().word;
  const std::string check = word == nullptr ? "" : "check '" + std::string(word) + "'\n";
  EXPECT_EQ(outcome.result, GetParam().status);
  EXPECT_EQ(outcome.output,
            kOpenTrace + reading(configuration_) + check + GetParam().trace + GetParam().messages);
  EXPECT_EQ(outcome.keys, 0);
}

TEST_P(Opening, GivesNoFrameAfterItFailed) {
  init(configuration_);
  const Outcome<int> outcome = process();
  EXPECT_EQ(outcome.result, 0);
  EXPECT_THAT(outcome.output, testing::MatchesRegex("UpdateData failed: [^\n]+\n"));
  EXPECT_EQ(outcome.keys, 0);
}

TEST_P(Opening, CanBeFollowedByAGoodOne) {
  init(configuration_);
  const OniCamera camera;
  open(record(camera, 1, "good"));
  process();
  EXPECT_EQ(first_difference(depth_of(reader()), metres(pattern_frame(camera, 1).depth)), kNowhere);
}

INSTANTIATE_TEST_SUITE_P(Configurations, Opening, testing::ValuesIn(kCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

class OpeningGood : public CameraTest {};

TEST_F(OpeningGood, AnswersZero) {
  const std::string configuration = record(OniCamera(), 1);
  const Outcome<int> outcome = init(configuration);
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(outcome.output, reading(configuration));
  EXPECT_EQ(outcome.keys, 0);
}

TEST_F(OpeningGood, TracesItsSteps) {
  const std::string configuration = record(OniCamera(), 1);
  const Outcome<int> outcome = init(configuration, 1);
  EXPECT_EQ(outcome.output, kOpenTrace + reading(configuration) + "check '<OpenNI>'\n" + kOpened +
                                " - DEBUG ASUS - 16\n - DEBUG ASUS - 17\n");
  EXPECT_EQ(outcome.keys, 0);
}

TEST_F(OpeningGood, OtherDebugValuesTraceNothing) {
  const std::string configuration = record(OniCamera(), 1);
  EXPECT_EQ(init(configuration, 2).output, reading(configuration));
}

TEST_F(OpeningGood, ThroughALink) {
  std::filesystem::create_symlink(record(OniCamera(), 1), directory().file("link.xml"));
  EXPECT_EQ(init(directory().file("link.xml")).result, 0);
}

TEST_F(OpeningGood, LeavesThePathAlone) {
  std::string configuration = record(OniCamera(), 1);
  const std::string before = configuration;
  quietly([&] { return reader().init(configuration.data(), 1); });
  EXPECT_EQ(configuration, before);
}

TEST_F(OpeningGood, NoPathIsNoFile) {
  const Outcome<int> outcome = observe([&] { return reader().init(nullptr, 0); });
  EXPECT_EQ(outcome.result, -1);
  EXPECT_EQ(outcome.output, reading("") + "file does not exists\n");
}

TEST_F(OpeningGood, LongFirstWordIsCut) {
  const std::string configuration = file("long.xml", std::string(100000, '#'));
  std::string output = init(configuration, 1).output;
  const std::size_t letters = std::erase(output, '#');
  EXPECT_GE(letters, 100U);
  EXPECT_LE(letters, 4096U);
  EXPECT_EQ(output, kOpenTrace + reading(configuration) + "check ''\n" + kBeforeOpening +
                        "Open failed: The file is corrupted!\n");
}

TEST_F(OpeningGood, RecordingOfMoreNodesThanTheMemoryHoldsIsRefused) {
  if (!MemoryLimit::kPossible) GTEST_SKIP() << "sanitizers need their addresses";
  const std::string configuration = record(OniCamera(), 1);
  std::string bytes = read_file(directory().file("camera.oni"));
  bytes.replace(kHighestNodeOffset, 4, "\xFF\xFF\xFF\x7F");
  write_file(directory().file("camera.oni"), bytes);
  const MemoryLimit limit(rlim_t{1} << 30U);
  const Outcome<int> outcome = init(configuration);
  EXPECT_EQ(outcome.result, kAllocationFailed);
  EXPECT_EQ(outcome.output, reading(configuration) + "Open failed: Memory allocation failed!\n");
}

// No modules are registered on a machine where OpenNI was never set up.
TEST_F(OpeningGood, WithoutAnyModuleThereIsNoNode) {
  const std::string configuration = record(OniCamera(), 1);
  set_openni_home(directory().path());
  const Outcome<int> outcome = init(configuration);
  EXPECT_EQ(outcome.result, kNoNodePresent);
  EXPECT_EQ(
      outcome.output,
      reading(configuration) + "One or more of the following nodes could not be enumerated:\n\n\n");
}

}  // namespace
}  // namespace depth_io::test
