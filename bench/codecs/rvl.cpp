#include <cstddef>

#include "bench/codecs/depth_codecs.h"

namespace depth_io::bench {
namespace {

/// Nibbles fill words from the top. Whole words go out, so that the decoder may read whole words.
class NibbleWriter {
 public:
  explicit NibbleWriter(std::uint32_t* next) : next_(next) {}

  void write(std::uint32_t number) {
    do {
      std::uint32_t nibble = number & 7U;
      number >>= 3U;
      if (number != 0) nibble |= 8U;
      word_ = (word_ << 4U) | nibble;
      if (++nibbles_ == 8) flush();
    } while (number != 0);
  }

  std::uint32_t* finish() {
    if (nibbles_ > 0) {
      word_ <<= 4U * (8U - nibbles_);
      flush();
    }
    return next_;
  }

 private:
  void flush() {
    *next_++ = word_;
    word_ = 0;
    nibbles_ = 0;
  }

  std::uint32_t* next_;
  std::uint32_t word_ = 0;
  unsigned nibbles_ = 0;
};

class NibbleReader {
 public:
  explicit NibbleReader(const std::uint32_t* next) : next_(next) {}

  std::uint32_t read() {
    std::uint32_t number = 0;
    std::uint32_t nibble = 0;
    unsigned shift = 0;
    do {
      if (nibbles_ == 0) {
        word_ = *next_++;
        nibbles_ = 8;
      }
      nibble = word_ >> 28U;
      word_ <<= 4U;
      --nibbles_;
      number |= (nibble & 7U) << shift;
      shift += 3;
    } while ((nibble & 8U) != 0);
    return number;
  }

 private:
  const std::uint32_t* next_;
  std::uint32_t word_ = 0;
  unsigned nibbles_ = 0;
};

std::uint32_t fold_sign(int difference) {
  return (static_cast<std::uint32_t>(difference) << 1U) ^
         static_cast<std::uint32_t>(difference >> 31);
}

int unfold_sign(std::uint32_t folded) {
  return static_cast<int>(folded >> 1U) ^ -static_cast<int>(folded & 1U);
}

}  // namespace

std::size_t encode_rvl(const Samples& samples, Buffer& buffer) {
  // A reading takes at most six nibbles; the lengths of a run of one, two.
  buffer.resize(samples.size() * 4 + 64);
  auto* const words = reinterpret_cast<std::uint32_t*>(buffer.data());
  NibbleWriter writer(words);
  const std::uint16_t* next = samples.data();
  const std::uint16_t* const end = next + samples.size();
  int previous = 0;
  while (next != end) {
    const std::uint16_t* const zeros = next;
    while (next != end && *next == 0) ++next;
    writer.write(static_cast<std::uint32_t>(next - zeros));
    const std::uint16_t* const readings = next;
    while (next != end && *next != 0) ++next;
    writer.write(static_cast<std::uint32_t>(next - readings));
    for (const std::uint16_t* reading = readings; reading != next; ++reading) {
      writer.write(fold_sign(*reading - previous));
      previous = *reading;
    }
  }
  return static_cast<std::size_t>(writer.finish() - words) * sizeof(std::uint32_t);
}

void decode_rvl(Bytes code, Samples& samples) {
  NibbleReader reader(reinterpret_cast<const std::uint32_t*>(code.data()));
  std::uint16_t* next = samples.data();
  std::uint16_t* const end = next + samples.size();
  int previous = 0;
  while (next != end) {
    for (std::uint32_t zeros = reader.read(); zeros > 0; --zeros) *next++ = 0;
    for (std::uint32_t readings = reader.read(); readings > 0; --readings) {
      previous += unfold_sign(reader.read());
      *next++ = static_cast<std::uint16_t>(previous);
    }
  }
}

}  // namespace depth_io::bench
