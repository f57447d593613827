// What the tests read out of streams: their events, and texts and numbers out of those.
#pragma once

#include <cf/json.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct StreamEvent {
  std::string name;  // "": none
  std::string data;
};

/// The events of a whole body: those of server-sent events without its comments, or lines of JSON.
inline std::vector<StreamEvent> readEvents(const std::string& body) {
  constexpr std::string_view kName = "event: ";
  constexpr std::string_view kData = "data: ";
  std::vector<StreamEvent> events;
  std::string name;
  std::istringstream lines(body);
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with('\r')) line.pop_back();
    if (line.starts_with(kName)) name = line.substr(kName.size());
    if (line.starts_with('{')) events.push_back({"", line});
    if (line.starts_with(kData)) events.push_back({std::exchange(name, ""), line.substr(kData.size())});
  }
  return events;
}

/// The value at `path`, such as "choices/0/delta"; null when there is none.
inline const COJsonValue* valueAt(const COJsonValue& root, std::string_view path) {
  const COJsonValue* value = &root;
  while (value != nullptr && !path.empty()) {
    const std::string key(path.substr(0, path.find('/')));
    path.remove_prefix(std::min(path.size(), key.size() + 1));
    const bool isIndex = value->obtainType() == JsonType::Array;
    value = isIndex ? value->obtainArrayItem(std::stoul(key)) : value->obtainJsonValue(key);
  }
  return value;
}

/// The text there; "" when there is none.
inline std::string textAt(const std::string& json, std::string_view path) {
  const COJson document(json);
  const COJsonValue* value = valueAt(document, path);
  return value == nullptr ? std::string() : std::string(value->obtainString());
}

/// The JSON there; "" when there is none.
inline std::string jsonAt(const std::string& json, std::string_view path) {
  const COJson document(json);
  const COJsonValue* value = valueAt(document, path);
  return value == nullptr ? std::string() : value->obtainJsonString();
}

/// The texts at `path` of all events that have one.
inline std::vector<std::string> textsAt(const std::vector<StreamEvent>& events, std::string_view path) {
  std::vector<std::string> texts;
  for (const StreamEvent& event : events) {
    std::string text = textAt(event.data, path);
    if (!text.empty()) texts.push_back(std::move(text));
  }
  return texts;
}

inline std::string joined(const std::vector<std::string>& texts) {
  std::string whole;
  for (const std::string& text : texts) whole += text;
  return whole;
}
