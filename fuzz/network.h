// The services as the targets meet them: requests end here and not in a socket. This app factory stands in the place of
// cf's own (cf/app.h), so that replies go the way that they always go, through the public interface.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct Reply {
  std::int32_t status = 200;
  std::string body;
};

struct Network {
  /// Gives each request the next of `next`, whatever it asks; when none is left, connections are lost.
  void answer(std::vector<Reply> next);

  std::vector<Reply> replies;
  std::size_t used = 0;  // of these
  std::string apiHost;   // where requests must go
};

Network& network();

/// The pieces of an input, which lines of "%%" separate.
std::vector<std::string_view> cutInput(std::string_view input);

/// The replies in an input: a piece each, whose first line may be a status ("429").
std::vector<Reply> readReplies(std::string_view input);
