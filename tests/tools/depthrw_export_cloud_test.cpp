#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <sstream>

#include "tests/tools/board_scene.h"
#include "tests/tools/export_fixture.h"

namespace depth_io::test {
namespace {

using testing::HasSubstr;
using testing::Not;

struct Point {
  double x;
  double y;
  double z;
  tools::Colour colour;
};

float float_at(const std::string& bytes, std::size_t place) {
  float value = 0;
  std::memcpy(&value, bytes.data() + place, sizeof value);
  return value;
}

/// Reads a cloud as its header describes it, independently of the writer.
std::vector<Point> read_cloud(const std::string& file, bool with_colour = true) {
  const std::string bytes = read_file(file);
  const std::size_t begin = bytes.find("end_header\n") + 11;
  std::istringstream header(bytes.substr(0, begin));
  std::string word;
  std::size_t count = 0;
  std::size_t size = 0;
  while (header >> word) {
    if (word == "vertex") header >> count;
    if (word == "float") size += 4;
    if (word == "uchar") size += 1;
  }
  EXPECT_EQ(size, with_colour ? 15U : 12U);
  EXPECT_EQ(bytes.size(), begin + count * size);
  std::vector<Point> points;
  for (std::size_t place = begin; place + size <= bytes.size(); place += size) {
    Point point{float_at(bytes, place), float_at(bytes, place + 4), float_at(bytes, place + 8), {}};
    const auto channel = [&](std::size_t i) {
      return static_cast<unsigned char>(bytes[place + 12 + i]);
    };
    if (with_colour) point.colour = {channel(0), channel(1), channel(2)};
    points.push_back(point);
  }
  return points;
}

bool is_near(tools::Colour a, tools::Colour b) {
  return std::abs(a.red - b.red) < 60 && std::abs(a.green - b.green) < 60 &&
         std::abs(a.blue - b.blue) < 60;
}

class DepthrwExportCloud : public DepthrwExportFixture {
 protected:
  void record_board(const BoardScene& scene, const std::string& camera_type) {
    const ImageDirectory images;
    scene.write(images);
    const ProgramResult result =
        run_program({"record", "--out", path("rec"), "--layout", "flat", "--camera-type",
                     camera_type, "--source", "images:" + images.path()});
    ASSERT_EQ(result.status, 0) << result.messages;
  }

