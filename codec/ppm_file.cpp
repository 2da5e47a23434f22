#include "codec/ppm_file.h"

#include <cstddef>

#include "codec/console.h"
#include "codec/file_io.h"
#include "codec/numeric.h"

namespace {

/// The low 8 bits of the truncated value: values outside 0..255 wrap around, they are not clamped.
unsigned char low_byte(float value) {
  return static_cast<unsigned char>(depth_io::truncate_to_int(static_cast<double>(value)) & 0xFF);
}

bool write_ppm(int width, int height, const float* red, const float* green, const float* blue,
               const char* filename) {
  depth_io::BufferedFile file(filename);
  file.write("P6\n#NoComment\n");
  file.write_int(width);
  file.write(" ");
  file.write_int(height);
  file.write("\n255\n");
  const std::size_t pixels =
      width > 0 && height > 0 ? static_cast<std::size_t>(width) * static_cast<std::size_t>(height)
                              : 0;
  for (std::size_t i = 0; i < pixels; ++i) {
    file.write_bytes({low_byte(red[i]), low_byte(green[i]), low_byte(blue[i])});
  }
  return file.close();
}

}  // namespace

bool __SaveAsPpm(int Width, int Height, float* Rinput, float* Ginput, float* Binput,
                 char* filename) {
  const bool complete = Rinput != nullptr && Ginput != nullptr && Binput != nullptr;
  if (complete && write_ppm(Width, Height, Rinput, Ginput, Binput, filename)) return true;
  depth_io::print(" - ERROR - SaveAsPpm() failed: file '%s' could't be opened for writing\n",
                  filename);
  depth_io::wait_for_key();
  return false;
}
