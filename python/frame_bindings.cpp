#include <pybind11/stl.h>

#include <array>

#include "python/arguments.h"
#include "python/bindings.h"
#include "python/frame_codec.h"
#include "python/library_call.h"
#include "tools/frame/frame_time.h"
#include "tools/recording/frame_files.h"

namespace depth_io::python {
namespace {

namespace py = pybind11;

/// (key, key first, number or -1, stamp or "") of the name of one of a frame's files; None for
/// another.
py::object frame_name(const std::string& name) {
  const std::optional<tools::FrameFile> file = tools::frame_file(name);
  if (!file) return py::none();
  tools::RecordedFrame frame;
  frame.key = file->key;
  if (!tools::understand_key(frame)) return py::none();
  return py::make_tuple(file->key, file->key_first, frame.number,
                        frame.moment ? frame.key : std::string());
}

/// Returns the name of the frame, without directory and ending.
std::string write_frame_files(const std::string& directory, const py::object& depth,
                              const py::object& colour, const std::string& stamp, int number,
                              int digits, bool key_first, const std::array<float, 4>& intrinsics,
                              std::optional<double> max_depth, bool verify) {
  const GivenFrame given = given_frame(depth, colour);
  const auto [a11, a22, cx, cy] = intrinsics;
  const FrameToWrite wanted{directory, key_first,          number, digits,
                            stamp,     {a11, a22, cx, cy}, verify};
  const FramePixels pixels = given.pixels();
  return call_library("the frame '" + wanted.name() + "'", [&] {
    tools::Frame frame;
    take_pixels(pixels, max_depth, frame);
    write_frame(wanted, frame);
    return wanted.name();
  });
}

}  // namespace

void add_frame_functions(py::module_& module) {
  using namespace pybind11::literals;
  module.def("frame_name", frame_name, "name"_a);
  const auto read_files = [](const std::string& depth, const std::string& colour) {
    return read_frame({depth, colour});
  };
  module.def("read_frame_files", read_files, "depth"_a, "colour"_a);
  module.def("write_frame_files", write_frame_files, "directory"_a, "depth"_a, "colour"_a,
             "stamp"_a, "number"_a, "digits"_a, "key_first"_a, "intrinsics"_a, "max_depth"_a,
             "verify"_a);
  module.def("stamp_of_now", [] { return tools::stamp_text(tools::local_time_now()); });
  const auto constants = [](int camera_type) {
    return tuple_of(tools::intrinsics_of(camera_type));
  };
  module.def("camera_intrinsics", constants, "camera_type"_a);
}

}  // namespace depth_io::python
