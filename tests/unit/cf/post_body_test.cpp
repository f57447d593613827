// The body of a POST request: whole as one text, and in parts where a long one stays where it is.
#include <cf/rest.h>

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr std::size_t kShortest = std::size_t{64} << 10U;  // of what is not copied

/// {"before":1,"entries":[`entries`],"after":2}
void describe(COJson& json, const std::string& entries) {
  json.setObject();
  json.addKeyValue("before")->setInteger(1);
  json.addKeyValue("entries")->addArrayItem()->setJsonReference(entries);
  json.addKeyValue("after")->setInteger(2);
}

class PostBody : public testing::TestWithParam<std::size_t> {};

TEST_P(PostBody, IsTheWholeTextHoweverLongAReferenceInItIs) {
  const std::string entries(GetParam(), '7');
  COJson json;
  describe(json, entries);
  CMRestPostRequest request;
  request.updateJson(&json);
  EXPECT_TRUE(request.getBody() == R"({"before":1,"entries":[)" + entries + R"(],"after":2})");
  const auto [begin, middle, end] = request.getBodyParts();
  EXPECT_EQ(middle.data() == entries.data() && middle.size() == entries.size(), entries.size() >= kShortest);
  EXPECT_TRUE(std::string(begin).append(middle).append(end) == request.getBody());
}

INSTANTIATE_TEST_SUITE_P(Sizes, PostBody,
                         testing::Values(1U, kShortest - 1, kShortest, kShortest + 1, std::size_t{1} << 20U));

TEST(PostBodyParts, AreThoseOfTheFirstLongReferenceAlone) {
  const std::string first(kShortest, '1');
  const std::string second(2 * kShortest, '2');
  COJson json;
  json.addArrayItem()->setJsonReference(first);
  json.addArrayItem()->setJsonReference(second);
  CMRestPostRequest request;
  request.updateJson(&json);
  EXPECT_TRUE(request.getBody() == "[" + first + "," + second + "]");
  EXPECT_EQ(request.getBodyParts()[1].data(), first.data());
}

TEST(PostBodyParts, OfAnEarlierBodyAreForgotten) {
  const std::string entries(kShortest, '7');
  COJson json;
  describe(json, entries);
  CMRestPostRequest request;
  EXPECT_FALSE(request.hasBody());
  request.updateJson(&json);
  EXPECT_TRUE(request.hasBody());
  const COJson small("[1]");
  request.updateJson(&small);
  EXPECT_EQ(request.getBody(), "[1]");
  request.updateJson(&json);
  request.updateJson(nullptr);
  EXPECT_FALSE(request.hasBody());
  EXPECT_EQ(request.getBody(), "");
}

}  // namespace
