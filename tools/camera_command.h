#pragma once

#include <CLI/App.hpp>
#include <functional>

namespace depth_io::tools {

/// Adds `depthrw camera`; the result runs it and returns its exit status.
std::function<int()> add_camera_command(CLI::App& program);

}  // namespace depth_io::tools
