#include "tools/viewer/request_rules.h"

#include <arpa/inet.h>
#include <sys/random.h>

#include <algorithm>
#include <charconv>
#include <utility>

#include "tools/system/failure.h"

namespace depth_io::tools {
namespace {

/// The host of "host:port", without the brackets of an IPv6 address.
std::string_view host_name(std::string_view host) {
  if (host.starts_with('[')) {
    const std::size_t end = host.find(']');
    return end == std::string_view::npos ? std::string_view() : host.substr(1, end - 1);
  }
  return host.substr(0, host.find(':'));
}

bool is_ip_address(std::string_view text) {
  const std::string address(text);
  in6_addr parsed = {};
  return inet_pton(AF_INET, address.c_str(), &parsed) == 1 ||
         inet_pton(AF_INET6, address.c_str(), &parsed) == 1;
}

bool is_letter_or_digit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

}  // namespace

RequestRules::RequestRules(std::string token, std::vector<std::string> names)
    : token_(std::move(token)), names_(std::move(names)) {}

std::optional<Refusal> RequestRules::refusal_of(const RequestFacts& request) const {
  const bool changes_state = request.method == "POST";
  const bool is_page = !request.path.starts_with(kApiPrefix);
  if (request.hosts != 1 || !knows_host(request.host)) {
    return Refusal{403, "the request names another host"};
  }
  if (!changes_state && request.method != "GET" && request.method != "HEAD") {
    return Refusal{405, "only GET, HEAD and POST are answered"};
  }
  if (request.wants_range) return Refusal{416, "ranges of bytes are not served"};
  if (!request.origin.empty() && request.origin != "http://" + request.host) {
    return Refusal{403, "the request comes from another page"};
  }
  // A link on another page may lead here, but nothing else of that page.
  const bool follows_link = is_page && request.path == "/" && !changes_state;
  const bool comes_from_here = request.fetch_site.empty() || request.fetch_site == "same-origin" ||
                               request.fetch_site == "none";
  if (!comes_from_here && !follows_link) return Refusal{403, "the request comes from another page"};
  if (is_page) return {};
  if (!has_token(request.token)) {
    return Refusal{401, "the request lacks the token of the address that depthrw printed"};
  }
  if (changes_state && request.content_type != "application/json") {
    return Refusal{415, "the request must be JSON"};
  }
  return {};
}

bool RequestRules::knows_host(std::string_view host) const {
  // A foreign name may have been made to lead here (rebinding); an address in figures cannot. Any
  // port will do: it is another one behind a tunnel.
  const std::string_view name = host_name(host);
  return name == "localhost" || is_ip_address(name) ||
         std::find(names_.begin(), names_.end(), name) != names_.end();
}

bool RequestRules::has_token(std::string_view given) const {
  // Takes the same time wherever they differ.
  unsigned difference = given.size() == token_.size() ? 0 : 1;
  for (std::size_t i = 0; i < std::min(given.size(), token_.size()); ++i) {
    difference |= static_cast<unsigned>(given[i] ^ token_[i]);
  }
  return difference == 0;
}

std::string random_token(std::size_t bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::vector<unsigned char> secret(bytes);
  if (getrandom(secret.data(), secret.size(), 0) != static_cast<ssize_t>(secret.size())) {
    throw Failure("the system gives no random numbers");
  }
  std::string text;
  for (const unsigned char byte : secret) {
    text.push_back(kDigits[byte >> 4U]);
    text.push_back(kDigits[byte & 15U]);
  }
  return text;
}

bool is_loopback(std::string_view address) {
  return address == "localhost" || address == "::1" ||
         (address.starts_with("127.") && is_ip_address(address));
}

std::optional<std::uint64_t> parse_count(std::string_view text, std::uint64_t most) {
  std::uint64_t count = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), count);
  if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size())
    return {};
  if (count > most) return {};
  return count;
}

bool is_plain_name(std::string_view text) {
  constexpr std::size_t kLongest = 100;
  if (text.empty() || text.size() > kLongest || !is_letter_or_digit(text.front())) return false;
  return std::all_of(text.begin(), text.end(), [](char c) {
    return is_letter_or_digit(c) || c == '.' || c == '-' || c == '_';
  });
}

}  // namespace depth_io::tools
