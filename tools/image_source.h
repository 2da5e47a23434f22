#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/frame_source.h"

namespace depth_io::tools {

/// Frames out of a directory of images: `depth/NAME.png` (16-bit grey, 640 * 480) and, if there are
/// any, `rgb/NAME.png` or `rgb/NAME.jpg` with the same names. The file `scale` holds the units per
/// metre of the depth images. Frames come in the order of their names, numbers by value.
class ImageSource final : public IndexedSource {
 public:
  /// `units_per_metre` replaces the file `scale`; colour images are left alone unless
  /// `with_colour`. Throws `Failure` when the directory is no such source; a damaged image is told
  /// when its frame is asked for.
  ImageSource(std::string directory, std::optional<double> units_per_metre, bool with_colour);

  std::optional<long> frame_count() const override { return static_cast<long>(names_.size()); }
  bool has_colour() const override { return !colour_files_.empty(); }
  void load(long index, Frame& frame) override;

  double units_per_metre() const { return units_per_metre_; }

 private:
  void find_colour_files();
  void load_depth(const std::string& path, std::vector<float>& depth) const;

  std::string directory_;
  double units_per_metre_ = 0;
  std::vector<std::string> names_;         ///< without extension
  std::vector<std::string> colour_files_;  ///< path for each name; empty when there is no colour
};

/// True when `a` comes before `b`: runs of digits count as numbers.
bool comes_before(const std::string& a, const std::string& b);

}  // namespace depth_io::tools
