#include <cstring>

#include "tests/tools/viewer_fixture.h"

namespace depth_io::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST_F(Viewer, ServesThePageWithoutTheToken) {
  start();
  const Answer page = get("/", {});
  EXPECT_EQ(page.status, 200);
  EXPECT_THAT(page.body, StartsWith("<!doctype html>"));
  EXPECT_EQ(get("/app.js", {}).header("Content-Type"), "text/javascript; charset=utf-8");
  EXPECT_EQ(get("/app.css", {}).header("Content-Type"), "text/css; charset=utf-8");
}

TEST_F(Viewer, LetsThePageReachNothingButItself) {
  start();
  const Answer page = get("/", {});
  EXPECT_THAT(page.header("Content-Security-Policy"), HasSubstr("default-src 'none'"));
  EXPECT_THAT(page.header("Content-Security-Policy"), HasSubstr("connect-src 'self'"));
  EXPECT_EQ(page.header("X-Content-Type-Options"), "nosniff");
  EXPECT_EQ(page.header("Cache-Control"), "no-store");
  EXPECT_EQ(page.header("Access-Control-Allow-Origin"), "");
}

TEST_F(Viewer, DescribesTheRecording) {
  start();
  const auto description = get("/api/recording").json();
  EXPECT_EQ(description["frames"], kFrames);
  EXPECT_EQ(description["layout"], "tree");
  EXPECT_EQ(description["has_times"], true);
  EXPECT_EQ(description["has_colour"], true);
  EXPECT_EQ(description["runs"].size(), 1U);
  EXPECT_EQ(description["runs"][0]["trigger"], "always");
}

TEST_F(Viewer, ListsTimesAndStates) {
  start();
  const std::string bytes = get("/api/index").body;
  ASSERT_EQ(bytes.size(), kFrames * (sizeof(double) + 1));
  double times[kFrames];
  std::memcpy(times, bytes.data(), sizeof times);
  EXPECT_NEAR(times[2] - times[0], 2 * 1000.0 / 30, 1.01);
  EXPECT_EQ(bytes.substr(sizeof times), std::string(kFrames, '\4'));
}

TEST_F(Viewer, MarksFramesThatLackFiles) {
  record("flat", "3");
  std::filesystem::remove(path("rec/depth-00000001.err"));
  std::filesystem::remove(path("rec/bgrimage-00000002.jpg"));
  start_server();
  EXPECT_EQ(get("/api/index").body.substr(kFrames * sizeof(double)), (std::string{4, 5, 2}));
}

TEST_F(Viewer, GivesAFrameInEveryLayout) {
  for (const char* layout : {"tree", "flat", "numbered"}) {
    std::filesystem::remove_all(path("rec"));
    start(layout);
    EXPECT_THAT(get("/api/frames/2/depth?generation=1").body, StartsWith("DFRM")) << layout;
    const Answer colour = get("/api/frames/2/colour?generation=1");
    EXPECT_EQ(colour.header("Content-Type"), "image/jpeg") << layout;
    EXPECT_THAT(colour.body, StartsWith("\xFF\xD8\xFF")) << layout;
    server_.reset();
  }
}

TEST_F(Viewer, GivesTheColourImageAsItLiesOnDisk) {
  start("flat");
  EXPECT_EQ(get("/api/frames/1/colour?generation=1").body,
            read_file(path("rec/bgrimage-00000001.jpg")));
}

TEST_F(Viewer, CompressesDepthWhenAsked) {
  start();
  const Answer plain = get("/api/frames/0/depth?generation=1");
  const Answer packed = get("/api/frames/0/depth?generation=1&deflate=1");
  EXPECT_EQ(packed.header("Content-Encoding"), "deflate");
  EXPECT_LT(std::stoul(packed.header("Content-Length")), plain.body.size() / 2);
  EXPECT_EQ(packed.body, plain.body);
}

TEST_F(Viewer, TellsWhatIsWrongWithAFrame) {
  record("flat", "3");
  write_file(path("rec/depth-00000001.ref"), "nblables 1\n");
  start_server();
  const Answer depth = get("/api/frames/1/depth?generation=1");
  EXPECT_EQ(depth.status, 422);
  EXPECT_THAT(depth.json()["error"].get<std::string>(), HasSubstr("depth-00000001 cannot be read"));
  EXPECT_THAT(depth.json()["details"][0].get<std::string>(), HasSubstr(".ref"));
  EXPECT_EQ(get("/api/frames/1?generation=1").json()["faults"].size(), 1U);
  EXPECT_EQ(get("/api/frames/2/depth?generation=1").status, 200);
}

