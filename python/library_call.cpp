#include "python/library_call.h"

#include <cstdio>

#include "codec/console.h"

namespace depth_io::python {
namespace {

namespace py = pybind11;

thread_local Diagnostics* listener = nullptr;

void hear(void* /*context*/, const char* text, std::size_t length) {
  if (listener != nullptr) {
    listener->add(text, length);
  } else {
    // Another part of the process uses the library by itself.
    std::fwrite(text, 1, length, stderr);
  }
}

void pass_over_key(void* /*context*/) {
  if (listener != nullptr) listener->want_key();
}

}  // namespace

void Diagnostics::add(const char* text, std::size_t length) {
  constexpr std::size_t kLongestLine = 1400;
  for (std::size_t i = 0; i < length; ++i) {
    if (text[i] == '\n') {
      end_line();
    } else if (line_.size() < kLongestLine) {
      line_.push_back(text[i]);
    }
  }
}

void Diagnostics::end_line() {
  constexpr std::size_t kKeptLines = 200;
  lines_.push_back(line_);
  if (lines_.size() > kKeptLines) lines_.pop_front();
  line_.clear();
}

std::vector<std::string> Diagnostics::lines() const {
  std::vector<std::string> all(lines_.begin(), lines_.end());
  if (!line_.empty()) all.push_back(line_);
  return all;
}

Listening::Listening(Diagnostics& diagnostics) : outer_(listener) { listener = &diagnostics; }
Listening::~Listening() { listener = outer_; }

void take_console() {
  set_print_handler(hear, nullptr);
  set_key_wait_handler(pass_over_key, nullptr);
}

py::object python_text(const std::string& text) {
  PyObject* const decoded =
      PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "backslashreplace");
  if (decoded == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::object>(decoded);
}

namespace {

py::list texts_of(const Diagnostics& said) {
  py::list texts;
  for (const std::string& line : said.lines()) texts.append(python_text(line));
  return texts;
}

}  // namespace

void send_to_logging(const Diagnostics& said) {
  const py::list texts = texts_of(said);
  if (!texts.empty()) py::module_::import("camera_depth_rw._diagnostics").attr("log_lines")(texts);
}

void raise_error(const char* exception, const std::string& message, const Diagnostics& said) {
  send_to_logging(said);
  const py::module_ errors = py::module_::import("camera_depth_rw._errors");
  const py::object type = errors.attr(exception);
  const py::object error = errors.attr("explained")(type, python_text(message), texts_of(said));
  PyErr_SetObject(type.ptr(), error.ptr());
  throw py::error_already_set();
}

}  // namespace depth_io::python
