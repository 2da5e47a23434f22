#include <cmath>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "codec/frame_reader.h"
#include "fuzz/fuzz_support.h"

// The four files of one frame: label map, references and corrections, each after its length in two
// bytes, and the code image as the rest. The first byte tells which of them are missing.

namespace {

using depth_io::fuzz::Input;
using depth_io::fuzz::require;

class FrameBench {
 public:
  FrameBench() : base_(directory_.file("depth-00000001")) {
    InitStruct(record_);
    Allocate(record_, 64, 48);
  }
  ~FrameBench() { depth_io::release_record(record_); }
  FrameBench(const FrameBench&) = delete;
  FrameBench& operator=(const FrameBench&) = delete;

  void store(const char* ending, bool missing, std::string_view bytes) {
    if (missing) {
      std::filesystem::remove(base_ + ending);
    } else {
      depth_io::fuzz::write_file(base_ + ending, bytes);
    }
  }

  bool load() {
    spoil_record(1);
    const bool good = load_compressed_data(record_, base_.data(), 0);
    loaded_.assign(record_.LoadedDepth, record_.LoadedDepth + depth_io::pixel_count(record_));
    return good;
  }

  /// Everything that is read lies in its range.
  void check_depths() const {
    for (std::size_t i = 0; i < loaded_.size(); ++i) {
      const float depth = loaded_[i];
      require(std::isnan(depth) || (depth >= 0.0F && depth <= 255.0F), "depth within 0 .. 255");
      require(record_.Label[i] >= 0 || depth == 0.0F, "no depth without a label");
    }
  }

  /// The reader that says nothing reads the same, whatever the record held before.
  void check_silent_reader(bool good) {
    spoil_record(2);
    const std::size_t lines_before = depth_io::fuzz::printed_lines();
    require(load_compressed_data_vostrel(record_, base_.data()) == good, "same result silently");
    require(std::memcmp(loaded_.data(), record_.LoadedDepth, loaded_.size() * sizeof(float)) == 0,
            "same depths silently");
    // libjpeg's complaints are the JPEG module's, and are told in both.
    if (good)
      require(depth_io::fuzz::printed_lines() == lines_before, "nothing said of a good frame");
  }

 private:
  /// Leaves traces of another frame, which must not be seen in the next one: every byte `trace`.
  void spoil_record(int trace) {
    const std::size_t pixels = depth_io::pixel_count(record_);
    std::memset(record_.Label, trace, pixels * sizeof(int));
    std::memset(record_.LabelRefZ, trace, pixels * sizeof(float));
    std::memset(record_.ErrorCorrect, trace, pixels * sizeof(int));
    std::memset(record_.EncodeUC, trace, 3 * pixels);
    std::memset(record_.LoadedDepth, trace, pixels * sizeof(float));
  }

  depth_io::fuzz::ScratchDirectory directory_;
  std::string base_;
  struct_read_write_depth record_;
  std::vector<float> loaded_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static FrameBench bench;
  Input input(bytes, size);
  const std::uint8_t missing = input.byte();
  bench.store(".rle", (missing & 1) != 0, input.part());
  bench.store(".ref", (missing & 2) != 0, input.part());
  bench.store(".err", (missing & 4) != 0, input.part());
  bench.store(".jpg", (missing & 8) != 0, input.rest());
  const bool good = bench.load();
  if (good) bench.check_depths();
  bench.check_silent_reader(good);
  return 0;
}
