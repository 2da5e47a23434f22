#include <gtest/gtest.h>

#include <memory>

#include "engine/camera_depth_rw2.h"
#include "engine/camera_depth_rw3.h"
#include "tests/tools/depthrw_fixture.h"
#include "tests/tools/image_directory.h"
#include "tools/system/library_log.h"

namespace depth_io::test {
namespace {

/// The library's own playback finds what the program recorded.
class DepthrwLibrary : public Depthrw {
 protected:
  /// Five frames at 1, 2, ... 5 metres, over a year's end.
  void record_steps(const std::string& layout, const std::vector<std::string>& more = {}) {
    ImageDirectory images;
    for (int i = 0; i < 5; ++i) {
      images.add_depth(std::to_string(i), static_cast<std::uint16_t>(1000 * (i + 1)));
      images.add_colour(std::to_string(i), {200, 100, 50});
    }
    std::vector<std::string> arguments = {"record",
                                          "--out",
                                          path("rec"),
                                          "--layout",
                                          layout,
                                          "--source",
                                          "images:" + images.path(),
                                          "--start",
                                          "2013-12-31T23:59:58",
                                          "--fps",
                                          "1"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    ASSERT_EQ(run_program(arguments).status, 0);
  }

  /// Tells the depth of each frame that an engine reads, until it gives none.
  template <typename Engine>
  std::vector<int> metres_read(Engine& engine, std::size_t most) {
    std::vector<int> metres;
    while (metres.size() < most && engine.Read(0)) {
      metres.push_back(static_cast<int>(engine.DepthMap[1000] + 0.5F));
    }
    return metres;
  }

  tools::LibraryLog log_{false};
};

TEST_F(DepthrwLibrary, TheThirdGenerationPlaysATree) {
  record_steps("tree");
  std::string directory = path("rec");
  std::string depth = "depth";
  std::string colour = "bgrimage";
  KV_RGBD_CameraCompression3_parameters parameters;
  parameters.SetReadMode(2013, 12, 31, 23, 59, 58, 0, 2014, 1, 1, 0, 1, 0, 0);
  parameters.SetDirectory(directory.data());
  parameters.SetDepthStem(depth.data());
  parameters.SetBGRStem(colour.data());
  parameters.SetMaxFPS(-1);
  const auto engine = std::make_unique<KV_RGBD_CameraCompression3>(parameters);
  EXPECT_EQ(metres_read(*engine, 10), (std::vector<int>{1, 2, 3, 4, 5}));
  EXPECT_NEAR(engine->ColourImage[0], 50, 8);
}

TEST_F(DepthrwLibrary, TheSecondGenerationPlaysNumberedDirectories) {
  record_steps("numbered", {"--per-directory", "2"});
  ASSERT_EQ(run_program({"catalogue", path("rec")}).status, 0);
  std::string directory = path("rec");
  std::string depth = "depth";
  std::string colour = "bgrimage";
  KV_RGBD_CameraCompression2_parameters parameters;
  parameters.SetWriteOrRead('R');
  parameters.SetDirectory(directory.data());
  parameters.ActivateSubDirectory();
  parameters.SetDepthStem(depth.data());
  parameters.SetBGRStem(colour.data());
  parameters.SetMaxFPS(-1);
  const auto engine = std::make_unique<KV_RGBD_CameraCompression2>(parameters);
  EXPECT_EQ(metres_read(*engine, 5), (std::vector<int>{1, 2, 3, 4, 5}));
}

}  // namespace
}  // namespace depth_io::test
