#include "tools/export/whole_file.h"

#include <optional>
#include <string_view>

#include "tools/export/cloud_file.h"
#include "tools/system/files.h"

namespace depth_io::tools {
namespace {

constexpr std::string_view kPngEnd("IEND\xAE\x42\x60\x82", 8);
constexpr std::string_view kJpegEnd("\xFF\xD9", 2);

bool ends_with(const std::string& path, std::string_view end) {
  const std::optional<std::string> bytes = read_end_of_file(path, end.size());
  return bytes && *bytes == end;
}

}  // namespace

bool is_whole_file(const std::string& path) {
  if (path.ends_with(".png")) return ends_with(path, kPngEnd);
  if (path.ends_with(".jpg")) return ends_with(path, kJpegEnd);
  return path.ends_with(".ply") && is_whole_cloud(path);
}

}  // namespace depth_io::tools
