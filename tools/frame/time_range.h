#pragma once

#include <CLI/App.hpp>
#include <optional>
#include <string>

#include "codec/timestamps.h"

namespace depth_io::tools {

/// A range of time, both ends included; without an end it is open there.
struct TimeRange {
  std::optional<Moment> from;
  std::optional<Moment> to;

  bool is_everything() const { return !from && !to; }
  bool contains(const Moment& moment) const;
  /// Whether a moment whose stamp text begins with `stamp` can lie in it.
  bool may_contain(const std::string& stamp) const;
};

/// The options --from and --to, as texts.
struct TimeRangeArguments {
  std::string from;
  std::string to;
  const char* to_option = "--to";  ///< where that name means something else
};

void add_time_range_options(CLI::App& command, TimeRangeArguments& arguments);

/// Throws `UsageFailure` when they are no times, or the wrong way round.
TimeRange time_range_of(const TimeRangeArguments& arguments);

}  // namespace depth_io::tools
