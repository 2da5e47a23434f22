#pragma once

#include <string>

#include "codec/camera_depth_rw.h"

/// Settings of a third-generation engine. Each has a flag that tells that the caller set it; the
/// engine goes by the flags. Texts that do not fit are refused with an error line, and the old
/// value stays.
class CAMERA_DEPTH_RW_EXPORT KV_RGBD_CameraCompression3_parameters {
 public:
  int CameraType = -1;  ///< 0 Kinect class, 1 ASUS class
  bool CameraType_active = false;
  char WriteOrRead = 'X';  ///< 'W' record, 'R' play back, 'X' not chosen
  bool WriteOrRead_active = false;
  int SizeBuffer = 1;             ///< slots of the history ring
  bool SizeBuffer_active = true;  ///< so that an engine always has a ring of one frame
  char Directory[512] = {};       ///< root of the recording
  bool Directory_active = false;
  char DepthStem[256] = {};  ///< playback wants "depth"
  bool DepthStem_active = false;
  char BGRStem[256] = {};  ///< playback wants "bgrimage"
  bool BGRStem_active = false;
  float MaxFPS = 0.0F;  ///< most frames written per second; negative: no limit
  bool MaxFPS_active = false;
  double ReadFolder_Start_Unixtime = -1.0;  ///< range of playback, seconds since 1970
  double ReadFolder_Stop_Unixtime = -1.0;
  int ReadFolder_Start_Year = -1;
  int ReadFolder_Start_Month = -1;
  int ReadFolder_Start_Day = -1;
  int ReadFolder_Start_Hour = -1;
  int ReadFolder_Stop_Year = -1;
  int ReadFolder_Stop_Month = -1;
  int ReadFolder_Stop_Day = -1;
  int ReadFolder_Stop_Hour = -1;
  int ReadFolder_Current_Year = -1;  ///< folder that playback is at
  int ReadFolder_Current_Month = -1;
  int ReadFolder_Current_Day = -1;
  int ReadFolder_Current_Hour = -1;
  int ReadFolder_Start_Minute = -1;
  int ReadFolder_Start_Second = -1;
  int ReadFolder_Start_Millisecond = -1;
  int ReadFolder_Stop_Minute = -1;
  int ReadFolder_Stop_Second = -1;
  int ReadFolder_Stop_Millisecond = -1;
  int ReadFolder_Current_Minute = -1;

  KV_RGBD_CameraCompression3_parameters();
  ~KV_RGBD_CameraCompression3_parameters();

  /// Chooses recording; always 1.
  int SetWriteMode();
  /// Chooses playback of a time range. False after a printed line when one of the moments does not
  /// exist; the fields are set all the same.
  bool SetReadMode(int start_year, int start_month, int start_day, int start_hour, int start_minute,
                   int start_second, int start_millisecond, int stop_year, int stop_month,
                   int stop_day, int stop_hour, int stop_minute, int stop_second,
                   int stop_millisecond);
  /// Any number but 0 and 1 prints an error, waits for a key and gives 0.
  int SetCameraType(int val);
  void SetSizeBuffer(int _size);
  void SetDirectory(char* _dir);
  void SetDepthStem(char* _stem);
  void SetBGRStem(char* _stem);
  void SetMaxFPS(float _fps);
  void CopyFrom(KV_RGBD_CameraCompression3_parameters& src);
};

