#pragma once

#include <string>

#include "codec/camera_depth_rw.h"

/// Settings of a third-generation engine. Each has a flag that tells that the caller set it; the
/// engine goes by the flags. Texts that do not fit are refused with an error line, and the old
/// value stays.
class CAMERA_DEPTH_RW_EXPORT KV_RGBD_CameraCompression3_parameters {
 public:
  int CameraType = -1;              ///< 0 Kinect class, 1 ASUS class
  bool CameraType_active = false;   ///< the caller set the camera's type
  char WriteOrRead = 'X';           ///< 'W' record, 'R' play back, 'X' not chosen
  bool WriteOrRead_active = false;  ///< the caller chose recording or playback
  int SizeBuffer = 1;               ///< slots of the history ring
  bool SizeBuffer_active = true;    ///< so that an engine always has a ring of one frame
  char Directory[512] = {};         ///< root of the recording
  bool Directory_active = false;    ///< the caller set the directory
  char DepthStem[256] = {};         ///< playback wants "depth"
  bool DepthStem_active = false;    ///< the caller set the stem of depth files
  char BGRStem[256] = {};           ///< playback wants "bgrimage"
  bool BGRStem_active =
      false;            ///< the caller set the stem of colour images; without it there are none
  float MaxFPS = 0.0F;  ///< most frames written per second; negative: no limit
  bool MaxFPS_active = false;  ///< the caller set the limit of the rate
  ///@{
  /// Range of playback, set by `SetReadMode`: its ends as seconds since 1970 and as moments, and
  /// the minute folder that playback is at (`Current`).
  double ReadFolder_Start_Unixtime = -1.0;
  double ReadFolder_Stop_Unixtime = -1.0;
  int ReadFolder_Start_Year = -1;
  int ReadFolder_Start_Month = -1;
  int ReadFolder_Start_Day = -1;
  int ReadFolder_Start_Hour = -1;
  int ReadFolder_Stop_Year = -1;
  int ReadFolder_Stop_Month = -1;
  int ReadFolder_Stop_Day = -1;
  int ReadFolder_Stop_Hour = -1;
  int ReadFolder_Current_Year = -1;
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
  ///@}

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
  /// Slots of the history ring, 1 or more; a slot takes 2 MB.
  void SetSizeBuffer(int _size);
  /// Directory of the recording, copied. It must exist.
  void SetDirectory(char* _dir);
  /// Stem of the depth files, copied.
  void SetDepthStem(char* _stem);
  /// Stem of the colour images, copied; frames have colour images only when it was set.
  void SetBGRStem(char* _stem);
  /// Most frames written per second; negative: no limit; 0: only the first frame.
  void SetMaxFPS(float _fps);
  /// Takes all settings of `src`, flags included.
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
  KV_RGBD_CameraCompression3_parameters param;  ///< the settings; a copy
  int CURRENT_STAMP_INDEX = 0;  ///< playback: next frame of the minute folder's sorted list
  int LAST_STAMP_INDEX = 0;     ///< playback: last frame of that list
  bool REVERSE_NAME = true;     ///< names as key-stem; false: stem-key
  bool USE_FRAME_DIFF = false;  ///< measure motion; fill `MapHasDepth` then
  float pct_moving = 0.0F;      ///< share of moving pixels, 0..1
  depth_io_ClassBuffer DisplayMovingFrame;  ///< [480*640] 255.0 where a pixel moved, else 0.0
  float threshold_motion_contrast = 0.0F;   ///< relative depth change of a moving pixel; 0.1
  float threshold_pct_motion = 0.0F;        ///< percentage of moving pixels of a moving frame; 0.5
  bool Record_period = false;               ///< record periodically
  int Record_period_gap = 0;                ///< frames; 100
  int delta_time_last_recorded = 0;         ///< frames seen without being recorded
  ///@{
  /// Moment of the last written frame; -1: none.
  int last_time_recorded_year = -1;
  int last_time_recorded_month = -1;
  int last_time_recorded_day = -1;
  int last_time_recorded_hour = -1;
  int last_time_recorded_minute = -1;
  int last_time_recorded_second = -1;
  int last_time_recorded_millisecond = -1;
  ///@}
  double last_time_recorded_unixtime = -1.0;  ///< the same in seconds since 1970; -1: none
  bool RECORDED = false;                      ///< the last capture wrote its frame
  bool INITIALISED = false;                   ///< a frame is in the ring, or playback has started
  bool REACHED_WANTED_START_TIME = false;     ///< playback: a frame at or after the start was met
  bool REACHED_WANTED_STOP_TIME = false;      ///< playback: the folders up to the stop are done
  JpegFile jpgfile;                           ///< holds no state
  int WW = 0;                                 ///< 640
  int HH = 0;                                 ///< 480
  /// [480*640] the current frame has depth. Playback sets entries and never clears them; capture
  /// only copies the map: the caller fills it when it wants motion measured.
  depth_io_ClassBufferBOOL MapHasDepth;
  depth_io_ClassBufferBOOL prev_MapHasDepth;  ///< [480*640] `MapHasDepth` of the frame before
  float a11 = 0.0F;                           ///< focal length of the rows, pixels
  float a22 = 0.0F;                           ///< focal length of the columns, pixels
  float cx = 0.0F;                            ///< principal point, pixels; goes with the row
  float cy = 0.0F;                            ///< goes with the column
  struct_read_write_depth RW;                 ///< what the codec works on
  depth_io_ClassBufferChar timestamp;         ///< stamp text of the frame at work
  float* DepthMap = nullptr;                  ///< [480*640] metres; owned
  unsigned char* ColourImage = nullptr;       ///< [480*640*3] B, G, R; owned
  char depth_string[512] = {};                ///< playback: name of the frame, without extension
  char bgr_string[512] = {};                  ///< playback: name of its colour image
  ///@{
  /// The position that `SetCurrentFrame` or `SetCurrentTimeStamp` set, and which of them did.
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
  ///@}
  int VERIFICATION =
      0;  ///< how the writer checks itself, see `write_compressed_data`; `Construct` sets -1
  ///@{
  /// Scratch: names at work.
  char temp_string[512] = {};
  char temp_string2[512] = {};
  char temp_strdest[10] = {};
  char _temp_str[512] = {};
  ///@}
  ///@{
  /// Playback: the frames of the minute folder, at most 10000, as `ListEntriesInSubDir` gives them.
  depth_io_ClassBufferChar1D TimeStamps;
  depth_io_ClassBufferChar1D SortedStamps;
  depth_io_ClassBufferDOUBLE UnixTimes;
  depth_io_ClassBufferINT SortedIndex;
  ///@}
  ///@{
  /// Paths of the day, hour and minute folder at work.
  char CurrentFolderStringDay[512] = {};
  char CurrentFolderStringHour[512] = {};
  char CurrentFolderStringMinute[512] = {};
  ///@}
  depth_io_ClassBuffer1D HistoryDepth;          ///< per slot [480*640] metres
  depth_io_ClassBufferUC1D HistoryBGR;          ///< per slot [480*640*3] B, G, R
  depth_io_ClassBufferChar1D HistoryTimeStamp;  ///< per slot the stamp text
  ///@{
  /// Moment of each slot, local wall-clock time; a year of -1 marks an empty slot.
  depth_io_ClassBufferINT HistoryYear;
  depth_io_ClassBufferINT HistoryMonth;
  depth_io_ClassBufferINT HistoryDay;
  depth_io_ClassBufferINT HistoryHour;
  depth_io_ClassBufferINT HistoryMinute;
  depth_io_ClassBufferINT HistorySecond;
  depth_io_ClassBufferINT HistoryMillisecond;
  ///@}
  depth_io_ClassBufferDOUBLE HistoryUnixTimes;  ///< per slot seconds since 1970
  int SizeHistory = 0;                          ///< slots of the ring
  int HistoryModCounter = 0;                    ///< slot of the next frame
  int o_HistoryIndex = 0;                       ///< slot of the newest frame
  std::string currentTimeStamp;                 ///< playback: stamp text of the frame last read

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

