#include <CLI/CLI.hpp>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <new>
#include <utility>
#include <vector>

#include "tools/camera_command.h"
#include "tools/catalogue_command.h"
#include "tools/dump_command.h"
#include "tools/export/export_command.h"
#include "tools/failure.h"
#include "tools/info_command.h"
#include "tools/interruption.h"
#include "tools/output.h"
#include "tools/play_command.h"
#include "tools/record_command.h"
#include "tools/repair_command.h"
#include "tools/scripts_command.h"
#include "tools/verify_command.h"
#if defined(DEPTHRW_HAS_VIEWER)
#include "tools/view_command.h"
#endif

namespace depth_io::tools {
namespace {

int run_program(int argc, char** argv) {
  CLI::App program("Records, plays back and verifies the frames of a depth camera.", "depthrw");
  program.set_version_flag("--version", "depthrw " DEPTHRW_VERSION);
  program.require_subcommand(1);
  program.footer(
      "Exit status: 0 good, 1 failed, 2 wrong arguments, 3 partly done.\n"
      "depthrw COMMAND --help tells about a command.");
  const std::vector<std::function<int()>> commands = {
      add_record_command(program),  add_play_command(program),      add_verify_command(program),
      add_info_command(program),    add_catalogue_command(program), add_dump_command(program),
      add_scripts_command(program), add_summaries_command(program), add_export_command(program),
      add_repair_command(program),
#ifdef DEPTHRW_HAS_OPENNI
      add_camera_command(program),
#endif
#ifdef DEPTHRW_HAS_VIEWER
      add_view_command(program),
#endif
  };
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
