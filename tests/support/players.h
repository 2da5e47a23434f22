#pragma once

#include <memory>
#include <string>

#include "tests/support/recorders.h"

// A recording of each generation, and engines that play it.
namespace depth_io::test {

inline constexpr int kPlayedFrames = 3;

/// Close to each other: the third generation looks at every minute between two frames.
inline Moment played_moment(int number) {
  constexpr int kFirstMinute = 5;
  const int minute = kFirstMinute + number;
  return {2013, 4, 9, 14 + minute / 60, minute % 60, 0, 0};
}

/// Plays the frames that the recorder of its generation made.
class Player {
 public:
  explicit Player(int frames) : frames_(frames) {}
  virtual ~Player() = default;
  /// How many frames there are.
  int frames() const { return frames_; }
  /// Goes to the beginning.
  virtual void rewind() = 0;
  /// The next frame; its maps are cleared before.
  virtual bool read() = 0;
  /// Whether a read that gave no frame was the end of the recording.
  virtual bool is_at_end() = 0;
  virtual float* depth() = 0;
  virtual unsigned char* colour() = 0;

 private:
  int frames_;
};

class FirstGenerationPlayer : public Player {
 public:
  FirstGenerationPlayer(const std::string& directory, int frames)
      : Player(frames), folder_(directory + "/") {}
  void rewind() override { next_ = 0; }
  bool read() override {
    if (next_ == frames()) return false;
    const Moment m = played_moment(next_++);
    return engine_.read(depth_.data(), colour_.data(), folder_.data(), depth_stem_.data(),
                        colour_stem_.data(), m.year, m.month, m.day, m.hour, m.minute, m.second,
                        m.millisecond);
  }
  bool is_at_end() override { return next_ == frames(); }
  float* depth() override { return depth_.data(); }
  unsigned char* colour() override { return colour_.data(); }

 private:
  KV_RGBD_CameraCompression engine_;
  std::string folder_;
  std::string depth_stem_ = "depth";
  std::string colour_stem_ = "bgrimage";
  DepthMap depth_ = flat_depth(0.0F);
  ColourImage colour_ = flat_colour(0);
  int next_ = 0;
};

class SecondGenerationPlayer : public Player {
 public:
  SecondGenerationPlayer(const std::string& directory, int frames)
      : Player(frames), directory_(directory) {}
  void rewind() override {
    start_engine(
        engine_,
        {.directory = directory_, .mode = 'R', .colour_stem = "bgrimage", .sub_directories = true});
  }
  bool read() override { return engine_.Read(0); }
  bool is_at_end() override { return engine_.fSubDir_r == nullptr; }
  float* depth() override { return engine_.DepthMap; }
  unsigned char* colour() override { return engine_.ColourImage; }

 private:
  std::string directory_;
  KV_RGBD_CameraCompression2 engine_;
};

class ThirdGenerationPlayer : public Player {
 public:
  ThirdGenerationPlayer(const std::string& directory, int frames) : Player(frames) {
    set_recording(parameters_, directory);
    set_colour(parameters_);
    const Moment a = played_moment(0);
    const Moment b = played_moment(frames);
    EXPECT_TRUE(parameters_.SetReadMode(a.year, a.month, a.day, a.hour, a.minute, a.second,
                                        a.millisecond, b.year, b.month, b.day, b.hour, b.minute,
                                        b.second, b.millisecond));
  }
  void rewind() override { EXPECT_TRUE(engine_.Construct(parameters_)); }
  bool read() override { return engine_.Read(0); }
  bool is_at_end() override { return engine_.REACHED_WANTED_STOP_TIME; }
  float* depth() override { return engine_.DepthMap; }
  unsigned char* colour() override { return engine_.ColourImage; }

 private:
  KV_RGBD_CameraCompression3_parameters parameters_;
  KV_RGBD_CameraCompression3 engine_;
};

inline std::unique_ptr<Player> make_player(int generation, const std::string& directory,
                                           int frames = kPlayedFrames) {
  if (generation == 1) return std::make_unique<FirstGenerationPlayer>(directory, frames);
  if (generation == 2) return std::make_unique<SecondGenerationPlayer>(directory, frames);
  return std::make_unique<ThirdGenerationPlayer>(directory, frames);
}

/// Records what the players play.
inline bool record_to_play(int generation, const std::string& directory,
                           int frames = kPlayedFrames) {
  const auto recorder = make_recorder(generation, directory);
  bool good = true;
  for (int number = 0; number < frames; ++number) {
    recorder->show(number);
    good &= recorder->capture(played_moment(number), true);
  }
  return good;
}

struct Played {
  int frames = 0;
  bool all_are_right = true;  ///< each is one of those that were recorded
  bool came_to_end = false;
};

/// Plays on to the end or to a failure. Wants no memory.
inline Played play(Player& player) {
  constexpr float kNoFrame = -7.0F;
  Played played;
  for (int i = 0; i <= player.frames(); ++i) {
    player.depth()[0] = kNoFrame;
    const bool good = player.read();
    if (good && player.depth()[0] != kNoFrame) {
      ++played.frames;
      bool is_known = false;
      for (int number = 0; number < player.frames(); ++number) {
        is_known |= shows(number, player.depth(), player.colour());
      }
      played.all_are_right &= is_known;
    }
    if (player.is_at_end() || !good) break;
  }
  played.came_to_end = player.is_at_end();
  return played;
}

}  // namespace depth_io::test
