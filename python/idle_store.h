#pragma once

#include <cstddef>
#include <mutex>
#include <utility>
#include <vector>

namespace depth_io::python {

/// Keeps a few things that are expensive to make for those who need one next, in any thread.
template <typename Thing>
class IdleStore {
 public:
  explicit IdleStore(std::size_t most) : most_(most) { idle_.reserve(most); }

  /// An empty `Thing` when there is none.
  Thing take() {
    const std::lock_guard lock(mutex_);
    if (idle_.empty()) return {};
    Thing thing = std::move(idle_.back());
    idle_.pop_back();
    return thing;
  }

  /// Drops it when there are enough.
  void give(Thing thing) {
    const std::lock_guard lock(mutex_);
    if (idle_.size() < most_) idle_.push_back(std::move(thing));
  }

 private:
  const std::size_t most_;
  std::mutex mutex_;
  std::vector<Thing> idle_;
};

}  // namespace depth_io::python
