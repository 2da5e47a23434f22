#pragma once

#include <string>

#include "tools/picture/picture.h"

namespace depth_io::tools {

/// Writes a JPEG file of quality 95 as a whole or not at all. Throws `Failure`.
///
/// The colour images of recordings cannot be handed on as they are: they hold blue in the place of
/// red.
void write_colour_jpeg(const std::string& path, const Picture& picture);

}  // namespace depth_io::tools
