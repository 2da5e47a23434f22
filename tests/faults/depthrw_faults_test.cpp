#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "tests/faults/fault_walk.h"
#include "tests/tools/depthrw_fixture.h"
#include "tests/tools/image_directory.h"
#include "tests/tools/remains.h"

// The program with faults below the directory that it works on. The shim is preloaded.
namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

/// A program is slow to start: of its many allocations fewer are tried. A tree's engine makes tens
/// of thousands of equal ones, those of its lists' rows, between its first and its last
/// `kTriedAtEnds`.
long next_run(FaultKind kind, long nth, long calls) {
  constexpr long kTriedAtEnds = 1000;
  constexpr long kStepBetween = 97;
  if (kind != kFaultAllocation) return next_tried(nth);
  if (!tries_every_error()) return nth + 1 + nth / 2;
  const bool is_between = nth > kTriedAtEnds && nth + kStepBetween < calls - kTriedAtEnds;
  return nth + (is_between ? kStepBetween : 1);
}

/// What the program's failure may look like.
void expect_honest_end(const ProgramResult& result) {
  EXPECT_TRUE(result.status == 0 || result.status == 1 || result.status == 3) << result.status;
  EXPECT_TRUE(result.status == 0 || !result.messages.empty());
}

class DepthrwFaults : public Depthrw {
 protected:
  /// Runs the program with a fault below "rec"; whether a call failed.
  bool run_with_fault(const Fault& fault, const std::vector<std::string>& arguments) {
    const std::string report = path("report");
    const std::string setting = std::to_string(fault.kind) + " " + std::to_string(fault.nth) + " " +
                                std::to_string(fault.error) + " " +
                                std::to_string(int{fault.lasting}) + " " + report + " " +
                                path("rec");
    fs::remove(report);
    setenv("FAULT_SHIM", setting.c_str(), 1);
    setenv("LD_PRELOAD", FAULT_SHIM_LIBRARY, 1);
    result_ = run_program(arguments);
    unsetenv("LD_PRELOAD");
    unsetenv("FAULT_SHIM");
    return fs::exists(report);
  }

  /// How many allocations there are; `try_one` tells whether one failed.
  template <typename Try>
  static long count_allocations(const Try& try_one) {
    const auto is_reached = [&](long nth) {
      return try_one(Fault{kFaultAllocation, nth, ENOMEM, false});
    };
    long reached = 1;
    while (is_reached(2 * reached)) reached *= 2;
    long not_reached = 2 * reached;
    while (not_reached - reached > 1) {
      const long middle = (reached + not_reached) / 2;
      (is_reached(middle) ? reached : not_reached) = middle;
    }
    return reached;
  }

  /// Walks through all calls of a kind; `try_one` tells whether a call failed.
  template <typename Try>
  void walk_program(FaultKind kind, const Try& try_one) {
    if (kind == kFaultAllocation && !kAllocationsCanFail) return;
    const bool is_long = kind == kFaultAllocation && tries_every_error();
    const long calls = is_long ? count_allocations(try_one) : 0;
    WalkCount count;
    for (const bool lasting : {false, true}) {
      bool was_reached = true;
      for (long nth = 1; was_reached && !HasFailure(); nth = next_run(kind, nth, calls)) {
        was_reached = false;
        for (std::size_t error = 0; error < kErrors.size(); ++error) {
          if (!is_tried(kind, nth, error, lasting)) continue;
          const Fault fault{kind, nth, kErrors[error], lasting};
          SCOPED_TRACE(describe(fault));
          const bool has_failed = try_one(fault);
          was_reached |= has_failed;
          count.add(has_failed);
        }
      }
    }
    tell_count(kind, count);
  }

  /// A command that only reads gives what it gives without a fault, or fails.
  void expect_right_output_or_failure(const std::vector<std::string>& arguments,
                                      std::initializer_list<FaultKind> kinds) {
    const ProgramResult good = run_program(arguments);
    ASSERT_EQ(good.status, 0) << good.messages;
    for (const FaultKind kind : kinds) {
      walk_program(kind, [&](const Fault& fault) {
        const bool has_failed = run_with_fault(fault, arguments);
        expect_honest_end(result_);
        EXPECT_TRUE(has_failed || result_.status == 0) << result_.messages;
        if (result_.status == 0) {
          EXPECT_EQ(result_.output, good.output) << result_.messages;
        }
        return has_failed;
      });
    }
  }

  ProgramResult result_;
};

/// Records two images in a layout.
class DepthrwRecordFaults : public DepthrwFaults, public testing::WithParamInterface<const char*> {
 protected:
  DepthrwRecordFaults() {
    images_.add_depth("0", 1500);
    images_.add_depth("1", 2500);
    images_.add_colour("0", {200, 100, 50});
    images_.add_colour("1", {50, 100, 200});
  }
  std::vector<std::string> record_arguments() {
    return {"record",   "--out",      path("rec"), "--source",     "images:" + images_.path(),
            "--layout", GetParam(),   "--start",   kFirstStart,    "--fps",
            "1",        "--min-free", "0",         "--acknowledge"};
  }

