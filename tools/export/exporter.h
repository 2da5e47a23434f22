#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/export/export_frames.h"
#include "tools/frame/camera_model.h"
#include "tools/recording/frame_reader.h"

namespace depth_io::tools {

/// What a frame became.
struct ExportPiece {
  std::string fault;                ///< why it cannot be exported; empty when it can
  std::string bytes;                ///< of a format that makes one file of all frames
  std::uint64_t readings_lost = 0;  ///< deeper than the format holds
};

/// A frame that was read, for an exporter.
struct ReadFrame {
  const ExportFrame& place;
  const Frame& frame;
  const FrameReader& reader;
  // Only an exporter that takes damaged frames gets them.
  bool has_depth = true;            ///< otherwise `frame` holds nothing
  std::vector<std::string> faults;  ///< a sentence each
};

/// An exported frame, for the lists at the end.
struct ExportedFrame {
  const ExportFrame* place;
  bool has_colour;
};

/// The first frames, which one file of an earlier run holds already.
struct EarlierFrames {
  std::size_t count = 0;
  std::size_t damaged = 0;  ///< among them
};

/// What all exporters are given. It outlives them.
struct ExportTask {
  std::string out;  ///< directory, or "-"
  const Recording& recording;
  const ExportSettings& settings;
  const ExportFrames& frames;
  bool with_colour;  ///< the recording has colour images, and they are wanted
  std::optional<EarlierFrames> finished_before;  ///< an earlier run went to the end of these frames
};

/// One format. `make` is called by several threads at once, everything else by one.
class Exporter {
 public:
  explicit Exporter(const ExportTask& task) : task_(task) {}
  virtual ~Exporter() = default;
  Exporter(const Exporter&) = delete;
  Exporter& operator=(const Exporter&) = delete;

  /// A frame that lacks its colour image is no use.
  virtual bool needs_colour() const { return false; }
  /// Colour images are to be decoded.
  virtual bool wants_colour_pixels() const { return task_.with_colour; }
  /// Damaged frames are exported, too, as what is wrong with them.
  virtual bool takes_damaged() const { return false; }

  /// What was exported before the end came too early is of use.
  virtual bool keeps_part() const { return true; }

  /// Makes its folders, or begins its file. Returns with how many frames an earlier run is through
  /// for good: those are not offered. Throws `Failure`.
  virtual EarlierFrames begin() = 0;
  /// Files of a frame, relative to the output: depth and, with colour, the colour image. None when
  /// all frames go into one file.
  virtual std::vector<std::string> files_of(const ExportFrame& frame, bool with_colour) const = 0;
  /// Makes the files of a frame, or its part of the one file. Throws `Failure`.
  virtual ExportPiece make(const ReadFrame& read) const = 0;
  /// Takes the parts in the order of frames. Throws `Failure`.
  virtual void take(const ExportFrame& /*frame*/, const ExportPiece& /*piece*/) {}
  /// Writes what belongs to all frames. `is_whole` is false when frames are still to come.
  /// Throws `Failure`.
  virtual void finish(const std::vector<ExportedFrame>& frames, bool is_whole) = 0;
  /// Describes the camera to other programs. Throws `Failure`.
  virtual void describe_camera(const CameraModel& /*camera*/) {}

 protected:
  std::string path(const std::string& name) const { return task_.out + "/" + name; }

  const ExportTask& task_;
};

/// True when a file was written after all files of a recorded frame.
bool is_newer(const std::string& file, const Recording& recording, const RecordedFrame& frame);

std::unique_ptr<Exporter> make_exporter(const ExportTask& task);
std::unique_ptr<Exporter> make_image_exporter(const ExportTask& task);
std::unique_ptr<Exporter> make_cloud_exporter(const ExportTask& task);
std::unique_ptr<Exporter> make_video_exporter(const ExportTask& task);
std::unique_ptr<Exporter> make_table_exporter(const ExportTask& task);

}  // namespace depth_io::tools
