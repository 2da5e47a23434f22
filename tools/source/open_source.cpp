#include "tools/source/open_source.h"

#include "tools/source/image_source.h"
#include "tools/source/looped_source.h"
#include "tools/source/synthetic_source.h"
#include "tools/system/failure.h"
#include "tools/system/output.h"

#ifdef DEPTHRW_HAS_OPENNI
#include "tools/source/camera_source.h"
#endif

namespace depth_io::tools {
namespace {

constexpr char kSynthetic[] = "synthetic";
constexpr char kImages[] = "images:";
constexpr char kCamera[] = "openni:";

/// What follows `prefix` in a text; empty when the text does not begin with it.
std::string behind(const char* prefix, const std::string& text) {
  return text.starts_with(prefix) ? text.substr(std::char_traits<char>::length(prefix))
                                  : std::string();
}

bool is_indexed(const std::string& text) {
  return text == kSynthetic || !behind(kImages, text).empty();
}

[[noreturn]] void refuse(const std::string& text, const std::string& option, const char* help) {
  throw UsageFailure(option + " must be " + help + ", not '" + text + "'");
}

std::unique_ptr<FrameSource> open_camera(const SourceChoice& choice,
                                         [[maybe_unused]] LibraryLog& log) {
#ifdef DEPTHRW_HAS_OPENNI
  return std::make_unique<CameraSource>(behind(kCamera, choice.text), choice.stall_seconds, log);
#else
  throw Failure("'" + choice.text + "' cannot be opened: this program was built without OpenNI");
#endif
}

}  // namespace

bool is_camera(const std::string& text) { return !behind(kCamera, text).empty(); }

void check_source_text(const std::string& text) {
  if (!is_indexed(text) && !is_camera(text)) refuse(text, "--source", kSourceHelp);
}

void check_indexed_source_text(const std::string& text, const char* option) {
  if (!is_indexed(text)) refuse(text, option, kIndexedSourceHelp);
}

std::unique_ptr<FrameSource> open_source(const SourceChoice& choice, LibraryLog& log) {
  if (is_camera(choice.text)) return open_camera(choice, log);
  check_source_text(choice.text);
  return open_indexed_source(choice);
}

std::unique_ptr<IndexedSource> open_indexed_source(const SourceChoice& choice) {
  check_indexed_source_text(choice.text, "the source");
  if (choice.text == kSynthetic) return std::make_unique<SyntheticSource>(choice.seed);
  const ImageChoice image_choice{choice.scale, choice.with_colour, choice.max_gap,
                                 choice.with_unpaired};
  auto images = std::make_unique<ImageSource>(behind(kImages, choice.text), image_choice);
  if (images->unpaired() > 0) {
    write_message("%zu depth images have no colour image within %g s and are left out (--max-gap)",
                  images->unpaired(), choice.max_gap);
  }
  if (!choice.loop) return images;
  return std::make_unique<LoopedSource>(std::move(images));
}

}  // namespace depth_io::tools