TEST_F(Viewer, TellsOfAMissingColourImage) {
  record("flat", "2", {"--no-colour"});
  start_server();
  EXPECT_EQ(get("/api/frames/0/colour?generation=1").status, 404);
  EXPECT_EQ(get("/api/recording").json()["has_colour"], false);
}

TEST_F(Viewer, GivesNothingAwayThatIsNoPicture) {
  record("flat", "2");
  write_file(path("secret"), "root:x:0:0");
  std::filesystem::remove(path("rec/bgrimage-00000000.jpg"));
  std::filesystem::create_symlink(path("secret"), path("rec/bgrimage-00000000.jpg"));
  start_server();
  const Answer answer = get("/api/frames/0/colour?generation=1");
  EXPECT_EQ(answer.status, 422);
  EXPECT_THAT(answer.body, testing::Not(HasSubstr("root")));
}

TEST_F(Viewer, FindsNewFramesWhenAskedToLook) {
  ASSERT_NO_FATAL_FAILURE(record("flat", "3"));
  for (const char* file : {"bgrimage-00000002.jpg", "depth-00000002.rle", "depth-00000002.ref",
                           "depth-00000002.jpg", "depth-00000002.err"}) {
    std::filesystem::rename(path(std::string("rec/") + file), path(file));
  }
  start_server();
  EXPECT_EQ(get("/api/recording").json()["frames"], 2);
  for (const char* file : {"bgrimage-00000002.jpg", "depth-00000002.rle", "depth-00000002.ref",
                           "depth-00000002.jpg", "depth-00000002.err"}) {
    std::filesystem::rename(path(file), path(std::string("rec/") + file));
  }
  sleep_seconds(1.05);  // it does not look more often
  const auto description = get("/api/recording?look=1").json();
  EXPECT_EQ(description["frames"], 3);
  EXPECT_EQ(description["generation"], 1);
  EXPECT_EQ(get("/api/frames/2/depth?generation=1").status, 200);
}

TEST_F(Viewer, TellsWhenPlacesOfFramesHaveChanged) {
  start("flat");
  std::filesystem::remove_all(path("rec"));
  ASSERT_NO_FATAL_FAILURE(record("numbered", "2"));
  sleep_seconds(1.05);
  EXPECT_EQ(get("/api/recording?look=1").json()["generation"], 2);
  EXPECT_EQ(get("/api/frames/0/depth?generation=1").status, 409);
  EXPECT_EQ(get("/api/frames/0/depth?generation=2").status, 200);
}

/// Asks until the answer has everything; a minute at most.
template <typename Ask, typename IsComplete>
auto ask_until(Ask ask, IsComplete is_complete) {
  auto answer = ask();
  for (int i = 0; i < 3000 && !is_complete(answer); ++i) {
    sleep_seconds(0.02);
    answer = ask();
  }
  return answer;
}

TEST_F(Viewer, LooksAtTheFilesOfAllFramesInTheBackground) {
  start("flat");
  constexpr std::size_t kWords = 2 + 9 * kFrames;
  const std::string bytes = ask_until(
      [&] { return get("/api/facts?generation=1&after=0").body; },
      [&](const std::string& body) { return body.size() == kWords * sizeof(std::uint32_t); });
  std::uint32_t words[kWords];
  ASSERT_EQ(bytes.size(), sizeof words);
  std::memcpy(words, bytes.data(), sizeof words);
  EXPECT_EQ(words[1], static_cast<std::uint32_t>(kFrames));
  EXPECT_EQ(words[2], 0U);
  EXPECT_EQ(words[3], std::filesystem::file_size(path("rec/bgrimage-00000000.jpg")));
  EXPECT_EQ(words[4], std::filesystem::file_size(path("rec/depth-00000000.jpg")));
  EXPECT_EQ(words[5], std::filesystem::file_size(path("rec/depth-00000000.rle")));
  EXPECT_EQ(words[7], std::filesystem::file_size(path("rec/depth-00000000.err")));
  EXPECT_EQ(get("/api/facts?generation=1&after=3").body.size(), 2 * sizeof(std::uint32_t));
}

TEST_F(Viewer, MeasuresMotionInTheBackground) {
  start();
  const auto answer =
      ask_until([&] { return get("/api/motion?generation=1&after=0&first=0&last=2").json(); },
                [](const nlohmann::json& json) { return json["samples"].size() == 2; });
  ASSERT_EQ(answer["samples"].size(), 2U);
  for (const auto& sample : answer["samples"]) {
    EXPECT_GE(sample[1].get<double>(), 0);
    EXPECT_LE(sample[1].get<double>(), 1);
  }
}

}  // namespace
}  // namespace depth_io::test
