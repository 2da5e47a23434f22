#include "tools/viewer/http_server.h"

#include <cerrno>
#include <chrono>
#include <cstring>

#include "tools/system/failure.h"
#include "tools/viewer/connection.h"

namespace depth_io::tools {
namespace {

/// Set while a connection is handed over that nobody has the time to serve.
thread_local bool turned_away = false;

/// Status of the last answer of this thread.
thread_local int last_status = 0;

constexpr int kFirstErrorStatus = 400;

void set_socket_options(socket_t socket) {
  // Without the sharing of ports that is usual there: two servers would take turns.
  const int yes = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

}  // namespace

ConnectionQueue::ConnectionQueue(std::size_t threads) {
  for (std::size_t i = 0; i < threads; ++i) threads_.emplace_back([this] { work(); });
}

void ConnectionQueue::enqueue(std::function<void()> serve) {
  {
    const std::lock_guard lock(mutex_);
    if (jobs_.size() < kMostWaiting) {
      jobs_.push_back(std::move(serve));
      waiting_ = jobs_.size();
      changed_.notify_one();
      return;
    }
  }
  turned_away = true;
  serve();
  turned_away = false;
}

void ConnectionQueue::shutdown() {
  {
    const std::lock_guard lock(mutex_);
    is_ending_ = true;
  }
  changed_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void ConnectionQueue::work() {
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return !jobs_.empty() || is_ending_; });
    if (jobs_.empty()) return;
    const std::function<void()> serve = std::move(jobs_.front());
    jobs_.pop_front();
    waiting_ = jobs_.size();
    lock.unlock();
    serve();
    lock.lock();
  }
}

HttpServer::HttpServer() {
  new_task_queue = [this] {
    queue_ = new ConnectionQueue(kThreads);
    return queue_;
  };
  set_socket_options(depth_io::tools::set_socket_options);
  set_tcp_nodelay(true);
  set_keep_alive_max_count(kMostRequestsOfConnection);
  set_logger([](const httplib::Request&, const httplib::Response& response) {
    last_status = response.status;
  });
}

HttpServer::~HttpServer() { finish(); }

int HttpServer::take_port(const std::string& address, int port) {
  errno = 0;
  if (port == 0) {
    const int taken = bind_to_any_port(address);
    if (taken > 0) return taken;
  } else if (bind_to_port(address, port)) {
    return port;
  }
  const std::string place = "port " + std::to_string(port) + " of '" + address + "'";
  if (errno == EADDRINUSE) throw Failure(place + " is taken by another program");
  throw Failure("cannot listen on " + place +
                (errno != 0 ? std::string(": ") + std::strerror(errno) : std::string()));
}

void HttpServer::start() {
  listener_ = std::thread([this] {
    listen_after_bind();
    has_ended_ = true;
  });
}

void HttpServer::finish() {
  if (!listener_.joinable()) return;
  closing_ = true;
  // It can be stopped only once it runs.
  while (!is_running() && !has_ended_) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  stop();
  listener_.join();
}

bool HttpServer::process_and_close_socket(socket_t socket) {
  if (!turned_away) serve(socket);
  shutdown(socket, SHUT_RDWR);
  close(socket);
  return true;
}

void HttpServer::serve(socket_t socket) {
  Connection connection(socket, closing_);
  const auto is_busy = [this] { return queue_->is_waited_for(); };
  for (int i = 0; i < kMostRequestsOfConnection && connection.wait_for_request(is_busy); ++i) {
    connection.start_request();
    const bool is_last = closing_ || is_busy();
    bool client_closes = false;
    const bool answered =
        process_request(connection, is_last, client_closes, [](httplib::Request& request) {
          // Ranges could be many and large; compression would cost more than it saves here.
          request.ranges.clear();
          request.headers.erase("Accept-Encoding");
        });
    // What is left of a refused request must not be taken for the next one.
    if (!answered || is_last || client_closes || last_status >= kFirstErrorStatus) return;
  }
}

}  // namespace depth_io::tools
