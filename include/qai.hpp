/// @file
/// qai.h for C++ hosts: owners in place of raw pointers, results in place of pairs, settings by name in place of keys.
///
/// Header-only, over qai.h, qai_extensions.h and the standard library alone, so the binary interface stays theirs.
/// Nothing is hidden: native() of each class gives the object underneath. Nothing is added to what a call costs:
/// everything is an inline call of the plain interface with moved arguments; an assistant takes one allocation more,
/// which its sessions share.
///
/// Every class here is empty when default-constructed or moved from. An empty object is safe to use: what can fail
/// gives an error, what reads gives an empty value. Threads are as in qai.h; only a Canceller may be used from any.
///
/// What the services, the network or a saved text get wrong comes back as a Result. Exceptions are what the standard
/// library throws (std::bad_alloc), and what the host's own functions throw into configure() and ask().
#pragma once

#include <qai.h>
#include <qai/details.hpp>
#include <qai/owners.hpp>
#include <qai/properties.hpp>
#include <qai/redaction.hpp>
#include <qai/result.hpp>
#include <qai/saved_host.hpp>
#include <qai/streaming.hpp>
#include <qai/translation.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// libqai for C++ hosts: see qai.hpp.
namespace qai {

/// Who wrote a message.
enum class Role : std::uint32_t {
  User = 0,      ///< the host's user
  Assistant = 1  ///< the service's model
};

/// A reply, with all of its content.
class Message {
 public:
  Message() = default;
  /// Takes a message of the plain interface over.
  explicit Message(Owned<IQAIMessage> message) noexcept : message_(std::move(message)) {}

  /// False when empty.
  explicit operator bool() const noexcept { return message_ != nullptr; }

  /// The texts of all sections, joined with nothing between; UTF-8. sections() gives them one by one without a copy.
  std::string text() const {
    std::string text;
    for (const IQAIMessageSection* section : sections()) text += section->obtainText();
    return text;
  }
  /// The content in order; the sections and their texts live as long as the message.
  const std::vector<IQAIMessageSection*>& sections() const {
    static const std::vector<IQAIMessageSection*> kNone;
    return message_ ? message_->obtainSections() : kNone;
  }
  /// Who wrote it; a reply is the assistant's.
  Role role() const { return message_ ? static_cast<Role>(message_->obtainRole()) : Role::Assistant; }
  /// When it was made: by the service's clock with the Assistants service, else when the reply arrived.
  std::chrono::sys_seconds created() const {
    return std::chrono::sys_seconds(std::chrono::seconds(message_ ? message_->obtainCreatedTime() : 0));
  }

  /// Why it ended, what it cost and more of the like, as far as the service told; for use as long as the message.
  Details details() const& noexcept { return Details(qaiExtension<IQAIMessageDetails>(message_.get())); }
  /// Not of a message that goes at once: they would outlive it.
  Details details() const&& = delete;

  /// The object underneath, owned by this one; null when empty.
  IQAIMessage* native() const noexcept { return message_.get(); }

 private:
  Owned<IQAIMessage> message_;
};

namespace detail {

// In the words of the library, which does not translate them either.
inline constexpr const char* kEmptyAssistant = "Assistant is empty";  ///< of what an empty Assistant is asked for
inline constexpr const char* kEmptySession = "Session is empty";      ///< of what an empty Session is asked for

}  // namespace detail

/// Ends an assistant's request from any thread; may be copied, and may outlive the assistant. Refers to it without
/// keeping it alive. When the last owner lets go during a cancel(), the cancelling thread frees the assistant.
class Canceller {
 public:
  Canceller() = default;

  /// Ends the request in flight with an error, at once; when none is in flight, the next one, before it is sent. Does
  /// nothing once the assistant is gone, nor with an assistant without a pool, nor with Ollama, which does not use its.
  void cancel() const noexcept {
    const std::shared_ptr<detail::Core> core = core_.lock();
    if (core != nullptr && core->pool != nullptr) core->pool->cancel();
  }

 private:
  friend class Assistant;
  friend class Session;
  explicit Canceller(const std::shared_ptr<detail::Core>& core) noexcept : core_(core) {}

  std::weak_ptr<detail::Core> core_;
};

/// A conversation. Keeps its assistant alive, so the two may go in any order. Its end frees the object here and sends
/// nothing: a conversation that the service keeps can be restored later, and destroy() is what deletes it there.
class Session {
 public:
  Session() = default;

