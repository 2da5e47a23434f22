#pragma once

#include <cstddef>
#include <string>

/// Making the lists of a recording.
namespace depth_io {

/// So many frames are listed of one sub-directory.
inline constexpr std::size_t kMostListed = 1000000;

/// `ListEntriesInDir` with any bound: of a sub-directory that holds more, only the first
/// `most_listed` frames in directory order are listed, and a line tells it.
int list_recording(const std::string& directory, std::size_t most_listed);

}  // namespace depth_io
