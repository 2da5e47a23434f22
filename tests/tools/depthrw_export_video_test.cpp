#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "tests/tools/export_fixture.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using tools::kFramePixels;

class DepthrwExportVideo : public DepthrwExportFixture {
 protected:
  std::string video() const { return path("out/video.mkv"); }

  /// Runs a program through the shell, for its place; the file "decoded" is its output.
  std::string output_of(const std::string& command) const {
    const std::string file = path("decoded");
    EXPECT_EQ(std::system((command + " > " + file + " 2>/dev/null").c_str()), 0) << command;
    return read_file(file);
  }

  /// The frames of a stream as a program for videos decodes them.
  std::string decoded(const std::string& stream, const std::string& format) const {
    return output_of("ffmpeg -v error -i " + video() + " -map 0:" + stream +
                     " -fps_mode passthrough -f rawvideo -pix_fmt " + format + " -");
  }

  /// "codec,pixel format,..." of each stream.
  std::string streams() const {
    return output_of("ffprobe -v error -show_entries stream=codec_name,width,height,pix_fmt" +
                     std::string(" -of csv=p=0 ") + video());
  }

  /// Of the frames of a stream, without what ffprobe tells besides.
  std::vector<double> times(const std::string& stream) const {
    const std::string text = output_of("ffprobe -v error -select_streams " + stream +
                                       " -show_entries frame=pts_time -of csv=p=0 " + video());
    std::vector<double> all;
    for (const std::string& line : split_lines(text)) {
      if (!line.empty()) all.push_back(std::stod(line));
    }
    return all;
  }
};

TEST_F(DepthrwExportVideo, DepthIsLosslessToTheMillimetre) {
  record("tree", "4", {"--start", "2014-01-01T08:00:00"});
  export_well("out", "video");
  EXPECT_EQ(streams(), "ffv1,640,480,gray16le\nh264,640,480,yuv420p\n");
  const std::string bytes = decoded("0", "gray16le");
  const std::vector<Played> played = played_frames();
  ASSERT_EQ(bytes.size(), played.size() * kFramePixels * 2);
  long wrong = 0;
  for (std::size_t i = 0; i < bytes.size() / 2; ++i) {
    std::uint16_t value = 0;
    std::memcpy(&value, bytes.data() + 2 * i, 2);
    const float metres = played[i / kFramePixels].frame.depth[i % kFramePixels];
    const auto wanted = static_cast<std::uint16_t>(
        metres < 0.05F ? 0 : std::lround(static_cast<double>(metres) * 1e3));
    if (value != wanted) ++wrong;
  }
  EXPECT_EQ(wrong, 0);
}

TEST_F(DepthrwExportVideo, ColourLooksAsRecorded) {
  record("tree", "2", {"--start", "2014-01-01T08:00:00"});
  export_well("out", "video");
  const std::string bytes = decoded("1", "bgr24");
  const std::vector<Played> played = played_frames();
  ASSERT_EQ(bytes.size(), played.size() * kFramePixels * 3);
  double error = 0;
  for (std::size_t i = 0; i < kFramePixels * 3; ++i) {
    error += std::abs(static_cast<unsigned char>(bytes[i]) - played[0].frame.bgr[i]);
  }
  EXPECT_LT(error / (kFramePixels * 3), 6);
}

TEST_F(DepthrwExportVideo, FramesHaveTheirTimesGapsIncluded) {
  record("tree", "2", {"--fps", "20", "--start", "2014-01-01T08:00:00"});
  record("tree", "2", {"--fps", "20", "--start", "2014-01-01T08:00:07.123", "--append"});
  export_well("out", "video");
  EXPECT_THAT(times("0"), ElementsAre(0, 0.05, 7.123, 7.173));
  EXPECT_THAT(times("1"), ElementsAre(0, 0.05, 7.123, 7.173));
}

