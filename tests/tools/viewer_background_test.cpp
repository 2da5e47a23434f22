#include <gtest/gtest.h>

#include <chrono>
#include <stop_token>
#include <thread>

#include "tools/viewer/background.h"

namespace depth_io::tools::test {
namespace {

using namespace std::chrono_literals;

std::chrono::steady_clock::duration time_to_give_way(const Background& background,
                                                     const std::stop_token& stop) {
  const auto begin = std::chrono::steady_clock::now();
  background.give_way(stop);
  return std::chrono::steady_clock::now() - begin;
}

TEST(Background, GoesOnWhereNoFrameIsWanted) {
  const Background background;
  // A wait is a nap at least.
  EXPECT_LT(time_to_give_way(background, {}), 20ms);
}

TEST(Background, WaitsAfterARequest) {
  Background background;
  background.note_request();
  EXPECT_GE(time_to_give_way(background, {}), 250ms);
}

TEST(Background, LosesItsPatienceWhileRequestsKeepComing) {
  Background background;
  background.note_request();
  const std::jthread requests([&](const std::stop_token& stop) {
    while (!stop.stop_requested()) {
      background.note_request();
      std::this_thread::sleep_for(5ms);
    }
  });
  EXPECT_GE(time_to_give_way(background, {}), 450ms);
}

TEST(Background, EndsWhenItIsStopped) {
  Background background;
  background.note_request();
  std::stop_source source;
  source.request_stop();
  EXPECT_LT(time_to_give_way(background, source.get_token()), 200ms);
}

}  // namespace
}  // namespace depth_io::tools::test
