// What a host assigns through qai.hpp, as the service gets it.
#include "hpp_fixture.h"
#include "support/assertion_log.h"

#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class Filling : public EachHost {
 protected:
  const AssertionLog log_;  // the record asserts what it refuses, and a temperature that it takes
};
INSTANTIATE_TEST_SUITE_P(All, Filling, testing::ValuesIn(allServices()), serviceName);

struct TemperatureRow {
  double given;
  const char* sent;
};

TEST_P(Filling, TemperatureIsSentAsTheShortestDecimal) {
  for (const TemperatureRow& row : {TemperatureRow{0.7, "0.7"},
                                    {0.1 + 0.2, "0.30000000000000004"},
                                    {0.0, "0.0"},
                                    {1e-7, "1e-07"},
                                    {2.5, "2.0"},
                                    {-1.0, "0.0"}}) {
    auto assistant = bareHost();
    EXPECT_TRUE(assistant.configure([&](qai::Fill& fill) { fill.model(service_.model).temperature(row.given); }));
    auto session = assistant.createSession().value();
    ask(session, "question");
    std::string bodies;
    for (const standin::Request& request : standin_.requests()) bodies += request.body;
    EXPECT_THAT(bodies, HasSubstr(std::string(R"("temperature":)") + row.sent)) << row.given;
  }
}

TEST_P(Filling, TemperatureThatIsNoNumberIsRefusedAndNotSent) {
  for (const double given : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    auto assistant = bareHost();
    const auto filled = assistant.configure([&](qai::Fill& fill) { fill.model(service_.model).temperature(given); });
    EXPECT_FALSE(filled);
    EXPECT_THAT(filled.refused(), ElementsAre("temperature"));
    auto session = assistant.createSession().value();
    ask(session, "question");
    for (const standin::Request& request : standin_.requests()) {
      EXPECT_THAT(request.body, Not(HasSubstr("temperature")));
    }
  }
}

TEST_P(Filling, RefusedKeysAreToldInOrderAndTheOthersHold) {
  auto assistant = bareHost();
  const auto filled = assistant.configure([&](qai::Fill& fill) {
    fill.databaseStructure("no JSON").model(service_.model);
    EXPECT_FALSE(fill.set("temperature", 0.5));  // as the plain interface has it
    EXPECT_FALSE(fill.set("colour", "blue"));
    EXPECT_TRUE(fill.set("user_instructions", "be brief"));
  });
  EXPECT_FALSE(filled);
  EXPECT_TRUE(filled.accepted());
  EXPECT_EQ(filled.error(), "Refused: db_structure, temperature, colour");
  EXPECT_THAT(filled.refused(), ElementsAre("db_structure", "temperature", "colour"));
  EXPECT_EQ(assistant.properties().model(), service_.model);
  EXPECT_EQ(assistant.properties().userInstructions(), "be brief");
}

class FillingAtTheService : public Filling {};
INSTANTIATE_TEST_SUITE_P(Assistants, FillingAtTheService, testing::Values(assistantsService()), serviceName);

TEST_P(FillingAtTheService, ThatItDoesNotAcceptIsToldFromRefusedKeys) {
  auto assistant = bareHost();
  answerNext(503, R"({"error":{"message":"closed for today"}})");
  const auto filled =
      assistant.configure([this](qai::Fill& fill) { fill.model(service_.model).databaseStructure("no JSON"); });
  EXPECT_FALSE(filled);
  EXPECT_FALSE(filled.accepted());
  EXPECT_EQ(filled.error(), "closed for today");
  EXPECT_THAT(filled.refused(), ElementsAre("db_structure"));
}

TEST_P(Filling, RefusedStructureTakesTheOldOneAwayAndIsTold) {
  auto assistant = bareHost();
  const auto first = assistant.configure([&](qai::Fill& fill) {
    fill.model(service_.model).databaseStructure(R"([{"schemas":[{"tables":[{"name":"glacier","fields":[]}]}]}])");
  });
  ASSERT_TRUE(first) << first.error();
  EXPECT_THAT(assistant.properties().combinedInstructions(), HasSubstr("glacier"));
  for (const char* refused : {"no JSON", ""}) {
    const auto second = assistant.configure([&](qai::Fill& fill) { fill.databaseStructure(refused); });
    EXPECT_THAT(second.refused(), ElementsAre("db_structure"));
    EXPECT_EQ(assistant.properties().combinedInstructions(), "");
  }
}

TEST_P(Filling, TemperatureThatIsNoNumberLeavesTheOldOne) {
  auto assistant = bareHost();
  EXPECT_TRUE(assistant.configure([&](qai::Fill& fill) { fill.model(service_.model).temperature(0.5); }));
  EXPECT_FALSE(
      assistant.configure([](qai::Fill& fill) { fill.temperature(std::numeric_limits<double>::quiet_NaN()); }));
  EXPECT_EQ(assistant.properties().temperature(), 0.5);
}

TEST_P(Filling, WhatTheFunctionThrowsPassesThroughAndNothingChanges) {
  auto assistant = bareHost();
  EXPECT_THROW(static_cast<void>(assistant.configure([](qai::Fill& fill) {
                 fill.model("half");
                 throw std::runtime_error("host");
               })),
               std::runtime_error);
  EXPECT_EQ(assistant.properties().model(), "");
}

TEST_P(Filling, PlainInterfaceIsWithinReach) {
  auto assistant = bareHost();
  EXPECT_TRUE(
      assistant.configure([&](qai::Fill& fill) { EXPECT_TRUE(fill.native()->setProperty("model", service_.model)); }));
  EXPECT_EQ(assistant.native()->setAssistantProperties(
                [](IQAIProperties* properties) { qai::Fill(properties).userInstructions("be brief"); }),
            "");
  EXPECT_EQ(assistant.properties().userInstructions(), "be brief");
  EXPECT_NE(assistant.pool(), nullptr);
}

TEST_P(Filling, HostOfTheSettingsIsWhereTheNextRequestGoes) {
  qai::Assistant assistant(service_.type, kKey, "http://before.invalid");
  const auto filled =
      assistant.configure([this](qai::Fill& fill) { fill.apiHost(standin_.address()).model(service_.model); });
  EXPECT_TRUE(filled) << filled.error();
  EXPECT_TRUE(assistant.models());
}

}  // namespace
