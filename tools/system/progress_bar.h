#pragma once

#include <cstdint>

namespace depth_io::tools {

/// A line on standard error that tells how far the work is; nothing when that is no terminal.
class ProgressBar {
 public:
  /// `total` frames are to come; 0 when that is not known.
  ProgressBar(long total, bool wanted);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void update(long frames, std::uintmax_t bytes);
  /// Clears the line, so that a message can be shown.
  void hide();

 private:
  long total_;
  bool shown_;
  bool visible_ = false;
  double start_;
  double last_update_ = 0;
};

}  // namespace depth_io::tools
