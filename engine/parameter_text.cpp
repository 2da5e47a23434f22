#include "engine/parameter_text.h"

#include <cstring>

#include "codec/console.h"
#include "codec/frame_names.h"

namespace depth_io {

void set_parameter_text(char* field, std::size_t size, bool& active, const char* text) {
  if (text == nullptr || strnlen(text, size) >= size) {
    print("ERROR - text of more than %zu characters refused\n", size - 1);
    return;
  }
  copy_text(field, size, text);
  active = true;
}

bool is_camera_type(int type) {
  if (type == 0 || type == 1) return true;
  print("ERROR - camera type %d choice error (0 for kinect and 1 for asus)\n", type);
  wait_for_key();
  return false;
}

}  // namespace depth_io
