#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <sstream>

#include "tests/tools/depthrw_fixture.h"

// What `depthrw verify` finds in recordings that were damaged after they were made.

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

class DepthrwVerify : public Depthrw {
 protected:
  ProgramResult verify(std::vector<std::string> more = {}) const {
    std::vector<std::string> arguments = {"verify", path("rec")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run_program(arguments);
  }

  json verify_json(std::vector<std::string> more = {}) const {
    more.emplace_back("--json");
    return json::parse(verify(std::move(more)).output);
  }

  /// Sets the time of a file so many seconds back.
  void make_older(const std::string& file, int seconds) const {
    const fs::path name = path("rec/" + file);
    fs::last_write_time(name, fs::last_write_time(name) - std::chrono::seconds(seconds));
  }

  static std::string depth_file(int frame, const std::string& ending) {
    return "depth-0000000" + std::to_string(frame) + ending;
  }
};

TEST_F(DepthrwVerify, FindsNothingInGoodRecordings) {
  for (const char* layout : {"flat", "numbered", "tree"}) {
    fs::remove_all(path("rec"));
    record(layout, "3");
    const ProgramResult result = verify();
    EXPECT_EQ(result.status, 0) << layout << result.messages;
    EXPECT_EQ(result.messages, "") << layout;
  }
}

TEST_F(DepthrwVerify, TellsIncompleteFromDamagedFrames) {
  record("flat", "3");
  fs::remove(path("rec/" + depth_file(0, ".ref")));
  write_file(path("rec/" + depth_file(1, ".err")), "nothing");
  const json root = verify_json();
  EXPECT_EQ(root["frames"]["incomplete"], 1);
  EXPECT_EQ(root["frames"]["damaged"], 1);
  EXPECT_EQ(root["bad_frames"][0]["state"], "incomplete");
  EXPECT_EQ(root["bad_frames"][0]["files"][0]["file"], depth_file(0, ".ref"));
  EXPECT_EQ(root["bad_frames"][1]["state"], "damaged");
  EXPECT_EQ(root["bad_frames"][1]["files"][0]["file"], depth_file(1, ".err"));
}

TEST_F(DepthrwVerify, FindsAFrameInTheFolderOfAnotherTime) {
  record("tree", "3", {"--start", "2013-12-31T23:59:00", "--fps", "1"});
  fs::create_directories(path("rec/2013-12-31/22h"));
  fs::rename(path("rec/2013-12-31/23h/59mn"), path("rec/2013-12-31/22h/59mn"));
  const json root = verify_json();
  EXPECT_EQ(root["frames"]["misplaced"], 3);
  EXPECT_EQ(verify().status, 3);
}

TEST_F(DepthrwVerify, FindsAHalfOverwrittenFrame) {
  record("flat", "4");
  for (const char* ending : {".jpg", ".err"}) make_older(depth_file(2, ending), 3600);
  const ProgramResult result = verify();
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.messages, HasSubstr("depth-00000002: looks half overwritten"));
  EXPECT_THAT(result.output, HasSubstr("4 checked, 3 good, 1 bad"));
  EXPECT_THAT(result.output, HasSubstr("1 half overwritten"));
}

TEST_F(DepthrwVerify, FilesThatDifferByLessThanClocksAreInOrder) {
  record("flat", "4");
  make_older(depth_file(2, ".err"), 2);
  EXPECT_EQ(verify().status, 0);
}

TEST_F(DepthrwVerify, CopiesWithTimesOfTheirOwnAreGood) {
  record("flat", "4");
  // Copied kind by kind, with an hour between.
  for (int frame = 0; frame < 4; ++frame) {
    make_older(depth_file(frame, ".jpg"), 3600);
    make_older(depth_file(frame, ".err"), 7200);
  }
  const ProgramResult result = verify();
  EXPECT_EQ(result.status, 0) << result.messages;
}

TEST_F(DepthrwVerify, ForeignFilesInFoldersOfFramesAreStray) {
  record("tree", "1", {"--start", "2013-12-31T23:59:00"});
  write_file(path("rec/notes.txt"), "mine");
  EXPECT_EQ(verify().status, 0);
  write_file(path("rec/2013-12-31/23h/59mn/notes.txt"), "lost");
  const ProgramResult result = verify();
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.messages, HasSubstr("'2013-12-31/23h/59mn/notes.txt' is stray"));
}

TEST_F(DepthrwVerify, CataloguesAreNotStray) {
  record("numbered", "3");
  ASSERT_EQ(run_program({"catalogue", path("rec")}).status, 0);
  const ProgramResult result = verify();
  EXPECT_EQ(result.status, 0) << result.messages;
}

struct DamagedFile {
  const char* name;
  const char* ending;
  std::string (*damage)(const std::string& bytes);
  const char* fault;
};

void PrintTo(const DamagedFile& file, std::ostream* out) { *out << file.name; }

std::string with_word_after(const std::string& text, const std::string& name,
                            const std::string& word) {
  const std::size_t begin = text.find(name + " ") + name.size() + 1;
  return text.substr(0, begin) + word + text.substr(text.find_first_of(" \n", begin));
}

