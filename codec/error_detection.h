#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "codec/pixel_kernels.h"
#include "codec/working_record.h"

namespace depth_io {

/// 64 flags, the first of them in the lowest bit.
inline std::uint64_t flags_as_bits(const bool* flags) {
  std::uint64_t bits = 0;
  for (unsigned part = 0; part < 4; ++part) {
    __m128i bytes;
    std::memcpy(&bytes, flags + std::size_t{16} * part, sizeof bytes);
    const auto set =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpgt_epi8(bytes, _mm_setzero_si128())));
    bits |= std::uint64_t{set} << (16U * part);
  }
  return bits;
}

/// Calls `visit(index)` for each flag that is set, in order.
template <typename Visit>
void for_each_flag(const bool* flags, std::size_t count, Visit visit) {
  static_assert(sizeof(bool) == 1);
  constexpr std::size_t kAtOnce = 64;
  const auto visit_bits = [&](std::size_t first, std::uint64_t set) {
    for (; set != 0; set &= set - 1) {
      visit(first + static_cast<std::size_t>(std::countr_zero(set)));
    }
  };
  std::size_t first = 0;
  for (; first + kAtOnce <= count; first += kAtOnce)
    visit_bits(first, flags_as_bits(flags + first));
  if (first > 0 && first < count) {
    // Together with some that have been visited, which are shifted out.
    const std::size_t left = count - first;
    visit_bits(first, flags_as_bits(flags + count - kAtOnce) >> (kAtOnce - left));
    return;
  }
  for (; first < count; ++first) {
    if (flags[first]) visit(first);
  }
}

/// How many flags are set.
inline int count_flags(const bool* flags, std::size_t count) {
  __m128i sums = _mm_setzero_si128();
  std::size_t first = 0;
  for (; first + sizeof sums <= count; first += sizeof sums) {
    __m128i bytes;
    std::memcpy(&bytes, flags + first, sizeof bytes);
    sums = _mm_add_epi64(sums, _mm_sad_epu8(bytes, _mm_setzero_si128()));
  }
  auto sum =
      static_cast<int>(_mm_cvtsi128_si64(sums) + _mm_cvtsi128_si64(_mm_unpackhi_epi64(sums, sums)));
  for (; first < count; ++first) sum += flags[first] ? 1 : 0;
  return sum;
}

/// The error map's memory, where each pixel's code waits to be compared and to become its flag.
inline unsigned char* codes_in_error_map(struct_read_write_depth& record) {
  static_assert(sizeof(bool) == 1);
  return reinterpret_cast<unsigned char*>(record.ErrorMap);
}

/// Complains of a depth that is no number, and waits for a key.
void report_depth_without_threshold();

/// How far codes of a label with this reference may be moved; the reference is finite.
LabelTolerance find_tolerance(float reference);

/// Flags in `ErrorMap` the pixels that the JPEG moved beyond the tolerance of their depth: compares
/// the codes as written, which the map holds at first, with their read-back, row by row.
/// Not-a-number prints a message and waits for a key at each pixel.
class ErrorFinder {
 public:
  /// The record has labels, codes and runs.
  explicit ErrorFinder(struct_read_write_depth& record);

  /// Whether rows can be looked at while the image is being decoded: with a mask, all of them are
  /// looked at behind its end.
  bool takes_rows() const { return !has_mask_; }

  /// The next row of the read-back, grey.
  void take_row(const unsigned char* read);

  /// Looks at what rows are left. Returns the number of flags.
  int finish();

 private:
  struct KnownLabel {
    int label = -1;
    LabelTolerance tolerance;
  };
  static constexpr std::size_t kKnownLabels = 64;

  std::size_t take_strange_pixels(std::size_t most);
  void take_run(int label, std::size_t count, std::size_t room, const unsigned char* read);
  void flag(bool& flag, bool is_error);
  bool learn(KnownLabel& known, int label, std::size_t count) const;
  void take_unknown_run(float reference, std::size_t count, const unsigned char* read);
  void take_pixels_left();
  void count_strange(float reference, std::size_t pixels);
  void flag_infinite_labels();
  void look_at_all();

  struct_read_write_depth& record_;
  const PixelKernels& kernels_ = pixel_kernels();
  bool has_mask_;
  bool has_infinite_labels_ = false;
  std::size_t pixels_without_number_ = 0;
  std::size_t pixel_ = 0;  ///< the next one
  int run_ = 0;
  std::size_t left_in_run_ = 0;
  int count_ = 0;
  KnownLabel known_[kKnownLabels];
};

}  // namespace depth_io
