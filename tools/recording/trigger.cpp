#include "tools/recording/trigger.h"

namespace depth_io::tools {

const char* trigger_name(Trigger trigger) {
  switch (trigger) {
    case Trigger::kAlways:
      return "always";
    case Trigger::kMotion:
      return "motion";
    case Trigger::kEvery:
      return "every";
    case Trigger::kSignal:
      return "signal";
  }
  return "";
}

std::optional<Trigger> trigger_named(std::string_view name) {
  for (const Trigger trigger :
       {Trigger::kAlways, Trigger::kMotion, Trigger::kEvery, Trigger::kSignal}) {
    if (name == trigger_name(trigger)) return trigger;
  }
  return {};
}

}  // namespace depth_io::tools