  /// False when empty.
  explicit operator bool() const noexcept { return session_ != nullptr; }

  /// Sends `text` (UTF-8) as the user's next turn and waits for the reply, as IQAIAssistant::addMessage does. A
  /// Canceller ends it from another thread, but with Ollama nothing does.
  Result<Message> ask(std::string text) {
    if (session_ == nullptr) return Result<Message>({}, detail::kEmptySession);
    auto [message, error] = assistant().addMessage(session_.get(), std::move(text));
    return Result<Message>(Message(Owned<IQAIMessage>(message)), std::move(error));
  }

  /// The same, and hands the reply's text to `sink` while it comes, on this thread: whole characters of UTF-8, which
  /// are valid during the call and joined are the reply's text. `sink` returns nothing, or false to end the turn with
  /// "Stopped". A failure tells that nothing of the reply is kept, though `sink` has had pieces. What `sink` throws
  /// ends the turn and leaves ask(). Inside it only a Canceller is used. `options` has the limits, and a flag by which
  /// any thread stops the turn, with Ollama as well; IQAIStreaming::addMessageStreaming says all of it.
  ///
  /// A library that is older than this can't hand pieces on. The turn is taken without `options` then, and `sink` gets
  /// the whole text at its end, when it is too late to stop.
  template <PieceSink Sink>
  Result<Message> ask(std::string text, Sink&& sink, const QAIStreamOptions& options = {}) {
    if (session_ == nullptr) return Result<Message>({}, detail::kEmptySession);
    auto* const streaming = qaiExtension<IQAIStreaming>(&assistant());
    if (streaming == nullptr) return handOnWhole(ask(std::move(text)), sink);
    auto handOn = [&sink](std::string_view piece) { return detail::handOn(sink, piece); };
    // By reference: a std::function that holds no more than that allocates nothing.
    auto [message, error] = streaming->addMessageStreaming(session_.get(), std::move(text), options, std::ref(handOn));
    return Result<Message>(Message(Owned<IQAIMessage>(message)), std::move(error));
  }

  /// The conversation with the assistant's settings (never the key) as JSON text, for Assistant::loadSession().
  std::string save() const { return session_ ? session_->obtainSessionData() : std::string(); }

  /// Has the service delete what it keeps of the conversation, which is nothing but with the Assistants service: there
  /// one or two HTTP exchanges delete it, and with the last one the assistant. On success the object is empty
  /// afterwards; on failure it is as it was, and the call may be repeated.
  Outcome destroy() {
    if (session_ == nullptr) return Outcome(detail::kEmptySession);
    Outcome outcome(assistant().destroySession(session_.get()));
    if (outcome) *this = Session();
    return outcome;
  }

  /// Ends a request of the conversation from another thread: its assistant's.
  Canceller canceller() const noexcept { return Canceller(session_.get_deleter().core); }

  /// The object underneath, owned by this one; null when empty.
  IQAISession* native() const noexcept { return session_.get(); }

 private:
  friend class Assistant;
  using Pointer = std::unique_ptr<IQAISession, detail::FreeSession>;

  explicit Session(Pointer session) noexcept : session_(std::move(session)) {}
  IQAIAssistant& assistant() const noexcept { return *session_.get_deleter().core->assistant; }

  template <class Sink>
  static Result<Message> handOnWhole(Result<Message> reply, Sink& sink) {
    if (const std::string whole = reply->text(); !whole.empty()) detail::handOn(sink, whole);
    return reply;
  }

  Pointer session_;
};

/// One configured service. Owns the assistant together with its sessions: whichever goes last frees it.
class Assistant {
 public:
  Assistant() = default;

  /// Creates an assistant of `type`; empty afterwards when the library does not serve that type. `pool` is taken over,
  /// and destroyed when nothing came of it; null makes each request open a connection. The other parameters are
  /// QAICreateAssistant's.
  explicit Assistant(QAIAssistantType type, const std::string& apiKey, const std::string& apiHost = {},
                     Pool pool = makePool()) {
    auto core = std::make_shared<detail::Core>();
    core->type = type;
    core->assistant.reset(QAICreateAssistant(type, pool.get(), apiKey, apiHost));
    if (core->assistant == nullptr) return;
    core->pool = pool.release();
    core_ = std::move(core);
  }

