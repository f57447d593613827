#include "conversation/near_name.h"

#include <gtest/gtest.h>

#include <array>
#include <ostream>
#include <string>

namespace {

struct NearCase {
  const char* name;
  std::string typed;
  std::string_view near;
};
void PrintTo(const NearCase& row, std::ostream* out) { *out << row.name; }

class NearName : public testing::TestWithParam<NearCase> {};

TEST_P(NearName, IsFound) {
  constexpr std::array<std::string_view, 5> kNames{"/help", "/new", "/provider", "/quit", "/tables"};
  EXPECT_EQ(findNear(GetParam().typed, kNames), GetParam().near);
}

INSTANTIATE_TEST_SUITE_P(
    Mistakes, NearName,
    testing::Values(NearCase{"letters_exchanged", "/hlep", "/help"}, NearCase{"letter_missing", "/tabls", "/tables"},
                    NearCase{"letter_too_many", "/quitt", "/quit"}, NearCase{"another_letter", "/neu", "/new"},
                    NearCase{"two_mistakes", "/porvidr", "/provider"}, NearCase{"a_beginning", "/prov", "/provider"},
                    NearCase{"a_beginning_of_one_letter", "/q", "/quit"}, NearCase{"another_word", "/frobnicate", ""},
                    NearCase{"chance", "/xyz", ""}, NearCase{"nothing", "/", ""},
                    NearCase{"more_than_any_name", "/" + std::string(100'000, 'p'), ""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(NearName, OfNoneIsNone) { EXPECT_EQ(findNear("/help", {}), ""); }

}  // namespace
