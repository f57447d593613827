#include "providers.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Providers, AreFoundByNameAndServedByTheLibrary) {
  for (const Provider& provider : kProviders) {
    SCOPED_TRACE(provider.name);
    EXPECT_EQ(findProvider(provider.name), &provider);
    EXPECT_FALSE(provider.keyVariables.empty());
    IQAIAssistant* assistant = QAICreateAssistant(provider.type, nullptr, "", "");
    EXPECT_NE(assistant, nullptr);
    QAIFreeObject(assistant);
  }
}

TEST(Providers, UnknownNamesAreNotFound) {
  EXPECT_EQ(findProvider("other"), nullptr);
  EXPECT_EQ(findProvider(""), nullptr);
  EXPECT_EQ(findProvider("OpenAI"), nullptr);
}

}  // namespace