  std::vector<Point> exported(const std::vector<std::string>& more = {}) {
    export_well("out", "ply", more);
    return read_cloud(path("out/clouds/00000000.ply"));
  }
};

/// The points of the board: flat at its distance, and as wide and high as it is. `up` is -1 where y
/// goes down and z forward.
void expect_board(const std::vector<Point>& points, double up = -1) {
  double left = 1e9;
  double right = -1e9;
  double top = 1e9;
  double bottom = -1e9;
  long misplaced = 0;
  for (const Point& point : points) {
    const double z = -up * point.z;
    const double y = -up * point.y;
    if (z > 2.7) continue;
    EXPECT_NEAR(z, BoardScene::kDistance, 0.031);
    left = std::min(left, point.x);
    right = std::max(right, point.x);
    top = std::min(top, y);
    bottom = std::max(bottom, y);
    if (std::abs(point.x) < 0.05 || std::abs(y) < 0.05) continue;
    const tools::Colour wanted =
        y < 0 ? (point.x < 0 ? BoardScene::kLeftTop : BoardScene::kRightTop)
              : (point.x < 0 ? BoardScene::kLeftBottom : BoardScene::kRightBottom);
    const bool is_edge = std::abs(point.x) > 0.45 || std::abs(y) > 0.45;  // JPEG blurs there
    if (!is_edge && !is_near(point.colour, wanted)) ++misplaced;
  }
  constexpr double kPixel = 2 / 528.0 + 0.5 * 0.031;  // and the tolerance of the depth
  EXPECT_NEAR(left, -0.5, kPixel);
  EXPECT_NEAR(right, 0.5, kPixel);
  EXPECT_NEAR(top, -0.5, kPixel);
  EXPECT_NEAR(bottom, 0.5, kPixel);
  EXPECT_EQ(misplaced, 0);
}

TEST_F(DepthrwExportCloud, ABoardComesOutFlatSquareAndInItsPlace) {
  record_board(kAsusBoard, "1");
  const std::vector<Point> points = exported();
  EXPECT_EQ(points.size(), tools::kFramePixels);
  expect_board(points);
}

TEST_F(DepthrwExportCloud, AxesOfGlGoUpAndBackward) {
  record_board(kAsusBoard, "1");
  expect_board(exported({"--axes", "gl"}), 1);
}

TEST_F(DepthrwExportCloud, AnExchangedPrincipalPointIsPutRight) {
  record_board(kKinectBoard, "0");
  expect_board(exported({"--swap-principal-point"}));
}

TEST_F(DepthrwExportCloud, WithoutThatTheMapsOfTheLibraryHold) {
  record_board(kKinectBoard, "0");
  const std::vector<Point> points = exported();
  // Row 0, column 0: principal point at row 320, column 267.
  EXPECT_NEAR(points[0].x, (0 - 267) * points[0].z / 528.0144, 1e-5);
  EXPECT_NEAR(points[0].y, (0 - 320) * points[0].z / 528.0144, 1e-5);
}

TEST_F(DepthrwExportCloud, EachReadingIsAPointAndHolesAreNone) {
  record("flat", "2", {"--camera-type", "1"});
  export_well("out", "ply");
  const tools::Frame frame = played_frames()[1].frame;
  const std::vector<Point> points = read_cloud(path("out/clouds/00000001.ply"));
  std::size_t next = 0;
  for (std::size_t i = 0; i < tools::kFramePixels; ++i) {
    const float z = frame.depth[i];
    if (z < 0.05F) continue;
    ASSERT_LT(next, points.size());
    const Point& point = points[next++];
    ASSERT_EQ(point.z, z);
    ASSERT_NEAR(point.x, (static_cast<double>(i % 640) - 320) * z / 533, 1e-5);
    ASSERT_NEAR(point.y, (static_cast<double>(i / 640) - 240) * z / 533, 1e-5);
    const tools::Colour colour{frame.bgr[3 * i + 2], frame.bgr[3 * i + 1], frame.bgr[3 * i]};
    ASSERT_EQ(point.colour, colour);
  }
  EXPECT_EQ(next, points.size());
  EXPECT_LT(next, tools::kFramePixels);
}

TEST_F(DepthrwExportCloud, WithoutColourThereIsNone) {
  record("flat", "1", {"--no-colour", "--camera-type", "1"});
  export_well("out", "ply");
  EXPECT_GT(read_cloud(path("out/clouds/00000000.ply"), false).size(), 200000U);
}

TEST_F(DepthrwExportCloud, TheHeaderTellsUnitsAxesAndTime) {
  record("tree", "1", {"--no-colour", "--start", "2014-01-01T08:00:00"});
  export_well("out", "ply");
  const std::string header =
      read_file(path("out/clouds/2014-01-01T08-00-00.000000.ply")).substr(0, 400);
  EXPECT_THAT(header, HasSubstr("ply\nformat binary_little_endian 1.0\n"));
  EXPECT_THAT(header, HasSubstr("comment metres, seen from the camera\n"));
  EXPECT_THAT(header, HasSubstr("comment x right, y down, z forward\n"));
  EXPECT_THAT(header, HasSubstr("comment time 2014-01-01 08:00:00.000\n"));
}

TEST_F(DepthrwExportCloud, HalfACloudIsMadeAnew) {
  record("flat", "2", {"--no-colour"});
  export_well("out", "ply");
  const std::string whole = read_file(path("out/clouds/00000001.ply"));
  cut(path("out/clouds/00000001.ply"));
  EXPECT_THAT(export_to("out", "ply").output, HasSubstr("kept       1 of them"));
  EXPECT_EQ(read_file(path("out/clouds/00000001.ply")), whole);
}

TEST_F(DepthrwExportCloud, IntrinsicsOfNoUseAreADamagedFrame) {
  record("flat", "2", {"--no-colour"});
  const std::string file = recorded_file(1, ".ref");
  std::string text = read_file(file);
  text.replace(text.find("a11 528.014404"), 14, "a11 000.000000");
  write_file(file, text);
  const ProgramResult result = export_to("out", "ply");
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.messages, HasSubstr("'depth-00000001.ref' has a focal length a11 of 0"));
  EXPECT_EQ(files_in("out/clouds").size(), 1U);
}

TEST_F(DepthrwExportCloud, OtherIntrinsicsAreTold) {
  record("flat", "2", {"--no-colour", "--camera-type", "1"});
  const std::string file = recorded_file(1, ".ref");
  std::string text = read_file(file);
  text.replace(text.find("a11 533"), 7, "a11 600");
  write_file(file, text);
  const ProgramResult result = export_to("out", "ply");
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.messages, HasSubstr("1 frames were recorded with other intrinsics"));
}

}  // namespace
}  // namespace depth_io::test
