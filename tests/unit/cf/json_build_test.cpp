#include <cf/json_shortcuts.h>
#include <cf/variant.h>

#include <gtest/gtest.h>

#include <array>
#include <span>
#include <string_view>

namespace {

std::string keyOf(int index) { return std::string("k").append(std::to_string(index)); }

TEST(JsonBuilding, StartsWithAValidNull) {
  const COJson document;
  EXPECT_TRUE(document.getIsValidJson());
  EXPECT_EQ(document.obtainType(), JsonType::Null);
  EXPECT_EQ(document.obtainJsonString(), "null");
}

TEST(JsonBuilding, KeepsTheOrderOfMembersAndItems) {
  COJson document;
  document.addKeyValue("z")->setBool(true);
  document.addKeyValue("a")->setNumber(0.7);
  COJsonValue* const list = document.addKeyValue("m");
  list->addArrayItem()->setString("first");
  list->addArrayItem();
  list->addArrayItem()->setInteger(3);
  EXPECT_EQ(document.obtainJsonString(), R"({"z":true,"a":0.7,"m":["first",null,3]})");
}

TEST(JsonBuilding, KeepsAddressesWhenValuesAreAdded) {
  COJson document;
  std::vector<COJsonValue*> items;
  for (int index = 0; index < 1000; ++index) {
    items.push_back(document.addArrayItem());
    items.back()->setInteger(index);
  }
  for (std::size_t index = 0; index < items.size(); ++index) {
    ASSERT_EQ(document.obtainArrayItem(index), items[index]);
    ASSERT_EQ(items[index]->obtainNumber(), static_cast<double>(index));
  }
  EXPECT_EQ(document.obtainArrayItem(1000), nullptr);
}

TEST(JsonBuilding, FindsEachOfManyMembers) {
  COJson document;
  for (int index = 0; index < 100; ++index) document.addKeyValue(keyOf(index))->setInteger(index);
  for (int index = 0; index < 100; ++index) {
    ASSERT_EQ(document.obtainJsonValue(keyOf(index))->obtainNumber(), index);
  }
  EXPECT_EQ(document.obtainJsonValue("k100"), nullptr);
  EXPECT_EQ(document.obtainJsonKeys().size(), 100U);
  EXPECT_EQ(document.obtainJsonKeys().back(), "k99");
}

TEST(JsonBuilding, AddsToADocumentReadFromText) {
  COJson document(R"({"a":[1,2,3]})");
  const COJsonValue* const first = document.obtainJsonValue("a");
  COJsonValue* const added = document.addKeyValue("b");
  for (int index = 0; index < 9; ++index) added->addArrayItem()->setInteger(index);
  EXPECT_EQ(document.obtainJsonValue("a"), first);
  EXPECT_EQ(document.obtainJsonString(), R"({"a":[1,2,3],"b":[0,1,2,3,4,5,6,7,8]})");

  COJson list("[1,2,3]");
  for (int index = 4; index < 20; ++index) list.addArrayItem()->setInteger(index);
  EXPECT_EQ(list.obtainJsonString(), "[1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19]");
}

TEST(JsonBuilding, CopiesKeysAndTexts) {
  COJson document;
  std::string text = "some text that is longer than a short one";
  document.addKeyValue(text)->setString(text);
  text.assign(text.size(), 'x');
  EXPECT_EQ(document.obtainJsonString(),
            R"({"some text that is longer than a short one":"some text that is longer than a short one"})");
}

TEST(JsonBuilding, BorrowsReferencedTexts) {
  const std::string text = "borrowed \xC3\xA9";
  COJson document;
  COJsonValue* const value = document.addArrayItem();
  value->setStringReference(text);
  EXPECT_EQ(value->obtainString().data(), text.data());
  EXPECT_EQ(document.obtainJsonString(), "[\"borrowed \xC3\xA9\"]");
  value->setStringReference({});
  EXPECT_EQ(document.obtainJsonString(), "[\"\"]");
}

TEST(JsonBuilding, TakesJsonThatIsReadyAsItStands) {
  const std::string items = R"({"a": 1},2)";
  COJson document;
  document.addArrayItem()->setBool(true);
  document.addArrayItem()->setJsonReference(items);
  document.addArrayItem()->setJsonReference("");
  const std::array<std::string_view, 4> pieces{"\"one ", "", "text", "\""};
  document.addArrayItem()->setJsonReference(pieces);
  document.addArrayItem()->setJsonReference(std::span<const std::string_view>());
  EXPECT_EQ(document.obtainJsonString(), R"([true,{"a": 1},2,null,"one text",null])");
  EXPECT_EQ(document.obtainArrayItem(1)->obtainType(), JsonType::Null);
  EXPECT_EQ(document.obtainArrayItem(1)->obtainString(), "");

  COJson whole;
  whole.setJsonReference(items);
  EXPECT_EQ(whole.obtainJsonString(), items);
  COJson moved(std::move(whole));
  EXPECT_EQ(moved.obtainJsonString(), items);
  moved.setNull();
  EXPECT_EQ(moved.obtainJsonString(), "null");
}

TEST(JsonBuilding, AcceptsItsOwnTextAsANewOne) {
  COJson document("\"own\"");
  document.setString(document.obtainString());
  EXPECT_EQ(document.obtainJsonString(), "\"own\"");
}

TEST(JsonBuilding, ReplacesANumberThatWasRead) {
  COJson document("1.5");
  document.setInteger(2);
  EXPECT_EQ(document.obtainNumber(), 2.0);
  EXPECT_EQ(document.obtainJsonString(), "2");
}

TEST(JsonBuilding, ReplacesContentOfAnyTypeByAnyOther) {
  using Set = void (*)(COJsonValue&);
  const std::vector<std::pair<Set, std::string>> contents = {
      {[](COJsonValue& value) { value.setNull(); }, "null"},
      {[](COJsonValue& value) { value.setBool(true); }, "true"},
      {[](COJsonValue& value) { value.setNumber(2.0); }, "2.0"},
      {[](COJsonValue& value) { value.setInteger(2); }, "2"},
      {[](COJsonValue& value) { value.setString("s"); }, "\"s\""},
      {[](COJsonValue& value) { value.setStringReference("r"); }, "\"r\""},
      {[](COJsonValue& value) { value.setObject(); }, "{}"},
      {[](COJsonValue& value) { value.setArray(); }, "[]"},
      {[](COJsonValue& value) { value.setNull(), value.addKeyValue("k"); }, "{\"k\":null}"},
      {[](COJsonValue& value) { value.setNull(), value.addArrayItem(); }, "[null]"}};
  for (const auto& [setFirst, first] : contents) {
    for (const auto& [setSecond, second] : contents) {
      COJson document;
      setFirst(document);
      EXPECT_EQ(document.obtainJsonString(), first);
      setSecond(document);
      EXPECT_EQ(document.obtainJsonString(), second) << "after " << first;
    }
  }
}

TEST(JsonBuilding, EmptiesAContainerThatIsSetAgain) {
  COJson document("[1,2,3]");
  document.setArray();
  EXPECT_EQ(document.obtainArraySize(), 0U);
  document.addArrayItem();
  EXPECT_EQ(document.obtainJsonString(), "[null]");
}

TEST(JsonFromVariant, CopiesEveryType) {
  const CMVariant value(CMVariantMap{{"text", "abc"},
                                     {"number", 0.7},
                                     {"whole", 2.0},
                                     {"nothing", CMVariant()},
                                     {"list", CMVariantList{"a", CMVariantMap{}, CMVariantList{}}}});
  const COJson document = cfCreateCOJsonFromCMVariant(value);
  EXPECT_TRUE(document.getIsValidJson());
  EXPECT_EQ(document.obtainJsonString(),
            R"({"list":["a",{},[]],"nothing":null,"number":0.7,"text":"abc","whole":2.0})");
}

TEST(JsonFromVariant, OutlivesTheVariant) {
  COJson document;
  {
    const CMVariant value(CMVariantList{std::string(100, 'x')});
    document = cfCreateCOJsonFromCMVariant(value);
  }
  EXPECT_EQ(document.obtainArrayItem(0)->obtainString(), std::string(100, 'x'));
}

TEST(JsonFromVariant, GivesNullBelow256Levels) {
  const auto nested = [](int depth) {
    CMVariant value("innermost");
    for (int level = 0; level < depth; ++level) {
      CMVariantList list;
      list.push_back(std::move(value));
      value = CMVariant(std::move(list));
    }
    return cfCreateCOJsonFromCMVariant(value).obtainJsonString();
  };
  EXPECT_EQ(nested(256), std::string(256, '[') + "\"innermost\"" + std::string(256, ']'));
  EXPECT_EQ(nested(257), std::string(256, '[') + "null" + std::string(256, ']'));
  EXPECT_TRUE(COJson(nested(1000)).getIsValidJson());
}

TEST(VariantAsJson, GivesNullBelow256LevelsOfObjectsToo) {
  CMVariant value("innermost");
  for (int level = 0; level < 257; ++level) {
    CMVariantMap map;
    map.emplace("a", std::move(value));
    value = CMVariant(std::move(map));
  }
  std::string expected = "null";
  for (int level = 0; level < 256; ++level) expected = "{\"a\":" + expected + "}";
  EXPECT_EQ(cfWriteJson(value), expected);
  EXPECT_EQ(cfCreateCOJsonFromCMVariant(value).obtainJsonString(), expected);
}

}  // namespace
