#include "services/ledger.h"

#include <gtest/gtest.h>

namespace {

TEST(Ledger, OfNothingSaysSo) { EXPECT_EQ(Ledger().describe(), "Nothing has been sent yet."); }

TEST(Ledger, AddsUpByMatterAndTellsWhatDidNotGoToo) {
  Ledger ledger;
  for (int i = 0; i < 3; ++i) ledger.note("here", Matter::Instructions, 41'000);
  ledger.note("here", Matter::Question, 10);
  ledger.note("here", Matter::EarlierTurns, 20);
  ledger.note("here", Matter::Question, 11);
  EXPECT_EQ(ledger.describe(),
            "To here: 3 times structure and instructions (123 kB together); 1 time earlier turns (20 bytes together); "
            "2 questions (21 bytes); 0 kinds of error; 0 rows.");
}

TEST(Ledger, TellsErrorsAndRowsByNumber) {
  Ledger ledger;
  ledger.note("here", Matter::KindOfError, 0);
  ledger.note("here", Matter::Row, 900, 30);
  EXPECT_EQ(ledger.describe(),
            "To here: 0 times structure and instructions (0 bytes together); 0 questions; 1 kind of error; "
            "30 rows (900 bytes).");
}

TEST(Ledger, KeepsDestinationsApart) {
  Ledger ledger;
  ledger.note("B", Matter::Question, 1);
  ledger.note("A", Matter::Question, 2);
  const std::string text = ledger.describe();
  EXPECT_LT(text.find("To A: "), text.find("\nTo B: "));
}

struct SizeCase {
  const char* name;
  std::size_t bytes;
  const char* text;
};

class Size : public testing::TestWithParam<SizeCase> {};

TEST_P(Size, IsToldInFewDigits) { EXPECT_EQ(describeSize(GetParam().bytes), GetParam().text); }

INSTANTIATE_TEST_SUITE_P(Sizes, Size,
                         testing::Values(SizeCase{"none", 0, "0 bytes"}, SizeCase{"one", 1, "1 byte"},
                                         SizeCase{"few", 9'999, "9999 bytes"}, SizeCase{"many", 10'499, "10 kB"},
                                         SizeCase{"rounded", 10'500, "11 kB"}, SizeCase{"most", 12'600'000, "13 MB"}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
