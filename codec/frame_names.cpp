#include "codec/frame_names.h"

#include <cstring>

#include "codec/number_text.h"

namespace depth_io {

PathText::PathText(std::size_t size_limit)
    : size_limit_(size_limit < kLargestSize ? size_limit : kLargestSize) {
  text_[0] = '\0';
}

PathText& PathText::append(const char* text) {
  if (text == nullptr) {
    fits_ = false;
    return *this;
  }
  return append(std::string_view(text));
}

PathText& PathText::append(std::string_view text) {
  if (length_ + text.size() >= size_limit_) fits_ = false;
  if (!fits_) return *this;
  std::memcpy(text_ + length_, text.data(), text.size());
  length_ += text.size();
  text_[length_] = '\0';
  return *this;
}

PathText& PathText::append_number(int digits, int number) {
  char text[12];
  __GetStringFromInt(text, digits, number);
  return append(text);
}

void PathText::cut_to(std::size_t length) {
  if (length > length_) return;
  length_ = length;
  text_[length_] = '\0';
}

bool copy_text(char* destination, std::size_t size, const char* text) {
  if (destination == nullptr) return false;
  const std::size_t length = text == nullptr ? size : strnlen(text, size);
  if (length >= size) {
    if (size > 0) destination[0] = '\0';
    return false;
  }
  std::memmove(destination, text, length + 1);
  return true;
}

void append_frame_name(PathText& path, const char* directory, const char* stem, bool reverse_name,
                       const FrameKey& key) {
  path.append(directory);
  if (!reverse_name) path.append(stem).append("-");
  if (key.by_timestamp) {
    path.append(key.timestamp);
  } else {
    path.append_number(key.number_digits, key.frame_number);
  }
  if (reverse_name) path.append("-").append(stem);
}

void append_day_folder(PathText& path, const char* directory, const Moment& moment) {
  path.append(directory).append("/");
  path.append_number(4, moment.year).append("-");
  path.append_number(2, moment.month).append("-");
  path.append_number(2, moment.day).append("/");
}

void append_hour_folder(PathText& path, const Moment& moment) {
  path.append_number(2, moment.hour).append("h/");
}

void append_minute_folder(PathText& path, const Moment& moment) {
  path.append_number(2, moment.minute).append("mn/");
}

void append_numbered_folder(PathText& path, const char* directory, int number) {
  path.append(directory).append("/").append_number(8, number);
}

}  // namespace depth_io
