#include "python/arguments.h"

#include <pybind11/stl.h>

#include <memory>
#include <utility>
#include <vector>

#include "python/library_call.h"
#include "tools/frame/frame_time.h"

namespace depth_io::python {
namespace {

namespace py = pybind11;

using Shape = std::vector<py::ssize_t>;

const Shape kDepthShape = {tools::kFrameHeight, tools::kFrameWidth};
const Shape kColourShape = {tools::kFrameHeight, tools::kFrameWidth, 3};

std::string description_of(const py::object& given) {
  if (!py::isinstance<py::array>(given)) {
    return py::str("{}").format(py::type::of(given).attr("__name__"));
  }
  const auto array = py::reinterpret_borrow<py::array>(given);
  return py::str("{} of shape {}").format(array.dtype(), array.attr("shape"));
}

template <typename Array>
Array given_array(const char* name, const py::object& given, const Shape& shape) {
  const auto matches = [&] {
    if (!py::isinstance<py::array>(given)) return false;
    const auto array = py::reinterpret_borrow<py::array>(given);
    return py::dtype::of<typename Array::value_type>().equal(array.dtype()) &&
           Shape(array.shape(), array.shape() + array.ndim()) == shape;
  };
  if (!matches()) {
    const py::object wanted =
        py::str("{} of shape {}")
            .format(py::dtype::of<typename Array::value_type>(), py::tuple(py::cast(shape)));
    raise_error("ArgumentError",
                std::string(name) + " must be an array of " + std::string(py::str(wanted)) +
                    ", not " + description_of(given),
                {});
  }
  constexpr int kPacked = int{py::array::c_style} | int{py::detail::npy_api::NPY_ARRAY_ALIGNED_};
  using Packed = py::array_t<typename Array::value_type, kPacked>;
  return Packed::ensure(given);
}

/// Memory of arrays that Python has no more. What the system gives afresh costs a tenth of a
/// frame's reading, for it clears each page.
template <typename Value>
IdleStore<std::unique_ptr<Value[]>>& idle_memory() {
  constexpr std::size_t kMost = 4;
  static auto& instance = *new IdleStore<std::unique_ptr<Value[]>>(kMost);
  return instance;
}

/// A new array, which owns its memory. All arrays of a type have the same size.
template <typename Value>
py::array_t<Value> new_array(const Shape& shape, std::size_t size) {
  std::unique_ptr<Value[]> memory = idle_memory<Value>().take();
  if (memory == nullptr) memory.reset(new Value[size]);
  const py::capsule owner(memory.get(), [](void* values) {
    idle_memory<Value>().give(std::unique_ptr<Value[]>(static_cast<Value*>(values)));
  });
  return py::array_t<Value>(shape, memory.release(), owner);
}

}  // namespace

GivenFrame given_frame(const py::object& depth, const py::object& colour) {
  GivenFrame frame{given_array<DepthArray>("depth", depth, kDepthShape), {}};
  if (!colour.is_none()) frame.colour = given_array<ColourArray>("colour", colour, kColourShape);
  return frame;
}

py::tuple read_frame(const FramePlace& place) {
  DepthArray depth = new_array<float>(kDepthShape, tools::kFramePixels);
  py::object colour = py::none();
  float* const metres = depth.mutable_data();
  unsigned char* bgr = nullptr;
  if (!place.colour.empty()) {
    ColourArray array = new_array<unsigned char>(kColourShape, tools::kFramePixels * 3);
    bgr = array.mutable_data();
    colour = std::move(array);
  }
  const tools::Intrinsics intrinsics = call_library(
      "the frame '" + place.depth + "'", [&] { return decode_frame(place, metres, bgr); });
  return py::make_tuple(std::move(depth), std::move(colour), tuple_of(intrinsics));
}

Moment moment_of(const std::string& stamp) {
  const std::optional<Moment> moment = tools::parse_moment(stamp);
  if (!moment) raise_error("ArgumentError", "'" + stamp + "' is no time from 1970 on");
  return *moment;
}

py::tuple tuple_of(const tools::Intrinsics& intrinsics) {
  return py::make_tuple(intrinsics.a11, intrinsics.a22, intrinsics.cx, intrinsics.cy);
}

}  // namespace depth_io::python
