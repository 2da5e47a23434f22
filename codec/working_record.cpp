#include "codec/working_record.h"

#include <algorithm>
#include <climits>
#include <cstdint>

#include "codec/console.h"
#include "codec/huge_pages.h"
#include "codec/record_allocation.h"

using depth_io::print;
using depth_io::print_line_and_wait;

namespace {

/// Stands for an array without elements in a record of width 0: `DeAllocate` has nothing to release
/// there, so nothing is allocated.
template <typename Element>
Element* no_elements() {
  static Element placeholder{};
  return &placeholder;
}

template <typename Element>
Element* make_array(std::size_t count, bool has_width) {
  return has_width ? new Element[count] : no_elements<Element>();
}

template <typename Element>
void release_array(Element*& array) {
  delete[] array;
  array = nullptr;
}

bool refuse(const char* complaint) {
  print_line_and_wait(complaint);
  return false;
}

bool is_possible_size(int width, int height) {
  if (width < 0 || height < 0) return false;
  const auto pixels = std::int64_t{width} * std::int64_t{height};
  return pixels <= INT_MAX / 3;
}

void allocate_arrays(struct_read_write_depth& src) {
  const std::size_t pixels = depth_io::pixel_count(src);
  const bool has_width = src.width > 0;
  src.Label = make_array<int>(pixels, has_width);
  src.LabelRefZ = make_array<float>(pixels, has_width);
  src.Encode = make_array<int>(pixels, has_width);
  src.EncodeUC = make_array<unsigned char>(3 * pixels, has_width);
  src.EncodeUC2 = make_array<unsigned char>(3 * pixels, has_width);
  src.ErrorMap = make_array<bool>(pixels, has_width);
  src.LoadedDepth = make_array<float>(pixels, has_width);
  src.LoadedMapX = make_array<float>(pixels, has_width);
  src.LoadedMapY = make_array<float>(pixels, has_width);
  // These two can outlive `DeAllocate` and are then released by their owner.
  src.LoadedColourImage = new unsigned char[3 * pixels];
  src.ErrorCorrect = make_array<int>(pixels, has_width);
  src.RLE_Nb = make_array<int>(pixels, has_width);
  src.RLE_Val = make_array<int>(pixels, has_width);
  src.write_MapObject = new int[pixels];
}

template <typename Element>
depth_io::MemoryRange range_of(Element* array, std::size_t count) {
  return {reinterpret_cast<char*>(array), count * sizeof(Element)};
}

void place_arrays_well(const struct_read_write_depth& src) {
  const std::size_t pixels = depth_io::pixel_count(src);
  depth_io::MemoryRange ranges[] = {
      range_of(src.Label, pixels),         range_of(src.LabelRefZ, pixels),
      range_of(src.Encode, pixels),        range_of(src.EncodeUC, 3 * pixels),
      range_of(src.EncodeUC2, 3 * pixels), range_of(src.ErrorMap, pixels),
      range_of(src.LoadedDepth, pixels),   range_of(src.LoadedMapX, pixels),
      range_of(src.LoadedMapY, pixels),    range_of(src.LoadedColourImage, 3 * pixels),
      range_of(src.ErrorCorrect, pixels),  range_of(src.RLE_Nb, pixels),
      range_of(src.RLE_Val, pixels),       range_of(src.write_MapObject, pixels)};
  depth_io::prefer_huge_pages(ranges);
}

}  // namespace

void InitStruct(struct_read_write_depth& src) {
  src.Label = nullptr;
  src.LabelRefZ = nullptr;
  src.Encode = nullptr;
  src.EncodeUC = nullptr;
  src.EncodeUC2 = nullptr;
  src.ErrorMap = nullptr;
  src.ErrorCorrect = nullptr;
  src.LoadedDepth = nullptr;
  src.LoadedMapX = nullptr;
  src.LoadedMapY = nullptr;
  src.RLE_Nb = nullptr;
  src.RLE_Val = nullptr;
  src.write_MapObject = nullptr;
  src.width = 0;
  src.height = 0;
  src.RLE_NbNb = 0;
  src.loaded_a11 = 0.0F;
  src.loaded_a22 = 0.0F;
  src.loaded_cx = 0.0F;
  src.loaded_cy = 0.0F;
}

bool depth_io::allocate_short_lived(struct_read_write_depth& src, int _width, int _height) {
  if (src.Label != nullptr) return refuse("ERROR Allocate 1");
  if (src.LabelRefZ != nullptr) return refuse("ERROR Allocate 2");
  if (src.Encode != nullptr) return refuse("ERROR Allocate 3");
  if (src.width != 0) return refuse("ERROR Allocate 4");
  if (src.height != 0) return refuse("ERROR Allocate 5");
  if (!is_possible_size(_width, _height)) {
    print("ERROR Allocate impossible size %d x %d\n", _width, _height);
    return false;
  }
  src.width = _width;
  src.height = _height;
  unsigned char* const former_colour_image = src.LoadedColourImage;
  try {
    allocate_arrays(src);
  } catch (...) {
    if (src.LoadedColourImage != former_colour_image) release_array(src.LoadedColourImage);
    src.LoadedColourImage = former_colour_image;
    DeAllocate(src);
    throw;
  }
  src.RLE_NbNb = 0;
  std::fill_n(src.write_MapObject, depth_io::pixel_count(src), 0);
  return true;
}

bool Allocate(struct_read_write_depth& src, int _width, int _height) {
  if (!depth_io::allocate_short_lived(src, _width, _height)) return false;
  if (_width > 0) place_arrays_well(src);
  return true;
}

void DeAllocate(struct_read_write_depth& src) {
  if (src.width >= 1) {
    release_array(src.Label);
    release_array(src.LabelRefZ);
    release_array(src.Encode);
    release_array(src.EncodeUC);
    release_array(src.EncodeUC2);
    release_array(src.ErrorMap);
    release_array(src.LoadedDepth);
    release_array(src.LoadedMapX);
    release_array(src.LoadedMapY);
    release_array(src.ErrorCorrect);
    release_array(src.RLE_Nb);
    release_array(src.RLE_Val);
    release_array(src.write_MapObject);
  }
  // Kept: the mask of a record of width 0, and every colour image, stay with their owner.
  src.Label = nullptr;
  src.LabelRefZ = nullptr;
  src.Encode = nullptr;
  src.EncodeUC = nullptr;
  src.EncodeUC2 = nullptr;
  src.ErrorMap = nullptr;
  src.LoadedDepth = nullptr;
  src.LoadedMapX = nullptr;
  src.LoadedMapY = nullptr;
  src.ErrorCorrect = nullptr;
  src.RLE_Nb = nullptr;
  src.RLE_Val = nullptr;
  src.RLE_NbNb = 0;
  src.width = 0;
  src.height = 0;
}

namespace depth_io {

void release_record(struct_read_write_depth& record) {
  DeAllocate(record);
  release_array(record.write_MapObject);
  release_array(record.LoadedColourImage);
}

}  // namespace depth_io
