#include <cf/json.h>

#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace {

using namespace std::string_literals;
using Keys = std::vector<std::string>;

constexpr std::string_view kEveryType = R"({"n":null,"o":{"k":1},"a":[1,2,3],"s":"text","d":0.7,"b":true})";

struct TypeCase {
  const char* name;
  JsonType type;
  std::string text;
  double number;
  bool boolean;
  std::size_t items;
  std::size_t keys;
};

class JsonMember : public testing::TestWithParam<TypeCase> {};

TEST_P(JsonMember, ReadsAsItsTypeAndElseAsEmpty) {
  const COJson document(kEveryType);
  const TypeCase& expected = GetParam();
  const COJsonValue* const value = document.obtainJsonValue(expected.name);
  ASSERT_NE(value, nullptr);
  EXPECT_TRUE(value->getIsValidJson());
  EXPECT_EQ(value->obtainType(), expected.type);
  EXPECT_EQ(value->obtainString(), expected.text);
  EXPECT_EQ(value->obtainNumber(), expected.number);
  EXPECT_EQ(value->obtainBool(), expected.boolean);
  EXPECT_EQ(value->obtainArraySize(), expected.items);
  EXPECT_EQ(value->obtainArrayItem(0) != nullptr, expected.items != 0);
  EXPECT_EQ(value->obtainJsonKeys().size(), expected.keys);
  EXPECT_EQ(value->obtainJsonValue("k") != nullptr, expected.keys != 0);
}

