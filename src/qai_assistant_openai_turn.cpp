// A turn with the Assistants service: a message, and a run that is asked for its state until it ends, or tells of
// itself by a stream of events.
#include "qai_assistant_openai.h"
#include "qai_exports.h"
#include "qai_run_stream.h"

#include <cf/json_shortcuts.h>

#include <algorithm>

namespace {

using std::chrono::milliseconds;

// https://platform.openai.com/docs/api-reference/messages and …/runs
constexpr const char* kMessages = "messages";
constexpr const char* kRuns = "runs";

// Labels follow the library's own texts as they stand.
constexpr std::string_view kMessageLabel = ": p/v1/threads/id/messages";
constexpr std::string_view kStartLabel = ": p/v1/threads/id/runs";
constexpr std::string_view kRunLabel = ": p/v1/threads/id/runs/id";  // the other method's label, as hosts know it
constexpr std::string_view kReplyLabel = ": g/v1/threads/id/messages";

constexpr milliseconds kFirstInterval{250};
constexpr milliseconds kLongestInterval{1000};
constexpr milliseconds kCancelTimeout{5000};  // the host waits for it, whose turn is over
constexpr int kLastAttempt = 101;             // counted from 0

milliseconds nextInterval(milliseconds interval) { return std::min(interval * 13 / 10, kLongestInterval); }

/// The sections that the run's messages have, as if they were collected afterwards.
std::unique_ptr<QAIReply> splitParts(std::string_view text, const StreamedRun& run) {
  auto reply = std::make_unique<QAIReply>();
  reply->createdTime = run.createdTime;
  for (std::size_t i = 0; i < run.partStarts.size(); ++i) {
    const std::size_t start = run.partStarts[i];
    const std::size_t end = i + 1 < run.partStarts.size() ? run.partStarts[i + 1] : text.size();
    reply->addText(std::string(text.substr(start, end - start)));
  }
  return reply;
}

std::vector<std::string_view> textsOf(const IQAIMessage& message) {
  std::vector<std::string_view> texts;
  for (const IQAIMessageSection* section : message.obtainSections()) texts.push_back(section->obtainText());
  return texts;
}

/// Whether nothing more comes of the run at the service.
bool isOver(const StreamedRun& run) { return !run.end.empty() && run.end != kRunWaiting; }

}  // namespace

std::pair<IQAIMessage*, std::string> QAIAssistant_OPENAI::addMessage(IQAISession* session, std::string text) {
  const QAISession_OPENAI* own = asOwnSession(session);
  if (own == nullptr || text.empty()) return {nullptr, "Session is empty"};
  const std::string& thread = own->threadID();
  if (Reply message = postMessage(thread, text); !message.error.empty()) return {nullptr, std::move(message.error)};
  return finishRun(thread, startRun(thread), nullptr);
}

QAIAssistant_OPENAI::Reply QAIAssistant_OPENAI::postMessage(const std::string& threadID,
                                                            const std::string& text) const {
  COJson body;
  body.addKeyValue("role")->setString("user");
  body.addKeyValue("content")->setStringReference(text);
  return post({kThreads, threadID, kMessages}, &body, kMessageLabel);
}

QAIAssistant_OPENAI::Reply QAIAssistant_OPENAI::startRun(const std::string& threadID) const {
  COJson body;
  body.addKeyValue("assistant_id")->setStringReference(m_assistantID);
  return post({kThreads, threadID, kRuns}, &body, kStartLabel);
}

/// What a failed run says of itself, which is for the user as it stands.
std::string QAIAssistant_OPENAI::failedRunText(const ICOJsonValue& run) const {
  std::string text = obtainRunError(run);
  return text.empty() ? failure(kUnsupportedFormat, kRunLabel) : text;
}

/// Waits for the end of a run that was started, and gives what it wrote. `stop` is the host's, and may be null.
std::pair<IQAIMessage*, std::string> QAIAssistant_OPENAI::finishRun(const std::string& threadID, const Reply& run,
                                                                    const std::atomic<bool>* stop) const {
  if (!run.error.empty()) return {nullptr, run.error};
  const std::string id(run.json->obtainString());
  ReplyDetails details;
  identifyRequest(*run.response, details);
  if (std::string error = awaitRun(threadID, id, details, stop); !error.empty()) return {nullptr, std::move(error)};
  return collectMessage(threadID, id, std::move(details));
}

/// Asks for the run's state until it ends; gives an error text. A cancelled run is no end here: it is waited for like
/// one that is being cancelled.
std::string QAIAssistant_OPENAI::awaitRun(const std::string& threadID, const std::string& runID, ReplyDetails& details,
                                          const std::atomic<bool>* stop) const {
  milliseconds interval = kFirstInterval;
  for (int attempt = 0;; ++attempt) {
    Reply run = get({kThreads, threadID, kRuns, runID}, {}, kRunLabel);
    if (!run.error.empty()) return std::move(run.error);
    const ICOJsonValue* status = cfFindJsonMember(run.json, "status", JsonType::String);
    if (status == nullptr) return failure(kUnsupportedFormat, kRunLabel);
    const std::string_view state = status->obtainString();
    readRunDetails(*run.json, details);
    if (state == kRunCompleted) return "";
    if (state == kRunFailed) return failedRunText(*run.json);
    if (attempt == kLastAttempt || state == "expired" || state == "incomplete") return localizeString("Timeout");
    if (!sleepUnlessStopped(interval, stop)) {
      cancelRun(threadID, {.identifier = runID});
      return localizeString(kStopped);
    }
    interval = nextInterval(interval);
  }
}

