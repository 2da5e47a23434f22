#include "bench/cases/cases.h"

// Where the library is built without the camera reader.
namespace depth_io::bench {

void register_camera_cases() {}

}  // namespace depth_io::bench
