#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <new>
#include <sstream>
#include <string>
#include <type_traits>

#include "codec/working_record.h"

// Objects that are made where others have been: what they do not set shows.
namespace depth_io::test {

inline constexpr unsigned char kStaleByte = 0xA5;

/// An object in memory that was full of stale bytes.
template <typename Object>
class InStaleMemory {
 public:
  InStaleMemory() : memory_(static_cast<unsigned char*>(::operator new(sizeof(Object), kAligned))) {
    // A compiler may leave out what is written to a place before an object begins to live there,
    // and take what its constructor leaves as anything: neither where it cannot know.
    volatile unsigned char* const bytes = memory_;
    for (std::size_t i = 0; i < sizeof(Object); ++i) bytes[i] = kStaleByte;
    object_ = new (memory_) Object;
    asm volatile("" : : "r"(memory_) : "memory");
  }
  ~InStaleMemory() {
    object_->~Object();
    ::operator delete(memory_, kAligned);
  }
  InStaleMemory(const InStaleMemory&) = delete;
  InStaleMemory& operator=(const InStaleMemory&) = delete;

  Object& operator*() const { return *object_; }
  Object* operator->() const { return object_; }

 private:
  static constexpr std::align_val_t kAligned{alignof(Object)};

  unsigned char* memory_;
  Object* object_;
};

/// Whether no byte of it was ever set.
template <typename Value>
bool is_stale(const Value& value) {
  const auto* const bytes = reinterpret_cast<const unsigned char*>(&value);
  return std::all_of(bytes, bytes + sizeof value,
                     [](unsigned char byte) { return byte == kStaleByte; });
}

/// Whether a part of it was never set: of numbers, pointers, arrays of them, and owning buffers.
template <typename Field>
bool has_stale_part(const Field& field) {
  if constexpr (std::is_array_v<Field>) {
    return std::any_of(std::begin(field), std::end(field),
                       [](const auto& e) { return is_stale(e); });
  } else if constexpr (requires { field.buffer; }) {
    return is_stale(field.N) || is_stale(field.buffer);
  } else if constexpr (requires { field.Counter; }) {
    return is_stale(field.N1D) || is_stale(field.arr1D) || is_stale(field.Counter);
  } else if constexpr (requires { field.arr1D; }) {
    return is_stale(field.N1D) || is_stale(field.arr1D);
  } else {
    static_assert(std::is_scalar_v<Field>);
    return is_stale(field);
  }
}

template <typename... Fields>
void expect_none_stale(const std::string& names, const Fields&... fields) {
  std::istringstream rest(names);
  std::string name;
  const auto expect_set = [&](const auto& field) {
    std::getline(rest, name, ',');
    EXPECT_FALSE(has_stale_part(field)) << name;
  };
  (expect_set(fields), ...);
}

/// Each of these fields was set.
#define EXPECT_NONE_STALE(...) ::depth_io::test::expect_none_stale(#__VA_ARGS__, __VA_ARGS__)

/// Each field of a record was set; its `jpgfile` holds nothing.
inline void expect_record_set(const struct_read_write_depth& r) {
  EXPECT_NONE_STALE(r.temp_filename, r.width, r.height, r.Label, r.LabelRefZ, r.Encode, r.EncodeUC,
                    r.EncodeUC2, r.ErrorMap, r.ErrorCorrect, r.RLE_Nb, r.RLE_Val, r.RLE_NbNb,
                    r.loaded_a11, r.loaded_a22, r.loaded_cx, r.loaded_cy, r.LoadedDepth,
                    r.LoadedMapX, r.LoadedMapY, r.LoadedColourImage, r.write_MapObject);
}

}  // namespace depth_io::test
