#include "tools/verify_command.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

#include "tools/source/open_source.h"
#include "tools/system/failure.h"
#include "tools/verify/verify_arguments.h"
#include "tools/verify/verify_run.h"

namespace depth_io::tools {
namespace {

constexpr long kMostPixels = 1L << 26U;

/// Throws `UsageFailure` when it is no size.
FrameSize parse_size(const std::string& text) {
  FrameSize size;
  char rest = 0;
  if (std::sscanf(text.c_str(), "%5dx%5d%c", &size.width, &size.height, &rest) != 2) {
    throw UsageFailure("--size must be a width and a height, such as 640x480, not '" + text + "'");
  }
  return size;
}

int verify(const VerifyArguments& arguments) {
  if (!arguments.against.empty()) check_indexed_source_text(arguments.against, "--against");
  if (arguments.in_order && arguments.against.empty()) {
    throw UsageFailure("--in-order belongs to --against");
  }
  if (arguments.scale && !(std::isfinite(*arguments.scale) && *arguments.scale > 0)) {
    throw UsageFailure("--scale must be a number of units per metre above 0");
  }
  if (arguments.max_depth && !(*arguments.max_depth > 0 && *arguments.max_depth <= 255)) {
    throw UsageFailure("--max-depth must be above 0 and at most 255 metres");
  }
  const FrameSize& size = arguments.size;
  if (size.width < 1 || size.height < 1 || size.pixels() > kMostPixels) {
    throw UsageFailure("--size must be a width and a height above 0, such as 640x480");
  }
  if (size != FrameSize() && !arguments.against.empty()) {
    throw UsageFailure("--against compares frames of 640x480 pixels only");
  }
  return VerifyRun(arguments).run();
}

}  // namespace

std::function<int()> add_verify_command(CLI::App& program) {
  auto arguments = std::make_shared<VerifyArguments>();
  VerifyArguments& a = *arguments;
  CLI::App& command = *program.add_subcommand(
      "verify",
      "Tells of each frame of a recording whether it is whole, damaged, incomplete, in the wrong "
      "folder or half overwritten, and which files belong to no frame");
  command.footer("Exit status: 0 all well, 3 something was found.");
  command.add_option("DIR", a.directory, "Directory of the recording")->required();
  add_time_range_options(command, a.range);
  command.add_option("--against", a.against,
                     "Compare each pixel with the source, too: synthetic or images:PATH");
  command.add_flag("--in-order", a.in_order,
                   "Compare the first frame with the source's first one and so on, whatever their "
                   "times");
  command.add_option("--seed", a.seed, "Of the synthetic source (default: as recorded)");
  command.add_option("--scale", a.scale,
                     "Units per metre of depth images (default: as recorded, or in PATH/scale)");
  command.add_option("--max-depth", a.max_depth,
                     "Metres; deeper readings were left out (default: as recorded, or 30)");
  command.add_option_function<std::string>(
      "--size", [&a](const std::string& text) { a.size = parse_size(text); },
      "Of the images, for frames that were not written by a recorder (default: 640x480)");
  command.add_option("--quarantine", a.quarantine,
                     "Move damaged and incomplete frames into this directory, under the paths that "
                     "they have in DIR; nothing is deleted or replaced");
  command.add_flag("--json", a.json, "Print JSON instead of a report");
  command.add_flag("--verbose", a.verbose, "Show what the library says");
  return [arguments] { return verify(*arguments); };
}

}  // namespace depth_io::tools
