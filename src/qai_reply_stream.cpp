#include "qai_reply_stream.h"

#include "qai_http.h"

#include <cf/text.h>

#include <algorithm>
#include <cstring>
#include <optional>

namespace {

using std::chrono::milliseconds;

// Far more than services send: a model that reasons in secret, and an event that holds a whole reply.
constexpr std::size_t kMostSilentBytes = std::size_t{64} << 20;
constexpr std::size_t kMostEventBytes = std::size_t{16} << 20;

constexpr std::string_view kDoneMark = "[DONE]";

using Parser = std::variant<QAIEventStream, QAILineStream>;

Parser makeParser(StreamForm::Framing framing) {
  if (framing == StreamForm::Framing::Lines) return Parser(std::in_place_type<QAILineStream>, kMostEventBytes);
  return Parser(std::in_place_type<QAIEventStream>, kMostEventBytes);
}

/// "application/json; charset=utf-8" (RFC 9110, 8.3.1).
bool isJsonType(std::string_view contentType) {
  std::string type(contentType.substr(0, contentType.find_first_of("; \t")));
  std::transform(type.begin(), type.end(), type.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return type == "application/json";
}

/// What an event says in place of a reply: the string "message" of the object "error", that member when it is a string
/// itself, or the event's own "message"; the whole event where the first of them that is there says nothing.
std::string obtainErrorText(const ICOJsonValue& event, std::string_view data) {
  const ICOJsonValue* text = findErrorMessage(&event);
  if (text == nullptr) text = cfFindJsonMember(&event, "error", JsonType::String);
  if (text == nullptr) text = cfFindJsonMember(&event, "message", JsonType::String);
  const bool isSaid = text != nullptr && !text->obtainString().empty();
  return std::string(isSaid ? text->obtainString() : data);
}

}  // namespace

QAIStreamOptions readStreamOptions(const QAIStreamOptions& given) noexcept {
  QAIStreamOptions own;
  std::memcpy(static_cast<void*>(&own), &given, std::min<std::size_t>(given.size, sizeof own));
  return own;
}

CMRestGlobalSettings limitStream(CMRestGlobalSettings settings, const QAIStreamOptions& options) {
  if (options.totalTimeout != QAIStreamOptions::kFromSettings) settings.totalTimeout = options.totalTimeout;
  if (options.idleTimeout == QAIStreamOptions::kFromSettings) return settings;
  settings.lowSpeedBytes = 1;
  settings.lowSpeedTime = std::chrono::ceil<std::chrono::seconds>(options.idleTimeout);
  return settings;
}

QAIReplyStream::QAIReplyStream(const StreamForm& form, const QAIStreamOptions& options, const IQAIStreaming::Sink& sink)
    : form_(form), options_(options), sink_(sink), parser_(makeParser(form.framing)) {}

// A service that knows no streams answers with a whole body, whatever it was asked for.
bool QAIReplyStream::begin(std::int32_t status, std::string_view contentType, std::string_view beginning) {
  const bool isSuccess = status >= 200 && status <= 299;
  const bool isObject = form_.framing == StreamForm::Framing::Events && beginning.front() == '{';
  hasBegun_ = isSuccess && !isJsonType(contentType) && !isObject;
  return hasBegun_;
}

bool QAIReplyStream::receive(std::string_view part) {
  const std::size_t before = reply_.textBytes();
  if (!std::visit([&](auto& parser) { return readEvents(parser, part); }, parser_)) return false;
  silent_ = reply_.textBytes() == before ? silent_ + part.size() : 0;
  return silent_ <= kMostSilentBytes || fail(Failure::TooLong);
}

bool QAIReplyStream::isStopped() noexcept {
  if (options_.stop == nullptr || !*options_.stop) return false;
  fail(Failure::Stopped);
  return true;
}

template <class Parser>
bool QAIReplyStream::readEvents(Parser& parser, std::string_view part) {
  parser.add(part);
  while (const std::optional<StreamEvent> event = parser.next()) {
    if (!read(*event)) return false;
  }
  return !parser.isTooLong() || fail(Failure::TooLong);
}

template <class Parser>
bool QAIReplyStream::readPending(Parser& parser) {
  const std::optional<StreamEvent> event = parser.finish();
  if (!event || read(*event)) return true;
  if (failure_ == Failure::NotJson) failure_ = Failure::Incomplete;  // it was cut
  return false;
}

bool QAIReplyStream::read(const StreamEvent& event) {
  if (event.data == kDoneMark) {
    reply_.isDone = true;
    return true;
  }
  hasEvents_ = true;
  const ICOJsonValue* json = json_.read(event.data);
  const bool isError = event.isError || event.type == "error";
  if (json == nullptr && (!isError || event.data.empty())) return fail(Failure::NotJson);
  const ICOJsonValue* member = json == nullptr ? nullptr : json->obtainJsonValue("error");
  if (isError || (member != nullptr && member->obtainType() != JsonType::Null)) {
    reply_.error = json == nullptr ? cfToUTF8(event.data) : obtainErrorText(*json, event.data);
    return fail(Failure::Told);
  }
  form_.read(event.type, *json, reply_);
  if (!reply_.error.empty()) return fail(Failure::Told);
  if (reply_.textBytes() > options_.mostTextBytes) return fail(Failure::TooLong);
  const auto first = reply_.choices().find(0);
  return first == reply_.choices().end() || handOn(first->second, handedOn_);
}

bool QAIReplyStream::handOn(const StreamedChoice& choice, std::size_t from) {
  if (choice.author != StreamedChoice::Author::Assistant || choice.text.size() == from) return true;
  handedOn_ = choice.text.size();
  return sink_(std::string_view(choice.text).substr(from)) || fail(Failure::Stopped);
}

void QAIReplyStream::finish() {
  if (failure_ != Failure::None || !std::visit([&](auto& parser) { return readPending(parser); }, parser_)) return;
  judgeEnd();
  if (failure_ != Failure::None) return;
  for (const auto& [index, choice] : reply_.choices()) {
    if (index != 0 && !handOn(choice, 0)) return;
  }
}

void QAIReplyStream::judgeEnd() {
  const bool isAtEnd = form_.hasDoneMark ? reply_.isDone : hasEvents_;
  if (isAtEnd && !reply_.isInFormat) {
    fail(Failure::NotInFormat);
  } else if (!isAtEnd || !reply_.hasEnded()) {
    fail(Failure::Incomplete);
  }
}

bool QAIReplyStream::fail(Failure failure) noexcept {
  if (failure_ == Failure::None) failure_ = failure;
  return false;
}
