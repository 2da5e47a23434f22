#include "tools/recording/catalogue_files.h"

#include <filesystem>

#include "catalogue/catalogue.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

/// The listing does not tell when its files could not be written.
void check_written(const std::string& directory, int sub_directories) {
  const std::string path = directory + "/info.txt";
  const std::string expected = format_text("nb_sub_dir %d\n", sub_directories);
  constexpr std::size_t kSizeLimit = 4096;
  if (read_regular_file(path, kSizeLimit) != expected) {
    throw Failure("'" + path + "' could not be written");
  }
}

}  // namespace

int write_catalogue(const std::string& directory, LibraryLog& log) {
  std::error_code error;
  if (!std::filesystem::is_directory(directory, error)) {
    throw Failure("there is no directory '" + directory + "'");
  }
  log.start_operation();
  const int sub_directories = ListEntriesInDir(directory.c_str());
  if (log.key_waits() > 0) {
    log.show_last_lines();
    throw Failure("a name in '" + directory + "' could not be understood");
  }
  if (log.tells_errors()) {
    log.show_last_lines();
    throw Failure("'" + directory + "' could not be listed completely");
  }
  check_written(directory, sub_directories);
  return sub_directories;
}

}  // namespace depth_io::tools
