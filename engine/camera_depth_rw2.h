#pragma once

#include <cstdio>

#include "codec/camera_depth_rw.h"

/// Settings of a second-generation engine. Each has a flag that tells that the caller set it; the
/// engine goes by the flags. Texts that do not fit are refused with an error line, and the old
/// value stays.
class CAMERA_DEPTH_RW_EXPORT KV_RGBD_CameraCompression2_parameters {
 public:
  int CameraType = -1;             ///< 0 Kinect class, 1 ASUS class
  bool CameraType_active = false;  ///< the caller set the camera's type
  char WriteOrRead =
      'X';  ///< 'W' record, 'R' play back; as given, lower-case letters choose nothing
  bool WriteOrRead_active = false;  ///< the caller chose recording or playback
  int SizeBuffer = 1;               ///< slots of the history ring
  bool SizeBuffer_active = true;    ///< so that an engine always has a ring of one frame
  char Directory[512] =
      {};  ///< of the recording; ends with "/" for playback without sub-directories
  bool Directory_active = false;     ///< the caller set the directory
  int NbFramesPerSubDirectory = 0;   ///< frames of one sub-directory, for recording
  bool SubDirectory_active = false;  ///< use numbered sub-directories
  char DepthStem[256] = {};          ///< playback of sub-directories wants "depth"
  bool DepthStem_active = false;     ///< the caller set the stem of depth files
  char BGRStem[256] = {};            ///< playback of sub-directories wants "bgrimage"
  bool BGRStem_active =
      false;            ///< the caller set the stem of colour images; without it there are none
  float MaxFPS = 0.0F;  ///< most frames written per second; negative: no limit
  bool MaxFPS_active = false;  ///< the caller set the limit of the rate

  KV_RGBD_CameraCompression2_parameters();
  ~KV_RGBD_CameraCompression2_parameters();

  /// Chooses recording ('W') or playback ('R'). As long as no such letter was ever given, prints an
  /// error and waits for a key.
  void SetWriteOrRead(char src);
  /// Any number but 0 and 1 prints an error, waits for a key and gives false.
  bool SetCameraType(int val);
  /// Slots of the history ring, 1 or more; a slot takes 2 MB.
  void SetSizeBuffer(int _size);
  /// Directory of the recording, copied. It must exist.
  void SetDirectory(char* _dir);
  /// Recording: so many frames go into one sub-directory. Wants mode 'W' set before; otherwise
  /// prints an error, waits for a key and gives false.
  bool ActivateSubDirectory(int _nbframes);
  /// Playback: walk the sub-directories. Wants mode 'R' and the directory set before; otherwise
  /// prints an error, waits for a key and gives false.
  bool ActivateSubDirectory();
  /// Stem of the depth files, copied.
  void SetDepthStem(char* _stem);
  /// Stem of the colour images, copied; frames have colour images only when it was set.
  void SetBGRStem(char* _stem);
  /// Most frames written per second; negative: no limit; 0: only the first frame.
  void SetMaxFPS(float _fps);
  /// Takes all settings of `src`, flags included.
  void CopyFrom(KV_RGBD_CameraCompression2_parameters& src);
};

/// Recording engine, second generation: one object per camera stream, frames of 640 * 480, files in
/// one directory or in numbered sub-directories of a fixed number of frames. Used by one thread at
/// a time. Its fields are open to the caller.
///
/// Recording: fill `DepthMap` and `ColourImage`, then `apply_with_timestamp`, once per frame; the
/// last `SizeHistory` frames stay in a ring, and `recording_from_buffer` writes a time range of
/// them after the event. Playback: set a position and `Read`, or, with sub-directories, `Read`
/// alone.
class CAMERA_DEPTH_RW_EXPORT KV_RGBD_CameraCompression2 {
 public:
  KV_RGBD_CameraCompression2_parameters param;  ///< the settings; a copy
  std::FILE* fSubDir_r = nullptr;  ///< playback: the open content list of the sub-directory
  bool REVERSE_NAME = true;        ///< names as key-stem; false: stem-key
  bool USE_FRAME_DIFF = false;     ///< measure motion; fill `MapHasDepth` then
  float pct_moving = 0.0F;         ///< share of moving pixels, 0..1
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
  bool INITIALISED = false;                   ///< a frame is in the ring, or was played back
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
  int VERIFICATION = 0;  ///< how the writer checks itself, see `write_compressed_data`
  int CurrentNbFramesSavedInSubDirectory = 0;  ///< recording: frames in the current sub-directory
  int CurrentSubDirectoryIndex = 0;            ///< sub-directory at work, from 0
  ///@{
  /// Scratch: names at work.
  char temp_string[512] = {};
  char temp_string2[512] = {};
  char temp_strdest[10] = {};
  char _temp_str[512] = {};
  ///@}
  int FirstIndexSavedInSubDirectory = -1;  ///< recording: number of the first frame in it
  depth_io_ClassBufferChar FirstTimeStampSavedInSubDirectory;  ///< recording: its stamp text
  depth_io_ClassBuffer1D HistoryDepth;                         ///< per slot [480*640] metres
  depth_io_ClassBufferUC1D HistoryBGR;                         ///< per slot [480*640*3] B, G, R
  depth_io_ClassBufferChar1D HistoryTimeStamp;                 ///< per slot the stamp text
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

