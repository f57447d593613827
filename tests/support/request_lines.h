// What a stand-in was asked, as lines to compare.
#pragma once

#include <standin.h>

#include <cstddef>
#include <string>
#include <vector>

/// "METHOD PATH" of each request behind the first `skipped`. The stand-in numbers what it is to keep from 1:
/// "thread_standin_1".
inline std::vector<std::string> requestLines(const standin::Server& server, std::size_t skipped = 0) {
  std::vector<std::string> lines;
  for (const standin::Request& request : server.requests()) {
    if (skipped > 0) {
      --skipped;
    } else {
      lines.push_back(request.method + " " + request.path);
    }
  }
  return lines;
}

/// `lines` as one text, each ended by a newline.
inline std::string joinLines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}
