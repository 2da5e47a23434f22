#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "codec/frame_reader.h"
#include "codec/liblinjpeg.h"
#include "engine/camera_depth_rw.h"
#include "engine/camera_depth_rw2.h"
#include "engine/camera_depth_rw3.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/second_generation_fixture.h"
#include "tests/support/stamped_engine_fixture.h"

// Numbered frames that can be told from each other, and engines of every generation that record
// them.
namespace depth_io::test {

// --- Frames -------------------------------------------------------------------------------------

/// Each frame is of another day, hour and minute than the one before, so that every folder of its
/// way is made for it; others of its minute can follow it.
inline Moment moment_of(int number, int second = 0) {
  return {2013 + number / 336 % 20,
          1 + number / 28 % 12,
          1 + number % 28,
          number % 24,
          number % 60,
          second,
          0};
}

inline float left_depth(int number) { return 1.0F + 0.02F * static_cast<float>(number % 40); }
inline float right_depth(int number) { return left_depth(number) + 2.0F; }

/// Two walls; the colour image is noise in a few rows, so that its file takes several writes.
inline void paint(int number, float* depth, unsigned char* colour) {
  for (int row = 0; row < kHeight; ++row) {
    float* const line = depth + std::ptrdiff_t{row} * kWidth;
    std::fill_n(line, kWidth / 2, left_depth(number));
    std::fill_n(line + kWidth / 2, kWidth / 2, right_depth(number));
  }
  std::fill_n(colour, kColourBytes, static_cast<unsigned char>(10 + number % 200));
  std::uint32_t noise = 1;
  for (int i = kColourBytes / 2; i < kColourBytes / 2 + 64 * kWidth * 3; ++i) {
    noise = noise * 1664525U + 1013904223U;
    colour[i] = static_cast<unsigned char>(noise >> 24U);
  }
}

inline void paint_flat(int number, float* depth, unsigned char* colour) {
  std::fill_n(depth, kPixels, left_depth(number));
  std::fill_n(colour, kColourBytes, static_cast<unsigned char>(10 + number % 200));
}

/// Depths so far apart that each opens a label.
inline void paint_ramp(float* depth) {
  constexpr int kLabels = 100;
  float* const row = depth + std::ptrdiff_t{kHeight / 2} * kWidth;
  for (int i = 0; i < kLabels; ++i) row[i] = 5.0F + 1.3F * static_cast<float>(i);
}

inline bool shows(int number, const float* depth, const unsigned char* colour) {
  constexpr float kTolerance = 0.041F;
  const bool has_depth = std::fabs(depth[0] - left_depth(number)) < kTolerance &&
                         std::fabs(depth[kPixels - 1] - right_depth(number)) < kTolerance;
  return has_depth && std::abs(colour[0] - (10 + number % 200)) <= 3 &&
         std::abs(colour[kColourBytes - 1] - (10 + number % 200)) <= 3;
}

inline bool shows_flat(int number, const float* depth, const unsigned char* colour) {
  return std::fabs(depth[kPixels - 1] - left_depth(number)) < 0.041F &&
         std::abs(colour[kColourBytes - 1] - (10 + number % 200)) <= 3;
}

/// Reads frames by themselves, to see whether they are whole.
class FrameLook {
 public:
  /// Whether the files are whole, and `shows` the right frame.
  template <typename Shows>
  bool is_whole(const std::string& base, const std::string& colour_name, const Shows& shows) {
    Text name(base);
    if (!load_compressed_data_vostrel(record_.get(), name)) return false;
    const JpegReadResult colour = read_jpeg_file(colour_name.c_str(), colour_);
    return colour.decoded && colour.warnings == 0 && shows(record_->LoadedDepth, colour_.data());
  }

 private:
  OwnedRecord record_{kWidth, kHeight};
  ColourImage colour_ = flat_colour(0);
};

// --- Recorders ----------------------------------------------------------------------------------

/// An engine of any generation, which records with colour images into `directory`.
class Recorder {
 public:
  explicit Recorder(std::string directory) : directory_(std::move(directory)) {}
  virtual ~Recorder() = default;
  /// Makes a frame the current one.
  virtual void show(int number) = 0;
  /// The same with a frame whose files are small.
  virtual void show_flat(int number) = 0;
  /// Captures it; whether it is in the ring and, if that was asked for, on the disk.
  virtual bool capture(const Moment& m, bool records) = 0;
  virtual bool record_ring(const Moment& start, const Moment& stop) = 0;
  /// Has each frame that is written read back and compared with what should be in it.
  virtual void verify_by_reading_back() = 0;
  /// Puts pixels of very many labels into the current frame, between those that are looked at.
  virtual void add_ramp() = 0;

  /// Whether a frame lies below the directory, whole.
  bool has(int number, const Moment& m) {
    return has_frame(
        m, [&](const float* depth, const unsigned char* c) { return shows(number, depth, c); });
  }
  bool has_flat(int number, const Moment& m) {
    return has_frame(m, [&](const float* depth, const unsigned char* c) {
      return shows_flat(number, depth, c);
    });
  }

  const std::string& directory() const { return directory_; }

 protected:
  /// Where a frame can be.
  virtual std::vector<std::filesystem::path> places_of(const Moment& m) const = 0;

