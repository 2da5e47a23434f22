// What a frame costs: written, written and checked, read, and put through the ring without being
// written; beside the JPEG coding and decoding of the same codes, which no recorder of this format
// can do without. Compare within one run. CAMERA_DEPTH_RW_FRAMES=DIR takes real frames.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "engine/camera_depth_rw3.h"
#include "tools/image_source.h"
#include "tools/synthetic_source.h"

namespace {

using depth_io::tools::Frame;

constexpr long kFrames = 20;

std::unique_ptr<depth_io::tools::IndexedSource> open_source() {
  if (const char* const directory = std::getenv("CAMERA_DEPTH_RW_FRAMES")) {
    return std::make_unique<depth_io::tools::ImageSource>(directory, std::nullopt, false);
  }
  return std::make_unique<depth_io::tools::SyntheticSource>(1U);
}

std::vector<Frame>& frames() {
  static std::vector<Frame> all = [] {
    std::vector<Frame> loaded(kFrames);
    const auto source = open_source();
    for (long i = 0; i < kFrames; ++i) {
      Frame& frame = loaded[static_cast<std::size_t>(i)];
      source->load(i, frame);
      depth_io::tools::remove_unusable_readings(frame.depth, 30.0F);
    }
    return loaded;
  }();
  return all;
}

/// A directory in memory, where there is one: the disk is not what is measured.
class Scratch {
 public:
  Scratch() {
    const std::filesystem::path memory = "/dev/shm";
    const std::filesystem::path parent =
        std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
    std::string pattern = (parent / "cdrw_bench_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern + "/";
  }
  ~Scratch() { std::filesystem::remove_all(path_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  std::string path_;
};

struct Record {
  struct_read_write_depth value;
  Record() {
    InitStruct(value);
    Allocate(value, 640, 480);
  }
  ~Record() { depth_io::release_record(value); }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
};

bool write_frame(Record& record, Scratch& scratch, long number, int verification) {
  char stem[] = "depth";
  char colour_stem[] = "bgrimage";
  char stamp[] = "";
  Frame& frame = frames()[static_cast<std::size_t>(number % kFrames)];
  return write_compressed_data(false, verification, record.value, scratch.path_.data(), stem, false,
                               colour_stem, nullptr, false, 8, static_cast<int>(number % kFrames),
                               stamp, frame.depth.data(), 533.0F, 533.0F, 240.0F, 320.0F, 0) == 1;
}

void JpegOfTheCodesAlone(benchmark::State& state) {
  Record record;
  Scratch scratch;
  if (!write_frame(record, scratch, 0, -1)) state.SkipWithError("not written");
  std::string name = scratch.path_ + "codes.jpg";
  JpegFile jpeg;
  for (auto _ : state) {
    int width = 0;
    int height = 0;
    jpeg.RGBToJpegFile(name.data(), record.value.EncodeUC, 640, 480, false, 95);
    jpeg.JpegFileToRGB_fast(record.value.EncodeUC2, name.data(), width, height);
  }
}
BENCHMARK(JpegOfTheCodesAlone)->Unit(benchmark::kMillisecond);

/// Argument: the writer's verification mode.
void WriteFrame(benchmark::State& state) {
  Record record;
  Scratch scratch;
  long number = 0;
  for (auto _ : state) {
    if (!write_frame(record, scratch, number++, static_cast<int>(state.range(0)))) {
      state.SkipWithError("not written");
    }
  }
}
BENCHMARK(WriteFrame)->Arg(-1)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void ReadFrame(benchmark::State& state) {
  Record record;
  Scratch scratch;
  for (long i = 0; i < kFrames; ++i) write_frame(record, scratch, i, -1);
  long number = 0;
  for (auto _ : state) {
    depth_io::PathText name;
    char stem[] = "depth";
    depth_io::append_frame_name(name, scratch.path_.c_str(), stem, false,
                                {false, 8, static_cast<int>(number++ % kFrames), nullptr});
    if (!load_compressed_data(record.value, name.data(), 0)) state.SkipWithError("not read");
  }
}
BENCHMARK(ReadFrame)->Unit(benchmark::kMillisecond);

void CaptureWithoutWriting(benchmark::State& state) {
  Scratch scratch;
  char depth_stem[] = "depth";
  KV_RGBD_CameraCompression3_parameters parameters;
  parameters.SetWriteMode();
  parameters.SetDirectory(scratch.path_.data());
  parameters.SetDepthStem(depth_stem);
  parameters.SetCameraType(0);
  parameters.SetMaxFPS(-1.0F);
  parameters.SetSizeBuffer(30);
  KV_RGBD_CameraCompression3 engine(parameters);
  int number = 0;
  for (auto _ : state) {
    engine.apply_with_timestamp(false, number, 2026, 11, 21, 10, 0, number % 60, 0, 0);
    ++number;
  }
}
BENCHMARK(CaptureWithoutWriting)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  depth_io::set_print_handler([](void*, const char*, std::size_t) {}, nullptr);
  depth_io::set_key_wait_handler([](void*) {}, nullptr);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
