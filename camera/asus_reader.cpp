#include "camera/asus_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>

#include "codec/console.h"

class_asus_reader THE_READER;

namespace {

using depth_io::print;
using depth_io::print_line;

constexpr int kFileMissing = -1;
constexpr int kWidth = 640;
constexpr int kHeight = 480;
constexpr int kHalfWidth = kWidth / 2;
constexpr int kHalfHeight = kHeight / 2;
constexpr std::size_t kPixelBytes = sizeof(XnRGB24Pixel);
constexpr XnUInt32 kRateWindowFrames = 180;
constexpr XnUInt32 kRateAverageMilliseconds = 3000;
constexpr off_t kLargestConfiguration = 64 << 20;

/// A millimetre in two parts, metres. The product of a reading and the first, of few bits, is
/// exact, and the sum of both products is, for every reading, what dividing it by 1000 gives, in
/// fewer cycles.
constexpr float kMillimetre = 0x1.06p-10F;
constexpr float kMillimetreRest = 0x1.26e978p-21F;

constexpr float metres_of(XnDepthPixel millimetres) {
  const auto reading = static_cast<float>(millimetres);
  return reading * kMillimetre + reading * kMillimetreRest;
}

static_assert([] {
  for (unsigned reading = 0; reading <= 0xFFFF; ++reading) {
    if (metres_of(static_cast<XnDepthPixel>(reading)) != static_cast<float>(reading) / 1000.0F) {
      return false;
    }
  }
  return true;
}());

void trace(int debug, const char* text) {
  if (debug == 1) print_line(text);
}

void print_failure(const char* action, XnStatus status) {
  print("%s failed: %s\n", action, xnGetStatusString(status));
}

/// OpenNI's modules throw through its functions when a file claims more than the memory holds.
template <class Call>
XnStatus status_of(Call&& call) {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    return XN_STATUS_ALLOC_FAILED;
  }
}

/// The word that a configuration begins with, cut where `word` ends.
template <std::size_t kSize>
void read_first_word(int descriptor, char (&word)[kSize]) {
  char text[kSize];
  const ssize_t length = read(descriptor, text, kSize - 1);
  text[std::max<ssize_t>(length, 0)] = '\0';
  const char* const begin = text + std::strspn(text, " \t\n\v\f\r");
  const std::size_t size = std::strcspn(begin, " \t\n\v\f\r");
  std::memcpy(word, begin, size);
  word[size] = '\0';
}

/// OpenNI ends the process when its configuration is a directory, and would wait for ever for the
/// other end of a pipe.
bool is_configuration(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
         status.st_size <= kLargestConfiguration;
}

/// Tells whether there is such a file, and with `debug` what it begins with.
bool check_configuration(const char* path, int debug) {
  const int descriptor = path == nullptr ? -1 : open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return false;
  const bool is_good = is_configuration(descriptor);
  if (is_good && debug == 1) {
    char word[1024];
    read_first_word(descriptor, word);
    print("check '%s'\n", word);
  }
  close(descriptor);
  return is_good;
}

/// Pixels that a frame both claims and holds.
template <class MetaData>
std::size_t pixels_held(const MetaData& frame, std::size_t bytes_per_pixel) {
  if (frame.Data() == nullptr) return 0;
  const std::size_t claimed = std::size_t{frame.XRes()} * frame.YRes();
  return std::min(claimed, frame.DataSize() / bytes_per_pixel);
}

XnDepthPixel middle_reading(const xn::DepthMetaData& frame) {
  const std::size_t middle = std::size_t{frame.YRes() / 2} * frame.XRes() + frame.XRes() / 2;
  return middle < pixels_held(frame, sizeof(XnDepthPixel)) ? frame.Data()[middle] : 0;
}

template <class Value, std::size_t kSize>
Value value_at(const Value (&values)[kSize], int index) {
  return index >= 0 && static_cast<std::size_t>(index) < kSize ? values[index] : Value{};
}

}  // namespace

