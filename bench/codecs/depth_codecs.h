#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

/// What a user would store 16-bit depth maps with instead. All work from memory to memory: encoders
/// fill a buffer that they let grow to the most that a frame can take, so that it is allocated
/// once, and return the size of the code.
namespace depth_io::bench {

using Buffer = std::vector<unsigned char>;
using Bytes = std::span<const unsigned char>;
using Samples = std::vector<std::uint16_t>;  ///< [480*640] row-major

/// A 16-bit grey PNG image at a compression level of 1 .. 9, filters as libpng chooses them.
std::size_t encode_png(const Samples& samples, int level, Buffer& buffer);
void decode_png(Bytes code, Samples& samples);

/// Zstandard at level 1 on the samples' bytes.
class Zstd {
 public:
  Zstd();
  ~Zstd();
  Zstd(const Zstd&) = delete;
  Zstd& operator=(const Zstd&) = delete;

  std::size_t encode(const Samples& samples, Buffer& buffer);
  void decode(Bytes code, Samples& samples);

 private:
  struct Contexts;
  std::unique_ptr<Contexts> contexts_;
};

/// Lossless coding of depth maps by run lengths and variable-length differences (Wilson, 2017): the
/// lengths of a run of zeros and of the run of readings after it, then each reading's difference
/// from the one before it, signs folded into the lowest bit; numbers in nibbles of three bits and a
/// bit that tells that more follow.
std::size_t encode_rvl(const Samples& samples, Buffer& buffer);
void decode_rvl(Bytes code, Samples& samples);

}  // namespace depth_io::bench
