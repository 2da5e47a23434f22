#include "codec/typed_buffers.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "codec/console.h"

using depth_io::print;
using depth_io::print_line;
using depth_io::print_line_and_wait;
using depth_io::wait_for_key;

namespace depth_io {

template <typename Element>
void OwningBuffer<Element>::Kill() {
  if (N <= 0 || buffer == nullptr) return;
  delete[] buffer;
  buffer = nullptr;
  N = 0;
}

template <typename Element>
void OwningBuffer<Element>::Create(int _N) {
  create_uninitialised(_N);
  if (_N > 0) Init(Element{});
}

template <typename Element>
void OwningBuffer<Element>::Init(Element val) {
  if (buffer != nullptr && N > 0) std::fill_n(buffer, N, val);
}

template <typename Element>
void OwningBuffer<Element>::create_uninitialised(int count) {
  if (count <= 0) return;
  // The count follows the allocation, so that a failed one leaves the buffer as it was.
  buffer = new Element[static_cast<std::size_t>(count)];
  N = count;
}

template <typename Element>
bool OwningBuffer<Element>::copy_same_size(const OwningBuffer& source) {
  if (source.N != N) return false;
  copy_raw(source.buffer);
  return true;
}

template <typename Element>
void OwningBuffer<Element>::copy_raw(const Element* source) {
  if (source != nullptr && source != buffer && N > 0) std::copy_n(source, N, buffer);
}

template class OwningBuffer<float>;
template class OwningBuffer<double>;
template class OwningBuffer<unsigned char>;
template class OwningBuffer<unsigned short>;
template class OwningBuffer<bool>;
template class OwningBuffer<int>;
template class OwningBuffer<char>;

template <typename Inner>
void OwningBufferRows<Inner>::Kill() {
  if (N1D <= 0 || arr1D == nullptr) return;
  delete[] arr1D;
  arr1D = nullptr;
  N1D = 0;
}

template <typename Inner>
void OwningBufferRows<Inner>::create_rows(int rows) {
  if (rows < 1) return;
  arr1D = new Inner[static_cast<std::size_t>(rows)];
  N1D = rows;
}

template <typename Inner>
bool OwningBufferRows<Inner>::create_rows(int rows, int columns) {
  if (rows < 1) return false;
  create_rows(rows);
  for (int i = 0; i < N1D; ++i) arr1D[i].Create(columns);
  return true;
}

template class OwningBufferRows<depth_io_ClassBuffer>;
template class OwningBufferRows<depth_io_ClassBufferUC>;
template class OwningBufferRows<depth_io_ClassBufferChar>;

}  // namespace depth_io

int depth_io_ClassBuffer::CopyFrom(depth_io_ClassBuffer& src) {
  if (copy_same_size(src)) return 1;
  print("ERROR depth_io_ClassBuffer::CopyFrom sizes different: src.N %d vs N %d\n", src.N, N);
  wait_for_key();
  return 0;
}

int depth_io_ClassBuffer::CopyFrom(float* src) {
  copy_raw(src);
  return 1;
}

int depth_io_ClassBufferDOUBLE::CopyFrom(depth_io_ClassBufferDOUBLE& src) {
  if (copy_same_size(src)) return 1;
  print("ERROR depth_io_ClassBufferDOUBLE::CopyFrom sizes different: src.N %d vs N %d\n", src.N, N);
  wait_for_key();
  return 0;
}

int depth_io_ClassBufferDOUBLE::CopyFrom(double* src) {
  copy_raw(src);
  return 1;
}

int depth_io_ClassBufferUC::CopyFromUC(depth_io_ClassBufferUC& src) {
  if (copy_same_size(src)) return 1;
  print("ERROR depth_io_ClassBufferUC::CopyFrom N different %d vs %d\n", src.N, N);
  wait_for_key();
  return 0;
}

int depth_io_ClassBufferUC::CopyFromUC(unsigned char* src) {
  copy_raw(src);
  return 1;
}

