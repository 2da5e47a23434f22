#include "bench/cases/frame_bench.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "bench/codecs/bare_jpeg.h"
#include "bench/support/timing.h"
#include "codec/camera_depth_rw.h"
#include "tools/failure.h"

namespace depth_io::bench {
namespace {

constexpr int kRounds = 5;
/// Operations that take many milliseconds take part in every second round.
constexpr int kSlow = 2;
/// In a recorder and in a player, the call before was mostly the same one.
constexpr int kRepetitions = 4;

constexpr char kStamp[] = "2026-11-21T10-00-00.000000";
constexpr tools::Intrinsics kIntrinsics = tools::kAsusIntrinsics;

void require(bool fact, const char* fault) {
  if (!fact) throw tools::Failure(std::string("the benchmark is wrong: ") + fault);
}

std::string depth_name(Scratch& directory) {
  PathText name;
  append_frame_name(name, directory.slash(), "depth", true,
                    {.by_timestamp = true, .timestamp = kStamp});
  return name.c_str();
}

std::string colour_name(Scratch& directory) {
  PathText name;
  append_frame_name(name, directory.slash(), "bgrimage", true,
                    {.by_timestamp = true, .timestamp = kStamp});
  return name.append(kJpegEnding).c_str();
}

std::vector<unsigned char> read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// What the writer hands to the JPEG encoder: luminances, truncated.
unsigned char luminance(unsigned char code) {
  return static_cast<unsigned char>((0.299 * code + 0.587 * code) + 0.114 * code);
}

}  // namespace

FrameBench::FrameBench()
    : grey_codes_(kFramePixels), jpeg_buffer_(4 * kFramePixels), decoded_samples_(kFramePixels) {}

FrameResults FrameBench::measure(const std::vector<Frame>& frames,
                                 const std::vector<Frame>& twins) {
  return measure_groups({our_calls(!twins.empty()), verified_writing(), other_codecs()}, frames,
                        twins);
}

FrameResults FrameBench::measure_ours(const std::vector<Frame>& frames) {
  return measure_groups({our_calls(false)}, frames, {});
}

FrameContent FrameBench::content_of(const Frame& frame) {
  write(frame, -1, Colour::kWithout);
  const struct_read_write_depth& record = record_.value;
  return {.labels = 1 + *std::max_element(record.Label, record.Label + kFramePixels),
          .runs = record.RLE_NbNb,
          .errors =
              static_cast<int>(std::count(record.ErrorMap, record.ErrorMap + kFramePixels, true))};
}

FrameResults FrameBench::measure_groups(const std::vector<Group>& groups,
                                        const std::vector<Frame>& frames,
                                        const std::vector<Frame>& twins) {
  sizes_.clear();
  FrameResults results;
  results.measured = measure_interleaved(groups, frames.size(), kRounds, [&](std::size_t index) {
    start(frames[index], twins.empty() ? nullptr : &twins[index]);
  });
  for (const auto& [name, sizes] : sizes_) results.bytes[name] = median(sizes);
  return results;
}

void FrameBench::start(const Frame& frame, const Frame* twin) {
  frame_ = &frame;
  twin_ = twin;
  written_.clear();
  write(frame, -1, Colour::kWithout);
  sizes_["write"].push_back(static_cast<double>(written_.bytes()));
  written_.clear();
  write(frame, -1, Colour::kWith);
  sizes_["write with colour"].push_back(static_cast<double>(written_.bytes()));
  kept_.clear();
  std::filesystem::copy(written_.path(), kept_.path());
  check_bare_calls();
  check_other_codecs();
}

Operation FrameBench::writing(const std::string& name, int verification, Colour colour) {
  // A recorder makes new files.
  return {.name = name,
          .run = [this, verification, colour] { write(*frame_, verification, colour); },
          .prepare = [this] { written_.clear(); }};
}

/// The calls whose ratios count; the slow ones of the other groups would only push their data out
/// of the caches.
Group FrameBench::our_calls(bool with_twin) {
  Group group;
  group.push_back(writing("write", -1, Colour::kWithout));
  if (with_twin) {
    group.push_back({.name = "write twin",
                     .run = [this] { write(*twin_, -1, Colour::kWithout); },
                     .prepare = [this] { written_.clear(); }});
  }
  group.push_back(writing("write, verification 0", 0, Colour::kWithout));
  group.push_back(writing("write with colour", -1, Colour::kWith));
  group.push_back(writing("write with colour, verification 0", 0, Colour::kWith));
  add_bare_calls(group);
  group.push_back({.name = "read", .run = [this] { read(Colour::kWithout); }});
  group.push_back({.name = "read with colour", .run = [this] { read(Colour::kWith); }});
  for (Operation& operation : group) operation.repetitions = kRepetitions;
  return group;
}

void FrameBench::add_bare_calls(Group& group) {
  group.push_back({.name = "jpeg grey encode", .run = [this] {
                     encode_bare({grey_codes_.data(), kFrameWidth, kFrameHeight, 1}, jpeg_buffer_);
                   }});
  group.push_back(
      {.name = "jpeg grey decode", .run = [this] { decode_bare(grey_jpeg_, decoded_image_); }});
  group.push_back({.name = "jpeg colour encode", .run = [this] {
                     encode_bare({frame_->bgr.data(), kFrameWidth, kFrameHeight, 3}, jpeg_buffer_);
                   }});
  group.push_back(
      {.name = "jpeg colour decode", .run = [this] { decode_bare(colour_jpeg_, decoded_image_); }});
}

Group FrameBench::verified_writing() {
  Operation write = writing("write, verification 1", 1, Colour::kWithout);
  write.every_nth_round = kSlow;
  return {write};
}

Group FrameBench::other_codecs() {
  Group group;
  for (const int level : {1, 6}) {
    const std::string name = "png level " + std::to_string(level);
    OtherCode& code = other_codes_[name];
    group.push_back(
        {.name = name + " encode",
         .run = [this, level, &code] { code.size = encode_png(samples_, level, code.buffer); },
         .every_nth_round = kSlow});
    group.push_back({.name = name + " decode",
                     .run = [this, &code] { decode_png(code.bytes(), decoded_samples_); },
                     .every_nth_round = kSlow});
  }
  OtherCode& zstd = other_codes_["zstd level 1"];
  group.push_back({.name = "zstd level 1 encode",
                   .run = [this, &zstd] { zstd.size = zstd_.encode(samples_, zstd.buffer); }});
  group.push_back({.name = "zstd level 1 decode",
                   .run = [this, &zstd] { zstd_.decode(zstd.bytes(), decoded_samples_); }});
  OtherCode& rvl = other_codes_["rvl"];
  group.push_back(
      {.name = "rvl encode", .run = [this, &rvl] { rvl.size = encode_rvl(samples_, rvl.buffer); }});
  group.push_back(
      {.name = "rvl decode", .run = [this, &rvl] { decode_rvl(rvl.bytes(), decoded_samples_); }});
  return group;
}

void FrameBench::write(const Frame& frame, int verification, Colour colour) {
  char stem[] = "depth";
  char colour_stem[] = "bgrimage";
  char stamp[sizeof kStamp];
  std::copy(std::begin(kStamp), std::end(kStamp), stamp);
  // The writer takes pointers to changeable data and changes neither image.
  const int result = write_compressed_data(
      true, verification, record_.value, written_.slash(), stem, colour == Colour::kWith,
      colour_stem, const_cast<unsigned char*>(frame.bgr.data()), true, 0, 0, stamp,
      const_cast<float*>(frame.depth.data()), kIntrinsics.a11, kIntrinsics.a22, kIntrinsics.cx,
      kIntrinsics.cy, 0);
  require(result == 1, "a frame was not written");
}

void FrameBench::read(Colour colour) {
  std::string name = depth_name(kept_);
  require(load_compressed_data(record_.value, name.data(), 0), "a frame was not read");
  if (colour == Colour::kWithout) return;
  const std::span<unsigned char> image(record_.value.LoadedColourImage, 3 * kFramePixels);
  require(read_jpeg_file(colour_name(kept_).c_str(), image).decoded, "no colour image was read");
}

/// The bare calls must do exactly what the writer cannot do without: the same bytes come out.
void FrameBench::check_bare_calls() {
  for (std::size_t i = 0; i < kFramePixels; ++i) {
    grey_codes_[i] = luminance(static_cast<unsigned char>(record_.value.Encode[i]));
  }
  grey_jpeg_ = read_file(depth_name(kept_) + kJpegEnding);
  colour_jpeg_ = read_file(colour_name(kept_));
  const auto encodes_to = [this](const JpegImage& image, const std::vector<unsigned char>& bytes) {
    const std::size_t size = encode_bare(image, jpeg_buffer_);
    return size == bytes.size() && std::equal(bytes.begin(), bytes.end(), jpeg_buffer_.begin());
  };
  require(encodes_to({grey_codes_.data(), kFrameWidth, kFrameHeight, 1}, grey_jpeg_),
          "the bare grey image differs from the writer's");
  require(encodes_to({frame_->bgr.data(), kFrameWidth, kFrameHeight, 3}, colour_jpeg_),
          "the bare colour image differs from the writer's");
  sizes_["jpeg grey encode"].push_back(static_cast<double>(grey_jpeg_.size()));
  sizes_["jpeg colour encode"].push_back(static_cast<double>(colour_jpeg_.size()));
}

/// Each codec must give back what it was given; its code is then there for decoding.
void FrameBench::check_other_codecs() {
  samples_ = millimetres(frame_->depth);
  const auto check = [this](const std::string& name, std::size_t size, auto decode) {
    other_codes_[name].size = size;
    std::fill(decoded_samples_.begin(), decoded_samples_.end(), std::uint16_t{1});
    decode(other_codes_[name].bytes(), decoded_samples_);
    require(decoded_samples_ == samples_, (name + " is not lossless").c_str());
    sizes_[name + " encode"].push_back(static_cast<double>(size));
  };
  for (const int level : {1, 6}) {
    const std::string name = "png level " + std::to_string(level);
    check(name, encode_png(samples_, level, other_codes_[name].buffer), decode_png);
  }
  check("zstd level 1", zstd_.encode(samples_, other_codes_["zstd level 1"].buffer),
        [this](Bytes code, Samples& samples) { zstd_.decode(code, samples); });
  check("rvl", encode_rvl(samples_, other_codes_["rvl"].buffer), decode_rvl);
}

}  // namespace depth_io::bench
