// Where services stand: what is theirs is told by the place first, and by the path below it.
#include "client.h"

#include <assistants_store.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <services.h>
#include <standin.h>

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using standin::Call;
using standin::Reply;
using standin::Route;
using standin::Service;
using testing::HasSubstr;
using testing::StartsWith;

std::optional<Reply> admitAll(const Call& /*call*/) { return std::nullopt; }

/// Two services that differ in nothing but their name.
template <char name>
Service makeTwin() {
  static constexpr std::array kRoutes{
      Route{"GET", "/",
            [](const Call&) {
              return Reply{.body = {name, ' ', '/'}};
            }},
      Route{"GET", "/models/*",
            [](const Call& call) { return Reply{.body = std::string{name} + " model " + call.captured.front()}; }},
  };
  const auto tellPath = [](const Call& call) {
    return Reply{404, std::string{name} + " no " + std::string(call.path)};
  };
  return {.home = "/", .routes = kRoutes, .admit = admitAll, .unknownPath = tellPath, .wrongMethod = tellPath};
}

/// Which of services with the same paths answers.
struct PlaceCase {
  const char* name;
  std::string path;
  std::string answer;
};
class Place : public testing::TestWithParam<PlaceCase> {};

TEST_P(Place, TellsServicesWithTheSamePathsApart) {
  const std::vector<standin::Site> sites{
      {"/a", {makeTwin<'a'>()}}, {"/a/deep", {makeTwin<'d'>()}}, {"/b", {makeTwin<'b'>(), makeTwin<'x'>()}}};
  standin::AssistantsStore store("");
  const standin::Request request{.method = "GET", .path = GetParam().path, .query = {}, .headers = {}, .body = {}};
  const std::string anyKey;
  EXPECT_EQ(standin::answerRequest(sites, {.request = request, .apiKey = anyKey, .assistants = store}).body,
            GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, Place,
    testing::Values(PlaceCase{"first", "/a/models/m", "a model m"}, PlaceCase{"second", "/b/models/m", "b model m"},
                    PlaceCase{"the_longest_wins", "/a/deep/models/m", "d model m"},
                    PlaceCase{"unknown_paths", "/b/nothing", "b no /nothing"},
                    PlaceCase{"the_place_itself", "/a", "a /"}, PlaceCase{"with_a_slash", "/a/", "a /"},
                    PlaceCase{"a_longer_name_is_another", "/a/deeper", "a no /deeper"},
                    PlaceCase{"nobodys", "/c/models/m", ""}, PlaceCase{"nobodys_though_alike", "/ab/models/m", ""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Mounts, PutServicesWhereTheyAreToStand) {
  const standin::Server server({.mounts = {{"/one/v1", "deepseek"}, {"/two", "openai"}}});
  Client client(server.address());
  EXPECT_THAT(client.get("/one/v1/models").body, HasSubstr("deepseek-chat"));
  EXPECT_THAT(client.get("/two/v1/models").body, HasSubstr("standin-small"));
  EXPECT_THAT(client.get("/two/nothing").body, HasSubstr("Invalid URL (GET /nothing)"));
  const auto beside = client.get("/v1/models");
  EXPECT_EQ(beside.status, 404);
  EXPECT_EQ(beside.body, "");
  EXPECT_EQ(server.requests().at(0).path, "/one/v1/models");
}

/// What the services answer where nothing is said of mounts.
struct UsualCase {
  const char* name;
  std::string path;
  std::string answer;  // how it begins
};
class UsualMount : public testing::TestWithParam<UsualCase> {};

TEST_P(UsualMount, IsBelowTheServicesNameAndAtTheRoot) {
  const standin::Server server;
  const auto fromPath = [&](const std::string& path) { return Client(server.address()).get(path); };
  const auto apart = fromPath("/" + std::string(GetParam().name) + GetParam().path);
  EXPECT_THAT(apart.body, StartsWith(GetParam().answer));
  EXPECT_EQ(apart.body, fromPath(GetParam().path).body);
}

INSTANTIATE_TEST_SUITE_P(
    Services, UsualMount,
    testing::Values(UsualCase{"openai", "/v1/models", R"({"object":"list","data":[{"id":"standin-small")"},
                    UsualCase{"openai", "/v1/threads/x", R"({"error":{"message":")"},
                    UsualCase{"deepseek", "/models", R"({"object":"list","data":[{"id":"deepseek-chat")"},
                    UsualCase{"ollama", "/", "Ollama is running"},
                    UsualCase{"gemini", "/v1beta/models?key=k", R"({"models":[{"name":"models/gemini-standin-pro")"}),
    [](const auto& row) { return std::string(row.param.name) + "_" + std::to_string(row.index); });

TEST(Mounts, OfNoServiceAreRefused) {
  EXPECT_THROW(standin::Server({.mounts = {{"/a", "nobody"}}}), std::runtime_error);
  EXPECT_THROW(standin::Server({.mounts = {{"a", "openai"}}}), std::runtime_error);
  EXPECT_THROW(standin::Server({.mounts = {{"/a/", "openai"}}}), std::runtime_error);
}

}  // namespace
