// Writes the manual page and the completions of depthrw, made from its argument definitions.
// Usage: depthrw_reference DIRECTORY

#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>
#include <string>

#include "tools/program.h"
#include "tools/reference/command_text.h"

namespace {

bool write_text(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) std::fprintf(stderr, "'%s' cannot be written\n", path.c_str());
  return !file.fail();
}

}  // namespace

int main(int argc, char** argv) {
  using namespace depth_io::tools;
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
    return 2;
  }
  const std::string directory = std::string(argv[1]) + "/";
  CLI::App program;
  const auto commands = describe_program(program);  // what the definitions refer to
  const ProgramText text = describe(program);
  const bool written = write_text(directory + "depthrw.1", manual_page(text)) &&
                       write_text(directory + "depthrw.bash", bash_completion(text)) &&
                       write_text(directory + "_depthrw", zsh_completion(text)) &&
                       write_text(directory + "depthrw.fish", fish_completion(text));
  return written ? 0 : 1;
}
