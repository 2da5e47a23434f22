#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "tests/tools/export_fixture.h"
#include "tools/frame/depth_statistics.h"
#include "tools/picture/png_file.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using tools::GreyImage;

/// A data set in the TUM layout, "set", and what becomes of it.
class DepthrwTum : public DepthrwExportFixture {
 protected:
  struct Item {
    std::string depth_time;
    std::uint16_t depth_value;
    std::string colour_time;  ///< empty: none
  };

  void make_set(const std::vector<Item>& items) const {
    fs::create_directories(path("set/depth"));
    fs::create_directories(path("set/rgb"));
    std::string depth = "# depth maps\n# timestamp filename\n";
    std::string colour = "# color images\n";
    for (const Item& item : items) {
      GreyImage image{640, 480, std::vector<std::uint16_t>(640 * 480, item.depth_value)};
      tools::write_grey_png(path("set/depth/" + item.depth_time + ".png"), image);
      depth += item.depth_time + " depth/" + item.depth_time + ".png\n";
      if (item.colour_time.empty()) continue;
      const tools::Picture picture(640, 480, {200, 100, 50});
      tools::write_colour_png(path("set/rgb/" + item.colour_time + ".png"), picture);
      colour += item.colour_time + " rgb/" + item.colour_time + ".png\n";
    }
    write_file(path("set/depth.txt"), depth);
    write_file(path("set/rgb.txt"), colour);
  }

  ProgramResult record_set(const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments = {"record", "--out", path("rec"), "--source",
                                          "images:" + path("set")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run_program(arguments);
  }

  std::vector<std::string> keys() const {
    std::vector<std::string> all;
    for (const Played& played : played_frames()) all.push_back(played.name);
    return all;
  }
};

TEST_F(DepthrwTum, FramesHaveTheTimesOfTheDataSet) {
  make_set({{"1305031102.160407", 5000, "1305031102.175304"},
            {"1305031102.194330", 7500, "1305031102.211214"},
            {"1305031105.226738", 10000, "1305031105.243211"}});
  const ProgramResult result = record_set();
  ASSERT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(keys(), ElementsAre("2011-05-10T12-38-22.160000", "2011-05-10T12-38-22.194000",
                                  "2011-05-10T12-38-25.227000"));
  EXPECT_EQ(description()["times"], "source");
  EXPECT_NEAR(played_frames()[1].frame.depth[1000], 1.5, 0.03);
  EXPECT_TRUE(played_frames()[1].frame.has_colour);
  EXPECT_NEAR(played_frames()[1].frame.bgr[2], 200, 4);
}

TEST_F(DepthrwTum, EvenTimesAreToBeHad) {
  make_set({{"1305031102.16", 5000, "1305031102.16"}, {"1305031109.19", 7500, "1305031109.19"}});
  const struct {
    std::vector<std::string> more;
    std::vector<std::string> wanted;
  } cases[] = {{{"--times", "even", "--start", "2014-01-01T08:00:00", "--fps", "10"},
                {"2014-01-01T08-00-00.000000", "2014-01-01T08-00-00.100000"}},
               {{"--start", "2014-01-01T08:00:00", "--fps", "4"},
                {"2014-01-01T08-00-00.000000", "2014-01-01T08-00-00.250000"}},
               {{"--start", "2014-01-01T08:00:00"},
                {"2014-01-01T08-00-00.000000", "2014-01-01T08-00-07.030000"}},
               {{"--layout", "flat"}, {"00000000", "00000001"}},
               {{"--layout", "flat", "--name-by", "time"},
                {"2011-05-10T12-38-22.160000", "2011-05-10T12-38-29.190000"}}};
  for (const auto& one : cases) {
    const ProgramResult result = record_set(one.more);
    EXPECT_EQ(result.status, 0) << result.messages;
    EXPECT_EQ(keys(), one.wanted) << one.more[0];
    fs::remove_all(path("rec"));
  }
}

TEST_F(DepthrwTum, ItComesBackAsItCame) {
  record("tree", "5", {"--start", "2014-01-01T08:00:59.9"});
  export_well("set", "tum");
  fs::rename(path("rec"), path("first"));
  const ProgramResult again = record_set();
  ASSERT_EQ(again.status, 0) << again.messages;
  export_well("back", "tum");
  ASSERT_EQ(files_in("set/depth"), files_in("back/depth"));
  ASSERT_EQ(read_file(path("set/associations.txt")), read_file(path("back/associations.txt")));
  for (const std::string& name : files_in("set/depth")) {
    const GreyImage before = tools::read_grey_png(path("set/depth/" + name));
    const GreyImage after = tools::read_grey_png(path("back/depth/" + name));
    for (std::size_t i = 0; i < before.pixels.size(); ++i) {
      const auto metres = static_cast<float>(before.pixels[i] / 5000.0);
      const double error = std::abs(before.pixels[i] - after.pixels[i]) / 5000.0;
      ASSERT_LE(error, tools::allowed_error(metres) + 0.5 / 5000) << name << " " << i;
    }
  }
}

TEST_F(DepthrwTum, ARecordingVerifiesAgainstItsDataSet) {
  make_set({{"1305031102.160407", 5000, "1305031102.175304"},
            {"1305031102.194330", 7500, ""},
            {"1305031105.226738", 10000, "1305031105.243211"}});
  const std::string source = "images:" + path("set");
  for (const std::vector<std::string>& more : {std::vector<std::string>{},
                                               {"--no-colour"},
                                               {"--start", "2014-01-01T08:00:00"},
                                               {"--times", "even"},
                                               {"--max-gap", "4"}}) {
    ASSERT_EQ(record_set(more).status, 0);
    const ProgramResult result = run_program({"verify", path("rec"), "--against", source});
    EXPECT_EQ(result.status, 0) << result.messages;
    EXPECT_THAT(result.output, HasSubstr(" 0 outside the tolerance"));
    fs::remove_all(path("rec"));
  }
}

TEST_F(DepthrwTum, AChangedDataSetDoesNotVerify) {
  make_set({{"1305031102.1", 5000, ""}, {"1305031102.2", 7500, ""}});
  ASSERT_EQ(record_set().status, 0);
  make_set({{"1305031102.1", 5000, ""}, {"1305031102.2", 9000, ""}});
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", "images:" + path("set")}).status, 3);
}

TEST_F(DepthrwTum, DepthImagesWithoutAPartnerAreLeftOut) {
  make_set({{"100.00", 5000, "100.02"}, {"101.00", 5000, "101.021"}, {"102.00", 5000, "102.5"}});
  const ProgramResult result = record_set();
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.messages, HasSubstr("2 depth images have no colour image within 0.02 s"));
  EXPECT_EQ(keys().size(), 1U);
  fs::remove_all(path("rec"));
  EXPECT_EQ(record_set({"--max-gap", "0.021"}).status, 0);
  EXPECT_EQ(keys().size(), 2U);
  fs::remove_all(path("rec"));
  EXPECT_EQ(record_set({"--no-colour"}).status, 0);
  EXPECT_EQ(keys().size(), 3U);
}

