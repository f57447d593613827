// The host's translation: what reaches the library's buffer.
#include "fake_library.h"

#include <qai.hpp>

#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>

namespace {

class Translation : public testing::Test {
 protected:
  ~Translation() override { qai::setTranslation(nullptr); }

  /// What the library gets for `text`.
  static std::string translated(const char* text) {
    QAICallbackLocalizationInfo info;
    info.text = text;
    registeredCallback()("QAILocalizeString", &info);
    EXPECT_EQ(info.buffer[sizeof info.buffer - 1], '\0');
    return info.buffer;
  }
  static void translateTo(const std::string& text) {
    qai::setTranslation([text](std::string_view /*original*/) { return text; });
  }
};

TEST_F(Translation, FunctionGetsTheTextAndFillsTheBuffer) {
  qai::setTranslation([](std::string_view text) { return "[" + std::string(text) + "]"; });
  EXPECT_EQ(translated("Timeout"), "[Timeout]");
}

TEST_F(Translation, FunctionKeepsWhatItCaptured) {
  auto words = std::make_shared<int>(0);
  qai::setTranslation([words](std::string_view /*text*/) { return std::to_string(++*words); });
  EXPECT_EQ(words.use_count(), 2);
  EXPECT_EQ(translated("a"), "1");
  EXPECT_EQ(translated("b"), "2");
  qai::setTranslation({});
  EXPECT_EQ(words.use_count(), 1);
}

TEST_F(Translation, EmptyFunctionClears) {
  translateTo("X");
  EXPECT_NE(registeredCallback(), nullptr);
  qai::setTranslation(nullptr);
  EXPECT_EQ(registeredCallback(), nullptr);
}

TEST_F(Translation, OtherCallbacksAreNotAnswered) {
  translateTo("X");
  QAICallbackLocalizationInfo info;
  registeredCallback()("QAISomethingNew", &info);
  EXPECT_STREQ(info.buffer, "");
}

TEST_F(Translation, ThrownExceptionLeavesTheTextAsItIs) {
  qai::setTranslation([](std::string_view /*text*/) -> std::string { throw std::runtime_error("no dictionary"); });
  EXPECT_EQ(translated("Timeout"), "");
}

struct CutRow {
  const char* name;
  std::string given;
  std::string kept;
};
void PrintTo(const CutRow& row, std::ostream* out) { *out << row.name; }

class LongTranslation : public Translation, public testing::WithParamInterface<CutRow> {};

TEST_P(LongTranslation, IsCutAtACharacter) {
  translateTo(GetParam().given);
  EXPECT_EQ(translated("Timeout"), GetParam().kept);
}

std::string filler(int size) { return std::string().append(static_cast<std::size_t>(size), 'x'); }

INSTANTIATE_TEST_SUITE_P(Lengths, LongTranslation,
                         testing::Values(CutRow{"empty", "", ""}, CutRow{"exactly_full", filler(1023), filler(1023)},
                                         CutRow{"one_too_many", filler(1024), filler(1023)},
                                         CutRow{"far_too_long", filler(5000), filler(1023)},
                                         CutRow{"two_bytes_fit", filler(1021) + "é", filler(1021) + "é"},
                                         CutRow{"two_bytes_across", filler(1022) + "é", filler(1022)},
                                         CutRow{"three_bytes_fit", filler(1020) + "€", filler(1020) + "€"},
                                         CutRow{"three_bytes_across", filler(1021) + "€€", filler(1021)},
                                         CutRow{"four_bytes_fit", filler(1019) + "😀x", filler(1019) + "😀"},
                                         CutRow{"four_bytes_across", filler(1020) + "😀", filler(1020)},
                                         CutRow{"no_character_at_all", std::string(2000, '\x80'), ""}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
