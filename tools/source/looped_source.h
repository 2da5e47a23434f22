#pragma once

#include <memory>
#include <utility>

#include "tools/source/frame_source.h"

namespace depth_io::tools {

/// Begins again at the first frame of a source when its last one is over, and never ends.
class LoopedSource final : public IndexedSource {
 public:
  explicit LoopedSource(std::unique_ptr<IndexedSource> source) : source_(std::move(source)) {}

  std::optional<long> frame_count() const override { return {}; }
  bool has_colour() const override { return source_->has_colour(); }
  void load(long index, Frame& frame) override {
    const std::optional<long> count = source_->frame_count();
    source_->load(count ? index % *count : index, frame);
  }

 private:
  std::unique_ptr<IndexedSource> source_;
};

}  // namespace depth_io::tools
