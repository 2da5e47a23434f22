#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "tests/tools/export_fixture.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

class DepthrwExportTable : public DepthrwExportFixture {
 protected:
  std::string table() const { return read_file(path("out/frames.csv")); }

  /// The cells of a row (1: the first frame).
  static std::vector<std::string> cells(const std::string& table, std::size_t row) {
    std::istringstream line(split_lines(table).at(row));
    std::vector<std::string> all;
    for (std::string cell; std::getline(line, cell, ',');) all.push_back(cell);
    if (split_lines(table).at(row).ends_with(',')) all.emplace_back();
    return all;
  }
};

TEST_F(DepthrwExportTable, ALineAFrameTellsWhatIsInItsFiles) {
  record("tree", "2", {"--start", "2014-01-01T08:00:00", "--fps", "10"});
  export_well("out", "csv");
  EXPECT_EQ(split_lines(table())[0],
            "name,time,seconds,bytes_rle,bytes_ref,bytes_jpg,bytes_err,bytes_colour,labels,runs,"
            "error_records,depth_min_m,depth_median_m,depth_max_m,valid_percent,fault");
  const std::vector<std::string> row = cells(table(), 2);
  ASSERT_EQ(row.size(), 16U);
  EXPECT_EQ(row[0], "2014-01-01/08h/00mn/2014-01-01T08-00-00.100000-depth");
  EXPECT_EQ(row[1], "2014-01-01 08:00:00.100");
  EXPECT_EQ(row[2], "1388563200.100000");
  const char* const endings[] = {".rle", ".ref", ".jpg", ".err"};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(row[3 + i], std::to_string(fs::file_size(recorded_file(1, endings[i]))));
  }
  const std::string colour = "rec/2014-01-01/08h/00mn/2014-01-01T08-00-00.100000-bgrimage.jpg";
  EXPECT_EQ(row[7], std::to_string(fs::file_size(path(colour))));
  std::istringstream reference(read_file(recorded_file(1, ".ref")));
  std::string word;
  reference >> word >> word;
  EXPECT_EQ(row[8], word);
  EXPECT_EQ(row[9], split_lines(read_file(recorded_file(1, ".rle")))[0]);
  EXPECT_EQ(row[10], std::to_string((fs::file_size(recorded_file(1, ".err")) - 12) / 3));
  EXPECT_EQ(row[15], "");
}

TEST_F(DepthrwExportTable, DepthsAreThoseOfTheReadings) {
  record("flat", "1", {"--no-colour"});
  export_well("out", "csv");
  std::vector<float> readings;
  const tools::Frame frame = played_frames()[0].frame;
  for (const float z : frame.depth) {
    if (z >= 0.05F) readings.push_back(z);
  }
  std::sort(readings.begin(), readings.end());
  const std::vector<std::string> row = cells(table(), 1);
  EXPECT_NEAR(std::stod(row[11]), readings.front(), 1e-4);
  EXPECT_NEAR(std::stod(row[12]), readings[(readings.size() - 1) / 2], 1e-4);
  EXPECT_NEAR(std::stod(row[13]), readings.back(), 1e-4);
  EXPECT_NEAR(std::stod(row[14]), 100.0 * static_cast<double>(readings.size()) / 307200, 1e-3);
}

TEST_F(DepthrwExportTable, DamagedFramesHaveALineThatTellsWhy) {
  record("flat", "3");
  cut(recorded_file(0, ".rle"));
  fs::remove(path("rec/bgrimage-00000001.jpg"));
  const ProgramResult result = export_to("out", "csv");
  EXPECT_EQ(result.status, 3);
  const std::vector<std::string> lines = split_lines(table());
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_THAT(lines[1], HasSubstr(",,,,,\"'depth-00000000.rle' is cut off, run "));
  EXPECT_THAT(lines[2], testing::EndsWith("\"'bgrimage-00000001.jpg' is missing\""));
  EXPECT_EQ(cells(table(), 2)[7], "0");
  EXPECT_NE(cells(table(), 2)[11], "");
}

TEST_F(DepthrwExportTable, ItGoesToStandardOutputToo) {
  record("flat", "2", {"--no-colour"});
  export_well("out", "csv");
  const ProgramResult result = run_program({"export", path("rec"), "--to", "csv", "--out", "-"});
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_EQ(result.output, table());
}

TEST_F(DepthrwExportTable, AFullStandardOutputIsTold) {
  record("flat", "2", {"--no-colour"});
  const ProgramResult result =
      run_program({"export", path("rec"), "--to", "csv", "--out", "-"}, {.output = Stream::kFull});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("standard output could not be written"));
}

TEST_F(DepthrwExportTable, TimesThatAreNotKnownStayEmpty) {
  record("flat", "1", {"--no-colour"});
  fs::remove(path("rec/recording.json"));
  export_well("out", "csv");
  EXPECT_THAT(split_lines(table())[1], StartsWith("depth-00000000,,,"));
}

TEST_F(DepthrwExportTable, RowsOfAnInterruptedRunAreKept) {
  record("flat", "4", {"--no-colour"});
  export_well("out", "csv");
  const std::string whole = table();
  // Two rows and a half, and one of them marked to be known again.
  std::string part = whole.substr(0, whole.find("\ndepth-00000003") - 10);
  part.replace(part.find("depth-00000001,20"), 17, "depth-00000001,X0");
  write_file(path("out/frames.csv.part"), part);
  fs::remove(path("out/frames.csv"));
  const ProgramResult result = export_to("out", "csv");
  EXPECT_THAT(result.output, HasSubstr("kept       2 of them"));
  std::string wanted = whole;
  wanted.replace(wanted.find("depth-00000001,20"), 17, "depth-00000001,X0");
  EXPECT_EQ(table(), wanted);
  EXPECT_FALSE(fs::exists(path("out/frames.csv.part")));
}

TEST_F(DepthrwExportTable, RowsOfOtherFramesAreNot) {
  record("flat", "2", {"--no-colour"});
  export_well("out", "csv");
  const std::string whole = table();
  for (const char* const rows : {"", "nonsense", "name\n", "depth-00000001,,,\n"}) {
    write_file(path("out/frames.csv"), split_lines(whole)[0] + "\n" + rows);
    export_well("out", "csv");
    EXPECT_EQ(table(), whole) << rows;
  }
}

}  // namespace
}  // namespace depth_io::test
