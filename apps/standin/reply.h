// What a service answers: all at once, or piece by piece as it is made.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace standin {

/// A part of a body that is sent on its own.
struct Piece {
  std::string bytes;
  std::chrono::milliseconds pause{0};  // before it is sent
};

/// Makes a body piece by piece, each when its turn to be sent has come; nothing when the body is whole.
using PieceSource = std::function<std::optional<Piece>()>;

struct Reply {
  int status = 200;
  std::string body = {};
  std::string contentType = "application/json";
  PieceSource pieces = {};  // when set, in place of `body`
};

}  // namespace standin
