// Adding members to objects that have some: a key stands there once.
#include <cf/json.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>

namespace {

std::string keyOf(int index) { return std::string("k").append(std::to_string(index)); }

/// "{"k0":0,"k1":1,…}"
std::string objectOf(int members) {
  std::string text;
  for (int index = 0; index < members; ++index) {
    text += (index == 0 ? "{\"" : ",\"") + keyOf(index) + "\":" + std::to_string(index);
  }
  return text + "}";
}

/// Of each a few members, or more than are looked at one by one.
class JsonKeys : public testing::TestWithParam<int> {};

TEST_P(JsonKeys, ThatAreThereGiveTheirMembersAsTheyAre) {
  const int members = GetParam();
  COJson built;
  for (int index = 0; index < members; ++index) built.addKeyValue(keyOf(index))->setInteger(index);
  COJson read(objectOf(members));
  for (COJson* document : {&built, &read}) {
    for (int index = members - 1; index >= 0; --index) {
      COJsonValue* const found = document->addKeyValue(keyOf(index));
      ASSERT_EQ(found, document->obtainJsonValue(keyOf(index))) << index;
      ASSERT_EQ(found->obtainNumber(), index);
    }
    EXPECT_EQ(document->obtainJsonString(), objectOf(members));
  }
}

TEST_P(JsonKeys, ThatAreMissingAreAddedBehindTheOthersAndFoundThen) {
  const int members = GetParam();
  COJson document(objectOf(members));
  for (int index = members; index < members + 100; ++index) {
    COJsonValue* const added = document.addKeyValue(keyOf(index));
    ASSERT_EQ(added->obtainType(), JsonType::Null);
    added->setInteger(index);
    ASSERT_EQ(document.addKeyValue(keyOf(index)), added);
  }
  EXPECT_EQ(document.obtainJsonString(), objectOf(members + 100));
}

TEST_P(JsonKeys, ThatWereReadTwiceGiveTheLastMember) {
  const int members = GetParam();
  std::string text = objectOf(members);
  text.pop_back();
  COJson document(text + ",\"k0\":-1}");
  EXPECT_EQ(document.addKeyValue("k0")->obtainNumber(), -1.0);
  EXPECT_EQ(document.obtainJsonKeys().size(), static_cast<std::size_t>(members) + 1);
}

TEST_P(JsonKeys, OfAnObjectThatWasEmptiedAreForgotten) {
  const int members = GetParam();
  COJson document;
  COJsonValue* const object = document.addKeyValue("object");
  using Empty = void (*)(COJsonValue&);
  for (const Empty empty :
       {Empty([](COJsonValue& value) { value.setObject(); }), Empty([](COJsonValue& value) { value.setNull(); }),
        Empty([](COJsonValue& value) { value.addArrayItem(); })}) {
    for (int index = 0; index < members; ++index) {
      COJsonValue* const added = object->addKeyValue(keyOf(index));
      ASSERT_EQ(added->obtainType(), JsonType::Null);
      added->setInteger(index);
    }
    ASSERT_EQ(document.obtainJsonString(), "{\"object\":" + objectOf(members) + "}");
    empty(*object);
  }
}

TEST_P(JsonKeys, OfTwoObjectsAreTheirOwn) {
  const int members = GetParam();
  COJson document;
  COJsonValue* const first = document.addKeyValue("first");
  COJsonValue* const second = document.addKeyValue("second");
  for (int index = 0; index < members; ++index) {
    first->addKeyValue(keyOf(index))->setInteger(index);
    second->addKeyValue(keyOf(index))->setInteger(index);
  }
  EXPECT_NE(first->addKeyValue("k0"), second->addKeyValue("k0"));
  COJson moved(std::move(document));
  moved.addKeyValue("first")->addKeyValue("k0")->setInteger(0);
  EXPECT_EQ(moved.obtainJsonString(), "{\"first\":" + objectOf(members) + ",\"second\":" + objectOf(members) + "}");
}

INSTANTIATE_TEST_SUITE_P(Members, JsonKeys, testing::Values(1, 5, 31, 32, 33, 200),
                         [](const auto& row) { return std::to_string(row.param); });

// Each looked up among all the others they would take minutes.
TEST(JsonKey, OfAVeryLargeObjectAreAddedOneByOne) {
  constexpr int kMembers = 200'000;
  COJson document;
  for (int index = 0; index < kMembers; ++index) document.addKeyValue(keyOf(index))->setInteger(index);
  for (int index = 0; index < kMembers; ++index) ASSERT_EQ(document.addKeyValue(keyOf(index))->obtainNumber(), index);
  EXPECT_TRUE(document.obtainJsonString() == objectOf(kMembers));
}

TEST(JsonKey, OfALongAndAnEmptyTextAreFound) {
  COJson document;
  const std::string longKey(100'000, 'k');
  COJsonValue* const ofLong = document.addKeyValue(longKey);
  COJsonValue* const ofEmpty = document.addKeyValue("");
  EXPECT_EQ(document.addKeyValue(longKey), ofLong);
  EXPECT_EQ(document.addKeyValue(""), ofEmpty);
  EXPECT_EQ(document.obtainJsonKeys().size(), 2U);
}

}  // namespace
