#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/frame/time_range.h"
#include "tools/recording/frame_contents.h"

namespace depth_io::tools {

/// What `depthrw verify` is asked to do.
struct VerifyArguments {
  std::string directory;
  std::string against;  ///< source to compare with; empty: none
  std::optional<std::uint32_t> seed;
  std::optional<double> scale;
  std::optional<double> max_depth;
  bool in_order = false;
  TimeRangeArguments range;
  FrameSize size;
  std::string quarantine;  ///< where damaged frames go; empty: they stay
  bool json = false;
  bool verbose = false;
};

}  // namespace depth_io::tools
