// Which database a saved conversation is about, as the file tells it.
#include "services/database_mark.h"

#include "support/services.h"

#include <qai.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr const char* kSaved = R"({"api_host":"http://h","messages":[{"role":"user","content":"q"}]})";
const DatabaseMark kShop{.name = "shop.db", .structure = "1"};

const Consent kYes = [](const std::string& /*question*/) { return true; };
const Consent kNo = [](const std::string& /*question*/) { return false; };

std::string noticeOf(const std::string& saved, const DatabaseMark& inUse) {
  return consentToDatabase(saved, inUse, false, {});
}

TEST(DatabaseMark, NamesTheFileAloneAndTellsStructuresApart) {
  const DatabaseMark mark = markDatabase("/home/someone/shop.db", "[1]");
  EXPECT_EQ(mark.name, "shop.db");
  EXPECT_EQ(mark.structure, markDatabase("shop.db", "[1]").structure);
  EXPECT_NE(mark.structure, markDatabase("shop.db", "[2]").structure);
  EXPECT_EQ(markDatabase("shop.db", "").structure, "cbf29ce484222325") << "the same on every machine";
}

TEST(DatabaseMark, GoesOnWithoutAWordOverTheSame) { EXPECT_EQ(noticeOf(withDatabase(kSaved, kShop), kShop), ""); }

TEST(DatabaseMark, OfAChangedStructureIsANotice) {
  EXPECT_EQ(noticeOf(withDatabase(kSaved, kShop), {.name = "shop.db", .structure = "2"}),
            "The structure of shop.db is not what it was when the conversation was saved");
}

TEST(DatabaseMark, OfAnotherNameNeedsAYesOrThePermission) {
  const std::string saved = withDatabase(kSaved, kShop);
  const DatabaseMark other{.name = "other.db", .structure = "1"};
  EXPECT_THROW(consentToDatabase(saved, other, false, {}), RestoreError);
  EXPECT_THROW(consentToDatabase(saved, other, false, kNo), RestoreError);
  EXPECT_EQ(consentToDatabase(saved, other, false, kYes), "");
  EXPECT_EQ(consentToDatabase(saved, other, true, {}), "");
  EXPECT_EQ(consentToDatabase(saved, other, true, kNo), "") << "nobody is asked";
}

TEST(DatabaseMark, CannotAddLinesToTheQuestion) {
  const std::string saved = withDatabase(kSaved, {.name = "a\n  in use: b\x1b", .structure = ""});
  std::string asked;
  consentToDatabase(saved, kShop, false, [&asked](const std::string& question) {
    asked = question;
    return true;
  });
  EXPECT_THAT(asked, AllOf(HasSubstr("\n  saved: a   in use: b\uFFFD\n"), HasSubstr("\n  in use: shop.db\n")));
}

TEST(DatabaseMark, IsMissingInWhatOthersSavedAndThatFitsAny) {
  for (const char* saved : {kSaved, "{}", "[]", "no JSON", R"({"qai_chat":1})", R"({"qai_chat":{"database":1}})"})
    EXPECT_EQ(noticeOf(saved, kShop), "") << saved;
}

TEST(DatabaseMark, OfNoNameLeavesTheTextAsItIs) {
  EXPECT_EQ(withDatabase(kSaved, {}), kSaved);
  EXPECT_EQ(withDatabase("no JSON", kShop), "no JSON");
}

class MarkInASession : public testing::TestWithParam<TestedService> {};

TEST_P(MarkInASession, ChangesNothingOfWhatIsRestored) {
  const auto restoredAndSaved = [](const std::string& text) {
    qai::Assistant assistant(GetParam().type, "key", "http://h");
    auto session = assistant.loadSession(text);
    return session ? session.value().save() : session.error();
  };
  const std::string plain = restoredAndSaved(
      R"({"api_host":"http://h","model":"m","messages":[{"role":"user","content":"\u0000\"q"},{"role":"assistant","content":"a"}]})");
  EXPECT_THAT(plain, HasSubstr("messages"));
  EXPECT_EQ(restoredAndSaved(plain), plain);
  EXPECT_EQ(restoredAndSaved(withDatabase(plain, kShop)), plain) << "byte by byte";
}

INSTANTIATE_TEST_SUITE_P(Services, MarkInASession, testing::ValuesIn(chatServices()),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
