#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "tests/tools/depthrw_fixture.h"
#include "tests/tools/image_directory.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

/// 2000 frames take some seconds; a long soak is wanted by DEPTHRW_SOAK_FRAMES=20000.
long soak_frames() {
  const char* const text = std::getenv("DEPTHRW_SOAK_FRAMES");
  return text == nullptr ? 2000 : std::max(std::atol(text), 1500L);
}

/// Resident memory of a process, kilobytes; -1 when it has ended.
long resident_kilobytes(pid_t process) {
  std::istringstream lines(read_file("/proc/" + std::to_string(process) + "/status"));
  for (std::string word; lines >> word;) {
    long kilobytes = -1;
    if (word == "VmRSS:" && lines >> kilobytes) return kilobytes;
  }
  return -1;
}

long descriptors(pid_t process) {
  std::error_code error;
  long count = 0;
  for (fs::directory_iterator entry("/proc/" + std::to_string(process) + "/fd", error), end;
       !error && entry != end; entry.increment(error)) {
    ++count;
  }
  return count;
}

using DepthrwSoak = Depthrw;

TEST_F(DepthrwSoak, MemoryAndDescriptorsStayTheSameOverManyFrames) {
  const long frames = soak_frames();
  ImageDirectory images;
  images.add_depth("0", 1500);
  images.add_depth("1", 2500);
  // Three frames a minute: many folders.
  const std::vector<std::string> arguments = {"record",
                                              "--out",
                                              path("rec"),
                                              "--source",
                                              "images:" + images.path(),
                                              "--loop",
                                              "--fps",
                                              "0.05",
                                              "--start",
                                              "2013-12-31T22:00:00",
                                              "--frames",
                                              std::to_string(frames),
                                              "--acknowledge",
                                              "--history",
                                              "20"};
  RunningProgram program(arguments);
  long kilobytes_at_first = -1;
  long kilobytes_at_last = -1;
  long descriptors_at_first = -1;
  long written = 0;
  while (!program.has_ended()) {
    sleep_seconds(0.2);
    written = lines_in(program.output());
    const long kilobytes = resident_kilobytes(program.id());
    if (written < 1000 || kilobytes < 0) continue;
    if (kilobytes_at_first < 0) {
      kilobytes_at_first = kilobytes;
      descriptors_at_first = descriptors(program.id());
    }
    kilobytes_at_last = kilobytes;
    // A file that is just being written is one more.
    EXPECT_LE(std::abs(descriptors(program.id()) - descriptors_at_first), 3);
  }
  const ProgramResult result = program.wait();
  ASSERT_EQ(result.status, 0) << result.messages;
  EXPECT_EQ(lines_in(result.output), frames);
  ASSERT_GE(kilobytes_at_first, 0) << "too fast to be looked at";
  // A sanitizer keeps freed memory for a while.
  if (!kIsSanitized) {
    EXPECT_LE(kilobytes_at_last - kilobytes_at_first, 1024);
  }
  std::printf("%ld frames: %ld kB after frame 1000, %ld kB at the end\n", frames,
              kilobytes_at_first, kilobytes_at_last);
  EXPECT_EQ(run_program({"info", path("rec")}).status, 0);
}

}  // namespace
}  // namespace depth_io::test
