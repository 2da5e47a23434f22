#pragma once

#include <memory>
#include <optional>
#include <string>

#include "codec/working_record.h"
#include "python/idle_store.h"
#include "tools/frame/frame.h"
#include "tools/recording/recording_info.h"

/// Single frames through the public codec, by any number of threads at a time.
namespace depth_io::python {

/// A working record of the codec for one frame of 480 * 640 pixels (15 MB). Those that are no
/// longer used are kept for the next ones, as many as there are processors, so that threads work in
/// parallel and none allocates per frame.
class WorkingRecord {
 public:
  /// Throws `std::bad_alloc`.
  WorkingRecord();
  ~WorkingRecord();
  WorkingRecord(const WorkingRecord&) = delete;
  WorkingRecord& operator=(const WorkingRecord&) = delete;

  struct_read_write_depth& operator*() { return *record_; }
  struct_read_write_depth* operator->() { return record_.get(); }

 private:
  struct Release {
    void operator()(struct_read_write_depth* record) const;
  };
  using Owner = std::unique_ptr<struct_read_write_depth, Release>;
  static IdleStore<Owner>& store();

  Owner record_;
};

/// Where the files of a frame lie.
struct FramePlace {
  std::string depth;   ///< without ending
  std::string colour;  ///< complete; empty: there is none, or it is not wanted
};

/// Decodes a frame into `depth` [480*640] metres, and `bgr` [480*640*3], which is only touched when
/// there is a colour image. Returns the intrinsics, all 0 when there is no label in the frame.
/// Throws `Failure`; prints what the codec prints.
tools::Intrinsics decode_frame(const FramePlace& place, float* depth, unsigned char* bgr);

/// The pixels of a frame that somebody else owns.
struct FramePixels {
  const float* depth;        ///< [480*640] metres
  const unsigned char* bgr;  ///< [480*640*3] B, G, R; null: no colour image
};

/// Copies a frame in. Readings deeper than `max_depth` metres, if there is such a limit, and then
/// also negative ones and those that are no numbers, become 0.
void take_pixels(const FramePixels& pixels, std::optional<double> max_depth, tools::Frame& frame);

/// How a single frame is to be written.
struct FrameToWrite {
  std::string directory;  ///< ends with "/"
  bool key_first = false;
  int number = -1;
  int digits = tools::kNumberDigits;
  std::string stamp;  ///< empty: named by its number
  tools::Intrinsics intrinsics = {};
  bool verify = false;  ///< read it back

  /// Of its depth files, without directory and ending.
  std::string name() const;
};

/// Throws `Failure`; prints what the codec prints.
void write_frame(FrameToWrite wanted, tools::Frame& frame);

}  // namespace depth_io::python
