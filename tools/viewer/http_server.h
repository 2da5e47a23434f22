#pragma once

#include <httplib.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace depth_io::tools {

/// Connections wait here for one of a few threads; when too many wait, the next one is turned away.
class ConnectionQueue : public httplib::TaskQueue {
 public:
  explicit ConnectionQueue(std::size_t threads);

  void enqueue(std::function<void()> serve) override;
  void shutdown() override;
  bool is_waited_for() const { return waiting_ > 0; }

 private:
  static constexpr std::size_t kMostWaiting = 64;

  void work();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> jobs_;
  std::atomic<std::size_t> waiting_ = 0;
  bool is_ending_ = false;
  std::vector<std::thread> threads_;
};

/// An HTTP server with bounded threads, waiting connections, sizes and times of requests. It serves
/// neither byte ranges nor compresses by itself.
class HttpServer : public httplib::Server {
 public:
  HttpServer();

  /// Takes a port of an address; 0 takes any free one. Returns the port. Throws `Failure`.
  int take_port(const std::string& address, int port);
  /// Answers requests in a thread of its own until `finish`.
  void start();
  /// Stops answering; returns when the last thread has ended.
  void finish();
  ~HttpServer() override;
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

 private:
  static constexpr std::size_t kThreads = 16;
  static constexpr int kMostRequestsOfConnection = 100000;

  bool process_and_close_socket(socket_t socket) override;
  void serve(socket_t socket);

  ConnectionQueue* queue_ = nullptr;  ///< the base class owns it
  std::atomic<bool> closing_ = false;
  std::atomic<bool> has_ended_ = false;
  std::thread listener_;
};

}  // namespace depth_io::tools
