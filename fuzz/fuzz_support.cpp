#include "fuzz/fuzz_support.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "codec/console.h"

namespace depth_io::fuzz {
namespace {

std::size_t line_count = 0;

}  // namespace

std::uint8_t Input::byte() {
  if (rest_.empty()) return 0;
  const auto first = static_cast<std::uint8_t>(rest_.front());
  rest_.remove_prefix(1);
  return first;
}

int Input::integer() {
  std::uint32_t value = 0;
  for (int shift = 0; shift < 32; shift += 8) value |= std::uint32_t{byte()} << shift;
  return static_cast<int>(value);
}

float Input::real() {
  const int bits = integer();
  float value = 0.0F;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

std::string_view Input::take(std::size_t size) {
  const std::string_view first = rest_.substr(0, size);
  rest_.remove_prefix(first.size());
  return first;
}

std::string_view Input::part() {
  const std::size_t low = byte();
  return take(low + std::size_t{256} * byte());
}

ScratchDirectory::ScratchDirectory() {
  const bool in_memory = access("/dev/shm", W_OK) == 0;
  path_ = in_memory ? "/dev/shm/camera_depth_rw_fuzz_XXXXXX" : "/tmp/camera_depth_rw_fuzz_XXXXXX";
  if (mkdtemp(path_.data()) == nullptr) std::abort();
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void ScratchDirectory::clear() const {
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(path_)) {
    std::filesystem::remove_all(entry.path(), ignored);
  }
}

void write_file(const std::string& path, std::string_view bytes) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_NOFOLLOW, 0600);
  if (file < 0) return;
  while (!bytes.empty()) {
    const auto written = write(file, bytes.data(), bytes.size());
    if (written <= 0) break;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  close(file);
}

std::size_t printed_lines() { return line_count; }

void require(bool holds, const char* promise) {
  if (holds) return;
  std::fprintf(stderr, "NOT KEPT: %s\n", promise);
  std::abort();
}

}  // namespace depth_io::fuzz

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  depth_io::set_print_handler(
      [](void* /*context*/, const char* text, std::size_t length) {
        depth_io::fuzz::line_count +=
            static_cast<std::size_t>(std::count(text, text + length, '\n'));
      },
      nullptr);
  depth_io::set_key_wait_handler([](void* /*context*/) {}, nullptr);
  return 0;
}
