#include "codec/pixel_kernels.h"

#include <immintrin.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

#include "codec/depth_code.h"
#include "codec/luminance.h"

namespace depth_io {
namespace {

constexpr int kBlock = static_cast<int>(kCodedBlock);
constexpr int kLanes = 8;
using Floats = float __attribute__((vector_size(kLanes * sizeof(float))));
using Ints = int __attribute__((vector_size(kLanes * sizeof(int))));  ///< also masks: 0 or -1

}  // namespace
}  // namespace depth_io

// One source of the loops, built twice.
namespace depth_io::portable {

/// A bit for each lane of a mask.
inline unsigned bits_of(const Ints& mask) {
  unsigned bits = 0;
  for (int lane = 0; lane < kLanes; ++lane)
    bits |= (static_cast<unsigned>(mask[lane]) & 1U) << lane;
  return bits;
}

inline Ints widened(const unsigned char* bytes) {
  Ints wide;
  for (int lane = 0; lane < kLanes; ++lane) wide[lane] = bytes[lane];
  return wide;
}

/// a * b + c, for products that are exact.
inline Floats multiply_add(const Floats& a, const Floats& b, const Floats& c) { return a * b + c; }

/// Not-a-number stays what it is.
inline Floats clamp_depths(const Floats& z) {
  const Floats not_below = z < kSmallestDepth ? Floats{} + kSmallestDepth : z;
  return not_below > kLargestDepth ? Floats{} + kLargestDepth : not_below;
}

#include "codec/pixel_loops.inc"

inline void rebuild_pixels(const RowPixels& row, std::size_t count, std::size_t room,
                           float reference, int column, const RowGeometry& geometry) {
  rebuild_with(row, count, room, reference, column, geometry,
               [](const Floats& dividend, float divisor, float) { return dividend / divisor; });
}

}  // namespace depth_io::portable

#ifdef __clang__
#pragma clang attribute push(__attribute__((target("avx2,fma"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2,fma")
#endif
namespace depth_io::avx2 {

// Vectors of the loops and of the processor's own functions, bit for bit.

inline __m256 as_m256(const Ints& vector) { return reinterpret_cast<const __m256&>(vector); }
inline __m256 as_m256(const Floats& vector) { return reinterpret_cast<const __m256&>(vector); }
inline Ints as_ints(__m256 vector) {
  Ints ints;
  std::memcpy(&ints, &vector, sizeof ints);
  return ints;
}
inline Floats as_floats(__m256 vector) {
  Floats floats;
  std::memcpy(&floats, &vector, sizeof floats);
  return floats;
}

inline unsigned bits_of(const Ints& mask) {
  return static_cast<unsigned>(_mm256_movemask_ps(as_m256(mask)));
}

inline Ints widened(const unsigned char* bytes) {
  const __m256i wide =
      _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes)));
  return as_ints(_mm256_castsi256_ps(wide));
}

inline Floats multiply_add(const Floats& a, const Floats& b, const Floats& c) {
  return as_floats(_mm256_fmadd_ps(as_m256(a), as_m256(b), as_m256(c)));
}

inline Floats clamp_depths(const Floats& z) {
  // Where one operand is no number, or both are 0, these give the second one.
  const __m256 not_below = _mm256_max_ps(_mm256_set1_ps(kSmallestDepth), as_m256(z));
  return as_floats(_mm256_min_ps(_mm256_set1_ps(kLargestDepth), not_below));
}

#include "codec/pixel_loops.inc"

/// The correctly rounded quotient out of the divisor's correctly rounded reciprocal, in half the
/// time of a division: the first correction leaves less than one unit in the last place, whose
/// remainder is exact, and the second rounds as the division does. Remainders are taken from the
/// quotient, not added to it, so that the quotient of a zero keeps its sign. Not for numbers so
/// small that remainders underflow.
inline Floats quotient(const Floats& dividend, float divisor, float reciprocal) {
  const auto n = as_m256(dividend);
  const __m256 d = _mm256_set1_ps(divisor);
  const __m256 r = _mm256_set1_ps(reciprocal);
  __m256 q = _mm256_mul_ps(n, r);
  q = _mm256_fnmadd_ps(_mm256_fmsub_ps(q, d, n), r, q);
  q = _mm256_fnmadd_ps(_mm256_fmsub_ps(q, d, n), r, q);
  return as_floats(q);
}

inline void rebuild_pixels(const RowPixels& row, std::size_t count, std::size_t room,
                           float reference, int column, const RowGeometry& geometry) {
  if (geometry.is_moderate && is_moderate(reference)) {
    rebuild_with(row, count, room, reference, column, geometry,
                 [](const Floats& dividend, float divisor, float reciprocal) {
                   return quotient(dividend, divisor, reciprocal);
                 });
  } else {
    rebuild_with(row, count, room, reference, column, geometry,
                 [](const Floats& dividend, float divisor, float) { return dividend / divisor; });
  }
}

