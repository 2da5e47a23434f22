#include <cmath>

#include "tools/export/cloud_file.h"
#include "tools/export/exporter.h"
#include "tools/system/files.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

constexpr char kFolder[] = "clouds";

/// A point cloud of each frame.
class CloudExporter final : public Exporter {
 public:
  explicit CloudExporter(const ExportTask& task) : Exporter(task) {}

  bool needs_colour() const override { return task_.with_colour; }

  EarlierFrames begin() override {
    make_directories(path(kFolder));
    return {};
  }

  std::vector<std::string> files_of(const ExportFrame& frame, bool /*with_colour*/) const override {
    return {kFolder + ("/" + frame.name) + ".ply"};
  }

  ExportPiece make(const ReadFrame& read) const override {
    const Intrinsics recorded = read.reader.intrinsics();
    const bool swapped = task_.settings.swap_principal_point;
    std::vector<CloudPoint> points = points_of(read, recorded);
    if (!points.empty() && !is_usable(camera_model(recorded, swapped))) {
      return {"has no usable intrinsics", {}, 0};
    }
    if (task_.settings.axes == Axes::kGl) turn_to_gl(points);
    write_file_atomically(path(files_of(read.place, task_.with_colour)[0]),
                          cloud_text(points, task_.with_colour, comments(read.place)));
    return {};
  }

  void finish(const std::vector<ExportedFrame>& /*frames*/, bool /*is_whole*/) override {}

 private:
  /// x to the right, y down, z forward.
  std::vector<CloudPoint> points_of(const ReadFrame& read, const Intrinsics& recorded) const {
    std::vector<CloudPoint> points;
    points.reserve(kFramePixels);
    const std::vector<float>& depth = read.frame.depth;
    for (std::size_t i = 0; i < kFramePixels; ++i) {
      if (!(depth[i] >= kLeastExportedReading)) continue;
      CloudPoint point;
      if (task_.settings.swap_principal_point) {
        const auto row = static_cast<float>(i / kFrameWidth);
        const auto column = static_cast<float>(i % kFrameWidth);
        point.x = (column - recorded.cx) * depth[i] / recorded.a22;
        point.y = (row - recorded.cy) * depth[i] / recorded.a11;
      } else {
        // The maps pair rows with X and columns with Y.
        point.x = read.reader.map_y()[i];
        point.y = read.reader.map_x()[i];
      }
      point.z = depth[i];
      const unsigned char* const bgr = read.frame.bgr.data() + 3 * i;
      if (task_.with_colour) point.colour = {bgr[2], bgr[1], bgr[0]};
      points.push_back(point);
    }
    return points;
  }

  static void turn_to_gl(std::vector<CloudPoint>& points) {
    for (CloudPoint& point : points) {
      point.y = -point.y;
      point.z = -point.z;
    }
  }

  std::vector<std::string> comments(const ExportFrame& frame) const {
    const bool is_gl = task_.settings.axes == Axes::kGl;
    std::vector<std::string> lines = {
        "metres, seen from the camera",
        is_gl ? "x right, y up, z backward" : "x right, y down, z forward"};
    const std::string time = time_text(task_.frames, frame);
    if (!time.empty()) lines.push_back("time " + time);
    return lines;
  }
};

}  // namespace

std::unique_ptr<Exporter> make_cloud_exporter(const ExportTask& task) {
  return std::make_unique<CloudExporter>(task);
}

}  // namespace depth_io::tools
