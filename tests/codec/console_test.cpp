#include "codec/console.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "codec/number_text.h"
#include "tests/support/console_capture.h"

namespace depth_io::test {
namespace {

/// What went through replaced handlers, in order; a wait shows as "<key>".
struct Log {
  std::string text;
};

void log_text(void* context, const char* text, std::size_t length) {
  static_cast<Log*>(context)->text.append(text, length);
}

void log_key(void* context) { static_cast<Log*>(context)->text += "<key>"; }

/// Restores standard output and standard input, whatever a test does.
class ConsoleHandlers : public testing::Test {
 protected:
  ~ConsoleHandlers() override {
    set_print_handler(nullptr, nullptr);
    set_key_wait_handler(nullptr, nullptr);
  }
};

/// A text without repetition, so that a lost or doubled piece shows.
std::string counted_text(std::size_t length) {
  std::string text;
  for (int i = 0; text.size() < length; ++i) text += std::to_string(i) + ",";
  text.resize(length);
  return text;
}

constexpr std::size_t kLengths[] = {0,    1,    79,   127,  128,  255,   256,   257,   511,
                                    512,  513,  1023, 1024, 1025, 2047,  2048,  4095,  4096,
                                    4097, 5000, 8191, 8192, 8193, 16384, 65536, 100000};

TEST(Console, PrintsFormattedText) {
  const ConsoleTrace trace =
      capture_console([] { print("%d frames, %s, %.2f%%\n", -3, "done", 99.5); });
  EXPECT_EQ(trace.output, "-3 frames, done, 99.50%\n");
  EXPECT_EQ(trace.keys, 0);
}

TEST(Console, PrintAddsNoLineEnd) {
  EXPECT_EQ(capture_console([] {
              print("a%s", "b");
              print("%s", "");
              print("c");
            }).output,
            "abc");
}

TEST(Console, PrintLineAddsOneLineEnd) {
  const ConsoleTrace trace = capture_console([] {
    print_line("first");
    print_line("");
    print_line("second\n");
  });
  EXPECT_EQ(trace.output, "first\n\nsecond\n\n");
  EXPECT_EQ(trace.keys, 0);
}

TEST(Console, PrintLineDoesNotInterpretItsText) {
  EXPECT_EQ(capture_console([] { print_line("100 %s %d %n %%"); }).output, "100 %s %d %n %%\n");
}

TEST(Console, TextsOfAnyLengthComeOutWhole) {
  for (const std::size_t length : kLengths) {
    const std::string text = counted_text(length);
    EXPECT_EQ(capture_console([&] { print("<%s>\n", text.c_str()); }).output, "<" + text + ">\n");
    EXPECT_EQ(capture_console([&] { print_line(text.c_str()); }).output, text + "\n");
  }
}

TEST(Console, KeepsTheOrderWithOtherWritersToStandardOutput) {
  EXPECT_EQ(capture_console([] {
              std::printf("one ");
              print("two ");
              std::printf("three ");
              print_line("four");
            }).output,
            "one two three four\n");
}

TEST(Console, EachWaitTakesOneKey) {
  for (const int waits : {0, 1, 2, 17}) {
    const ConsoleTrace trace = capture_console([&] {
      for (int i = 0; i < waits; ++i) wait_for_key();
    });
    EXPECT_EQ(trace.keys, waits);
    EXPECT_EQ(trace.output, "");
  }
}

TEST(Console, PrintLineAndWaitPrintsALineAndTakesOneKey) {
  const ConsoleTrace trace = capture_console([] { print_line_and_wait("100% wrong"); });
  EXPECT_EQ(trace.output, "100% wrong\n");
  EXPECT_EQ(trace.keys, 1);
}

// Somebody who is asked for a key must have seen why.
TEST(Console, WaitFlushesStandardOutputFirst) {
  ConsoleCapture capture;
  std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
  print("press a key");
  wait_for_key();
  struct stat status = {};
  const int result = fstat(STDOUT_FILENO, &status);
  const ConsoleTrace trace = capture.stop();
  EXPECT_EQ(result, 0);
  EXPECT_EQ(status.st_size, 11);
  EXPECT_EQ(trace.output, "press a key");
}

/// Replaces standard input by an opened descriptor, or closes it when that is -1.
class StandardInput {
 public:
  explicit StandardInput(int descriptor) : saved_(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)) {
    std::setvbuf(stdin, nullptr, _IONBF, 0);
    std::clearerr(stdin);
    if (descriptor < 0) {
      close(STDIN_FILENO);
    } else {
      dup2(descriptor, STDIN_FILENO);
      if (descriptor != STDIN_FILENO) close(descriptor);
    }
  }
  ~StandardInput() {
    if (saved_ >= 0) {
      dup2(saved_, STDIN_FILENO);
      close(saved_);
    }
    std::clearerr(stdin);
  }
  StandardInput(const StandardInput&) = delete;
  StandardInput& operator=(const StandardInput&) = delete;

