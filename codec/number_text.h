#pragma once

#include "codec/export.h"

// Integers as decimal text. The fixed-width form writes the frame numbers of every file name.

/// Writes the digit character of `source` and a NUL to `dest[0..1]`; nothing when `source` is not
/// in 0..9.
CAMERA_DEPTH_RW_EXPORT void __vsip_itoa(int source, char* dest);

/// Number of decimal digits of `NB`, sign not counted; 0 has one.
CAMERA_DEPTH_RW_EXPORT int __GetNbDigit(int NB);

/// Writes the low `nb_digits` digits of `source`, zero-padded, after a '-' when it is negative, and
/// a NUL to `dest` (at least 12 bytes). At most 10 digits; a negative count is 0. The number passes
/// through a single-precision float, so it is exact up to 2^24.
CAMERA_DEPTH_RW_EXPORT void __TransfromIntsChars(int source, int nb_digits, char* dest);

/// Writes all digits of `source` and a NUL to `dest` (at least 12 bytes); returns the digit count
/// used.
CAMERA_DEPTH_RW_EXPORT int __GetStringFromInt(char* dest, int source);

/// Writes exactly `nbdigits` digits of `source` to `dest`, as `__TransfromIntsChars`.
CAMERA_DEPTH_RW_EXPORT void __GetStringFromInt(char* dest, int nbdigits, int source);

/// The integer that `string` spells: an optional leading '-' and decimal digits; the empty text and
/// "-" are 0, and so is a number that does not fit an int. Any other character (or a null pointer)
/// prints an error, waits for a key and gives -1.
CAMERA_DEPTH_RW_EXPORT int __GetIntFromString(char* string);
