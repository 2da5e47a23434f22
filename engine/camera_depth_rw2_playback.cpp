#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "catalogue/catalogue.h"
#include "codec/file_io.h"
#include "engine/camera_depth_rw2.h"
#include "engine/stamped_engine.h"

using depth_io::PathText;
using depth_io::print;
using depth_io::print_line;
using depth_io::print_line_and_wait;

namespace {

using Engine = KV_RGBD_CameraCompression2;

// Kept: in sub-directories playback looks for these stems, whatever the settings say.
constexpr char kDepthStem[] = "depth";
constexpr char kColourStem[] = "bgrimage";

enum class Step { kFailed, kFinished, kNamed };

void trace(int debug, const char* text) {
  if (debug == 1) print_line(text);
}

/// Takes a name that was built into its field; false, and an empty field, when it did not fit.
template <std::size_t kSize>
bool store_name(char (&field)[kSize], const PathText& name) {
  return depth_io::copy_text(field, kSize, name.fits() ? name.c_str() : nullptr);
}

// --- A position that the caller set -------------------------------------------------------------

void print_position_help() {
  print_line(
      "ERROR - (USE_SUB_DIR unactivated) input for Read not set: use one of this function before:");
  print_line(
      "1 : SetCurrentFrame(int current_frame) if you wish to read filename-currentframe files");
  print_line(
      "2 : SetCurrentTimeStamp(int year, month, day, hour, minute, second, millisecond) if you "
      "wish to read filename-timestamp files");
  print_line(
      "3 : SetCurrentTimeStamp(char *timestamp) if you wish to read filename-timestamp files");
  depth_io::wait_for_key();
}

/// Builds the depth name around a stamp text and tells each step of it.
PathText tell_depth_name(const Engine& engine) {
  PathText name;
  name.append(engine.param.Directory);
  print("1 - '%s'\n", name.c_str());
  if (!engine.REVERSE_NAME) {
    name.append(engine.param.DepthStem).append("-");
    print("2 - '%s'\n", name.c_str());
  }
  name.append(engine._CurrentStampString);
  print("3 - '%s'\n", name.c_str());
  if (engine.REVERSE_NAME) name.append("-").append(engine.param.DepthStem);
  print("4 - '%s'\n", name.c_str());
  return name;
}

bool build_position_names(Engine& engine, const depth_io::FrameKey& key, bool tells) {
  PathText depth_name;
  if (tells) {
    depth_name = tell_depth_name(engine);
  } else {
    depth_io::append_frame_name(depth_name, engine.param.Directory, engine.param.DepthStem,
                                engine.REVERSE_NAME, key);
  }
  const bool depth_fits = store_name(engine.depth_string, depth_name);
  if (!engine.param.BGRStem_active) return depth_fits;
  PathText colour_name;
  depth_io::append_frame_name(colour_name, engine.param.Directory, engine.param.BGRStem,
                              engine.REVERSE_NAME, key);
  colour_name.append(depth_io::kJpegEnding);
  return store_name(engine.bgr_string, colour_name) && depth_fits;
}

Step name_frame_at_position(Engine& engine, int debug) {
  const int positions = int{engine._CurrentFrame_active} + int{engine._CurrentTimeStamp_active} +
                        int{engine._CurrentStampString_active};
  if (positions == 0) {
    print_position_help();
    return Step::kFailed;
  }
  if (positions > 1) {
    print_line(
        "ERROR - (USE_SUB_DIR unactivated) too many input for Read : use only one of this function "
        "before:");
    print_position_help();
    return Step::kFailed;
  }
  depth_io::FrameKey key{.by_timestamp = true, .number_digits = 8};
  if (engine._CurrentFrame_active) {
    key.by_timestamp = false;
    key.frame_number = engine._CurrentFrame;
  } else if (engine._CurrentTimeStamp_active) {
    depth_io::write_stamp(
        engine.timestamp.buffer,
        {engine._CurrentYear, engine._CurrentMonth, engine._CurrentDay, engine._CurrentHour,
         engine._CurrentMinute, engine._CurrentSecond, engine._CurrentMillisecond},
        debug);
    key.timestamp = engine.timestamp.buffer;
  } else {
    key.timestamp = engine._CurrentStampString;
  }
  // A name that does not fit is left empty, and the frame is then reported as not loaded.
  build_position_names(engine, key, engine._CurrentStampString_active);
  return Step::kNamed;
}

// --- The next frame of the numbered sub-directories ---------------------------------------------

/// Opens the content list of the current sub-directory; its path stays in `_temp_str`. False when
/// there may be one that cannot be opened.
bool open_list(Engine& engine) {
  PathText path;
  depth_io::append_numbered_folder(path, engine.param.Directory, engine.CurrentSubDirectoryIndex);
  path.append("/list.txt");
  engine.fSubDir_r = nullptr;
  if (!store_name(engine._temp_str, path)) return true;
  errno = 0;
  engine.fSubDir_r = depth_io::open_regular_file(engine._temp_str);
  return engine.fSubDir_r != nullptr || errno == 0 || depth_io::is_missing(errno);
}

/// Goes to the next sub-directory's list. After a fault, which is told, the finished one stays: the
/// fault may pass, and the next call tries again.
bool open_next_list(Engine& engine) {
  std::FILE* const finished = engine.fSubDir_r;
  ++engine.CurrentSubDirectoryIndex;
  const bool is_sound = open_list(engine);
  print("opening new subfolder '%s'\n", engine._temp_str);
  if (is_sound) {
    std::fclose(finished);
    return true;
  }
  print("ERROR failed to open '%s'\n", engine._temp_str);
  engine.fSubDir_r = finished;
  --engine.CurrentSubDirectoryIndex;
  return false;
}

/// A blank-delimited word of a content list. One that is longer than an entry can be stays a word
/// and is no entry.
struct ListWord {
  char text[256] = {};
  bool found = false;
  bool whole = true;
};

ListWord read_word(std::FILE* list) {
  constexpr std::string_view kBlanks = " \t\n\v\f\r";
  const auto is_blank = [&](int c) {
    return kBlanks.find(static_cast<char>(c)) != std::string_view::npos;
  };
  ListWord word;
  std::size_t length = 0;
  int c = std::getc(list);
  while (c != EOF && is_blank(c)) c = std::getc(list);
  for (; c != EOF && !is_blank(c); c = std::getc(list)) {
    word.found = true;
    if (length + 1 < sizeof word.text) {
      word.text[length++] = static_cast<char>(c);
    } else {
      word.whole = false;
    }
  }
  return word;
}

/// An entry names a frame of this sub-directory, and nothing elsewhere.
bool is_entry(const ListWord& word) {
  return word.found && word.whole && std::strchr(word.text, '/') == nullptr;
}

bool open_first_list(Engine& engine) {
  if (engine.fSubDir_r != nullptr) {
    print_line_and_wait("ERROR - Read - sub dir content file existent at t=0!!");
    return false;
  }
  open_list(engine);
  print("opening '%s'\n", engine._temp_str);
  return true;
}

/// What the end of a list means: its end, or a fault, which is told.
Step end_of_list(std::FILE* list) {
  if (std::ferror(list) == 0) return Step::kFinished;
  std::clearerr(list);
  print_line("ERROR - sub dir content file cannot be read");
  return Step::kFailed;
}

/// Reads the sequence number that a line begins with, in the next list at the end of this one.
Step read_sequence_number(Engine& engine) {
  if (read_word(engine.fSubDir_r).found) return Step::kNamed;
  if (end_of_list(engine.fSubDir_r) == Step::kFailed) return Step::kFailed;
  if (!open_next_list(engine)) return Step::kFailed;
  if (engine.fSubDir_r == nullptr) return Step::kFinished;
  return read_word(engine.fSubDir_r).found ? Step::kNamed : end_of_list(engine.fSubDir_r);
}

void build_entry_name(Engine& engine, const char* entry, const char* stem, const char* ending,
                      char (&field)[512]) {
  PathText folder;
  depth_io::append_numbered_folder(folder, engine.param.Directory, engine.CurrentSubDirectoryIndex);
  folder.append("/");
  PathText name;
  depth_io::append_frame_name(name, folder.fits() ? folder.c_str() : nullptr, stem,
                              engine.REVERSE_NAME, {.by_timestamp = true, .timestamp = entry});
  name.append(ending);
  store_name(field, name);
}

Step name_next_entry(Engine& engine) {
  if (!engine.INITIALISED && !open_first_list(engine)) return Step::kFailed;
  if (engine.fSubDir_r == nullptr) {
    print_line("ERROR - sub dir content file non existent!!");
    return Step::kFailed;
  }
  const Step step = read_sequence_number(engine);
  if (step == Step::kFinished) print_line("finished reading (case2)");
  if (step != Step::kNamed) return step;
  const ListWord word = read_word(engine.fSubDir_r);
  // What is no entry becomes an empty name, and is then reported as not loaded.
  const char* const entry = is_entry(word) ? word.text : nullptr;
  build_entry_name(engine, entry, kDepthStem, "", engine.depth_string);
  build_entry_name(engine, entry, kColourStem, depth_io::kJpegEnding, engine.bgr_string);
  return Step::kNamed;
}

// --- Loading ------------------------------------------------------------------------------------

void list_recording(Engine& engine) {
  const int sub_directories = ListEntriesInDir(engine.param.Directory);
  print(" - INFO - %d Sub Directories in '%s' - PRESS TO START READING\n", sub_directories,
        engine.param.Directory);
  depth_io::wait_for_key();
}

bool load_depth(Engine& engine, int debug) {
  const bool is_named = engine.depth_string[0] != '\0';
  if (is_named && load_compressed_data(engine.RW, engine.depth_string, debug)) return true;
  depth_io::report_unread_frame(engine);
  return false;
}

bool load_colour(Engine& engine, int debug) {
  if (!engine.param.BGRStem_active) return true;
  if (debug == 1) print("DEBUG - read - read_compressed jpeg '%s'\n", engine.bgr_string);
  if (engine.LoadColourImage(engine.bgr_string)) return true;
  print_line_and_wait("failed to read bgr image");
  return false;
}

}  // namespace

