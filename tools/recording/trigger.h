#pragma once

#include <optional>
#include <string_view>

namespace depth_io::tools {

/// What has a frame recorded.
enum class Trigger {
  kAlways,  ///< every frame is
  kMotion,  ///< enough pixels moved
  kEvery,   ///< so many frames have passed
  kSignal   ///< SIGUSR1 asks for the time around it
};

const char* trigger_name(Trigger trigger);
std::optional<Trigger> trigger_named(std::string_view name);

}  // namespace depth_io::tools
