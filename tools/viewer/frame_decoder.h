#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "codec/working_record.h"

namespace depth_io::tools {

/// Decodes frames one after the other; keeps the memory for it (some 15 MB).
class FrameDecoder {
 public:
  FrameDecoder();
  ~FrameDecoder();
  FrameDecoder(const FrameDecoder&) = delete;
  FrameDecoder& operator=(const FrameDecoder&) = delete;

  /// Reads the files of a frame, without its colour image; false when they are damaged.
  bool decode(std::string base_path);

  /// What was decoded last.
  const struct_read_write_depth& record() const { return *record_; }
  /// Number of labels that pixels of the frame have.
  int label_count() const { return label_count_; }

 private:
  void count_labels();

  std::unique_ptr<struct_read_write_depth> record_;
  int label_count_ = 0;
};

/// A few decoders that threads share; who finds none free waits.
class DecoderPool {
 public:
  /// A decoder as long as it is used.
  class Loan {
   public:
    explicit Loan(DecoderPool& pool) : pool_(pool), decoder_(pool.take()) {}
    ~Loan() { pool_.give_back(std::move(decoder_)); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;
    FrameDecoder* operator->() { return decoder_.get(); }
    FrameDecoder& operator*() { return *decoder_; }

   private:
    DecoderPool& pool_;
    std::unique_ptr<FrameDecoder> decoder_;
  };

 private:
  static constexpr int kMost = 4;

  std::unique_ptr<FrameDecoder> take();
  void give_back(std::unique_ptr<FrameDecoder> decoder);

  std::mutex mutex_;
  std::condition_variable returned_;
  std::vector<std::unique_ptr<FrameDecoder>> free_;
  int made_ = 0;
};

}  // namespace depth_io::tools
