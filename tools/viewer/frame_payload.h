#pragma once

#include <string>

#include "tools/viewer/frame_decoder.h"

namespace depth_io::tools {

/// The depth of a decoded frame for the page, exact to the last bit of its metres, little-endian:
///
///     "DFRM", then as 32-bit numbers: form (0 or 1), width, height, number of labels L,
///     number of error records, and as floats a11, a22, cx, cy
///     float reference[L]               metres
///     form 0, for up to 255 labels:
///       float depth[L][256]            metres of each label's codes that occur
///       uint16 pixel[height * width]   label * 256 + code; 65535: no label
///     form 1, for more:
///       float depth[height * width]    metres
///       int32 label[height * width]    -1: no label
///     uint8 records[height * width / 8]   a bit a pixel, lowest first: it has an error record
std::string frame_payload(const FrameDecoder& decoder);

inline constexpr int kMostLabelsOfTable = 255;

}  // namespace depth_io::tools
