// How often documents allocate, and what they do when memory runs out.
#include "counted_allocation.h"

#include <cf/json.h>
#include <cf/variant.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <stdexcept>

namespace {

void addMessages(COJsonValue& messages, int count) {
  for (int index = 0; index < count; ++index) {
    COJsonValue* const message = messages.addArrayItem();
    message->addKeyValue("role")->setString("user");
    message->addKeyValue("content")->setString("How many orders were placed last month, and by whom?");
  }
}

template <typename Action>
std::size_t allocationsOf(Action action) {
  const std::size_t before = allocationCount();
  action();
  return allocationCount() - before;
}

TEST(JsonMemory, IsAllocatedInFewChunks) {
  EXPECT_LT(allocationsOf([] {
              COJson document;
              addMessages(document, 1000);
            }),
            25U);
  COJson document;
  addMessages(document, 1000);
  EXPECT_LE(allocationsOf([&document] { document.obtainJsonString(); }), 4U);
}

TEST(JsonMemory, OfASmallReplyIsAFewAllocations) {
  constexpr std::string_view kReply =
      R"({"id":"chat-1","object":"completion","created":1717000000,"model":"m","choices":[{"index":0,)"
      R"("message":{"role":"assistant","content":"SELECT count(*) FROM orders"},"finish_reason":"stop"}],)"
      R"("usage":{"prompt_tokens":9,"completion_tokens":12,"total_tokens":21}})";
  EXPECT_LE(allocationsOf([kReply] { EXPECT_TRUE(COJson(kReply).getIsValidJson()); }), 5U);
}

/// Lets `action` fail at each of its allocations in turn, until it succeeds.
template <typename Action>
std::size_t failuresOf(Action action) {
  for (std::size_t failures = 0;; ++failures) {
    allowAllocations(failures);
    try {
      action();
    } catch (const std::bad_alloc&) {
      allowAllAllocations();
      continue;
    }
    allowAllAllocations();
    return failures;
  }
}

TEST(JsonMemory, ThatRunsOutIsReportedAndNotLeaked) {
  const std::string text = "[" + std::string(200, '[') + "1e400" + std::string(200, ']') + std::string(200, ' ') + "]";
  EXPECT_GT(failuresOf([&text] { COJson(text).obtainJsonString(); }), 3U);
  EXPECT_GT(failuresOf([] {
              COJson document;
              addMessages(document, 200);
            }),
            3U);
  const CMVariant value(CMVariantList{"a", CMVariantMap{{"key", std::string(5000, 'x')}}});
  EXPECT_GT(failuresOf([&value] { cfCreateCOJsonFromCMVariant(value); }), 1U);
}

TEST(JsonMemory, ThatRunsOutLeavesTheValueAsItWas) {
  COJson document("[1]");
  const std::string text(100000, 'x');
  allowAllocations(0);
  EXPECT_THROW(document.setString(text), std::bad_alloc);
  EXPECT_THROW(document.addKeyValue(text), std::bad_alloc);
  allowAllAllocations();
  EXPECT_EQ(document.obtainJsonString(), "[1]");
}

// The text is never looked at, so it needn't exist.
TEST(JsonMemory, TextsBeyond4GiBAreRefused) {
  const std::string_view tooLong("x", std::size_t{1} << 32U);
  EXPECT_FALSE(COJson(tooLong).getIsValidJson());
  COJson document("1");
  EXPECT_THROW(document.setString(tooLong), std::length_error);
  EXPECT_THROW(document.setStringReference(tooLong), std::length_error);
  EXPECT_THROW(document.addKeyValue(tooLong), std::length_error);
  EXPECT_EQ(document.obtainJsonString(), "1");
}

}  // namespace