class_asus_reader::class_asus_reader() : xnFPS(nullptr) {
  // Static storage is zero already: clearing it would take 3 MB from each process that loads the
  // library.
  if (this == &THE_READER) return;
  std::memset(tempR, 0, sizeof tempR);
  std::memset(tempG, 0, sizeof tempG);
  std::memset(tempB, 0, sizeof tempB);
  std::fill(std::begin(DepthMap), std::end(DepthMap), 0.0F);
  std::memset(ColourImage, 0, sizeof ColourImage);
}

class_asus_reader::~class_asus_reader() {
  if (xnFPS != nullptr) xnFPSFree(&xnFPS);
}

int class_asus_reader::init(char* SAMPLE_XML_PATH, int debug) {
  trace(debug, " - DEBUG ASUS - 11");
  trace(debug, " - DEBUG ASUS - 12");
  trace(debug, " - DEBUG ASUS - 13");
  print("Reading config from: '%s'\n", SAMPLE_XML_PATH == nullptr ? "" : SAMPLE_XML_PATH);
  if (!check_configuration(SAMPLE_XML_PATH, debug)) {
    print_line("file does not exists");
    return kFileMissing;
  }
  XnStatus status = open_configuration(SAMPLE_XML_PATH, debug);
  if (status != XN_STATUS_OK) return static_cast<int>(status);
  trace(debug, " - DEBUG ASUS - 15");
  status = find_node(XN_NODE_TYPE_DEPTH, depth, "Find depth generator");
  if (status != XN_STATUS_OK) return static_cast<int>(status);
  status = find_node(XN_NODE_TYPE_IMAGE, g_image, "Find image generator");
  if (status != XN_STATUS_OK) return static_cast<int>(status);
  trace(debug, " - DEBUG ASUS - 16");
  status = start_rate_meter();
  if (status != XN_STATUS_OK) return static_cast<int>(status);
  trace(debug, " - DEBUG ASUS - 17");
  return XN_STATUS_OK;
}

XnStatus class_asus_reader::open_configuration(char* path, int debug) {
  const XnStatus status =
      status_of([&] { return context.InitFromXmlFile(path, scriptNode, &errors); });
  trace(debug, " - DEBUG ASUS - 14");
  if (status == XN_STATUS_NO_NODE_PRESENT) {
    XnChar text[1024] = "";
    errors.ToString(text, sizeof text);
    print("%s\n", text);
  } else if (status != XN_STATUS_OK) {
    print_failure("Open", status);
  }
  return status;
}

template <class Node>
XnStatus class_asus_reader::find_node(XnProductionNodeType type, Node& node, const char* action) {
  const XnStatus status = context.FindExistingNode(type, node);
  if (status != XN_STATUS_OK) {
    // A node of an earlier configuration is none of this one.
    node.Release();
    print_failure(action, status);
  }
  return status;
}

XnStatus class_asus_reader::start_rate_meter() {
  if (xnFPS != nullptr) xnFPSFree(&xnFPS);
  xnFPS = nullptr;
  const XnStatus status = xnFPSInit(&xnFPS, kRateWindowFrames);
  if (status != XN_STATUS_OK) print_failure("FPS Init", status);
  return status;
}

/// `init` failed after it had found the depth node: a frame could be waited for, but not read.
bool class_asus_reader::is_half_opened() const {
  return depth.IsValid() && (!g_image.IsValid() || xnFPS == nullptr);
}

int class_asus_reader::process(int debug) {
  trace(debug, " - DEBUG ASUS - loop 1");
  const XnStatus status = is_half_opened()
                              ? XnStatus{XN_STATUS_NOT_INIT}
                              : status_of([&] { return context.WaitOneUpdateAll(depth); });
  if (status != XN_STATUS_OK) {
    print_failure("UpdateData", status);
    return 0;
  }
  trace(debug, " - DEBUG ASUS - loop 2");
  xnFPSMarkFrame(&xnFPS, 0);
  depth.GetMetaData(depthMD);
  g_image.GetMetaData(imageMD);
  const XnDouble frame_rate = xnFPSCalc(&xnFPS, kRateAverageMilliseconds, 0);
  print("Frame %d Middle point is: %u. FPS: %f\n", static_cast<int>(depthMD.FrameID()),
        static_cast<unsigned>(middle_reading(depthMD)), frame_rate);
  trace(debug, "DEBUG ASUS - nicameraclass::process 4");
  print("depth res %d x %d\n", GetHeightDepth(), GetWidthDepth());
  convert_depth();
  convert_colour(debug);
  return 0;
}