/// Recording engine, third generation: one object per camera stream, frames of 640 * 480, files in
/// a tree of day, hour and minute folders. Used by one thread at a time. Its fields are open to the
/// caller.
///
/// Recording: fill `DepthMap` and `ColourImage`, then `apply_with_timestamp`, once per frame; the
/// last `SizeHistory` frames stay in a ring, and `recording_from_buffer` writes a time range of
/// them after the event. Playback: `Read` until it gives false.
class CAMERA_DEPTH_RW_EXPORT KV_RGBD_CameraCompression3 {
 public:
  KV_RGBD_CameraCompression3_parameters param;
  int CURRENT_STAMP_INDEX = 0;  ///< playback: next frame of the minute folder's sorted list
  int LAST_STAMP_INDEX = 0;     ///< playback: last frame of that list
  bool REVERSE_NAME = true;
  bool USE_FRAME_DIFF = false;  ///< measure motion; fill `MapHasDepth` then
  float pct_moving = 0.0F;      ///< share of moving pixels, 0..1
  depth_io_ClassBuffer DisplayMovingFrame;
  float threshold_motion_contrast = 0.0F;
  float threshold_pct_motion = 0.0F;
  bool Record_period = false;
  int Record_period_gap = 0;
  int delta_time_last_recorded = 0;  ///< frames seen without being recorded
  int last_time_recorded_year = -1;
  int last_time_recorded_month = -1;
  int last_time_recorded_day = -1;
  int last_time_recorded_hour = -1;
  int last_time_recorded_minute = -1;
  int last_time_recorded_second = -1;
  int last_time_recorded_millisecond = -1;
  double last_time_recorded_unixtime = -1.0;
  bool RECORDED = false;     ///< the last capture wrote its frame
  bool INITIALISED = false;  ///< a frame is in the ring, or playback has started
  bool REACHED_WANTED_START_TIME = false;
  bool REACHED_WANTED_STOP_TIME = false;
  JpegFile jpgfile;
  int WW = 0;
  int HH = 0;
  /// [480*640] the current frame has depth. Playback sets entries and never clears them; capture
  /// only copies the map: the caller fills it when it wants motion measured.
  depth_io_ClassBufferBOOL MapHasDepth;
  depth_io_ClassBufferBOOL prev_MapHasDepth;
  float a11 = 0.0F;
  float a22 = 0.0F;
  float cx = 0.0F;
  float cy = 0.0F;
  struct_read_write_depth RW;
  depth_io_ClassBufferChar timestamp;
  float* DepthMap = nullptr;             ///< [480*640] metres; owned
  unsigned char* ColourImage = nullptr;  ///< [480*640*3] B, G, R; owned
  char depth_string[512] = {};
  char bgr_string[512] = {};
  int _CurrentFrame = 0;
  bool _CurrentFrame_active = false;
  int _CurrentYear = 0;
  int _CurrentMonth = 0;
  int _CurrentDay = 0;
  int _CurrentHour = 0;
  int _CurrentMinute = 0;
  int _CurrentSecond = 0;
  int _CurrentMillisecond = 0;
  bool _CurrentTimeStamp_active = false;
  char _CurrentStampString[100] = {};
  bool _CurrentStampString_active = false;
  int VERIFICATION = 0;
  char temp_string[512] = {};
  char temp_string2[512] = {};
  char temp_strdest[10] = {};
  char _temp_str[512] = {};
  depth_io_ClassBufferChar1D TimeStamps;  ///< playback: stamps of the minute folder
  depth_io_ClassBufferChar1D SortedStamps;
  depth_io_ClassBufferDOUBLE UnixTimes;
  depth_io_ClassBufferINT SortedIndex;
  char CurrentFolderStringDay[512] = {};
  char CurrentFolderStringHour[512] = {};
  char CurrentFolderStringMinute[512] = {};
  depth_io_ClassBuffer1D HistoryDepth;
  depth_io_ClassBufferUC1D HistoryBGR;
  depth_io_ClassBufferChar1D HistoryTimeStamp;
  depth_io_ClassBufferINT HistoryYear;  ///< -1 marks an empty slot
  depth_io_ClassBufferINT HistoryMonth;
  depth_io_ClassBufferINT HistoryDay;
  depth_io_ClassBufferINT HistoryHour;
  depth_io_ClassBufferINT HistoryMinute;
  depth_io_ClassBufferINT HistorySecond;
  depth_io_ClassBufferINT HistoryMillisecond;
  depth_io_ClassBufferDOUBLE HistoryUnixTimes;
  int SizeHistory = 0;
  int HistoryModCounter = 0;  ///< slot of the next frame
  int o_HistoryIndex = 0;     ///< slot of the newest frame
  std::string currentTimeStamp;