/// @return false when the host stopped meanwhile.
bool QAIAssistant_OPENAI::sleepUnlessStopped(milliseconds time, const std::atomic<bool>* stop) const {
  const milliseconds step = stop == nullptr ? time : milliseconds(500);
  for (; time > milliseconds::zero(); time -= step) {
    if (stop != nullptr && *stop) return false;
    m_sleep(std::min(step, time));
  }
  return stop == nullptr || !*stop;
}

/// What the run wrote, as one message.
std::pair<IQAIMessage*, std::string> QAIAssistant_OPENAI::collectMessage(const std::string& threadID,
                                                                         const std::string& runID,
                                                                         ReplyDetails details) const {
  Reply messages = get({kThreads, threadID, kMessages}, {{"run_id", runID}}, kReplyLabel);
  if (!messages.error.empty()) return {nullptr, std::move(messages.error)};
  const ICOJsonValue* list = cfFindJsonMember(messages.json, "data", JsonType::Array);
  if (list == nullptr) return {nullptr, failure(kUnsupportedFormat, kReplyLabel)};
  std::unique_ptr<QAIReply> reply = joinMessages(*list);
  reply->details = std::move(details);
  return {reply.release(), ""};
}

std::pair<IQAIMessage*, std::string> QAIAssistant_OPENAI::addMessageStreaming(IQAISession* session, std::string text,
                                                                              const QAIStreamOptions& options,
                                                                              const Sink& sink) {
  const QAISession_OPENAI* own = asOwnSession(session);
  if (own == nullptr || text.empty()) return {nullptr, "Session is empty"};
  const QAIStreamOptions limits = readStreamOptions(options);
  QAIReplyStream receiver(kRunStream, limits, sink);
  if (receiver.isStopped()) return {nullptr, localizeString(kStopped)};
  const std::string& thread = own->threadID();
  if (Reply message = postMessage(thread, text); !message.error.empty()) return {nullptr, std::move(message.error)};

  try {
    const HTTPResult result = streamRun(thread, limits, receiver);
    if (receiver.hasBegun() || receiver.failure() != QAIReplyStream::Failure::None)
      return takeStreamedRun(thread, result, receiver);
    // A server without streams has made a run to be asked for.
    const auto [reply, error] = finishRun(thread, readCreated(result, kStartLabel), limits.stop);
    std::unique_ptr<IQAIMessage> whole(reply);
    if (whole == nullptr) return {nullptr, error};
    if (std::string reason = handOnWhole(textsOf(*whole), limits, sink, kRunLabel); !reason.empty()) {
      return {nullptr, std::move(reason)};
    }
    return {whole.release(), ""};
  } catch (...) {
    cancelRun(thread, receiver.reply().run);
    throw;
  }
}

HTTPResult QAIAssistant_OPENAI::streamRun(const std::string& threadID, const QAIStreamOptions& options,
                                          QAIReplyStream& receiver) const {
  COJson body;
  body.addKeyValue("assistant_id")->setStringReference(m_assistantID);
  body.addKeyValue("stream")->setBool(true);
  return HTTP::PostStreaming(restSession_.get(), address({kThreads, threadID, kRuns}), &body, {},
                             {{"Accept", std::string(kRunStream.accept)}}, limitStream(httpSettings, options),
                             receiver);
}

/// Takes the response over.
std::pair<IQAIMessage*, std::string> QAIAssistant_OPENAI::takeStreamedRun(const std::string& threadID,
                                                                          const HTTPResult& result,
                                                                          QAIReplyStream& receiver) const {
  const std::unique_ptr<CMRestResourceResponse> response(result.first);
  StreamedReply& streamed = receiver.reply();
  std::string error = streamError(receiver, result, kStartLabel, kRunLabel);
  if (error.empty() && streamed.run.end == kRunFailed) error = failure(kUnsupportedFormat, kRunLabel);
  if (error.empty() && streamed.run.end != kRunCompleted) error = localizeString("Timeout");
  if (!error.empty()) {
    cancelRun(threadID, streamed.run);
    return {nullptr, std::move(error)};
  }

  std::unique_ptr<QAIReply> reply = splitParts(streamed.takeText(), streamed.run);
  reply->details = std::move(streamed.details);
  identifyRequest(*response, reply->details);
  return {reply.release(), ""};
}

/// A conversation whose run goes on takes no further question. What comes of it is of no use to the user.
void QAIAssistant_OPENAI::cancelRun(const std::string& threadID, const StreamedRun& run) const {
  if (run.identifier.empty() || isOver(run)) return;
  const std::string url = address({kThreads, threadID, kRuns, run.identifier, "cancel"});
  delete HTTP::PostBriefly(restSession_.get(), url, kCancelTimeout).first;
}
