#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "codec/timestamps.h"
#include "tools/recording/recording_info.h"

namespace depth_io::tools {

/// A frame found in a directory, whole or not.
struct RecordedFrame {
  std::string folder;            ///< relative to the recording: empty or ending with "/"
  std::string key;               ///< number or stamp text, as in the file names
  bool key_first = false;        ///< names are key-stem instead of stem-key
  int number = -1;               ///< when named by number
  std::optional<Moment> moment;  ///< when named by time
  bool has_label_map = false;
  bool has_reference = false;
  bool has_codes = false;
  bool has_errors = false;
  bool has_colour = false;

  bool has_depth_files() const { return has_label_map && has_reference && has_codes && has_errors; }
  /// Names without ending, relative to the recording.
  std::string depth_name() const { return folder + base_name(kDepthStem); }
  std::string colour_name() const { return folder + base_name(kColourStem); }
  std::string base_name(const char* stem) const {
    return key_first ? key + "-" + stem : std::string(stem) + "-" + key;
  }
};

/// What the name of a file tells of a frame.
struct FrameFile {
  std::string_view key;
  bool key_first;
  bool RecordedFrame::*flag;  ///< that tells of this file
};

/// Takes a file's name apart; none for a foreign file.
std::optional<FrameFile> frame_file(std::string_view name);

/// Sets number or moment from the key, if an engine would make the same text of it.
bool understand_key(RecordedFrame& frame);

}  // namespace depth_io::tools
