#pragma once

#include <pybind11/pybind11.h>

/// The parts of the extension module `camera_depth_rw._native`.
namespace depth_io::python {

void add_frame_functions(pybind11::module_& module);
void add_recording_class(pybind11::module_& module);
void add_recorder_class(pybind11::module_& module);

}  // namespace depth_io::python
