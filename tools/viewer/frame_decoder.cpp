#include "tools/viewer/frame_decoder.h"

#include <algorithm>
#include <new>
#include <utility>

#include "codec/frame_reader.h"
#include "tools/frame/frame.h"

namespace depth_io::tools {

FrameDecoder::FrameDecoder() : record_(std::make_unique<struct_read_write_depth>()) {
  InitStruct(*record_);
  if (!Allocate(*record_, kFrameWidth, kFrameHeight)) throw std::bad_alloc();
}

FrameDecoder::~FrameDecoder() { release_record(*record_); }

bool FrameDecoder::decode(std::string base_path) {
  // A frame without labels leaves the intrinsics of the frame before it.
  record_->loaded_a11 = record_->loaded_a22 = record_->loaded_cx = record_->loaded_cy = 0;
  label_count_ = 0;
  constexpr int kSilent = 0;
  if (!load_compressed_data(*record_, base_path.data(), kSilent)) return false;
  count_labels();
  return true;
}

void FrameDecoder::count_labels() {
  // A frame that lists no references was read as empty, whatever its label map says.
  constexpr float kNoReference = -1.0F;
  if (record_->LabelRefZ[0] == kNoReference) return;
  label_count_ = *std::max_element(record_->Label, record_->Label + kFramePixels) + 1;
}

std::unique_ptr<FrameDecoder> DecoderPool::take() {
  std::unique_lock lock(mutex_);
  returned_.wait(lock, [this] { return !free_.empty() || made_ < kMost; });
  if (free_.empty()) {
    auto decoder = std::make_unique<FrameDecoder>();
    ++made_;
    return decoder;
  }
  auto decoder = std::move(free_.back());
  free_.pop_back();
  return decoder;
}

void DecoderPool::give_back(std::unique_ptr<FrameDecoder> decoder) {
  const std::lock_guard lock(mutex_);
  free_.push_back(std::move(decoder));
  returned_.notify_one();
}

}  // namespace depth_io::tools
