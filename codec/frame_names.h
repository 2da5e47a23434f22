#pragma once

#include <cstddef>
#include <string_view>

#include "codec/export.h"
#include "codec/timestamps.h"

/// The only builder of the names of recorded files.
namespace depth_io {

/// A path that never outgrows its limit: what does not fit makes it unusable instead of being cut,
/// for a cut path names another place.
class CAMERA_DEPTH_RW_EXPORT PathText {
 public:
  /// Bytes of the longest path, its NUL included.
  static constexpr std::size_t kLargestSize = 512;

  /// An empty path of at most `size_limit` bytes, the NUL included.
  explicit PathText(std::size_t size_limit = kLargestSize);

  ///@{
  /// Adds to the end; null, or what is too long, makes the path not fit. Returns the path.
  PathText& append(const char* text);
  PathText& append(std::string_view text);
  ///@}
  /// Adds `number` with exactly `digits` digits, as `__GetStringFromInt`. Returns the path.
  PathText& append_number(int digits, int number);
  /// Cuts back to an earlier length, to try another ending.
  void cut_to(std::size_t length);

  /// Whether everything that was added fits.
  bool fits() const { return fits_; }
  /// Bytes of the text, without its NUL.
  std::size_t length() const { return length_; }
  ///@{
  /// The text, NUL-terminated; it belongs to the path.
  const char* c_str() const { return text_; }
  char* data() { return text_; }
  ///@}

 private:
  char text_[kLargestSize];
  std::size_t size_limit_;
  std::size_t length_ = 0;
  bool fits_ = true;
};

/// Writes `text` to `destination` (`size` bytes) if it fits; otherwise, and for a null `text`,
/// `destination` becomes empty and the result false.
CAMERA_DEPTH_RW_EXPORT bool copy_text(char* destination, std::size_t size, const char* text);

/// What tells the frames of one directory apart: a stamp text, or else a number.
struct FrameKey {
  bool by_timestamp = false;        ///< the key is the stamp text, not the number
  int number_digits = 0;            ///< digits of the number in a name
  int frame_number = 0;             ///< the number
  const char* timestamp = nullptr;  ///< 26 characters; belongs to the caller
};

/// Appends the name of a frame without extension: directory, then stem and key with a "-" between
/// them, in reverse order when `reverse_name`. No separator is added after the directory.
CAMERA_DEPTH_RW_EXPORT void append_frame_name(PathText& path, const char* directory,
                                              const char* stem, bool reverse_name,
                                              const FrameKey& key);

/// Appends the folder of a day: directory, "/", YYYY-MM-DD and "/".
CAMERA_DEPTH_RW_EXPORT void append_day_folder(PathText& path, const char* directory,
                                              const Moment& moment);
/// Appends the folder of an hour in its day, HHh and "/".
CAMERA_DEPTH_RW_EXPORT void append_hour_folder(PathText& path, const Moment& moment);
/// Appends the folder of a minute in its hour, MMmn and "/".
CAMERA_DEPTH_RW_EXPORT void append_minute_folder(PathText& path, const Moment& moment);

/// Appends a numbered sub-directory: directory, "/" and eight digits.
CAMERA_DEPTH_RW_EXPORT void append_numbered_folder(PathText& path, const char* directory,
                                                   int number);

///@{
/// Endings of a frame's files. The code image and the colour image share theirs: the stems differ.
inline constexpr char kLabelMapEnding[] = ".rle";
inline constexpr char kReferenceEnding[] = ".ref";
inline constexpr char kJpegEnding[] = ".jpg";
inline constexpr char kErrorEnding[] = ".err";
///@}

}  // namespace depth_io
