#include "tools/viewer/facts_survey.h"

#include <algorithm>
#include <chrono>

#include "tools/viewer/coarse_to_fine.h"

namespace depth_io::tools {

FactsSurvey::FactsSurvey(const ViewedRecording& recording, const Background& background)
    : recording_(recording), background_(background) {}

std::string FactsSurvey::found_after(std::uint64_t generation, std::size_t after) {
  const std::lock_guard lock(mutex_);
  if (!thread_.joinable()) {
    thread_ = std::jthread([this](const std::stop_token& stop) { work(stop); });
  }
  asked_.notify_all();
  const std::size_t known = generation == generation_ ? findings_.size() : 0;
  const std::size_t begin = std::min(after, known);
  const std::size_t count = std::min(known - begin, kMostAtOnce);
  const std::uint32_t head[] = {static_cast<std::uint32_t>(generation_),
                                static_cast<std::uint32_t>(known)};
  static_assert(sizeof(Finding) == 9 * sizeof(std::uint32_t));
  std::string bytes(reinterpret_cast<const char*>(head), sizeof head);
  bytes.append(reinterpret_cast<const char*>(findings_.data() + begin), count * sizeof(Finding));
  return bytes;
}

void FactsSurvey::work(const std::stop_token& stop) {
  Background::join();
  std::size_t looked_at = 0;
  while (!stop.stop_requested()) {
    const RecordingView view = recording_.view();
    if (view.generation != generation_) {
      const std::lock_guard lock(mutex_);
      generation_ = view.generation;
      findings_.clear();
      looked_at = 0;
    }
    if (looked_at < view.frames().size()) {
      if (look_at(view, looked_at, stop)) looked_at = view.frames().size();
      continue;
    }
    std::unique_lock lock(mutex_);
    asked_.wait(lock, stop, [this, looked_at] {
      const RecordingView now = recording_.view();
      return now.generation != generation_ || now.frames().size() > looked_at;
    });
  }
}

/// False when the recording became another one meanwhile.
bool FactsSurvey::look_at(const RecordingView& view, std::size_t begin,
                          const std::stop_token& stop) {
  CoarseToFine order(static_cast<std::uint32_t>(view.frames().size() - begin));
  std::uint32_t place = 0;
  while (order.next(place)) {
    background_.give_way(stop);
    if (stop.stop_requested() || recording_.view().generation != view.generation) return false;
    const std::size_t frame = begin + place;
    const Finding finding{static_cast<std::uint32_t>(frame), facts_of(view, view.frames()[frame])};
    const std::lock_guard lock(mutex_);
    findings_.push_back(finding);
  }
  return true;
}

}  // namespace depth_io::tools
