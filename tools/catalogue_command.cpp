#include "tools/catalogue_command.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "tools/recording/catalogue_files.h"
#include "tools/system/failure.h"
#include "tools/system/json_text.h"
#include "tools/system/library_log.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

struct CatalogueArguments {
  std::string directory;
  bool json = false;
  bool verbose = false;
};

int list_entries(const CatalogueArguments& arguments) {
  LibraryLog log(arguments.verbose);
  const int sub_directories = write_catalogue(arguments.directory, log);
  if (arguments.json) {
    const JsonMemory memory;
    nlohmann::ordered_json root;
    root["directory"] = arguments.directory;
    root["sub_directories"] = sub_directories;
    write_data("%s\n", json_text(root).c_str());
  } else {
    write_data("listed     %d sub-directories with frames in %s\n", sub_directories,
               arguments.directory.c_str());
  }
  return kGood;
}

}  // namespace

std::function<int()> add_catalogue_command(CLI::App& program) {
  auto arguments = std::make_shared<CatalogueArguments>();
  CatalogueArguments& a = *arguments;
  CLI::App& command = *program.add_subcommand(
      "catalogue",
      "Lists the frames of each sub-directory by time: list.txt in it, infoNAME.txt and info.txt "
      "beside it; playback of numbered sub-directories by the library reads them");
  command.add_option("DIR", a.directory, "Directory of the recording")->required();
  command.add_flag("--json", a.json, "Print JSON instead of a line");
  command.add_flag("--verbose", a.verbose, "Show what the library says");
  return [arguments] { return list_entries(*arguments); };
}

}  // namespace depth_io::tools
