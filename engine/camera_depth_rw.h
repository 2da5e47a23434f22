#pragma once

#include "codec/camera_depth_rw.h"

/// Recording engine, first generation: one object per camera stream, frames of 640 * 480, files in
/// one flat directory. Used by one thread at a time. Its fields are open to the caller.
///
/// Per frame: `input`, then `apply` (by frame number) or `apply_with_timestamp`; the engine keeps
/// the last `SizeHistory` frames in a ring and writes the frame when recording is on, when enough
/// pixels moved, or when the period is over. `recording` writes past frames out of the ring. `read`
/// plays a recorded frame back.
class CAMERA_DEPTH_RW_EXPORT KV_RGBD_CameraCompression {
 public:
  bool REVERSE_NAME = false;                    ///< names as key-stem instead of stem-key
  bool Record = false;                          ///< record every frame
  char Record_directory[512] = {};              ///< ends with "/"
  char Record_stem_depth[128] = {};             ///< "depth" unless set
  char Record_stem_bgr[128] = {};               ///< "bgrimage" unless set
  int Record_number_digits = 0;                 ///< digits of a frame number in names
  int SizeHistory = 0;                          ///< slots of the ring
  int HistoryModCounter = 0;                    ///< stored frames modulo `SizeHistory`
  depth_io_ClassBuffer1D HistoryDepth;          ///< per slot [480*640] metres
  depth_io_ClassBufferUC1D HistoryBGR;          ///< per slot [480*640*3] B, G, R
  depth_io_ClassBufferChar1D HistoryTimeStamp;  ///< per slot the stamp text
  ///@{
  /// Moment of each slot, local wall-clock time.
  depth_io_ClassBufferINT HistoryYear;
  depth_io_ClassBufferINT HistoryMonth;
  depth_io_ClassBufferINT HistoryDay;
  depth_io_ClassBufferINT HistoryHour;
  depth_io_ClassBufferINT HistoryMinute;
  depth_io_ClassBufferINT HistorySecond;
  depth_io_ClassBufferINT HistoryMillisecond;
  ///@}
  bool USE_FRAME_DIFF = false;              ///< measure motion
  float pct_moving = 0.0F;                  ///< share of moving pixels, 0..1
  depth_io_ClassBuffer DisplayMovingFrame;  ///< [480*640] 255.0 where a pixel moved, else 0.0
  float threshold_motion_contrast = 0.0F;   ///< relative depth change of a moving pixel
  float threshold_pct_motion = 0.0F;        ///< percentage of moving pixels of a moving frame
  bool Record_period = false;               ///< record periodically
  int Record_period_gap = 0;                ///< frames
  int last_time_recorded_at = 0;            ///< frame number of the last request to record
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
  bool RECORDED = false;          ///< the last `apply` wrote its frame
  bool INITIALISED = false;       ///< at least one frame is in the ring
  int VERIFICATION = 0;           ///< how the writer checks itself, see `write_compressed_data`
  int Current_Frame_Index = 0;    ///< for the caller; not used here
  JpegFile jpgfile;               ///< for the caller; not used here
  depth_io_ClassBuffer tempF;     ///< [480*640] for the caller; not used here
  depth_io_ClassBufferUS tempUS;  ///< [480*640] for the caller; not used here
  int Debug = 0;                  ///< 0: `Construct` clears it
  int printout = 0;               ///< 1 prints colour images that cannot be read
  char temp_string[512] = {};     ///< scratch: name of the files that playback is at
  char temp_strdest[10] = {};     ///< scratch
  int WW = 0;                     ///< 640
  int HH = 0;                     ///< 480
  depth_io_ClassBufferUC colour_image;  ///< [480*640*3] current colour image, B, G, R
  bool COLOUR_IMAGE_ON = false;         ///< the current frame has a colour image
  depth_io_ClassBuffer MapXd;           ///< [480*640] current metric X, from playback
  depth_io_ClassBuffer MapYd;           ///< [480*640] current metric Y, from playback
  depth_io_ClassBuffer MapZd;           ///< [480*640] current depth map, metres
  /// [480*640] the current frame has depth. Playback fills it. During recording it is all false
  /// until the caller fills it before `apply`: the motion measure counts only pixels that have
  /// depth in this and the previous frame.
  depth_io_ClassBufferBOOL MapHasDepth;
  depth_io_ClassBufferBOOL prev_MapHasDepth;  ///< [480*640] `MapHasDepth` of the frame before
  float a11 = 0.0F;            ///< focal length of the rows, pixels; set it before recording
  float a22 = 0.0F;            ///< focal length of the columns, pixels
  float cx = 0.0F;             ///< principal point, pixels; goes with the row
  float cy = 0.0F;             ///< goes with the column
  struct_read_write_depth RW;  ///< what the codec works on
  depth_io_ClassBufferChar timestamp;  ///< current stamp text
  int HistoryCounter = 0;              ///< frames stored with a stamp

