#include "client.h"

#include <cf/json.h>

#include <gtest/gtest.h>
#include <standin.h>

#include <string>
#include <vector>

namespace {

const std::vector<std::string> kHeaders{"Authorization: Bearer k", "OpenAI-Beta: assistants=v2"};

std::string idOf(const Client::Answer& answer) {
  EXPECT_EQ(answer.status, 200) << answer.body;
  const COJson document(answer.body);
  const COJsonValue* id = document.obtainJsonValue("id");
  return id == nullptr ? std::string() : std::string(id->obtainString());
}

TEST(AssistantsService, HoldsAConversation) {
  const standin::Server server;
  Client client(server.address());
  const std::string assistant = idOf(client.post(
      "/v1/assistants", R"-({"model":"standin-small","instructions":"CREATE TABLE `log` (`ts` INTEGER)"})-", kHeaders));
  const std::string thread = "/v1/threads/" + idOf(client.post("/v1/threads", "", kHeaders));
  idOf(client.post(thread + "/messages", R"({"role":"user","content":"how many log"})", kHeaders));
  const std::string run = idOf(client.post(thread + "/runs", R"({"assistant_id":")" + assistant + "\"}", kHeaders));
  EXPECT_NE(client.get(thread + "/runs/" + run, kHeaders).body.find(R"("status":"completed")"), std::string::npos);
  const auto listed = client.get(thread + "/messages?run_id=" + run, kHeaders);
  EXPECT_NE(listed.body.find("SELECT COUNT(*)"), std::string::npos) << listed.body;
  EXPECT_EQ(listed.body.find("how many log"), std::string::npos) << listed.body;
  EXPECT_EQ(client.send("DELETE", thread, kHeaders, nullptr).status, 200);
  EXPECT_EQ(client.get(thread, kHeaders).status, 404);
}

}  // namespace
