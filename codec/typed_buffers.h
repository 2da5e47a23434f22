#pragma once

#include "codec/export.h"

namespace depth_io {

/// What the single-level buffers share: a count and an owned array made by array-new. Empty means
/// `N` is 0 and `buffer` is null.
template <typename Element>
class CAMERA_DEPTH_RW_EXPORT OwningBuffer {
 public:
  int N = 0;                  ///< elements
  Element* buffer = nullptr;  ///< the array; owned

  OwningBuffer() = default;
  ~OwningBuffer() { Kill(); }
  OwningBuffer(const OwningBuffer&) = delete;
  OwningBuffer& operator=(const OwningBuffer&) = delete;

  /// Releases the array; harmless on an empty buffer. A buffer whose `N` is 0 is left as it is.
  void Kill();

  /// Allocates `_N` elements, each zero; nothing when `_N` is below 1. An earlier array is not
  /// released: call `Kill` first.
  void Create(int _N);

  /// Sets every element to `val`.
  void Init(Element val);

 protected:
  /// Allocates `count` elements without a value; nothing when `count` is below 1.
  void create_uninitialised(int count);
  /// Copies `source.buffer` when it has as many elements; false otherwise.
  bool copy_same_size(const OwningBuffer& source);
  /// Copies `N` elements; nothing when `source` is null.
  void copy_raw(const Element* source);
};

extern template class OwningBuffer<float>;
extern template class OwningBuffer<double>;
extern template class OwningBuffer<unsigned char>;
extern template class OwningBuffer<unsigned short>;
extern template class OwningBuffer<bool>;
extern template class OwningBuffer<int>;
extern template class OwningBuffer<char>;

/// What the two-level buffers share: an owned array of `N1D` single-level buffers.
template <typename Inner>
class CAMERA_DEPTH_RW_EXPORT OwningBufferRows {
 public:
  int N1D = 0;             ///< rows
  Inner* arr1D = nullptr;  ///< the array of rows; owned

  OwningBufferRows() = default;
  ~OwningBufferRows() { Kill(); }
  OwningBufferRows(const OwningBufferRows&) = delete;
  OwningBufferRows& operator=(const OwningBufferRows&) = delete;

  /// Releases every row and the array of rows; harmless on an empty buffer.
  void Kill();

 protected:
  /// Makes `rows` empty rows; nothing when `rows` is below 1.
  void create_rows(int rows);
  /// Makes `rows` rows of `columns` elements; false and nothing when `rows` is below 1.
  bool create_rows(int rows, int columns);
};

}  // namespace depth_io

// Owning arrays of one element type, for pixel maps, history slots and counters. They are not
// copied implicitly: `CopyFrom` is explicit, gives 1, and 0 with a printed error and a wait for a
// key when the sizes differ (the target is then unchanged). The forms that take a raw array copy
// `N` elements and check nothing.

/// An array of floats.
class CAMERA_DEPTH_RW_EXPORT depth_io_ClassBuffer : public depth_io::OwningBuffer<float> {
 public:
  /// Copies the elements of `src`: 1; other sizes print an error, wait for a key and give 0, with
  /// nothing changed.
  int CopyFrom(depth_io_ClassBuffer& src);
  /// Copies `N` elements from the caller's array and gives 1; its size is not checked.
  int CopyFrom(float* src);
};

/// An array of doubles.
class CAMERA_DEPTH_RW_EXPORT depth_io_ClassBufferDOUBLE : public depth_io::OwningBuffer<double> {
 public:
  /// Copies the elements of `src`: 1; other sizes print an error, wait for a key and give 0, with
  /// nothing changed.
  int CopyFrom(depth_io_ClassBufferDOUBLE& src);
  /// Copies `N` elements from the caller's array and gives 1; its size is not checked.
  int CopyFrom(double* src);
};

/// An array of bytes.
class CAMERA_DEPTH_RW_EXPORT depth_io_ClassBufferUC : public depth_io::OwningBuffer<unsigned char> {
 public:
  /// Copies the elements of `src`: 1; other sizes print an error, wait for a key and give 0, with
  /// nothing changed.
  int CopyFromUC(depth_io_ClassBufferUC& src);
  /// Copies `N` elements from the caller's array and gives 1; its size is not checked.
  int CopyFromUC(unsigned char* src);
};

