#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/fuzz_support.h"

// Runs every file of the corpus directories given on the command line through the target: a corpus
// is a test also where there is no fuzzer.

namespace {

std::vector<std::filesystem::path> files_below(const char* directory) {
  std::vector<std::filesystem::path> files;
  std::error_code error;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory, error)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

void replay(const std::filesystem::path& path) {
  std::printf("%s\n", path.c_str());
  std::fflush(stdout);
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  // A copy of exactly the input's size: reading past it is then noticed.
  const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  LLVMFuzzerInitialize(&argc, &argv);
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s corpus-directory...\n", argv[0]);
    return 2;
  }
  for (int i = 1; i < argc; ++i) {
    const auto files = files_below(argv[i]);
    if (files.empty()) {
      std::fprintf(stderr, "no inputs in '%s'\n", argv[i]);
      return 1;
    }
    for (const auto& file : files) replay(file);
  }
  return 0;
}
