#pragma once

#include <map>
#include <string>
#include <vector>

#include "bench/codecs/depth_codecs.h"
#include "bench/support/frame_sets.h"
#include "bench/support/interleaved.h"
#include "bench/support/owned_record.h"
#include "bench/support/scratch.h"

namespace depth_io::bench {

/// What came out for one set of frames.
struct FrameResults {
  Measurements measured;
  std::map<std::string, double> bytes;  ///< of a frame, by encoding operation; median over frames
};

/// What the writer makes of a frame.
struct FrameContent {
  int labels = 0;
  int runs = 0;
  int errors = 0;
};

/// Our writer and reader, the bare JPEG calls that they cannot do without, and other codecs, all on
/// the same frames in turn.
class FrameBench {
 public:
  FrameBench();

  /// `twins`, when there are any, are written beside the frames as operation "write twin".
  FrameResults measure(const std::vector<Frame>& frames, const std::vector<Frame>& twins);
  /// Only our calls and the bare ones.
  FrameResults measure_ours(const std::vector<Frame>& frames);
  FrameContent content_of(const Frame& frame);

 private:
  enum class Colour { kWithout, kWith };

  FrameResults measure_groups(const std::vector<Group>& groups, const std::vector<Frame>& frames,
                              const std::vector<Frame>& twins);
  void start(const Frame& frame, const Frame* twin);
  Group our_calls(bool with_twin);
  void add_bare_calls(Group& group);
  Group verified_writing();
  Group other_codecs();
  Operation writing(const std::string& name, int verification, Colour colour);

  void write(const Frame& frame, int verification, Colour colour);
  void read(Colour colour);
  void check_bare_calls();
  void check_other_codecs();

  const Frame* frame_ = nullptr;
  const Frame* twin_ = nullptr;
  Scratch written_;  ///< the writer's files go here
  Scratch kept_;     ///< the frame's files for the reader
  OwnedRecord record_{kFrameWidth, kFrameHeight};

  std::vector<unsigned char> grey_codes_;  ///< one byte per pixel, as the writer encodes them
  std::vector<unsigned char> grey_jpeg_;
  std::vector<unsigned char> colour_jpeg_;
  std::vector<unsigned char> jpeg_buffer_;
  std::vector<unsigned char> decoded_image_;

  Samples samples_;
  Samples decoded_samples_;
  Zstd zstd_;
  /// Code of the frame by each other codec.
  struct OtherCode {
    Buffer buffer;
    std::size_t size = 0;
    Bytes bytes() const { return Bytes(buffer).first(size); }
  };
  std::map<std::string, OtherCode> other_codes_;
  std::map<std::string, std::vector<double>> sizes_;
};

}  // namespace depth_io::bench
