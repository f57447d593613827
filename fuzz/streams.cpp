// A stream of events, and one of lines: however it is cut, it is read as a plain way of reading it does.
#include "cuts.h"
#include "expect.h"
#include "qai_event_stream.h"
#include "targets.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kEnough = 1'000'000;
constexpr std::size_t kLittle = 24;

struct Event {
  std::string type;
  std::string data;
  bool isError = false;
  bool operator==(const Event&) const = default;
};
using Events = std::vector<Event>;

struct Reading {
  Events events;
  bool isTooLong = false;
  bool operator==(const Reading&) const = default;
};

template <typename Stream>
Reading read(const std::vector<std::string_view>& parts, std::size_t most) {
  Stream stream(most);
  Reading reading;
  const auto take = [&reading](const StreamEvent& event) {
    reading.events.push_back({std::string(event.type), std::string(event.data), event.isError});
  };
  for (const std::string_view part : parts) {
    const std::vector<char> own(part.begin(), part.end());  // gone behind the part: whoever looks then is found
    stream.add({own.data(), own.size()});
    while (const auto event = stream.next()) take(*event);
  }
  if (const auto event = stream.finish()) take(*event);
  expect(!stream.finish(), "a stream ends once");
  reading.isTooLong = stream.isTooLong();
  return reading;
}

template <typename Stream>
void fuzzStream(std::string_view input, Events (*readPlainly)(std::string_view)) {
  const auto [text, parts] = CutInput(input);
  const Reading whole = read<Stream>({text}, kEnough);
  expect(whole == Reading{readPlainly(text)}, "a stream is read as the plain way does", text);
  expect(read<Stream>(parts, kEnough) == whole, "a stream is read the same however it is cut", input);
  const Reading little = read<Stream>({text}, kLittle);
  expect(read<Stream>(parts, kLittle) == little, "a limit is kept the same however the stream is cut", input);
  expect(little.isTooLong || little == whole, "a limit changes nothing below it", text);
  expect(little.events.size() <= whole.events.size() &&
             std::equal(little.events.begin(), little.events.end(), whole.events.begin()),
         "what comes before an event that is too long comes", text);
  for (const Event& event : little.events) {
    expect(event.type.size() + event.data.size() <= kLittle, "no event is longer than the limit", text);
  }
}

/// What is behind the last end is a line, too.
std::vector<std::string> linesOf(std::string_view text, bool endAtCR) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  std::vector<std::string> lines(1);
  for (std::size_t place = 0; place < text.size(); ++place) {
    const bool isCRLF = text.substr(place, 2) == "\r\n";
    if (text[place] != '\n' && (!endAtCR || text[place] != '\r')) {
      lines.back() += text[place];
      continue;
    }
    lines.emplace_back();
    if (isCRLF) ++place;
  }
  return lines;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text = lines.front();
  for (auto line = lines.begin() + 1; line != lines.end(); ++line) text.append(1, '\n').append(*line);
  return text;
}

/// What the lines say that a blank one ends.
struct Block {
  std::vector<std::string> types{""};
  std::vector<std::string> data;
  std::vector<std::string> errors;

  void add(std::string line) {
    if (line.find(':') == std::string::npos) line += ':';
    const std::string name = line.substr(0, line.find(':'));
    std::string value = line.substr(name.size() + 1);
    if (value.starts_with(' ')) value.erase(0, 1);
    if (name == "event") types.push_back(value);
    if (name == "data") data.push_back(value);
    if (name == "error") errors.push_back(value);
  }
};

Events plainEvents(std::string_view text) {
  Events events;
  Block block;
  std::vector<std::string> lines = linesOf(text, true);
  lines.emplace_back();
  for (const std::string& line : lines) {
    block.add(line);
    if (!line.empty()) continue;
    const bool isError = !block.errors.empty();
    const auto& data = isError ? block.errors : block.data;
    if (!data.empty()) events.push_back({block.types.back(), joined(data), isError});
    block = {};
  }
  return events;
}

Events plainLines(std::string_view text) {
  Events events;
  for (std::string& line : linesOf(text, false)) {
    if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
    if (line.ends_with('\r')) line.pop_back();
    events.push_back({"", std::move(line), false});
  }
  return events;
}

}  // namespace

void fuzzEventStream(std::string_view input) { fuzzStream<QAIEventStream>(input, plainEvents); }

void fuzzLineStream(std::string_view input) { fuzzStream<QAILineStream>(input, plainLines); }
