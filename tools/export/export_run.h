#pragma once

#include "tools/export/export_arguments.h"

namespace depth_io::tools {

/// Exports a recording and returns the exit status. Throws `Failure`.
int export_recording(const ExportArguments& arguments);

}  // namespace depth_io::tools
