#include "tools/frame/time_range.h"

#include <CLI/CLI.hpp>

#include "tools/frame/frame_time.h"
#include "tools/system/failure.h"

namespace depth_io::tools {
namespace {

std::optional<Moment> moment_of(const std::string& text, const char* option) {
  if (text.empty()) return {};
  const std::optional<Moment> moment = parse_moment(text);
  if (!moment) {
    throw UsageFailure(std::string(option) +
                       " must be a time such as 2013-04-09T14:05:07.042, not '" + text + "'");
  }
  return moment;
}

}  // namespace

bool TimeRange::contains(const Moment& moment) const {
  return (!from || !is_before(moment, *from)) && (!to || !is_before(*to, moment));
}

bool TimeRange::may_contain(const std::string& stamp) const {
  // Stamp texts are in the order of time.
  return (!from || stamp >= stamp_text(*from).substr(0, stamp.size())) &&
         (!to || stamp <= stamp_text(*to).substr(0, stamp.size()));
}

void add_time_range_options(CLI::App& command, TimeRangeArguments& arguments) {
  command.add_option("--from", arguments.from,
                     "Only frames from this time on, such as 2013-04-09T14:05:07.042");
  // Where `--to` names a format, `--to-time` names the time; it does so everywhere.
  const std::string to = arguments.to_option;
  command.add_option(to == "--to" ? "--to,--to-time" : to, arguments.to,
                     "Only frames up to this time, itself included");
}

TimeRange time_range_of(const TimeRangeArguments& arguments) {
  const TimeRange range{moment_of(arguments.from, "--from"),
                        moment_of(arguments.to, arguments.to_option)};
  if (range.from && range.to && is_before(*range.to, *range.from)) {
    throw UsageFailure(std::string("--from must not be later than ") + arguments.to_option);
  }
  return range;
}

}  // namespace depth_io::tools
