#include <algorithm>

#include "codec/frame_names.h"
#include "engine/camera_depth_rw.h"
#include "engine/capture_rules.h"
#include "engine/playback_maps.h"

using depth_io::Moment;
using depth_io::PathText;
using depth_io::print;
using depth_io::print_line;

namespace {

using Engine = KV_RGBD_CameraCompression;

/// Which recorded frame is wanted.
struct Wanted {
  const char* directory;
  bool by_timestamp;
  int number_digits;
  int frame_number;
  Moment moment;
};

/// Name of the wanted frame's files with this stem and ending, in the engine's scratch field; null
/// when it does not fit there.
char* build_name(Engine& engine, const Wanted& wanted, const char* stem, const char* ending) {
  if (wanted.by_timestamp) depth_io::write_stamp(engine.timestamp.buffer, wanted.moment);
  PathText name(sizeof engine.temp_string);
  depth_io::append_frame_name(
      name, wanted.directory, stem, engine.REVERSE_NAME,
      {wanted.by_timestamp, wanted.number_digits, wanted.frame_number, engine.timestamp.buffer});
  name.append(ending);
  if (!name.fits()) return nullptr;
  depth_io::copy_text(engine.temp_string, sizeof engine.temp_string, name.c_str());
  return engine.temp_string;
}

void clear_maps(Engine& engine) {
  engine.MapXd.Init(0.0F);
  engine.MapYd.Init(0.0F);
  engine.MapZd.Init(0.0F);
  engine.MapHasDepth.Init(false);
}

/// Copies the loaded frame into the engine's maps and the caller's.
void take_loaded_frame(Engine& engine, float* depthMap) {
  engine.MapXd.CopyFrom(engine.RW.LoadedMapX);
  engine.MapYd.CopyFrom(engine.RW.LoadedMapY);
  engine.MapZd.CopyFrom(engine.RW.LoadedDepth);
  depth_io::take_intrinsics(engine);
  depth_io::mark_depth({engine.MapZd.buffer, static_cast<std::size_t>(engine.MapZd.N)},
                       engine.MapHasDepth.buffer);
  engine.output_to_cvMat_depth(depthMap);
}

/// Loads a colour image into the engine's and the caller's; the caller's only when it is whole.
bool read_colour(Engine& engine, const char* file_name, unsigned char* bgrImage) {
  engine.COLOUR_IMAGE_ON = true;
  engine.colour_image.Init(0);
  const std::span<unsigned char> image(engine.colour_image.buffer,
                                       static_cast<std::size_t>(engine.colour_image.N));
  if (file_name == nullptr || !depth_io::read_jpeg_file(file_name, image).decoded) return false;
  engine.output_to_cvMat_bgrImage(bgrImage);
  return true;
}

void complain_about_colour() {
  print_line(" - ERROR - KV_RGBD_CameraCompression - loading JpegFileToRGB failed !!!");
}

}  // namespace

bool KV_RGBD_CameraCompression::read(float* depthMap, char* dir_in, char* stem_filename,
                                     int number_digits, int current_frame) {
  return _read(depthMap, dir_in, stem_filename, false, number_digits, current_frame, -1, -1, -1, -1,
               -1, -1, -1) == 1;
}

bool KV_RGBD_CameraCompression::read(float* depthMap, char* dir_in, char* stem_filename, int year,
                                     int month, int day, int hour, int minute, int second,
                                     int millisecond) {
  return _read(depthMap, dir_in, stem_filename, true, -1, -1, year, month, day, hour, minute,
               second, millisecond) == 1;
}

bool KV_RGBD_CameraCompression::read(float* depthMap, char* dir_in, char* stem_filename,
                                     char* stem_stamp) {
  Moment m;
  if (_get_timestamp_from_stamp_stem(dir_in, stem_filename, stem_stamp, m.year, m.month, m.day,
                                     m.hour, m.minute, m.second, m.millisecond) == 0) {
    return false;
  }
  return read(depthMap, dir_in, stem_filename, m.year, m.month, m.day, m.hour, m.minute, m.second,
              m.millisecond);
}

