// Texts of saved sessions as released libraries wrote them, in folders by their version. Hosts keep such texts, so each
// of them restores as long as the major version stays. A folder is added with a release and never changed.
#include "fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

struct Saved {
  std::string version;
  std::string name;  // of the service, with "_new" when nothing was asked yet
  std::string text;
};
void PrintTo(const Saved& saved, std::ostream* out) { *out << saved.version << '/' << saved.name; }

std::vector<Saved> allSaved() {
  std::vector<Saved> list;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(SAVED_SESSIONS)) {
    if (entry.path().extension() != ".json") continue;
    std::ifstream file(entry.path(), std::ios::binary);
    list.push_back({.version = entry.path().parent_path().filename().string(),
                    .name = entry.path().stem().string(),
                    .text = std::string(std::istreambuf_iterator<char>(file), {})});
  }
  return list;
}

std::string savedName(const testing::TestParamInfo<Saved>& row) {
  std::string name = row.param.version + "_" + row.param.name;
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
}

class SavedSession : public testing::TestWithParam<Saved> {
 protected:
  static const TestedService& service() {
    static const std::vector<TestedService> services = allServices();
    const std::string name = GetParam().name.substr(0, GetParam().name.find('_'));
    return *std::find_if(services.begin(), services.end(), [&](const TestedService& row) { return row.name == name; });
  }
  static bool isNew() { return GetParam().name.ends_with("_new"); }

  /// What the host gets with `text`; null when it does not restore.
  Owned<IQAISession> restore(const std::string& text) {
    const auto [session, error] = assistant_->loadSession(text);
    EXPECT_EQ(error, "");
    return Owned<IQAISession>(session);
  }

  Owned<IQAIAssistant> assistant_{QAICreateAssistant(service().type, CF::createHTTPPoolCenter(), kKey, "")};
};

TEST_P(SavedSession, RestoresAndIsSavedAsTheSameText) {
  const Owned<IQAISession> session = restore(GetParam().text);
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(session->obtainSessionData(), GetParam().text);
}

TEST_P(SavedSession, GoesOnWhereItWasSaved) {
  const standin::Server server;
  std::string text = GetParam().text;
  const std::string host = "https://ai.example.com:8443/base";
  ASSERT_THAT(text, HasSubstr(host));
  const Owned<IQAISession> session = restore(text.replace(text.find(host), host.size(), server.address()));
  ask(*assistant_, session.get(), "And then?");
  ASSERT_THAT(server.requests(), Not(IsEmpty()));
  const standin::Request request = server.requests().front();
  EXPECT_THAT(request.body, HasSubstr("And then?"));
  if (service().keepsConversations) {
    EXPECT_EQ(request.path, std::string("/v1/threads/thread_standin_") + (isNew() ? "1" : "2") + "/messages");
  } else if (!isNew()) {
    EXPECT_THAT(request.body, HasSubstr(R"(And the \"lowest\"? \u0001 / \\ <&> ½)"));
    EXPECT_THAT(request.body, HasSubstr("CREATE TABLE `ice`.`glacier`"));
  }
}

INSTANTIATE_TEST_SUITE_P(OfEachVersion, SavedSession, testing::ValuesIn(allSaved()), savedName);

TEST(SavedSessions, OfTheFirstVersionAreThereForEachService) { EXPECT_THAT(allSaved(), SizeIs(testing::Ge(10U))); }

}  // namespace
