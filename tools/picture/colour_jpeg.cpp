#include "tools/picture/colour_jpeg.h"

#include <cstdio>
#include <vector>

#include "codec/liblinjpeg.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"

namespace depth_io::tools {

void write_colour_jpeg(const std::string& path, const Picture& picture) {
  constexpr int kQuality = 95;
  check_replaceable(path);
  std::string temporary = path + ".part";
  std::vector<unsigned char> pixels = picture.bytes();  // the library asks for what it may change
  std::remove(temporary.c_str());
  JpegFile jpeg;
  const bool is_written = jpeg.RGBToJpegFile(temporary.data(), pixels.data(), picture.width(),
                                             picture.height(), true, kQuality);
  if (is_written && std::rename(temporary.c_str(), path.c_str()) == 0) return;
  std::remove(temporary.c_str());
  throw Failure("cannot write '" + path + "'");
}

}  // namespace depth_io::tools
