/// @file
/// libqai: conversational AI services behind one binary interface.
///
/// A host creates an assistant for one service, fills its properties, lists the service's models, opens or restores
/// sessions and adds messages. Nothing here throws for a network, HTTP or service failure: operations that can fail
/// return a text for the user, empty on success. Host and library are built with the same compiler family and the same
/// shared library `cf`, whose variants and settings cross the boundary.
///
/// Memory: std::bad_alloc may leave any operation that allocates, and then everything here is as it was before. What a
/// service was asked to do before memory ran out, it may have done. Objects are freed without memory.
///
/// Threads: the library starts none of its own; libcurl, which sends the requests, starts one to look up a host's name.
/// Every operation blocks until its HTTP exchange ends. One assistant and its sessions are used by one thread at a
/// time; different assistants may be used on different threads.
///
/// Texts are UTF-8. The order of the virtual operations is a binary contract: it never changes.
#pragma once

#include <cf/app.h>
#include <cf/rest.h>
#include <cf/variant.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// @def QAI_API
/// Goes on what leaves the library.
#if defined(_WIN32)
#if defined(QAI_BUILDING)
#define QAI_API __declspec(dllexport)
#else
#define QAI_API __declspec(dllimport)
#endif
#else
#define QAI_API __attribute__((visibility("default")))
#endif

/// Root of what the library hands out; QAIFreeObject deletes through it.
class IQAIObject {
 public:
  virtual ~IQAIObject() = default;  // slot 0
};

/// A part of a message. Belongs to its message and is never freed by the host.
class IQAIMessageSection {
 public:
  virtual ~IQAIMessageSection() = default;  // slot 0
  /// 0 = text, the only kind there is.
  virtual std::uint32_t obtainType() const = 0;  // slot 1
  /// Valid while the section lives.
  virtual std::string_view obtainText() const = 0;  // slot 2
};

/// One turn of a conversation.
class IQAIMessage : public IQAIObject {
 public:
  /// Seconds since 1970-01-01 UTC.
  virtual std::int64_t obtainCreatedTime() const = 0;  // slot 1
  /// 0 user, 1 assistant.
  virtual std::uint32_t obtainRole() const = 0;  // slot 2
  /// The content in order; the message owns the sections, the host only reads.
  virtual const std::vector<IQAIMessageSection*>& obtainSections() const = 0;  // slot 3
};

/// The settings of an assistant, read and written by key. Keys are matched exactly.
class IQAIProperties : public IQAIObject {
 public:
  /// The keys with a description of their types, always in the same order.
  virtual std::vector<std::pair<std::string, std::string>> obtainPropertyList() const = 0;  // slot 1
  /// The value of `key`; a null variant for an unknown key.
  virtual CMVariant obtainProperty(const std::string& key) const = 0;  // slot 2
  /// Writes `key`. A refused value is not stored: one of a wrong type, which raises an assertion (cf/assert.h), and a
  /// "db_structure" that is empty or no JSON. Note that "temperature" is taken as a String ("0.7"); a Double is
  /// refused. A "db_structure" that is neither List nor String is not stored, but gives true.
  ///
  /// The key counts as assigned all the same. So in a function for setAssistantProperties, whose object is fresh, a
  /// refused value takes away what the assistant had under the key; look at the result of each call there.
  /// @return whether the value was taken.
  virtual bool setProperty(const std::string& key, const CMVariant& value) = 0;  // slot 3
};

/// A conversation. Refers to its assistant's properties, so it must be freed before the assistant.
class IQAISession : public IQAIObject {
 public:
  /// The session with the assistant's settings (never the API key) as JSON text, for loadSession.
  virtual std::string obtainSessionData() const = 0;  // slot 1
};

/// One configured service.
class IQAIAssistant : public IQAIObject {
 public:
  /// The identifiers of the models that the service offers, and an error text. One HTTP exchange.
  virtual std::pair<std::vector<std::string>, std::string> obtainAvailableModels() = 0;  // slot 1

  /// Calls `fill` with a fresh properties object and adopts the keys that it assigned; the change reaches the next
  /// turn of every open session. A key whose value was refused counts as assigned: what a fresh object has under it is
  /// adopted, which is an empty text, map or list, a temperature of 1, and the service's public host as "api_host".
  ///
  /// The chat services send nothing, and take "system_instructions" over as a whole.
  ///
  /// With the Assistants service one HTTP exchange makes the assistant there, or describes it anew: name, description
  /// and instructions that `fill` leaves out become those of a fresh object at the service. The settings here keep what
  /// `fill` leaves out, but for name and description, and add its "system_instructions" to those that they have; so
  /// after a second description they may show what the service no longer holds. The fresh object has the "api_host" in
  /// force, which stays when another is refused.
  /// @throw std::bad_function_call when `fill` is empty (chat services; the Assistants service gives a text). What
  ///        `fill` throws passes through; nothing is changed then.
  /// @return an error text, "" when accepted.
  virtual std::string setAssistantProperties(std::function<void(IQAIProperties*)> fill) = 0;  // slot 2

