#pragma once

#include <string>
#include <vector>

#include "tools/recording/recording.h"

namespace depth_io::tools {

/// Something in the folders of frames that belongs to no frame and to no catalogue.
struct StrayFile {
  std::string name;    ///< relative to the recording; of a folder with "/" at its end
  std::string reason;  ///< "is named like a frame's file, but ...", for example
};

/// Looks through the folders in which frames lie or would lie. In the directory of the recording
/// itself, if no frames lie there, only files named like those of frames count, and folders there
/// never: users keep their own things beside a recording.
std::vector<StrayFile> find_stray_files(const Recording& recording);

}  // namespace depth_io::tools
