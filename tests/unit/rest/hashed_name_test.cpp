// By which files a folder of certificate authorities is known for one.
#include "rest_hashed_name.h"

#include <gtest/gtest.h>

namespace {

TEST(FileOfAnAuthority, IsNamedByEightDigitsOfAHashAndANumber) {
  for (const char* name : {"4bfab552.0", "00000000.0", "abcdef99.0"}) EXPECT_TRUE(isHashedName(name)) << name;
}

TEST(FileOfAnAuthority, HasNoOtherName) {
  for (const char* name : {"", ".", "..", "ca-certificates.crt", "4bfab552", "4bfab55.0", "4bfab5521.0", "4bfab552.crt",
                           "4bfab552.1", "4bfab552.r0", "4BFAB552.0", "4bfab55g.0", "4bfab552x0", "root-ca1.0"}) {
    EXPECT_FALSE(isHashedName(name)) << name;
  }
}

}  // namespace