  /// The current settings: with the chat services a new copy, owned by the caller and freed with QAIFreeObject; with
  /// the Assistants service the assistant's own object, which the caller must not free.
  virtual IQAIProperties* obtainAssistantProperties() = 0;  // slot 3

  /// A new session, owned by the caller, and an error text. One HTTP exchange with the Assistants service, which is
  /// possible once the properties were set; never fails with the others.
  virtual std::pair<IQAISession*, std::string> createSession() = 0;  // slot 4

  /// A session rebuilt from the text of obtainSessionData, owned by the caller, and an error text. Writes the
  /// settings that the text carries into this assistant's; look at texts from elsewhere first, they name an API host.
  /// Sends nothing. With the Assistants service it comes in place of setAssistantProperties, not after it: it names the
  /// assistant at the service, and fails when there is one already.
  virtual std::pair<IQAISession*, std::string> loadSession(std::string data) = 0;  // slot 5

  /// Releases what the service holds for `session`, which is nothing but with the Assistants service: there it deletes
  /// the conversation, and with the last one the assistant, in one or two HTTP exchanges. The object stays; free it
  /// with QAIFreeObject afterwards.
  /// @return an error text, "" on success.
  virtual std::string destroySession(IQAISession* session) = 0;  // slot 6

  /// Sends `text` as the user's next turn and waits for the reply. A `session` that this assistant neither made nor
  /// restored is refused before anything is sent.
  ///
  /// Blocks for one HTTP exchange, at most the settings' total time limit; with the Assistants service for several, and
  /// for about 98 seconds between them at most. cancel() of the pool centre ends it from another thread, but not with
  /// Ollama, which does not use its pool centre, nor without one.
  /// @return the reply, owned by the caller and freed with QAIFreeObject, and ""; on failure null and a text for the
  ///         user, with the session unchanged.
  virtual std::pair<IQAIMessage*, std::string> addMessage(IQAISession* session, std::string text) = 0;  // slot 7
};

/// The services; the values never change.
enum QAIAssistantType : std::int32_t {
  OPENAI_v1 = 0,  ///< OpenAI chat completions
  OPENAI = 1,     ///< OpenAI Assistants, version 2
  GOOGLE = 2,     ///< Google Gemini
  DEEPSEEK = 3,   ///< DeepSeek
  OLLAMA = 4      ///< Ollama
};

/// What the host callback gets to translate one text.
struct QAICallbackLocalizationInfo {
  const char* text = nullptr;  ///< to be translated; NUL-terminated; valid only during the call
  // NOLINTNEXTLINE(modernize-avoid-c-arrays): a plain record for hosts in any language
  char buffer[1024] = {};  ///< for the translation: at most 1023 bytes and a NUL; left empty, `text` stays as it is

  QAICallbackLocalizationInfo() = default;
  /// Copies the pointer and the whole buffer, as all of these do.
  QAICallbackLocalizationInfo(const QAICallbackLocalizationInfo&) = default;
  /// As above.
  QAI_API QAICallbackLocalizationInfo& operator=(const QAICallbackLocalizationInfo& other);
  /// As above.
  // NOLINTNEXTLINE(performance-noexcept-move-constructor): an exported signature, and it moves nothing
  QAI_API QAICallbackLocalizationInfo& operator=(QAICallbackLocalizationInfo&& other);
};

/// A host function that the library calls by name; so far "QAILocalizeString" with a QAICallbackLocalizationInfo*.
/// Called on the thread that runs the operation, on several at once when several assistants work; must not throw.
using QAICallback = void (*)(const char* name, void* data);

/// Creates the assistant for `type`.
///
/// @param type    the service.
/// @param pool    made by CF::createHTTPPoolCenter(), one for each assistant, which owns and destroys it; null for a
///                connection per request, none of which can be cancelled. When the call gives null or throws, the pool
///                stays the caller's.
/// @param apiKey  the service's credential; goes into the requests and nowhere else.
/// @param apiHost base address; without "http://" or "https://" the latter is put in front; blank means the service's
///                public host.
/// @return the assistant, owned by the caller and freed with QAIFreeObject after its sessions; null for a type that
///         this library does not serve.
QAI_API IQAIAssistant* QAICreateAssistant(QAIAssistantType type, ICSHTTPPoolCenter* pool, const std::string& apiKey,
                                          const std::string& apiHost);

/// Frees an object that the library handed out; null does nothing. Objects are freed before the library unloads.
QAI_API void QAIFreeObject(IQAIObject* object);

/// Sets the callback that translates the library's own error texts; null for none. Called while no assistant works.
QAI_API void QAIRegisterCallback(QAICallback callback);

/// Sets the HTTP settings (proxy, limits) that every later request uses. Called while no assistant works.
QAI_API void QAISetHTTPSettings(const CMRestGlobalSettings& settings);
