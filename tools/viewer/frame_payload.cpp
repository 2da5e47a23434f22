#include "tools/viewer/frame_payload.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

#include "tools/frame/frame.h"

namespace depth_io::tools {
namespace {

static_assert(std::endian::native == std::endian::little);

constexpr std::uint32_t kTableForm = 0;
constexpr std::uint32_t kPlainForm = 1;
constexpr std::size_t kCodes = 256;
constexpr std::uint16_t kNoLabel = 0xFFFF;
constexpr std::size_t kBytesPerPixel = 3;  ///< of the code image

template <typename Value>
void append(std::string& bytes, const Value& value) {
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

template <typename Value>
void append_array(std::string& bytes, const Value* values, std::size_t count) {
  bytes.append(reinterpret_cast<const char*>(values), count * sizeof(Value));
}

/// The code that a pixel was decoded from.
std::size_t code_of(const struct_read_write_depth& record, std::size_t pixel) {
  const int exact = record.ErrorCorrect[pixel];
  return exact >= 0 ? static_cast<std::size_t>(exact) : record.EncodeUC[kBytesPerPixel * pixel];
}

std::vector<unsigned char> record_bits(const struct_read_write_depth& record,
                                       std::uint32_t& record_count) {
  std::vector<unsigned char> bits(kFramePixels / 8);
  record_count = 0;
  for (std::size_t pixel = 0; pixel < kFramePixels; ++pixel) {
    if (record.ErrorCorrect[pixel] < 0) continue;
    bits[pixel / 8] |= static_cast<unsigned char>(1U << (pixel % 8));
    ++record_count;
  }
  return bits;
}

void append_table(std::string& bytes, const struct_read_write_depth& record, int label_count) {
  std::vector<float> depth_of(kCodes * static_cast<std::size_t>(label_count));
  std::vector<std::uint16_t> pixels(kFramePixels, kNoLabel);
  if (label_count > 0) {
    for (std::size_t pixel = 0; pixel < kFramePixels; ++pixel) {
      if (record.Label[pixel] < 0) continue;
      const std::size_t place =
          static_cast<std::size_t>(record.Label[pixel]) * kCodes + code_of(record, pixel);
      depth_of[place] = record.LoadedDepth[pixel];
      pixels[pixel] = static_cast<std::uint16_t>(place);
    }
  }
  append_array(bytes, depth_of.data(), depth_of.size());
  append_array(bytes, pixels.data(), pixels.size());
}

}  // namespace

std::string frame_payload(const FrameDecoder& decoder) {
  const struct_read_write_depth& record = decoder.record();
  const int labels = decoder.label_count();
  const bool fits_table = labels <= kMostLabelsOfTable;
  std::uint32_t record_count = 0;
  const std::vector<unsigned char> bits = record_bits(record, record_count);

  std::string bytes = "DFRM";
  append(bytes, fits_table ? kTableForm : kPlainForm);
  append(bytes, std::uint32_t{kFrameWidth});
  append(bytes, std::uint32_t{kFrameHeight});
  append(bytes, static_cast<std::uint32_t>(labels));
  append(bytes, record_count);
  append(bytes, record.loaded_a11);
  append(bytes, record.loaded_a22);
  append(bytes, record.loaded_cx);
  append(bytes, record.loaded_cy);
  append_array(bytes, record.LabelRefZ, static_cast<std::size_t>(labels));
  if (fits_table) {
    append_table(bytes, record, labels);
  } else {
    append_array(bytes, record.LoadedDepth, kFramePixels);
    append_array(bytes, record.Label, kFramePixels);
  }
  append_array(bytes, bits.data(), bits.size());
  return bytes;
}

}  // namespace depth_io::tools
