// A body as a request sends it.
#pragma once

#include "qai_chat_body.h"

#include <string>

inline std::string postedText(ChatBody& body) {
  CMRestPostRequest request;
  request.updateJsonText(body.takeText(), body.parts());
  return request.getBody();
}
