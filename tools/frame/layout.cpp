#include "tools/frame/layout.h"

namespace depth_io::tools {

const char* layout_name(Layout layout) {
  switch (layout) {
    case Layout::kFlat:
      return "flat";
    case Layout::kNumbered:
      return "numbered";
    case Layout::kTree:
      return "tree";
  }
  return "";
}

std::optional<Layout> layout_named(std::string_view name) {
  for (const Layout layout : {Layout::kFlat, Layout::kNumbered, Layout::kTree}) {
    if (name == layout_name(layout)) return layout;
  }
  return {};
}

}  // namespace depth_io::tools
