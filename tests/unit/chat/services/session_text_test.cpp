// Saved sessions without secrets, whatever is in them.
#include "services/session_text.h"

#include <gtest/gtest.h>

namespace {

TEST(SavedWithoutSecrets, IsNoLongerThanTheTextWhereKeysAreRepeated) {
  std::string saved = R"({"a":0})";
  for (int depth = 0; depth < 18; ++depth) saved = R"({"a":0,"a":)" + saved + "}";
  EXPECT_LE(savedWithoutSecrets(saved, {}).size(), 2 * saved.size());  // blanks may come in
}

TEST(SavedWithoutSecrets, LacksThemInEachOfEqualKeys) {
  const std::string secret = "sk-canary-7f3a9c";
  const std::string kept = savedWithoutSecrets(R"({"a":"x )" + secret + R"(","a":")" + secret + "\"}", {secret});
  EXPECT_EQ(kept.find(secret), std::string::npos) << kept;
}

}  // namespace
