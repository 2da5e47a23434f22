#include "tools/program.h"

#include <CLI/CLI.hpp>

#include "tools/camera_command.h"
#include "tools/catalogue_command.h"
#include "tools/dump_command.h"
#include "tools/export/export_command.h"
#include "tools/info_command.h"
#include "tools/play_command.h"
#include "tools/record_command.h"
#include "tools/repair_command.h"
#include "tools/scripts_command.h"
#include "tools/verify_command.h"
#if defined(DEPTHRW_HAS_VIEWER)
#include "tools/view_command.h"
#endif

namespace depth_io::tools {

std::vector<std::function<int()>> describe_program(CLI::App& program) {
  program.name("depthrw");
  program.description("Records, plays back and verifies the frames of a depth camera.");
  program.set_version_flag("--version", "depthrw " DEPTHRW_VERSION);
  program.require_subcommand(1);
  program.footer(
      "Exit status: 0 good, 1 failed, 2 wrong arguments, 3 partly done.\n"
      "depthrw COMMAND --help tells about a command.");
  return {
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
}

}  // namespace depth_io::tools
