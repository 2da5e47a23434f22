#pragma once

#include <cstddef>
#include <cstdint>

/// The loops over all pixels of a frame. Each is one piece of source, built for every x86-64
/// processor and, for the wider vectors, for those with AVX2 and FMA; both give the same bits.
namespace depth_io {

/// Depths that a label is sure to be the first to fit: its window without those of the labels
/// before it and without what rounding could make doubtful.
struct LabelInterval {
  float low;
  float high;
  float reference;
  int label;
};

/// Labels that pixels may have without a search.
struct LabelIntervals {
  const LabelInterval* of;
  int count;
  int last;    ///< tried first; the one of the last pixel
  int before;  ///< tried next; borders have one surface on either side
};

/// A set of codes: code `c` is bit `c % 8` of byte `c / 16` in half `c / 8 % 2`.
struct CodeSet {
  alignas(16) unsigned char half[2][16] = {};

  constexpr CodeSet() = default;
  constexpr explicit CodeSet(const bool (&members)[256]) {
    for (unsigned group = 0; group < 32; ++group) {
      unsigned byte = 0;
      for (unsigned i = 0; i < 8; ++i) byte |= (members[8 * group + i] ? 1U : 0U) << i;
      half[group % 2][group / 2] = static_cast<unsigned char>(byte);
    }
  }
};

/// How far the JPEG may move the codes of one label.
struct LabelTolerance {
  static constexpr int kLevels = 4;
  /// Least and largest code that a code may be read as; the least is larger where there is none.
  unsigned char lowest[256];
  unsigned char highest[256];

  // The same once more, for vectors: a code may be moved by `fewest_steps`, and by one more from
  // each of `one_more_from` on; by the last of them only if it belongs to the set of its direction.
  unsigned char fewest_steps = 1;
  unsigned char one_more_from[kLevels];
  int level_count = 0;  ///< of `one_more_from`
  CodeSet up_by_all;
  CodeSet down_by_all;
  CodeSet down_for_ever;           ///< depths next to 0, where they end
  CodeSet irregular;               ///< none of this holds
  bool has_special_codes = false;  ///< in the last two sets
};

/// Camera geometry of one row, as the metric maps want it.
struct RowGeometry {
  float x;  ///< row - cx
  float a11;
  float a22;
  float cy;
  float reciprocal_a11;
  float reciprocal_a22;
  /// Products with depths are neither so small nor so large that dividing them is a special case.
  bool is_moderate;

  RowGeometry(float row_less_cx, float focal_11, float focal_22, float column_origin);
};

/// Whether a value is 0, or of a size that real cameras come nowhere near the ends of.
bool is_moderate(float value);

/// What a row of a frame is rebuilt from, and into; all at the same pixel.
struct RowPixels {
  const unsigned char* codes;  ///< as the JPEG gives them, but exact ones where there are any
  float* depth;
  float* map_x;
  float* map_y;
};

/// Two depth maps and which of their pixels have depth.
struct DepthChange {
  const float* before;
  const float* now;
  const bool* had_depth;
  const bool* has_depth;
};

/// Where the bytes of codes go.
struct CodeBytes {
  unsigned char* bgr;    ///< of the code image, three for each
  unsigned char* grey;   ///< that the grey JPEG is made of
  unsigned char* codes;  ///< as they are
};

struct PixelKernels {
  /// Gives labels and codes to pixels from the first on, -1 and 0 where `mask` is negative. Stops
  /// before a block of pixels of which one has no sure label, or a code that does not give the
  /// depth back; returns the number of pixels before it. Blocks are whole.
  std::size_t (*code_pixels)(const float* depth, const int* mask, std::size_t count,
                             LabelIntervals& labels, int* label, int* code);

  void (*expand_codes)(const int* codes, std::size_t count, const CodeBytes& bytes);

  /// A grey row as B, G, R.
  void (*expand_grey)(const unsigned char* grey, std::size_t count, unsigned char* bgr);

  /// Codes runs of equal values, at most `longest` of them in each; returns the number of runs.
  /// There is room for `count` of them.
  int (*code_runs)(const int* values, std::size_t count, std::size_t longest, int* lengths,
                   int* run_values);

  /// Puts 1 in place of the first so many codes, of one label, that `read` has moved too far, and 0
  /// in place of the others; returns the number of the former. There are `room` codes, which are
  /// written back as they are behind the first ones.
  int (*flag_moved)(unsigned char* codes, const unsigned char* read, std::size_t count,
                    std::size_t room, const LabelTolerance& tolerance);

  /// Rebuilds so many pixels of the label with this reference, the first of them in `column`. Those
  /// behind them, up to `room`, may get any value.
  void (*rebuild_pixels)(const RowPixels& row, std::size_t count, std::size_t room, float reference,
                         int column, const RowGeometry& geometry);

  /// Fills an array of 32-bit words, writing only where it is not filled so already: what is read
  /// need not be written back.
  void (*refill)(void* words, std::size_t count, std::uint32_t word);

  /// Marks pixels that had and have depth, and whose depth changed by more than `contrast` of what
  /// it is now, with 255.0 and all others with 0.0, writing only what differs. Returns the number
  /// of pixels that moved.
  int (*mark_motion)(const DepthChange& change, std::size_t count, float contrast, float* moving);
};

/// Pixels that are coded at once; a block is whole or left alone.
inline constexpr std::size_t kCodedBlock = 16;

const PixelKernels& portable_pixel_kernels();

/// The best ones for this processor.
const PixelKernels& pixel_kernels();

}  // namespace depth_io
