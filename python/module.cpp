#include "python/bindings.h"
#include "python/library_call.h"

PYBIND11_MODULE(_native, module) {
  module.doc() = "What camera_depth_rw does in C++; use the package camera_depth_rw instead.";
  module.attr("version") = DEPTHRW_VERSION;
  depth_io::python::take_console();
  depth_io::python::add_frame_functions(module);
  depth_io::python::add_recording_class(module);
  depth_io::python::add_recorder_class(module);
}
