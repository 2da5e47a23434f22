#pragma once

#include <functional>
#include <vector>

namespace CLI {
class App;
}

namespace depth_io::tools {

/// Name, version and commands of depthrw, as its arguments, its manual page and its completions
/// want them. What runs each command stands in the order of `program`'s subcommands.
[[nodiscard]] std::vector<std::function<int()>> describe_program(CLI::App& program);

}  // namespace depth_io::tools
