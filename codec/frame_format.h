#pragma once

/// The constants of the files of one frame, see docs/format.md. Writer and reader share them.
namespace depth_io {

/// Depth code: `(kHalfWindow + (depth - reference)) * kCodesPerMetre`, an 8-bit number.
inline constexpr float kHalfWindow = 1.25F;
inline constexpr float kCodesPerMetre = 100.0F;

/// Stands in the places of the reference depths that no label has.
inline constexpr float kNoReference = -1.0F;
inline constexpr int kLargestCode = 255;
/// Code of the pixel that gives a label its reference depth.
inline constexpr int kReferenceCode = 125;

/// Rebuilt depths are clamped to this range, metres.
inline constexpr float kSmallestDepth = 0.0F;
inline constexpr float kLargestDepth = 255.0F;

/// Longest run of the label map, pixels.
inline constexpr int kLongestRun = 30000;

/// Quality of both JPEG files.
inline constexpr int kJpegQuality = 95;

/// Error records: regions of 256 x 256 pixels, three across, two down; what lies outside has none.
inline constexpr int kRegionSize = 256;
inline constexpr int kRegionsAcross = 3;
inline constexpr int kRegionsDown = 2;
inline constexpr int kRegionCount = kRegionsAcross * kRegionsDown;

/// File names with their directory, bytes with the NUL.
inline constexpr int kWriterNameSize = 250;
inline constexpr int kReaderNameSize = 512;
inline constexpr int kQuietReaderNameSize = 250;

}  // namespace depth_io
