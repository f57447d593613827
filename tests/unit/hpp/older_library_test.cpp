// qai.hpp over a library that knows no extensions: the fake one, as it stands.
#include "fake_library.h"

#include <qai.hpp>

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class OlderLibrary : public testing::Test {
 protected:
  OlderLibrary() { resetLibrary(); }

  qai::Session session_ = qai::Assistant(OPENAI_v1, "key", "host", nullptr).createSession().value();
  std::vector<std::string> pieces_;
};

TEST_F(OlderLibrary, HandsTheWholeTextOnInOnePiece) {
  libraryScript().sections = {"one, ", "two"};
  const auto reply = session_.ask("q", [this](std::string_view piece) { pieces_.emplace_back(piece); });
  EXPECT_EQ(reply->text(), "one, two");
  EXPECT_THAT(pieces_, ElementsAre("one, two"));
}

TEST_F(OlderLibrary, KeepsAReplyThatTheSinkWouldHaveStopped) {
  const auto reply = session_.ask("q", [this](std::string_view piece) {
    pieces_.emplace_back(piece);
    return false;
  });
  EXPECT_TRUE(reply);
  EXPECT_THAT(pieces_, ElementsAre("reply"));
}

TEST_F(OlderLibrary, HandsNothingOnOfAnEmptyReplyOrAFailure) {
  const auto note = [this](std::string_view piece) { pieces_.emplace_back(piece); };
  libraryScript().sections = {};
  EXPECT_TRUE(session_.ask("q", note));
  libraryScript().error = "out of order";
  EXPECT_EQ(session_.ask("q", note).error(), "out of order");
  EXPECT_THAT(pieces_, IsEmpty());
}

TEST_F(OlderLibrary, TellsNothingOfAReply) {
  const auto reply = session_.ask("q");
  const qai::Details details = reply->details();
  EXPECT_FALSE(details);
  EXPECT_EQ(details.native(), nullptr);
  for (const std::string_view text :
       {details.finishReason(), details.refusal(), details.model(), details.requestIdentifier()})
    EXPECT_EQ(text, "");
  for (const auto tokens : {details.inputTokens(), details.outputTokens(), details.cachedTokens()})
    EXPECT_EQ(tokens, std::nullopt);
}

}  // namespace
