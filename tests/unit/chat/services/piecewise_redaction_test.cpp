#include "services/piecewise_redaction.h"

#include "support/canary.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

constexpr const char* kUsual = "sk-proj-0123456789abcdef";

/// A text with a secret in every form, between words that begin like it.
std::string textWith(const std::string& secret) {
  std::string text = "It is sk-proj, or " + secret.substr(0, secret.size() - 1) + ". Nearly: ";
  for (const std::string& form : canaryForms(secret)) text += form + " \u00e9\u65e5\u672c\u013c, ";
  return text + "and at the end " + secret;
}

bool continuesCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

/// What comes of `text` in pieces that end at `cuts` and at its end.
std::vector<std::string> redact(const std::string& text, const Secrets& secrets, const std::vector<std::size_t>& cuts) {
  PiecewiseRedaction redaction(secrets);
  std::vector<std::string> pieces;
  std::size_t begin = 0;
  for (const std::size_t cut : cuts) {
    pieces.push_back(redaction.add(std::string_view(text).substr(begin, cut - begin)));
    begin = cut;
  }
  pieces.push_back(redaction.add(std::string_view(text).substr(begin)));
  pieces.push_back(redaction.finish());
  return pieces;
}

std::string joined(const std::vector<std::string>& pieces) {
  std::string text;
  for (const std::string& piece : pieces) text += piece;
  return text;
}

struct SecretsCase {
  const char* name;
  Secrets secrets;
};

class TextInPieces : public testing::TestWithParam<SecretsCase> {};

TEST_P(TextInPieces, LacksTheSecretsOfTheWholeWhereverItIsCut) {
  const Secrets& secrets = GetParam().secrets;
  const std::string text = textWith(secrets.front());
  const std::string whole = withoutSecrets(text, secrets);
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    if (cut < text.size() && continuesCharacter(text[cut])) continue;
    EXPECT_EQ(joined(redact(text, secrets, {cut})), whole) << cut;
  }
}

TEST_P(TextInPieces, LacksThemCharacterByCharacterToo) {
  const Secrets& secrets = GetParam().secrets;
  const std::string text = textWith(secrets.front());
  std::vector<std::size_t> cuts;
  for (std::size_t cut = 1; cut < text.size(); ++cut) {
    if (!continuesCharacter(text[cut])) cuts.push_back(cut);
  }
  const std::vector<std::string> pieces = redact(text, secrets, cuts);
  EXPECT_EQ(joined(pieces), withoutSecrets(text, secrets));
  for (const std::string& piece : pieces) EXPECT_FALSE(!piece.empty() && continuesCharacter(piece.front())) << piece;
}

INSTANTIATE_TEST_SUITE_P(Secrets, TextInPieces,
                         testing::Values(SecretsCase{"usual", {kUsual}}, SecretsCase{"odd", {canary::kKey}},
                                         SecretsCase{"with_blanks", {"open sesame, please"}},
                                         SecretsCase{"beyond_ascii", {"Schl\u00fcssel\u65e5"}},
                                         SecretsCase{"several", {kUsual, canary::kKey, "p@ssw\u00f6rd"}},
                                         SecretsCase{"one_too_short", {"short"}}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(TextInPiecesOfWords, IsHeldBackByAWordAtMost) {
  const Secrets secrets{kUsual};
  PiecewiseRedaction redaction(secrets);
  EXPECT_EQ(redaction.add("The key"), "The ");
  EXPECT_EQ(redaction.add(" is sk-proj-01234"), "key is ");
  EXPECT_EQ(redaction.add("56789abcdef. It"), "[redacted]. ");
  EXPECT_EQ(redaction.add("\u65e5"), "It\u65e5");
  EXPECT_EQ(redaction.add("end"), "");
  EXPECT_EQ(redaction.finish(), "end");
  EXPECT_EQ(redaction.finish(), "");
}

TEST(TextInPiecesOfWords, IsNotHeldBackWhereThereIsNoSecret) {
  const Secrets secrets{"", "short"};
  PiecewiseRedaction redaction(secrets);
  EXPECT_EQ(redaction.add("The"), "The");
  EXPECT_EQ(redaction.add(" short"), " short");
  EXPECT_EQ(redaction.finish(), "");
}

}  // namespace
