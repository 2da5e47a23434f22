#include "engine/camera_depth_rw.h"

#include <algorithm>
#include <cstring>

#include "engine/capture_rules.h"

using depth_io::print_line;

namespace {

using Engine = KV_RGBD_CameraCompression;

/// Everything that `Construct` allocates.
void release_buffers(Engine& engine) {
  depth_io::release_record(engine.RW);
  depth_io::release_history(engine);
  engine.timestamp.Kill();
  engine.MapXd.Kill();
  engine.MapYd.Kill();
  engine.MapZd.Kill();
  engine.MapHasDepth.Kill();
  engine.prev_MapHasDepth.Kill();
  engine.colour_image.Kill();
  engine.DisplayMovingFrame.Kill();
  engine.tempF.Kill();
  engine.tempUS.Kill();
}

void allocate_current_frame(Engine& engine) {
  engine.timestamp.Create(depth_io::kStampSize);
  InitStruct(engine.RW);
  Allocate(engine.RW, engine.WW, engine.HH);
  if (engine.Debug == 1) print_line("DEBUG - init - more alloc");
  engine.a11 = 0.0F;
  engine.a22 = 0.0F;
  engine.cx = 0.0F;
  engine.cy = 0.0F;
  engine.MapZd.Create(depth_io::kFramePixels);
  engine.MapXd.Create(depth_io::kFramePixels);
  engine.MapYd.Create(depth_io::kFramePixels);
  engine.MapHasDepth.Create(depth_io::kFramePixels);
  engine.MapHasDepth.Init(false);
  engine.prev_MapHasDepth.Create(depth_io::kFramePixels);
  engine.prev_MapHasDepth.Init(false);
  engine.colour_image.Create(depth_io::kColourBytes);
  engine.COLOUR_IMAGE_ON = false;
  if (engine.Debug == 1) print_line("DEBUG - init - done");
}

void set_recording_defaults(Engine& engine) {
  engine.Record = false;
  depth_io::copy_text(engine.Record_directory, sizeof engine.Record_directory, "./");
  depth_io::copy_text(engine.Record_stem_depth, sizeof engine.Record_stem_depth, "depth");
  depth_io::copy_text(engine.Record_stem_bgr, sizeof engine.Record_stem_bgr, "bgrimage");
  engine.Record_number_digits = 8;
}

void set_capture_defaults(Engine& engine) {
  engine.USE_FRAME_DIFF = false;
  engine.DisplayMovingFrame.Create(depth_io::kFramePixels);
  engine.threshold_motion_contrast = 0.1F;
  engine.threshold_pct_motion = 0.5F;
  engine.pct_moving = 0.0F;
  engine.Record_period = false;
  engine.Record_period_gap = 100;
  engine.last_time_recorded_at = 0;
  depth_io::set_last_time_recorded(engine, {-1, -1, -1, -1, -1, -1, -1});
}

bool fits(const char* text, std::size_t size) {
  return text != nullptr && strnlen(text, size) < size;
}

}  // namespace

KV_RGBD_CameraCompression::KV_RGBD_CameraCompression() { Construct(1); }

KV_RGBD_CameraCompression::KV_RGBD_CameraCompression(int SizeBuffer) { Construct(SizeBuffer); }

KV_RGBD_CameraCompression::~KV_RGBD_CameraCompression() { depth_io::release_record(RW); }

void KV_RGBD_CameraCompression::Construct(int SizeBuffer) {
  release_buffers(*this);
  try {
    REVERSE_NAME = false;
    RECORDED = false;
    INITIALISED = false;
    HistoryCounter = 0;
    VERIFICATION = 0;
    printout = 0;
    Debug = 0;
    WW = depth_io::kFrameWidth;
    HH = depth_io::kFrameHeight;
    allocate_current_frame(*this);
    set_recording_defaults(*this);
    SizeHistory = SizeBuffer;
    HistoryModCounter = 0;
    depth_io::create_history(*this, SizeHistory);
    set_capture_defaults(*this);
    tempUS.Create(depth_io::kFramePixels);
    tempF.Create(depth_io::kFramePixels);
  } catch (...) {
    release_buffers(*this);
    throw;
  }
}

