// An assistant of the Assistants service and its stand-in, which keeps what the service keeps.
#pragma once

#include "fixture.h"

#include <cf/json_shortcuts.h>

#include <gmock/gmock.h>

#include <sstream>
#include <string>
#include <vector>

/// The text of member `key` of a saved session.
inline std::string savedText(const IQAISession& session, const char* key) {
  const COJson saved(session.obtainSessionData());
  const COJsonValue* text = cfFindJsonMember(&saved, key, JsonType::String);
  return text == nullptr ? "none" : std::string(text->obtainString());
}

/// `path` with "id" for what the service named: the segment behind each kind of object.
inline std::string withoutIDs(const std::string& path) {
  std::istringstream segments(path);
  std::string result;
  bool isID = false;
  for (std::string segment; std::getline(segments, segment, '/');) {
    result += (result.empty() && segment.empty() ? "" : "/") + (isID ? "id" : segment);
    isID = segment == "assistants" || segment == "threads" || segment == "runs";
  }
  return result;
}

class Assistants : public Contract {
 protected:
  explicit Assistants(standin::Options options = {.apiKey = kKey})
      : Contract(assistantsService(), std::move(options)) {}

  /// Passes `count` requests to the service as usual, so that what is scripted next meets the one after them.
  void letPass(int count) {
    for (int i = 0; i < count; ++i) standin_.script({});
  }

  /// The requests as lines "METHOD path?names=values", with "id" for what the service named.
  std::vector<std::string> wire() const {
    std::vector<std::string> lines;
    for (const standin::Request& request : standin_.requests()) {
      std::string line = request.method + " " + withoutIDs(request.path);
      for (const auto& [name, value] : request.query) line += "?" + name + "=" + (value.empty() ? "" : "id");
      lines.push_back(line);
    }
    return lines;
  }

  /// The same, of what follows the first `count`.
  std::vector<std::string> wireBehind(std::size_t count) const {
    std::vector<std::string> lines = wire();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(count));
    return lines;
  }
};
