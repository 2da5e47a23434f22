#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <memory>

#include "tools/export/exporter.h"
#include "tools/export/matroska_stream.h"
#include "tools/frame/depth_units.h"
#include "tools/system/child_process.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/interruption.h"
#include "tools/system/library_log.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

constexpr std::size_t kDepthSize = kFramePixels * sizeof(std::uint16_t);

static_assert(std::endian::native == std::endian::little, "depth is written as it is");

/// One Matroska file: a stream of lossless 16-bit depth and one of colour.
class VideoExporter final : public Exporter {
 public:
  explicit VideoExporter(const ExportTask& task)
      : Exporter(task), units_(task.settings.units_per_metre) {}
  ~VideoExporter() override {
    if (ffmpeg_ != nullptr) drop();
  }

  bool keeps_part() const override { return false; }

  EarlierFrames begin() override {
    if (task_.finished_before && is_up_to_date()) return *task_.finished_before;
    check_replaceable(video());
    ffmpeg_ = std::make_unique<ChildProcess>(command(),
                                             "it makes the video (on Debian: apt install ffmpeg)");
    const auto step = static_cast<std::uint64_t>(std::max(task_.frames.median_step, 1.0) * 1e3);
    feed(matroska_header({kFrameWidth, kFrameHeight, task_.with_colour, step}));
    return {};
  }

  std::vector<std::string> files_of(const ExportFrame& /*frame*/,
                                    bool /*with_colour*/) const override {
    return {};
  }

  /// Depth, and colour if there is any.
  ExportPiece make(const ReadFrame& read) const override {
    std::vector<std::uint16_t> depth(kFramePixels);
    ExportPiece piece;
    piece.readings_lost = units_.convert(read.frame.depth, depth);
    piece.bytes.resize(kDepthSize);
    std::memcpy(piece.bytes.data(), depth.data(), kDepthSize);
    if (task_.with_colour && read.frame.has_colour) {
      piece.bytes.append(reinterpret_cast<const char*>(read.frame.bgr.data()),
                         read.frame.bgr.size());
    }
    return piece;
  }

  void take(const ExportFrame& frame, const ExportPiece& piece) override {
    const std::string_view depth = std::string_view(piece.bytes).substr(0, kDepthSize);
    const std::string_view colour = std::string_view(piece.bytes).substr(kDepthSize);
    feed(matroska_cluster_begin(time_in_video(frame), depth.size(), colour.size()));
    feed(matroska_block_begin(1, depth.size()));
    feed(depth);
    if (colour.empty()) return;
    feed(matroska_block_begin(2, colour.size()));
    feed(colour);
  }

  void finish(const std::vector<ExportedFrame>& frames, bool is_whole) override {
    if (ffmpeg_ == nullptr) return;
    if (!is_whole || frames.empty()) {
      drop();
      return;
    }
    if (is_cut_ || !ffmpeg_->finish()) fail();
    ffmpeg_.reset();
    if (std::rename(temporary().c_str(), video().c_str()) != 0) {
      throw Failure("cannot replace '" + video() + "'");
    }
  }

 private:
  std::string video() const { return path("video.mkv"); }
  std::string temporary() const { return video() + ".part"; }

  bool is_up_to_date() const {
    const std::vector<ExportFrame>& frames = task_.frames.frames;
    return std::all_of(frames.begin(), frames.end(), [&](const ExportFrame& frame) {
      return is_newer(video(), task_.recording, *frame.recorded);
    });
  }

  std::vector<std::string> command() const {
    std::vector<std::string> words = {"ffmpeg", "-hide_banner", "-loglevel", "error", "-xerror",
                                      "-y",     "-f",           "matroska",  "-i",    "pipe:0"};
    const auto add = [&words](std::initializer_list<const char*> more) {
      words.insert(words.end(), more.begin(), more.end());
    };
    add({"-map", "0:0", "-c:v:0", "ffv1", "-level:v:0", "3", "-g:v:0", "1", "-slicecrc:v:0", "1",
         "-pix_fmt:v:0", "gray16le", "-metadata:s:v:0", "title=depth, millimetres"});
    if (task_.with_colour) {
      add({"-map", "0:1", "-c:v:1", "libx264", "-crf:v:1", "18", "-bf:v:1", "0", "-pix_fmt:v:1",
           "yuv420p", "-metadata:s:v:1", "title=colour", "-disposition:v:0", "0",
           "-disposition:v:1", "default"});
    }
    // Frames keep their times, to the millisecond; frames in two directions would delay them.
    add({"-fps_mode", "passthrough", "-enc_time_base", "1:1000", "-fflags", "+bitexact", "-flags:v",
         "+bitexact", "-f", "matroska"});
    words.push_back("file:" + temporary());
    return words;
  }

  /// Milliseconds from the first frame on, each later than the one before.
  std::uint64_t time_in_video(const ExportFrame& frame) {
    constexpr std::int64_t kMicroPerMilli = 1000;
    const std::int64_t first = task_.frames.frames.front().microseconds;
    const auto time = static_cast<std::uint64_t>((frame.microseconds - first + kMicroPerMilli / 2) /
                                                 kMicroPerMilli);
    next_time_ = std::max(time, next_time_) + 1;
    return next_time_ - 1;
  }

  void feed(std::string_view bytes) {
    if (is_cut_) return;
    is_cut_ = !ffmpeg_->write(bytes);
    if (is_cut_ && !interrupted()) fail();
  }

  [[noreturn]] void fail() {
    ffmpeg_->finish();
    show_library_lines(ffmpeg_->messages());
    drop();
    throw Failure(interrupted() ? "the video was not finished" : "ffmpeg cannot make the video");
  }

  /// Leaves nothing of an unfinished video behind.
  void drop() {
    ffmpeg_.reset();
    std::remove(temporary().c_str());
  }

  DepthUnits units_;
  std::unique_ptr<ChildProcess> ffmpeg_;
  bool is_cut_ = false;  ///< not everything was taken
  std::uint64_t next_time_ = 0;
};

}  // namespace

std::unique_ptr<Exporter> make_video_exporter(const ExportTask& task) {
  return std::make_unique<VideoExporter>(task);
}

}  // namespace depth_io::tools
