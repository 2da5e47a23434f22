#include "codec/run_length.h"

#include <algorithm>
#include <cstddef>

#include "codec/console.h"
#include "codec/pixel_kernels.h"

using depth_io::print;
using depth_io::wait_for_key;

void rle(int WW, int HH, int* Buffer, int* o_Output_Nb, int* o_Output_Val, int& o_NbNb,
         int SaturateAt, int debug) {
  o_NbNb = 0;
  if (debug != 1) {
    const auto values =
        static_cast<std::size_t>(std::max(WW, 0)) * static_cast<std::size_t>(std::max(HH, 0));
    o_NbNb = depth_io::pixel_kernels().code_runs(Buffer, values,
                                                 static_cast<std::size_t>(std::max(SaturateAt, 1)),
                                                 o_Output_Nb, o_Output_Val);
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
