#include "tools/export/matroska_stream.h"

namespace depth_io::tools {
namespace {

// Identifiers of elements, as they stand in the stream.
constexpr std::uint32_t kEbml = 0x1A45DFA3;
constexpr std::uint32_t kDocType = 0x4282;
constexpr std::uint32_t kSegment = 0x18538067;
constexpr std::uint32_t kInfo = 0x1549A966;
constexpr std::uint32_t kTimestampScale = 0x2AD7B1;
constexpr std::uint32_t kMuxingApp = 0x4D80;
constexpr std::uint32_t kWritingApp = 0x5741;
constexpr std::uint32_t kTracks = 0x1654AE6B;
constexpr std::uint32_t kTrackEntry = 0xAE;
constexpr std::uint32_t kTrackNumber = 0xD7;
constexpr std::uint32_t kTrackUid = 0x73C5;
constexpr std::uint32_t kTrackType = 0x83;
constexpr std::uint32_t kFlagLacing = 0x9C;
constexpr std::uint32_t kCodecId = 0x86;
constexpr std::uint32_t kDefaultDuration = 0x23E383;
constexpr std::uint32_t kVideo = 0xE0;
constexpr std::uint32_t kPixelWidth = 0xB0;
constexpr std::uint32_t kPixelHeight = 0xBA;
constexpr std::uint32_t kPixelKind = 0x2EB524;
constexpr std::uint32_t kCluster = 0x1F43B675;
constexpr std::uint32_t kTimestamp = 0xE7;
constexpr std::uint32_t kSimpleBlock = 0xA3;

constexpr std::string_view kGrey16("Y1\0\x10", 4);
constexpr std::string_view kBgr24("BGR\x18", 4);

/// The bytes of a number, the highest first, without zeros in front.
std::string number_bytes(std::uint64_t number) {
  std::string bytes;
  for (; number > 0; number >>= 8U) bytes.insert(bytes.begin(), static_cast<char>(number & 0xFFU));
  return bytes.empty() ? std::string(1, '\0') : bytes;
}

/// The size of an element in eight bytes.
std::string size_bytes(std::uint64_t size) {
  std::string bytes(1, '\x01');
  for (int shift = 48; shift >= 0; shift -= 8) {
    bytes += static_cast<char>((size >> static_cast<unsigned>(shift)) & 0xFFU);
  }
  return bytes;
}

std::string element(std::uint32_t id, std::string_view contents) {
  std::string bytes = number_bytes(id) + size_bytes(contents.size());
  bytes += contents;
  return bytes;
}

std::string element(std::uint32_t id, std::uint64_t number) {
  return element(id, std::string_view(number_bytes(number)));
}

std::string track(std::uint64_t number, std::string_view kind, const MatroskaTracks& tracks) {
  const std::string video = element(kPixelWidth, static_cast<std::uint64_t>(tracks.width)) +
                            element(kPixelHeight, static_cast<std::uint64_t>(tracks.height)) +
                            element(kPixelKind, kind);
  return element(kTrackEntry, element(kTrackNumber, number) + element(kTrackUid, number) +
                                  element(kTrackType, 1) + element(kFlagLacing, 0) +
                                  element(kCodecId, "V_UNCOMPRESSED") +
                                  element(kDefaultDuration, tracks.step_nanoseconds) +
                                  element(kVideo, video));
}

/// Of a block: track, time in its cluster, and that it needs no other one.
std::string block_head(int track) { return {static_cast<char>(0x80 + track), '\0', '\0', '\x80'}; }

std::size_t block_size(std::size_t size) { return matroska_block_begin(1, size).size() + size; }

}  // namespace

std::string matroska_header(const MatroskaTracks& tracks) {
  constexpr std::uint64_t kMillisecond = 1000000;
  const std::string segment_without_end =
      number_bytes(kSegment) + "\x01\xFF\xFF\xFF\xFF\xFF\xFF\xFF";
  const std::string info = element(kTimestampScale, kMillisecond) + element(kMuxingApp, "depthrw") +
                           element(kWritingApp, "depthrw");
  std::string entries = track(1, kGrey16, tracks);
  if (tracks.with_colour) entries += track(2, kBgr24, tracks);
  return element(kEbml, element(kDocType, "matroska")) + segment_without_end +
         element(kInfo, info) + element(kTracks, entries);
}

std::string matroska_cluster_begin(std::uint64_t milliseconds, std::size_t grey_size,
                                   std::size_t colour_size) {
  const std::string time = element(kTimestamp, milliseconds);
  const std::size_t size =
      time.size() + block_size(grey_size) + (colour_size > 0 ? block_size(colour_size) : 0);
  return number_bytes(kCluster) + size_bytes(size) + time;
}

std::string matroska_block_begin(int track, std::size_t size) {
  const std::string head = block_head(track);
  return number_bytes(kSimpleBlock) + size_bytes(head.size() + size) + head;
}

}  // namespace depth_io::tools
