// The quicker forms of reading and writing: each does what the plain one does.
#include <cf/json_shortcuts.h>
#include <cf/variant.h>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
const std::vector<std::string> kTexts = {
    "null",
    "12",
    "\"text\"",
    R"({"a":[1,-2.5e3,"x"],"b":{},"c":[true,false,null]})",
    R"(["\n\u20AC\ud83d\ude00","plain"])",
    "\xEF\xBB\xBF [\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\"]",
    R"([1e400,"\"1e400",-1e400])",
    "[1e400]",
    "",
    "[1,2",
    "[1e400,01]",
    "{}\0"s,
    "\"a\0b\""s,
    "[\"\xFF\"]",
    "[\"\xED\xA0\x80\"]",
    R"(["\uDC00"])",
    R"(["\uD800x"])",
    R"({"a" 1})",
    std::string(256, '[') + std::string(256, ']'),
    std::string(257, '[') + std::string(257, ']'),
    "\"0123456789abcdef0123456789\x1A\"",
    "\"0123456789abcde\xC3\"",
};

TEST(JsonCheck, AgreesWithTheDocument) {
  for (const std::string& text : kTexts) EXPECT_EQ(cfIsJson(text), COJson(text).getIsValidJson()) << text;
}

TEST(JsonReference, ReadsAsACopyDoes) {
  for (const std::string& text : kTexts) {
    const COJson document = COJson::readReference(text);
    EXPECT_EQ(document.getIsValidJson(), COJson(text).getIsValidJson()) << text;
    EXPECT_EQ(document.obtainJsonString(), COJson(text).obtainJsonString()) << text;
  }
}

TEST(JsonReference, LeavesTheTextAsItIs) {
  for (const std::string& text : kTexts) {
    const std::string before = text;
    const COJson document = COJson::readReference(text);
    EXPECT_EQ(text, before);
  }
}

TEST(JsonReference, PointsIntoATextWithoutEscapes) {
  const std::string text = R"({"key":"value"})";
  const COJson document = COJson::readReference(text);
  EXPECT_EQ(document.obtainJsonValue("key")->obtainString().data(), text.data() + 8);
}

TEST(JsonReference, CanBeAddedTo) {
  const std::string text = R"({"a":[1]})";
  COJson document = COJson::readReference(text);
  document.addKeyValue("b")->setString("x");
  EXPECT_EQ(document.obtainJsonString(), R"({"a":[1],"b":"x"})");
}

TEST(JsonKey, MayBeLong) {
  for (const std::size_t size : {65533U, 65534U, 65535U, 65536U, 200000U}) {
    const std::string key(size, 'k');
    const COJson read("{\"" + key + "\":1}");
    ASSERT_NE(read.obtainJsonValue(key), nullptr) << size;
    EXPECT_EQ(read.obtainJsonKeys().front(), key);
    COJson built;
    built.addKeyValue(key)->setInteger(1);
    EXPECT_EQ(built.obtainJsonString(), read.obtainJsonString());
  }
}

TEST(JsonFromVariant, IsWrittenAsThroughADocument) {
  const CMVariant inner(
      CMVariantMap{{"t\"\n", "\xC3\xA9\xFF\x01 plain"}, {"n", 0.7}, {"w", 2.0}, {"e", CMVariantMap{}}});
  CMVariantList list{"a", CMVariant(), inner, CMVariantList{}, CMVariantList{1.0, "b"}};
  CMVariant deep("innermost");
  for (int level = 0; level < 300; ++level) {
    CMVariantList around;
    around.push_back(std::move(deep));
    deep = CMVariant(std::move(around));
  }
  list.push_back(deep);
  for (const CMVariant& value : list) {
    EXPECT_EQ(cfWriteJson(value), cfCreateCOJsonFromCMVariant(value).obtainJsonString());
  }
  EXPECT_EQ(cfWriteJson(list), cfCreateCOJsonFromCMVariant(list).obtainJsonString());
}

}  // namespace