/// An array of unsigned shorts; no copy operations.
class CAMERA_DEPTH_RW_EXPORT depth_io_ClassBufferUS
    : public depth_io::OwningBuffer<unsigned short> {};

/// An array of booleans. `Create` only allocates: the contents are undefined until `Init`.
class CAMERA_DEPTH_RW_EXPORT depth_io_ClassBufferBOOL : public depth_io::OwningBuffer<bool> {
 public:
  /// Allocates `_N` elements without a value; nothing when `_N` is below 1.
  void Create(int _N);
  /// Copies the elements of `src`: 1; other sizes print an error, wait for a key and give 0, with
  /// nothing changed.
  int CopyFrom(depth_io_ClassBufferBOOL& src);
};

/// An array of ints. `Create` reports a size below 1 (two messages, two waits) or above 1e9 (one
/// message, one wait, then it allocates all the same).
class CAMERA_DEPTH_RW_EXPORT depth_io_ClassBufferINT : public depth_io::OwningBuffer<int> {
 public:
  depth_io_ClassBufferINT() = default;
  /// A buffer of `_N` zeros, as `Create`.
  explicit depth_io_ClassBufferINT(int _N);
  /// Allocates `_N` zeros. A size below 1 prints two messages and waits for a key twice, one above
  /// 1e9 prints one and waits once.
  void Create(int _N);
};

/// An array of characters; a created one holds an empty text.
class CAMERA_DEPTH_RW_EXPORT depth_io_ClassBufferChar : public depth_io::OwningBuffer<char> {
 public:
  depth_io_ClassBufferChar() = default;
  /// A text of at most `_N` - 1 characters, empty.
  explicit depth_io_ClassBufferChar(int _N);
  /// Copies the elements of `src`: 1; other sizes print an error, wait for a key and give 0, with
  /// nothing changed.
  int CopyFrom(depth_io_ClassBufferChar& src);
};

/// Rows of floats.
class CAMERA_DEPTH_RW_EXPORT depth_io_ClassBuffer1D
    : public depth_io::OwningBufferRows<depth_io_ClassBuffer> {
 public:
  depth_io_ClassBuffer1D() = default;
  /// `_N1D` rows of `_N` zeros, as `Create`.
  depth_io_ClassBuffer1D(int _N1D, int _N);
  /// Number of rows.
  int GetN1D();
  /// Makes `_N1D` empty rows, to be given elements later; nothing when it is below 1.
  void CreatePartially(int _N1D);
  /// Makes `_N1D` rows of `_N` zeros and returns 1; 0 when `_N1D` is below 1.
  int Create(int _N1D, int _N);
  /// Sets every element of every row to `val`.
  void Init(float val);
};

/// Rows of bytes.
class CAMERA_DEPTH_RW_EXPORT depth_io_ClassBufferUC1D
    : public depth_io::OwningBufferRows<depth_io_ClassBufferUC> {
 public:
  /// Makes `_N1D` rows of `_N` zeros; nothing when `_N1D` is below 1.
  void Create(int _N1D, int _N);
  /// Sets every element of every row to `val`.
  void Init(unsigned char val);
  /// Copies row by row and gives 1. Another number of rows prints an error, waits for a key and
  /// gives 0; so does the first row of another size, with two messages and two waits, and earlier
  /// rows stay copied.
  int CopyFromUC(depth_io_ClassBufferUC1D& src);
};

/// A table of texts with an insertion counter.
class CAMERA_DEPTH_RW_EXPORT depth_io_ClassBufferChar1D
    : public depth_io::OwningBufferRows<depth_io_ClassBufferChar> {
 public:
  int Counter = 0;  ///< rows in use

  /// Makes `_N1D` empty texts of at most `_N` - 1 characters, none of them in use.
  void Create(int _N1D, int _N);
  /// Releases every row, and none is in use any more.
  void Kill();
  /// Takes all rows as unused; their texts stay until they are replaced.
  void ResetCounter();
  /// Rows in use.
  int GetCounter();
  /// Copies the text `src` into the next row and returns that row's index. A full table prints a
  /// line and gives -1; a text that does not fit the row (or null) gives -1.
  int Insert(char* src);
};
