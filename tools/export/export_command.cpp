#include "tools/export/export_command.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "tools/export/export_run.h"

namespace depth_io::tools {

std::function<int()> add_export_command(CLI::App& program) {
  auto arguments = std::make_shared<ExportArguments>();
  ExportArguments& a = *arguments;
  CLI::App& command = *program.add_subcommand(
      "export",
      "Writes the frames of a recording for other programs. A run that was cut short goes on where "
      "it was; files that are whole are kept");
  command.add_option("DIR", a.directory, "Directory of the recording")->required();
  command
      .add_option("--to", a.format,
                  "tum: 16-bit PNG and colour named by seconds, with lists; png: the same in "
                  "millimetres, named as recorded; open3d: with its intrinsic.json; ply: point "
                  "clouds; video: lossless depth and colour in one Matroska file; csv: a line a "
                  "frame")
      ->type_name("{tum,png,open3d,ply,video,csv}")
      ->required();
  command.add_option("--out", a.out, "Directory to write; for csv also - (standard output)")
      ->required();
  add_time_range_options(command, a.range);
  command.add_option("--stride", a.stride, "Only each so many-th frame")->capture_default_str();
  command.add_option("--jobs", a.jobs, "Threads (default: one for each processor)");
  command.add_option("--depth-scale", a.depth_scale,
                     "Units per metre of depth images: tum (default: 5000) and png (1000)");
  command
      .add_option("--colour", a.colour,
                  "Colour images of tum, png and open3d: png (default), jpg (smaller, with some "
                  "loss) or none")
      ->type_name("{png,jpg,none}");
  command
      .add_option("--axes", a.axes,
                  "Of point clouds: camera (default; x right, y down, z forward) or gl (x "
                  "right, y up, z backward)")
      ->type_name("{camera,gl}");
  command.add_flag("--swap-principal-point", a.swap_principal_point,
                   "The recording holds its principal point column first, as those of camera type "
                   "0 do");
  command.add_option("--fps", a.fps,
                     "Frames per second where the recording tells no times (default: 30)");
  command.add_flag("--overwrite", a.overwrite, "Remove the export that is there first");
  command.add_flag("--json", a.json, "Print the export's description instead of a summary");
  command.add_flag("--verbose", a.verbose, "Show what the library says");
  return [arguments] { return export_recording(*arguments); };
}

}  // namespace depth_io::tools
