#include "tools/viewer/connection.h"

#include <poll.h>

#include <cerrno>
#include <cstring>

#include "tools/system/interruption.h"

namespace depth_io::tools {
namespace {

using NameOfEnd = int (*)(int, sockaddr*, socklen_t*);

void tell_address(socket_t socket, NameOfEnd name_of_end, std::string& ip, int& port) {
  sockaddr_storage address = {};
  socklen_t size = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  if (name_of_end(socket, generic, &size) != 0) return;
  std::array<char, NI_MAXHOST> host{};
  std::array<char, NI_MAXSERV> service{};
  if (getnameinfo(generic, size, host.data(), host.size(), service.data(), service.size(),
                  NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
    return;
  }
  ip = host.data();
  port = std::atoi(service.data());
}

}  // namespace

Connection::Connection(socket_t socket, const std::atomic<bool>& closing)
    : socket_(socket), closing_(closing) {
  start_request();
}

bool Connection::wait_for_request(const std::function<bool()>& is_busy) {
  if (buffer_begin_ < buffer_end_) return true;
  for (double waited = 0; waited < kIdleSeconds; waited += kPollSeconds) {
    if (poll_once(POLLIN, kPollSeconds)) return true;
    if (closing_ || is_busy()) return false;
  }
  return false;
}

void Connection::start_request() {
  request_bytes_ = 0;
  request_end_ = monotonic_seconds() + kRequestSeconds;
}

bool Connection::poll_once(short events, double seconds) const {
  pollfd wanted{socket_, events, 0};
  return poll(&wanted, 1, static_cast<int>(seconds * 1e3)) > 0;
}

bool Connection::wait_for(short events, double seconds) const {
  const double end = monotonic_seconds() + seconds;
  while (!poll_once(events, kPollSeconds)) {
    if (closing_ || monotonic_seconds() > end) return false;
  }
  return true;
}

bool Connection::is_readable() const { return buffer_begin_ < buffer_end_ || poll_once(POLLIN, 0); }

bool Connection::is_writable() const { return poll_once(POLLOUT, 0); }

ssize_t Connection::read(char* bytes, size_t size) {
  if (request_bytes_ >= kLargestRequest) return -1;
  if (buffer_begin_ == buffer_end_) {
    const double left = request_end_ - monotonic_seconds();
    if (left <= 0 || !wait_for(POLLIN, left)) return -1;
    const ssize_t count = recv(socket_, buffer_.data(), buffer_.size(), 0);
    if (count <= 0) return count;
    buffer_begin_ = 0;
    buffer_end_ = static_cast<std::size_t>(count);
  }
  const std::size_t taken =
      std::min({size, buffer_end_ - buffer_begin_, kLargestRequest - request_bytes_});
  std::memcpy(bytes, buffer_.data() + buffer_begin_, taken);
  buffer_begin_ += taken;
  request_bytes_ += taken;
  return static_cast<ssize_t>(taken);
}

ssize_t Connection::write(const char* bytes, size_t size) {
  const double end = monotonic_seconds() + kWriteSeconds;
  std::size_t written = 0;
  while (written < size) {
    if (!wait_for(POLLOUT, end - monotonic_seconds())) return -1;
    const ssize_t count =
        send(socket_, bytes + written, size - written, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count < 0 && errno != EAGAIN && errno != EINTR) return -1;
    if (count > 0) written += static_cast<std::size_t>(count);
  }
  return static_cast<ssize_t>(written);
}

void Connection::get_remote_ip_and_port(std::string& ip, int& port) const {
  tell_address(socket_, getpeername, ip, port);
}

void Connection::get_local_ip_and_port(std::string& ip, int& port) const {
  tell_address(socket_, getsockname, ip, port);
}

}  // namespace depth_io::tools
