#include "ascii_case.h"

#include <gtest/gtest.h>

namespace {

TEST(AsciiCase, ChangesNothingButLetters) {
  EXPECT_EQ(toLowerAscii("@AZ[`az{ Größe Ä"), "@az[`az{ größe Ä");
  EXPECT_EQ(toCapitalsAscii("@AZ[`az{ Größe ä"), "@AZ[`AZ{ GRößE ä");
}

}  // namespace
