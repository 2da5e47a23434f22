#include "tools/system/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "tools/system/interruption.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

constexpr double kUpdateSeconds = 0.1;
constexpr int kBarWidth = 24;

std::string bar_text(long frames, long total) {
  const int filled =
      static_cast<int>(std::clamp(frames * kBarWidth / total, 0L, static_cast<long>(kBarWidth)));
  std::string bar(static_cast<std::size_t>(filled), '#');
  bar.resize(kBarWidth, '.');
  return "[" + bar + "] ";
}

std::string time_text(double seconds) {
  const long whole = static_cast<long>(std::min(seconds, 359999.0) + 0.5);
  if (whole >= 3600) {
    return format_text("%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
  }
  return format_text("%ld:%02ld", whole / 60, whole % 60);
}

}  // namespace

ProgressBar::ProgressBar(long total, bool wanted)
    : total_(total), shown_(wanted && isatty(STDERR_FILENO) == 1), start_(monotonic_seconds()) {}

ProgressBar::~ProgressBar() { hide(); }

void ProgressBar::update(long frames, std::uintmax_t bytes) {
  if (!shown_) return;
  const double now = monotonic_seconds();
  if (now - last_update_ < kUpdateSeconds) return;
  last_update_ = now;
  const double seconds = std::max(now - start_, 1e-3);
  const double rate = static_cast<double>(frames) / seconds;
  std::string line;
  if (total_ > 0) line = bar_text(frames, total_);
  line += format_text("%ld", frames);
  if (total_ > 0) line += format_text("/%ld", total_);
  line += format_text(" frames, %.1f frames/s, %.1f MB/s", rate,
                      static_cast<double>(bytes) / 1e6 / seconds);
  if (total_ > 0 && frames > 0) {
    line += ", " + time_text(static_cast<double>(total_ - frames) / rate) + " left";
  }
  std::fprintf(stderr, "\r\033[K%s", line.c_str());
  std::fflush(stderr);
  visible_ = true;
}

void ProgressBar::hide() {
  if (!visible_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  visible_ = false;
}

}  // namespace depth_io::tools
