// A body as a request sends it.
#pragma once

#include "qai_chat_body.h"

#include <string>

inline std::string postedText(const ChatBody& body) {
  std::string text;
  for (const std::string_view part : body.parts()) text += part;
  return text;
}
