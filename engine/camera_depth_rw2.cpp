#include "engine/camera_depth_rw2.h"

#include "engine/stamped_engine.h"

using depth_io::print_line_and_wait;

namespace {

using Engine = KV_RGBD_CameraCompression2;

void close_list(Engine& engine) {
  if (engine.fSubDir_r != nullptr) std::fclose(engine.fSubDir_r);
  engine.fSubDir_r = nullptr;
}

void release_buffers(Engine& engine) {
  depth_io::release_stamped_engine(engine);
  engine.FirstTimeStampSavedInSubDirectory.Kill();
}

constexpr depth_io::SettingComplaints kComplaints = {
    "ERROR KV_RGBD_CameraCompression2::Construct Directory non set",
    "ERROR KV_RGBD_CameraCompression2::Construct DepthStem non set",
    "WARNING KV_RGBD_CameraCompression2::Construct MaxFPS non set, set to default 8.0 fps"};

}  // namespace

KV_RGBD_CameraCompression2::KV_RGBD_CameraCompression2() = default;

KV_RGBD_CameraCompression2::KV_RGBD_CameraCompression2(
    KV_RGBD_CameraCompression2_parameters& _param) {
  if (!Construct(_param)) {
    print_line_and_wait("ERROR KV_RGBD_CameraCompression2 failed at construction");
  }
}

KV_RGBD_CameraCompression2::~KV_RGBD_CameraCompression2() {
  release_buffers(*this);
  close_list(*this);
}

bool KV_RGBD_CameraCompression2::Construct(KV_RGBD_CameraCompression2_parameters& _param) {
  close_list(*this);
  REVERSE_NAME = true;
  param.CopyFrom(_param);
  if (!depth_io::complete_settings(param, kComplaints)) return false;

  RECORDED = false;
  INITIALISED = false;
  CurrentNbFramesSavedInSubDirectory = 0;
  CurrentSubDirectoryIndex = 0;
  made_current_sub_directory_ = false;
  VERIFICATION = -1;
  release_buffers(*this);
  try {
    FirstIndexSavedInSubDirectory = -1;
    FirstTimeStampSavedInSubDirectory.Create(depth_io::kStampSize);
    depth_io::allocate_stamped_engine(*this);
    depth_io::set_stamped_capture_defaults(*this);
  } catch (...) {
    release_buffers(*this);
    throw;
  }
  return true;
}

void KV_RGBD_CameraCompression2::SetCurrentFrame(int val) {
  _CurrentFrame = val;
  _CurrentFrame_active = true;
}

void KV_RGBD_CameraCompression2::SetCurrentTimeStamp(int year, int month, int day, int hour,
                                                     int minute, int second, int millisecond) {
  depth_io::set_current_moment(*this, {year, month, day, hour, minute, second, millisecond});
}

void KV_RGBD_CameraCompression2::SetCurrentTimeStamp(char* src) {
  depth_io::set_current_stamp(*this, src);
}

float KV_RGBD_CameraCompression2::GetIntrinsic_a11() { return a11; }
float KV_RGBD_CameraCompression2::GetIntrinsic_a22() { return a22; }
float KV_RGBD_CameraCompression2::GetIntrinsic_cx() { return cx; }
float KV_RGBD_CameraCompression2::GetIntrinsic_cy() { return cy; }
int KV_RGBD_CameraCompression2::GetSizeHistory() { return SizeHistory; }
int KV_RGBD_CameraCompression2::GetHistoryIndex() { return o_HistoryIndex; }
int KV_RGBD_CameraCompression2::GetHistoryOldest() { return depth_io::oldest_slot(*this); }