  /// A ring of one frame.
  KV_RGBD_CameraCompression();
  /// A ring of `SizeBuffer` frames; below 1 the ring has no slots and `apply` fails.
  explicit KV_RGBD_CameraCompression(int SizeBuffer);
  ~KV_RGBD_CameraCompression();
  KV_RGBD_CameraCompression(const KV_RGBD_CameraCompression&) = delete;
  KV_RGBD_CameraCompression& operator=(const KV_RGBD_CameraCompression&) = delete;

  /// Allocates every buffer and sets every field to its start value; buffers of an earlier call are
  /// released first. A failed allocation leaves nothing allocated and is thrown on.
  void Construct(int SizeBuffer);
  /// Does nothing; kept for callers.
  void release();

  ///@{
  /// Switches recording on: from now on every `apply` writes into `directory`, which exists and
  /// ends with "/". Texts are copied; those that do not fit their fields are refused with an error
  /// line, and nothing is changed. Writes no file and never waits for a key.
  void start_recording(char* directory, char* stem, int number_digits);
  void start_recording(char* directory, char* stem_depth, char* stem_bgr, int number_digits);
  ///@}
  /// Switches recording off; motion and period still write.
  void stop_recording();

  ///@{
  /// Copies a frame in: `depthMap` [480*640] metres, row-major, `bgrImage` [480*640*3] B, G, R;
  /// both stay the caller's. A null `depthMap` prints an error line and copies nothing; a null
  /// `bgrImage`, or none, makes the frame one without colour.
  void input(float* depthMap);
  void input(float* depthMap, unsigned char* bgrImage);
  ///@}
  ///@{
  /// Copies the current frame out into the caller's array: [480*640] metres, or [480*640*3] B, G,
  /// R.
  void output_to_cvMat_depth(float* depthMap);
  void output_to_cvMat_bgrImage(unsigned char* bgrImage);
  ///@}

  ///@{
  /// One value of the current frame, metres or byte; `i` is not checked.
  float GetDepthAt(int i);
  void SetDepthAt(int i, float z);
  unsigned char GetBgrImageAt(int i);
  void SetBgrImageAt(int i, unsigned char v);
  ///@}

  ///@{
  /// Intrinsics of the current frame, pixels.
  float GetIntrinsic_a11();
  float GetIntrinsic_a22();
  float GetIntrinsic_cx();
  float GetIntrinsic_cy();
  ///@}

  /// Slot of a frame number: its remainder by `SizeHistory`, negative for a negative number; -1
  /// without slots. Beyond 2^24 the single-precision division can make it wrong.
  int GetHistoryCorrespondingIndex(int frame_index);
  /// Copies the stamp text of that slot into `timestamp` (27 bytes) and returns the slot; prints an
  /// error line and returns -1 when there is no such slot.
  int GetHistoryCorrespondingTimeStamp(char* timestamp, int frame_index);

  /// Decides about the current frame, the one of `input`; writes it into `Record_directory` if
  /// asked for, named by `current_frame`, and puts it into the ring. Returns true when it is in the
  /// ring, written or not (`RECORDED` tells); false after a printed error. A frame that could not
  /// be written waits for a key. `debug` goes to the writer.
  bool apply(int current_frame, int debug);
  /// The same for a stamped frame, written at most `THRESHOLD_INTERVAL_FPS` times a second
  /// (negative: no limit; 0: only the first frame).
  bool apply_with_timestamp(int current_frame, int year, int month, int day, int hour, int minute,
                            int second, int millisecond, float THRESHOLD_INTERVAL_FPS, int debug);
  /// What `apply` (with `SAVE_WITH_TIMESTAMP` false) and `apply_with_timestamp` call.
  bool _apply(bool SAVE_WITH_TIMESTAMP, int current_frame, int year, int month, int day, int hour,
              int minute, int second, int millisecond, float THRESHOLD_INTERVAL_FPS, int debug);

