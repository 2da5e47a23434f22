#include <pybind11/stl.h>

#include "codec/frame_names.h"
#include "python/arguments.h"
#include "python/bindings.h"
#include "python/library_call.h"
#include "tools/frame/frame_time.h"
#include "tools/recording/recording.h"

namespace depth_io::python {
namespace {

namespace py = pybind11;

/// The frames of a recording's directory, found once. It does not change, so threads share it.
class RecordingFiles {
 public:
  explicit RecordingFiles(const std::string& directory) : recording_(directory) {}

  std::size_t size() const { return recording_.frames().size(); }
  std::string layout() const { return recording_.layout(); }

  py::list troubles() const {
    py::list texts;
    for (const std::string& trouble : recording_.troubles()) texts.append(python_text(trouble));
    return texts;
  }

  std::string name(std::size_t index) const { return at(index).depth_name(); }

  std::optional<int> number(std::size_t index) const {
    const tools::RecordedFrame& frame = at(index);
    return frame.moment ? std::optional<int>() : frame.number;
  }

  /// Stamp texts of all frames; None where a time is not known.
  std::vector<std::optional<std::string>> stamps() const {
    std::vector<std::optional<std::string>> all;
    all.reserve(size());
    for (const tools::RecordedFrame& frame : recording_.frames()) {
      const std::optional<Moment> moment = recording_.time_of(frame);
      all.push_back(moment ? std::optional(tools::stamp_text(*moment)) : std::nullopt);
    }
    return all;
  }

  FramePlace place(std::size_t index, bool with_colour) const {
    const tools::RecordedFrame& frame = at(index);
    const std::string directory = recording_.directory() + "/";
    const bool has_colour = with_colour && frame.has_colour;
    return {directory + frame.depth_name(),
            has_colour ? directory + frame.colour_name() + kJpegEnding : std::string()};
  }

 private:
  const tools::RecordedFrame& at(std::size_t index) const { return recording_.frames().at(index); }

  tools::Recording recording_;
};

std::unique_ptr<RecordingFiles> open_recording_files(const std::string& directory) {
  return call_library("the recording '" + directory + "'",
                      [&] { return std::make_unique<RecordingFiles>(directory); });
}

}  // namespace

void add_recording_class(py::module_& module) {
  using namespace pybind11::literals;
  py::class_<RecordingFiles>(module, "RecordingFiles")
      .def(py::init(&open_recording_files), "directory"_a)
      .def("__len__", &RecordingFiles::size)
      .def_property_readonly("layout", &RecordingFiles::layout)
      .def_property_readonly("troubles", &RecordingFiles::troubles)
      .def("name", &RecordingFiles::name, "index"_a)
      .def("number", &RecordingFiles::number, "index"_a)
      .def("stamps", &RecordingFiles::stamps)
      .def(
          "read",
          [](const RecordingFiles& files, std::size_t index, bool colour) {
            return read_frame(files.place(index, colour));
          },
          "index"_a, "colour"_a);
}

}  // namespace depth_io::python
