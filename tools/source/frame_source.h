#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/frame/frame.h"
#include "tools/system/failure.h"

namespace depth_io::tools {

/// Where frames to record come from.
class FrameSource {
 public:
  FrameSource() = default;
  virtual ~FrameSource() = default;
  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;

  /// Number of frames; none for a source that does not end by itself.
  virtual std::optional<long> frame_count() const = 0;
  virtual bool has_colour() const = 0;
  /// When a frame was taken, microseconds since 1970; none when the source does not know.
  virtual std::optional<std::int64_t> time_of(long /*index*/) const { return {}; }

  /// Fills `frame` with the next frame; false at the end. Throws `Failure` when it is damaged,
  /// `SourceStalled` when none comes.
  virtual bool next(Frame& frame) = 0;

  /// Passes over so many frames.
  virtual void skip(long frames) = 0;

  /// A live source sets the pace: a frame's time is when it comes.
  virtual bool is_live() const { return false; }
  /// Frames that a live source delivered so far while nobody took them.
  virtual long frames_missed() const { return 0; }
};

/// A live source went silent.
class SourceStalled : public Failure {
 public:
  explicit SourceStalled(const std::string& message) : Failure(message, kPartial) {}
};

/// A source whose frames can be asked for again, to compare a recording with them.
class IndexedSource : public FrameSource {
 public:
  bool next(Frame& frame) final {
    const std::optional<long> count = frame_count();
    if (count && next_index_ >= *count) return false;
    load(next_index_, frame);
    ++next_index_;
    return true;
  }

  void skip(long frames) final { next_index_ += frames; }

  /// Fills `frame` with frame `index`, the same each time. Throws `Failure` when it is damaged or
  /// there is no such frame.
  virtual void load(long index, Frame& frame) = 0;

 private:
  long next_index_ = 0;
};

}  // namespace depth_io::tools