  ///@{
  /// Writes frames out of the ring into `directory` (ending with "/"): by frame number, where
  /// `current_frame` is the newest, or by time range, both ends included, in slot order. The forms
  /// with `stem_bgr` write the colour images, too. Returns 1; 0 after a printed message when a
  /// frame is no longer in the ring (the others are written) or could not be written (waits for a
  /// key).
  int recording(int start_frame_index, int stop_frame_index, int current_frame, char* directory,
                char* stem_depth, int number_digits, int debug);
  int recording(int start_frame_index, int stop_frame_index, int current_frame, char* directory,
                char* stem_depth, char* stem_bgr, int number_digits, int debug);
  int recording(int start_year, int start_month, int start_day, int start_hour, int start_minute,
                int start_second, int start_millisecond, int stop_year, int stop_month,
                int stop_day, int stop_hour, int stop_minute, int stop_second, int stop_millisecond,
                char* directory, char* stem_depth, int debug);
  int recording(int start_year, int start_month, int start_day, int start_hour, int start_minute,
                int start_second, int start_millisecond, int stop_year, int stop_month,
                int stop_day, int stop_hour, int stop_minute, int stop_second, int stop_millisecond,
                char* directory, char* stem_depth, char* stem_bgr, int debug);
  ///@}
  /// What every `recording` calls; `SAVE_WITH_TIMESTAMP` chooses the range of time.
  int _recording(bool SAVE_WITH_TIMESTAMP, int start_year, int start_month, int start_day,
                 int start_hour, int start_minute, int start_second, int start_millisecond,
                 int stop_year, int stop_month, int stop_day, int stop_hour, int stop_minute,
                 int stop_second, int stop_millisecond, int start_frame_index, int stop_frame_index,
                 int current_frame, char* directory, char* stem_depth, bool COLOUR_IMAGE_ON,
                 char* stem_bgr, int number_digits, int debug);

  ///@{
  /// Loads a recorded frame into the current maps and copies its depth into `depthMap` [480*640],
  /// metres, and its colour image into `bgrImage` [480*640*3]; the frame is named by `dir_in`
  /// (ending with "/"), stem, and frame number or moment. Returns false after a printed line when
  /// the frame cannot be read (the maps are then 0), or silently when only the colour image cannot.
  bool read(float* depthMap, char* dir_in, char* stem_filename, int number_digits,
            int current_frame);
  bool read(float* depthMap, char* dir_in, char* stem_filename, int year, int month, int day,
            int hour, int minute, int second, int millisecond);
  /// The moment is taken out of `stem_stamp`, a recorded file's path: what follows the lengths of
  /// `dir_in` and `stem_filename`. The "-" between stem and stamp is not skipped.
  bool read(float* depthMap, char* dir_in, char* stem_filename, char* stem_stamp);
  bool read(float* depthMap, unsigned char* bgrImage, char* dir_in, char* stem_filename,
            char* stem_rgbimage, int number_digits, int current_frame);
  bool read(float* depthMap, unsigned char* bgrImage, char* dir_in, char* stem_filename,
            char* stem_rgbimage, int year, int month, int day, int hour, int minute, int second,
            int millisecond);
  bool read(float* depthMap, unsigned char* bgrImage, char* dir_in, char* stem_filename,
            char* stem_rgbimage, char* stem_stamp);
  ///@}
  ///@{
  /// What every `read` calls: 1, or 0 where that gives false.
  int _read(float* depthMap, char* dir_in, char* stem_filename, bool SAVED_WITH_TIMESTAMP,
            int number_digits, int current_frame, int year, int month, int day, int hour,
            int minute, int second, int millisecond);
  int _read(float* depthMap, unsigned char* bgrImage, char* dir_in, char* stem_filename,
            char* stem_rgbimage, bool SAVED_WITH_TIMESTAMP, int number_digits, int current_frame,
            int year, int month, int day, int hour, int minute, int second, int millisecond);
  ///@}

  ///@{
  /// Loads a frame named by the caller, `depth_filename` without extension, `bgr_filename`
  /// complete, into the current maps and the caller's arrays ([480*640] metres, [480*640*3] B, G,
  /// R). Returns 1; 0 after a printed line when it cannot be read. Never waits for a key.
  int read_for_calib_tool(float* depthMap, unsigned char* bgrImage, char* depth_filename,
                          char* bgr_filename);
  int read_for_calib_tool(float* depthMap, char* depth_filename);
  ///@}
};
