#include "tools/recorder/recorder.h"

#include <algorithm>
#include <utility>

#include "codec/frame_names.h"
#include "tools/frame/frame_time.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/output.h"

namespace depth_io::tools {

Recorder::Recorder(const EngineSettings& settings, RecordingInfo& recording, LibraryLog& log,
                   WrittenHandler written)
    : directory_(settings.directory),
      recording_(recording),
      log_(log),
      written_(std::move(written)),
      engine_(make_capture_engine(settings)) {}

void Recorder::offer(Frame& frame, const Shot& shot) {
  // The frame takes the place of the oldest one: save that first, if it is wanted.
  const auto places = static_cast<std::size_t>(recording_.history);
  while (kept_.size() >= places && kept_.front().is_wanted) save_next();
  if (kept_.size() >= places) kept_.pop_front();

  const bool in_signal_time = is_in_signal_time(shot.moment);
  const bool too_soon = in_signal_time && !passes_rate_limit(shot.moment);
  const bool joins_backlog = in_signal_time && !too_soon && has_backlog();
  const bool request =
      recording_.trigger == Trigger::kAlways || (in_signal_time && !too_soon && !has_backlog());
  log_.start_operation();
  if (!engine_->capture(frame, shot, request)) {
    throw Failure(format_text("frame %ld could not be written", shot.index));
  }
  check_keys(shot);
  const Decision decision = too_soon ? Decision::kTooSoon : engine_->decision();
  ++counter_of(decision);
  kept_.push_back({shot, frame.has_colour, decision, false});
  if (is_recorded(decision)) {
    last_wanted_ = shot.moment;
    acknowledge(kept_.back());
  }
  if (joins_backlog) want(kept_.back());
}

bool Recorder::is_in_signal_time(const Moment& moment) const {
  return last_signal_ && seconds_between(*last_signal_, moment) <= recording_.after_seconds;
}

bool Recorder::passes_rate_limit(const Moment& moment) const {
  if (!recording_.max_fps || !last_wanted_) return true;
  return seconds_between(*last_wanted_, moment) > 1 / *recording_.max_fps;
}

std::optional<Moment> Recorder::fire() {
  if (kept_.empty()) return {};
  const Moment now = kept_.back().shot.moment;
  last_signal_ = now;
  for (KeptFrame& kept : kept_) {
    const Moment& moment = kept.shot.moment;
    if (seconds_between(moment, now) >= recording_.before_seconds) continue;
    const bool is_new = !last_wanted_ || seconds_between(*last_wanted_, moment) > 0;
    if (is_new && passes_rate_limit(moment)) want(kept);
  }
  return now;
}

void Recorder::want(KeptFrame& kept) {
  kept.is_wanted = true;
  last_wanted_ = kept.shot.moment;
  ++backlog_;
}

void Recorder::save_next() {
  const auto next = std::find_if(kept_.begin(), kept_.end(),
                                 [](const KeptFrame& kept) { return kept.is_wanted; });
  if (next == kept_.end()) return;
  log_.start_operation();
  if (!engine_->save(next->shot)) {
    throw Failure(format_text("frame %ld could not be saved", next->shot.index));
  }
  check_keys(next->shot);
  next->is_wanted = false;
  --backlog_;
  --counter_of(next->decision);
  ++recording_.kept.history;
  acknowledge(*next);
}

/// The library goes on after some failed checks, but it wants a key.
void Recorder::check_keys(const Shot& shot) const {
  if (log_.key_waits() == 0) return;
  throw Failure(format_text("frame %ld was not written as it should be", shot.index));
}

long& Recorder::counter_of(Decision decision) {
  switch (decision) {
    case Decision::kMotion:
      return recording_.kept.motion;
    case Decision::kPeriod:
      return recording_.kept.period;
    case Decision::kRequest:
      return recording_.kept.request;
    case Decision::kTooSoon:
      return recording_.skipped.rate_limit;
    case Decision::kNotAsked:
      break;
  }
  return recording_.skipped.not_triggered;
}

void Recorder::acknowledge(const KeptFrame& kept) {
  bytes_ += measure_files(kept);
  ++recording_.frames_recorded;
  const std::string stamp = stamp_text(kept.shot.moment);
  PathText name;
  append_frame_name(name, engine_->folder().c_str(), kDepthStem, engine_->reverses_names(),
                    {recording_.naming == Naming::kTime, kNumberDigits,
                     static_cast<int>(kept.shot.index), stamp.c_str()});
  written_(name.c_str());
}

FileBytes Recorder::measure_files(const KeptFrame& kept) const {
  const std::string directory = directory_ + "/" + engine_->folder();
  const std::string stamp = stamp_text(kept.shot.moment);
  const FrameKey key{recording_.naming == Naming::kTime, kNumberDigits,
                     static_cast<int>(kept.shot.index), stamp.c_str()};
  const auto size_of = [&](const char* stem, const char* ending) -> std::uintmax_t {
    PathText path;
    append_frame_name(path, directory.c_str(), stem, engine_->reverses_names(), key);
    path.append(ending);
    const std::optional<std::uintmax_t> size = regular_file_size(path.c_str());
    if (!size) throw Failure(format_text("'%s' was not written", path.c_str()));
    return *size;
  };
  FileBytes bytes;
  if (kept.has_colour) bytes.colour = size_of(kColourStem, kJpegEnding);
  bytes.label_map = size_of(kDepthStem, kLabelMapEnding);
  bytes.reference = size_of(kDepthStem, kReferenceEnding);
  bytes.codes = size_of(kDepthStem, kJpegEnding);
  bytes.errors = size_of(kDepthStem, kErrorEnding);
  return bytes;
}

}  // namespace depth_io::tools