class DamagedFiles : public DepthrwVerify, public testing::WithParamInterface<DamagedFile> {};

TEST_P(DamagedFiles, AreFoundWithTheirFault) {
  record("flat", "1");
  const std::string file = depth_file(0, GetParam().ending);
  write_file(path("rec/" + file), GetParam().damage(read_file(path("rec/" + file))));
  const ProgramResult result = verify();
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.messages, HasSubstr("'" + file + "' " + GetParam().fault));
}

INSTANTIATE_TEST_SUITE_P(
    Verify, DamagedFiles,
    testing::Values(
        DamagedFile{
            "NotANumber", ".ref",
            [](const std::string& file_text) { return with_word_after(file_text, "cx", "nan"); },
            "has a value of cx that is not finite"},
        DamagedFile{"NoFocalLength", ".ref",
                    [](const std::string& file_text) {
                      return with_word_after(file_text, "a22", "0.000000");
                    },
                    "has a focal length a22 of 0"},
        DamagedFile{"FewerLabels", ".ref",
                    [](const std::string& file_text) {
                      return with_word_after(file_text, "nblabels", "0");
                    },
                    "goes on after its end"},
        DamagedFile{"LabelOutOfRange", ".rle",
                    [](const std::string& file_text) {
                      const std::size_t end = file_text.size() - 2;
                      return file_text.substr(0, file_text.rfind(' ') + 1) + "77" +
                             file_text.substr(end);
                    },
                    "has the label 77"},
        DamagedFile{"RecordsMissing", ".err",
                    [](const std::string& bytes) { return bytes.substr(0, 11); },
                    "is cut off in its header"},
        DamagedFile{"ImageCutOff", ".jpg",
                    [](const std::string& bytes) { return bytes.substr(0, bytes.size() - 200); },
                    "is damaged ("},
        DamagedFile{"ImageGoesOn", ".jpg", [](const std::string& bytes) { return bytes + bytes; },
                    "goes on after its end"}),
    [](const auto& file) { return file.param.name; });

TEST_F(DepthrwVerify, QuarantineMovesBadFramesAndKeepsTheirPaths) {
  record("numbered", "3");
  const std::vector<std::string> all = files_in("rec/00000000");
  std::string damaged;
  for (const std::string& file : all) {
    if (file.ends_with(".err")) damaged = file;
  }
  write_file(path("rec/00000000/" + damaged), "");
  const ProgramResult result = verify({"--quarantine", path("aside")});
  EXPECT_EQ(result.status, 3);
  const std::vector<std::string> moved = files_in("aside/00000000");
  EXPECT_THAT(moved, testing::Contains(damaged));
  EXPECT_EQ(moved.size() + files_in("rec/00000000").size(), all.size());
  EXPECT_THAT(result.output, HasSubstr("quarantine 1 frames moved"));
  EXPECT_THAT(verify().output, HasSubstr("2 checked, 2 good, 0 bad, 1 missing"));
}

TEST_F(DepthrwVerify, QuarantineReplacesNothing) {
  record("flat", "2");
  fs::remove(path("rec/" + depth_file(0, ".err")));
  fs::create_directory(path("aside"));
  write_file(path("aside/" + depth_file(0, ".jpg")), "earlier");
  const std::vector<std::string> before = files_in("rec");
  const ProgramResult result = verify({"--quarantine", path("aside")});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.messages, HasSubstr("stays where it is"));
  EXPECT_EQ(files_in("rec"), before);
  EXPECT_EQ(read_file(path("aside/" + depth_file(0, ".jpg"))), "earlier");
}

TEST_F(DepthrwVerify, QuarantineWorksAcrossFileSystems) {
  std::string elsewhere = "/dev/shm/cdrw_XXXXXX";
  ASSERT_NE(mkdtemp(elsewhere.data()), nullptr);
  record("flat", "2");
  fs::remove(path("rec/" + depth_file(0, ".err")));
  const std::string bytes = read_file(path("rec/" + depth_file(0, ".jpg")));
  const ProgramResult result = verify({"--quarantine", elsewhere});
  EXPECT_THAT(result.output, HasSubstr("quarantine 1 frames moved")) << result.messages;
  EXPECT_EQ(read_file(elsewhere + "/" + depth_file(0, ".jpg")), bytes);
  EXPECT_FALSE(fs::exists(path("rec/" + depth_file(0, ".jpg"))));
  fs::remove_all(elsewhere);
}

TEST_F(DepthrwVerify, TheRecordingItselfIsNoQuarantine) {
  record("flat", "1");
  EXPECT_EQ(verify({"--quarantine", path("rec")}).status, 2);
}

TEST_F(DepthrwVerify, OtherSizesAreNotComparedWithASource) {
  record("flat", "1");
  EXPECT_EQ(verify({"--size", "32x24"}).status, 3);
  EXPECT_EQ(verify({"--size", "640x480"}).status, 0);
  EXPECT_EQ(verify({"--size", "32"}).status, 2);
  EXPECT_EQ(verify({"--size", "0x24"}).status, 2);
  EXPECT_EQ(verify({"--size", "32x24", "--against", "synthetic"}).status, 2);
}

}  // namespace
}  // namespace depth_io::test
