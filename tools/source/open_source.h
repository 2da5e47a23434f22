#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tools/source/frame_source.h"
#include "tools/system/library_log.h"

namespace depth_io::tools {

/// How the user names a source of frames.
struct SourceChoice {
  /// "synthetic", "images:" and a directory, or "openni:" and a configuration file
  std::string text = "synthetic";
  std::uint32_t seed = 1;       ///< of the synthetic scene
  std::optional<double> scale;  ///< units per metre, instead of the file of an image directory
  bool with_colour = true;      ///< false: colour images are not looked for
  bool loop = false;            ///< begin again at the end
  double max_gap = 0.02;        ///< seconds between the images of a frame, of a data set with lists
  bool with_unpaired = false;   ///< take also depth images of such a set that have no colour image
  double stall_seconds = 5;     ///< a camera without a new frame for so long has stalled
};

/// Opens a source. Throws `UsageFailure` when the text names none, `Failure` when it cannot be
/// opened. `log` takes what the library says of a camera.
std::unique_ptr<FrameSource> open_source(const SourceChoice& choice, LibraryLog& log);

/// Opens a source that recordings can be compared with; a camera is none.
std::unique_ptr<IndexedSource> open_indexed_source(const SourceChoice& choice);

/// Whether the text names a camera.
bool is_camera(const std::string& text);

/// Throws `UsageFailure` when the text of the option --source names no source.
void check_source_text(const std::string& text);

/// Throws `UsageFailure` when the text of an option names no source that has an order of its own.
void check_indexed_source_text(const std::string& text, const char* option);

/// What --help says about sources.
inline constexpr char kIndexedSourceHelp[] = "synthetic or images:PATH";
inline constexpr char kSourceHelp[] = "synthetic, images:PATH or openni:CONFIG.xml";

}  // namespace depth_io::tools
