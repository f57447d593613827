#include "qai_event_stream.h"

#include <utility>

namespace {

/// A line of JSON; nothing when it is blank.
std::optional<StreamEvent> eventOf(std::string_view line) {
  if (line.find_first_not_of(" \t\r") == std::string_view::npos) return std::nullopt;
  if (line.ends_with('\r')) line.remove_suffix(1);
  return StreamEvent{{}, line, false};
}

}  // namespace

std::optional<StreamEvent> QAIEventStream::next() {
  while (const auto line = lines_.next(most_ - type_.view().size() - data_.view().size())) {
    if (!line->empty()) {
      readField(*line);
    } else if (const auto event = takeEvent()) {
      return event;
    }
  }
  // Before the rest takes the place of the line that they may lie in.
  type_.keep();
  data_.keep();
  lines_.keepRest();
  return std::nullopt;
}

std::optional<StreamEvent> QAIEventStream::finish() {
  if (const auto line = lines_.finish()) readField(*line);
  return isTooLong() ? std::nullopt : takeEvent();
}

/// A comment has no name, a field perhaps no colon.
void QAIEventStream::readField(std::string_view line) {
  const std::size_t colon = line.find(':');
  const std::string_view name = line.substr(0, colon);
  std::string_view value = colon == std::string_view::npos ? std::string_view() : line.substr(colon + 1);
  if (value.starts_with(' ')) value.remove_prefix(1);
  if (name == "event") type_.set(value);
  if (name == "data") addData(value, false);
  if (name == "error") addData(value, true);
}

void QAIEventStream::addData(std::string_view line, bool isError) {
  if (isError_ && !isError) return;
  const bool isNext = hasData_ && isError == isError_;
  hasData_ = true;
  isError_ = isError;
  if (isNext) return data_.addLine(line);
  data_.set(line);
}

/// What a blank line ends: an event when there are data, with or without anything in them.
std::optional<StreamEvent> QAIEventStream::takeEvent() {
  const StreamEvent event{type_.view(), data_.view(), std::exchange(isError_, false)};
  type_.set({});
  data_.set({});
  return std::exchange(hasData_, false) ? std::optional(event) : std::nullopt;
}

void QAIEventStream::Value::addLine(std::string_view line) {
  keep();
  own_.append(1, '\n').append(line);
  view_ = own_;
}

void QAIEventStream::Value::keep() {
  if (view_.data() == own_.data()) return;
  own_.assign(view_);
  view_ = own_;
}

std::optional<StreamEvent> QAILineStream::next() {
  while (const auto line = lines_.next(most_)) {
    if (const auto event = eventOf(*line)) return event;
  }
  lines_.keepRest();
  return std::nullopt;
}

std::optional<StreamEvent> QAILineStream::finish() {
  const auto line = lines_.finish();
  return line ? eventOf(*line) : std::nullopt;
}
