#pragma once

namespace depth_io::bench {

/// Adds processor, system, compiler and library versions to the results.
void describe_machine();

}  // namespace depth_io::bench
