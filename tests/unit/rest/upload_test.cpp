// A body in pieces, as libcurl takes it.
#include "rest_upload.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>

namespace {

constexpr std::array<std::string_view, 4> kParts{"Which ", "", "glacier", "?"};
const std::string kWhole = "Which glacier?";

/// What is left of the body, read by `room` bytes at a time.
std::string readBy(std::size_t room, RestUpload& upload) {
  std::string text;
  std::string buffer(room, ' ');
  while (const std::size_t size = upload.read(buffer.data(), room)) text.append(buffer, 0, size);
  return text;
}

TEST(Upload, GivesItsPartsOneAfterAnotherWhateverTheRoom) {
  for (std::size_t room = 1; room <= kWhole.size() + 1; ++room) {
    RestUpload upload(kParts);
    EXPECT_EQ(upload.size(), kWhole.size());
    EXPECT_EQ(readBy(room, upload), kWhole) << room;
  }
}

TEST(Upload, GoesOnFromWhereItWasMovedTo) {
  RestUpload upload(kParts);
  for (const std::size_t offset : {std::size_t{14}, std::size_t{7}, std::size_t{0}, std::size_t{6}}) {
    EXPECT_TRUE(upload.moveTo(static_cast<std::int64_t>(offset)));
    EXPECT_EQ(readBy(3, upload), kWhole.substr(offset)) << offset;
  }
}

TEST(Upload, StaysWhereItIsWhenItIsMovedElsewhere) {
  RestUpload upload(kParts);
  ASSERT_TRUE(upload.moveTo(6));
  EXPECT_FALSE(upload.moveTo(-1));
  EXPECT_FALSE(upload.moveTo(15));
  EXPECT_EQ(readBy(20, upload), "glacier?");
}

}  // namespace
