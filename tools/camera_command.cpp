#include "tools/camera_command.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <string>

#include "tools/source/camera.h"
#include "tools/system/failure.h"
#include "tools/system/interruption.h"
#include "tools/system/library_log.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

struct CameraArguments {
  std::string configuration;
  double seconds = 5;
  double stall_seconds = 5;
  bool verbose = false;
};

constexpr double kReportSeconds = 1;

bool is_time(double seconds) { return std::isfinite(seconds) && seconds > 0; }

/// Looks at a camera for some seconds and tells what it delivers.
class CameraRun {
 public:
  explicit CameraRun(const CameraArguments& arguments)
      : arguments_(arguments), log_(arguments.verbose), camera_(arguments.configuration, log_) {}

  int run() {
    write_data("opened     %s\n", arguments_.configuration.c_str());
    flush_data();
    const Camera::Wait wait = watch();
    print_end();
    switch (wait) {
      case Camera::Wait::kStalled:
        log_.show_last_lines();
        throw Failure(format_text("the camera delivered no new frame for %g seconds",
                                  arguments_.stall_seconds),
                      kPartial);
      case Camera::Wait::kEnded:
        write_message("the recording that the configuration plays is over");
        break;
      case Camera::Wait::kNewFrame:
      case Camera::Wait::kInterrupted:
        break;
    }
    return is_recordable() ? kGood : kPartial;
  }

 private:
  Camera::Wait watch() {
    for (;;) {
      const Camera::Wait wait = camera_.wait_for_frame(arguments_.stall_seconds);
      if (wait != Camera::Wait::kNewFrame) return wait;
      const double now = monotonic_seconds();
      if (frames_ == 0) begin(now);
      ++frames_;
      last_ = now;
      if (now - last_report_ >= kReportSeconds) report(now);
      if (now - begin_ >= arguments_.seconds || !data_can_be_written()) return wait;
    }
  }

  void begin(double now) {
    begin_ = last_report_ = now;
    const Resolution depth = camera_.depth_resolution();
    const Resolution colour = camera_.colour_resolution();
    write_data("depth      %d x %d\n", depth.width, depth.height);
    write_data("colour     %d x %d%s\n", colour.width, colour.height,
               camera_.has_colour() ? "" : " (of a kind that is not recorded)");
    flush_data();
  }

  void report(double now) {
    write_data("%5.1f s    %6.2f frames/s   middle %.3f m\n", now - begin_,
               static_cast<double>(frames_ - frames_reported_) / (now - last_report_),
               static_cast<double>(camera_.middle_metres()));
    flush_data();
    frames_reported_ = frames_;
    last_report_ = now;
  }

  void print_end() const {
    write_data("frames     %ld, %ld missed\n", frames_, camera_.frames_missed());
    if (frames_ == 0) return;
    const double seconds = last_ - begin_;
    if (seconds > 0) {
      write_data("rate       %.2f frames/s\n", static_cast<double>(frames_ - 1) / seconds);
    }
    write_data("middle     %.3f m in frame %u\n", static_cast<double>(camera_.middle_metres()),
               camera_.frame_id());
  }

  bool is_recordable() const {
    if (frames_ == 0) return false;
    if (camera_.depth_resolution() == Resolution{kFrameWidth, kFrameHeight}) return true;
    write_message("only depth of 640 x 480 can be recorded");
    return false;
  }

  const CameraArguments& arguments_;
  LibraryLog log_;
  Camera camera_;
  long frames_ = 0;
  long frames_reported_ = 1;
  double begin_ = 0;
  double last_ = 0;
  double last_report_ = 0;
};

int look_at_camera(const CameraArguments& arguments) {
  if (!is_time(arguments.seconds)) throw UsageFailure("--seconds must be a number above 0");
  if (!is_time(arguments.stall_seconds)) throw UsageFailure("--stall must be a number above 0");
  return CameraRun(arguments).run();
}

}  // namespace

std::function<int()> add_camera_command(CLI::App& program) {
  auto arguments = std::make_shared<CameraArguments>();
  CameraArguments& a = *arguments;
  CLI::App& command = *program.add_subcommand(
      "camera", "Opens an OpenNI camera and tells what it delivers: is it ready to record?");
  command.add_option("--config", a.configuration, "OpenNI configuration file (XML)")->required();
  command.add_option("--seconds", a.seconds, "How long to look")->capture_default_str();
  command
      .add_option("--stall", a.stall_seconds,
                  "End with status 3 when there is no new frame for so many seconds")
      ->capture_default_str();
  command.add_flag("--verbose", a.verbose, "Show what the library says");
  return [arguments] { return look_at_camera(*arguments); };
}

}  // namespace depth_io::tools
