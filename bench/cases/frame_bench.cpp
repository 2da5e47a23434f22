#include "bench/cases/frame_bench.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "bench/codecs/bare_jpeg.h"
#include "bench/support/timing.h"
#include "codec/camera_depth_rw.h"
#include "tools/system/failure.h"

namespace depth_io::bench {
namespace {

constexpr int kRounds = 11;
/// Operations that take many milliseconds take part in every fifth round.
constexpr int kSlow = 5;

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

FrameBench::FrameBench() : encoded_(4 * kFramePixels), decoded_samples_(kFramePixels) {}

FrameResults FrameBench::measure(const std::vector<Frame>& frames,
                                 const std::vector<Frame>& twins) {
  FrameResults results = measure_group(our_calls(!twins.empty()), frames, twins);
  // The slow ones would only push the data of the others out of the caches.
  for (const Group& group : {verified_writing(), other_codecs()}) {
    results.measured.merge(measure_chosen(group));
  }
  return results;
}

FrameResults FrameBench::measure_ours(const std::vector<Frame>& frames) {
  return measure_group(our_calls(false), frames, {});
}

FrameContent FrameBench::content_of(const Frame& frame) {
  write(frame, -1, Colour::kWithout);
  const struct_read_write_depth& record = record_.value;
  return {.labels = 1 + *std::max_element(record.Label, record.Label + kFramePixels),
          .runs = record.RLE_NbNb,
          .errors =
              static_cast<int>(std::count(record.ErrorMap, record.ErrorMap + kFramePixels, true))};
}

FrameResults FrameBench::measure_group(const Group& group, const std::vector<Frame>& frames,
                                       const std::vector<Frame>& twins) {
  get_ready(frames, twins);
  FrameResults results;
  results.measured = measure_chosen(group);
  for (const auto& [name, sizes] : sizes_) results.bytes[name] = median(sizes);
  return results;
}

Measurements FrameBench::measure_chosen(const Group& group) {
  return measure_in_passes(group, subjects_.size(), kRounds,
                           [&](std::size_t index) { subject_ = subjects_[index].get(); });
}

void FrameBench::get_ready(const std::vector<Frame>& frames, const std::vector<Frame>& twins) {
  sizes_.clear();
  subjects_.clear();
  for (std::size_t i = 0; i < frames.size(); ++i) {
    subjects_.push_back(std::make_unique<Subject>());
    subject_ = subjects_.back().get();
    subject_->frame = &frames[i];
    subject_->twin = twins.empty() ? nullptr : &twins[i];
    written_.clear();
    write(frames[i], -1, Colour::kWithout);
    sizes_["write"].push_back(static_cast<double>(written_.bytes()));
    written_.clear();
    write(frames[i], -1, Colour::kWith);
    sizes_["write with colour"].push_back(static_cast<double>(written_.bytes()));
    std::filesystem::copy(written_.path(), subject_->files.path());
    make_bare_codes();
    make_other_codes();
  }
}

Operation FrameBench::writing(const std::string& name, int verification, Colour colour) {
  // A recorder makes new files.
  return {.name = name,
          .run = [this, verification, colour] { write(*subject_->frame, verification, colour); },
          .prepare = [this] { written_.clear(); }};
}

/// The calls whose ratios count.
Group FrameBench::our_calls(bool with_twin) {
  Group group;
  group.push_back(writing("write", -1, Colour::kWithout));
  if (with_twin) {
    group.push_back({.name = "write twin",
                     .run = [this] { write(*subject_->twin, -1, Colour::kWithout); },
                     .prepare = [this] { written_.clear(); }});
  }
  group.push_back(writing("write, verification 0", 0, Colour::kWithout));
  group.push_back(writing("write with colour", -1, Colour::kWith));
  group.push_back(writing("write with colour, verification 0", 0, Colour::kWith));
  add_bare_calls(group);
  group.push_back({.name = "read", .run = [this] { read(Colour::kWithout); }});
  group.push_back({.name = "read with colour", .run = [this] { read(Colour::kWith); }});
  return group;
}

void FrameBench::add_bare_calls(Group& group) {
  group.push_back(
      {.name = "jpeg grey encode", .run = [this] {
         encode_bare({subject_->grey_codes.data(), kFrameWidth, kFrameHeight, 1}, encoded_);
       }});
  group.push_back({.name = "jpeg grey decode",
                   .run = [this] { decode_bare(subject_->grey_jpeg, decoded_image_); }});
  group.push_back(
      {.name = "jpeg colour encode", .run = [this] {
         encode_bare({subject_->frame->bgr.data(), kFrameWidth, kFrameHeight, 3}, encoded_);
       }});
  group.push_back({.name = "jpeg colour decode",
                   .run = [this] { decode_bare(subject_->colour_jpeg, decoded_image_); }});
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
    group.push_back({.name = name + " encode",
                     .run = [this, level] { encode_png(subject_->samples, level, encoded_); },
                     .every_nth_round = kSlow});
    group.push_back({.name = name + " decode",
                     .run = [this, name] { decode_png(subject_->codes[name], decoded_samples_); },
                     .every_nth_round = kSlow});
  }
  group.push_back({.name = "zstd level 1 encode",
                   .run = [this] { zstd_.encode(subject_->samples, encoded_); }});
  group.push_back({.name = "zstd level 1 decode", .run = [this] {
                     zstd_.decode(subject_->codes["zstd level 1"], decoded_samples_);
                   }});
  group.push_back(
      {.name = "rvl encode", .run = [this] { encode_rvl(subject_->samples, encoded_); }});
  group.push_back({.name = "rvl decode",
                   .run = [this] { decode_rvl(subject_->codes["rvl"], decoded_samples_); }});
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
  std::string name = depth_name(subject_->files);
  require(load_compressed_data(record_.value, name.data(), 0), "a frame was not read");
  if (colour == Colour::kWithout) return;
  const std::span<unsigned char> image(record_.value.LoadedColourImage, 3 * kFramePixels);
  require(read_jpeg_file(colour_name(subject_->files).c_str(), image).decoded,
          "no colour image was read");
}

/// The bare calls must do exactly what the writer cannot do without: the same bytes come out.
void FrameBench::make_bare_codes() {
  Subject& subject = *subject_;
  subject.grey_codes.resize(kFramePixels);
  for (std::size_t i = 0; i < kFramePixels; ++i) {
    subject.grey_codes[i] = luminance(static_cast<unsigned char>(record_.value.Encode[i]));
  }
  subject.grey_jpeg = read_file(depth_name(subject.files) + kJpegEnding);
  subject.colour_jpeg = read_file(colour_name(subject.files));
  const auto encodes_to = [this](const JpegImage& image, const Buffer& bytes) {
    const std::size_t size = encode_bare(image, encoded_);
    return size == bytes.size() && std::equal(bytes.begin(), bytes.end(), encoded_.begin());
  };
  require(encodes_to({subject.grey_codes.data(), kFrameWidth, kFrameHeight, 1}, subject.grey_jpeg),
          "the bare grey image differs from the writer's");
  require(
      encodes_to({subject.frame->bgr.data(), kFrameWidth, kFrameHeight, 3}, subject.colour_jpeg),
      "the bare colour image differs from the writer's");
  sizes_["jpeg grey encode"].push_back(static_cast<double>(subject.grey_jpeg.size()));
  sizes_["jpeg colour encode"].push_back(static_cast<double>(subject.colour_jpeg.size()));
}

/// Each codec must give back what it was given; its code is then there for decoding.
void FrameBench::make_other_codes() {
  Subject& subject = *subject_;
  subject.samples = millimetres(subject.frame->depth);
  const auto keep = [&](const std::string& name, std::size_t size, auto decode) {
    Buffer& code = subject.codes[name];
    code.assign(encoded_.begin(), encoded_.begin() + static_cast<std::ptrdiff_t>(size));
    std::fill(decoded_samples_.begin(), decoded_samples_.end(), std::uint16_t{1});
    decode(code, decoded_samples_);
    require(decoded_samples_ == subject.samples, (name + " is not lossless").c_str());
    sizes_[name + " encode"].push_back(static_cast<double>(size));
  };
  for (const int level : {1, 6}) {
    keep("png level " + std::to_string(level), encode_png(subject.samples, level, encoded_),
         decode_png);
  }
  keep("zstd level 1", zstd_.encode(subject.samples, encoded_),
       [this](Bytes code, Samples& samples) { zstd_.decode(code, samples); });
  keep("rvl", encode_rvl(subject.samples, encoded_), decode_rvl);
}

}  // namespace depth_io::bench
