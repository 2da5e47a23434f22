#pragma once

#include <memory>
#include <string>

#include "tools/frame/frame.h"
#include "tools/recording/recording_info.h"

namespace depth_io::tools {

/// Which frame of its source, and when it was taken.
struct Shot {
  long index = 0;
  Moment moment;
};

/// What the engine made of a frame.
enum class Decision {
  kMotion,   ///< recorded: enough pixels moved
  kPeriod,   ///< recorded: it was time
  kRequest,  ///< recorded: asked for
  kTooSoon,  ///< not recorded: the rate limit
  kNotAsked  ///< not recorded: no reason to
};

inline bool is_recorded(Decision decision) {
  return decision != Decision::kTooSoon && decision != Decision::kNotAsked;
}

/// How an engine is to record. `recording` outlives it.
struct EngineSettings {
  std::string directory;  ///< without "/" at its end
  const RecordingInfo& recording;
  bool verify_writes = false;  ///< read each frame back
};

/// A recording engine of any generation, as the recorder uses it.
class CaptureEngine {
 public:
  CaptureEngine() = default;
  virtual ~CaptureEngine() = default;
  CaptureEngine(const CaptureEngine&) = delete;
  CaptureEngine& operator=(const CaptureEngine&) = delete;

  /// Decides about a frame, records it perhaps, and keeps it in memory. `request`: record it
  /// whatever it shows. False when it was to be written and could not be.
  virtual bool capture(Frame& frame, const Shot& shot, bool request) = 0;
  virtual Decision decision() const = 0;  ///< of the last `capture`

  /// Writes a frame that is still kept in memory; false when that does not work.
  virtual bool save(const Shot& shot) = 0;

  /// Folder of the frame written last: relative to the recording, empty or ending with "/".
  virtual std::string folder() const = 0;

  /// File names begin with the frame's number or time instead of the stem.
  virtual bool reverses_names() const = 0;
};

/// The engine of a layout: its first, second or third generation.
std::unique_ptr<CaptureEngine> make_capture_engine(const EngineSettings& settings);
std::unique_ptr<CaptureEngine> make_flat_engine(const EngineSettings& settings);
std::unique_ptr<CaptureEngine> make_numbered_engine(const EngineSettings& settings);
std::unique_ptr<CaptureEngine> make_tree_engine(const EngineSettings& settings);

/// The engine's own triggers, which all generations set alike.
template <typename Engine>
void set_triggers(Engine& engine, const RecordingInfo& recording) {
  if (recording.motion_percent) {
    engine.USE_FRAME_DIFF = true;
    engine.threshold_pct_motion = static_cast<float>(*recording.motion_percent);
  }
  if (recording.every) {
    engine.Record_period = true;
    engine.Record_period_gap = static_cast<int>(*recording.every);
  }
}

/// Marks the pixels of a depth map ([480*640] metres) that have depth, for the motion measure.
void mark_readings(const float* depth, bool* has_depth);

}  // namespace depth_io::tools
