#include "tests/tools/viewer_fixture.h"

namespace depth_io::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// A refusal of the request's own making.
void expect_refused(const Answer& answer, const std::string& what) {
  EXPECT_GE(answer.status, 400) << what;
  EXPECT_LT(answer.status, 500) << what;
}

TEST_F(Viewer, RefusesPathsOutsideTheRecording) {
  start();
  write_file(path("rec/notes.txt"), "private");
  for (const char* target : {"/../../etc/passwd",
                             "/..%2f..%2fetc/passwd",
                             "/%2e%2e/%2e%2e/etc/passwd",
                             "//etc/passwd",
                             "/rec/notes.txt",
                             "/notes.txt",
                             "/recording.json",
                             "/api",
                             "/api/",
                             "/api/frames",
                             "/api/frames/",
                             "/api/frames/../recording?generation=1",
                             "/api/frames/0/../../recording?generation=1",
                             "/api/frames/0/notes.txt?generation=1",
                             "/api/frames/0/depth/?generation=1",
                             "/api/frames/%30%00/depth?generation=1",
                             "/app.js/",
                             "/app.js%00.css",
                             "/APP.JS",
                             "/index.html"}) {
    const Answer answer = get(target);
    expect_refused(answer, target);
    EXPECT_THAT(answer.body, testing::Not(HasSubstr("private"))) << target;
  }
  expect_alive();
}

TEST_F(Viewer, RefusesFramesThatThereAreNot) {
  start();
  for (const char* frame : {"3", "-1", "+1", "1.5", "1e2", "0x1", "", "a", "18446744073709551616",
                            "99999999999999999999999999", "%20", "2147483648"}) {
    const std::string target = std::string("/api/frames/") + frame + "/depth?generation=1";
    EXPECT_EQ(get(target).status, 404) << frame;
  }
  expect_alive();
}

TEST_F(Viewer, RefusesNumbersThatAreNone) {
  start();
  for (const char* target :
       {"/api/frames/0/depth", "/api/frames/0/depth?generation=",
        "/api/frames/0/depth?generation=x", "/api/frames/0/depth?generation=1&generation=2",
        "/api/facts?generation=1", "/api/facts?after=1", "/api/facts?generation=1&after=-1",
        "/api/facts?generation=1&after=4294967296", "/api/motion?generation=1&after=0&first=0",
        "/api/motion?generation=1&after=0&first=0&last=1e9",
        "/api/motion?generation=1&after=0&first=0&last=99999999999"}) {
    EXPECT_EQ(get(target).status, 400) << target;
  }
  expect_alive();
}

TEST_F(Viewer, AnswersHugeRangesOfFramesWithWhatThereIs) {
  start();
  EXPECT_EQ(
      get("/api/motion?generation=1&after=4294967295&first=4294967295&last=4294967295").status,
      200);
  EXPECT_EQ(get("/api/motion?generation=1&after=0&first=0&last=4294967295").status, 200);
  EXPECT_EQ(get("/api/facts?generation=18446744073709551615&after=4294967295").status, 200);
  expect_alive();
}

TEST_F(Viewer, RefusesRangesOfBytes) {
  start();
  std::string many = "bytes=0-";
  for (int i = 0; i < 1500; ++i) many += ",0-";
  for (const std::string& range :
       {std::string("bytes=0-1"), std::string("bytes=0-99999999999999999999"),
        std::string("bytes=-1"), std::string("bytes=5-1"), std::string("lines=1"), many}) {
    httplib::Headers headers = with_token();
    headers.emplace("Range", range);
    const Answer answer = get("/api/frames/0/depth?generation=1", headers);
    EXPECT_EQ(answer.status, 416) << range.substr(0, 40);
    EXPECT_LT(answer.body.size(), 1000U) << range.substr(0, 40);
  }
  expect_alive();
}

TEST_F(Viewer, RefusesOtherOriginsAndHosts) {
  start();
  httplib::Headers origin = with_token();
  origin.emplace("Origin", "http://evil.example");
  EXPECT_EQ(get("/api/recording", origin).status, 403);
  EXPECT_EQ(post("/api/exports", "{}", origin).status, 403);
  httplib::Headers other_host = with_token();
  other_host.emplace("Host", "evil.example:" + std::to_string(port()));
  EXPECT_EQ(get("/api/recording", other_host).status, 403);
  EXPECT_EQ(get("/", {{"Host", "evil.example"}}).status, 403);
  EXPECT_THAT(exchange("GET / HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 403"));
  EXPECT_THAT(exchange("GET / HTTP/1.1\r\nHost: " + host() + "\r\nHost: " + host() + "\r\n\r\n"),
              StartsWith("HTTP/1.1 403"));
}

TEST_F(Viewer, WantsItsToken) {
  start();
  for (const char* target :
       {"/api/recording", "/api/index", "/api/frames/0/depth?generation=1", "/api/exports"}) {
    EXPECT_EQ(get(target, {}).status, 401) << target;
    EXPECT_EQ(get(target, {{"X-Depthrw-Token", "00000000000000000000000000000000"}}).status, 401)
        << target;
  }
  EXPECT_EQ(post("/api/exports", "{}", {}).status, 401);
}

