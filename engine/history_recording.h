#pragma once

#include <cstdint>

#include "codec/console.h"
#include "codec/numeric.h"
#include "engine/capture_rules.h"

namespace depth_io {

/// A window of frame numbers that is wanted out of a ring whose newest frame is `current_frame`.
struct NumberedRange {
  int first;
  int last;
  int current_frame;
  int ring_size;
};

/// Writes the frames of the window that the ring still holds: `slot_of(number)` tells where, and
/// `write(slot, number)` writes. A frame that is gone is told and makes the result false; a slot
/// that does not exist or a failed write ends the loop with false.
template <typename SlotOf, typename Write>
bool record_numbered_range(const NumberedRange& range, SlotOf slot_of, Write write) {
  bool complete = true;
  const std::int64_t oldest = std::int64_t{range.current_frame} - range.ring_size;
  // Wider than the frame numbers, so that the last int ends the loop, too.
  for (std::int64_t number = range.first; number <= range.last; ++number) {
    const int index = static_cast<int>(number);
    if (number <= oldest || number > range.current_frame) {
      print(
          " - WARNING - depth history corresponding index out of range %d (SizeHistory %d) "
          "current_frame %d [%d:%d]\n",
          index, range.ring_size, range.current_frame,
          wrapping_subtract(range.current_frame, range.ring_size), range.current_frame);
      complete = false;
      continue;
    }
    const int slot = slot_of(index);
    if (!is_slot(slot, range.ring_size)) {
      print_line(" - ERROR - depth history corresponding index out of range");
      return false;
    }
    print("recording %d history_index %d (SizeHistory %d)\n", index, slot, range.ring_size);
    if (!write(slot, index)) return false;
  }
  return complete;
}

}  // namespace depth_io
