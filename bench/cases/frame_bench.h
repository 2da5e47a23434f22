#pragma once

#include <map>
#include <memory>
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

  FrameResults measure_group(const Group& group, const std::vector<Frame>& frames,
                             const std::vector<Frame>& twins);
  Measurements measure_chosen(const Group& group);
  void get_ready(const std::vector<Frame>& frames, const std::vector<Frame>& twins);
  Group our_calls(bool with_twin);
  void add_bare_calls(Group& group);
  Group verified_writing();
  Group other_codecs();
  Operation writing(const std::string& name, int verification, Colour colour);

  void write(const Frame& frame, int verification, Colour colour);
  void read(Colour colour);
  void make_bare_codes();
  void make_other_codes();

  /// A frame, and all that is made of it before anything is measured.
  struct Subject {
    const Frame* frame;
    const Frame* twin;
    Scratch files;      ///< for the reader
    Buffer grey_codes;  ///< one byte per pixel, as the writer encodes them
    Buffer grey_jpeg;
    Buffer colour_jpeg;
    Samples samples;
    std::map<std::string, Buffer> codes;  ///< by each other codec
  };

  std::vector<std::unique_ptr<Subject>> subjects_;
  Subject* subject_ = nullptr;  ///< the one that is worked on
  Scratch written_;             ///< the writer's files go here
  OwnedRecord record_{kFrameWidth, kFrameHeight};
  Zstd zstd_;

  Buffer encoded_;
  Buffer decoded_image_;
  Samples decoded_samples_;
  std::map<std::string, std::vector<double>> sizes_;
};

}  // namespace depth_io::bench
