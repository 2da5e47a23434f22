#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/tools/depthrw_fixture.h"
#include "tools/viewer/viewer_server.h"

namespace depth_io::test {

/// An answer of the server: its status and contents.
struct Answer {
  int status = 0;
  std::string body;
  httplib::Headers headers;

  std::string header(const std::string& name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? std::string() : found->second;
  }
  nlohmann::json json() const { return nlohmann::json::parse(body, nullptr, false); }
};

/// A recording "rec" of the synthetic scene, shown by a server in this process.
class Viewer : public Depthrw {
 protected:
  static constexpr int kFrames = 3;

  /// Records, and starts the server; `export_program` makes its exports in "exports".
  void start(const std::string& layout = "tree", const std::string& export_program = "/bin/true") {
    ASSERT_NO_FATAL_FAILURE(record(layout, std::to_string(kFrames)));
    start_server(export_program);
  }

  void start_server(const std::string& export_program = "/bin/true") {
    std::filesystem::create_directories(path("exports"));
    tools::ViewerSettings settings;
    settings.directory = path("rec");
    settings.address = "127.0.0.1";
    settings.exports = path("exports");
    settings.export_program = export_program;
    server_ = std::make_unique<tools::ViewerServer>(settings);
    server_->start();
    const std::string address = server_->page_address();
    token_ = address.substr(address.find("token=") + 6);
  }

  void TearDown() override { server_.reset(); }

  int port() const { return server_->port(); }
  std::string host() const { return "127.0.0.1:" + std::to_string(port()); }
  const std::string& token() const { return token_; }
  httplib::Headers with_token() const { return {{"X-Depthrw-Token", token_}}; }

  Answer get(const std::string& path) { return get(path, with_token()); }
  Answer get(const std::string& path, const httplib::Headers& headers) {
    httplib::Client client("127.0.0.1", port());
    return answer_of(client.Get(path, headers));
  }
  Answer post(const std::string& path, const nlohmann::json& body) {
    return post(path, body.dump(), with_token());
  }
  Answer post(const std::string& path, const std::string& body, const httplib::Headers& headers,
              const std::string& type = "application/json") {
    httplib::Client client("127.0.0.1", port());
    return answer_of(client.Post(path, headers, body, type));
  }

  /// Sends bytes as they are, and returns all that comes back until the server closes.
  std::string exchange(const std::string& bytes) {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port()));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::string received;
    if (connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
      for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) break;
        sent += static_cast<std::size_t>(count);
      }
      shutdown(socket, SHUT_WR);
      char buffer[4096];
      for (ssize_t count = 0; (count = recv(socket, buffer, sizeof buffer, 0)) > 0;) {
        received.append(buffer, static_cast<std::size_t>(count));
      }
    }
    close(socket);
    return received;
  }

  /// The server is there and answers as ever.
  void expect_alive() { EXPECT_EQ(get("/api/recording").status, 200); }

  std::unique_ptr<tools::ViewerServer> server_;

 private:
  static Answer answer_of(const httplib::Result& result) {
    if (!result) return {};
    return {result->status, result->body, result->headers};
  }

  std::string token_;
};

}  // namespace depth_io::test
