#include "codec/run_length.h"

#include <cstddef>

#include "codec/console.h"

using depth_io::print;
using depth_io::wait_for_key;

void rle(int WW, int HH, int* Buffer, int* o_Output_Nb, int* o_Output_Val, int& o_NbNb,
         int SaturateAt, int debug) {
  o_NbNb = 0;
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
  while (KEEPON) {
    if (Nb >= SaturateAt) {
      KEEPON = false;
      return;
    }
    if (++col >= WW) {
      col = 0;
      ++row;
    }
    if (row >= HH || Buffer[static_cast<std::ptrdiff_t>(row) * WW + col] != CurrentValue) {
      KEEPON = false;
      return;
    }
    ++Nb;
    stoprow = row;
    stopcol = col;
    if (debug == 1) print(" OK %d %d Nb %d\n", row, col, Nb);
  }
}
