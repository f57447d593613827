/// @file
/// What the interfaces of qai.h, which never change, can't say: replies as they come, and what a service tells of one.
///
/// An extension is an interface of its own that an object of qai.h may have beside the one that it was handed out as. A
/// host asks by qaiExtension and gets null from a library, or of an object, that does not have it:
/// @code
/// if (auto* streaming = qaiExtension<IQAIStreaming>(assistant)) {
///   auto [reply, error] = streaming->addMessageStreaming(session, "How many customers?", {}, show);
/// }
/// @endcode
/// A published extension never changes, under either C++ ABI; more comes as another, with a "/2" in its identifier.
/// Pointers to extensions live as long as the object and are not freed.
///
/// The question takes the compiler's run-time type information. A host that is built without it compiles one installed
/// file with it into its program: qai/extensions_without_rtti.cpp.
#pragma once

#include <qai.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

/// The door to an object's extensions.
class IQAIExtensible {
 public:
  /// The extension `id` of this object as a pointer to its interface; null when it has none, or there is no memory for
  /// it. Called by one thread at a time.
  virtual void* obtainExtension(const char* id) noexcept = 0;  // slot 0

 protected:
  ~IQAIExtensible() = default;
};

/// The door of `object`, for hosts without run-time type information; null when it has none, or there is no object.
IQAIExtensible* qaiFindExtensible(IQAIObject* object) noexcept;

/// @def QAI_HAS_RTTI
/// Whether the compiler's run-time type information is there.
#if defined(__cpp_rtti) || defined(_CPPRTTI)
#define QAI_HAS_RTTI 1
/// The same where the compiler finds it.
inline IQAIExtensible* qaiCastToExtensible(IQAIObject* object) noexcept {
  return dynamic_cast<IQAIExtensible*>(object);
}
#else
#define QAI_HAS_RTTI 0
#endif

/// The extension `Extension` of `object`; null when it has none, or there is no object.
template <class Extension>
Extension* qaiExtension(IQAIObject* object) noexcept {
#if QAI_HAS_RTTI
  IQAIExtensible* const door = qaiCastToExtensible(object);
#else
  IQAIExtensible* const door = qaiFindExtensible(object);
#endif
  return door == nullptr ? nullptr : static_cast<Extension*>(door->obtainExtension(Extension::kId));
}

/// How a streamed turn is run. A host leaves `size` as it is; fields are only ever appended, and what an older host
/// does not have is as here.
struct QAIStreamOptions {
  /// Stands for the limit of the HTTP settings (cf/rest.h).
  static constexpr std::chrono::milliseconds kFromSettings{-1};

  std::uint32_t size = sizeof(QAIStreamOptions);  ///< bytes of this record
  /// Whether the service is asked what the turn costs, where it tells that only when asked ("stream_options"). Servers
  /// that do not know the word may refuse the turn.
  bool asksForUsage = true;
  /// The turn fails when nothing arrives for so long; any byte will do, and some services send one now and then while
  /// they make one wait. Counted in whole seconds, a part of one as one. 0 is no limit; kFromSettings is
  /// CMRestGlobalSettings::lowSpeedTime.
  std::chrono::milliseconds idleTimeout = kFromSettings;
  /// The whole exchange. 0 is no limit; kFromSettings is CMRestGlobalSettings::totalTimeout.
  std::chrono::milliseconds totalTimeout = kFromSettings;
  std::uint64_t mostTextBytes = std::uint64_t{16} << 20;  ///< of the reply; the turn fails when it has more
  /// Ends the turn as a sink does, when it becomes true; may be null. Borrowed, set by any thread, looked at before the
  /// request is sent and about twice a second, with every service.
  const std::atomic<bool>* stop = nullptr;
};

/// An assistant's turns with the reply's text as it comes.
class IQAIStreaming {
 public:
  /// For qaiExtension.
  static constexpr const char* kId = "qai.streaming/1";

  /// Gets the next piece of a reply's text, whole characters of UTF-8, on the thread that called; valid during the
  /// call. The assistant, its sessions and its pool centre are left alone meanwhile, but for the pool centre's
  /// cancel(). What it throws ends the turn and leaves addMessageStreaming.
  /// @return false to end the turn.
  using Sink = std::function<bool(std::string_view piece)>;

  /// As IQAIAssistant::addMessage, and hands the reply's text to `sink` while it comes: the pieces joined are the text
  /// of the reply. Where a reply consists of several choices the first one's text comes at once, the others' at the
  /// end. Several messages of the Assistants service stand in the order in which they come.
  ///
  /// What a service tells in the middle of a reply, and a reply that ends before it is complete, are failures, though
  /// `sink` has had pieces. A turn that `sink` or `options.stop` ended gives null and "Stopped". With the Assistants
  /// service the question stays in the conversation of a turn that failed, and its run, where it has begun and goes on,
  /// is cancelled in a further HTTP exchange of at most five seconds.
  /// @throw std::bad_function_call when `sink` is empty and there is text.
  /// @return the whole reply, owned by the caller and freed with QAIFreeObject, and ""; else null and a text for the
  ///         user, with the session object unchanged.
  virtual std::pair<IQAIMessage*, std::string> addMessageStreaming(IQAISession* session, std::string text,
                                                                   const QAIStreamOptions& options,
                                                                   const Sink& sink) = 0;  // slot 0

 protected:
  ~IQAIStreaming() = default;
};

/// What a service tells of a reply beside its text; of one that addMessage or addMessageStreaming returned. Texts live
/// as long as the message, in UTF-8; "" and -1 stand for what was not told.
class IQAIMessageDetails {
 public:
  /// For qaiExtension.
  static constexpr const char* kId = "qai.message-details/1";

  /// Why the reply ended, in the service's word: "stop", "length", "content_filter", "STOP", "SAFETY"; of the first
  /// choice. With the Assistants service why it is incomplete.
  virtual std::string_view obtainFinishReason() const noexcept = 0;  // slot 0
  /// The text with which the model refused to answer.
  virtual std::string_view obtainRefusal() const noexcept = 0;  // slot 1
  /// The tokens of what was sent.
  virtual std::int64_t obtainInputTokens() const noexcept = 0;  // slot 2
  /// Those of the reply.
  virtual std::int64_t obtainOutputTokens() const noexcept = 0;  // slot 3
  /// Those of what was sent that the service had kept from an earlier turn.
  virtual std::int64_t obtainCachedTokens() const noexcept = 0;  // slot 4
  /// The model that answered.
  virtual std::string_view obtainModel() const noexcept = 0;  // slot 5
  /// What the service's maker asks for when something is wrong.
  virtual std::string_view obtainRequestIdentifier() const noexcept = 0;  // slot 6

 protected:
  ~IQAIMessageDetails() = default;
};
