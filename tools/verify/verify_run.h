#pragma once

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/recording/frame_check.h"
#include "tools/recording/recording.h"
#include "tools/system/json_text.h"
#include "tools/system/library_log.h"
#include "tools/verify/quarantine.h"
#include "tools/verify/source_comparison.h"
#include "tools/verify/stray_files.h"
#include "tools/verify/verify_arguments.h"

namespace depth_io::tools {

/// What became of a frame; the first of these that holds.
enum class FrameState {
  kWhole,
  kIncomplete,       ///< a file of it is missing
  kDamaged,          ///< what its files hold cannot be
  kMisplaced,        ///< well, but in the folder of another time
  kHalfOverwritten,  ///< well, but by the times of its files part of it is of another frame
  kDifferent,        ///< well, but not what the source has
};
inline constexpr std::size_t kFrameStates = 6;

/// One run of `depthrw verify`.
class VerifyRun {
 public:
  /// Throws `Failure` when there is nothing to verify or to compare with. `arguments` must outlive
  /// the run.
  explicit VerifyRun(const VerifyArguments& arguments);

  /// Verifies all frames, tells what was found and reports. Returns the exit status.
  int run();

 private:
  struct Verdict {
    FrameState state = FrameState::kWhole;
    std::vector<std::string> faults;
    std::vector<FileFault> file_faults;
  };

  void verify_frames();
  Verdict verify(const RecordedFrame& recorded);
  /// Plays a frame of sound files back, and compares it.
  void play(const RecordedFrame& recorded, Verdict& verdict);
  void suspect(const RecordedFrame& recorded, Verdict& verdict) const;
  void tell(const RecordedFrame& recorded, const Verdict& verdict);
  void quarantine(const RecordedFrame& recorded, const Verdict& verdict);
  void find_strays();
  void find_missing_frames();

  long count(FrameState state) const { return counts_[static_cast<std::size_t>(state)]; }
  long checked() const;
  bool all_well() const;
  void print_report() const;
  void print_json() const;

  const VerifyArguments& arguments_;
  TimeRange range_;
  LibraryLog log_;
  Recording recording_;
  std::optional<SourceComparison> comparison_;
  std::unique_ptr<Quarantine> quarantine_;
  std::map<std::string, std::string> half_overwritten_;  ///< reason by name
  std::vector<StrayFile> strays_;
  Frame frame_;
  std::array<long, kFrameStates> counts_{};
  long missing_ = 0;
  long quarantined_ = 0;
  const JsonMemory json_memory_;
  nlohmann::ordered_json bad_frames_ = nlohmann::ordered_json::array();
};

}  // namespace depth_io::tools
