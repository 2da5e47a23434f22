#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace depth_io::test {

/// What a piece of code printed on standard output, and how many keys it took.
struct ConsoleTrace {
  std::string output;
  int keys = 0;
};

/// Redirects standard output to a file and standard input to a pipe of `kKeys` key presses, so that
/// every printed byte and every pause can be asserted. Standard input is unbuffered: what is left
/// in the pipe was not taken.
class ConsoleCapture {
 public:
  static constexpr int kKeys = 4000;

  ConsoleCapture() {
    std::fflush(stdout);
    output_file_ = std::tmpfile();
    saved_output_ = dup(STDOUT_FILENO);
    dup2(fileno(output_file_), STDOUT_FILENO);
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    const std::string keys(kKeys, 'k');
    if (write(ends[1], keys.data(), keys.size()) != kKeys) std::abort();
    close(ends[1]);
    saved_input_ = dup(STDIN_FILENO);
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    std::setvbuf(stdin, nullptr, _IONBF, 0);
    std::clearerr(stdin);
  }

  ~ConsoleCapture() {
    if (!stopped_) stop();
  }
  ConsoleCapture(const ConsoleCapture&) = delete;
  ConsoleCapture& operator=(const ConsoleCapture&) = delete;

  /// Ends the capture and tells what happened.
  ConsoleTrace stop() {
    stopped_ = true;
    std::fflush(stdout);
    ConsoleTrace trace;
    int left = 0;
    char key = 0;
    while (read(STDIN_FILENO, &key, 1) == 1) ++left;
    trace.keys = kKeys - left;
    dup2(saved_input_, STDIN_FILENO);
    close(saved_input_);
    dup2(saved_output_, STDOUT_FILENO);
    close(saved_output_);
    std::rewind(output_file_);
    char piece[4096];
    for (std::size_t n = 0; (n = std::fread(piece, 1, sizeof piece, output_file_)) > 0;) {
      trace.output.append(piece, n);
    }
    std::fclose(output_file_);
    return trace;
  }

 private:
  std::FILE* output_file_ = nullptr;
  int saved_output_ = -1;
  int saved_input_ = -1;
  bool stopped_ = false;
};

/// Runs `code` with the console captured.
template <typename Code>
ConsoleTrace capture_console(Code&& code) {
  ConsoleCapture capture;
  code();
  return capture.stop();
}

/// Runs `code` with the console captured and gives its result.
template <typename Code>
auto quietly(Code&& code) {
  ConsoleCapture capture;
  return code();
}

/// The console's text and keys, and the result of the code that caused them.
template <typename Result>
struct Outcome {
  Result result{};
  std::string output;
  int keys = 0;
};

template <typename Code>
auto observe(Code&& code) {
  ConsoleCapture capture;
  auto result = code();
  ConsoleTrace trace = capture.stop();
  return Outcome<decltype(result)>{result, std::move(trace.output), trace.keys};
}

/// A writable copy of a text, for parameters of type `char*`.
class Text {
 public:
  Text(const char* text) : text_(text) {}             // NOLINT: converts on purpose
  Text(std::string text) : text_(std::move(text)) {}  // NOLINT: converts on purpose
  operator char*() { return text_.data(); }           // NOLINT: converts on purpose
  const std::string& str() const { return text_; }

 private:
  std::string text_;
};

}  // namespace depth_io::test
