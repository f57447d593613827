#include "services/providers.h"

#include "support/services.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

TEST(Providers, AreFoundByNameAndServedByTheLibrary) {
  for (const Provider& provider : kProviders) {
    SCOPED_TRACE(provider.name);
    EXPECT_EQ(findProvider(provider.name), &provider);
    IQAIAssistant* assistant = QAICreateAssistant(provider.type, nullptr, "", "");
    EXPECT_NE(assistant, nullptr);
    QAIFreeObject(assistant);
  }
}

TEST(Providers, WithoutAKeyHaveAnAddressInAnyCase) {
  for (const Provider& provider : kProviders) {
    if (provider.usesKey()) continue;
    ASSERT_NE(provider.readHost, nullptr) << provider.name;
    EXPECT_NE(provider.readHost("").value_or(""), "") << provider.name;
  }
}

TEST(Providers, AreTheServicesOfTheTable) { EXPECT_EQ(listProviders(), listProviderNames()); }

TEST(Providers, SayOfEachServiceWhatTheTableSays) {
  for (const TestedService& service : allServices()) {
    SCOPED_TRACE(service.name);
    const Provider* provider = findProvider(service.provider);
    ASSERT_NE(provider, nullptr);
    EXPECT_EQ(provider->type, service.type);
    EXPECT_STREQ(provider->title, service.title);
    EXPECT_EQ(std::vector<std::string>(provider->keyVariables.begin(), provider->keyVariables.end()),
              service.keyVariables);
    EXPECT_EQ(provider->usesKey(), service.usesKey());
    EXPECT_EQ(provider->canCancel, service.usesPool);
    EXPECT_EQ(provider->keepsConversations, service.keepsConversations);
  }
}

TEST(Providers, HaveTheModelPatternsThatTheDocumentTells) {
  std::ostringstream document;
  document << std::ifstream(SOURCES "/docs/providers.md").rdbuf();
  for (const Provider& provider : kProviders) {
    std::string patterns;
    for (const char* pattern : provider.modelPatterns)
      patterns += (patterns.empty() ? "`" : ", `") + std::string(pattern) + "`";
    EXPECT_NE(document.str().find("| " + (patterns.empty() ? "none" : patterns) + " |\n"), std::string::npos)
        << patterns;
  }
}

TEST(Providers, CarryTurnsUnlessOneOfTwoKeepsThem) {
  const ProviderProfile& keeper = obtainProfile(*findProvider("openai-assistants"));
  for (const ProviderProfile& from : kProviderProfiles) {
    for (const ProviderProfile& to : kProviderProfiles) {
      const bool kept = (&from == &keeper) != (&to == &keeper);
      EXPECT_EQ(carriesTurns(from, to), !kept) << from.name << " to " << to.name;
    }
  }
}

TEST(Providers, UnknownNamesAreNotFound) {
  EXPECT_EQ(findProvider("other"), nullptr);
  EXPECT_EQ(findProvider(""), nullptr);
  EXPECT_EQ(findProvider("OpenAI"), nullptr);
}

}  // namespace
