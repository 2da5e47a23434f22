#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace depth_io::tools {

/// While one lives, memory that runs out in its thread ends the program at once, with a message and
/// the status `kFailed`. Whatever handles JSON holds one: values that lack memory half way crash
/// when they are released, and releasing them wants memory itself.
class JsonMemory {
 public:
  JsonMemory();
  ~JsonMemory();
  JsonMemory(const JsonMemory&) = delete;
  JsonMemory& operator=(const JsonMemory&) = delete;
};

/// Indented, without an end of line. Bytes that are not UTF-8, as names of files may have, are
/// replaced.
std::string json_text(const nlohmann::ordered_json& value);

}  // namespace depth_io::tools