// Bytes are moved about by shuffles, which no compiler makes of the plain loops.

constexpr CodeSet kLoweredGreys = [] {
  bool lowered[256] = {};
  for (int grey = 0; grey < 256; ++grey) {
    lowered[grey] = kGreyLuminances[static_cast<std::size_t>(grey)] < grey;
  }
  return CodeSet(lowered);
}();

/// Looks bytes up in sets of codes.
struct Lookup {
  __m256i left_row;   ///< negative for those in the right half: they find nothing
  __m256i right_row;  ///< the other way round
  __m256i bit;

  explicit Lookup(__m256i bytes) {
    const __m256i low_half = _mm256_set1_epi8(0x0F);
    const __m256i sign = _mm256_set1_epi8(static_cast<char>(0x80));
    const __m256i bits = _mm256_set1_epi64x(static_cast<long long>(0x8040201008040201U));
    const __m256i row = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), low_half);
    // The bit of 8 becomes the sign.
    const __m256i half = _mm256_and_si256(_mm256_slli_epi16(bytes, 4), sign);
    left_row = _mm256_or_si256(row, half);
    right_row = _mm256_xor_si256(left_row, sign);
    bit = _mm256_shuffle_epi8(bits, _mm256_and_si256(bytes, low_half));
  }

  /// 0xFF for members.
  __m256i in(const CodeSet& set) const {
    __m128i left;
    __m128i right;
    load(left, set.half[0]);
    load(right, set.half[1]);
    const __m256i rows =
        _mm256_or_si256(_mm256_shuffle_epi8(_mm256_broadcastsi128_si256(left), left_row),
                        _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(right), right_row));
    return _mm256_cmpeq_epi8(_mm256_and_si256(rows, bit), bit);
  }
};

constexpr std::size_t kBytesAtOnce = 32;

inline void store_tripled(__m128i bytes, unsigned char* bgr) {
  const __m128i places[] = {
      _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5),
      _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10),
      _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15)};
  for (int part = 0; part < 3; ++part) {
    store(_mm_shuffle_epi8(bytes, places[part]), bgr + 16 * part);
  }
}

inline __m256i eight_codes(const int* codes) {
  __m256i eight;
  load(eight, codes);
  return _mm256_and_si256(eight, _mm256_set1_epi32(0xFF));
}

