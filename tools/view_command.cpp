#include "tools/view_command.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>

#include "tools/system/failure.h"
#include "tools/system/interruption.h"
#include "tools/system/output.h"
#include "tools/viewer/terminal_program.h"
#include "tools/viewer/viewer_server.h"

namespace depth_io::tools {
namespace {

struct ViewArguments {
  std::string directory;
  std::string address = "127.0.0.1";
  std::string exports = ".";
  int port = 0;
  bool open = false;
};

std::string existing_directory(const std::string& directory) {
  std::error_code error;
  const auto path = std::filesystem::canonical(directory, error);
  if (error || !std::filesystem::is_directory(path, error)) {
    throw Failure("there is no directory '" + directory + "' for exports");
  }
  return path.string();
}

int view(const ViewArguments& arguments) {
  ViewerSettings settings;
  settings.directory = arguments.directory;
  settings.address = arguments.address;
  settings.port = arguments.port;
  settings.exports = existing_directory(arguments.exports);
  settings.export_program = "/proc/self/exe";
  ViewerServer server(settings);
  tell_troubles(server.recording());
  server.start();
  const std::string address = server.page_address();
  write_data("%s\n", address.c_str());
  flush_data();
  write_message("%zu frames of '%s' are shown at this address until Ctrl-C", server.frame_count(),
                arguments.directory.c_str());
  if (!is_loopback(arguments.address)) {
    write_message("everyone who knows the address and reaches this machine can see them");
  }
  if (arguments.open && !start_detached({"xdg-open", address})) {
    write_message("no browser could be opened: there is no 'xdg-open'");
  }
  constexpr double kSlice = 3600;
  while (!interrupted()) {
    sleep_until(monotonic_seconds() + kSlice);
    take_trigger();  // means nothing here, but would end each sleep at once
  }
  server.finish();
  return kGood;
}

}  // namespace

std::function<int()> add_view_command(CLI::App& program) {
  auto arguments = std::make_shared<ViewArguments>();
  ViewArguments& a = *arguments;
  CLI::App& command = *program.add_subcommand("view",
                                              "Shows a recording in the browser: prints the "
                                              "address of a page on this machine and serves it "
                                              "until Ctrl-C");
  command.add_option("DIR", a.directory, "Directory of the recording")->required();
  constexpr int kMostPort = 65535;
  command.add_option("--port", a.port, "Port of the page (default: any free one)")
      ->check(CLI::Range(0, kMostPort));
  command
      .add_option("--listen", a.address,
                  "Address to listen on; others than the default let other machines see the page")
      ->capture_default_str();
  command.add_flag("--open", a.open, "Open the page in the browser (xdg-open)");
  command.add_option("--exports", a.exports, "Directory in which the page's exports are made")
      ->capture_default_str();
  return [arguments] { return view(*arguments); };
}

}  // namespace depth_io::tools
