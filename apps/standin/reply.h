// What a service answers: all at once, or piece by piece as it is made.
#pragma once

#include "standin.h"

#include <functional>
#include <optional>
#include <string>

namespace standin {

/// Makes a body piece by piece, each when its turn to be sent has come; nothing when the body is whole.
using PieceSource = std::function<std::optional<Piece>()>;

struct Reply {
  int status = 200;
  std::string body = {};
  std::string contentType = "application/json";
  PieceSource pieces = {};  // when set, in place of `body`
};

}  // namespace standin
