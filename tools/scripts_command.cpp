#include "tools/scripts_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>

#include "catalogue/catalogue.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/library_log.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

struct ScriptArguments {
  std::string directory;
  int count = 0;
  bool verbose = false;
};

constexpr int kMostSubDirectories = 1000000;
constexpr char kCreateScript[] = "batch_create_empty_sub_dir.sh";
constexpr char kReadScript[] = "batch_read_sub_dir.sh";

void check(const ScriptArguments& arguments) {
  if (arguments.directory.empty()) throw UsageFailure("DIR must name a directory");
  if (arguments.count < 1 || arguments.count > kMostSubDirectories) {
    throw UsageFailure("N must be from 1 to 1000000 sub-directories");
  }
}

/// The library does not tell when a script could not be written: look for all of its lines.
void check_script(const char* name, const std::string& first_line, long lines) {
  constexpr std::size_t kSizeLimit = std::size_t{1} << 28U;
  const std::optional<std::string> text = read_regular_file(name, kSizeLimit);
  if (!text || !text->starts_with(first_line + "\n") ||
      std::count(text->begin(), text->end(), '\n') != lines) {
    throw Failure(std::string("'") + name + "' could not be written");
  }
}

int write_scripts(ScriptArguments arguments) {
  check(arguments);
  if (arguments.directory.find_first_of(" \t\n\"'\\$`*?;&|<>(){}[]~#!") != std::string::npos) {
    write_message(
        "the directory stands in the scripts as it is, and the shell will not take it "
        "as one word");
  }
  LibraryLog log(arguments.verbose);
  CreateSubDirBatch(arguments.directory.data(), arguments.count);
  ReadSubDirBatch_part1(arguments.directory.data(), arguments.count);
  const std::string& directory = arguments.directory;
  const long extra = std::count(directory.begin(), directory.end(), '\n');
  check_script(kCreateScript, "mkdir " + directory, arguments.count + 2L + 2 * extra);
  check_script(kReadScript, "cd " + directory, 3L * arguments.count + 1 + extra);
  write_data("%s\n%s\n", kCreateScript, kReadScript);
  return kGood;
}

int write_summaries(ScriptArguments arguments) {
  check(arguments);
  LibraryLog log(arguments.verbose);
  ReadSubDirBatch_part2(arguments.directory.data(), arguments.count);
  if (log.key_waits() > 0) {
    log.show_last_lines();
    throw Failure("a summary in '" + arguments.directory + "' could not be written");
  }
  const int found = ReadNbSubDir(arguments.directory.data(), arguments.count);
  write_data("summarised %d sub-directories in %s\n", found, arguments.directory.c_str());
  if (found > 0) return kGood;
  write_message("no sub-directory has an 'ls.txt' with names; run %s first", kReadScript);
  return kFailed;
}

std::shared_ptr<ScriptArguments> add_arguments(CLI::App& command) {
  auto arguments = std::make_shared<ScriptArguments>();
  command.add_option("DIR", arguments->directory, "Directory of the recording")->required();
  command.add_option("N", arguments->count, "Number of sub-directories")->required();
  command.add_flag("--verbose", arguments->verbose, "Show what the library says");
  return arguments;
}

}  // namespace

std::function<int()> add_scripts_command(CLI::App& program) {
  CLI::App& command = *program.add_subcommand(
      "scripts",
      "Writes two shell scripts into the current directory: one makes DIR and N numbered "
      "sub-directories, the other has each of them list its frames into ls.txt");
  return [arguments = add_arguments(command)] { return write_scripts(*arguments); };
}

std::function<int()> add_summaries_command(CLI::App& program) {
  CLI::App& command = *program.add_subcommand(
      "summaries",
      "Writes fresumeNUMBER.txt for each ls.txt of the sub-directories: first and last frame");
  return [arguments = add_arguments(command)] { return write_summaries(*arguments); };
}

}  // namespace depth_io::tools
