#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <optional>
#include <string>

#include "codec/timestamps.h"
#include "python/frame_codec.h"

/// What comes from Python and goes there.
namespace depth_io::python {

using DepthArray = pybind11::array_t<float>;
using ColourArray = pybind11::array_t<unsigned char>;

/// The arrays of a frame as they were given, in memory that is used as it is: row by row without
/// gaps. `colour` is none when there is none.
struct GivenFrame {
  DepthArray depth;
  std::optional<ColourArray> colour;

  FramePixels pixels() const { return {depth.data(), colour ? colour->data() : nullptr}; }
};

/// Takes arrays of a frame: `depth` float32 (480, 640), `colour` uint8 (480, 640, 3) or None.
/// Arrays with gaps are copied. Raises `ArgumentError`, which names the parameter and what was
/// given.
GivenFrame given_frame(const pybind11::object& depth, const pybind11::object& colour);

/// Decodes a frame into new arrays: (depth, colour or None, (a11, a22, cx, cy)).
pybind11::tuple read_frame(const FramePlace& place);

/// A moment out of a stamp text that the package made.
Moment moment_of(const std::string& stamp);

/// (a11, a22, cx, cy)
pybind11::tuple tuple_of(const tools::Intrinsics& intrinsics);

}  // namespace depth_io::python
