// Receives a streamed reply: takes its events apart, hands its text on, and judges its end.
#pragma once

#include "qai_event_stream.h"
#include "qai_streamed_reply.h"

#include <cf/json_shortcuts.h>
#include <cf/rest.h>
#include <qai_extensions.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

/// `given` as far as its host knows the record, with this library's defaults behind.
QAIStreamOptions readStreamOptions(const QAIStreamOptions& given) noexcept;

/// The settings with the limits of a streamed turn.
CMRestGlobalSettings limitStream(CMRestGlobalSettings settings, const QAIStreamOptions& options);

class QAIReplyStream final : public ICSRestReceiver {
 public:
  /// What is wrong with a stream.
  enum class Failure {
    None,
    Stopped,      // the host wants no more
    NotJson,      // an event is no JSON
    NotInFormat,  // no event holds a reply
    Incomplete,   // it ended before the reply did
    TooLong,      // the text, an event, or what comes without text
    Told          // by the service: reply().error
  };

  /// Borrows all of it.
  QAIReplyStream(const StreamForm& form, const QAIStreamOptions& options, const IQAIStreaming::Sink& sink);

  bool begin(std::int32_t status, std::string_view contentType, std::string_view beginning) override;
  bool receive(std::string_view part) override;
  bool isStopped() noexcept override;

  /// Whether the reply was a stream and came here.
  bool hasBegun() const noexcept { return hasBegun_; }
  /// The stream is at its end: hands on what is left of the text, unless something is wrong.
  void finish();

  Failure failure() const noexcept { return failure_; }
  StreamedReply& reply() noexcept { return reply_; }

 private:
  template <class Parser>
  bool readEvents(Parser& parser, std::string_view part);
  template <class Parser>
  bool readPending(Parser& parser);
  bool read(const StreamEvent& event);
  bool handOn(const StreamedChoice& choice, std::size_t from);
  void judgeEnd();
  bool fail(Failure failure) noexcept;

  const StreamForm& form_;
  const QAIStreamOptions& options_;
  const IQAIStreaming::Sink& sink_;
  std::variant<QAIEventStream, QAILineStream> parser_;
  CFJsonReader json_;
  StreamedReply reply_;
  std::size_t handedOn_ = 0;  // bytes of the first choice's text
  std::size_t silent_ = 0;    // bytes that came since there was text
  bool hasBegun_ = false;
  bool hasEvents_ = false;
  Failure failure_ = Failure::None;
};
