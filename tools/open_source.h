#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tools/frame_source.h"

namespace depth_io::tools {

/// How the user names a source of frames.
struct SourceChoice {
  std::string text = "synthetic";  ///< "synthetic", or "images:" and a directory
  std::uint32_t seed = 1;          ///< of the synthetic scene
  std::optional<double> scale;     ///< units per metre, instead of the file of an image directory
  bool with_colour = true;         ///< false: colour images are not looked for
  bool loop = false;               ///< begin again at the end
  double max_gap = 0.02;       ///< seconds between the images of a frame, of a data set with lists
  bool with_unpaired = false;  ///< take also depth images of such a set that have no colour image
};

/// Opens a source. Throws `UsageFailure` when the text names none, `Failure` when it cannot be
/// opened.
std::unique_ptr<IndexedSource> open_source(const SourceChoice& choice);

/// Throws `UsageFailure` when the text names no source.
void check_source_text(const std::string& text, const char* option);

/// What --help says about sources.
inline constexpr char kSourceHelp[] = "synthetic or images:PATH";

}  // namespace depth_io::tools
