#include "providers.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Providers, AreFoundByNameAndServedByTheLibrary) {
  for (const Provider& provider : kProviders) {
    SCOPED_TRACE(provider.name);
    EXPECT_EQ(findProvider(provider.name), &provider);
    EXPECT_FALSE(provider.modelsPath.empty());
    IQAIAssistant* assistant = QAICreateAssistant(provider.type, nullptr, "", "");
    EXPECT_NE(assistant, nullptr);
    QAIFreeObject(assistant);
  }
}

TEST(Providers, WithAKeyHaveVariablesForItAndTellItsRefusal) {
  for (const Provider& provider : kProviders) {
    const bool keyless = provider.keyPlace == KeyPlace::None;
    EXPECT_EQ(provider.keyVariables.empty(), keyless) << provider.name;
    EXPECT_EQ(provider.keyRefusals.empty(), keyless) << provider.name;
  }
}

TEST(Providers, WithoutAKeyHaveAnAddressInAnyCase) {
  for (const Provider& provider : kProviders) {
    if (provider.keyPlace != KeyPlace::None) continue;
    ASSERT_NE(provider.readHost, nullptr) << provider.name;
    EXPECT_NE(provider.readHost("").value_or(""), "") << provider.name;
  }
}

TEST(Providers, AreTheseFive) { EXPECT_EQ(listProviders(), "openai, openai-assistants, deepseek, gemini, ollama"); }

TEST(Providers, KeepConversationsWhereTheLibraryHasTheServiceDoSo) {
  for (const Provider& provider : kProviders) {
    EXPECT_EQ(provider.keepsConversations, provider.type == OPENAI) << provider.name;
  }
}

TEST(Providers, CarryTurnsUnlessOneOfTwoKeepsThem) {
  const Provider& keeper = *findProvider("openai-assistants");
  for (const Provider& from : kProviders) {
    for (const Provider& to : kProviders) {
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
