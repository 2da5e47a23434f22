#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstddef>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace depth_io::tools {

/// Keeps signals from the threads that are started during its life: they interrupt the thread that
/// starts them, which waits and decides.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_ = {};
};

/// Pieces of work on several threads, their results taken in the order of the pieces by the thread
/// that calls `run`. Only few results wait at any time.
template <typename Result>
class WorkInOrder {
 public:
  /// `jobs` threads, at least one.
  WorkInOrder(std::size_t count, int jobs)
      : count_(count), jobs_(static_cast<std::size_t>(std::max(jobs, 1))), places_(2 * jobs_ + 2) {}

  /// Each thread calls `make_worker()` once, and what that gives for each of its pieces:
  /// `worker(piece)` makes a `Result`. `take(piece, result)` gets the results one after the other.
  /// When `stop()` becomes true no piece is begun any more; those begun are finished and taken.
  /// What a piece or `take` throws is thrown on, after all before it was taken.
  template <typename MakeWorker, typename Take, typename Stop>
  void run(MakeWorker make_worker, Take take, Stop stop) {
    const Threads threads(*this);
    start(threads, make_worker);
    for (std::size_t piece = 0; piece < count_; ++piece) {
      Place place;
      if (!wait_for(piece, stop, place)) break;
      if (place.error) std::rethrow_exception(place.error);
      take(piece, std::move(*place.result));
    }
  }

 private:
  struct Place {
    std::optional<Result> result;
    std::exception_ptr error;
    bool is_done() const { return result.has_value() || error != nullptr; }
  };

  /// Ends and joins the threads, however `run` is left.
  struct Threads {
    explicit Threads(WorkInOrder& work) : owner(work) {}
    ~Threads() {
      owner.end();
      for (std::thread& thread : owner.threads_) thread.join();
      owner.threads_.clear();
    }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;
    WorkInOrder& owner;
  };

  template <typename MakeWorker>
  void start(const Threads& /*they are joined*/, MakeWorker make_worker) {
    const SignalsBlocked blocked;
    for (std::size_t i = 0; i < std::min(jobs_, count_); ++i) {
      threads_.emplace_back([this, make_worker] { work(make_worker); });
    }
  }

  template <typename MakeWorker>
  void work(MakeWorker make_worker) {
    std::optional<decltype(make_worker())> worker;
    while (const std::optional<std::size_t> piece = next_piece()) {
      Place place;
      try {
        if (!worker) worker.emplace(make_worker());
        place.result.emplace((*worker)(*piece));
      } catch (...) {
        place.error = std::current_exception();
      }
      const std::lock_guard lock(mutex_);
      places_[*piece % places_.size()] = std::move(place);
      done_.notify_one();
    }
  }

  std::optional<std::size_t> next_piece() {
    std::unique_lock lock(mutex_);
    room_.wait(lock,
               [this] { return is_ending_ || next_ == count_ || next_ < taken_ + places_.size(); });
    if (is_ending_ || next_ == count_) return {};
    return next_++;
  }

  /// Takes a piece's place over as soon as it is done; false when it will not be.
  template <typename Stop>
  bool wait_for(std::size_t piece, Stop stop, Place& place) {
    constexpr std::chrono::milliseconds kLook(50);
    std::unique_lock lock(mutex_);
    Place& source = places_[piece % places_.size()];
    while (!source.is_done()) {
      if (is_ending_ && piece >= next_) return false;
      done_.wait_for(lock, kLook);
      if (is_ending_ || !stop()) continue;
      is_ending_ = true;
      room_.notify_all();
    }
    place = std::exchange(source, Place());
    taken_ = piece + 1;
    if (!is_ending_ && stop()) is_ending_ = true;
    room_.notify_all();
    return true;
  }

  void end() {
    const std::lock_guard lock(mutex_);
    is_ending_ = true;
    room_.notify_all();
  }

  const std::size_t count_;
  const std::size_t jobs_;
  std::mutex mutex_;
  std::condition_variable done_;
  std::condition_variable room_;
  std::vector<Place> places_;  ///< of piece i: i modulo their number
  std::vector<std::thread> threads_;
  std::size_t next_ = 0;   ///< piece to begin
  std::size_t taken_ = 0;  ///< pieces taken
  bool is_ending_ = false;
};

}  // namespace depth_io::tools
