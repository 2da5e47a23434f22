#include "engine/camera_depth_rw3.h"

#include "engine/stamped_engine.h"

using depth_io::print_line_and_wait;

namespace {

using Engine = KV_RGBD_CameraCompression3;

/// So many frames of one minute folder are played back.
#ifdef CAMERA_DEPTH_RW_SMALL_ENGINES
constexpr int kMostStamps = 16;
#else
constexpr int kMostStamps = 10000;
#endif
constexpr int kStampRowSize = 30;

void release_buffers(Engine& engine) {
  depth_io::release_stamped_engine(engine);
  engine.TimeStamps.Kill();
  engine.SortedStamps.Kill();
  engine.UnixTimes.Kill();
  engine.SortedIndex.Kill();
}

constexpr depth_io::SettingComplaints kComplaints = {
    "ERROR KV_RGBD_CameraCompression3::Construct Directory non set",
    "ERROR KV_RGBD_CameraCompression3::Construct DepthStem non set",
    "WARNING KV_RGBD_CameraCompression3::Construct MaxFPS non set, set to default 8.0 fps"};

void create_stamp_lists(Engine& engine) {
  engine.TimeStamps.Create(kMostStamps, kStampRowSize);
  engine.SortedStamps.Create(kMostStamps, kStampRowSize);
  engine.UnixTimes.Create(kMostStamps);
  engine.SortedIndex.Create(kMostStamps);
}

}  // namespace

KV_RGBD_CameraCompression3::KV_RGBD_CameraCompression3() = default;

KV_RGBD_CameraCompression3::KV_RGBD_CameraCompression3(
    KV_RGBD_CameraCompression3_parameters& _param) {
  if (!Construct(_param)) {
    print_line_and_wait("ERROR KV_RGBD_CameraCompression3 failed at construction");
  }
  currentTimeStamp.clear();
}

KV_RGBD_CameraCompression3::~KV_RGBD_CameraCompression3() { release_buffers(*this); }

bool KV_RGBD_CameraCompression3::Construct(KV_RGBD_CameraCompression3_parameters& _param) {
  CURRENT_STAMP_INDEX = 0;
  LAST_STAMP_INDEX = 0;
  REVERSE_NAME = true;
  param.CopyFrom(_param);
  if (!depth_io::complete_settings(param, kComplaints)) return false;

  RECORDED = false;
  INITIALISED = false;
  REACHED_WANTED_START_TIME = false;
  REACHED_WANTED_STOP_TIME = false;
  VERIFICATION = -1;
  release_buffers(*this);
  try {
    CurrentFolderStringDay[0] = '\0';
    CurrentFolderStringHour[0] = '\0';
    CurrentFolderStringMinute[0] = '\0';
    depth_io::allocate_stamped_engine(*this);
    depth_io::set_stamped_capture_defaults(*this);
    // So that playback needs no memory any more.
    currentTimeStamp.reserve(kStampRowSize);
    create_stamp_lists(*this);
  } catch (...) {
    release_buffers(*this);
    throw;
  }
  return true;
}

void KV_RGBD_CameraCompression3::SetCurrentFrame(int val) {
  _CurrentFrame = val;
  _CurrentFrame_active = true;
}

void KV_RGBD_CameraCompression3::SetCurrentTimeStamp(int year, int month, int day, int hour,
                                                     int minute, int second, int millisecond) {
  depth_io::set_current_moment(*this, {year, month, day, hour, minute, second, millisecond});
}

void KV_RGBD_CameraCompression3::SetCurrentTimeStamp(char* src) {
  depth_io::set_current_stamp(*this, src);
}

float KV_RGBD_CameraCompression3::GetIntrinsic_a11() { return a11; }
float KV_RGBD_CameraCompression3::GetIntrinsic_a22() { return a22; }
float KV_RGBD_CameraCompression3::GetIntrinsic_cx() { return cx; }
float KV_RGBD_CameraCompression3::GetIntrinsic_cy() { return cy; }
int KV_RGBD_CameraCompression3::GetSizeHistory() { return SizeHistory; }
int KV_RGBD_CameraCompression3::GetHistoryIndex() { return o_HistoryIndex; }
int KV_RGBD_CameraCompression3::GetHistoryOldest() { return depth_io::oldest_slot(*this); }
std::string& KV_RGBD_CameraCompression3::getCurrentTimestamp() { return currentTimeStamp; }