bool KV_RGBD_CameraCompression::read(float* depthMap, unsigned char* bgrImage, char* dir_in,
                                     char* stem_filename, char* stem_rgbimage, int number_digits,
                                     int current_frame) {
  return _read(depthMap, bgrImage, dir_in, stem_filename, stem_rgbimage, false, number_digits,
               current_frame, -1, -1, -1, -1, -1, -1, -1) == 1;
}

bool KV_RGBD_CameraCompression::read(float* depthMap, unsigned char* bgrImage, char* dir_in,
                                     char* stem_filename, char* stem_rgbimage, int year, int month,
                                     int day, int hour, int minute, int second, int millisecond) {
  return _read(depthMap, bgrImage, dir_in, stem_filename, stem_rgbimage, true, -1, -1, year, month,
               day, hour, minute, second, millisecond) == 1;
}

bool KV_RGBD_CameraCompression::read(float* depthMap, unsigned char* bgrImage, char* dir_in,
                                     char* stem_filename, char* stem_rgbimage, char* stem_stamp) {
  print("KV_RGBD_CameraCompression::read - stem_stamp '%s'\n", stem_stamp);
  Moment m;
  if (_get_timestamp_from_stamp_stem(dir_in, stem_filename, stem_stamp, m.year, m.month, m.day,
                                     m.hour, m.minute, m.second, m.millisecond) == 0) {
    return false;
  }
  return read(depthMap, bgrImage, dir_in, stem_filename, stem_rgbimage, m.year, m.month, m.day,
              m.hour, m.minute, m.second, m.millisecond);
}

int KV_RGBD_CameraCompression::_read(float* depthMap, char* dir_in, char* stem_filename,
                                     bool SAVED_WITH_TIMESTAMP, int number_digits,
                                     int current_frame, int year, int month, int day, int hour,
                                     int minute, int second, int millisecond) {
  const Wanted wanted{dir_in,
                      SAVED_WITH_TIMESTAMP,
                      number_digits,
                      current_frame,
                      {year, month, day, hour, minute, second, millisecond}};
  COLOUR_IMAGE_ON = false;
  clear_maps(*this);
  char* const base_name = build_name(*this, wanted, stem_filename, "");
  if (!load_compressed_data(RW, base_name, 0)) {
    print(
        "ERROR KV_RGBD_CameraCompression read - read_compressed at %d stamp %s ('%s'%s' stamp %d "
        "nbdgt %d) failed\n",
        current_frame, timestamp.buffer, dir_in, stem_filename, SAVED_WITH_TIMESTAMP,
        number_digits);
    return 0;
  }
  take_loaded_frame(*this, depthMap);
  return 1;
}

int KV_RGBD_CameraCompression::_read(float* depthMap, unsigned char* bgrImage, char* dir_in,
                                     char* stem_filename, char* stem_rgbimage,
                                     bool SAVED_WITH_TIMESTAMP, int number_digits,
                                     int current_frame, int year, int month, int day, int hour,
                                     int minute, int second, int millisecond) {
  if (_read(depthMap, dir_in, stem_filename, SAVED_WITH_TIMESTAMP, number_digits, current_frame,
            year, month, day, hour, minute, second, millisecond) != 1) {
    return 0;
  }
  const Wanted wanted{dir_in,
                      SAVED_WITH_TIMESTAMP,
                      number_digits,
                      current_frame,
                      {year, month, day, hour, minute, second, millisecond}};
  const char* const colour_name = build_name(*this, wanted, stem_rgbimage, depth_io::kJpegEnding);
  if (read_colour(*this, colour_name, bgrImage)) return 1;
  if (printout == 1) complain_about_colour();
  return 0;
}

int KV_RGBD_CameraCompression::read_for_calib_tool(float* depthMap, char* depth_filename) {
  clear_maps(*this);
  if (!load_compressed_data_vostrel(RW, depth_filename)) {
    print("ERROR KV_RGBD_CameraCompression read - read_compressed '%s' failed\n", depth_filename);
    return 0;
  }
  take_loaded_frame(*this, depthMap);
  return 1;
}

int KV_RGBD_CameraCompression::read_for_calib_tool(float* depthMap, unsigned char* bgrImage,
                                                   char* depth_filename, char* bgr_filename) {
  if (read_for_calib_tool(depthMap, depth_filename) != 1) return 0;
  if (read_colour(*this, bgr_filename, bgrImage)) return 1;
  complain_about_colour();
  return 0;
}
