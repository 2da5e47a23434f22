#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/recording/file_bytes.h"
#include "tools/recording/recording.h"

namespace depth_io::tools {

/// Two frames after each other that lie far apart.
struct Gap {
  std::string after;   ///< the frame before it
  std::string before;  ///< the frame behind it
  double length;       ///< seconds; frames where times are not known
};

/// Mean and maximum of a number of each frame.
struct Spread {
  long count = 0;
  double sum = 0;
  long most = 0;

  void add(long number);
  double mean() const { return count == 0 ? 0 : sum / static_cast<double>(count); }
};

/// What the files of a recording tell without being decoded.
struct RecordingStatistics {
  std::optional<Moment> first;
  std::optional<Moment> last;
  std::optional<double> median_step;  ///< as the gaps' lengths; none for a single frame
  std::vector<Gap> gaps;              ///< longer than twice the median step
  bool steps_are_seconds = false;
  long incomplete = 0;  ///< frames that lack a file
  long unread = 0;      ///< frames whose numbers of labels or error records cannot be read
  FileBytes bytes;
  Spread labels;         ///< of each frame
  Spread error_records;  ///< of each frame
};

RecordingStatistics statistics_of(const Recording& recording);

}  // namespace depth_io::tools
