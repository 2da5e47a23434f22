#include "engine/camera_depth_rw2.h"
#include "engine/parameter_text.h"

using depth_io::print_line_and_wait;
using Parameters = KV_RGBD_CameraCompression2_parameters;

Parameters::KV_RGBD_CameraCompression2_parameters() = default;
Parameters::~KV_RGBD_CameraCompression2_parameters() = default;

void Parameters::SetWriteOrRead(char src) {
  WriteOrRead = src;
  if (src == 'r' || src == 'R' || src == 'w' || src == 'W') WriteOrRead_active = true;
  // Kept: after an earlier good letter a wrong one is stored without a word.
  if (WriteOrRead_active) return;
  depth_io::print("ERROR - ReadOrWrite %c wrong, choose R or W\n", src);
  depth_io::wait_for_key();
}

bool Parameters::SetCameraType(int val) {
  if (!depth_io::is_camera_type(val)) return false;
  CameraType = val;
  CameraType_active = true;
  return true;
}

void Parameters::SetSizeBuffer(int _size) {
  SizeBuffer = _size;
  SizeBuffer_active = true;
}

void Parameters::SetDirectory(char* _dir) {
  depth_io::set_parameter_text(Directory, sizeof Directory, Directory_active, _dir);
}

bool Parameters::ActivateSubDirectory(int _nbframes) {
  if (WriteOrRead != 'W') {
    print_line_and_wait(" - ERROR - ActivateSubDirectory - SetWriteOrRead(W) before");
    return false;
  }
  NbFramesPerSubDirectory = _nbframes;
  SubDirectory_active = true;
  return true;
}

bool Parameters::ActivateSubDirectory() {
  if (WriteOrRead != 'R') {
    print_line_and_wait(" - ERROR - ActivateSubDirectory - SetWriteOrRead(R) before");
    return false;
  }
  if (!Directory_active) {
    print_line_and_wait(" - ERROR - ActivateSubDirectory - SetDirectory() before");
    return false;
  }
  SubDirectory_active = true;
  return true;
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

void Parameters::CopyFrom(KV_RGBD_CameraCompression2_parameters& src) { *this = src; }
