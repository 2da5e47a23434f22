#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "codec/camera_depth_rw.h"
#include "fuzz/fuzz_support.h"

// Stamp texts, moments, numbers as text, and tables of texts.

namespace {

using depth_io::Moment;
using depth_io::fuzz::Input;
using depth_io::fuzz::require;

/// A text in memory of exactly its size: reading or writing past it is then noticed.
class ExactText {
 public:
  explicit ExactText(std::string_view text) : ExactText(text.size() + 1) {
    text.copy(bytes_.get(), text.size());
  }
  explicit ExactText(std::size_t size) : bytes_(new char[size]{}) {}
  operator char*() const { return bytes_.get(); }

 private:
  std::unique_ptr<char[]> bytes_;
};

Moment take_moment(Input& input) {
  Moment m;
  for (int* field : {&m.year, &m.month, &m.day, &m.hour, &m.minute, &m.second, &m.millisecond}) {
    *field = input.integer();
  }
  return m;
}

bool operator==(const Moment& a, const Moment& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
         a.minute == b.minute && a.second == b.second && a.millisecond == b.millisecond;
}

void read_stamp(Input& input) {
  ExactText text(input.rest());
  Moment m;
  require(depth_io::parse_stamp(text, m), "every stamp text is read");
  double unix_time = 0.5;
  if (depth_io::to_unix_time(unix_time, m, true)) {
    require(unix_time == std::floor(unix_time) || m.millisecond % 1000 != 0, "whole seconds");
  }
  IncrementTimeStampMilliSecond(40, m.year, m.month, m.day, m.hour, m.minute, m.second,
                                m.millisecond);
}

void convert_moment(Input& input) {
  Moment m = take_moment(input);
  const int interval = input.integer();
  ExactText text(std::size_t{depth_io::kStampSize});
  depth_io::write_stamp(text, m, input.flag() ? 1 : 0);
  require(std::strlen(text) <= 26, "at most 26 characters");
  double unix_time = NAN;
  depth_io::to_unix_time(unix_time, m, input.flag());
  require(!std::isnan(unix_time), "the time is always written");
  IncrementTimeStampMilliSecond(interval, m.year, m.month, m.day, m.hour, m.minute, m.second,
                                m.millisecond);
}

void write_and_read_stamp(Input& input) {
  Moment m = take_moment(input);
  const auto fold = [](int& field, unsigned count) {
    field = static_cast<int>(static_cast<unsigned>(field) % count);
  };
  fold(m.year, 10000);
  for (int* field : {&m.month, &m.day, &m.hour, &m.minute, &m.second}) fold(*field, 100);
  fold(m.millisecond, 1000);
  ExactText text(std::size_t{depth_io::kStampSize});
  depth_io::write_stamp(text, m);
  Moment found;
  depth_io::parse_stamp(text, found);
  require(std::strlen(text) == 26 && found == m, "a moment survives its text");
}

void find_stamp_in_path(Input& input) {
  const ExactText directory(input.short_part());
  const ExactText stem(input.short_part());
  const ExactText path(input.rest());
  Moment m;
  _get_timestamp_from_stamp_stem(directory, stem, path, m.year, m.month, m.day, m.hour, m.minute,
                                 m.second, m.millisecond);
}

void write_numbers(Input& input) {
  const int number = input.integer();
  const int digits = input.integer();
  const ExactText text(std::size_t{12});
  const int used = __GetStringFromInt(text, number);
  require(used == __GetNbDigit(number), "as many digits as counted");
  constexpr int kExact = 1 << 24;
  if (number > -kExact && number < kExact) {
    require(std::to_string(number) == static_cast<char*>(text), "exact up to 2^24");
    require(__GetIntFromString(text) == number, "a number survives its text");
  }
  for (const int count : {digits, digits % 12, 8}) {
    __TransfromIntsChars(number, count, text);
    require(std::strlen(text) <= 11, "at most ten digits and a sign");
  }
  __vsip_itoa(number, text);
  _Power(number, digits);
  int quotient = 0;
  const int remainder = __Modulo(digits, number, quotient);
  require(remainder ==
              depth_io::wrapping_subtract(number, depth_io::wrapping_multiply(digits, quotient)),
          "quotient and remainder belong together");
}

void read_number(Input& input) {
  const ExactText text(input.rest());
  __GetIntFromString(text);
}

void fill_table(Input& input) {
  const int rows = input.below(5) - 1;
  const int columns = input.below(40) - 1;
  depth_io_ClassBufferChar1D table;
  table.Create(rows, columns);
  for (int inserted = 0; !input.empty();) {
    const std::string text(input.short_part());
    const ExactText exact(text);
    const bool fits = inserted < rows && static_cast<int>(std::strlen(exact)) < columns;
    const int row = table.Insert(exact);
    require(row == (fits ? inserted : -1), "a text goes into the next row if it fits");
    if (!fits) continue;
    require(std::strcmp(table.arr1D[row].buffer, exact) == 0, "and is stored whole");
    ++inserted;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using Kind = void (*)(Input&);
  constexpr Kind kKinds[] = {read_stamp,         convert_moment, write_and_read_stamp,
                             find_stamp_in_path, write_numbers,  read_number,
                             fill_table};
  Input input(bytes, size);
  kKinds[input.byte() % std::size(kKinds)](input);
  return 0;
}
