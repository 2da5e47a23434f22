#include <gtest/gtest.h>

#include "tools/viewer/request_rules.h"

namespace depth_io::tools {
namespace {

RequestFacts good_request() {
  RequestFacts request;
  request.method = "GET";
  request.path = "/api/recording";
  request.hosts = 1;
  request.host = "127.0.0.1:8123";
  request.token = "secret";
  return request;
}

RequestFacts good_change() {
  RequestFacts request = good_request();
  request.method = "POST";
  request.origin = "http://127.0.0.1:8123";
  request.fetch_site = "same-origin";
  request.content_type = "application/json";
  return request;
}

int status_of(const RequestFacts& request) {
  const auto refusal = RequestRules("secret", {"robot"}).refusal_of(request);
  return refusal ? refusal->status : 200;
}

TEST(RequestRules, AnswersThePageItself) { EXPECT_EQ(status_of(good_request()), 200); }

TEST(RequestRules, TakesAChangeFromThePage) { EXPECT_EQ(status_of(good_change()), 200); }

TEST(RequestRules, KnowsThisMachineByItsNamesAndByAddressesInFigures) {
  for (const char* host : {"localhost", "localhost:9000", "127.0.0.1", "192.168.1.7:80",
                           "[::1]:8123", "[fe80::1]", "robot:8123"}) {
    RequestFacts request = good_request();
    request.host = host;
    EXPECT_EQ(status_of(request), 200) << host;
  }
}

TEST(RequestRules, RefusesNamesThatMayHaveBeenMadeToLeadHere) {
  for (const char* host :
       {"", "evil.example", "evil.example:8123", "127.0.0.1.evil.example", "localhost.evil.example",
        "[::1", "[evil]:80", "robot.evil.example", "127.1"}) {
    RequestFacts request = good_request();
    request.host = host;
    EXPECT_EQ(status_of(request), 403) << host;
  }
}

TEST(RequestRules, WantsOneHostOnly) {
  RequestFacts request = good_request();
  request.hosts = 2;
  EXPECT_EQ(status_of(request), 403);
}

TEST(RequestRules, RefusesOtherOrigins) {
  for (const char* origin : {"http://evil.example", "null", "https://127.0.0.1:8123",
                             "http://127.0.0.1:8124", "http://localhost:8123"}) {
    RequestFacts request = good_change();
    request.origin = origin;
    EXPECT_EQ(status_of(request), 403) << origin;
  }
}

TEST(RequestRules, RefusesWhatOtherPagesMakeTheBrowserFetch) {
  for (const char* site : {"cross-site", "same-site"}) {
    RequestFacts request = good_request();
    request.fetch_site = site;
    EXPECT_EQ(status_of(request), 403) << site;
  }
}

TEST(RequestRules, LetsALinkOfAnotherPageLeadHere) {
  RequestFacts request = good_request();
  request.path = "/";
  request.fetch_site = "cross-site";
  request.token = "";
  EXPECT_EQ(status_of(request), 200);
}

TEST(RequestRules, WantsTheTokenForEverythingOfTheRecording) {
  for (const char* token : {"", "secre", "secret1", "Secret"}) {
    RequestFacts request = good_request();
    request.token = token;
    EXPECT_EQ(status_of(request), 401) << token;
  }
}

TEST(RequestRules, KnowsThreeMethods) {
  for (const char* method : {"PUT", "DELETE", "PATCH", "OPTIONS", "TRACE", "CONNECT", "get"}) {
    RequestFacts request = good_request();
    request.method = method;
    EXPECT_EQ(status_of(request), 405) << method;
  }
}

TEST(RequestRules, ServesNoRanges) {
  RequestFacts request = good_request();
  request.wants_range = true;
  EXPECT_EQ(status_of(request), 416);
}

TEST(RequestRules, TakesChangesAsJsonOnlyWhichFormsCannotSend) {
  for (const char* type : {"", "text/plain", "application/x-www-form-urlencoded"}) {
    RequestFacts request = good_change();
    request.content_type = type;
    EXPECT_EQ(status_of(request), 415) << type;
  }
}

TEST(ParseCount, TakesDigitsUpToTheMost) {
  EXPECT_EQ(parse_count("0", 10), 0U);
  EXPECT_EQ(parse_count("10", 10), 10U);
  for (const char* text :
       {"", "11", "-1", "+1", " 1", "1 ", "0x1", "1e3", "99999999999999999999"}) {
    EXPECT_FALSE(parse_count(text, 10)) << text;
  }
}

TEST(PlainName, IsOneNewDirectory) {
  for (const char* name : {"a", "run-3_png", "2013.04", "A.b"})
    EXPECT_TRUE(is_plain_name(name)) << name;
  for (const char* name :
       {"", ".", "..", ".hidden", "-x", "a/b", "a b", "a\nb", "a\\b", "\xC3\xA9"}) {
    EXPECT_FALSE(is_plain_name(name)) << name;
  }
  EXPECT_TRUE(is_plain_name(std::string(100, 'a')));
  EXPECT_FALSE(is_plain_name(std::string(101, 'a')));
}

TEST(RandomToken, IsAnotherOneEachTime) {
  EXPECT_EQ(random_token(16).size(), 32U);
  EXPECT_NE(random_token(16), random_token(16));
}

TEST(Loopback, IsThisMachineOnly) {
  for (const char* address : {"127.0.0.1", "127.9.9.9", "::1", "localhost"}) {
    EXPECT_TRUE(is_loopback(address)) << address;
  }
  for (const char* address : {"0.0.0.0", "192.168.1.7", "::", "127.evil.example", "robot"}) {
    EXPECT_FALSE(is_loopback(address)) << address;
  }
}

}  // namespace
}  // namespace depth_io::tools
