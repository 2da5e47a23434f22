#include "tools/viewer/export_jobs.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>

#include "tools/system/failure.h"
#include "tools/viewer/refused.h"
#include "tools/viewer/request_rules.h"
#include "tools/viewer/terminal_program.h"

namespace depth_io::tools {
namespace {

using nlohmann::ordered_json;

const char* state_name(const std::optional<int>& status, bool is_cancelled) {
  if (!status) return is_cancelled ? "ending" : "running";
  if (*status == kGood) return "done";
  if (is_cancelled) return "cancelled";
  return *status == kPartial ? "partly done" : "failed";
}

/// Cuts a terminal's output into lines, without its control sequences.
class LineCutter {
 public:
  template <typename Take>
  void add(const std::string& bytes, Take take) {
    for (const char c : bytes) {
      if (c == '\r' || c == '\n') {
        end_line(take);
      } else if (in_sequence_) {
        in_sequence_ = c == '[' || !std::isalpha(static_cast<unsigned char>(c));
      } else if (c == '\033') {
        in_sequence_ = true;
      } else if (line_.size() < kLongest) {
        line_.push_back(c);
      }
    }
  }

  template <typename Take>
  void end_line(Take take) {
    if (!line_.empty()) take(line_);
    line_.clear();
  }

  /// What came of the line that is not ended yet.
  const std::string& open_line() const { return line_; }

 private:
  static constexpr std::size_t kLongest = 400;
  std::string line_;
  bool in_sequence_ = false;
};

}  // namespace

std::optional<ShownProgress> shown_progress(const std::string& line) {
  const std::size_t slash = line.find('/');
  const std::size_t word = line.find(" frames");
  if (slash == std::string::npos || word == std::string::npos || slash > word) return {};
  std::size_t begin = slash;
  while (begin > 0 && std::isdigit(static_cast<unsigned char>(line[begin - 1])) != 0) --begin;
  ShownProgress progress{};
  const auto first = std::from_chars(line.data() + begin, line.data() + slash, progress.done);
  const auto second = std::from_chars(line.data() + slash + 1, line.data() + word, progress.total);
  if (first.ec != std::errc() || second.ec != std::errc()) return {};
  if (second.ptr != line.data() + word || progress.total == 0) return {};
  return progress;
}

ExportJobs::ExportJobs(std::string program, std::string recording_directory, std::string place)
    : program_(std::move(program)),
      recording_directory_(std::move(recording_directory)),
      place_(std::move(place)) {}

ExportJobs::~ExportJobs() {
  for (Job& job : jobs_) job.thread.request_stop();
}

void ExportJobs::check(const ExportOrder& order) const {
  const bool is_format = std::any_of(std::begin(kExportFormats), std::end(kExportFormats),
                                     [&](const char* format) { return order.format == format; });
  if (!is_format) throw Refused{400, "there is no such format"};
  if (!is_plain_name(order.name)) {
    throw Refused{400, "the name must be letters, digits, '.', '-' and '_', at most 100"};
  }
  std::size_t at_work = 0;
  for (const Job& job : jobs_) {
    if (job.status) continue;
    if (job.order.name == order.name) throw Refused{409, "'" + order.name + "' is being made"};
    ++at_work;
  }
  if (at_work >= kMostAtWork) throw Refused{409, "two exports are at work; wait for one of them"};
  std::error_code error;
  const auto there = std::filesystem::symlink_status(place_ + "/" + order.name, error);
  if (std::filesystem::exists(there) && !goes_on_with(order)) {
    throw Refused{409, "'" + order.name + "' is there already"};
  }
}

bool ExportJobs::goes_on_with(const ExportOrder& order) const {
  return std::any_of(jobs_.begin(), jobs_.end(), [&](const Job& job) {
    return job.order == order && job.status && *job.status != kGood;
  });
}

std::vector<std::string> ExportJobs::command_for(const Job& job) const {
  const ExportOrder& order = job.order;
  std::vector<std::string> command = {
      program_, "export", recording_directory_, "--to", order.format, "--out", job.path};
  if (!order.from.empty()) command.insert(command.end(), {"--from", order.from});
  if (!order.to.empty()) command.insert(command.end(), {"--to-time", order.to});
  if (order.stride > 1) command.insert(command.end(), {"--stride", std::to_string(order.stride)});
  if (order.swaps_principal_point) command.emplace_back("--swap-principal-point");
  return command;
}

std::uint64_t ExportJobs::start(const ExportOrder& order) {
  const std::lock_guard lock(mutex_);
  check(order);
  if (jobs_.size() >= kMostKept) {
    jobs_.erase(std::find_if(jobs_.begin(), jobs_.end(),
                             [](const Job& job) { return job.status.has_value(); }));
  }
  Job& job = jobs_.emplace_back();
  job.id = ++last_id_;
  job.order = order;
  job.path = place_ + "/" + order.name;
  job.total = (order.frames + order.stride - 1) / order.stride;
  job.thread = std::jthread([this, &job](const std::stop_token& stop) { watch(job, stop); });
  return job.id;
}

bool ExportJobs::cancel(std::uint64_t id) {
  const std::lock_guard lock(mutex_);
  for (Job& job : jobs_) {
    if (job.id != id || job.status) continue;
    job.is_cancelled = true;
    return true;
  }
  return false;
}

void ExportJobs::take_line(Job& job, const std::string& line) {
  constexpr std::size_t kKeptLines = 6;
  const std::lock_guard lock(mutex_);
  if (const auto progress = shown_progress(line)) {
    job.done = progress->done;
    job.total = progress->total;
    return;
  }
  job.last_lines.push_back(line);
  if (job.last_lines.size() > kKeptLines) job.last_lines.erase(job.last_lines.begin());
}

void ExportJobs::watch(Job& job, const std::stop_token& stop) {
  int status = kFailed;
  try {
    TerminalProgram program(command_for(job));
    LineCutter cutter;
    const auto take = [&](const std::string& line) { take_line(job, line); };
    bool was_asked = false;
    while (true) {
      const bool has_ended = program.status().has_value();
      const std::string output = program.read_output();
      cutter.add(output, take);
      // A progress bar shows itself without ending its line.
      if (shown_progress(cutter.open_line())) take(cutter.open_line());
      if (has_ended && output.empty()) break;
      if ((stop.stop_requested() || job.is_cancelled) && !was_asked) {
        program.ask_to_end();
        was_asked = true;
      }
    }
    cutter.end_line(take);
    status = program.status().value_or(kFailed);
  } catch (const Failure& failure) {
    take_line(job, failure.what());
  }
  const std::lock_guard lock(mutex_);
  job.status = status;
  if (status == kGood) job.done = job.total;
}

std::string ExportJobs::description() const {
  ordered_json all = ordered_json::array();
  const std::lock_guard lock(mutex_);
  for (auto job = jobs_.rbegin(); job != jobs_.rend(); ++job) {
    all.push_back({{"id", job->id},
                   {"format", job->order.format},
                   {"name", job->order.name},
                   {"path", job->path},
                   {"state", state_name(job->status, job->is_cancelled)},
                   {"done", job->done},
                   {"total", job->total},
                   {"messages", job->last_lines}});
  }
  return ordered_json{{"place", place_}, {"jobs", all}}.dump(
      -1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace depth_io::tools
