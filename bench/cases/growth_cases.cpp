#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <utility>

#include "bench/cases/cases.h"
#include "bench/cases/frame_bench.h"
#include "bench/support/rows.h"

// Frames in which one thing grows and the rest stays as it is as far as can be.
namespace depth_io::bench {
namespace {

/// More than half a label's window, and little enough for many labels below the largest depth.
constexpr float kBetweenLabels = 1.3F;
/// One code: readings on this grid are coded exactly, however far they are.
constexpr float kCodeStep = 0.01F;

template <typename DepthAt>
Frame frame_of(DepthAt depth_at) {
  Frame frame;
  for (int row = 0; row < kFrameHeight; ++row) {
    for (int column = 0; column < kFrameWidth; ++column) {
      const auto pixel = static_cast<std::size_t>(row * kFrameWidth + column);
      frame.depth[pixel] = depth_at(row, column);
    }
  }
  return frame;
}

/// Tiles of 80 by 8 pixels, each with a slope of its own label: always as many runs, from two
/// labels on.
Frame frame_with_labels(int labels) {
  return frame_of([labels](int row, int column) {
    const int tile = row / 8 * (kFrameWidth / 80) + column / 80;
    return 1.0F + kBetweenLabels * static_cast<float>(tile % labels) +
           kCodeStep * static_cast<float>(column % 80 / 20);
  });
}

/// Two flat labels in turn along the image: the codes are the same everywhere.
Frame frame_with_runs(int pixels_of_a_run) {
  return frame_of([pixels_of_a_run](int row, int column) {
    const int run = (row * kFrameWidth + column) / pixels_of_a_run;
    return run % 2 == 0 ? 1.0F : 1.0F + kBetweenLabels;
  });
}

/// One label with a far reading at a share of the pixels: JPEG cannot follow single pixels, so that
/// they and their neighbours get error records.
Frame frame_with_errors(int per_mille) {
  std::mt19937 random(1);
  return frame_of([&random, per_mille](int /*row*/, int /*column*/) {
    return random() % 1000U < static_cast<unsigned>(per_mille) ? 2.8F : 2.0F;
  });
}

double report_frame(const Frame& frame, benchmark::State& state) {
  FrameBench bench;
  const FrameResults results = bench.measure_ours({frame});
  const FrameContent content = bench.content_of(frame);
  state.counters["labels"] = content.labels;
  state.counters["runs"] = content.runs;
  state.counters["error records"] = content.errors;
  state.counters["read ms"] = 1e3 * results.measured.seconds("read");
  state.counters["grey encode + decode ms"] = 1e3 * (results.measured.seconds("jpeg grey encode") +
                                                     results.measured.seconds("jpeg grey decode"));
  state.counters["bytes"] = results.bytes.at("write");
  return results.measured.seconds("write");
}

void register_frame(const std::string& name, std::function<Frame()> make) {
  register_row("growth/" + name, [make = std::move(make)](benchmark::State& state) {
    return report_frame(make(), state);
  });
}

}  // namespace

void register_growth_cases() {
  // The range of depths holds no more of them.
  for (const int labels : {1, 3, 10, 30, 100, 190}) {
    register_frame("frame/" + std::to_string(labels) + " labels",
                   [labels] { return frame_with_labels(labels); });
  }
  for (const int pixels : {30'000, 640, 80, 20, 4, 1}) {
    register_frame("frame/runs of " + std::to_string(pixels) + " pixels",
                   [pixels] { return frame_with_runs(pixels); });
  }
  for (const int per_mille : {0, 1, 3, 10, 30, 100}) {
    register_frame("frame/" + std::to_string(per_mille) + " far pixels of 1000",
                   [per_mille] { return frame_with_errors(per_mille); });
  }
}

}  // namespace depth_io::bench