INSTANTIATE_TEST_SUITE_P(Types, JsonMember,
                         testing::Values(TypeCase{"n", JsonType::Null, "", 0.0, false, 0, 0},
                                         TypeCase{"o", JsonType::Object, "", 0.0, false, 0, 1},
                                         TypeCase{"a", JsonType::Array, "", 0.0, false, 3, 0},
                                         TypeCase{"s", JsonType::String, "text", 0.0, false, 0, 0},
                                         TypeCase{"d", JsonType::Number, "", 0.7, false, 0, 0},
                                         TypeCase{"b", JsonType::Bool, "", 0.0, true, 0, 0}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(JsonTypeCode, IsFixed) {
  EXPECT_EQ(static_cast<int>(JsonType::Null), 0);
  EXPECT_EQ(static_cast<int>(JsonType::Object), 1);
  EXPECT_EQ(static_cast<int>(JsonType::Array), 2);
  EXPECT_EQ(static_cast<int>(JsonType::String), 3);
  EXPECT_EQ(static_cast<int>(JsonType::Number), 4);
  EXPECT_EQ(static_cast<int>(JsonType::Bool), 5);
}

TEST(JsonObject, GivesItsKeysInOrder) {
  EXPECT_EQ(COJson(kEveryType).obtainJsonKeys(), (Keys{"n", "o", "a", "s", "d", "b"}));
  EXPECT_EQ(COJson(R"({"b":1,"a":2,"b":3})").obtainJsonKeys(), (Keys{"b", "a", "b"}));
  EXPECT_EQ(COJson(R"({"\u0000":1})").obtainJsonKeys(), Keys{"\0"s});
}

TEST(JsonObject, GivesItsMembersInOrder) {
  const COJson document(R"({"b":1,"a":[2],"b":3,"\u0000":4})");
  const std::vector<COJsonMember> members = document.obtainJsonMembers();
  ASSERT_EQ(members.size(), 4U);
  EXPECT_EQ(members[0].key, "b");
  EXPECT_EQ(members[0].value->obtainNumber(), 1.0);
  EXPECT_EQ(members[1].value, document.obtainJsonValue("a"));
  EXPECT_EQ(members[2].value, document.obtainJsonValue("b"));
  EXPECT_EQ(members[3].key, "\0"s);
  for (const char* text : {"{}", "[1]", "null", "\"a\""}) EXPECT_TRUE(COJson(text).obtainJsonMembers().empty()) << text;
}

TEST(JsonObject, GivesTheLastOfRepeatedMembers) {
  const COJson document(R"({"a":1,"b":2,"a":3,"b":{"a":4}})");
  EXPECT_EQ(document.obtainJsonValue("a")->obtainNumber(), 3.0);
  EXPECT_EQ(document.obtainJsonValue("b")->obtainType(), JsonType::Object);
}

TEST(JsonObject, ComparesKeysByteForByte) {
  const COJson document(R"({"key":1,"":2,"ke\u0000y":3})");
  EXPECT_EQ(document.obtainJsonValue("Key"), nullptr);
  EXPECT_EQ(document.obtainJsonValue("ke"), nullptr);
  EXPECT_EQ(document.obtainJsonValue("keys"), nullptr);
  EXPECT_EQ(document.obtainJsonValue("")->obtainNumber(), 2.0);
  EXPECT_EQ(document.obtainJsonValue("ke\0y"s)->obtainNumber(), 3.0);
}

// They are compared a word at a time, and the words of such short ones overlap.
TEST(JsonObject, TellsKeysOfAnyLengthApartByTheirLastByte) {
  for (std::size_t size = 1; size <= 20; ++size) {
    const std::string key(size, 'k');
    std::string other = key;
    other.back() = 'x';
    const COJson document("{\"" + key + "\":1}");
    EXPECT_NE(document.obtainJsonValue(key), nullptr) << key;
    EXPECT_EQ(document.obtainJsonValue(other), nullptr) << other;
  }
}

TEST(JsonArray, GivesEveryItemAndNothingBeyond) {
  std::string text = "[0";
  for (int index = 1; index < 1000; ++index) text.append(",").append(std::to_string(index));
  const COJson document(text + "]");
  ASSERT_EQ(document.obtainArraySize(), 1000U);
  for (std::size_t index = 0; index < 1000; ++index) {
    ASSERT_EQ(document.obtainArrayItem(index)->obtainNumber(), static_cast<double>(index));
  }
  EXPECT_EQ(document.obtainArrayItem(1000), nullptr);
  EXPECT_EQ(document.obtainArrayItem(std::numeric_limits<std::size_t>::max()), nullptr);
}

TEST(JsonString, MayHoldNUL) { EXPECT_EQ(COJson(R"("a\u0000b")").obtainString(), "a\0b"s); }

TEST(JsonNumber, BeyondADoubleReadsAsTheLargestOne) {
  constexpr double kMax = std::numeric_limits<double>::max();
  EXPECT_EQ(COJson("1e400").obtainNumber(), kMax);
  EXPECT_EQ(COJson("-1e400").obtainNumber(), -kMax);
  EXPECT_EQ(COJson("1e-400").obtainNumber(), 0.0);
}

TEST(JsonDocument, KeepsItsValuesWhenMoved) {
  COJson source(kEveryType);
  const COJsonValue* const member = source.obtainJsonValue("s");
  COJson moved(std::move(source));
  EXPECT_EQ(moved.obtainJsonValue("s"), member);
  EXPECT_EQ(moved.obtainJsonString(), kEveryType);

  COJson assigned("[1]");
  assigned = std::move(moved);
  EXPECT_EQ(assigned.obtainJsonValue("s"), member);
  EXPECT_EQ(member->obtainString(), "text");
  source = COJson("2");  // NOLINT(bugprone-use-after-move): may be assigned to
  EXPECT_EQ(source.obtainNumber(), 2.0);
}

TEST(JsonDocument, MovesAScalarAndItsValidity) {
  for (const std::string_view text : {"true", "12", "\"s\"", "null", "[", "0.5"}) {
    COJson source(text);
    const std::string written = source.obtainJsonString();
    const bool valid = source.getIsValidJson();
    const COJson moved(std::move(source));
    EXPECT_EQ(moved.obtainJsonString(), written);
    EXPECT_EQ(moved.getIsValidJson(), valid);
  }
}

TEST(JsonDocument, AssignedToItselfStays) {
  COJson document("[1,2]");
  COJson& alias = document;
  document = std::move(alias);
  EXPECT_EQ(document.obtainJsonString(), "[1,2]");
}

}  // namespace
