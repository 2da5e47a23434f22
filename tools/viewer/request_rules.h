#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Which requests the viewer answers. The page holds private pictures and can start exports, and
/// every web page that the user has open may send requests to this machine.
namespace depth_io::tools {

/// What is looked at before a request is answered.
struct RequestFacts {
  std::string method;
  std::string path;
  std::size_t hosts = 0;  ///< how often the header stands there
  std::string host;
  std::string origin;      ///< empty: none told
  std::string fetch_site;  ///< the browser's Sec-Fetch-Site; empty: none told
  std::string token;       ///< that the page got with its address
  std::string content_type;
  bool wants_range = false;
};

/// Why a request is not answered.
struct Refusal {
  int status;  ///< of HTTP, 4xx
  const char* reason;
};

inline constexpr char kApiPrefix[] = "/api/";

class RequestRules {
 public:
  /// `token` is the secret of the page's address; `names` are those by which the server is reached,
  /// beside "localhost" and addresses in figures.
  RequestRules(std::string token, std::vector<std::string> names);

  std::optional<Refusal> refusal_of(const RequestFacts& request) const;

 private:
  bool knows_host(std::string_view host) const;
  bool has_token(std::string_view given) const;

  std::string token_;
  std::vector<std::string> names_;
};

/// A secret of so many bytes in hexadecimal digits. Throws `Failure` when the system has none.
std::string random_token(std::size_t bytes);

/// Whether an address leads to this machine only.
bool is_loopback(std::string_view address);

/// A whole number from 0 to `most`, in digits only.
std::optional<std::uint64_t> parse_count(std::string_view text, std::uint64_t most);

/// Whether a text can name a new directory: letters, digits, ".", "-" and "_", beginning with a
/// letter or digit, at most 100 of them.
bool is_plain_name(std::string_view text);

}  // namespace depth_io::tools
