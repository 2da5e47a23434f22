#include "tests/tools/viewer_fixture.h"

namespace depth_io::test {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

/// Exports made by a script in place of the program, which is told what the page ordered.
class ViewerExport : public Viewer {
 protected:
  void start_with_script(const std::string& script) {
    write_file(path("script"), "#!/bin/sh\n" + script);
    std::filesystem::permissions(path("script"), std::filesystem::perms::owner_all);
    start("tree", path("script"));
  }

  static json order(const std::string& name) {
    return {{"generation", 1},
            {"format", "png"},
            {"name", name},
            {"first", 0},
            {"last", 2},
            {"stride", 1},
            {"swap_principal_point", false}};
  }

  json job() { return get("/api/exports").json()["jobs"][0]; }

  /// The newest export once it is in that state; a minute at most.
  json job_when(const std::string& state) {
    json now = job();
    for (int i = 0; i < 3000 && now["state"] != state; ++i) {
      sleep_seconds(0.02);
      now = job();
    }
    return now;
  }

  std::vector<std::string> arguments() const { return split_lines(read_file(path("arguments"))); }
};

TEST_F(ViewerExport, StartsTheProgramForTheMarkedRange) {
  start_with_script("printf '%s\\n' \"$@\" > '" + path("arguments") + "'\n");
  json wanted = order("clip");
  wanted["first"] = 1;
  wanted["stride"] = 2;
  wanted["swap_principal_point"] = true;
  EXPECT_EQ(post("/api/exports", wanted).status, 200);
  EXPECT_EQ(job_when("done")["state"], "done");
  const std::string start_text = description()["start"];
  const auto given = arguments();
  ASSERT_EQ(given.size(), 13U);
  EXPECT_THAT(std::vector(given.begin(), given.begin() + 7),
              ElementsAre("export", path("rec"), "--to", "png", "--out", path("exports") + "/clip",
                          "--from"));
  EXPECT_GT(given[7], start_text);
  EXPECT_EQ(given[8], "--to-time");
  EXPECT_GT(given[9], given[7]);
  EXPECT_THAT(std::vector(given.begin() + 10, given.end()),
              ElementsAre("--stride", "2", "--swap-principal-point"));
}

TEST_F(ViewerExport, OfAllFramesNeedsNoTimes) {
  start_with_script("printf '%s\\n' \"$@\" > '" + path("arguments") + "'\n");
  EXPECT_EQ(post("/api/exports", order("all")).status, 200);
  job_when("done");
  EXPECT_EQ(arguments().size(), 6U);
}

TEST_F(ViewerExport, OfARangeIsRefusedWithoutTimes) {
  record("flat", "3");
  std::filesystem::remove(path("rec/recording.json"));
  start_server();
  json wanted = order("clip");
  wanted["last"] = 1;
  const Answer answer = post("/api/exports", wanted);
  EXPECT_EQ(answer.status, 400);
  EXPECT_THAT(answer.json()["error"].get<std::string>(), HasSubstr("named by number"));
}

TEST_F(ViewerExport, ShowsTheProgramsProgress) {
  start_with_script("printf '\\r\\033[K[##..] 1/3 frames, 9.0 frames/s' >&2; sleep 30\n");
  EXPECT_EQ(post("/api/exports", order("clip")).status, 200);
  json now = job();
  for (int i = 0; i < 3000 && now["done"] != 1; ++i) {
    sleep_seconds(0.02);
    now = job();
  }
  EXPECT_EQ(now["done"], 1);
  EXPECT_EQ(now["total"], 3);
  EXPECT_EQ(now["state"], "running");
}

TEST_F(ViewerExport, TellsWhyItFailed) {
  start_with_script("echo 'the disk is full' >&2; exit 1\n");
  EXPECT_EQ(post("/api/exports", order("clip")).status, 200);
  EXPECT_THAT(job_when("failed")["messages"], ElementsAre("the disk is full"));
}

TEST_F(ViewerExport, TellsWhenTheProgramCannotBeStarted) {
  start("tree", "/nowhere/depthrw");
  EXPECT_EQ(post("/api/exports", order("clip")).status, 200);
  EXPECT_THAT(job_when("failed")["messages"][0].get<std::string>(), HasSubstr("cannot start"));
}

TEST_F(ViewerExport, CanBeCancelledAndGoneOnWith) {
  start_with_script("mkdir -p \"$6\"; exec sleep 30\n");
  const json first = post("/api/exports", order("clip")).json();
  for (int i = 0; i < 3000 && !std::filesystem::exists(path("exports/clip")); ++i)
    sleep_seconds(0.02);
  EXPECT_EQ(post("/api/exports/cancel", {{"id", first["id"]}}).status, 200);
  EXPECT_EQ(job_when("cancelled")["state"], "cancelled");
  EXPECT_EQ(post("/api/exports/cancel", {{"id", first["id"]}}).status, 404);
  json other = order("clip");
  other["stride"] = 2;
  EXPECT_EQ(post("/api/exports", other).status, 409);
  EXPECT_EQ(post("/api/exports", order("clip")).status, 200);
}

TEST_F(ViewerExport, EndsWithTheServer) {
  start_with_script("exec sleep 60\n");
  EXPECT_EQ(post("/api/exports", order("clip")).status, 200);
  const auto begin = std::chrono::steady_clock::now();
  server_.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

TEST_F(ViewerExport, TwoAreMadeAtATimeAndNotOneTwice) {
  start_with_script("exec sleep 30\n");
  EXPECT_EQ(post("/api/exports", order("one")).status, 200);
  EXPECT_EQ(post("/api/exports", order("one")).status, 409);
  EXPECT_EQ(post("/api/exports", order("two")).status, 200);
  EXPECT_EQ(post("/api/exports", order("three")).status, 409);
}

TEST_F(ViewerExport, ReplacesNothing) {
  start();
  std::filesystem::create_directory(path("exports/there"));
  std::filesystem::create_symlink("/nowhere", path("exports/link"));
  EXPECT_EQ(post("/api/exports", order("there")).status, 409);
  EXPECT_EQ(post("/api/exports", order("link")).status, 409);
}

TEST_F(ViewerExport, RefusesOrdersThatMakeNoSense) {
  start();
  const struct {
    const char* field;
    json value;
  } kBad[] = {{"format", "exe"},
              {"format", ""},
              {"format", 1},
              {"name", "../up"},
              {"name", "/etc/x"},
              {"name", ""},
              {"name", "-o"},
              {"name", ".."},
              {"name", 7},
              {"first", -1},
              {"first", 3},
              {"first", "0"},
              {"first", 0.5},
              {"last", 3},
              {"last", 1e18},
              {"stride", 0},
              {"stride", 4},
              {"stride", "1"},
              {"generation", "1"},
              {"swap_principal_point", 1},
              {"name", nullptr},
              {"name", {{"a", 1}}},
              {"format", std::string("png\0--x", 7)},
              {"last", nullptr}};
  for (const auto& bad : kBad) {
    json wanted = order("clip");
    wanted[bad.field] = bad.value;
    EXPECT_EQ(post("/api/exports", wanted).status, 400) << bad.field << " " << bad.value;
    wanted.erase(bad.field);
    EXPECT_EQ(post("/api/exports", wanted).status, 400) << bad.field;
  }
  json backwards = order("clip");
  backwards["first"] = 2;
  backwards["last"] = 1;
  EXPECT_EQ(post("/api/exports", backwards).status, 400);
  json stale = order("clip");
  stale["generation"] = 2;
  EXPECT_EQ(post("/api/exports", stale).status, 409);
  for (const char* body : {"", "[]", "1", "{", "\"a\"", "{\"a\":", "[[[[[[[[["}) {
    EXPECT_EQ(post("/api/exports", body, with_token()).status, 400) << body;
  }
  EXPECT_TRUE(get("/api/exports").json()["jobs"].empty());
}

TEST(ShownProgress, IsReadFromTheProgramsBar) {
  const auto progress = tools::shown_progress("[######..] 12/150 frames, 31.0 frames/s");
  ASSERT_TRUE(progress);
  EXPECT_EQ(progress->done, 12U);
  EXPECT_EQ(progress->total, 150U);
}

TEST(ShownProgress, IsNotSeenInOtherLines) {
  for (const char* line : {"", "12 frames", "a/b frames", "1/ frames", "/2 frames", "1/0 frames",
                           "path/12/13frames", "1/99999999999999999999999 frames"}) {
    EXPECT_FALSE(tools::shown_progress(line)) << line;
  }
}

}  // namespace
}  // namespace depth_io::test
