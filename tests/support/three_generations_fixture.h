#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "engine/camera_depth_rw2.h"
#include "engine/camera_depth_rw3.h"
#include "tests/support/engine_fixture.h"
#include "tests/support/second_generation_fixture.h"

// The same frames recorded and played back by an engine of each generation.
namespace depth_io::test {

/// Frames of a recording are 250 ms apart, so that a few of them go over a minute's end.
inline Moment recording_moment(std::size_t frame) {
  const int milliseconds = 59'000 + 250 * static_cast<int>(frame);
  Moment m{
      2013, 4, 9, 14, 5 + milliseconds / 60'000, milliseconds / 1000 % 60, milliseconds % 1000};
  m.hour += m.minute / 60;
  m.minute %= 60;
  return m;
}

/// Frames are recorded one by one into a directory of each generation.
class ThreeRecorders {
 public:
  ThreeRecorders() {
    Text flat(flat_.slash());
    Text stem("depth");
    Text colour_stem("bgrimage");
    first_.start_recording(flat, stem, colour_stem, 8);
    first_.a11 = first_.a22 = 533.0F;
    first_.cx = 240.0F;
    first_.cy = 320.0F;

    SecondSettings settings;
    settings.directory = numbered_.path();
    settings.colour_stem = "bgrimage";
    settings.sub_directories = true;
    settings.per_directory = 3;
    start_engine(second_, settings);

    KV_RGBD_CameraCompression3_parameters parameters;
    Text tree(tree_.path());
    parameters.SetWriteMode();
    parameters.SetCameraType(1);
    parameters.SetDirectory(tree);
    parameters.SetDepthStem(stem);
    parameters.SetBGRStem(colour_stem);
    parameters.SetMaxFPS(-1.0F);
    EXPECT_TRUE(third_.Construct(parameters));
  }

  void record(const DepthMap& depth, const ColourImage& colour) {
    DepthMap depth_copy = depth;
    ColourImage colour_copy = colour;
    const Moment m = recording_moment(count_);
    fill(second_, depth, colour);
    std::copy(depth.begin(), depth.end(), third_.DepthMap);
    std::copy(colour.begin(), colour.end(), third_.ColourImage);
    ASSERT_TRUE(quietly([&] {
      first_.input(depth_copy.data(), colour_copy.data());
      return apply_at(first_, static_cast<int>(count_), m, -1.0F);
    }));
    ASSERT_TRUE(quietly([&] { return capture_at(second_, true, 0, m); }));
    ASSERT_TRUE(quietly([&] {
      return third_.apply_with_timestamp(true, 0, m.year, m.month, m.day, m.hour, m.minute,
                                         m.second, m.millisecond, 0);
    }));
    ASSERT_TRUE(first_.RECORDED && second_.RECORDED && third_.RECORDED);
    ++count_;
  }

  std::size_t count() const { return count_; }
  const TempDirectory& flat() const { return flat_; }
  const TempDirectory& numbered() const { return numbered_; }
  const TempDirectory& tree() const { return tree_; }

  /// Base names of a frame's files, by generation. They differ in the order of stem and stamp.
  std::vector<std::string> bases(std::size_t frame) const {
    const Moment m = recording_moment(frame);
    const std::string stamp = stamp_of(m);
    char folder[40];
    std::snprintf(folder, sizeof folder, "%04d-%02d-%02d/%02dh/%02dmn/", m.year, m.month, m.day,
                  m.hour, m.minute);
    char number[40];
    std::snprintf(number, sizeof number, "%08zu/", frame / 3);
    return {flat_.file("depth-" + stamp), numbered_.file(number + stamp + "-depth"),
            tree_.file(folder + stamp + "-depth")};
  }

 private:
  TempDirectory flat_;
  TempDirectory numbered_;
  TempDirectory tree_;
  KV_RGBD_CameraCompression first_;
  KV_RGBD_CameraCompression2 second_;
  KV_RGBD_CameraCompression3 third_;
  std::size_t count_ = 0;
};

/// What a player delivers of a frame.
struct PlayedFrame {
  bool played = false;
  DepthMap depth;
  ColourImage colour;
  std::vector<float> intrinsics;
};

/// Plays a recording frame by frame with each generation's own engine.
class ThreePlayers {
 public:
  explicit ThreePlayers(const ThreeRecorders& recorders) : flat_(recorders.flat().slash()) {
    SecondSettings settings;
    settings.mode = 'R';
    settings.directory = recorders.numbered().path();
    settings.colour_stem = "bgrimage";
    settings.sub_directories = true;
    start_engine(second_, settings);

    KV_RGBD_CameraCompression3_parameters parameters;
    Text tree(recorders.tree().path());
    Text stem("depth");
    Text colour_stem("bgrimage");
    const Moment first = recording_moment(0);
    parameters.SetDirectory(tree);
    parameters.SetDepthStem(stem);
    parameters.SetBGRStem(colour_stem);
    parameters.SetMaxFPS(-1.0F);
    parameters.SetReadMode(first.year, first.month, first.day, first.hour, first.minute,
                           first.second, first.millisecond, first.year, first.month, first.day,
                           first.hour + 1, first.minute, first.second, first.millisecond);
    EXPECT_TRUE(third_.Construct(parameters));
  }

  PlayedFrame first(std::size_t frame) {
    const Moment m = recording_moment(frame);
    Text stem("depth");
    Text colour_stem("bgrimage");
    PlayedFrame played;
    played.depth = flat_depth(-1.0F);
    played.colour = flat_colour(0);
    played.played = quietly([&] {
      return first_.read(played.depth.data(), played.colour.data(), flat_, stem, colour_stem,
                         m.year, m.month, m.day, m.hour, m.minute, m.second, m.millisecond);
    });
    played.intrinsics = {first_.a11, first_.a22, first_.cx, first_.cy};
    return played;
  }
  PlayedFrame second() { return next(second_); }
  PlayedFrame third() { return next(third_); }

 private:
  template <typename Engine>
  static PlayedFrame next(Engine& engine) {
    PlayedFrame played;
    played.played = quietly([&] { return engine.Read(0); });
    played.depth.assign(engine.DepthMap, engine.DepthMap + kPixels);
    played.colour.assign(engine.ColourImage, engine.ColourImage + kColourBytes);
    played.intrinsics = {engine.a11, engine.a22, engine.cx, engine.cy};
    return played;
  }

  Text flat_;
  KV_RGBD_CameraCompression first_;
  KV_RGBD_CameraCompression2 second_;
  KV_RGBD_CameraCompression3 third_;
};

/// Plays every frame; what the three engines deliver is the same to the bit.
inline void expect_same_playback(const ThreeRecorders& recorders) {
  ThreePlayers players(recorders);
  for (std::size_t i = 0; i < recorders.count(); ++i) {
    const PlayedFrame first = players.first(i);
    ASSERT_TRUE(first.played) << i;
    for (const PlayedFrame& other : {players.second(), players.third()}) {
      ASSERT_TRUE(other.played) << i;
      EXPECT_TRUE(std::equal(first.depth.begin(), first.depth.end(), other.depth.begin(),
                             [](float a, float b) {
                               return std::bit_cast<std::uint32_t>(a) ==
                                      std::bit_cast<std::uint32_t>(b);
                             }))
          << i;
      EXPECT_TRUE(first.colour == other.colour) << i;
      EXPECT_EQ(first.intrinsics, other.intrinsics) << i;
    }
  }
}

}  // namespace depth_io::test