inline __m256i codes_as_bytes(const int* codes) {
  const __m256i first = _mm256_packs_epi32(eight_codes(codes), eight_codes(codes + 8));
  const __m256i second = _mm256_packs_epi32(eight_codes(codes + 16), eight_codes(codes + 24));
  // Packing works on halves: their quarters are put into order behind it.
  return _mm256_permutevar8x32_epi32(_mm256_packus_epi16(first, second),
                                     _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

inline void shuffle_codes(const int* codes, std::size_t count, const CodeBytes& bytes) {
  std::size_t done = 0;
  for (; done + kBytesAtOnce <= count; done += kBytesAtOnce) {
    const __m256i all = codes_as_bytes(codes + done);
    store_tripled(_mm256_castsi256_si128(all), bytes.bgr + 3 * done);
    store_tripled(_mm256_extracti128_si256(all, 1), bytes.bgr + 3 * (done + kBytesAtOnce / 2));
    store(_mm256_add_epi8(all, Lookup(all).in(kLoweredGreys)), bytes.grey + done);
    store(all, bytes.codes + done);
  }
  expand_codes(codes + done, count - done,
               {bytes.bgr + 3 * done, bytes.grey + done, bytes.codes + done});
}

inline void shuffle_grey(const unsigned char* grey, std::size_t count, unsigned char* bgr) {
  constexpr std::size_t kAtOnce = kBytesAtOnce / 2;
  std::size_t done = 0;
  for (; done + kAtOnce <= count; done += kAtOnce) {
    __m128i bytes;
    load(bytes, grey + done);
    store_tripled(bytes, bgr + 3 * done);
  }
  expand_grey(grey + done, count - done, bgr + 3 * done);
}

inline unsigned bits_of_bytes(__m256i mask) {
  return static_cast<unsigned>(_mm256_movemask_epi8(mask));
}

/// Which of the codes were moved too far: 0xFF. False when one of those in `lanes` is irregular.
inline bool find_moved(__m256i codes, __m256i read, unsigned lanes, const LabelTolerance& tolerance,
                       __m256i& moved) {
  const Lookup lookup(codes);
  if (tolerance.has_special_codes && (bits_of_bytes(lookup.in(tolerance.irregular)) & lanes) != 0) {
    return false;
  }
  const __m256i up = _mm256_subs_epu8(read, codes);
  __m256i down = _mm256_subs_epu8(codes, read);
  if (tolerance.has_special_codes) {
    down = _mm256_andnot_si256(lookup.in(tolerance.down_for_ever), down);
  }
  __m256i allowed = _mm256_set1_epi8(static_cast<char>(tolerance.fewest_steps));
  for (int i = 0; i < tolerance.level_count; ++i) {
    const __m256i level = _mm256_set1_epi8(static_cast<char>(tolerance.one_more_from[i]));
    allowed = _mm256_sub_epi8(allowed, _mm256_cmpeq_epi8(_mm256_max_epu8(codes, level), codes));
  }
  // One step less, unless all of them are good.
  const __m256i up_allowed = _mm256_sub_epi8(
      allowed, _mm256_andnot_si256(lookup.in(tolerance.up_by_all), _mm256_set1_epi8(1)));
  const __m256i down_allowed = _mm256_sub_epi8(
      allowed, _mm256_andnot_si256(lookup.in(tolerance.down_by_all), _mm256_set1_epi8(1)));
  const __m256i too_far =
      _mm256_or_si256(_mm256_subs_epu8(up, up_allowed), _mm256_subs_epu8(down, down_allowed));
  moved =
      _mm256_xor_si256(_mm256_cmpeq_epi8(too_far, _mm256_setzero_si256()), _mm256_set1_epi8(-1));
  return true;
}

/// 0xFF for the first so many bytes.
inline __m256i first_bytes(std::size_t count) {
  alignas(kBytesAtOnce) static constexpr auto kSteps = [] {
    std::array<unsigned char, 2 * kBytesAtOnce> steps{};
    for (std::size_t i = 0; i < kBytesAtOnce; ++i) steps[i] = 0xFF;
    return steps;
  }();
  __m256i mask;
  load(mask, kSteps.data() + kBytesAtOnce - count);
  return mask;
}

inline int flag_moved_at_once(unsigned char* codes, const unsigned char* read, std::size_t count,
                              std::size_t room, const LabelTolerance& tolerance) {
  int sum = 0;
  std::size_t done = 0;
  for (; done < count && done + kBytesAtOnce <= room; done += kBytesAtOnce) {
    const __m256i lanes = first_bytes(std::min(count - done, kBytesAtOnce));
    __m256i written;
    __m256i now;
    __m256i moved;
    load(written, codes + done);
    load(now, read + done);
    if (!find_moved(written, now, bits_of_bytes(lanes), tolerance, moved)) break;
    const __m256i flags = _mm256_and_si256(moved, _mm256_set1_epi8(1));
    store(_mm256_blendv_epi8(written, flags, lanes), codes + done);
    sum += std::popcount(bits_of_bytes(_mm256_and_si256(moved, lanes)));
  }
  if (done >= count) return sum;
  return sum + flag_moved(codes + done, read + done, count - done, room - done, tolerance);
}

}  // namespace depth_io::avx2
#ifdef __clang__
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

namespace depth_io {

bool is_moderate(float value) {
  constexpr float kSmall = 0x1p-20F;
  constexpr float kLarge = 0x1p20F;
  return value == 0.0F || (std::fabs(value) >= kSmall && std::fabs(value) <= kLarge);
}

RowGeometry::RowGeometry(float row_less_cx, float focal_11, float focal_22, float column_origin)
    : x(row_less_cx),
      a11(focal_11),
      a22(focal_22),
      cy(column_origin),
      reciprocal_a11(1.0F / focal_11),
      reciprocal_a22(1.0F / focal_22),
      is_moderate(depth_io::is_moderate(x) && depth_io::is_moderate(cy) && a11 > 0.0F &&
                  depth_io::is_moderate(a11) && a22 > 0.0F && depth_io::is_moderate(a22)) {}

const PixelKernels& portable_pixel_kernels() {
  using namespace portable;
  static constexpr PixelKernels kKernels{code_pixels, expand_codes,   expand_grey, code_runs,
                                         flag_moved,  rebuild_pixels, refill,      mark_motion};
  return kKernels;
}

const PixelKernels& pixel_kernels() {
  using namespace avx2;
  static constexpr PixelKernels kKernels{code_pixels, shuffle_codes,      shuffle_grey,
                                         code_runs,   flag_moved_at_once, rebuild_pixels,
                                         refill,      mark_motion};
  static const bool has_avx2 =
      __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0;
  return has_avx2 ? kKernels : portable_pixel_kernels();
}

}  // namespace depth_io