void class_asus_reader::convert_depth() {
  const XnDepthPixel* const millimetres = depthMD.Data();
  const std::size_t count =
      std::min(pixels_held(depthMD, sizeof(XnDepthPixel)), std::size(DepthMap));
  for (std::size_t i = 0; i < count; ++i) {
    DepthMap[i] = metres_of(millimetres[i]);
  }
}

void class_asus_reader::convert_colour(int debug) {
  const bool is_full = imageMD.XRes() == kWidth && imageMD.YRes() == kHeight;
  const bool is_half = imageMD.XRes() == kHalfWidth && imageMD.YRes() == kHalfHeight;
  if (!is_full && !is_half) return;
  trace(debug, "DEBUG ASUS - nicameraclass::process 6");
  print("image res %d x %d\n", GetHeightImage(), GetWidthImage());
  const std::size_t pixels = std::size_t{imageMD.XRes()} * imageMD.YRes();
  // Other pixel formats than R, G, B may hold fewer bytes.
  if (pixels_held(imageMD, kPixelBytes) < pixels) return;
  if (is_full) {
    std::memcpy(ColourImage, imageMD.Data(), pixels * kPixelBytes);
  } else {
    enlarge_colour();
  }
}

void class_asus_reader::enlarge_colour() {
  constexpr std::size_t kRowBytes = kWidth * kPixelBytes;
  const XnRGB24Pixel* pixel = imageMD.RGB24Data();
  unsigned char* out = ColourImage;
  for (int row = 0; row < kHalfHeight; ++row) {
    for (int column = 0; column < kHalfWidth; ++column, ++pixel) {
      tempR[row][column] = pixel->nRed;
      tempG[row][column] = pixel->nGreen;
      tempB[row][column] = pixel->nBlue;
      for (int copy = 0; copy < 2; ++copy) {
        *out++ = pixel->nRed;
        *out++ = pixel->nGreen;
        *out++ = pixel->nBlue;
      }
    }
    std::memcpy(out, out - kRowBytes, kRowBytes);
    out += kRowBytes;
  }
}

void class_asus_reader::release() {
  depth.Release();
  scriptNode.Release();
  context.Release();
}

int class_asus_reader::GetWidthDepth() { return static_cast<int>(depthMD.XRes()); }
int class_asus_reader::GetHeightDepth() { return static_cast<int>(depthMD.YRes()); }
int class_asus_reader::GetWidthImage() { return static_cast<int>(imageMD.XRes()); }
int class_asus_reader::GetHeightImage() { return static_cast<int>(imageMD.YRes()); }

int INIT_ASUS_READER(char* SAMPLE_XML_PATH, int debug) {
  return THE_READER.init(SAMPLE_XML_PATH, debug);
}
void PROCESS_ASUS_READER(int debug) { THE_READER.process(debug); }
void RELEASE_ASUS_READER() { THE_READER.release(); }

int GET_WIDTH_DEPTH_ASUS_READER() { return kWidth; }
int GET_HEIGHT_DEPTH_ASUS_READER() { return kHeight; }
int GET_WIDTH_IMAGE_ASUS_READER() { return kWidth; }
int GET_HEIGHT_IMAGE_ASUS_READER() { return kHeight; }

float GET_DEPTH_ASUS_READER_AT(int index) { return value_at(THE_READER.DepthMap, index); }
unsigned char GET_IMAGE_ASUS_READER_AT(int index) {
  return value_at(THE_READER.ColourImage, index);
}

bool fileExists(const char* fn) {
  XnBool exists = FALSE;
  xnOSDoesFileExist(fn, &exists);
  return exists != FALSE;
}
