#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/source/frame_source.h"

namespace depth_io::tools {

/// How a directory of images is read.
struct ImageChoice {
  std::optional<double> units_per_metre = {};  ///< of depth images, instead of the file `scale`
  bool with_colour = true;                     ///< false: colour images are not loaded
  double max_gap_seconds = 0.02;               ///< between the images of a frame, by TUM lists
  /// Take also depth images that TUM lists give no colour image, if they give others one.
  bool with_unpaired = false;
};

/// Frames out of a directory of images: `depth/NAME.png` (16-bit grey, 640 * 480) and, if there are
/// any, `rgb/NAME.png` or `rgb/NAME.jpg` with the same names. The file `scale` holds the units per
/// metre of the depth images. Frames come in the order of their names, numbers by value.
///
/// A directory with a file `depth.txt` is a data set in the TUM layout instead: that list and, for
/// colour, `rgb.txt` name the images and their times. There are 5000 units to a metre unless
/// `scale` tells otherwise. Frames come in the order of time.
class ImageSource final : public IndexedSource {
 public:
  /// Throws `Failure` when the directory is no such source; a damaged image is told when its frame
  /// is asked for.
  ImageSource(std::string directory, const ImageChoice& choice);

  std::optional<long> frame_count() const override { return static_cast<long>(images_.size()); }
  bool has_colour() const override { return has_colour_; }
  std::optional<std::int64_t> time_of(long index) const override;
  void load(long index, Frame& frame) override;

  /// Depth images that were left out, having no colour image near enough.
  std::size_t unpaired() const { return unpaired_; }

  double units_per_metre() const { return units_per_metre_; }

 private:
  /// The files of a frame, complete paths; no colour where there is none.
  struct Images {
    std::string depth;
    std::string colour;
    std::optional<std::int64_t> microseconds;
  };

  void take_names(bool with_colour);
  void take_lists(const ImageChoice& choice);
  std::string colour_file(const std::string& name) const;
  void load_depth(const std::string& path, std::vector<float>& depth) const;

  std::string directory_;
  double units_per_metre_ = 0;
  std::vector<Images> images_;
  bool has_colour_ = false;
  std::size_t unpaired_ = 0;
};

/// True when `a` comes before `b`: runs of digits count as numbers.
bool comes_before(const std::string& a, const std::string& b);

}  // namespace depth_io::tools