  /// Unusable until `Construct`.
  KV_RGBD_CameraCompression3();
  /// `Construct`; a failure prints a line and waits for a key.
  explicit KV_RGBD_CameraCompression3(KV_RGBD_CameraCompression3_parameters& _param);
  ~KV_RGBD_CameraCompression3();
  KV_RGBD_CameraCompression3(const KV_RGBD_CameraCompression3&) = delete;
  KV_RGBD_CameraCompression3& operator=(const KV_RGBD_CameraCompression3&) = delete;

  /// Takes a copy of the settings and allocates every buffer; those of an earlier call are
  /// released. False, after a message and a wait for a key, without directory or depth stem.
  /// Without a rate limit it warns, waits for a key and takes 8 frames per second.
  bool Construct(KV_RGBD_CameraCompression3_parameters& _param);

  // A position, kept for callers; playback by time range does not use it.
  void SetCurrentFrame(int val);
  void SetCurrentTimeStamp(int year, int month, int day, int hour, int minute, int second,
                           int millisecond);
  void SetCurrentTimeStamp(char* src);

  float GetIntrinsic_a11();
  float GetIntrinsic_a22();
  float GetIntrinsic_cx();
  float GetIntrinsic_cy();
  int GetSizeHistory();
  int GetHistoryIndex();
  /// Slot of the oldest frame; -1 after a message and a wait for a key when there is none.
  int GetHistoryOldest();

  /// Makes the day, hour and minute folder of a frame, each only when its own field differs from
  /// the last recorded frame's. False after a message and a wait for a key when a folder cannot be
  /// made.
  bool SubDirHandle(int current_frame, int year, int month, int day, int hour, int minute,
                    int second, int millisecond);

  /// Decides about the frame in `DepthMap` and `ColourImage`, writes it if asked for (`RECORD_NOW`,
  /// motion, period, within the rate limit), and puts it into the ring. True when it is there,
  /// written or not (`RECORDED` tells); false after a printed error, most of which wait for a key.
  bool apply_with_timestamp(bool RECORD_NOW, int current_frame, int year, int month, int day,
                            int hour, int minute, int second, int millisecond, int debug);
  bool _apply(bool RECORD_NOW, int current_frame, int year, int month, int day, int hour,
              int minute, int second, int millisecond, int debug);

  /// Writes the ring's frames of a time range, both ends included, in slot order, into their
  /// folders. `print` 1 reports the ranges. False after a printed error.
  bool recording_from_buffer(int start_year, int start_month, int start_day, int start_hour,
                             int start_minute, int start_second, int start_millisecond,
                             int stop_year, int stop_month, int stop_day, int stop_hour,
                             int stop_minute, int stop_second, int stop_millisecond, int print,
                             int debug);
  bool _recording_from_buffer(int start_year, int start_month, int start_day, int start_hour,
                              int start_minute, int start_second, int start_millisecond,
                              int stop_year, int stop_month, int stop_day, int stop_hour,
                              int stop_minute, int stop_second, int stop_millisecond,
                              int start_frame_index, int stop_frame_index, int current_frame,
                              int print, int debug);
  /// Makes all three folders of a moment, whatever was recorded last.
  bool SubDirHandle_for_buffer_recording(int year, int month, int day, int hour, int minute,
                                         int second, int millisecond);

  /// Loads the next frame of the range into `DepthMap`, `ColourImage`, `MapHasDepth` and the
  /// intrinsics; a frame before the start is passed over with true. False at the end of the range
  /// (after a line and a wait for a key) or on an error.
  bool Read(int debug);
  /// Moves to the next minute folder that holds frames; false, after a line and a wait for a key,
  /// when the stop moment is reached.
  bool Read_FindNextFolder_and_update_CurrentTime(int debug);
  /// Reads a colour image; true without doing anything when no colour stem is set.
  bool LoadColourImage(char* FILENAME);
  /// Loads a frame named by the caller: `depth_filename` without extension, `bgr_filename`
  /// complete.
  bool read_for_calib_tool(char* depth_filename, char* bgr_filename);
  bool read_for_calib_tool(char* depth_filename);
  /// Stamp text of the frame last read.
  std::string& getCurrentTimestamp();
};
