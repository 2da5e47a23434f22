#pragma once

#include <CLI/App.hpp>
#include <functional>

namespace depth_io::tools {

/// Adds `depthrw scripts` to the program; the result runs it and gives the exit status.
std::function<int()> add_scripts_command(CLI::App& program);

/// Adds `depthrw summaries`, which belongs to it.
std::function<int()> add_summaries_command(CLI::App& program);

}  // namespace depth_io::tools
