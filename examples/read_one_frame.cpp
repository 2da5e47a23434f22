// Reads one recorded frame: depth in metres, a point in space, colour. No engine is needed for
// that.
//
//   read_one_frame DEPTH-FILES [COLOUR-FILE]
//   read_one_frame recording/depth-00000007 recording/bgrimage-00000007.jpg
//
// DEPTH-FILES is what the names of the frame's depth files have in common, without their endings.
//
// Build: find_package(camera_depth_rw CONFIG), or pkg-config --cflags --libs camera_depth_rw.

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "codec/camera_depth_rw.h"

namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 480;
constexpr int kMiddle = kHeight / 2 * kWidth + kWidth / 2;

// What is allocated, and released at the end.
struct FrameRecord {
  FrameRecord() {
    InitStruct(record);
    Allocate(record, kWidth, kHeight);
  }
  ~FrameRecord() { depth_io::release_record(record); }
  FrameRecord(const FrameRecord&) = delete;
  FrameRecord& operator=(const FrameRecord&) = delete;

  struct_read_write_depth record;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s DEPTH-FILES [COLOUR-FILE]\n", argv[0]);
    return 2;
  }
  // No keyboard: what would wait for a key goes on.
  depth_io::set_key_wait_handler([](void*) {}, nullptr);

  FrameRecord frame;
  const struct_read_write_depth& r = frame.record;
  if (!load_compressed_data(frame.record, argv[1], /*debug=*/0)) return EXIT_FAILURE;
  int readings = 0;
  for (int i = 0; i < kWidth * kHeight; ++i) {
    if (r.LoadedDepth[i] >= 0.05F) ++readings;  // nearer: no reading, perhaps rounded up
  }
  std::printf("%d of %d pixels have a reading\n", readings, kWidth * kHeight);
  // Where the middle of the image lies in space: right of the optical axis, below it, in front.
  // This holds for frames whose principal point was recorded column first, as the examples of
  // recording do. Where the row comes first, LoadedMapY has the x and LoadedMapX the y.
  const float z = r.LoadedDepth[kMiddle];
  const float x = (kWidth / 2 - r.loaded_cx) * z / r.loaded_a11;
  const float y = (kHeight / 2 - r.loaded_cy) * z / r.loaded_a22;
  std::printf("in the middle: x %.3f m, y %.3f m, z %.3f m\n", static_cast<double>(x),
              static_cast<double>(y), static_cast<double>(z));
  std::printf("focal lengths: %.1f and %.1f pixels\n", static_cast<double>(r.loaded_a11),
              static_cast<double>(r.loaded_a22));
  if (argc < 3) return EXIT_SUCCESS;

  std::vector<unsigned char> colour(3 * kWidth * kHeight);  // blue, green, red, row by row
  const depth_io::JpegReadResult image = depth_io::read_jpeg_file(argv[2], colour);
  if (!image.decoded) return EXIT_FAILURE;
  const unsigned char* const middle = &colour[3 * kMiddle];
  std::printf("colour in the middle: blue %d, green %d, red %d\n", middle[0], middle[1], middle[2]);
  return EXIT_SUCCESS;
}
