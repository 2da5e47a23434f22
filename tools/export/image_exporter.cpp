#include <nlohmann/json.hpp>

#include "tools/export/exporter.h"
#include "tools/frame/depth_units.h"
#include "tools/frame/frame_time.h"
#include "tools/picture/colour_jpeg.h"
#include "tools/picture/png_file.h"
#include "tools/system/files.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

constexpr char kDepthFolder[] = "depth";

/// A directory of depth images and one of colour images, with the lists that a format adds.
class ImageExporter final : public Exporter {
 public:
  explicit ImageExporter(const ExportTask& task)
      : Exporter(task),
        units_(task.settings.units_per_metre),
        colour_folder_(task.settings.format == ExportFormat::kOpen3d ? "color" : "rgb"),
        colour_ending_(task.settings.colour == ColourFiles::kJpeg ? ".jpg" : ".png") {}

  bool needs_colour() const override { return task_.settings.format == ExportFormat::kOpen3d; }

  EarlierFrames begin() override {
    make_directories(path(kDepthFolder));
    if (task_.with_colour) make_directories(path(colour_folder_));
    return {};
  }

  std::vector<std::string> files_of(const ExportFrame& frame, bool with_colour) const override {
    std::vector<std::string> files = {kDepthFolder + ("/" + frame.name) + ".png"};
    if (with_colour) files.push_back(colour_folder_ + "/" + frame.name + colour_ending_);
    return files;
  }

  ExportPiece make(const ReadFrame& read) const override {
    const bool with_colour = task_.with_colour && read.place.recorded->has_colour;
    const std::vector<std::string> files = files_of(read.place, with_colour);
    ExportPiece piece;
    GreyImage image{kFrameWidth, kFrameHeight, std::vector<std::uint16_t>(kFramePixels)};
    piece.readings_lost = units_.convert(read.frame.depth, image.pixels);
    write_grey_png(path(files[0]), image, PngEffort::kFast);
    if (with_colour) write_colour(read, path(files[1]));
    return piece;
  }

  void finish(const std::vector<ExportedFrame>& frames, bool /*is_whole*/) override {
    if (task_.settings.format == ExportFormat::kTum) write_tum_lists(frames);
    // `depthrw record --source images:` takes the images back by this.
    if (task_.settings.format != ExportFormat::kOpen3d) {
      write_file_atomically(path("scale"), format_text("%.17g\n", units_.units_per_metre()));
    }
  }

  void describe_camera(const CameraModel& camera) override {
    if (task_.settings.format != ExportFormat::kOpen3d) return;
    nlohmann::ordered_json root;
    root["width"] = kFrameWidth;
    root["height"] = kFrameHeight;
    // Column by column.
    root["intrinsic_matrix"] = {
        decimal(camera.fx),  0, 0, 0, decimal(camera.fy), 0, decimal(camera.column),
        decimal(camera.row), 1};
    write_file_atomically(path("intrinsic.json"), root.dump(2) + "\n");
  }

 private:
  void write_colour(const ReadFrame& read, const std::string& file) const {
    const Picture picture = picture_of_bgr(read.frame.bgr, kFrameWidth, kFrameHeight);
    if (task_.settings.colour == ColourFiles::kPng) {
      write_colour_png(file, picture, PngEffort::kFast);
    } else {
      write_colour_jpeg(file, picture);
    }
  }

  void write_tum_lists(const std::vector<ExportedFrame>& frames) const {
    std::string depth = "# depth images\n# timestamp filename\n";
    std::string colour = "# colour images\n# timestamp filename\n";
    std::string pairs;  // its readers know no comments
    for (const ExportedFrame& frame : frames) {
      const std::vector<std::string> files = files_of(*frame.place, frame.has_colour);
      const std::string& time = frame.place->name;
      depth += time + " " + files[0] + "\n";
      if (!frame.has_colour) continue;
      colour += time + " " + files[1] + "\n";
      pairs += time + " " + files[1] + " " + time + " " + files[0] + "\n";
    }
    write_file_atomically(path("depth.txt"), depth);
    if (!task_.with_colour) return;
    write_file_atomically(path("rgb.txt"), colour);
    write_file_atomically(path("associations.txt"), pairs);
  }

  DepthUnits units_;
  std::string colour_folder_;
  std::string colour_ending_;
};

}  // namespace

std::unique_ptr<Exporter> make_image_exporter(const ExportTask& task) {
  return std::make_unique<ImageExporter>(task);
}

}  // namespace depth_io::tools
