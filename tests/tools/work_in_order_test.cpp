#include "tools/system/work_in_order.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>

namespace depth_io::tools {
namespace {

constexpr auto kNeverStop = [] { return false; };

void pause_by(std::size_t piece) {
  std::this_thread::sleep_for(std::chrono::microseconds((piece * 7919) % 300));
}

/// Doubles numbers, some slowly.
auto doubling() {
  return [] {
    return [](std::size_t piece) {
      pause_by(piece);
      return 2 * piece;
    };
  };
}

TEST(WorkInOrder, ResultsComeInTheOrderOfThePieces) {
  for (const int jobs : {1, 2, 7, 64}) {
    std::vector<std::size_t> taken;
    WorkInOrder<std::size_t>(200, jobs).run(
        doubling(),
        [&](std::size_t piece, std::size_t result) {
          EXPECT_EQ(result, 2 * piece);
          taken.push_back(piece);
        },
        kNeverStop);
    ASSERT_EQ(taken.size(), 200U) << jobs;
    for (std::size_t i = 0; i < taken.size(); ++i) ASSERT_EQ(taken[i], i);
  }
}

TEST(WorkInOrder, NoPiecesAreNoWork) {
  WorkInOrder<std::size_t>(0, 3).run(
      doubling(), [](std::size_t, std::size_t) { FAIL(); }, kNeverStop);
}

TEST(WorkInOrder, EachThreadHasOneWorker) {
  std::atomic<int> workers = 0;
  const auto make_worker = [&workers] {
    ++workers;
    return [](std::size_t piece) {
      pause_by(piece);
      return piece;
    };
  };
  WorkInOrder<std::size_t>(100, 4).run(
      make_worker, [](std::size_t, std::size_t) {}, kNeverStop);
  EXPECT_GE(workers, 1);
  EXPECT_LE(workers, 4);
}

TEST(WorkInOrder, FewResultsWait) {
  std::atomic<std::size_t> begun = 0;
  std::size_t most_ahead = 0;
  const auto make_worker = [&begun] {
    return [&begun](std::size_t piece) {
      ++begun;
      return piece;
    };
  };
  WorkInOrder<std::size_t>(500, 4).run(
      make_worker,
      [&](std::size_t piece, std::size_t) {
        pause_by(piece);
        most_ahead = std::max(most_ahead, begun - piece);
      },
      kNeverStop);
  EXPECT_LE(most_ahead, 12U);
}

TEST(WorkInOrder, WhatIsBegunWhenItStopsIsTaken) {
  std::atomic<std::size_t> begun = 0;
  std::size_t taken = 0;
  const auto make_worker = [&begun] {
    return [&begun](std::size_t piece) {
      ++begun;
      return piece;
    };
  };
  WorkInOrder<std::size_t>(100000, 4).run(
      make_worker, [&](std::size_t, std::size_t) { ++taken; }, [&] { return taken >= 10; });
  EXPECT_EQ(taken, begun);
  EXPECT_GE(taken, 10U);
  EXPECT_LT(taken, 100U);
}

TEST(WorkInOrder, ItStopsWhileAPieceTakesLong) {
  std::atomic<bool> is_begun = false;
  const auto make_worker = [&is_begun] {
    return [&is_begun](std::size_t piece) {
      is_begun = true;
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      return piece;
    };
  };
  std::size_t taken = 0;
  WorkInOrder<std::size_t>(1000, 1).run(
      make_worker, [&](std::size_t, std::size_t) { ++taken; }, [&] { return is_begun.load(); });
  EXPECT_EQ(taken, 1U);
}

TEST(WorkInOrder, AFailedPieceIsThrownAfterThoseBeforeIt) {
  const auto make_worker = [] {
    return [](std::size_t piece) {
      pause_by(100 - piece);
      if (piece >= 20) throw std::runtime_error(std::to_string(piece));
      return piece;
    };
  };
  std::size_t taken = 0;
  try {
    WorkInOrder<std::size_t>(100, 8).run(
        make_worker, [&](std::size_t, std::size_t) { ++taken; }, kNeverStop);
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "20");
  }
  EXPECT_EQ(taken, 20U);
}

TEST(WorkInOrder, AFailedTakerEndsIt) {
  EXPECT_THROW(WorkInOrder<std::size_t>(100, 3).run(
                   doubling(),
                   [](std::size_t piece, std::size_t) {
                     if (piece == 5) throw std::runtime_error("full");
                   },
                   kNeverStop),
               std::runtime_error);
}

}  // namespace
}  // namespace depth_io::tools
