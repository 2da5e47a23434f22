#include "tools/dump_command.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>
#include <string>

#include "codec/calibration_dump.h"
#include "tools/frame/frame_time.h"
#include "tools/recording/recording.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

struct DumpArguments {
  std::string directory;
  std::string frame;
  std::string file;
  bool verbose = false;
};

std::optional<long> whole_number(const std::string& text) {
  long number = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (text.empty() || result.ec != std::errc() || result.ptr != end || number < 0) return {};
  return number;
}

/// The frame that the user names: by number, by its place where frames have no numbers, by time or
/// by name.
const RecordedFrame& find_frame(const Recording& recording, const std::string& text) {
  const auto& frames = recording.frames();
  const auto find = [&](auto is_wanted) -> const RecordedFrame& {
    const auto frame = std::find_if(frames.begin(), frames.end(), is_wanted);
    if (frame != frames.end()) return *frame;
    throw Failure("there is no frame '" + text + "' in '" + recording.directory() + "'");
  };
  if (const std::optional<long> number = whole_number(text)) {
    if (!frames.back().moment) {
      return find([&](const RecordedFrame& frame) { return frame.number == *number; });
    }
    const auto place = static_cast<std::size_t>(*number);
    return find([&](const RecordedFrame& frame) {
      return place < frames.size() && &frame == &frames[place];
    });
  }
  if (const std::optional<Moment> moment = parse_moment(text)) {
    const std::string stamp = stamp_text(*moment);
    return find([&](const RecordedFrame& frame) {
      const std::optional<Moment> time = recording.time_of(frame);
      return time && stamp_text(*time) == stamp;
    });
  }
  return find([&](const RecordedFrame& frame) {
    return frame.depth_name() == text || frame.base_name(kDepthStem) == text;
  });
}

/// Under another name first: the library does not tell whether all of it was written.
void write_dump(Frame& frame, const std::string& file) {
  constexpr std::uintmax_t kDumpSize = 2 * sizeof(int) + kFramePixels * sizeof(float);
  check_replaceable(file);
  std::string temporary = file + ".part";
  std::remove(temporary.c_str());
  calibration_save_uncompressed(kFrameWidth, kFrameHeight, frame.depth.data(), temporary.data());
  const bool is_whole = regular_file_size(temporary) == kDumpSize;
  if (is_whole && std::rename(temporary.c_str(), file.c_str()) == 0) return;
  std::remove(temporary.c_str());
  throw Failure("cannot write '" + file + "'");
}

int dump(const DumpArguments& arguments) {
  LibraryLog log(arguments.verbose);
  Recording recording(arguments.directory, log);
  tell_troubles(recording);
  const RecordedFrame& recorded = find_frame(recording, arguments.frame);
  Frame frame;
  const std::string fault = recording.read(recorded, frame);
  // Depth is all that is wanted.
  const bool lacks_colour_only = fault.empty() || recorded.has_depth_files();
  if (!fault.empty() && !(lacks_colour_only && !recorded.has_colour)) {
    log.show_last_lines();
    throw Failure(recorded.depth_name() + " " + fault);
  }
  write_dump(frame, arguments.file);
  write_data("dumped     %s to %s\n", recorded.depth_name().c_str(), arguments.file.c_str());
  return kGood;
}

}  // namespace

std::function<int()> add_dump_command(CLI::App& program) {
  auto arguments = std::make_shared<DumpArguments>();
  DumpArguments& a = *arguments;
  CLI::App& command = *program.add_subcommand(
      "dump",
      "Writes the depth map of a frame uncompressed: height 480 and width 640 as 32-bit integers, "
      "then the metres as 32-bit floats, row by row");
  command.add_option("DIR", a.directory, "Directory of the recording")->required();
  command
      .add_option("FRAME", a.frame,
                  "The frame's number, its place (from 0) where frames are named by time, its time "
                  "or its name")
      ->required();
  command.add_option("FILE", a.file, "File to write")->required();
  command.add_flag("--verbose", a.verbose, "Show what the library says");
  return [arguments] { return dump(*arguments); };
}

}  // namespace depth_io::tools