void depth_io_ClassBufferBOOL::Create(int _N) { create_uninitialised(_N); }

int depth_io_ClassBufferBOOL::CopyFrom(depth_io_ClassBufferBOOL& src) {
  if (copy_same_size(src)) return 1;
  print_line_and_wait(" - ERROR - depth_io_ClassBufferBOOL::CopyFrom - Size Differ");
  return 0;
}

depth_io_ClassBufferINT::depth_io_ClassBufferINT(int _N) { Create(_N); }

void depth_io_ClassBufferINT::Create(int _N) {
  if (_N <= 0 || static_cast<double>(_N) > 1000000000.0) {
    print("depth_io_ClassBufferINT::Create - ERROR SIZE %d\n", _N);
    wait_for_key();
  }
  if (_N > 0) {
    OwningBuffer::Create(_N);
    return;
  }
  // Kept: a size below 1 is reported twice; callers count on both pauses.
  print("ERROR depth_io_ClassBufferINT::Create( %d )\n", _N);
  wait_for_key();
}

depth_io_ClassBufferChar::depth_io_ClassBufferChar(int _N) { Create(_N); }

int depth_io_ClassBufferChar::CopyFrom(depth_io_ClassBufferChar& src) {
  if (copy_same_size(src)) return 1;
  print_line_and_wait("ERROR depth_io_ClassBufferChar::CopyFrom N different");
  return 0;
}

depth_io_ClassBuffer1D::depth_io_ClassBuffer1D(int _N1D, int _N) { Create(_N1D, _N); }

int depth_io_ClassBuffer1D::GetN1D() { return N1D; }

void depth_io_ClassBuffer1D::CreatePartially(int _N1D) { create_rows(_N1D); }

int depth_io_ClassBuffer1D::Create(int _N1D, int _N) { return create_rows(_N1D, _N) ? 1 : 0; }

void depth_io_ClassBuffer1D::Init(float val) {
  for (int i = 0; i < N1D; ++i) arr1D[i].Init(val);
}

void depth_io_ClassBufferUC1D::Create(int _N1D, int _N) { create_rows(_N1D, _N); }

void depth_io_ClassBufferUC1D::Init(unsigned char val) {
  for (int i = 0; i < N1D; ++i) arr1D[i].Init(val);
}

int depth_io_ClassBufferUC1D::CopyFromUC(depth_io_ClassBufferUC1D& src) {
  if (src.N1D != N1D) {
    print_line_and_wait("ERROR depth_io_ClassBufferUC1D::CopyFrom N1D different");
    return 0;
  }
  for (int i = 0; i < N1D; ++i) {
    if (arr1D[i].CopyFromUC(src.arr1D[i]) != 1) {
      print("ERROR depth_io_ClassBufferUC1D::CopyFrom copy arr[%d] failed\n", i);
      wait_for_key();
      return 0;
    }
  }
  return 1;
}

void depth_io_ClassBufferChar1D::Create(int _N1D, int _N) {
  Counter = 0;
  create_rows(_N1D, _N);
}

void depth_io_ClassBufferChar1D::Kill() {
  OwningBufferRows::Kill();
  Counter = 0;
}

void depth_io_ClassBufferChar1D::ResetCounter() { Counter = 0; }

int depth_io_ClassBufferChar1D::GetCounter() { return Counter; }

int depth_io_ClassBufferChar1D::Insert(char* src) {
  if (Counter < 0 || Counter >= N1D) {
    print_line("Cound not insert string, full array");
    return -1;
  }
  depth_io_ClassBufferChar& row = arr1D[Counter];
  if (src == nullptr || row.N <= 0) return -1;
  const auto capacity = static_cast<std::size_t>(row.N);
  const std::size_t length = strnlen(src, capacity);
  if (length == capacity) return -1;
  std::memcpy(row.buffer, src, length + 1);
  return Counter++;
}
