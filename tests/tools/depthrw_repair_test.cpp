#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "tests/tools/depthrw_fixture.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

class DepthrwRepair : public Depthrw {
 protected:
  /// Two sub-directories, with their catalogue.
  void record_catalogued() {
    record("numbered", "4", {"--per-directory", "2"});
    ASSERT_EQ(run_program({"catalogue", path("rec")}).status, 0);
  }

  std::map<std::string, std::string> contents() const {
    std::map<std::string, std::string> all;
    for (const auto& entry : fs::recursive_directory_iterator(path("rec"))) {
      if (entry.is_regular_file()) all[entry.path()] = read_file(entry.path());
    }
    return all;
  }

  json repair_json() const {
    const ProgramResult result = run_program({"repair", path("rec"), "--json"});
    EXPECT_EQ(result.status, 0) << result.messages;
    return json::parse(result.output);
  }
};

TEST_F(DepthrwRepair, LeavesAGoodCatalogueAsItIs) {
  record_catalogued();
  const auto before = contents();
  const json root = repair_json();
  EXPECT_EQ(root["unchanged"], 5);
  EXPECT_TRUE(root["written"].empty() && root["corrected"].empty() && root["removed"].empty());
  EXPECT_EQ(contents(), before);
}

TEST_F(DepthrwRepair, WritesWhatIsMissingAndCorrectsWhatIsWrong) {
  record_catalogued();
  const auto before = contents();
  fs::remove(path("rec/00000001/list.txt"));
  write_file(path("rec/info.txt"), "nb_sub_dir 7\n");
  const json root = repair_json();
  EXPECT_THAT(root["written"], ElementsAre("00000001/list.txt"));
  EXPECT_THAT(root["corrected"], ElementsAre("info.txt"));
  EXPECT_EQ(contents(), before);
}

TEST_F(DepthrwRepair, RemovesTheCatalogueOfFramesThatAreGone) {
  record_catalogued();
  for (const std::string& file : files_in("rec/00000001")) {
    if (file != "list.txt") fs::remove(path("rec/00000001/" + file));
  }
  const ProgramResult result = run_program({"repair", path("rec")});
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(result.output, HasSubstr("removed    00000001/list.txt"));
  EXPECT_THAT(result.output, HasSubstr("removed    info00000001.txt"));
  EXPECT_EQ(read_file(path("rec/info.txt")), "nb_sub_dir 1\n");
  EXPECT_FALSE(fs::exists(path("rec/00000001/list.txt")));
}

TEST_F(DepthrwRepair, ATreeNeedsNoCatalogue) {
  record("tree", "1");
  const auto before = contents();
  const ProgramResult result = run_program({"repair", path("rec")});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("none is needed"));
  EXPECT_EQ(contents(), before);
}

TEST_F(DepthrwRepair, ADirectoryThatIsNotThereIsAFailure) {
  EXPECT_EQ(run_program({"repair", path("none")}).status, 1);
}

}  // namespace
}  // namespace depth_io::test
