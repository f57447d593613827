// Containers of so many children that these lie in several runs.
#include <cf/json.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kMany = 150'000;

/// "[…,…]" or "{…,…}" with what `child` gives for each number up to `count`.
std::string textOf(std::string_view brackets, std::size_t count, const std::function<std::string(std::size_t)>& child) {
  std::string text(1, brackets[0]);
  for (std::size_t index = 0; index < count; ++index) text.append(index == 0 ? "" : ",").append(child(index));
  return text + brackets[1];
}

std::string numberText(std::size_t index) { return std::to_string(index); }
std::string pairText(std::size_t index) { return "[" + std::to_string(index) + ",{\"k\":[]}]"; }
std::string memberText(std::size_t index) {
  return "\"" + std::to_string(index) + "\":{\"value\":" + std::to_string(index) + "}";
}

TEST(LargeJson, IsWrittenAsItWasRead) {
  const std::string numbers = textOf("[]", kMany, numberText);
  std::string text = "[0," + numbers;
  text.append(",{\"a\":").append(textOf("[]", kMany, pairText)).append(",\"b\":").append(numbers).append("},1,");
  text.append(textOf("{}", kMany, memberText)).append("]");
  EXPECT_TRUE(COJson::readReference(text).obtainJsonString() == text);
}

TEST(LargeJson, OfAnySizeAroundThatOfARunIsReadWhole) {
  for (const std::size_t size : {65'535U, 65'536U, 65'537U, 131'070U, 131'071U, 131'072U}) {
    const std::string numbers = textOf("[]", size, numberText);
    ASSERT_TRUE(COJson::readReference(numbers).obtainJsonString() == numbers) << size;
    const std::string arrays = textOf("[]", size, [](std::size_t) { return "[]"; });
    ASSERT_TRUE(COJson::readReference(arrays).obtainJsonString() == arrays) << size;
    EXPECT_EQ(COJson::readReference(arrays).obtainArraySize(), size);
  }
}

TEST(LargeJson, GivesEveryItemByItsIndex) {
  const COJson document(textOf("[]", kMany, pairText));
  ASSERT_EQ(document.obtainArraySize(), kMany);
  for (std::size_t index = 0; index < kMany; ++index) {
    const COJsonValue* const item = document.obtainArrayItem(index);
    ASSERT_EQ(item->obtainArrayItem(0)->obtainNumber(), static_cast<double>(index));
    ASSERT_NE(item->obtainArrayItem(1)->obtainJsonValue("k"), nullptr);
  }
  EXPECT_EQ(document.obtainArrayItem(kMany), nullptr);
}

TEST(LargeJson, GivesTheLastOfRepeatedMembersWhereverItLies) {
  const auto textWith = [](std::size_t place) {
    return textOf("{}", kMany, [place](std::size_t index) { return index == place ? "\"a\":2" : "\"b\":1"; });
  };
  for (const std::size_t place : {std::size_t{0}, kMany / 2, kMany - 1}) {
    const COJson document(textWith(place));
    ASSERT_NE(document.obtainJsonValue("a"), nullptr) << place;
    EXPECT_EQ(document.obtainJsonValue("a")->obtainNumber(), 2.0);
    EXPECT_EQ(document.obtainJsonKeys().size(), kMany);
  }
}

TEST(LargeJson, GivesEveryMember) {
  const COJson document(textOf("{}", kMany, memberText));
  std::size_t index = 0;
  for (const auto& [key, value] : document.obtainJsonMembers()) {
    ASSERT_EQ(key, std::to_string(index));
    ASSERT_EQ(value->obtainJsonValue("value")->obtainNumber(), static_cast<double>(index));
    ++index;
  }
  EXPECT_EQ(index, kMany);
}

TEST(LargeJson, CanBeAddedTo) {
  std::string text = textOf("[]", kMany, numberText);
  COJson document(text);
  text.pop_back();
  for (std::size_t index = kMany; index < 2 * kMany; ++index) {
    document.addArrayItem()->setInteger(static_cast<std::int64_t>(index));
    text.append(",").append(std::to_string(index));
  }
  EXPECT_TRUE(document.obtainJsonString() == text + "]");
  EXPECT_EQ(document.obtainArrayItem(2 * kMany - 1)->obtainNumber(), 2.0 * kMany - 1);
}

TEST(LargeJson, WithANumberBeyondADoubleIsReadWhole) {
  const std::string text = textOf("[]", kMany, numberText);
  const COJson document("[" + text + ",1e400]");
  EXPECT_EQ(document.obtainArraySize(), 2U);
  EXPECT_TRUE(document.obtainArrayItem(0)->obtainJsonString() == text);
}

}  // namespace
