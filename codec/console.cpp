#include "codec/console.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

namespace depth_io {
namespace {

void print_to_standard_output(void* /*context*/, const char* text, std::size_t length) {
  std::fwrite(text, 1, length, stdout);
}

void take_key_from_standard_input(void* /*context*/) {
  std::fflush(stdout);
  (void)std::getchar();
}

struct Console {
  PrintHandler print = print_to_standard_output;
  void* print_context = nullptr;
  KeyWaitHandler wait = take_key_from_standard_input;
  void* wait_context = nullptr;
};

Console& console() {
  static constinit Console instance;
  return instance;
}

void send(const char* text, std::size_t length) {
  console().print(console().print_context, text, length);
}

}  // namespace

void set_print_handler(PrintHandler handler, void* context) {
  console().print = handler != nullptr ? handler : print_to_standard_output;
  console().print_context = context;
}

void set_key_wait_handler(KeyWaitHandler handler, void* context) {
  console().wait = handler != nullptr ? handler : take_key_from_standard_input;
  console().wait_context = context;
}

void print(const char* format, ...) {
  // Long enough for two full paths; longer text takes the slow way through the heap.
  char text[1400];
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (length < 0) return;
  const auto size = static_cast<std::size_t>(length);
  if (size < sizeof text) {
    send(text, size);
    return;
  }
  const std::unique_ptr<char[]> long_text(new (std::nothrow) char[size + 1]);
  if (long_text == nullptr) {
    send(text, sizeof text - 1);
    return;
  }
  va_start(arguments, format);
  std::vsnprintf(long_text.get(), size + 1, format, arguments);
  va_end(arguments);
  send(long_text.get(), size);
}

void print_line(const char* text) {
  char line[128];
  const std::size_t length = std::strlen(text);
  if (length + 1 > sizeof line) {
    print("%s\n", text);
    return;
  }
  std::memcpy(line, text, length);
  line[length] = '\n';
  send(line, length + 1);
}

void print_whole_line(std::string_view line) { send(line.data(), line.size()); }

void wait_for_key() { console().wait(console().wait_context); }

void print_line_and_wait(const char* text) {
  print_line(text);
  wait_for_key();
}

}  // namespace depth_io
