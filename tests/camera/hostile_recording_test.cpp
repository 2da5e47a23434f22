#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <random>
#include <string_view>

#include "tests/support/camera_fixture.h"

// Damaged recordings and configurations, each played by a process of its own. OpenNI itself falls
// over some of them, which only its authors could mend; the reader's own code must bear them all.
extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*)());  // NOLINT: its name

namespace depth_io::test {
namespace {

constexpr int kFrames = 8;
constexpr unsigned kPatienceSeconds = 10;

enum class End { kReturned = 0, kFellInOpenNi = 42, kFell = 43 };

bool is_of_openni(const void* address) {
  Dl_info object;
  if (dladdr(address, &object) == 0 || object.dli_fname == nullptr) return false;
  const std::string_view file = object.dli_fname;
  return file.find("libOpenNI") != file.npos || file.find("libnim") != file.npos;
}

/// Ends a process that fell, was stopped by a check or took too long. OpenNI calls nobody back: the
/// fault is its own when it is among the callers.
void tell_where_it_fell() {
  void* callers[64];
  void** const end = callers + backtrace(callers, static_cast<int>(std::size(callers)));
  const bool is_theirs = std::any_of(callers, end, is_of_openni);
  _exit(static_cast<int>(is_theirs ? End::kFellInOpenNi : End::kFell));
}

void watch_for_falls() {
  void* caller = nullptr;
  backtrace(&caller, 1);  // Loads what a signal handler could not.
  for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGALRM}) {
    std::signal(number, [](int) { tell_where_it_fell(); });
  }
  if (__sanitizer_set_death_callback != nullptr) {
    __sanitizer_set_death_callback(tell_where_it_fell);
  }
}

struct Fate {
  End end;
  std::string errors;  ///< what was said on standard error
};

/// How `code` ends in a process of its own.
template <typename Code>
Fate fate_of(Code&& code) {
  std::FILE* const errors = std::tmpfile();
  const pid_t child = fork();
  if (child == 0) {
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    dup2(fileno(errors), STDERR_FILENO);
    watch_for_falls();
    alarm(kPatienceSeconds);
    code();
    _exit(static_cast<int>(End::kReturned));
  }
  int status = 0;
  waitpid(child, &status, 0);
  std::string text(20000, '\0');
  std::rewind(errors);
  text.resize(std::fread(text.data(), 1, text.size(), errors));
  std::fclose(errors);
  for (const End end : {End::kReturned, End::kFellInOpenNi}) {
    if (WIFEXITED(status) && WEXITSTATUS(status) == static_cast<int>(end)) return {end, text};
  }
  return {End::kFell, text};
}

/// What a program does with a camera.
void play(const std::string& configuration) {
  const auto reader = std::make_unique<class_asus_reader>();
  Text path = configuration;
  reader->init(path, 1);
  for (int i = 0; i < kFrames; ++i) reader->process(1);
  reader->release();
}

