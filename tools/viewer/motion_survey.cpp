#include "tools/viewer/motion_survey.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "tools/frame/frame.h"
#include "tools/viewer/coarse_to_fine.h"

namespace depth_io::tools {

float moved_share(const float* before, const float* depth) {
  constexpr float kContrast = 0.1F;
  constexpr std::size_t kStep = 3;  // prime to the width: a third of the pixels, in every column
  std::size_t moved = 0;
  std::size_t looked_at = 0;
  for (std::size_t i = 0; i < kFramePixels; i += kStep, ++looked_at) {
    if (!(before[i] > kLeastReading && depth[i] > kLeastReading)) continue;
    if (std::fabs(before[i] - depth[i]) > kContrast * depth[i]) ++moved;
  }
  return static_cast<float>(moved) / static_cast<float>(looked_at);
}

MotionSurvey::MotionSurvey(const ViewedRecording& recording, const Background& background)
    : recording_(recording), background_(background), before_(kFramePixels) {}

std::string MotionSurvey::found_after(std::uint64_t generation, std::size_t after,
                                      std::size_t first, std::size_t last) {
  const std::lock_guard lock(mutex_);
  wanted_ = {generation, first, last};
  if (!thread_.joinable()) {
    thread_ = std::jthread([this](const std::stop_token& stop) { work(stop); });
  }
  asked_.notify_all();
  const std::size_t known = generation == generation_ ? samples_.size() : 0;
  nlohmann::json samples = nlohmann::json::array();
  for (std::size_t i = std::min(after, known); i < known; ++i) {
    samples.push_back({samples_[i].frame, samples_[i].share});
  }
  const nlohmann::json root = {
      {"known", known}, {"complete", done_ == wanted_}, {"samples", std::move(samples)}};
  return root.dump();
}

void MotionSurvey::work(const std::stop_token& stop) {
  Background::join();
  while (!stop.stop_requested()) {
    Part part;
    {
      std::unique_lock lock(mutex_);
      if (!asked_.wait(lock, stop, [this] { return wanted_ != done_; })) return;
      part = wanted_;
    }
    const RecordingView view = recording_.view();
    if (view.generation == part.generation) measure_part(part, view, stop);
    const std::lock_guard lock(mutex_);
    done_ = part;
  }
}

void MotionSurvey::measure_part(const Part& part, const RecordingView& view,
                                const std::stop_token& stop) {
  if (part.generation != generation_) {
    const std::lock_guard lock(mutex_);
    generation_ = part.generation;
    samples_.clear();
    known_.clear();
  }
  // The first frame has none before it.
  const std::size_t first = std::max<std::size_t>(part.first, 1);
  const std::size_t end = std::min(part.last + 1, view.frames().size());
  if (first >= end) return;
  CoarseToFine order(static_cast<std::uint32_t>(end - first));
  std::uint32_t place = 0;
  for (std::size_t i = 0; i < kMostOfPart && order.next(place); ++i) {
    const auto frame = static_cast<std::uint32_t>(first + place);
    if (known_.contains(frame)) continue;
    background_.give_way(stop);
    if (stop.stop_requested() || !is_current(part)) return;
    const float share = measure(view, frame);
    const std::lock_guard lock(mutex_);
    known_.insert(frame);
    samples_.push_back({frame, share});
  }
}

bool MotionSurvey::is_current(const Part& part) {
  const std::lock_guard lock(mutex_);
  return part == wanted_;
}

bool MotionSurvey::decode(const RecordingView& view, std::size_t frame) {
  return decoder_.decode(view.path_of(view.frames()[frame].depth_name()));
}

float MotionSurvey::measure(const RecordingView& view, std::size_t frame) {
  constexpr float kNotKnown = -1;
  if (!decode(view, frame - 1)) return kNotKnown;
  std::copy_n(decoder_.record().LoadedDepth, kFramePixels, before_.begin());
  if (!decode(view, frame)) return kNotKnown;
  return moved_share(before_.data(), decoder_.record().LoadedDepth);
}

}  // namespace depth_io::tools
