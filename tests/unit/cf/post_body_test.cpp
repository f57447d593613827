// The body of a POST request: whole as one text, and in parts where a long one stays where it is.
#include <cf/rest.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kShortest = std::size_t{64} << 10U;  // of what is not copied

/// {"before":1,"entries":[`entries`],"after":2}
void describe(COJson& json, const std::string& entries) {
  json.setObject();
  json.addKeyValue("before")->setInteger(1);
  json.addKeyValue("entries")->addArrayItem()->setJsonReference(entries);
  json.addKeyValue("after")->setInteger(2);
}

std::string joinParts(const CMRestPostRequest& request) {
  std::string joined;
  for (const std::string_view part : request.getBodyParts()) joined += part;
  return joined;
}

bool borrows(const CMRestPostRequest& request, std::string_view text) {
  const auto parts = request.getBodyParts();
  return std::any_of(parts.begin(), parts.end(),
                     [&](std::string_view part) { return part.data() == text.data() && part.size() == text.size(); });
}

class PostBody : public testing::TestWithParam<std::size_t> {};

TEST_P(PostBody, IsTheWholeTextHoweverLongAReferenceInItIs) {
  const std::string entries(GetParam(), '7');
  COJson json;
  describe(json, entries);
  CMRestPostRequest request;
  request.updateJson(&json);
  EXPECT_TRUE(request.getBody() == R"({"before":1,"entries":[)" + entries + R"(],"after":2})");
  EXPECT_EQ(borrows(request, entries), entries.size() >= kShortest);
  EXPECT_TRUE(joinParts(request) == request.getBody());
}

INSTANTIATE_TEST_SUITE_P(Sizes, PostBody,
                         testing::Values(1U, kShortest - 1, kShortest, kShortest + 1, std::size_t{1} << 20U));

TEST(PostBodyParts, BorrowEachLongPieceAndCopyTheShortOnes) {
  const std::string first(kShortest, '1');
  const std::string second(2 * kShortest, '2');
  const std::string third(kShortest + 7, '3');
  COJson json;
  const std::array<std::string_view, 5> pieces{"\"", first, " and ", second, "\""};
  json.addArrayItem()->setJsonReference(pieces);
  json.addArrayItem()->setJsonReference(third);
  CMRestPostRequest request;
  request.updateJson(&json);
  EXPECT_TRUE(request.getBody() == "[\"" + first + " and " + second + "\"," + third + "]");
  EXPECT_TRUE(joinParts(request) == request.getBody());
  for (const std::string& text : {std::cref(first), std::cref(second), std::cref(third)}) {
    EXPECT_TRUE(borrows(request, text));
  }
  EXPECT_EQ(request.getBodyParts().size(), 7U);
}

TEST(PostBodyParts, OfAWrittenTextAreBorrowedWhenTheyAreLongTogether) {
  const std::string most(kShortest, '1');
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, kShortest - 3, kShortest - 2, kShortest}) {
    const std::string_view digits = std::string_view(most).substr(0, size);
    const std::array<std::string_view, 4> parts{"[", "", digits, "]"};
    CMRestPostRequest request;
    request.updateJsonText(parts);
    EXPECT_TRUE(request.hasBody());
    EXPECT_TRUE(request.getBody() == std::string("[").append(digits).append("]")) << size;
    EXPECT_TRUE(joinParts(request) == request.getBody()) << size;
    EXPECT_EQ(borrows(request, digits), size + 2 >= kShortest) << size;
    EXPECT_EQ(request.getBodyParts().size() == 1, size + 2 < kShortest) << size << ": one goes out with the header";
  }
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
  EXPECT_TRUE(request.getBodyParts().empty());
}

}  // namespace