/// Damage of a kind and at a place that the seed chooses among `places`.
std::string damaged(std::string bytes, const std::vector<std::size_t>& places, unsigned seed) {
  std::mt19937 random(seed);
  const auto below = [&](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  const std::size_t place = places[below(places.size())];
  const std::size_t length = std::min(bytes.size() - place, 1 + below(64));
  static const std::string kExtremes[] = {
      std::string(4, '\xFF'),       std::string(4, '\0'),       std::string("\xFF\xFF\xFF\x7F", 4),
      std::string("\0\0\0\x80", 4), std::string("\0\0\1\0", 4), std::string("\1\0\0\0", 4)};
  switch (below(6)) {
    case 0:
      bytes[place] = static_cast<char>(below(256));
      break;
    case 1:
      bytes[place] = static_cast<char>(bytes[place] ^ (1 << below(8)));
      break;
    case 2:
      bytes.replace(place, 4, kExtremes[below(std::size(kExtremes))]);
      break;
    case 3:
      bytes.erase(place, length);
      break;
    case 4:
      bytes.insert(place, bytes.substr(place, length));
      break;
    default:
      bytes.resize(place);
  }
  return bytes;
}

TEST(HostileRecordingHarness, TellsAFallOutsideOpenNi) {
  EXPECT_EQ(fate_of([] { raise(SIGSEGV); }).end, End::kFell);
  EXPECT_EQ(fate_of([] { std::abort(); }).end, End::kFell);
  EXPECT_EQ(fate_of([] { _exit(1); }).end, End::kFell);
}

TEST(HostileRecordingHarness, TellsAFallInOpenNi) {
  const auto* const nowhere = reinterpret_cast<const XnChar*>(8);  // NOLINT: a bad pointer
  XnUInt32 sum = 0;
  EXPECT_EQ(fate_of([&] { xnOSStrCRC32(nowhere, &sum); }).end, End::kFellInOpenNi);
  EXPECT_EQ(fate_of([&] { xnOSStrDup(nowhere); }).end, End::kFellInOpenNi);
}

TEST(HostileRecordingHarness, TellsAGoodEnd) {
  EXPECT_EQ(fate_of([] {}).end, End::kReturned);
}

/// So many seeds; the argument is the first.
class HostileRecording : public CameraTest, public testing::WithParamInterface<unsigned> {
 protected:
  static constexpr unsigned kSeeds = 50;

  HostileRecording() {
    camera_.colour_width = 320;
    camera_.colour_height = 240;
    camera_.depth_width = 64;
    camera_.depth_height = 48;
    configuration_ = record(camera_, 3);
    recording_ = read_file(directory().file("camera.oni"));
  }

  /// The bytes of a recording that are no pixels: damage to pixels is a picture.
  std::vector<std::size_t> structure() const {
    const std::string frame(reinterpret_cast<const char*>(pattern_frame(camera_, 1).colour.data()),
                            64);
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < std::min(recording_.find(frame), recording_.size()); ++i) {
      places.push_back(i);
    }
    for (std::size_t at = recording_.find("NIR"); at != std::string::npos;
         at = recording_.find("NIR", at + 1)) {
      for (std::size_t i = at; i < std::min(at + 80, recording_.size() - 4); ++i) {
        places.push_back(i);
      }
    }
    return places;
  }

  void expect_that_the_reader_bears_it(const std::string& what, unsigned seed) {
    const Fate fate = fate_of([&] { play(configuration_); });
    EXPECT_NE(static_cast<int>(fate.end), static_cast<int>(End::kFell))
        << what << " " << seed << "\n"
        << fate.errors;
    played_ += fate.end == End::kReturned ? 1 : 0;
  }

  OniCamera camera_;
  std::string configuration_;
  std::string recording_;
  unsigned played_ = 0;
};

TEST_P(HostileRecording, DamagedRecordingIsBorne) {
  const std::vector<std::size_t> places = structure();
  for (unsigned seed = GetParam(); seed < GetParam() + kSeeds; ++seed) {
    write_file(directory().file("camera.oni"), damaged(recording_, places, seed));
    expect_that_the_reader_bears_it("recording", seed);
  }
  EXPECT_GT(played_, kSeeds / 2);
}

TEST_P(HostileRecording, DamagedConfigurationIsBorne) {
  const std::string good = read_file(configuration_);
  std::vector<std::size_t> places(good.size());
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = i;
  for (unsigned seed = GetParam(); seed < GetParam() + kSeeds; ++seed) {
    write_file(configuration_, damaged(good, places, seed));
    expect_that_the_reader_bears_it("configuration", seed);
  }
  EXPECT_GT(played_, kSeeds / 2);
}

INSTANTIATE_TEST_SUITE_P(Seeds, HostileRecording, testing::Values(0U, 50U, 100U, 150U));

}  // namespace
}  // namespace depth_io::test
