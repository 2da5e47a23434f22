#include "tools/verify/verify_run.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "tools/frame/frame_time.h"
#include "tools/system/failure.h"
#include "tools/system/interruption.h"
#include "tools/system/output.h"
#include "tools/system/progress_bar.h"
#include "tools/verify/frame_suspicions.h"

namespace depth_io::tools {
namespace {

using nlohmann::ordered_json;

const char* state_name(FrameState state) {
  switch (state) {
    case FrameState::kWhole:
      return "whole";
    case FrameState::kIncomplete:
      return "incomplete";
    case FrameState::kDamaged:
      return "damaged";
    case FrameState::kMisplaced:
      return "misplaced";
    case FrameState::kHalfOverwritten:
      return "half overwritten";
    case FrameState::kDifferent:
      return "different";
  }
  return "";
}

}  // namespace

VerifyRun::VerifyRun(const VerifyArguments& arguments)
    : arguments_(arguments),
      range_(time_range_of(arguments.range)),
      log_(arguments.verbose),
      recording_(arguments.directory, log_, range_) {
  if (!arguments.against.empty()) comparison_.emplace(arguments, recording_);
  if (!arguments.quarantine.empty()) {
    quarantine_ = std::make_unique<Quarantine>(arguments.directory, arguments.quarantine);
  }
  half_overwritten_ = find_half_overwritten(recording_);
}

int VerifyRun::run() {
  verify_frames();
  find_strays();
  find_missing_frames();
  tell_troubles(recording_);
  if (arguments_.json) {
    print_json();
  } else {
    print_report();
  }
  return all_well() ? kGood : kPartial;
}

void VerifyRun::verify_frames() {
  const auto frames = static_cast<long>(recording_.frames().size());
  ProgressBar progress(frames, !arguments_.verbose);
  std::uintmax_t bytes = 0;
  for (const RecordedFrame& recorded : recording_.frames()) {
    if (interrupted() || !data_can_be_written()) break;
    const Verdict verdict = verify(recorded);
    ++counts_[static_cast<std::size_t>(verdict.state)];
    if (verdict.state != FrameState::kWhole) {
      progress.hide();
      tell(recorded, verdict);
      quarantine(recorded, verdict);
    }
    bytes += static_cast<std::uintmax_t>(arguments_.size.pixels()) * sizeof(float);
    progress.update(checked(), bytes);
  }
}

VerifyRun::Verdict VerifyRun::verify(const RecordedFrame& recorded) {
  log_.start_operation();
  Verdict verdict;
  verdict.file_faults = find_file_faults(recording_, recorded, arguments_.size);
  for (const FileFault& fault : verdict.file_faults) {
    verdict.faults.push_back(fault.text());
    if (verdict.state != FrameState::kIncomplete) {
      verdict.state = fault.is_missing ? FrameState::kIncomplete : FrameState::kDamaged;
    }
  }
  // The engines play back frames of their own size.
  if (arguments_.size == FrameSize()) play(recorded, verdict);
  suspect(recorded, verdict);
  return verdict;
}

void VerifyRun::play(const RecordedFrame& recorded, Verdict& verdict) {
  const std::string fault = recording_.read(recorded, frame_);
  if (!fault.empty()) {
    if (!verdict.faults.empty()) return;
    verdict.state = FrameState::kDamaged;
    verdict.faults.push_back(fault);
  } else if (comparison_) {
    const std::string difference = comparison_->compare(recorded, frame_, checked());
    if (difference.empty()) return;
    verdict.faults.push_back(difference);
    if (verdict.state == FrameState::kWhole) verdict.state = FrameState::kDifferent;
  }
}

/// What is suspected of a frame comes behind what is known to be wrong with it.
void VerifyRun::suspect(const RecordedFrame& recorded, Verdict& verdict) const {
  const auto add = [&](FrameState state, const std::string& reason) {
    if (reason.empty()) return;
    verdict.faults.push_back(reason);
    if (verdict.state == FrameState::kWhole || verdict.state == FrameState::kDifferent) {
      verdict.state = state;
    }
  };
  const auto overwritten = half_overwritten_.find(recorded.depth_name());
  if (overwritten != half_overwritten_.end()) {
    add(FrameState::kHalfOverwritten, overwritten->second);
  }
  add(FrameState::kMisplaced, find_misplacement(recorded));
}

void VerifyRun::tell(const RecordedFrame& recorded, const Verdict& verdict) {
  for (const std::string& fault : verdict.faults) {
    write_message("%s: %s", recorded.depth_name().c_str(), fault.c_str());
  }
  log_.show_last_lines();
  ordered_json files = ordered_json::array();
  for (const FileFault& fault : verdict.file_faults) {
    files.push_back({{"file", fault.file}, {"fault", fault.fault}});
  }
  bad_frames_.push_back({{"name", recorded.depth_name()},
                         {"state", state_name(verdict.state)},
                         {"faults", verdict.faults},
                         {"files", std::move(files)},
                         {"quarantined", false}});
}

void VerifyRun::quarantine(const RecordedFrame& recorded, const Verdict& verdict) {
  const bool is_unusable =
      verdict.state == FrameState::kDamaged || verdict.state == FrameState::kIncomplete;
  if (quarantine_ == nullptr || !is_unusable) return;
  const std::string fault = quarantine_->take(recorded);
  if (fault.empty()) {
    ++quarantined_;
    bad_frames_.back()["quarantined"] = true;
  } else {
    write_message("%s: %s", recorded.depth_name().c_str(), fault.c_str());
  }
}

void VerifyRun::find_strays() {
  if (!range_.is_everything()) return;
  strays_ = find_stray_files(recording_);
  for (const StrayFile& stray : strays_) {
    write_message("'%s' is stray: it %s", stray.name.c_str(), stray.reason.c_str());
  }
}

/// Frames of which nothing is left cannot be named, but counted.
void VerifyRun::find_missing_frames() {
  const std::vector<RecordingInfo>& runs = recording_.runs();
  if (runs.empty() || !range_.is_everything()) return;
  long recorded = 0;
  for (const RecordingInfo& run : runs) {
    recorded += run.frames_recorded;
    if (run.complete) continue;
    write_message("the run that began %s was not ended properly; its last frame may be incomplete",
                  readable_text(run.start).c_str());
    return;
  }
  missing_ = std::max(recorded - static_cast<long>(recording_.frames().size()), 0L);
  if (missing_ > 0) {
    write_message("%ld of %ld recorded frames are missing altogether", missing_, recorded);
  }
}

long VerifyRun::checked() const { return std::accumulate(counts_.begin(), counts_.end(), 0L); }

bool VerifyRun::all_well() const {
  return count(FrameState::kWhole) == checked() && missing_ == 0 && strays_.empty() &&
         recording_.troubles().empty() && !interrupted();
}

void VerifyRun::print_report() const {
  const long good = count(FrameState::kWhole);
  write_data("frames     %ld checked, %ld good, %ld bad, %ld missing\n", checked(), good,
             checked() - good, missing_);
  std::string kinds;
  for (std::size_t i = 1; i < kFrameStates; ++i) {
    if (counts_[i] == 0) continue;
    kinds += format_text("%s%ld %s", kinds.empty() ? "" : ", ", counts_[i],
                         state_name(static_cast<FrameState>(i)));
  }
  if (!kinds.empty()) write_data("bad        %s\n", kinds.c_str());
  if (!strays_.empty()) write_data("stray      %zu files or folders\n", strays_.size());
  if (quarantine_ != nullptr) {
    write_data("quarantine %ld frames moved to %s\n", quarantined_, arguments_.quarantine.c_str());
  }
  if (comparison_) comparison_->print();
}

void VerifyRun::print_json() const {
  const long good = count(FrameState::kWhole);
  ordered_json root;
  root["directory"] = recording_.directory();
  root["layout"] = recording_.layout();
  root["frames"] = {{"checked", checked()},
                    {"good", good},
                    {"bad", checked() - good},
                    {"missing", missing_},
                    {"incomplete", count(FrameState::kIncomplete)},
                    {"damaged", count(FrameState::kDamaged)},
                    {"misplaced", count(FrameState::kMisplaced)},
                    {"half_overwritten", count(FrameState::kHalfOverwritten)},
                    {"different", count(FrameState::kDifferent)},
                    {"quarantined", quarantined_}};
  root["bad_frames"] = bad_frames_;
  root["strays"] = ordered_json::array();
  for (const StrayFile& stray : strays_) {
    root["strays"].push_back({{"name", stray.name}, {"fault", stray.reason}});
  }
  root["troubles"] = recording_.troubles();
  root["against"] = comparison_ ? comparison_->json() : ordered_json();
  write_data("%s\n", json_text(root).c_str());
}

}  // namespace depth_io::tools
