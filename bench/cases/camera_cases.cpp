#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>

#include "bench/cases/cases.h"
#include "bench/support/frame_sets.h"
#include "bench/support/interleaved.h"
#include "bench/support/rows.h"
#include "bench/support/scratch.h"
#include "camera/asus_reader.h"
#include "codec/console.h"
#include "tests/support/oni_recording.h"
#include "tests/support/temp_directory.h"
#include "tools/system/failure.h"

namespace depth_io::bench {
namespace {

/// Few, so that they stay in the caches as what a camera has just delivered does.
constexpr std::size_t kFrames = 4;
constexpr std::size_t kRepetitions = 20;
constexpr int kRounds = 25;
constexpr char kBareWait[] = "bare wait";
constexpr char kReader[] = "reader";
constexpr char kReaderOfHalfColour[] = "reader, colour 320 x 240";
constexpr char kBareWaitOfHalfColour[] = "bare wait, colour 320 x 240";

void require(bool fact, const char* fault) {
  if (!fact) throw tools::Failure(std::string("the camera's benchmark: ") + fault);
}

/// What the library prints goes into a pipe that another program empties.
class PrintToPipe {
 public:
  PrintToPipe() : pipe_(popen("cat >/dev/null", "w")) {
    require(pipe_ != nullptr, "there is no pipe");
    set_print_handler(
        [](void* pipe, const char* text, std::size_t length) {
          std::fwrite(text, 1, length, static_cast<std::FILE*>(pipe));
        },
        pipe_);
  }
  ~PrintToPipe() {
    set_print_handler([](void*, const char*, std::size_t) {}, nullptr);
    pclose(pipe_);
  }
  PrintToPipe(const PrintToPipe&) = delete;
  PrintToPipe& operator=(const PrintToPipe&) = delete;

 private:
  std::FILE* pipe_;
};

/// A recording that plays for ever, in place of a camera; gives its configuration.
std::string camera_of(const std::string& directory, const FrameSet& set, unsigned colour_width,
                      unsigned colour_height) {
  test::OniCamera camera;
  camera.colour_width = colour_width;
  camera.colour_height = colour_height;
  std::vector<test::OniFrame> frames;
  for (const Frame& frame : set.frames) {
    test::OniFrame converted;
    converted.depth = millimetres(frame.depth);
    converted.colour = frame.bgr;
    converted.colour.resize(std::size_t{colour_width} * colour_height * 3);
    converted.microseconds = 33333 * (frames.size() + 1);
    frames.push_back(std::move(converted));
  }
  test::write_oni(directory + "/camera.oni", camera, frames);
  test::write_file(directory + "/camera.xml",
                   test::oni_configuration(directory + "/camera.oni", true));
  return directory + "/camera.xml";
}

/// What the reader cannot do without.
class BareCamera {
 public:
  explicit BareCamera(const std::string& configuration) {
    xn::EnumerationErrors errors;
    require(context_.InitFromXmlFile(configuration.c_str(), script_, &errors) == XN_STATUS_OK &&
                context_.FindExistingNode(XN_NODE_TYPE_DEPTH, depth_) == XN_STATUS_OK &&
                context_.FindExistingNode(XN_NODE_TYPE_IMAGE, colour_) == XN_STATUS_OK,
            "the recording does not open");
  }
  ~BareCamera() {
    depth_.Release();
    script_.Release();
    context_.Release();
  }
  BareCamera(const BareCamera&) = delete;
  BareCamera& operator=(const BareCamera&) = delete;

  void take_frame() {
    require(context_.WaitOneUpdateAll(depth_) == XN_STATUS_OK, "a frame was not read");
    depth_.GetMetaData(depth_frame_);
    colour_.GetMetaData(colour_frame_);
  }

 private:
  xn::Context context_;
  xn::ScriptNode script_;
  xn::DepthGenerator depth_;
  xn::ImageGenerator colour_;
  xn::DepthMetaData depth_frame_;
  xn::ImageMetaData colour_frame_;
};

/// The reader and the bare calls on a recording of their own each, so that neither finds in the
/// caches what the other has read.
class CameraPair {
 public:
  CameraPair(const FrameSet& set, unsigned colour_width, unsigned colour_height)
      : bare_(camera_of(bare_directory_.path(), set, colour_width, colour_height)) {
    std::string configuration = camera_of(directory_.path(), set, colour_width, colour_height);
    require(reader_->init(configuration.data(), 0) == XN_STATUS_OK, "the reader does not open");
  }
  ~CameraPair() { reader_->release(); }
  CameraPair(const CameraPair&) = delete;
  CameraPair& operator=(const CameraPair&) = delete;

  void take_bare_frame() { bare_.take_frame(); }
  void take_frame() {
    const XnUInt64 before = reader_->depthMD.Timestamp();
    reader_->process(0);
    require(reader_->depthMD.Timestamp() != before, "the reader took no frame");
  }

 private:
  Scratch directory_;
  Scratch bare_directory_;
  BareCamera bare_;
  std::unique_ptr<class_asus_reader> reader_ = std::make_unique<class_asus_reader>();
};

Measurements measure() {
  constexpr char kKitchen[] = "kinect_kitchen";
  const FrameSet set =
      has_real_frames(kKitchen) ? real_frames(kKitchen, kFrames) : synthetic_frames(kFrames);
  CameraPair full(set, 640, 480);
  CameraPair half(set, 320, 240);
  const PrintToPipe printing;
  const Group in_turn = {
      {.name = kBareWait, .run = [&full] { full.take_bare_frame(); }},
      {.name = kReader, .run = [&full] { full.take_frame(); }},
      {.name = kBareWaitOfHalfColour, .run = [&half] { half.take_bare_frame(); }},
      {.name = kReaderOfHalfColour, .run = [&half] { half.take_frame(); }}};
  return measure_in_passes(in_turn, kRepetitions, kRounds, [](std::size_t) {});
}

const Measurements& results() {
  static const Measurements measured = measure();
  return measured;
}

void register_operation(const std::string& operation) {
  register_row("camera/" + operation,
               [operation](benchmark::State&) { return results().seconds(operation); });
}

/// What the reader takes beyond the bare calls, printing included.
void register_conversion(const std::string& name, const char* reader, const char* bare,
                         const Goal& goal) {
  register_row(name, [=](benchmark::State& state) {
    const double seconds = results().difference(reader, bare);
    report_goal(state, 1000 * seconds, goal);
    return seconds;
  });
}

}  // namespace

void register_camera_cases() {
  for (const char* const operation :
       {kBareWait, kReader, kBareWaitOfHalfColour, kReaderOfHalfColour}) {
    register_operation(operation);
  }
  constexpr Goal kConversion{0.15, 0.1};
  register_conversion(std::string(kGoalPrefix) + "camera: reader - bare wait, milliseconds",
                      kReader, kBareWait, kConversion);
  register_conversion(std::string(kCompareWithPrefix) +
                          "camera: reader - bare wait, colour 320 x 240, milliseconds",
                      kReaderOfHalfColour, kBareWaitOfHalfColour, kConversion);
}

}  // namespace depth_io::bench