TEST_F(DepthrwTum, WithoutAnyPairItFails) {
  make_set({{"100.00", 5000, "200.00"}});
  const ProgramResult result = record_set();
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("--max-gap"));
}

TEST_F(DepthrwTum, WithoutAListOfColoursThereIsDepth) {
  make_set({{"100.00", 5000, "100.00"}});
  fs::remove(path("set/rgb.txt"));
  EXPECT_EQ(record_set().status, 0);
  EXPECT_EQ(description()["colour"], false);
}

TEST_F(DepthrwTum, FramesOfOneMillisecondStayApart) {
  make_set({{"100.0001", 5000, ""}, {"100.0002", 6000, ""}, {"100.0003", 7000, ""}});
  ASSERT_EQ(record_set().status, 0);
  EXPECT_THAT(keys(), ElementsAre("1970-01-01T00-01-40.000000", "1970-01-01T00-01-40.001000",
                                  "1970-01-01T00-01-40.002000"));
}

TEST_F(DepthrwTum, ALengthInSecondsGoesByTheTimes) {
  make_set({{"100.0", 5000, ""}, {"100.5", 6000, ""}, {"107.0", 7000, ""}});
  ASSERT_EQ(record_set({"--duration", "5"}).status, 0);
  EXPECT_EQ(keys().size(), 2U);
}

TEST_F(DepthrwTum, ThePaceIsThatOfTheTimes) {
  make_set({{"100.0", 5000, ""}, {"100.3", 6000, ""}, {"100.4", 7000, ""}});
  const auto begin = std::chrono::steady_clock::now();
  ASSERT_EQ(record_set({"--realtime"}).status, 0);
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(passed.count(), 0.4);
}

TEST_F(DepthrwTum, TheScaleOfTheSetHolds) {
  make_set({{"100.0", 5000, ""}});
  write_file(path("set/scale"), "2500\n");
  ASSERT_EQ(record_set().status, 0);
  EXPECT_NEAR(played_frames()[0].frame.depth[0], 2.0, 0.03);
}

TEST_F(DepthrwTum, WrongArgumentsAreRefused) {
  make_set({{"100.0", 5000, ""}});
  const struct {
    std::vector<std::string> more;
    const char* what;
  } cases[] = {{{"--times", "never"}, "--times"},
               {{"--times", "source", "--fps", "10"}, "exclude each other"},
               {{"--times", "source", "--layout", "flat"}, "frames named by time"},
               {{"--max-gap", "-1"}, "--max-gap must be"},
               {{"--max-gap", "nan"}, "--max-gap must be"},
               {{"--start", "9999-12-31T23:59:59"}, "after the year 9999"}};
  for (const auto& wrong : cases) {
    make_set({{"100.0", 5000, ""}, {"200.0", 5000, ""}});
    const ProgramResult result = record_set(wrong.more);
    EXPECT_EQ(result.status, 2) << wrong.what << result.messages;
    EXPECT_THAT(result.messages, HasSubstr(wrong.what));
    EXPECT_FALSE(fs::exists(path("rec")));
  }
}

TEST_F(DepthrwTum, OtherSourcesHaveNoTimesOfTheirOwn) {
  const ProgramResult result = run_program({"record", "--out", path("rec"), "--times", "source"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.messages, HasSubstr("no times of its own"));
}

TEST_F(DepthrwTum, AMissingImageIsTold) {
  make_set({{"100.0", 5000, ""}, {"101.0", 5000, ""}});
  fs::remove(path("set/depth/101.0.png"));
  const ProgramResult result = record_set();
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.messages, HasSubstr("101.0.png"));
}

}  // namespace
}  // namespace depth_io::test
