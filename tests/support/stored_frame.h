#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "codec/frame_reader.h"
#include "codec/working_record.h"
#include "tests/support/console_capture.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/jpeg_fixture.h"
#include "tests/support/temp_directory.h"

namespace depth_io::test {

/// The four files of one frame, put on the disk by hand and read by the library. Begins as a good
/// frame of 4 x 2 pixels: label 0 (1.0 m) six times, label 1 (3.0 m) twice, every code 125.
class StoredFrame {
 public:
  StoredFrame(int width = 4, int height = 2) : record(width, height) {
    label_map = "2\n6 0\n2 1\n\n";
    references = "nblabels 2 a11 500.0 a22 250.0 cx 1.0 cy 2.0\n1.000000\n3.000000\n";
    errors = std::string(12, '\0');
    encode_flat(name(".jpg"), width, height, 1, 125);
  }

  /// Stores the text files as they are now.
  void store() {
    write_file(name(".rle"), label_map);
    write_file(name(".ref"), references);
    write_file(name(".err"), errors);
  }

  /// Stores and reads; the result is the reader's.
  bool read(int debug = 0) {
    store();
    return reload(debug);
  }

  /// Reads what is on the disk.
  bool reload(int debug = 0) {
    Text base_name(base());
    bool good = false;
    console = capture_console([&] { good = load_compressed_data(record.get(), base_name, debug); });
    return good;
  }

  /// The same through the silent entry.
  bool read_silently() {
    store();
    return reload_silently();
  }
  bool reload_silently() {
    Text base_name(base());
    bool good = false;
    console =
        capture_console([&] { good = load_compressed_data_vostrel(record.get(), base_name); });
    return good;
  }

  /// Makes the code image from one code per pixel.
  void set_codes(const std::vector<unsigned char>& codes) {
    encode_plainly(name(".jpg"), record->width, record->height, 1, codes);
  }

  std::vector<float> depths() {
    const float* const first = record->LoadedDepth;
    return std::vector<float>(first, first + record.pixels());
  }
  std::vector<int> labels() {
    const int* const first = record->Label;
    return std::vector<int>(first, first + record.pixels());
  }

  std::string base() const { return directory.file("depth-00042"); }
  std::string name(const std::string& ending) const { return base() + ending; }

  TempDirectory directory;
  OwnedRecord record;
  std::string label_map;
  std::string references;
  std::string errors;
  ConsoleTrace console;
};

}  // namespace depth_io::test
