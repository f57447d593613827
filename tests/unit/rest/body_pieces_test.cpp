// The pieces in which a body that lies in parts is sent.
#include "rest_options.h"
#include "rest_setup.h"
#include "support/raw_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace {

struct Recorder {
  RestUpload upload;
  std::size_t largestRoom = 0;

  static std::size_t read(char* buffer, std::size_t one, std::size_t count, void* context) {
    auto& self = *static_cast<Recorder*>(context);
    self.largestRoom = std::max(self.largestRoom, one * count);
    return self.upload.read(buffer, one * count);
  }
};

/// How many bytes of a body of `size` bytes libcurl asks for at a time.
std::size_t largestPieceOf(std::size_t size) {
  RawServer server(raw::reply(200, "{}"));
  CMRestPostRequest request;
  request.setURL(server.getURL());
  const CMRestSession session;
  const CMRestGlobalSettings settings;
  const std::string text(size / 2, ' ');
  const std::array<std::string_view, 2> parts{text, text};
  Recorder recorder{RestUpload(parts)};
  RestPlan plan{};
  EXPECT_EQ(planRequest({RestMethod::Post, request, &recorder.upload, session, settings, nullptr}, plan), "");
  const EasyHandle easy(curl_easy_init());
  RestReply reply(100, nullptr);
  EXPECT_EQ(applyPlan(easy.get(), plan, settings), CURLE_OK);
  EXPECT_EQ(applyTransfer(easy.get(), plan, &recorder.upload, reply), CURLE_OK);
  curl_easy_setopt(easy.get(), CURLOPT_READFUNCTION, &Recorder::read);
  curl_easy_setopt(easy.get(), CURLOPT_READDATA, &recorder);
  EXPECT_EQ(curl_easy_perform(easy.get()), CURLE_OK);
  EXPECT_EQ(reply.body, "{}");
  return recorder.largestRoom;
}

constexpr std::size_t kKiB = 1024;

TEST(PiecesOfABody, AreLargerForALargeOne) {
  EXPECT_LE(largestPieceOf(100), 64 * kKiB);
  const std::size_t largest = largestPieceOf(2048 * kKiB);
  EXPECT_GE(largest, 128 * kKiB);
  EXPECT_LE(largest, 256 * kKiB);
}

}  // namespace
