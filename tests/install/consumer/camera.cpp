// Uses the camera reader's header and functions; opens no camera.
#include "camera/asus_reader.h"

int main() {
  return GET_WIDTH_DEPTH_ASUS_READER() == 640 && GET_DEPTH_ASUS_READER_AT(-1) == 0 ? 0 : 1;
}
