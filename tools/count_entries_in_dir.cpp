#include <csignal>
#include <cstdio>

#include "catalogue/catalogue.h"
#include "codec/console.h"
#include "tools/system/output.h"

/// Lists a recording's directory; a tool for scripts, so it never waits for a key.
int main(int argc, char** argv) {
  depth_io::tools::occupy_standard_descriptors();
  std::signal(SIGPIPE, SIG_IGN);
  depth_io::set_key_wait_handler([](void*) {}, nullptr);
  const int status = countEntriesInDir_main(argc, argv);
  if (depth_io::tools::data_was_written()) return status;
  std::fputs("countEntriesInDir: standard output could not be written\n", stderr);
  return 1;
}
