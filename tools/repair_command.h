#pragma once

#include <CLI/App.hpp>
#include <functional>

namespace depth_io::tools {

/// Adds `depthrw repair` to the program; the result runs it and gives the exit status.
std::function<int()> add_repair_command(CLI::App& program);

}  // namespace depth_io::tools