bool KV_RGBD_CameraCompression2::Read(int debug) {
  trace(debug, "DEBUG - read - read_compressed");
  const bool walks_sub_directories = param.SubDirectory_active;
  if (!INITIALISED && walks_sub_directories) list_recording(*this);
  const Step step =
      walks_sub_directories ? name_next_entry(*this) : name_frame_at_position(*this, debug);
  if (step != Step::kNamed) return step == Step::kFinished;
  if (!load_depth(*this, debug)) return false;
  if (!load_colour(*this, debug)) return false;
  trace(debug, "DEBUG - read - read_compressed done");
  depth_io::take_stamped_frame(*this);
  depth_io::forget_position(*this);
  INITIALISED = true;
  return true;
}

bool KV_RGBD_CameraCompression2::LoadColourImage(char* FILENAME) {
  return !param.BGRStem_active || depth_io::load_engine_colour(*this, FILENAME);
}

bool KV_RGBD_CameraCompression2::read_for_calib_tool(char* depth_filename, char* bgr_filename) {
  return depth_io::read_depth_for_calibration(*this, depth_filename) &&
         depth_io::read_colour_for_calibration(*this, bgr_filename);
}

bool KV_RGBD_CameraCompression2::read_for_calib_tool(char* depth_filename) {
  return depth_io::read_depth_for_calibration(*this, depth_filename);
}
