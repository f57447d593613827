// How often documents allocate, and what they do when memory runs out.
#include "support/allocation_probe.h"

#include <cf/json.h>
#include <cf/variant.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

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
  EXPECT_LE(allocationsOf([kReply] { EXPECT_TRUE(COJson(kReply).getIsValidJson()); }), 6U);
}

/// What is allocated at most while `action` runs.
template <typename Action>
std::ptrdiff_t mostBytesOf(Action action) {
  const std::ptrdiff_t before = allocatedBytes();
  mostAllocatedBytes();
  action();
  return mostAllocatedBytes() - before;
}

/// "[ITEM,ITEM,…]"
std::string arrayOf(std::size_t count, std::string_view item) {
  std::string text;
  for (std::size_t index = 0; index < count; ++index) text.append(1, index == 0 ? '[' : ',').append(item);
  return text + "]";
}

constexpr std::size_t kManyValues = 2'000'000;
/// Each with its place in a list. Half as much again, since lists grow and memory is allocated in chunks.
constexpr std::ptrdiff_t kBytesOfManyValues = kManyValues * (24 + 8) * 3 / 2;

TEST(JsonMemory, OfManyValuesThatAreReadIsLittleMoreThanTheirs) {
  for (const auto& [values, item] : {std::pair{std::size_t{1}, "1"}, {std::size_t{2}, "[1]"}}) {
    const std::string text = arrayOf(kManyValues / values, item);
    EXPECT_LT(mostBytesOf([&text] { EXPECT_TRUE(COJson::readReference(text).getIsValidJson()); }), kBytesOfManyValues)
        << item;
  }
}

TEST(JsonMemory, OfManyValuesThatAreAddedIsLittleMoreThanTheirs) {
  EXPECT_LT(mostBytesOf([] {
              COJson document;
              for (std::size_t index = 0; index < kManyValues; ++index) document.addArrayItem()->setBool(true);
            }),
            kBytesOfManyValues);
}

/// An array of a long string and an array, to be gone on with.
std::string beginLongArray() {
  return std::string("[\"").append(100'000, 'x').append("\",").append(arrayOf(10'000, "1")).append(",");
}

TEST(JsonMemory, OfAnInvalidTextIsGivenBack) {
  constexpr std::ptrdiff_t kOfNothing = 1000;
  for (const char* wrong : {"", ",", "1]x", "1e400]x", R"("\uDC00"])"}) {
    const std::string text = beginLongArray() + wrong;
    const std::ptrdiff_t before = allocatedBytes();
    COJson copied(text);
    COJson kept = COJson::readReference(text);
    EXPECT_LT(allocatedBytes() - before, kOfNothing) << wrong;
    for (COJson* document : {&copied, &kept}) {
      EXPECT_FALSE(document->getIsValidJson());
      document->addArrayItem()->setString("again");
      EXPECT_EQ(document->obtainJsonString(), R"(["again"])");
    }
  }
}

TEST(JsonMemory, OfATextThatIsReadTwiceIsThatOfTheSecondTime) {
  const auto bytesOf = [](const std::string& number) {
    const std::string text = beginLongArray() + number + "]";
    const std::ptrdiff_t before = allocatedBytes();
    const COJson document(text);
    EXPECT_TRUE(document.getIsValidJson());
    return allocatedBytes() - before;
  };
  EXPECT_LT(bytesOf("1e400"), bytesOf("1e300") + 1000);
}

TEST(JsonMemory, IsAllocatedOnceForAllMembers) {
  COJson document;
  for (int index = 0; index < 1000; ++index) document.addKeyValue(std::to_string(index));
  EXPECT_EQ(allocationsOf([&document] { EXPECT_EQ(document.obtainJsonMembers().size(), 1000U); }), 1U);
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