  ///@{
  /// A position, kept for callers; playback by time range does not use it. A text of 100 characters
  /// or more is refused with an error line.
  void SetCurrentFrame(int val);
  void SetCurrentTimeStamp(int year, int month, int day, int hour, int minute, int second,
                           int millisecond);
  void SetCurrentTimeStamp(char* src);
  ///@}

  ///@{
  /// Intrinsics of the current frame, pixels: of the camera type once a frame was captured, of the
  /// file after playback.
  float GetIntrinsic_a11();
  float GetIntrinsic_a22();
  float GetIntrinsic_cx();
  float GetIntrinsic_cy();
  ///@}
  /// Slots of the ring.
  int GetSizeHistory();
  /// Slot of the newest frame.
  int GetHistoryIndex();
  /// Slot of the oldest frame; -1 after a message and a wait for a key when there is none.
  int GetHistoryOldest();

  /// Makes the day, hour and minute folder of a frame, each only when its own field differs from
  /// the last recorded frame's. False after a message and a wait for a key when a folder cannot be
  /// made.
  bool SubDirHandle(int current_frame, int year, int month, int day, int hour, int minute,
                    int second, int millisecond);

  /// Decides about the frame that the caller put into `DepthMap` and `ColourImage`, writes it into
  /// the folder of its minute if asked for (`RECORD_NOW`, motion, period, within the rate limit),
  /// and puts it into the ring. True when it is there, written or not (`RECORDED` tells); false
  /// after a printed error, most of which wait for a key.
  bool apply_with_timestamp(bool RECORD_NOW, int current_frame, int year, int month, int day,
                            int hour, int minute, int second, int millisecond, int debug);
  /// What `apply_with_timestamp` calls.
  bool _apply(bool RECORD_NOW, int current_frame, int year, int month, int day, int hour,
              int minute, int second, int millisecond, int debug);

  /// Writes the ring's frames of a time range, both ends included, in slot order, into their
  /// folders. `print` 1 reports the ranges. False after a printed error.
  bool recording_from_buffer(int start_year, int start_month, int start_day, int start_hour,
                             int start_minute, int start_second, int start_millisecond,
                             int stop_year, int stop_month, int stop_day, int stop_hour,
                             int stop_minute, int stop_second, int stop_millisecond, int print,
                             int debug);
  /// What `recording_from_buffer` calls; the frame numbers are not used.
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
  /// Reads the colour image `FILENAME` into `ColourImage`; true without doing anything when no
  /// colour stem is set; false after a printed line when it cannot be read.
  bool LoadColourImage(char* FILENAME);
  ///@{
  /// Loads a frame named by the caller, `depth_filename` without extension, `bgr_filename`
  /// complete, into `DepthMap`, `ColourImage` and the intrinsics. False after a printed line when
  /// it cannot be read.
  bool read_for_calib_tool(char* depth_filename, char* bgr_filename);
  bool read_for_calib_tool(char* depth_filename);
  ///@}
  /// Stamp text of the frame last read.
  std::string& getCurrentTimestamp();
};
