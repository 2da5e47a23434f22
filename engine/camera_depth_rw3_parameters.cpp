#include "engine/camera_depth_rw3.h"
#include "engine/parameter_text.h"

using Parameters = KV_RGBD_CameraCompression3_parameters;

Parameters::KV_RGBD_CameraCompression3_parameters() = default;
Parameters::~KV_RGBD_CameraCompression3_parameters() = default;

int Parameters::SetWriteMode() {
  WriteOrRead = 'W';
  WriteOrRead_active = true;
  return 1;
}

bool Parameters::SetReadMode(int start_year, int start_month, int start_day, int start_hour,
                             int start_minute, int start_second, int start_millisecond,
                             int stop_year, int stop_month, int stop_day, int stop_hour,
                             int stop_minute, int stop_second, int stop_millisecond) {
  WriteOrRead = 'R';
  WriteOrRead_active = true;

  ReadFolder_Start_Year = start_year;
  ReadFolder_Start_Month = start_month;
  ReadFolder_Start_Day = start_day;
  ReadFolder_Start_Hour = start_hour;
  ReadFolder_Start_Minute = start_minute;
  ReadFolder_Start_Second = start_second;
  ReadFolder_Start_Millisecond = start_millisecond;

  // Playback sets the current minute itself when it starts.
  ReadFolder_Current_Year = start_year;
  ReadFolder_Current_Month = start_month;
  ReadFolder_Current_Day = start_day;
  ReadFolder_Current_Hour = start_hour;

  ReadFolder_Stop_Year = stop_year;
  ReadFolder_Stop_Month = stop_month;
  ReadFolder_Stop_Day = stop_day;
  ReadFolder_Stop_Hour = stop_hour;
  ReadFolder_Stop_Minute = stop_minute;
  ReadFolder_Stop_Second = stop_second;
  ReadFolder_Stop_Millisecond = stop_millisecond;

  if (ConvertTimeStampToUnixTime(ReadFolder_Start_Unixtime, start_year, start_month, start_day,
                                 start_hour, start_minute, start_second, start_millisecond,
                                 1) != 1) {
    depth_io::print(
        "ERROR - reading - parameters - converting start timestamp %d.%d.%d|%d %d %d.%d to "
        "unixtime\n",
        start_year, start_month, start_day, start_hour, start_minute, start_second,
        start_millisecond);
    return false;
  }
  if (ConvertTimeStampToUnixTime(ReadFolder_Stop_Unixtime, stop_year, stop_month, stop_day,
                                 stop_hour, stop_minute, stop_second, stop_millisecond, 1) != 1) {
    depth_io::print(
        "ERROR - reading - parameters - converting stop timestamp %d.%d.%d|%d %d %d.%d to "
        "unixtime\n",
        stop_year, stop_month, stop_day, stop_hour, stop_minute, stop_second, stop_millisecond);
    return false;
  }
  return true;
}

int Parameters::SetCameraType(int val) {
  if (!depth_io::is_camera_type(val)) return 0;
  CameraType = val;
  CameraType_active = true;
  return 1;
}

void Parameters::SetSizeBuffer(int _size) {
  SizeBuffer = _size;
  SizeBuffer_active = true;
}

void Parameters::SetDirectory(char* _dir) {
  depth_io::set_parameter_text(Directory, sizeof Directory, Directory_active, _dir);
}

void Parameters::SetDepthStem(char* _stem) {
  depth_io::set_parameter_text(DepthStem, sizeof DepthStem, DepthStem_active, _stem);
}

void Parameters::SetBGRStem(char* _stem) {
  depth_io::set_parameter_text(BGRStem, sizeof BGRStem, BGRStem_active, _stem);
}

void Parameters::SetMaxFPS(float _fps) {
  MaxFPS = _fps;
  MaxFPS_active = true;
}

void Parameters::CopyFrom(KV_RGBD_CameraCompression3_parameters& src) { *this = src; }
