#pragma once

#include <pybind11/pybind11.h>

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "tools/system/failure.h"

/// How this module calls the library: without the interpreter's lock, and with an ear for what the
/// library says.
namespace depth_io::python {

/// What the library says during one call, and how often it wants a key. The newest lines are kept.
class Diagnostics {
 public:
  void add(const char* text, std::size_t length);
  void want_key() { ++key_waits_; }

  /// How often the library wanted a key: it does so when something is wrong.
  int key_waits() const { return key_waits_; }
  std::vector<std::string> lines() const;

 private:
  void end_line();

  std::deque<std::string> lines_;
  std::string line_;
  int key_waits_ = 0;
};

/// Collects what the library says on this thread. The interpreter is not called meanwhile, so the
/// library may say something with or without its lock, and nothing can lock up.
class Listening {
 public:
  explicit Listening(Diagnostics& diagnostics);
  ~Listening();
  Listening(const Listening&) = delete;
  Listening& operator=(const Listening&) = delete;

 private:
  Diagnostics* outer_;
};

/// Takes the library's console for the life of the process: text goes to whoever listens on its
/// thread, or else to standard error; waits for a key end at once.
void take_console();

/// As a Python text; bytes that are no UTF-8, as names of files may have, are escaped.
pybind11::object python_text(const std::string& text);

/// Sends what was said to the module's logger. Wants the interpreter's lock.
void send_to_logging(const Diagnostics& said);

/// Throws the Python exception of that name, which has a message and what the library said.
[[noreturn]] void raise_error(const char* exception, const std::string& message,
                              const Diagnostics& said = {});

/// Runs `work` without the interpreter's lock and returns its result; what the library says goes to
/// logging. A `Failure`, and a wait for a key, become `StorageError`, a `UsageFailure` becomes
/// `ArgumentError`. `what` begins the message: "frame 7", for example.
template <typename Work>
auto call_library(const std::string& what, Work work) {
  Diagnostics said;
  const auto run = [&] {
    const pybind11::gil_scoped_release unlocked;
    const Listening listening(said);
    return work();
  };
  const auto run_or_raise = [&] {
    try {
      return run();
    } catch (const tools::UsageFailure& failure) {
      raise_error("ArgumentError", failure.what(), said);
    } catch (const tools::Failure& failure) {
      raise_error("StorageError", failure.what(), said);
    }
  };
  auto result = run_or_raise();
  if (said.key_waits() > 0) raise_error("StorageError", what + " is not as it should be", said);
  send_to_logging(said);
  return result;
}

}  // namespace depth_io::python
