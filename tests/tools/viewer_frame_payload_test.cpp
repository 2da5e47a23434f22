#include <cstring>

#include "tests/tools/depthrw_fixture.h"
#include "tools/recording/recording.h"
#include "tools/system/library_log.h"
#include "tools/viewer/frame_payload.h"

namespace depth_io::test {
namespace {

using tools::kFramePixels;

/// The payload taken apart, as the page does it.
struct Payload {
  std::uint32_t form = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t labels = 0;
  std::uint32_t records = 0;
  float a11 = 0;
  float cx = 0;
  std::vector<float> references;
  std::vector<float> depth;
  std::vector<int> label;
  std::uint32_t record_bits = 0;
  bool is_whole = false;
};

class Bytes {
 public:
  explicit Bytes(const std::string& bytes) : bytes_(bytes) {}
  template <typename Value>
  Value take() {
    Value value{};
    if (place_ + sizeof value <= bytes_.size())
      std::memcpy(&value, bytes_.data() + place_, sizeof value);
    place_ += sizeof value;
    return value;
  }
  template <typename Value>
  std::vector<Value> take_all(std::size_t count) {
    std::vector<Value> values(count);
    const std::size_t size = count * sizeof(Value);
    if (size > 0 && place_ + size <= bytes_.size()) {
      std::memcpy(values.data(), bytes_.data() + place_, size);
    }
    place_ += size;
    return values;
  }
  bool at_end() const { return place_ == bytes_.size(); }

 private:
  const std::string& bytes_;
  std::size_t place_ = 0;
};

Payload parse(const std::string& text) {
  Bytes bytes(text);
  Payload payload;
  EXPECT_EQ(text.substr(0, 4), "DFRM");
  bytes.take<std::uint32_t>();
  payload.form = bytes.take<std::uint32_t>();
  payload.width = bytes.take<std::uint32_t>();
  payload.height = bytes.take<std::uint32_t>();
  payload.labels = bytes.take<std::uint32_t>();
  payload.records = bytes.take<std::uint32_t>();
  payload.a11 = bytes.take<float>();
  bytes.take<float>();
  payload.cx = bytes.take<float>();
  bytes.take<float>();
  payload.references = bytes.take_all<float>(payload.labels);
  if (payload.form == 0) {
    const auto table = bytes.take_all<float>(256 * std::size_t{payload.labels});
    for (const std::uint16_t place : bytes.take_all<std::uint16_t>(kFramePixels)) {
      payload.depth.push_back(place == 0xFFFF ? 0 : table[place]);
      payload.label.push_back(place == 0xFFFF ? -1 : place / 256);
    }
  } else {
    payload.depth = bytes.take_all<float>(kFramePixels);
    payload.label = bytes.take_all<int>(kFramePixels);
  }
  for (const unsigned char byte : bytes.take_all<unsigned char>(kFramePixels / 8)) {
    payload.record_bits += static_cast<std::uint32_t>(__builtin_popcount(byte));
  }
  payload.is_whole = bytes.at_end();
  return payload;
}

class FramePayload : public Depthrw {
 protected:
  /// Base path of the first recorded frame.
  std::string first_frame() const {
    tools::LibraryLog log(false);
    const tools::Recording recording(path("rec"), log);
    return recording.directory() + "/" + recording.frames().front().depth_name();
  }

  /// What play gives of the first frame.
  std::vector<float> played() const {
    tools::LibraryLog log(false);
    tools::Recording recording(path("rec"), log);
    tools::Frame frame;
    EXPECT_EQ(recording.read(recording.frames().front(), frame), "");
    return frame.depth;
  }
};

TEST_F(FramePayload, HoldsTheDepthThatPlayGivesToTheLastBit) {
  record("flat", "1");
  tools::FrameDecoder decoder;
  ASSERT_TRUE(decoder.decode(first_frame()));
  const Payload payload = parse(tools::frame_payload(decoder));
  EXPECT_TRUE(payload.is_whole);
  EXPECT_EQ(payload.form, 0U);
  EXPECT_EQ(payload.depth, played());
}

TEST_F(FramePayload, TellsLabelsReferencesRecordsAndCamera) {
  record("flat", "1", {"--camera-type", "1"});
  tools::FrameDecoder decoder;
  ASSERT_TRUE(decoder.decode(first_frame()));
  const Payload payload = parse(tools::frame_payload(decoder));
  const std::string error_head = read_file(first_frame() + ".err").substr(0, 12);
  std::uint32_t records = 0;
  for (std::size_t i = 0; i < 12; i += 2) {
    records += static_cast<unsigned char>(error_head[i]) * 256U +
               static_cast<unsigned char>(error_head[i + 1]);
  }
  EXPECT_GT(records, 0U);
  EXPECT_EQ(payload.records, records);
  EXPECT_EQ(payload.record_bits, records);
  EXPECT_EQ(payload.a11, 533.0F);
  EXPECT_EQ(payload.cx, 240.0F);
  EXPECT_EQ(
      read_file(first_frame() + ".ref").rfind("nblabels " + std::to_string(payload.labels), 0), 0U);
  EXPECT_EQ(*std::max_element(payload.label.begin(), payload.label.end()) + 1,
            static_cast<int>(payload.labels));
}

TEST_F(FramePayload, HoldsMoreLabelsThanTheTableTakes) {
  record("flat", "1");
  const std::string base = first_frame();
  // 300 labels of 1024 pixels each.
  std::string runs = "300\n";
  std::string references =
      "nblabels 300 a11 533.000000 a22 533.000000 cx 240.000000 cy 320.000000\n";
  for (int label = 0; label < 300; ++label) {
    runs += "1024 " + std::to_string(label) + "\n";
    references += std::to_string(label) + ".500000\n";
  }
  write_file(base + ".rle", runs + "\n");
  write_file(base + ".ref", references);
  tools::FrameDecoder decoder;
  ASSERT_TRUE(decoder.decode(base));
  const Payload payload = parse(tools::frame_payload(decoder));
  EXPECT_TRUE(payload.is_whole);
  EXPECT_EQ(payload.form, 1U);
  EXPECT_EQ(payload.labels, 300U);
  EXPECT_EQ(payload.references[299], 299.5F);
  EXPECT_EQ(payload.label[1024 * 299], 299);
  EXPECT_EQ(payload.depth, played());
}

TEST_F(FramePayload, OfAFrameWithoutLabelsIsEmpty) {
  record("flat", "2");
  const std::string base = first_frame();
  tools::FrameDecoder decoder;
  ASSERT_TRUE(decoder.decode(base));
  write_file(base + ".ref", "nblabels 0 a11 533.0 a22 533.0 cx 240.0 cy 320.0\n");
  ASSERT_TRUE(decoder.decode(base));
  const Payload payload = parse(tools::frame_payload(decoder));
  EXPECT_TRUE(payload.is_whole);
  EXPECT_EQ(payload.labels, 0U);
  EXPECT_EQ(payload.a11, 0.0F);
  EXPECT_EQ(std::count(payload.label.begin(), payload.label.end(), -1),
            static_cast<long>(kFramePixels));
}

TEST_F(FramePayload, IsNotMadeOfADamagedFrame) {
  record("flat", "1");
  std::filesystem::remove(first_frame() + ".err");
  tools::FrameDecoder decoder;
  tools::LibraryLog log(false);
  EXPECT_FALSE(decoder.decode(first_frame()));
}

}  // namespace
}  // namespace depth_io::test
