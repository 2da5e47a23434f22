#include "tools/open_source.h"

#include "tools/failure.h"
#include "tools/image_source.h"
#include "tools/looped_source.h"
#include "tools/output.h"
#include "tools/synthetic_source.h"

namespace depth_io::tools {
namespace {

constexpr char kSynthetic[] = "synthetic";
constexpr char kImages[] = "images:";

}  // namespace

void check_source_text(const std::string& text, const char* option) {
  if (text == kSynthetic) return;
  if (text.starts_with(kImages) && text.size() > sizeof kImages - 1) return;
  throw UsageFailure(std::string(option) + " must be " + kSourceHelp + ", not '" + text + "'");
}

std::unique_ptr<IndexedSource> open_source(const SourceChoice& choice) {
  check_source_text(choice.text, "the source");
  if (choice.text == kSynthetic) return std::make_unique<SyntheticSource>(choice.seed);
  const ImageChoice image_choice{choice.scale, choice.with_colour, choice.max_gap,
                                 choice.with_unpaired};
  auto images = std::make_unique<ImageSource>(choice.text.substr(sizeof kImages - 1), image_choice);
  if (images->unpaired() > 0) {
    write_message("%zu depth images have no colour image within %g s and are left out (--max-gap)",
                  images->unpaired(), choice.max_gap);
  }
  if (!choice.loop) return images;
  return std::make_unique<LoopedSource>(std::move(images));
}

}  // namespace depth_io::tools
