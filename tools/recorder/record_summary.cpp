#include "tools/recorder/record_summary.h"

#include <algorithm>
#include <cstdio>

#include "tools/system/interruption.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

void add_kind(std::string& text, const char* name, std::uintmax_t size, long frames) {
  if (frames == 0) return;
  text += format_text("%-10s %14ju bytes  %10.0f a frame\n", name, size,
                      static_cast<double>(size) / static_cast<double>(frames));
}

/// A line of counts, if any of them is not 0.
struct Count {
  long number;
  const char* what;
};
template <std::size_t kSize>
void add_counts(std::string& text, const char* name, const Count (&counts)[kSize]) {
  std::string line;
  for (const Count& count : counts) {
    if (count.number == 0) continue;
    if (!line.empty()) line += ", ";
    line += format_text("%ld %s", count.number, count.what);
  }
  if (!line.empty()) text += format_text("%-10s %s\n", name, line.c_str());
}

std::string summary_text(const RecordSummary& summary) {
  const RecordingInfo& info = summary.info;
  const FileBytes& bytes = summary.bytes;
  const long frames = info.frames_recorded;
  std::string text =
      format_text("recorded   %ld of %ld frames to %s%s\n", frames, info.frames_offered,
                  summary.directory.c_str(), interrupted() ? " (interrupted)" : "");
  const KeptFrames& kept = info.kept;
  add_counts(text, "kept",
             {{kept.motion, "for motion"},
              {kept.period, "by period"},
              {kept.request, "on request"},
              {kept.history, "out of the history"}});
  const SkippedFrames& skipped = info.skipped;
  add_counts(text, "skipped",
             {{skipped.not_triggered, "without a trigger"},
              {skipped.rate_limit, "by the rate limit"},
              {skipped.already_recorded, "recorded already"}});
  add_counts(text, "failed", {{info.frames_failed, "frame"}});
  add_counts(text, "dropped", {{info.frames_dropped, "(the recorder was late)"}});
  add_counts(text, "missed", {{info.frames_missed, "(the camera was faster than the recorder)"}});
  add_counts(text, "clock", {{info.clock_steps.count, "steps"}});
  if (info.colour) add_kind(text, "colour", bytes.colour, frames);
  add_kind(text, "codes", bytes.codes, frames);
  add_kind(text, "label map", bytes.label_map, frames);
  add_kind(text, "references", bytes.reference, frames);
  add_kind(text, "errors", bytes.errors, frames);
  add_kind(text, "all", bytes.sum(), frames);
  const double time = std::max(summary.seconds, 1e-6);
  const double megabytes = static_cast<double>(bytes.sum()) / 1e6;
  text += format_text("time       %.2f s, %.1f frames/s, %.2f MB, %.2f MB/s\n", summary.seconds,
                      static_cast<double>(info.frames_offered) / time, megabytes, megabytes / time);
  text += format_text("readings   %ju cut (deeper than %g m, negative or no number)\n",
                      static_cast<std::uintmax_t>(info.readings_cut), info.max_depth);
  return text;
}

}  // namespace

void print_record_summary(const RecordSummary& summary, bool json, bool names_are_data) {
  if (json) {
    write_data("%s", recording_text(summary.info).c_str());
  } else if (names_are_data) {
    std::fputs(summary_text(summary).c_str(), stderr);
  } else {
    write_data("%s", summary_text(summary).c_str());
  }
}

}  // namespace depth_io::tools
