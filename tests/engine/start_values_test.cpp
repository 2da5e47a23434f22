#include "engine/camera_depth_rw.h"
#include "engine/camera_depth_rw2.h"
#include "engine/camera_depth_rw3.h"
#include "tests/support/stale_memory.h"

// Callers read the engines' fields, and copy parameters whole: each has a value from the beginning,
// whatever was in the memory. `jpgfile` holds nothing, and a text of the standard library is never
// without a value.
namespace depth_io::test {
namespace {

using FirstEngine = KV_RGBD_CameraCompression;
using SecondEngine = KV_RGBD_CameraCompression2;
using ThirdEngine = KV_RGBD_CameraCompression3;

/// What all engines have.
template <typename Engine>
void expect_common_fields_set(const Engine& e) {
  EXPECT_NONE_STALE(e.REVERSE_NAME, e.SizeHistory, e.HistoryModCounter, e.USE_FRAME_DIFF,
                    e.pct_moving, e.threshold_motion_contrast, e.threshold_pct_motion,
                    e.Record_period, e.Record_period_gap, e.RECORDED, e.INITIALISED, e.VERIFICATION,
                    e.temp_string, e.temp_strdest, e.WW, e.HH, e.a11, e.a22, e.cx, e.cy);
  EXPECT_NONE_STALE(e.last_time_recorded_year, e.last_time_recorded_month, e.last_time_recorded_day,
                    e.last_time_recorded_hour, e.last_time_recorded_minute,
                    e.last_time_recorded_second, e.last_time_recorded_millisecond);
  EXPECT_NONE_STALE(e.DisplayMovingFrame, e.MapHasDepth, e.prev_MapHasDepth, e.timestamp,
                    e.HistoryDepth, e.HistoryBGR, e.HistoryTimeStamp, e.HistoryYear, e.HistoryMonth,
                    e.HistoryDay, e.HistoryHour, e.HistoryMinute, e.HistorySecond,
                    e.HistoryMillisecond);
  expect_record_set(e.RW);
}

/// What the parameters of both later generations have.
template <typename Parameters>
void expect_common_parameters_set(const Parameters& p) {
  EXPECT_NONE_STALE(p.CameraType, p.CameraType_active, p.WriteOrRead, p.WriteOrRead_active,
                    p.SizeBuffer, p.SizeBuffer_active, p.Directory, p.Directory_active, p.DepthStem,
                    p.DepthStem_active, p.BGRStem, p.BGRStem_active, p.MaxFPS, p.MaxFPS_active);
}

void expect_parameters_set(const KV_RGBD_CameraCompression2_parameters& p) {
  expect_common_parameters_set(p);
  EXPECT_NONE_STALE(p.NbFramesPerSubDirectory, p.SubDirectory_active);
}

void expect_parameters_set(const KV_RGBD_CameraCompression3_parameters& p) {
  expect_common_parameters_set(p);
  EXPECT_NONE_STALE(p.ReadFolder_Start_Unixtime, p.ReadFolder_Start_Year, p.ReadFolder_Start_Month,
                    p.ReadFolder_Start_Day, p.ReadFolder_Start_Hour, p.ReadFolder_Start_Minute,
                    p.ReadFolder_Start_Second, p.ReadFolder_Start_Millisecond);
  EXPECT_NONE_STALE(p.ReadFolder_Stop_Unixtime, p.ReadFolder_Stop_Year, p.ReadFolder_Stop_Month,
                    p.ReadFolder_Stop_Day, p.ReadFolder_Stop_Hour, p.ReadFolder_Stop_Minute,
                    p.ReadFolder_Stop_Second, p.ReadFolder_Stop_Millisecond);
  EXPECT_NONE_STALE(p.ReadFolder_Current_Year, p.ReadFolder_Current_Month, p.ReadFolder_Current_Day,
                    p.ReadFolder_Current_Hour, p.ReadFolder_Current_Minute);
}

/// What both later generations have.
template <typename Engine>
void expect_stamped_engine_set(const Engine& e) {
  expect_common_fields_set(e);
  expect_parameters_set(e.param);
  EXPECT_NONE_STALE(e.delta_time_last_recorded, e.last_time_recorded_unixtime, e.DepthMap,
                    e.ColourImage, e.depth_string, e.bgr_string, e.temp_string2, e._temp_str,
                    e.HistoryUnixTimes, e.o_HistoryIndex);
  EXPECT_NONE_STALE(e._CurrentFrame, e._CurrentFrame_active, e._CurrentYear, e._CurrentMonth,
                    e._CurrentDay, e._CurrentHour, e._CurrentMinute, e._CurrentSecond,
                    e._CurrentMillisecond, e._CurrentTimeStamp_active, e._CurrentStampString,
                    e._CurrentStampString_active);
}

TEST(StartValues, NothingOfAFirstEngineIsLeftUnset) {
  const InStaleMemory<FirstEngine> made;
  const FirstEngine& e = *made;
  expect_common_fields_set(e);
  EXPECT_NONE_STALE(e.Record, e.Record_directory, e.Record_stem_depth, e.Record_stem_bgr,
                    e.Record_number_digits, e.last_time_recorded_at, e.Current_Frame_Index, e.Debug,
                    e.printout, e.COLOUR_IMAGE_ON, e.HistoryCounter);
  EXPECT_NONE_STALE(e.tempF, e.tempUS, e.colour_image, e.MapXd, e.MapYd, e.MapZd);
}

TEST(StartValues, NothingOfASecondEngineIsLeftUnsetBeforeConstruct) {
  const InStaleMemory<SecondEngine> made;
  const SecondEngine& e = *made;
  expect_stamped_engine_set(e);
  EXPECT_NONE_STALE(e.fSubDir_r, e.CurrentNbFramesSavedInSubDirectory, e.CurrentSubDirectoryIndex,
                    e.FirstIndexSavedInSubDirectory, e.FirstTimeStampSavedInSubDirectory);
  // The only field that is not open is a flag behind the last one that is.
  const auto* const first = reinterpret_cast<const unsigned char*>(&e);
  const auto* const last_open = reinterpret_cast<const unsigned char*>(&e.o_HistoryIndex);
  EXPECT_NE(first[last_open - first + std::ptrdiff_t{sizeof e.o_HistoryIndex}], kStaleByte);
}

TEST(StartValues, NothingOfAThirdEngineIsLeftUnsetBeforeConstruct) {
  const InStaleMemory<ThirdEngine> made;
  const ThirdEngine& e = *made;
  expect_stamped_engine_set(e);
  EXPECT_NONE_STALE(e.CURRENT_STAMP_INDEX, e.LAST_STAMP_INDEX, e.REACHED_WANTED_START_TIME,
                    e.REACHED_WANTED_STOP_TIME, e.TimeStamps, e.SortedStamps, e.UnixTimes,
                    e.SortedIndex, e.CurrentFolderStringDay, e.CurrentFolderStringHour,
                    e.CurrentFolderStringMinute);
}

TEST(StartValues, NothingOfParametersIsLeftUnset) {
  expect_parameters_set(*InStaleMemory<KV_RGBD_CameraCompression2_parameters>());
  expect_parameters_set(*InStaleMemory<KV_RGBD_CameraCompression3_parameters>());
}

}  // namespace
}  // namespace depth_io::test
