#include <CLI/CLI.hpp>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <new>
#include <utility>
#include <vector>

#include "tools/failure.h"
#include "tools/interruption.h"
#include "tools/output.h"
#include "tools/program.h"

namespace depth_io::tools {
namespace {

int run_program(int argc, char** argv) {
  CLI::App program;
  const std::vector<std::function<int()>> commands = describe_program(program);
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const bool is_help = error.get_exit_code() == 0;
    program.exit(error, std::cout, std::cerr);
    std::cout.flush();
    return is_help ? kGood : kUsage;
  }
  const std::vector<CLI::App*> all = program.get_subcommands([](CLI::App*) { return true; });
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (all[i]->parsed()) return commands[i]();
  }
  return kUsage;
}

int run_guarded(int argc, char** argv) {
  try {
    return run_program(argc, argv);
  } catch (const Failure& failure) {
    write_message("%s", failure.what());
    return failure.status();
  } catch (const std::bad_alloc&) {
    write_message("there is not enough memory");
  } catch (const std::exception& error) {
    write_message("%s", error.what());
  }
  return kFailed;
}

/// Ends the program where an exception cannot be caught: the standard library's directory iterators
/// let none out, not even when memory is short.
[[noreturn]] void end_at_once() {
  write_message("stopped, most likely for lack of memory");
  std::_Exit(kFailed);
}

}  // namespace
}  // namespace depth_io::tools

int main(int argc, char** argv) {
  using namespace depth_io::tools;
  std::set_terminate(end_at_once);
  occupy_standard_descriptors();
  watch_signals();
  const int status = run_guarded(argc, argv);
  if (data_was_written()) return status;
  write_message("standard output could not be written");
  return kFailed;
}
