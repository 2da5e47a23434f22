#include <limits>

#include "tests/faults/fault_walk.h"
#include "tests/support/file_tree.h"
#include "tests/support/recorders.h"

// Faults while an engine records, each generation, at once and out of its ring.
namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

class RecordingWork : public Work {
 public:
  explicit RecordingWork(int generation)
      : recorder_(make_recorder(generation, directory_.path())) {}

  void begin() override {
    for (const auto& entry : fs::directory_iterator(directory_.path())) fs::remove_all(entry);
    record_one();
  }
  void check(bool told_success) override {
    EXPECT_TRUE(recorder_->has(earlier_number_, earlier_)) << "the frame written before";
    if (told_success) expect_written();
  }

 protected:
  virtual void expect_written() = 0;

  /// A frame without faults, which must still be there after them.
  void record_one() {
    ++number_;
    recorder_->show(number_);
    ASSERT_TRUE(recorder_->capture(moment_of(number_, 30), true)) << console.text();
    earlier_number_ = number_;
    earlier_ = moment_of(number_, 30);
    ASSERT_TRUE(recorder_->has(earlier_number_, earlier_));
  }

  TempDirectory directory_;
  std::unique_ptr<Recorder> recorder_;
  int number_ = 0;

 private:
  int earlier_number_ = 0;
  Moment earlier_;
};

/// One frame, recorded as it is captured.
class CaptureWork : public RecordingWork {
 public:
  using RecordingWork::RecordingWork;
  void prepare() override { recorder_->show(++number_); }
  bool act() override { return recorder_->capture(moment_of(number_), true); }
  void resume() override {
    EXPECT_TRUE(recorder_->capture(moment_of(number_), true)) << console.text();
    expect_written();
    record_one();
  }

 protected:
  void expect_written() override {
    EXPECT_TRUE(recorder_->has(number_, moment_of(number_))) << console.text();
  }
};

/// The same, with each frame read back as a whole.
class VerifiedCaptureWork : public CaptureWork {
 public:
  explicit VerifiedCaptureWork(int generation) : CaptureWork(generation) {
    recorder_->verify_by_reading_back();
  }
};

/// The same with so many depths that their labels want memory.
class RampCaptureWork : public CaptureWork {
 public:
  using CaptureWork::CaptureWork;
  void prepare() override {
    CaptureWork::prepare();
    recorder_->add_ramp();
  }
};

/// Two frames, captured and then recorded out of the ring.
class RingWork : public RecordingWork {
 public:
  using RecordingWork::RecordingWork;
  void prepare() override {
    ++number_;
    for (int i = 0; i < kFrames; ++i) {
      recorder_->show(number_ + i);
      ASSERT_TRUE(recorder_->capture(moment_of(number_, i), false)) << console.text();
    }
  }
  bool act() override {
    return recorder_->record_ring(moment_of(number_), moment_of(number_, kFrames - 1));
  }
  void resume() override {
    EXPECT_TRUE(act()) << console.text();
    expect_written();
    record_one();
  }

 protected:
  void expect_written() override {
    for (int i = 0; i < kFrames; ++i) {
      EXPECT_TRUE(recorder_->has(number_ + i, moment_of(number_, i))) << i << console.text();
    }
  }

 private:
  static constexpr int kFrames = 2;
};

struct Case {
  int generation;
  FaultKind kind;
};

void PrintTo(const Case& tested, std::ostream* out) {
  *out << tested.generation << " " << kind_name(tested.kind);
}

std::vector<Case> cases_of(std::initializer_list<FaultKind> kinds) {
  std::vector<Case> all;
  for (const int generation : {1, 2, 3}) {
    for (const FaultKind kind : kinds) {
      if (kind == kFaultAllocation && !kAllocationsCanFail) continue;
      // The first generation writes into a directory that is there.
      if (kind == kFaultMakeFolder && generation == 1) continue;
      all.push_back({generation, kind});
    }
  }
  return all;
}

std::string case_name(const testing::TestParamInfo<Case>& tested) {
  std::string name = kind_name(tested.param.kind);
  std::replace(name.begin(), name.end(), ' ', '_');
  return "generation_" + std::to_string(tested.param.generation) + "_" + name;
}

class RecordingCalls : public testing::TestWithParam<int> {};

// A disk that is busy with other things makes each call wait.
TEST_P(RecordingCalls, WriteEachSmallFileOfAFrameAtOnce) {
  constexpr long kFiles = 5;
  constexpr Fault kNever{kFaultWrite, std::numeric_limits<long>::max(), EIO, false};
  const TempDirectory directory;
  const QuietConsole console;
  const auto recorder = make_recorder(GetParam(), directory.path());
  for (int number = 1; number <= 3; ++number) {
    recorder->show_flat(number);
    fault_shim_arm(&kNever);
    const bool captured = recorder->capture(moment_of(number), true);
    EXPECT_EQ(fault_shim_disarm(), 0);
    ASSERT_TRUE(captured) << console.text();
    EXPECT_EQ(fault_shim_calls(), kFiles) << number;
    EXPECT_TRUE(recorder->has_flat(number, moment_of(number)));
  }
  const auto files = file_tree(directory.path());
  EXPECT_EQ(files.size(), 3U * kFiles);
  for (const auto& [name, content] : files) EXPECT_NE(content, "") << name;
}

INSTANTIATE_TEST_SUITE_P(Generations, RecordingCalls, testing::Values(1, 2, 3),
                         testing::PrintToStringParamName());

class RecordingFaults : public testing::TestWithParam<Case> {
 protected:
  template <typename KindOfWork>
  void expect_no_harm() {
    KindOfWork work(GetParam().generation);
    walk(work, GetParam().kind);
  }
};

TEST_P(RecordingFaults, FailTheFrameAndNoOther) { expect_no_harm<CaptureWork>(); }

TEST_P(RecordingFaults, FailTheRangeOfTheRingAndNothingElse) { expect_no_harm<RingWork>(); }

INSTANTIATE_TEST_SUITE_P(Calls, RecordingFaults,
                         testing::ValuesIn(cases_of({kFaultOpen, kFaultWrite, kFaultShortWrite,
                                                     kFaultRead, kFaultClose, kFaultMakeFolder,
                                                     kFaultAllocation})),
                         case_name);

class ReadingBackFaults : public RecordingFaults {};

TEST_P(ReadingBackFaults, FailTheFrameAndNoOther) { expect_no_harm<VerifiedCaptureWork>(); }

INSTANTIATE_TEST_SUITE_P(Calls, ReadingBackFaults,
                         testing::ValuesIn(cases_of({kFaultOpen, kFaultRead, kFaultAllocation})),
                         case_name);

class ManyLabelsFaults : public RecordingFaults {};

TEST_P(ManyLabelsFaults, FailTheFrameAndNoOther) { expect_no_harm<RampCaptureWork>(); }

// Nothing but memory is what they want more of. Sanitizers leave none of these.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ManyLabelsFaults);
INSTANTIATE_TEST_SUITE_P(Calls, ManyLabelsFaults, testing::ValuesIn(cases_of({kFaultAllocation})),
                         case_name);

}  // namespace
}  // namespace depth_io::test
