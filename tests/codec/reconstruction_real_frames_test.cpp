#include "codec/frame_reader.h"
#include "codec/reconstruction_check.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/real_frames.h"

// Every real frame passes the check against the truth, and fails it when its files were altered.
namespace depth_io::test {
namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 480;

class ReconstructionOfRealFrames : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (frames_.count() == 0) GTEST_SKIP() << "no frames in " << frames_.directory();
  }
  void write(std::size_t index) {
    bench_.call.depths = frames_.depth(index);
    ASSERT_EQ(bench_.call.depths.size(), bench_.record.pixels());
    map_x_.clear();
    map_y_.clear();
    for (std::size_t i = 0; i < bench_.call.depths.size(); ++i) {
      const float z = bench_.call.depths[i];
      map_x_.push_back((static_cast<float>(i / kWidth) - bench_.call.cx) * z / bench_.call.a11);
      map_y_.push_back((static_cast<float>(i % kWidth) - bench_.call.cy) * z / bench_.call.a22);
    }
    ASSERT_EQ(bench_.write(), 1) << bench_.console.output;
  }
  bool load_and_check() {
    Text base(bench_.base());
    bool good = false;
    console_ = capture_console([&] {
      const FrameCall& call = bench_.call;
      good = load_compressed_data_vostrel(loaded_.get(), base) &&
             check_camera_depth_refbased(bench_.record.get(), loaded_.get(), map_x_.data(),
                                         map_y_.data(), bench_.call.depths.data(), kWidth, kHeight,
                                         call.a11, call.a22, call.cx, call.cy);
    });
    return good;
  }

  RealFrames frames_{GetParam()};
  WriterBench bench_{kWidth, kHeight, 1.0F};
  OwnedRecord loaded_{kWidth, kHeight};
  std::vector<float> map_x_;
  std::vector<float> map_y_;
  ConsoleTrace console_;
};

TEST_P(ReconstructionOfRealFrames, EveryFramePasses) {
  for (std::size_t i = 0; i < frames_.count(); ++i) {
    ASSERT_NO_FATAL_FAILURE(write(i)) << i;
    EXPECT_TRUE(load_and_check()) << i << ' ' << console_.output;
    EXPECT_EQ(console_.output, "");
  }
}

TEST_P(ReconstructionOfRealFrames, AlteredReferencesAreFound) {
  write(0);
  const std::string good = bench_.bytes(".ref");
  std::string depth = good;
  const std::size_t first = depth.find('\n') + 1;
  depth.replace(first, depth.find('\n', first) - first, "9.000000");
  write_file(bench_.name(".ref"), depth);
  EXPECT_FALSE(load_and_check());
  EXPECT_TRUE(console_.output.starts_with("error reconstructewde depth at ")) << console_.output;

  std::string principal_point = good;
  principal_point.replace(principal_point.find("cy "), 4, "cy 9");
  write_file(bench_.name(".ref"), principal_point);
  EXPECT_FALSE(load_and_check());
  EXPECT_EQ(console_.output, "error reading\n");
  EXPECT_EQ(console_.keys, 1);

  write_file(bench_.name(".ref"), good);
  EXPECT_TRUE(load_and_check());
}

INSTANTIATE_TEST_SUITE_P(Sets, ReconstructionOfRealFrames,
                         ::testing::Values("kinect_kitchen", "kinect_sparse", "realsense_lab",
                                           "realsense_rooms", "synthetic_room"),
                         [](const auto& tested) { return std::string(tested.param); });

}  // namespace
}  // namespace depth_io::test