TEST_F(Viewer, RefusesOtherMethods) {
  start();
  const std::string rest = " /api/recording HTTP/1.1\r\nHost: " + host() +
                           "\r\nX-Depthrw-Token: " + token() + "\r\n\r\n";
  for (const char* method : {"PUT", "DELETE", "PATCH", "OPTIONS", "TRACE", "FOO", "get"}) {
    EXPECT_THAT(exchange(method + rest), StartsWith("HTTP/1.1 40")) << method;
  }
  EXPECT_EQ(post("/api/recording", nlohmann::json::object()).status, 404);
  expect_alive();
}

TEST_F(Viewer, SurvivesWhatIsNoRequest) {
  start();
  const std::string host_line = "Host: " + host() + "\r\n";
  std::string many_headers;
  for (int i = 0; i < 20000; ++i) many_headers += "X-" + std::to_string(i) + ": 1\r\n";
  const std::string requests[] = {
      "",
      "\r\n\r\n",
      "GET",
      "GET /\r\n\r\n",
      "GET / HTTP/9.9\r\n" + host_line + "\r\n",
      "\x16\x03\x01\x02",
      std::string(1000, '\0'),
      std::string(100000, 'A'),
      "GET /" + std::string(100000, 'a') + " HTTP/1.1\r\n" + host_line + "\r\n",
      "GET /?" + std::string(7000, '&') + " HTTP/1.1\r\n" + host_line + "\r\n",
      "GET /" + std::string(8000, '%') + " HTTP/1.1\r\n" + host_line + "\r\n",
      "GET / HTTP/1.1\r\nX: " + std::string(100000, 'b') + "\r\n" + host_line + "\r\n",
      "GET / HTTP/1.1\r\n" + many_headers + host_line + "\r\n",
      "GET / HTTP/1.1\r\n" + host_line + "Range: bytes=" + std::string(8000, '0') + "\r\n\r\n",
      "GET / HTTP/1.1\r\n" + host_line + "Range: bytes=" + std::string(8000, ',') + "\r\n\r\n",
      "POST /api/exports HTTP/1.1\r\n" + host_line + "Content-Length: -1\r\n\r\n",
      "POST /api/exports HTTP/1.1\r\n" + host_line + "Content-Length: 99999999999999\r\n\r\n{}",
      "POST /api/exports HTTP/1.1\r\n" + host_line +
          "Transfer-Encoding: chunked\r\n\r\nFFFFFFFFFFFF\r\n",
  };
  for (const std::string& request : requests) {
    const std::string answer = exchange(request);
    EXPECT_FALSE(answer.starts_with("HTTP/1.1 5")) << request.substr(0, 60) << answer.substr(0, 60);
    expect_alive();
  }
}

TEST_F(Viewer, TakesOnlySmallContents) {
  start();
  const std::string large = "{\"name\":\"" + std::string(5000, 'a') + "\"}";
  EXPECT_EQ(post("/api/exports", large, with_token()).status, 413);
  const std::string head = "POST /api/exports HTTP/1.1\r\nHost: " + host() +
                           "\r\nX-Depthrw-Token: " + token() +
                           "\r\nContent-Type: application/json\r\n";
  std::string chunks;
  for (int i = 0; i < 2000; ++i) chunks += "40\r\n" + std::string(64, ' ') + "\r\n";
  const std::string answer =
      exchange(head + "Transfer-Encoding: chunked\r\n\r\n" + chunks + "0\r\n\r\n");
  EXPECT_TRUE(answer.empty() || answer.starts_with("HTTP/1.1 4")) << answer.substr(0, 60);
  expect_alive();
}

TEST_F(Viewer, TakesTheRestOfARefusedRequestForNothing) {
  start();
  const std::string smuggled = "GET /api/recording HTTP/1.1\r\nHost: " + host() +
                               "\r\nX-Depthrw-Token: " + token() + "\r\n\r\n";
  const std::string answer =
      exchange("POST /api/exports HTTP/1.1\r\nHost: evil.example\r\nContent-Length: " +
               std::to_string(smuggled.size()) + "\r\n\r\n" + smuggled);
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 403"));
  EXPECT_THAT(answer, testing::Not(HasSubstr("200 OK")));
}

TEST_F(Viewer, ServesOthersWhileManyConnectionsIdle) {
  start();
  std::vector<std::unique_ptr<httplib::Client>> idle;
  for (int i = 0; i < 40; ++i) {
    auto& client = idle.emplace_back(std::make_unique<httplib::Client>("127.0.0.1", port()));
    client->set_keep_alive(true);
    const auto answer = client->Get("/", httplib::Headers{});
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 200);
  }
  expect_alive();
}

TEST_F(Viewer, EndsAtOnceThoughConnectionsAreOpen) {
  start();
  httplib::Client client("127.0.0.1", port());
  client.set_keep_alive(true);
  ASSERT_TRUE(client.Get("/"));
  const auto begin = std::chrono::steady_clock::now();
  server_.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(3));
}

}  // namespace
}  // namespace depth_io::test
