#include <CLI/CLI.hpp>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <new>
#include <utility>
#include <vector>

#include "tools/program.h"
#include "tools/system/failure.h"
#include "tools/system/interruption.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

/// The parser says no more of it than that a command is missing. Null when the first word is good.
const char* first_word_that_is_no_command(const CLI::App& program, int argc, char** argv) {
  if (argc < 2) return nullptr;
  const std::string word = argv[1];
  const auto is_meant = [&](const CLI::App* command) { return command->check_name(word); };
  if (!program.get_subcommands(is_meant).empty()) return nullptr;
  return program.get_option_no_throw(word) == nullptr ? argv[1] : nullptr;
}

int run_program(int argc, char** argv) {
  CLI::App program;
  const std::vector<std::function<int()>> commands = describe_program(program);
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const bool is_help = error.get_exit_code() == 0;
    if (const char* const word = first_word_that_is_no_command(program, argc, argv)) {
      write_message("there is no command or option '%s'; depthrw --help lists them", word);
      return kUsage;
    }
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

/// Ends the program where an exception cannot be caught: some functions of the libraries below let
/// none out, not even when memory is short.
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
