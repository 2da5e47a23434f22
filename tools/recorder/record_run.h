#pragma once

#include <string>

#include "tools/recorder/record_arguments.h"

namespace depth_io::tools {

/// Records as `arguments` say. Returns the exit status; throws `Failure` when it cannot begin.
int record(RecordArguments arguments);

}  // namespace depth_io::tools
