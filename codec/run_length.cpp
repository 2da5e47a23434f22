#include "codec/run_length.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "codec/console.h"
#include "codec/pixel_kernels.h"

using depth_io::print;
using depth_io::wait_for_key;

namespace {

/// The runs, without a word.
void code_runs(std::span<const int> values, int longest, int* lengths, int* run_values,
               int& run_count) {
  const std::size_t most = static_cast<std::size_t>(std::max(longest, 1));
  const depth_io::PixelKernels& kernels = depth_io::pixel_kernels();
  int count = 0;
  while (!values.empty()) {
    const std::size_t most_here = std::min(values.size(), most);
    const bool is_short = most_here == 1 || values[1] != values[0];
    const std::size_t length = is_short ? 1 : kernels.run_length(values.data(), most_here);
    lengths[count] = static_cast<int>(length);
    run_values[count] = values[0];
    ++count;
    values = values.subspan(length);
  }
  run_count = count;
}

}  // namespace

void rle(int WW, int HH, int* Buffer, int* o_Output_Nb, int* o_Output_Val, int& o_NbNb,
         int SaturateAt, int debug) {
  o_NbNb = 0;
  if (debug != 1) {
    code_runs({Buffer, static_cast<std::size_t>(std::max(WW, 0)) *
                           static_cast<std::size_t>(std::max(HH, 0))},
              SaturateAt, o_Output_Nb, o_Output_Val, o_NbNb);
    return;
  }
  for (int row = 0; row < HH; ++row) {
    for (int col = 0; col < WW && row < HH; ++col) {
      const int VAL = Buffer[static_cast<std::ptrdiff_t>(row) * WW + col];
      int Nb = 1;
      int stoprow = row;
      int stopcol = col;
      if (debug == 1) {
        print("_rle %d %d\n", row, col);
        wait_for_key();
      }
      bool KEEPON = true;
      _rle(KEEPON, Nb, row, col, VAL, stoprow, stopcol, WW, HH, Buffer, SaturateAt, debug);
      if (debug == 1) print("RLE nb %d for value %d\n", Nb, VAL);
      o_Output_Nb[o_NbNb] = Nb;
      o_Output_Val[o_NbNb] = VAL;
      ++o_NbNb;
      row = stoprow;
      col = stopcol;
    }
  }
}

void _rle(bool& KEEPON, int& Nb, int row, int col, int CurrentValue, int& stoprow, int& stopcol,
          int WW, int HH, int* Buffer, int SaturateAt, int debug) {
  if (!KEEPON) return;
  KEEPON = false;
  const std::ptrdiff_t end = std::ptrdiff_t{WW} * HH;
  std::ptrdiff_t last = std::ptrdiff_t{row} * WW + col;
  const std::ptrdiff_t first = last;
  while (Nb < SaturateAt && last + 1 < end && Buffer[last + 1] == CurrentValue) {
    ++last;
    ++Nb;
    if (debug == 1) {
      print(" OK %d %d Nb %d\n", static_cast<int>(last / WW), static_cast<int>(last % WW), Nb);
    }
  }
  if (last == first) return;
  stoprow = static_cast<int>(last / WW);
  stopcol = static_cast<int>(last % WW);
}