  /// Unusable until `Construct`.
  KV_RGBD_CameraCompression2();
  /// `Construct`; a failure prints a line and waits for a key.
  explicit KV_RGBD_CameraCompression2(KV_RGBD_CameraCompression2_parameters& _param);
  ~KV_RGBD_CameraCompression2();
  KV_RGBD_CameraCompression2(const KV_RGBD_CameraCompression2&) = delete;
  KV_RGBD_CameraCompression2& operator=(const KV_RGBD_CameraCompression2&) = delete;

  /// Takes a copy of the settings and allocates every buffer; those of an earlier call are
  /// released. False, after a message and a wait for a key, without directory or depth stem.
  /// Without a rate limit it warns, waits for a key and takes 8 frames per second.
  bool Construct(KV_RGBD_CameraCompression2_parameters& _param);

  ///@{
  /// The position of the next `Read` without sub-directories: a frame number, a moment or a stamp
  /// text; exactly one is to be set before each. A text of 100 characters or more is refused with
  /// an error line.
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

  /// Decides about the frame that the caller put into `DepthMap` and `ColourImage`, writes it into
  /// the directory or the current sub-directory if asked for (`RECORD_NOW`,
  /// motion, period, within the rate limit), and puts it into the ring. True when it is there,
  /// written or not (`RECORDED` tells); false after a printed error, most of which wait for a key.
  bool apply_with_timestamp(bool RECORD_NOW, int current_frame, int year, int month, int day,
                            int hour, int minute, int second, int millisecond, int debug);
  /// Kept for callers: may write the frame, named by its number, and always gives false.
  bool apply_with_index(bool RECORD_NOW, int current_frame, int debug);
  /// What `apply_with_timestamp` and `apply_with_index` (`SAVE_WITH_TIMESTAMP` false) call.
  bool _apply(bool RECORD_NOW, bool SAVE_WITH_TIMESTAMP, int current_frame, int year, int month,
              int day, int hour, int minute, int second, int millisecond, int debug);
  /// Prepares the output directory in `temp_string`, and makes the next sub-directory when it is
  /// due. False after a message and a wait for a key when that fails, also when it exists already.
  bool SubDirHandle(bool SAVE_WITH_TIMESTAMP, int current_frame);
  /// Counts a written frame.
  void SubDirUpdate();

  /// Writes the ring's frames of a time range, both ends included, in slot order, as captured
  /// frames are written. `print` 1 reports the ranges. False after a printed error.
  bool recording_from_buffer(int start_year, int start_month, int start_day, int start_hour,
                             int start_minute, int start_second, int start_millisecond,
                             int stop_year, int stop_month, int stop_day, int stop_hour,
                             int stop_minute, int stop_second, int stop_millisecond, int print,
                             int debug);
  /// Kept for callers: writes the slot that the next frame will take, once for each number.
  bool recording_from_buffer(int start_frame_index, int stop_frame_index, int current_frame,
                             int print, int debug);
  /// What both forms of `recording_from_buffer` call; `SAVE_WITH_TIMESTAMP` chooses the range of
  /// time.
  bool _recording_from_buffer(bool SAVE_WITH_TIMESTAMP, int start_year, int start_month,
                              int start_day, int start_hour, int start_minute, int start_second,
                              int start_millisecond, int stop_year, int stop_month, int stop_day,
                              int stop_hour, int stop_minute, int stop_second, int stop_millisecond,
                              int start_frame_index, int stop_frame_index, int current_frame,
                              int print, int debug);

  /// Loads the frame at the position, or the next one of the sub-directories, into `DepthMap`,
  /// `ColourImage`, `MapHasDepth` and the intrinsics. True also once the sub-directories are at
  /// their end, after a line. False after a printed error, most of which wait for a key.
  bool Read(int debug);
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

 private:
  /// The current sub-directory was made here; a failed first frame does not make it again.
  bool made_current_sub_directory_ = false;
};