 private:
  template <typename Shows>
  bool has_frame(const Moment& m, const Shows& shows) {
    namespace fs = std::filesystem;
    const std::string stamp = stamp_of(m);
    for (const fs::path& place : places_of(m)) {
      const std::string start = place.string() + "/";
      const bool names_stem_first = fs::exists(start + "depth-" + stamp + ".rle");
      const std::string base = start + (names_stem_first ? "depth-" + stamp : stamp + "-depth");
      const std::string colour =
          start + (names_stem_first ? "bgrimage-" + stamp : stamp + "-bgrimage") + ".jpg";
      if (look_.is_whole(base, colour, shows)) return true;
    }
    return false;
  }

  std::string directory_;
  FrameLook look_;
};

class FirstGenerationRecorder : public Recorder {
 public:
  explicit FirstGenerationRecorder(const std::string& directory, int slots = 4)
      : Recorder(directory), engine_(slots), folder_(directory + "/") {}
  KV_RGBD_CameraCompression& engine() { return engine_; }
  void show(int number) override {
    paint(number, depth_.data(), colour_.data());
    engine_.input(depth_.data(), colour_.data());
  }
  void show_flat(int number) override {
    paint_flat(number, depth_.data(), colour_.data());
    engine_.input(depth_.data(), colour_.data());
  }
  bool capture(const Moment& m, bool records) override {
    if (records) {
      engine_.start_recording(folder_.data(), depth_stem_.data(), colour_stem_.data(), 8);
    } else {
      engine_.stop_recording();
    }
    return apply_at(engine_, 0, m, -1.0F) && engine_.RECORDED == records;
  }
  bool record_ring(const Moment& a, const Moment& b) override {
    return engine_.recording(a.year, a.month, a.day, a.hour, a.minute, a.second, a.millisecond,
                             b.year, b.month, b.day, b.hour, b.minute, b.second, b.millisecond,
                             folder_.data(), depth_stem_.data(), colour_stem_.data(), 0) == 1;
  }
  void verify_by_reading_back() override { engine_.VERIFICATION = 1; }
  void add_ramp() override {
    paint_ramp(depth_.data());
    engine_.input(depth_.data(), colour_.data());
  }

 protected:
  std::vector<std::filesystem::path> places_of(const Moment&) const override {
    return {directory()};
  }

 private:
  KV_RGBD_CameraCompression engine_;
  std::string folder_;
  std::string depth_stem_ = "depth";
  std::string colour_stem_ = "bgrimage";
  DepthMap depth_ = flat_depth(0.0F);
  ColourImage colour_ = flat_colour(0);
};

/// What the two later generations have in common.
template <typename Engine>
class StampedRecorder : public Recorder {
 public:
  using Recorder::Recorder;
  Engine& engine() { return engine_; }
  void show(int number) override { paint(number, engine_.DepthMap, engine_.ColourImage); }
  void show_flat(int number) override { paint_flat(number, engine_.DepthMap, engine_.ColourImage); }
  bool capture(const Moment& m, bool records) override {
    return test::capture(engine_, records, m) && engine_.RECORDED == records;
  }
  bool record_ring(const Moment& start, const Moment& stop) override {
    return record_range(engine_, start, stop);
  }
  void verify_by_reading_back() override { engine_.VERIFICATION = 1; }
  void add_ramp() override { paint_ramp(engine_.DepthMap); }

 protected:
  Engine engine_;
};

/// Two frames in each sub-directory.
class SecondGenerationRecorder : public StampedRecorder<KV_RGBD_CameraCompression2> {
 public:
  explicit SecondGenerationRecorder(const std::string& directory) : StampedRecorder(directory) {
    start_engine(engine_, {.directory = directory,
                           .colour_stem = "bgrimage",
                           .history = 4,
                           .sub_directories = true,
                           .per_directory = 2});
  }

 protected:
  std::vector<std::filesystem::path> places_of(const Moment&) const override {
    const std::filesystem::directory_iterator entries(directory());
    return {begin(entries), end(entries)};
  }
};

class ThirdGenerationRecorder : public StampedRecorder<KV_RGBD_CameraCompression3> {
 public:
  explicit ThirdGenerationRecorder(const std::string& directory) : StampedRecorder(directory) {
    KV_RGBD_CameraCompression3_parameters parameters;
    set_recording(parameters, directory);
    set_colour(parameters);
    parameters.SetSizeBuffer(4);
    EXPECT_TRUE(engine_.Construct(parameters));
  }

 protected:
  std::vector<std::filesystem::path> places_of(const Moment& m) const override {
    char folders[40];
    std::snprintf(folders, sizeof folders, "/%04d-%02d-%02d/%02dh/%02dmn", m.year, m.month, m.day,
                  m.hour, m.minute);
    return {directory() + folders};
  }
};

inline std::unique_ptr<Recorder> make_recorder(int generation, const std::string& directory) {
  if (generation == 1) return std::make_unique<FirstGenerationRecorder>(directory);
  if (generation == 2) return std::make_unique<SecondGenerationRecorder>(directory);
  return std::make_unique<ThirdGenerationRecorder>(directory);
}

}  // namespace depth_io::test