TEST_F(DepthrwExportVideo, AFrameWithoutColourKeepsTheStreamsInStep) {
  record("tree", "3", {"--fps", "10", "--start", "2014-01-01T08:00:00"});
  fs::remove(path("rec/2014-01-01/08h/00mn/2014-01-01T08-00-00.100000-bgrimage.jpg"));
  EXPECT_EQ(export_to("out", "video").status, 3);
  EXPECT_THAT(times("0"), ElementsAre(0, 0.1, 0.2));
  EXPECT_THAT(times("1"), ElementsAre(0, 0.2));
}

TEST_F(DepthrwExportVideo, WithoutColourThereIsOneStream) {
  record("tree", "2", {"--no-colour"});
  export_well("out", "video");
  EXPECT_EQ(streams(), "ffv1,640,480,gray16le\n");
}

TEST_F(DepthrwExportVideo, AFinishedVideoIsKept) {
  record("flat", "2", {"--no-colour"});
  export_well("out", "video");
  const auto time = fs::last_write_time(video());
  const std::string list = read_file(path("out/times.csv"));
  EXPECT_THAT(export_to("out", "video").output, HasSubstr("kept       2 of them"));
  EXPECT_EQ(fs::last_write_time(video()), time);
  EXPECT_EQ(read_file(path("out/times.csv")), list);
  EXPECT_EQ(json_of("out/export.json")["complete"], true);
  fs::remove(video());
  EXPECT_THAT(export_to("out", "video").output, Not(HasSubstr("kept")));
  EXPECT_TRUE(fs::exists(video()));
}

TEST_F(DepthrwExportVideo, AnInterruptedVideoLeavesNothing) {
  record("flat", "60");
  RunningProgram running({"export", path("rec"), "--to", "video", "--out", path("out")});
  while (!running.has_ended() && !fs::exists(path("out/video.mkv.part"))) sleep_seconds(0.001);
  running.send(SIGINT);
  const ProgramResult result = running.wait();
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.output, HasSubstr("exported   0 of 60"));
  EXPECT_THAT(files_in("out"), testing::Not(testing::Contains(HasSubstr("video"))));
  EXPECT_EQ(json_of("out/export.json")["complete"], false);
}

TEST_F(DepthrwExportVideo, AMissingFfmpegIsTold) {
  record("flat", "1", {"--no-colour"});
  const ProgramResult result = run_program({"PATH=" + path("nowhere"), DEPTHRW_PROGRAM, "export",
                                            path("rec"), "--to", "video", "--out", path("out")},
                                           {.program = "/usr/bin/env"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("cannot start 'ffmpeg'"));
  EXPECT_THAT(result.messages, HasSubstr("apt install ffmpeg"));
}

TEST_F(DepthrwExportVideo, AFailingFfmpegIsToldWithItsWords) {
  record("flat", "3", {"--no-colour"});
  fs::create_directory(path("bin"));
  write_file(path("bin/ffmpeg"), "#!/bin/sh\necho the encoder is gone >&2\nexit 1\n");
  fs::permissions(path("bin/ffmpeg"), fs::perms::owner_all);
  const ProgramResult result =
      run_program({"PATH=" + path("bin") + ":/bin", DEPTHRW_PROGRAM, "export", path("rec"), "--to",
                   "video", "--out", path("out")},
                  {.program = "/usr/bin/env"});
  EXPECT_EQ(result.status, 1) << result.output;
  EXPECT_THAT(result.messages, HasSubstr("the encoder is gone"));
  EXPECT_THAT(result.messages, HasSubstr("ffmpeg cannot make the video"));
  EXPECT_FALSE(fs::exists(video()));
}

TEST_F(DepthrwExportVideo, AFullDiskIsTold) {
  record("flat", "8");
  const ProgramResult result =
      run_program({"-c", "trap '' XFSZ; ulimit -f 400; exec \"$0\" \"$@\"", DEPTHRW_PROGRAM,
                   "export", path("rec"), "--to", "video", "--out", path("out")},
                  {.program = "/bin/sh"});
  EXPECT_EQ(result.status, 1) << result.output;
  EXPECT_THAT(result.messages, HasSubstr("ffmpeg cannot make the video"));
  EXPECT_FALSE(fs::exists(video()));
}

}  // namespace
}  // namespace depth_io::test
