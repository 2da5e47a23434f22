#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "codec/console.h"
#include "codec/frame_names.h"
#include "codec/frame_writer.h"
#include "codec/working_record.h"
#include "tests/support/console_capture.h"
#include "tests/support/temp_directory.h"

namespace depth_io::test {

/// A working record that is released with everything it holds.
class OwnedRecord {
 public:
  OwnedRecord(int width, int height) {
    InitStruct(record_);
    EXPECT_TRUE(Allocate(record_, width, height));
  }
  ~OwnedRecord() {
    delete[] record_.LoadedColourImage;
    int* const mask = record_.width == 0 ? record_.write_MapObject : nullptr;
    DeAllocate(record_);
    delete[] mask;
  }
  OwnedRecord(const OwnedRecord&) = delete;
  OwnedRecord& operator=(const OwnedRecord&) = delete;

  struct_read_write_depth& get() { return record_; }
  struct_read_write_depth* operator->() { return &record_; }
  std::size_t pixels() const {
    return static_cast<std::size_t>(record_.width) * static_cast<std::size_t>(record_.height);
  }
  /// Index of a pixel in the record's arrays.
  std::size_t at(int row, int col) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(record_.width) +
           static_cast<std::size_t>(col);
  }

 private:
  struct_read_write_depth record_;
};

/// The arguments of one call of the frame writer, with defaults.
struct FrameCall {
  bool reverse_name = false;
  int verification = 2;
  std::string directory;
  std::string depth_stem = "depth";
  bool colour_on = false;
  std::string colour_stem = "bgr";
  std::vector<unsigned char> colour;
  bool by_timestamp = false;
  int digits = 5;
  int number = 42;
  std::string timestamp = "2024-05-06T07-08-09.123000";
  std::vector<float> depths;
  float a11 = 525.0F;
  float a22 = 525.5F;
  float cx = 319.5F;
  float cy = 239.5F;
  int debug = 0;

  int write(struct_read_write_depth& record) {
    return write_compressed_data(reverse_name, verification, record, directory.data(),
                                 depth_stem.data(), colour_on, colour_stem.data(), colour.data(),
                                 by_timestamp, digits, number, timestamp.data(), depths.data(), a11,
                                 a22, cx, cy, debug);
  }

  /// The line that the writer prints first.
  std::string saving_line() const {
    const std::string index = " index " + std::to_string(number);
    return colour_on ? "saving '" + directory + "/" + depth_stem + "|" + colour_stem + "'" + index +
                           ", timestamp " + timestamp + "\n"
                     : "saving '" + directory + "/" + depth_stem + "'" + index + " timestamp " +
                           timestamp + "\n";
  }
};

/// One frame to be written to a directory of its own, with what the writer printed.
class WriterBench {
 public:
  WriterBench(int width, int height, std::vector<float> depths) : record(width, height) {
    call.directory = directory.slash();
    call.depths = std::move(depths);
  }
  WriterBench(int width, int height, float depth)
      : WriterBench(
            width, height,
            std::vector<float>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height),
                               depth)) {}

  int write() {
    console = capture_console([this] { result = call.write(record.get()); });
    return result;
  }

  /// The default frame's base name; its files' names; their bytes.
  std::string base() const { return directory.file("depth-00042"); }
  std::string name(const std::string& ending) const { return base() + ending; }
  std::string colour_name() const { return directory.file("bgr-00042.jpg"); }
  std::string bytes(const std::string& ending) const { return read_file(name(ending)); }

  /// A colour image of one colour.
  void add_colour() {
    call.colour_on = true;
    call.colour.assign(record.pixels() * 3, 90);
  }

  TempDirectory directory;
  OwnedRecord record;
  FrameCall call;
  int result = -1;
  ConsoleTrace console;
};

/// Takes everything that the library prints, and acts once when a text comes by: so that a test can
/// change a file between two steps.
class PrintHook {
 public:
  explicit PrintHook(std::string trigger = {}, std::function<void()> action = {})
      : trigger_(std::move(trigger)), action_(std::move(action)) {
    set_print_handler(&PrintHook::take, this);
  }
  ~PrintHook() { set_print_handler(nullptr, nullptr); }
  PrintHook(const PrintHook&) = delete;
  PrintHook& operator=(const PrintHook&) = delete;

  const std::string& output() const { return output_; }
  bool fired() const { return fired_; }

 private:
  static void take(void* context, const char* text, std::size_t length) {
    auto* const self = static_cast<PrintHook*>(context);
    const std::size_t overlap = std::min(self->output_.size(), self->trigger_.size());
    const std::size_t from = self->output_.size() - overlap;
    self->output_.append(text, length);
    if (self->fired_ || self->trigger_.empty()) return;
    if (self->output_.find(self->trigger_, from) == std::string::npos) return;
    self->fired_ = true;
    self->action_();
  }

  std::string trigger_;
  std::function<void()> action_;
  std::string output_;
  bool fired_ = false;
};

/// Counts key waits without a keyboard, however many there are.
class KeyCounter {
 public:
  KeyCounter() {
    set_key_wait_handler([](void* context) { ++*static_cast<long*>(context); }, &count_);
  }
  ~KeyCounter() { set_key_wait_handler(nullptr, nullptr); }
  KeyCounter(const KeyCounter&) = delete;
  KeyCounter& operator=(const KeyCounter&) = delete;
  long count() const { return count_; }

 private:
  long count_ = 0;
};

inline std::string golden(const std::string& name) {
  const std::string path = std::string(CAMERA_DEPTH_RW_TEST_DATA) + "/golden/" + name;
  EXPECT_TRUE(std::filesystem::exists(path)) << path;
  return read_file(path);
}

inline std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t from = text.find(part); from != std::string::npos;
       from = text.find(part, from + part.size())) {
    ++count;
  }
  return count;
}

inline std::size_t entries_in(const std::string& directory) {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory)) ++count;
  return count;
}

/// A file of `size` bytes that takes no room on the disk.
inline void write_sparse_file(const std::string& path, std::uintmax_t size) {
  write_file(path, "");
  std::filesystem::resize_file(path, size);
}

/// A file of error records: six counts, then row, column, code of each record.
struct ErrorRecord {
  int region;
  int row;
  int col;
  int code;
};
inline std::string error_file(const std::vector<ErrorRecord>& records) {
  std::string counts;
  std::string body;
  for (int region = 0; region < 6; ++region) {
    int count = 0;
    for (const ErrorRecord& record : records) {
      if (record.region != region) continue;
      ++count;
      for (const int byte : {record.row, record.col, record.code}) {
        body += static_cast<char>(byte);
      }
    }
    counts += static_cast<char>(count / 256);
    counts += static_cast<char>(count % 256);
  }
  return counts + body;
}

}  // namespace depth_io::test