  bool record_with(const Fault& fault) {
    fs::remove_all(path("rec"));
    const bool has_failed = run_with_fault(fault, record_arguments());
    expect_honest_end(result_);
    EXPECT_TRUE(has_failed || result_.status == 0) << result_.messages;
    const std::vector<std::string> acknowledged = split_lines(result_.output);
    if (result_.status == 0) {
      EXPECT_EQ(acknowledged.size(), 2U);
      EXPECT_EQ(description()["complete"], true);
    }
    if (!fs::is_directory(path("rec"))) return has_failed;
    expect_whole(acknowledged);
    expect_to_go_on(acknowledged);
    return has_failed;
  }

 private:
  static constexpr char kFirstStart[] = "2013-04-09T14:05:07.000";
  static constexpr char kLaterStart[] = "2013-04-09T14:06:07.000";

  void expect_whole(const std::vector<std::string>& acknowledged) {
    const Remains remains = look_at(path("rec"));
    for (const std::string& name : acknowledged) {
      EXPECT_TRUE(remains.whole.contains(name)) << name << ": " << result_.messages;
    }
    EXPECT_LE(remains.partial.size(), 1U) << result_.messages;
  }

  /// Trees can be gone on with once the fault is over.
  void expect_to_go_on(const std::vector<std::string>& acknowledged) {
    if (std::string(GetParam()) != "tree") return;
    std::vector<std::string> arguments = record_arguments();
    *std::find(arguments.begin(), arguments.end(), kFirstStart) = kLaterStart;
    arguments.emplace_back("--append");
    const ProgramResult later = run_program(arguments);
    EXPECT_EQ(later.status, 0) << later.messages;
    expect_whole(acknowledged);
    expect_whole(split_lines(later.output));
  }

  ImageDirectory images_;
};

TEST_P(DepthrwRecordFaults, LoseNoAcknowledgedFrameAndAreTold) {
  std::vector<FaultKind> kinds = {kFaultOpen, kFaultWrite, kFaultMakeFolder};
  // What the layouts have in common is tried with one of them.
  if (std::string(GetParam()) == "tree" || tries_every_error()) {
    kinds.insert(kinds.end(), {kFaultShortWrite, kFaultRead, kFaultClose, kFaultReadFolder,
                               kFaultRename, kFaultAllocation});
  }
  for (const FaultKind kind : kinds) {
    walk_program(kind, [&](const Fault& fault) { return record_with(fault); });
  }
}

INSTANTIATE_TEST_SUITE_P(Layouts, DepthrwRecordFaults, testing::Values("tree", "numbered", "flat"),
                         [](const auto& tested) { return std::string(tested.param); });

TEST_F(DepthrwFaults, PlayDeliversWhatIsThereOrFails) {
  record("tree", "2", {"--no-colour"});
  expect_right_output_or_failure({"play", path("rec"), "--json"},
                                 {kFaultOpen, kFaultRead, kFaultReadFolder, kFaultAllocation});
}

TEST_F(DepthrwFaults, VerifyFindsAllWholeOrFails) {
  record("numbered", "2", {"--no-colour"});
  expect_right_output_or_failure({"verify", path("rec")},
                                 {kFaultOpen, kFaultRead, kFaultReadFolder, kFaultAllocation});
}

TEST_F(DepthrwFaults, InfoTellsTheTruthOrFails) {
  record("tree", "2", {"--no-colour"});
  expect_right_output_or_failure({"info", path("rec")},
                                 {kFaultOpen, kFaultRead, kFaultReadFolder, kFaultAllocation});
}

TEST_F(DepthrwFaults, ReportsAsJsonAreWholeOrFail) {
  record("tree", "2", {"--no-colour"});
  expect_right_output_or_failure({"info", path("rec"), "--json"}, {kFaultAllocation});
  expect_right_output_or_failure({"verify", path("rec"), "--json"}, {kFaultAllocation});
}

TEST_F(DepthrwFaults, RepairLeavesTheCatalogueRightOrFails) {
  record("numbered", "2", {"--no-colour"});
  ASSERT_EQ(run_program({"catalogue", path("rec")}).status, 0);
  const std::vector<std::string> names = {"rec/info.txt", "rec/info00000000.txt",
                                          "rec/00000000/list.txt"};
  const auto catalogue = [&] {
    std::string text;
    for (const std::string& name : names) text += read_file(path(name)) + "|";
    return text;
  };
  const std::string good = catalogue();
  for (const FaultKind kind : {kFaultOpen, kFaultRead, kFaultWrite, kFaultClose, kFaultReadFolder,
                               kFaultRename, kFaultAllocation}) {
    walk_program(kind, [&](const Fault& fault) {
      std::ofstream(path("rec/info.txt")) << "nb_sub_dir 7\n";
      const bool has_failed = run_with_fault(fault, {"repair", path("rec")});
      expect_honest_end(result_);
      EXPECT_TRUE(has_failed || result_.status == 0) << result_.messages;
      if (result_.status == 0) {
        EXPECT_EQ(catalogue(), good) << result_.messages;
      }
      return has_failed;
    });
  }
}

TEST_F(DepthrwFaults, CatalogueIsWrittenOrFails) {
  record("numbered", "2", {"--no-colour"});
  expect_right_output_or_failure({"catalogue", path("rec")},
                                 {kFaultOpen, kFaultRead, kFaultWrite, kFaultClose,
                                  kFaultReadFolder, kFaultRename, kFaultAllocation});
}

}  // namespace
}  // namespace depth_io::test
