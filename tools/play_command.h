#pragma once

#include <CLI/App.hpp>
#include <functional>

namespace depth_io::tools {

/// Adds `depthrw play` to the program; the result runs it and gives the exit status.
std::function<int()> add_play_command(CLI::App& program);

}  // namespace depth_io::tools