  /// Moves leave an empty assistant behind.
  Assistant(Assistant&&) noexcept = default;
  /// As above.
  Assistant& operator=(Assistant&&) noexcept = default;
  Assistant(const Assistant&) = delete;
  Assistant& operator=(const Assistant&) = delete;
  ~Assistant() = default;

  /// False when empty.
  explicit operator bool() const noexcept { return core_ != nullptr; }

  /// The identifiers of the models that the service offers. One HTTP exchange.
  Result<std::vector<std::string>> models() {
    if (core_ == nullptr) return Result<std::vector<std::string>>({}, detail::kEmptyAssistant);
    auto [models, error] = native()->obtainAvailableModels();
    return Result<std::vector<std::string>>(std::move(models), std::move(error));
  }

  /// Calls `fill` with a Fill& to assign properties, as IQAIAssistant::setAssistantProperties does: what is assigned
  /// reaches the next turn of every open session. A value that was refused has taken the old one away: look at
  /// Filled::refused(). What `fill` throws passes through; nothing is changed then.
  template <class Function>
  Filled configure(Function&& fill) {
    if (core_ == nullptr) return {detail::kEmptyAssistant, {}};
    Fill properties(nullptr);
    Filled accepted({}, {});
    auto call = [&properties, &accepted, &fill](IQAIProperties* fresh) {
      properties.properties_ = fresh;
      fill(properties);
      accepted = Filled({}, properties.refused_);  // here, where what throws leaves the settings as they are
    };
    // By reference: a std::function that holds no more than that allocates nothing.
    std::string error = native()->setAssistantProperties(std::ref(call));
    if (error.empty()) return accepted;
    return {std::move(error), std::move(properties.refused_)};
  }

  /// The settings, to be read.
  Properties properties() {
    if (core_ == nullptr) return {};
    Properties::Pointer properties(nullptr, detail::FreeProperties{core_->keepsProperties() ? core_ : nullptr});
    properties.reset(native()->obtainAssistantProperties());
    return Properties(std::move(properties));
  }

  /// A new conversation. One HTTP exchange with the Assistants service, after configure(); never fails with the others.
  Result<Session> createSession() {
    if (core_ == nullptr) return Result<Session>({}, detail::kEmptyAssistant);
    return own(native()->createSession());
  }

  /// A conversation rebuilt from the text of Session::save(), with the settings that the text carries, the API host
  /// included: look with savedHost() first where that is. Sends nothing. With the Assistants service in place of
  /// configure(), after which it fails.
  Result<Session> loadSession(std::string data) {
    if (core_ == nullptr) return Result<Session>({}, detail::kEmptyAssistant);
    return own(native()->loadSession(std::move(data)));
  }

  /// Ends this assistant's request from another thread.
  Canceller canceller() const noexcept { return Canceller(core_); }

  /// Takes a cancel back that no request has met, such as one that came as the last request completed, so that it does
  /// not end the next one. Called between requests, by the assistant's thread.
  void dropCancel() const noexcept {
    if (pool() != nullptr) pool()->dropCancel();
  }

  /// The HTTP status of the last request's reply: 401 tells of a refused key, for one. 0 when no whole one came,
  /// without a pool, and with Ollama, which does not use its.
  std::int32_t lastStatus() const noexcept { return pool() == nullptr ? 0 : pool()->obtainLastStatus(); }

  /// The object underneath, owned by this one and its sessions; null when empty.
  IQAIAssistant* native() const noexcept { return core_ ? core_->assistant.get() : nullptr; }
  /// The pool centre, owned by the assistant; null when there is none.
  ICSHTTPPoolCenter* pool() const noexcept { return core_ ? core_->pool : nullptr; }

 private:
  Result<Session> own(std::pair<IQAISession*, std::string> made) const {
    return Result<Session>(Session(Session::Pointer(made.first, detail::FreeSession{core_})), std::move(made.second));
  }

  std::shared_ptr<detail::Core> core_;
};

/// Sets the HTTP settings (proxy, limits) of every later request. Called while no assistant works.
inline void setHTTPSettings(const CMRestGlobalSettings& settings) { QAISetHTTPSettings(settings); }

}  // namespace qai
