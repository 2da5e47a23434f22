#pragma once

#include <algorithm>
#include <memory>

#include "bench/support/frame_sets.h"
#include "bench/support/scratch.h"
#include "codec/timestamps.h"
#include "engine/camera_depth_rw.h"
#include "engine/camera_depth_rw2.h"
#include "engine/camera_depth_rw3.h"

/// Engines of the three generations, set up to capture and to record nothing by themselves. They
/// are used alike: `engine`, `construct`, `hold` a frame, `capture` it.
namespace depth_io::bench {

/// Captures follow each other, as a camera's do, 33 ms apart.
inline Moment moment_of_capture(int number) {
  const int seconds = number / 30;
  return {2026, 11, 21, 10, seconds / 60 % 60, seconds % 60, number % 30 * 33};
}

template <typename Parameters>
Parameters recording_settings(Scratch& scratch, int slots) {
  char depth_stem[] = "depth";
  char colour_stem[] = "bgrimage";
  Parameters parameters;
  parameters.SetCameraType(0);
  parameters.SetSizeBuffer(slots);
  parameters.SetDirectory(scratch.slash());
  parameters.SetDepthStem(depth_stem);
  parameters.SetBGRStem(colour_stem);
  parameters.SetMaxFPS(-1.0F);
  return parameters;
}

struct FirstGeneration {
  static constexpr char kName[] = "first generation";
  KV_RGBD_CameraCompression engine;

  void construct(Scratch& /*scratch*/, int slots) { engine.Construct(slots); }
  void hold(const Frame& frame) {
    engine.input(const_cast<float*>(frame.depth.data()),
                 const_cast<unsigned char*>(frame.bgr.data()));
  }
  bool capture(int number) {
    const Moment m = moment_of_capture(number);
    return engine.apply_with_timestamp(number, m.year, m.month, m.day, m.hour, m.minute, m.second,
                                       m.millisecond, -1.0F, 0);
  }
};

struct SecondGeneration {
  static constexpr char kName[] = "second generation";
  KV_RGBD_CameraCompression2 engine;

  void construct(Scratch& scratch, int slots) {
    auto settings = recording_settings<KV_RGBD_CameraCompression2_parameters>(scratch, slots);
    settings.SetWriteOrRead('W');
    engine.Construct(settings);
  }
  void hold(const Frame& frame) {
    std::copy(frame.depth.begin(), frame.depth.end(), engine.DepthMap);
    std::copy(frame.bgr.begin(), frame.bgr.end(), engine.ColourImage);
  }
  bool capture(int number) {
    const Moment m = moment_of_capture(number);
    return engine.apply_with_timestamp(false, number, m.year, m.month, m.day, m.hour, m.minute,
                                       m.second, m.millisecond, 0);
  }
};

struct ThirdGeneration {
  static constexpr char kName[] = "third generation";
  KV_RGBD_CameraCompression3 engine;

  void construct(Scratch& scratch, int slots) {
    auto settings = recording_settings<KV_RGBD_CameraCompression3_parameters>(scratch, slots);
    settings.SetWriteMode();
    engine.Construct(settings);
  }
  void hold(const Frame& frame) {
    std::copy(frame.depth.begin(), frame.depth.end(), engine.DepthMap);
    std::copy(frame.bgr.begin(), frame.bgr.end(), engine.ColourImage);
  }
  bool capture(int number) {
    const Moment m = moment_of_capture(number);
    return engine.apply_with_timestamp(false, number, m.year, m.month, m.day, m.hour, m.minute,
                                       m.second, m.millisecond, 0);
  }
};

}  // namespace depth_io::bench