 private:
  int saved_;
};

// Services and cron jobs have no keyboard; a wait must not stop them for ever.
TEST(Console, EndOfFileOnStandardInputCountsAsAKey) {
  const StandardInput input(open("/dev/null", O_RDONLY));
  int waits = 0;
  for (; waits < 3; ++waits) wait_for_key();
  EXPECT_EQ(waits, 3);
}

TEST(Console, ClosedStandardInputCountsAsAKey) {
  int waits = 0;
  {
    const StandardInput input(-1);
    for (; waits < 3; ++waits) wait_for_key();
  }
  EXPECT_EQ(waits, 3);
}

TEST(Console, KeysThatRunOutAreFollowedByEndOfFile) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_EQ(write(ends[1], "ab", 2), 2);
  close(ends[1]);
  const StandardInput input(ends[0]);
  wait_for_key();
  char next = 0;
  ASSERT_EQ(read(STDIN_FILENO, &next, 1), 1);
  EXPECT_EQ(next, 'b');
  wait_for_key();
  EXPECT_EQ(read(STDIN_FILENO, &next, 1), 0);
}

TEST(ConsoleDeathTest, FullOrClosedStandardOutputIsSurvived) {
  const auto talk = [](int descriptor) {
    close(STDOUT_FILENO);
    if (descriptor >= 0) dup2(descriptor, STDOUT_FILENO);
    const StandardInput input(open("/dev/null", O_RDONLY));
    for (int i = 0; i < 100; ++i) {
      print("%s\n", counted_text(5000).c_str());
      print_line_and_wait("still here");
    }
    std::_Exit(7);
  };
  EXPECT_EXIT(talk(-1), testing::ExitedWithCode(7), "");
  EXPECT_EXIT(talk(open("/dev/full", O_WRONLY)), testing::ExitedWithCode(7), "");
}

TEST_F(ConsoleHandlers, ReplacedPrintingGetsEveryByteAndStandardOutputNone) {
  Log log;
  set_print_handler(log_text, &log);
  const ConsoleTrace trace = capture_console([] {
    print("%d ", 42);
    print_line("line");
    print_line("");
  });
  EXPECT_EQ(log.text, "42 line\n\n");
  EXPECT_EQ(trace.output, "");
}

TEST_F(ConsoleHandlers, ReplacedPrintingGetsLongTextsWhole) {
  for (const std::size_t length : kLengths) {
    Log log;
    set_print_handler(log_text, &log);
    const std::string text = counted_text(length);
    print("<%s>\n", text.c_str());
    print_line(text.c_str());
    EXPECT_EQ(log.text, "<" + text + ">\n" + text + "\n");
  }
}

TEST_F(ConsoleHandlers, ReplacedWaitingTakesNoKeyFromStandardInput) {
  Log log;
  set_key_wait_handler(log_key, &log);
  const ConsoleTrace trace = capture_console([] {
    wait_for_key();
    wait_for_key();
  });
  EXPECT_EQ(log.text, "<key><key>");
  EXPECT_EQ(trace.keys, 0);
}

TEST_F(ConsoleHandlers, TextComesBeforeTheWait) {
  Log log;
  set_print_handler(log_text, &log);
  set_key_wait_handler(log_key, &log);
  print_line_and_wait("wrong");
  print_line_and_wait("again");
  EXPECT_EQ(log.text, "wrong\n<key>again\n<key>");
}

TEST_F(ConsoleHandlers, EachIsReplacedOnItsOwn) {
  Log log;
  set_print_handler(log_text, &log);
  EXPECT_EQ(capture_console([] { print_line_and_wait("printed"); }).keys, 1);
  EXPECT_EQ(log.text, "printed\n");
  set_print_handler(nullptr, nullptr);
  log.text.clear();
  set_key_wait_handler(log_key, &log);
  const ConsoleTrace trace = capture_console([] { print_line_and_wait("shown"); });
  EXPECT_EQ(trace.output, "shown\n");
  EXPECT_EQ(trace.keys, 0);
  EXPECT_EQ(log.text, "<key>");
}

TEST_F(ConsoleHandlers, ALaterHandlerAndContextReplaceTheEarlierOnes) {
  Log first;
  Log second;
  set_print_handler(log_text, &first);
  set_key_wait_handler(log_key, &first);
  print_line_and_wait("one");
  set_print_handler(log_text, &second);
  set_key_wait_handler(log_key, &second);
  print_line_and_wait("two");
  EXPECT_EQ(first.text, "one\n<key>");
  EXPECT_EQ(second.text, "two\n<key>");
}

TEST_F(ConsoleHandlers, NullRestoresStandardOutputAndStandardInput) {
  Log log;
  set_print_handler(log_text, &log);
  set_key_wait_handler(log_key, &log);
  set_print_handler(nullptr, &log);
  set_key_wait_handler(nullptr, &log);
  const ConsoleTrace trace = capture_console([] { print_line_and_wait("restored"); });
  EXPECT_EQ(trace.output, "restored\n");
  EXPECT_EQ(trace.keys, 1);
  EXPECT_EQ(log.text, "");
}

TEST_F(ConsoleHandlers, MessagesOfTheLibraryGoThroughThem) {
  Log log;
  set_print_handler(log_text, &log);
  set_key_wait_handler(log_key, &log);
  const ConsoleTrace trace = capture_console([] { __GetIntFromString(Text("12a")); });
  EXPECT_EQ(log.text,
            " ---ERROR--- PROBLEM IN GetIntFromString(..) -> NOT A INTEGER IN STRING '12a'\n"
            "<key>");
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

}  // namespace
}  // namespace depth_io::test
