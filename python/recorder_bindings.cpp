#include <pybind11/stl.h>

#include "python/arguments.h"
#include "python/bindings.h"
#include "python/library_call.h"
#include "python/stamped_recorder.h"
#include "tools/frame/frame_time.h"

namespace depth_io::python {
namespace {

namespace py = pybind11;

/// Why a frame was recorded, or not.
const char* name_of(tools::Decision decision) {
  switch (decision) {
    case tools::Decision::kMotion:
      return "motion";
    case tools::Decision::kPeriod:
      return "period";
    case tools::Decision::kRequest:
      return "request";
    case tools::Decision::kTooSoon:
      return "too soon";
    case tools::Decision::kNotAsked:
      break;
  }
  return "not asked";
}

std::unique_ptr<StampedRecorder> open_recorder(
    const std::string& directory, const std::string& layout, int per_directory, int history,
    int camera_type, std::optional<double> motion, std::optional<long> period,
    std::optional<double> max_fps, bool colour, std::optional<double> max_depth, bool verify) {
  const RecorderSettings settings{directory,     tools::layout_named(layout).value(),
                                  per_directory, history,
                                  camera_type,   motion,
                                  period,        max_fps,
                                  colour,        max_depth,
                                  verify};
  return call_library("the recorder", [&] { return std::make_unique<StampedRecorder>(settings); });
}

/// (whether it was recorded, why)
py::tuple add(StampedRecorder& recorder, const py::object& depth, const py::object& colour,
              const std::string& stamp, bool record) {
  const GivenFrame given = given_frame(depth, colour);
  const Moment moment = moment_of(stamp);
  const FramePixels pixels = given.pixels();
  const tools::Decision decision =
      call_library("the frame of " + tools::readable_text(moment),
                   [&] { return recorder.add(pixels, moment, record); });
  return py::make_tuple(tools::is_recorded(decision), name_of(decision));
}

long save_range(StampedRecorder& recorder, const std::string& start, const std::string& stop) {
  const Moment first = moment_of(start);
  const Moment last = moment_of(stop);
  return call_library("the range", [&] { return recorder.save_range(first, last); });
}

std::vector<std::string> history(const StampedRecorder& recorder) {
  return call_library("the history", [&] {
    std::vector<std::string> stamps;
    for (const Moment& moment : recorder.history()) stamps.push_back(tools::stamp_text(moment));
    return stamps;
  });
}

}  // namespace

void add_recorder_class(py::module_& module) {
  using namespace pybind11::literals;
  py::class_<StampedRecorder>(module, "StampedRecorder")
      .def(py::init(&open_recorder), "directory"_a, "layout"_a, "per_directory"_a, "history"_a,
           "camera_type"_a, "motion"_a, "period"_a, "max_fps"_a, "colour"_a, "max_depth"_a,
           "verify"_a)
      .def("add", add, "depth"_a, "colour"_a, "stamp"_a, "record"_a)
      .def("save_range", save_range, "start"_a, "stop"_a)
      .def("history", history)
      .def("close", &StampedRecorder::close, py::call_guard<py::gil_scoped_release>());
}

}  // namespace depth_io::python