void KV_RGBD_CameraCompression::release() {}

void KV_RGBD_CameraCompression::start_recording(char* directory, char* stem, int number_digits) {
  start_recording(directory, stem, Record_stem_bgr, number_digits);
}

void KV_RGBD_CameraCompression::start_recording(char* directory, char* stem_depth, char* stem_bgr,
                                                int number_digits) {
  if (!fits(directory, sizeof Record_directory) || !fits(stem_depth, sizeof Record_stem_depth) ||
      !fits(stem_bgr, sizeof Record_stem_bgr)) {
    print_line("ERROR KV_RGBD_CameraCompression::start_recording - directory or stem too long");
    return;
  }
  Record = true;
  depth_io::copy_text(Record_directory, sizeof Record_directory, directory);
  depth_io::copy_text(Record_stem_depth, sizeof Record_stem_depth, stem_depth);
  depth_io::copy_text(Record_stem_bgr, sizeof Record_stem_bgr, stem_bgr);
  Record_number_digits = number_digits;
}

void KV_RGBD_CameraCompression::stop_recording() { Record = false; }

void KV_RGBD_CameraCompression::input(float* depthMap) {
  if (depthMap == nullptr) print_line("error - KV_RGBD_CameraCompression::input - NULL input");
  MapZd.CopyFrom(depthMap);
  COLOUR_IMAGE_ON = false;
}

void KV_RGBD_CameraCompression::input(float* depthMap, unsigned char* bgrImage) {
  input(depthMap);
  if (bgrImage == nullptr) return;
  colour_image.CopyFromUC(bgrImage);
  COLOUR_IMAGE_ON = true;
}

void KV_RGBD_CameraCompression::output_to_cvMat_depth(float* depthMap) {
  if (depthMap == nullptr) {
    print_line("error - KV_RGBD_CameraCompression::output_to_cvMat - NULL input");
    return;
  }
  std::copy_n(MapZd.buffer, MapZd.N, depthMap);
}

void KV_RGBD_CameraCompression::output_to_cvMat_bgrImage(unsigned char* bgrImage) {
  if (bgrImage != nullptr) std::copy_n(colour_image.buffer, colour_image.N, bgrImage);
}

float KV_RGBD_CameraCompression::GetDepthAt(int i) { return MapZd.buffer[i]; }

void KV_RGBD_CameraCompression::SetDepthAt(int i, float z) { MapZd.buffer[i] = z; }

unsigned char KV_RGBD_CameraCompression::GetBgrImageAt(int i) { return colour_image.buffer[i]; }

void KV_RGBD_CameraCompression::SetBgrImageAt(int i, unsigned char v) {
  colour_image.buffer[i] = v;
}

float KV_RGBD_CameraCompression::GetIntrinsic_a11() { return a11; }
float KV_RGBD_CameraCompression::GetIntrinsic_a22() { return a22; }
float KV_RGBD_CameraCompression::GetIntrinsic_cx() { return cx; }
float KV_RGBD_CameraCompression::GetIntrinsic_cy() { return cy; }

int KV_RGBD_CameraCompression::GetHistoryCorrespondingIndex(int frame_index) {
  return SizeHistory > 0 ? __Modulo(SizeHistory, frame_index) : -1;
}

int KV_RGBD_CameraCompression::GetHistoryCorrespondingTimeStamp(char* stamp_text, int frame_index) {
  const int slot = GetHistoryCorrespondingIndex(frame_index);
  if (!depth_io::is_slot(slot, SizeHistory)) {
    print_line("ERROR BUFFER TIMESTAMP HISTORY BUFFER");
    return -1;
  }
  depth_io::copy_text(stamp_text, depth_io::kStampSize, HistoryTimeStamp.arr1D[slot].buffer);
  return slot;
}
