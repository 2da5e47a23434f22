#include "tools/catalogue_command.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "catalogue/catalogue.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/library_log.h"
#include "tools/output.h"

namespace depth_io::tools {
namespace {

struct CatalogueArguments {
  std::string directory;
  bool json = false;
  bool verbose = false;
};

/// The listing does not tell when its files could not be written.
void check_written(const std::string& directory, int sub_directories) {
  const std::string path = directory + "/info.txt";
  const std::string expected = format_text("nb_sub_dir %d\n", sub_directories);
  constexpr std::size_t kSizeLimit = 4096;
  if (read_regular_file(path, kSizeLimit) != expected) {
    throw Failure("'" + path + "' could not be written");
  }
}

int list_entries(const CatalogueArguments& arguments) {
  std::error_code error;
  if (!std::filesystem::is_directory(arguments.directory, error)) {
    throw Failure("there is no directory '" + arguments.directory + "'");
  }
  LibraryLog log(arguments.verbose);
  const int sub_directories = ListEntriesInDir(arguments.directory.c_str());
  if (log.key_waits() > 0) {
    log.show_last_lines();
    throw Failure("a name in '" + arguments.directory + "' could not be understood");
  }
  check_written(arguments.directory, sub_directories);
  if (arguments.json) {
    nlohmann::ordered_json root;
    root["directory"] = arguments.directory;
    root["sub_directories"] = sub_directories;
    const std::string text = root.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
    write_data("%s\n", text.c_str());
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
