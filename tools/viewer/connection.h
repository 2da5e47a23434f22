#pragma once

#include <httplib.h>

#include <array>
#include <atomic>
#include <functional>

namespace depth_io::tools {

/// A client's connection, bounded in every direction: a request may be only so large and take only
/// so long to arrive, and a client that stops reading is given up.
class Connection : public httplib::Stream {
 public:
  /// Does not own the socket. `closing` ends all waits.
  Connection(socket_t socket, const std::atomic<bool>& closing);

  /// Waits for a request; false when none comes soon, the client is gone, or `is_busy` tells that
  /// others wait for this thread.
  bool wait_for_request(const std::function<bool()>& is_busy);

  /// Begins a request: it may take its bytes and its time anew.
  void start_request();

  bool is_readable() const override;
  bool is_writable() const override;
  ssize_t read(char* bytes, size_t size) override;
  ssize_t write(const char* bytes, size_t size) override;
  void get_remote_ip_and_port(std::string& ip, int& port) const override;
  void get_local_ip_and_port(std::string& ip, int& port) const override;
  socket_t socket() const override { return socket_; }

 private:
  static constexpr std::size_t kLargestRequest = 32768;  ///< bytes, header and contents
  static constexpr double kRequestSeconds = 10;
  static constexpr double kWriteSeconds = 30;
  static constexpr double kIdleSeconds = 10;
  static constexpr double kPollSeconds = 0.05;

  bool wait_for(short events, double seconds) const;
  bool poll_once(short events, double seconds) const;

  socket_t socket_;
  const std::atomic<bool>& closing_;
  std::array<char, 4096> buffer_;
  std::size_t buffer_begin_ = 0;
  std::size_t buffer_end_ = 0;
  std::size_t request_bytes_ = 0;
  double request_end_ = 0;  ///< on the monotonic clock
};

}  // namespace depth_io::tools
