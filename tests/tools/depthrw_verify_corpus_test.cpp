#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "tests/tools/depthrw_fixture.h"

// Each frame of tests/data/bad as a recording: `depthrw verify` finds all that is damaged.

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

const std::string kBadFrames = std::string(CAMERA_DEPTH_RW_TEST_DATA) + "/bad";

/// Cases that are as the format says, and why.
const std::map<std::string, std::string> kGoodCases = {
    {"good_flat", "whole"},
    {"good_two_halves", "whole"},
    {"good_masked_everywhere", "whole: no pixel needs a label"},
    {"good_upper_half_masked", "whole"},
    {"good_with_corrections", "whole"},
    {"code_image_progressive", "a one-component JPEG of the frame's size, of another kind"},
    {"code_image_of_64_scans", "a one-component JPEG of the frame's size, of another kind"},
    {"corrections_code_0", "code 0 is the nearest depth of its label's window"},
};

class MalformedRecording : public testing::TestWithParam<std::string> {};

std::vector<std::string> corpus_cases() {
  std::vector<std::string> cases;
  for (const auto& entry : fs::directory_iterator(kBadFrames)) {
    if (entry.is_directory()) cases.push_back(entry.path().filename());
  }
  std::sort(cases.begin(), cases.end());
  return cases;
}

TEST_P(MalformedRecording, IsFoundUnlessItIsAsTheFormatSays) {
  const TempDirectory recording;
  for (const auto& entry : fs::directory_iterator(kBadFrames + "/" + GetParam())) {
    const std::string ending = entry.path().extension();
    fs::copy(entry.path(), recording.file("depth-00000000" + ending),
             fs::copy_options::copy_symlinks | fs::copy_options::recursive);
  }
  const ProgramResult result =
      run_program({"verify", recording.path(), "--size", "32x24", "--json"});
  const bool is_good = kGoodCases.contains(GetParam());
  EXPECT_EQ(result.status, is_good ? 0 : 3) << result.messages;
  const auto root = nlohmann::json::parse(result.output, nullptr, false);
  ASSERT_FALSE(root.is_discarded()) << result.messages;
  EXPECT_EQ(root["frames"]["incomplete"].get<int>() + root["frames"]["damaged"].get<int>(),
            is_good ? 0 : 1);
  EXPECT_TRUE(root["strays"].empty()) << result.messages;
}

INSTANTIATE_TEST_SUITE_P(BadFrames, MalformedRecording, testing::ValuesIn(corpus_cases()),
                         [](const auto& name) { return name.param; });

TEST(MalformedRecordings, AreEightyOrMore) { EXPECT_GE(corpus_cases().size(), 80U); }

}  // namespace
}  // namespace depth_io::test
