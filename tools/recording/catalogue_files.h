#pragma once

#include <string>

#include "tools/system/library_log.h"

namespace depth_io::tools {

/// Has the library write the catalogue of a recording: list.txt in each sub-directory with frames,
/// infoNAME.txt and info.txt beside them. Returns the number of these sub-directories. Throws
/// `Failure` when a name could not be understood, a directory could not be listed completely or the
/// files could not be written.
int write_catalogue(const std::string& directory, LibraryLog& log);

}  // namespace depth_io::tools
