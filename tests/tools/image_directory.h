#pragma once

#include <filesystem>
#include <string>

#include "tests/support/temp_directory.h"
#include "tools/frame/frame.h"
#include "tools/picture/png_file.h"

namespace depth_io::test {

/// A source of images made for a test.
class ImageDirectory {
 public:
  ImageDirectory() {
    std::filesystem::create_directories(path() + "/depth");
    set_scale("1000\n");
  }

  std::string path() const { return directory_.path(); }
  std::string file(const std::string& name) const { return directory_.file(name); }
  void set_scale(const std::string& text) { write_file(file("scale"), text); }

  /// A depth image with the same reading everywhere.
  void add_depth(const std::string& name, std::uint16_t reading, int width = tools::kFrameWidth,
                 int height = tools::kFrameHeight) {
    tools::GreyImage image{width, height, {}};
    image.pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height),
                        reading);
    tools::write_grey_png(file("depth/" + name + ".png"), image);
  }

  void add_colour(const std::string& name, tools::Colour colour, int width = tools::kFrameWidth) {
    std::filesystem::create_directories(path() + "/rgb");
    const tools::Picture picture(width, tools::kFrameHeight, colour);
    tools::write_colour_png(file("rgb/" + name + ".png"), picture);
  }

 private:
  TempDirectory directory_;
};

}  // namespace depth_io::test
