#pragma once

#include <cstddef>

namespace depth_io {

/// Stores a text setting and raises its flag. A text that does not fit (or null) is refused with an
/// error line and changes nothing: a cut path would name another place.
void set_parameter_text(char* field, std::size_t size, bool& active, const char* text);

/// The check of a camera type: any number but 0 and 1 prints an error, waits for a key and gives
/// false.
bool is_camera_type(int type);

}  // namespace depth_io
