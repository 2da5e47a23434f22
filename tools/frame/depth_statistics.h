#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace depth_io::tools {

/// How far recorded depths lie from those of their source.
class DepthStatistics {
 public:
  /// Errors are counted by millimetres; the last bin takes all the rest.
  static constexpr std::size_t kBins = 101;

  /// Pixels whose source lies in a range of distances.
  struct Band {
    const char* name;
    std::uint64_t pixels = 0;
    double sum = 0;
    double largest = 0;
  };

  struct Worst {
    std::string frame;
    int row = 0;
    int column = 0;
    float source = 0;
    float read = 0;
    double error = -1;
  };

  /// Compares all pixels of a frame; returns how many lie outside the tolerance of their distance.
  std::size_t add(const std::string& frame_name, const std::vector<float>& source,
                  const std::vector<float>& read);

  std::uint64_t pixels() const { return pixels_; }
  std::uint64_t outside() const { return outside_; }
  double largest() const { return worst_.error < 0 ? 0 : worst_.error; }  ///< metres
  double mean() const;                                                    ///< metres
  const Worst& worst() const { return worst_; }
  const std::array<std::uint64_t, kBins>& histogram() const { return histogram_; }
  const std::array<Band, 7>& bands() const { return bands_; }

 private:
  std::uint64_t pixels_ = 0;
  std::uint64_t outside_ = 0;
  double sum_ = 0;
  Worst worst_;
  std::array<std::uint64_t, kBins> histogram_{};
  std::array<Band, 7> bands_{{{"no reading"},
                              {"below 1 m"},
                              {"1 to 2 m"},
                              {"2 to 3 m"},
                              {"3 to 4 m"},
                              {"4 to 5 m"},
                              {"from 5 m"}}};
};

/// Largest error that the recording of a depth may have, metres: the tolerance of its distance, and
/// half a code step for rounding.
double allowed_error(float source);

}  // namespace depth_io::tools
