#include "tools/system/json_text.h"

#include <cstdlib>
#include <new>

#include "tools/system/failure.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

thread_local int json_memories = 0;

void end_or_throw() {
  if (json_memories == 0) throw std::bad_alloc();
  write_message("there is not enough memory");
  std::_Exit(kFailed);
}

}  // namespace

JsonMemory::JsonMemory() {
  std::set_new_handler(end_or_throw);
  ++json_memories;
}

JsonMemory::~JsonMemory() { --json_memories; }

std::string json_text(const nlohmann::ordered_json& value) {
  return value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace depth_io::tools
