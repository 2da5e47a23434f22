#pragma once

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

#include "codec/frame_reader.h"
#include "tests/support/engine_fixture.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/memory_limit.h"

// What the tests of the second and third generation share: the two have the same fields and, to a
// large part, the same calls. `Engine` and `Parameters` stand for either.
namespace depth_io::test {

/// Number of every captured frame; files are named by the stamp, so it shows in messages only.
inline constexpr int kFrameNumber = 7;

/// A Kinect-class camera, written to `directory` under the stem "depth" without a rate limit.
template <typename Parameters>
void set_recording(Parameters& parameters, const std::string& directory) {
  Text path(directory);
  Text stem("depth");
  parameters.SetDirectory(path);
  parameters.SetDepthStem(stem);
  parameters.SetCameraType(0);
  parameters.SetMaxFPS(-1.0F);
}

template <typename Parameters>
void set_colour(Parameters& parameters) {
  Text stem("bgrimage");
  parameters.SetBGRStem(stem);
}

/// `Construct`, which is to succeed without a word.
template <typename Engine, typename Parameters>
void construct(Engine& engine, Parameters& parameters) {
  const auto seen = observe([&] { return engine.Construct(parameters); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
}

/// Makes the current frame flat.
template <typename Engine>
void fill_frame(Engine& engine, float metres, unsigned char colour = 0) {
  std::fill_n(engine.DepthMap, kPixels, metres);
  std::fill_n(engine.ColourImage, kColourBytes, colour);
}

/// Captures the current frame.
template <typename Engine>
bool capture(Engine& engine, bool record_now, const Moment& m, int debug = 0) {
  return engine.apply_with_timestamp(record_now, kFrameNumber, m.year, m.month, m.day, m.hour,
                                     m.minute, m.second, m.millisecond, debug);
}

template <typename Engine>
bool capture_quietly(Engine& engine, bool record_now, const Moment& m) {
  return quietly([&] { return capture(engine, record_now, m); });
}

/// Captures a flat frame.
template <typename Engine>
bool capture_flat(Engine& engine, bool record_now, const Moment& m, float metres,
                  unsigned char colour = 0) {
  fill_frame(engine, metres, colour);
  return capture_quietly(engine, record_now, m);
}

template <typename Engine>
bool record_range(Engine& engine, const Moment& start, const Moment& stop, int print = 0,
                  int debug = 0) {
  return engine.recording_from_buffer(start.year, start.month, start.day, start.hour, start.minute,
                                      start.second, start.millisecond, stop.year, stop.month,
                                      stop.day, stop.hour, stop.minute, stop.second,
                                      stop.millisecond, print, debug);
}

// --- Fields as one value ------------------------------------------------------------------------

template <typename Engine>
std::array<const depth_io_ClassBufferINT*, 7> ring_fields(const Engine& engine) {
  return {&engine.HistoryYear,       &engine.HistoryMonth,  &engine.HistoryDay,
          &engine.HistoryHour,       &engine.HistoryMinute, &engine.HistorySecond,
          &engine.HistoryMillisecond};
}

/// The moment in a slot of the ring, as `format_moment` gives it.
template <typename Engine>
std::string slot_moment(const Engine& engine, int slot) {
  const auto fields = ring_fields(engine);
  Moment m;
  int* const numbers[] = {&m.year, &m.month, &m.day, &m.hour, &m.minute, &m.second, &m.millisecond};
  for (std::size_t i = 0; i < fields.size(); ++i) *numbers[i] = fields[i]->buffer[slot];
  return format_moment(m);
}

/// The moment of the last recorded frame, as `format_moment` gives it.
template <typename Engine>
std::string last_recorded(const Engine& engine) {
  return format_moment({engine.last_time_recorded_year, engine.last_time_recorded_month,
                        engine.last_time_recorded_day, engine.last_time_recorded_hour,
                        engine.last_time_recorded_minute, engine.last_time_recorded_second,
                        engine.last_time_recorded_millisecond});
}

template <typename Buffer, typename Value>
bool is_all(const Buffer& buffer, int size, Value value) {
  return buffer.N == size && std::all_of(buffer.buffer, buffer.buffer + size,
                                         [value](auto element) { return element == value; });
}

/// What the seven int buffers of a ring say about a size below 1.
inline std::string ring_size_errors(int size) {
  const std::string text = std::to_string(size);
  std::string output;
  for (int i = 0; i < 7; ++i) {
    output += "depth_io_ClassBufferINT::Create - ERROR SIZE " + text + "\n" +
              "ERROR depth_io_ClassBufferINT::Create( " + text + " )\n";
  }
  return output;
}

// --- Lines --------------------------------------------------------------------------------------

/// The line that a capture with a request to record prints. The start values are those of the first
/// frame, without a rate limit.
struct RequestLine {
  Moment current = kMoment;
  Moment last = kMoment;
  int pass = 1;
  std::string seconds = "0.000000";
  std::string limit = "-1.000000";
  int moving = 0;
  int too_long = 0;
  int unrecorded = 0;  ///< frames seen without being recorded

  std::string str() const {
    char last_text[60];
    std::snprintf(last_text, sizeof last_text, "%d:%d:%d,%d", last.hour, last.minute, last.second,
                  last.millisecond);
    return " - info - Moving " + std::to_string(moving) + " BeenTooLong " +
           std::to_string(too_long) + " (" + std::to_string(unrecorded) + ") pass_delta " +
           std::to_string(pass) + " (" + seconds + " vs " + limit + ") " + format_moment(current) +
           " - (lastrec " + last_text + ")\n";
  }
};

/// What the converter to Unix time says about the hour of a moment.
inline std::string bad_hour_line(const Moment& m) {
  char text[200];
  std::snprintf(text, sizeof text,
                " - ERROR - ConvertTimeStampToUnixTime - hour NOT correct of stamp "
                "%d/%d/%d T %d:%d:%d.%d\n",
                m.year, m.month, m.day, m.hour, m.minute, m.second, m.millisecond);
  return text;
}

/// The same about its day.
inline std::string bad_day_line(int day, int month, int days_in_month) {
  return " ERROR day NOT correct; " + std::to_string(day) + " (in month " + std::to_string(month) +
         ") not in [1:" + std::to_string(days_in_month) + "]\n";
}

/// Year.month.day|hour minute second.millisecond, as the errors about moments show them.
inline std::string moment_in_errors(const Moment& m) {
  char text[120];
  std::snprintf(text, sizeof text, "%d.%d.%d|%d %d %d.%d", m.year, m.month, m.day, m.hour, m.minute,
                m.second, m.millisecond);
  return text;
}

/// What the writer prints about a flat frame that is named by its stamp, and the keys it takes;
/// writes the files once more, the same.
inline ConsoleTrace writer_trace(const std::string& directory, const std::string& stamp, int index,
                                 float metres, int debug, bool colour = false) {
  OwnedRecord record(kWidth, kHeight);
  FrameCall call;
  call.reverse_name = true;
  call.verification = -1;
  call.directory = directory;
  call.by_timestamp = true;
  call.digits = 8;
  call.number = index;
  call.timestamp = stamp;
  call.depths = flat_depth(metres);
  call.debug = debug;
  if (colour) {
    call.colour_on = true;
    call.colour_stem = "bgrimage";
    call.colour = flat_colour(0);
  }
  return capture_console([&] { EXPECT_EQ(call.write(record.get()), 1); });
}

/// What the reader prints about a frame, and the keys it takes.
inline ConsoleTrace reader_trace(const std::string& base, int debug) {
  OwnedRecord record(kWidth, kHeight);
  Text name(base);
  return capture_console([&] { load_compressed_data(record.get(), name, debug); });
}

// --- Surroundings -------------------------------------------------------------------------------

/// Makes an empty directory the current one for the length of a test.
class EmptyCurrentDirectory {
 public:
  EmptyCurrentDirectory() : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(directory_.path());
  }
  ~EmptyCurrentDirectory() { std::filesystem::current_path(before_); }
  EmptyCurrentDirectory(const EmptyCurrentDirectory&) = delete;
  EmptyCurrentDirectory& operator=(const EmptyCurrentDirectory&) = delete;
  bool is_still_empty() const { return std::filesystem::is_empty(directory_.path()); }

 private:
  TempDirectory directory_;
  std::filesystem::path before_;
};

/// A directory whose path has exactly `length` characters, so that little fits behind it.
inline std::string directory_of_length(const TempDirectory& root, std::size_t length) {
  std::string path = root.path();
  while (path.size() < length) {
    std::size_t part = std::min<std::size_t>(length - path.size() - 1, 200);
    if (length - path.size() - 1 - part == 1) --part;  // room for a "/" and a letter
    path += "/" + std::string(part, 'd');
  }
  std::filesystem::create_directories(path);
  return path;
}

}  // namespace depth_io::test
