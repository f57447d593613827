/// @file
/// qai.h for C++ hosts: owners in place of raw pointers, results in place of pairs, settings by name in place of keys.
///
/// Header-only, over qai.h and the standard library alone, so the binary interface stays qai.h's. Nothing is hidden:
/// native() of each class gives the object underneath. Nothing is added to what a call costs: everything is an inline
/// call of the plain interface with moved arguments; an assistant takes one allocation more, which its sessions share.
///
/// Every class here is empty when default-constructed or moved from. An empty object is safe to use: what can fail
/// gives an error, what reads gives an empty value. Threads are as in qai.h; only a Canceller may be used from any.
///
/// What the services, the network or a saved text get wrong comes back as a Result. Exceptions are what the standard
/// library throws (std::bad_alloc), and what the host's own functions throw into configure().
#pragma once

#include <qai.h>

#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// libqai for C++ hosts: see qai.hpp.
namespace qai {

/// The deleter of what the library handed out.
struct FreeObject {
  /// Frees `object`; null does nothing.
  void operator()(IQAIObject* object) const noexcept { QAIFreeObject(object); }
};

/// Owns an object of the plain interface; as large as the raw pointer.
template <class T>
using Owned = std::unique_ptr<T, FreeObject>;

/// Owns a pool centre until an assistant does.
using Pool = std::unique_ptr<ICSHTTPPoolCenter>;

/// A pool centre for one assistant: connections that are kept between requests, and requests that can be cancelled.
inline Pool makePool() { return Pool(CF::createHTTPPoolCenter()); }

/// Success, or the text of an error for the user (UTF-8).
class [[nodiscard]] Outcome {
 public:
  /// A success when `error` is empty.
  explicit Outcome(std::string error) noexcept : error_(std::move(error)) {}

  /// True on success.
  explicit operator bool() const noexcept { return error_.empty(); }

  /// The error text; "" on success.
  const std::string& error() const& noexcept { return error_; }
  /// As above, taken out of a temporary result.
  std::string error() && { return std::move(error_); }

 private:
  std::string error_;
};

/// A value, or the text of an error.
template <class T>
class [[nodiscard]] Result : public Outcome {
 public:
  /// A success when `error` is empty; else a failure, whose value is not for use but safe to touch.
  explicit Result(T value, std::string error = {}) : Outcome(std::move(error)), value_(std::move(value)) {}

  /// The value; on failure an empty one. Taken out of a temporary result rather than referred to.
  T& value() & noexcept { return value_; }
  /// As above.
  const T& value() const& noexcept { return value_; }
  /// As above.
  T value() && { return std::move(value_); }

  /// The value's members; as value().
  T* operator->() noexcept { return &value_; }
  /// As above.
  const T* operator->() const noexcept { return &value_; }

 private:
  T value_;
};

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

  /// The object underneath, owned by this one; null when empty.
  IQAIMessage* native() const noexcept { return message_.get(); }

 private:
  Owned<IQAIMessage> message_;
};

/// Assigns properties inside Assistant::configure(). What the library refuses is remembered and told afterwards. The
/// host guide says what each property is for.
class Fill {
 public:
  /// For configure(), and for hosts that fill by the plain interface: assigns to `properties`, which it borrows.
  explicit Fill(IQAIProperties* properties) noexcept : properties_(properties) {}

  /// Each assigns one property; texts are UTF-8. Without a scheme the host gets "https://", blank it is the service's.
  Fill& apiHost(std::string host) { return assign("api_host", std::move(host)); }
  /// The model's identifier, one of Assistant::models(); required before a turn.
  Fill& model(std::string model) { return assign("model", std::move(model)); }
  /// From 0 to 2; the library holds it between them. What is not finite is refused.
  Fill& temperature(double temperature) {
    // The record takes its number as a text only. The variant writes it as the shortest decimal, whatever the locale.
    if (std::isfinite(temperature)) return assign("temperature", CMVariant(temperature).stringValue());
    refused_.emplace_back("temperature");
    return *this;
  }
  /// What the user wants of the assistant.
  Fill& userInstructions(std::string text) { return assign("user_instructions", std::move(text)); }
  /// The application's own instructions by name, sent in the order of their names; in place of all earlier ones.
  Fill& systemInstructions(std::map<std::string, std::string> instructions) {
    CMVariantMap values;
    for (auto& entry : instructions) values.emplace_hint(values.end(), entry.first, std::move(entry.second));
    return assign("system_instructions", std::move(values));
  }
  /// The database as JSON text: an array of catalogs. What is no JSON, and an empty text, is refused.
  Fill& databaseStructure(std::string json) { return assign("db_structure", std::move(json)); }
  /// The same as a list of variants.
  Fill& databaseStructure(CMVariantList catalogs) { return assign("db_structure", std::move(catalogs)); }
  /// The assistant's name at the service. Known to the Assistants service alone; refused with the others.
  Fill& name(std::string name) { return assign("name", std::move(name)); }
  /// The assistant's description at the service; as name().
  Fill& description(std::string text) { return assign("description", std::move(text)); }

  /// Assigns any property by its key. @return whether it was taken.
  bool set(const std::string& key, const CMVariant& value) {
    if (properties_->setProperty(key, value)) return true;
    refused_.push_back(key);
    return false;
  }

  /// The object underneath, borrowed: valid until configure() returns.
  IQAIProperties* native() const noexcept { return properties_; }

 private:
  friend class Assistant;

  Fill& assign(const char* key, const CMVariant& value) {
    set(key, value);
    return *this;
  }

  IQAIProperties* properties_;
  std::vector<std::string> refused_;
};

/// What became of Assistant::configure(): a success when the assistant accepted and nothing was refused. When it
/// accepted but keys were refused, the error names these; the other properties hold then.
class [[nodiscard]] Filled : public Outcome {
 public:
  /// `error` is the assistant's, empty when it accepted.
  Filled(std::string error, std::vector<std::string> refused)
      : Outcome(error.empty() ? describe(refused) : std::move(error)), refused_(std::move(refused)) {}

  /// The keys whose values were refused, in the order of the calls: a mistake of the host's, not for the user.
  const std::vector<std::string>& refused() const noexcept { return refused_; }

 private:
  static std::string describe(const std::vector<std::string>& refused) {
    std::string text;
    for (const std::string& key : refused) text.append(text.empty() ? "Refused: " : ", ").append(key);
    return text;
  }

  std::vector<std::string> refused_;
};

/// What this header needs for itself.
namespace detail {

/// What an assistant's handles share. The last of them frees the assistant, and with it the pool.
struct Core {
  Owned<IQAIAssistant> assistant;     ///< never null but while a constructor runs
  ICSHTTPPoolCenter* pool = nullptr;  ///< the assistant's
  QAIAssistantType type = OPENAI_v1;  ///< as it was created

  /// Whether obtainAssistantProperties gives the assistant's own object, which nobody else may free.
  bool keepsProperties() const noexcept { return type == OPENAI; }
};

/// Frees a session, then lets its assistant go.
struct FreeSession {
  std::shared_ptr<Core> core;  ///< what the session refers to
  /// Frees `session` alone: nothing is sent to the service.
  void operator()(IQAISession* session) const noexcept { QAIFreeObject(session); }
};

/// Frees a copy of the properties; lets the assistant go whose own they are.
struct FreeProperties {
  std::shared_ptr<Core> core;  ///< the owner; null for a copy
  /// Frees `properties` when nobody else does.
  void operator()(IQAIProperties* properties) const noexcept {
    if (core == nullptr) QAIFreeObject(properties);
  }
};

// In the words of the library, which does not translate them either.
inline constexpr const char* kEmptyAssistant = "Assistant is empty";  ///< of what an empty Assistant is asked for
inline constexpr const char* kEmptySession = "Session is empty";      ///< of what an empty Session is asked for

}  // namespace detail

/// An assistant's settings, to be read: as they were when they were asked for with the chat services, as they are with
/// the Assistants service, whose assistant they then keep alive.
class Properties {
 public:
  Properties() = default;

  /// False when empty.
  explicit operator bool() const noexcept { return properties_ != nullptr; }

  /// The service's base address.
  std::string apiHost() const { return text("api_host"); }
  /// "" while none was set.
  std::string model() const { return text("model"); }
  /// 1.0 while none was set.
  double temperature() const { return get("temperature").doubleValue(); }
  /// What the user wants of the assistant.
  std::string userInstructions() const { return text("user_instructions"); }
  /// The application's instructions by name.
  std::map<std::string, std::string> systemInstructions() const {
    const CMVariant value = get("system_instructions");
    std::map<std::string, std::string> instructions;
    for (const auto& [name, entry] : value.mapValue())
      instructions.emplace_hint(instructions.end(), name, entry.stringRef());
    return instructions;
  }
  /// The database as a list of catalogs, with the statements that were made of it.
  CMVariantList databaseStructure() const { return get("db_structure").listRef(); }
  /// All that the model is told before the conversation; made anew on each call.
  std::string combinedInstructions() const { return text("combined_instructions"); }
  /// The assistant's name at the service; "" but with the Assistants service.
  std::string name() const { return text("name"); }
  /// The assistant's description at the service; "" but with the Assistants service.
  std::string description() const { return text("description"); }

  /// The value of any key; Null for an unknown one.
  CMVariant get(const std::string& key) const { return properties_ ? properties_->obtainProperty(key) : CMVariant(); }
  /// All keys with a description of their types.
  std::vector<std::pair<std::string, std::string>> keys() const {
    return properties_ ? properties_->obtainPropertyList() : std::vector<std::pair<std::string, std::string>>();
  }

  /// The object underneath, owned by this one or by its assistant; null when empty.
  IQAIProperties* native() const noexcept { return properties_.get(); }

 private:
  friend class Assistant;
  using Pointer = std::unique_ptr<IQAIProperties, detail::FreeProperties>;

  explicit Properties(Pointer properties) noexcept : properties_(std::move(properties)) {}
  std::string text(const char* key) const { return get(key).stringValue(); }

  Pointer properties_;
};

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

  /// Sends `text` (UTF-8) as the user's next turn and waits for the reply, as IQAIAssistant::addMessage does.
  Result<Message> ask(std::string text) {
    if (session_ == nullptr) return Result<Message>({}, detail::kEmptySession);
    auto [message, error] = assistant().addMessage(session_.get(), std::move(text));
    return Result<Message>(Message(Owned<IQAIMessage>(message)), std::move(error));
  }

  /// The conversation with the assistant's settings (never the key) as JSON text, for Assistant::loadSession().
  std::string save() const { return session_ ? session_->obtainSessionData() : std::string(); }

  /// Has the service delete what it keeps of the conversation, which is nothing but with the Assistants service: there
  /// one or two HTTP exchanges delete it, and with the last one the assistant. On success this session is empty
  /// afterwards; on failure it is as it was, and the call may be repeated.
  Outcome destroy() {
    if (session_ == nullptr) return Outcome(detail::kEmptySession);
    Outcome outcome(assistant().destroySession(session_.get()));
    if (outcome) *this = Session();
    return outcome;
  }

  /// Ends this session's request from another thread: its assistant's.
  Canceller canceller() const noexcept { return Canceller(session_.get_deleter().core); }

  /// The object underneath, owned by this one; null when empty.
  IQAISession* native() const noexcept { return session_.get(); }

 private:
  friend class Assistant;
  using Pointer = std::unique_ptr<IQAISession, detail::FreeSession>;

  explicit Session(Pointer session) noexcept : session_(std::move(session)) {}
  IQAIAssistant& assistant() const noexcept { return *session_.get_deleter().core->assistant; }

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
  /// reaches the next turn of every open session. What `fill` throws passes through; nothing is changed then.
  template <class Function>
  Filled configure(Function&& fill) {
    if (core_ == nullptr) return {detail::kEmptyAssistant, {}};
    Fill properties(nullptr);
    auto call = [&properties, &fill](IQAIProperties* fresh) {
      properties.properties_ = fresh;
      fill(properties);
    };
    // By reference: a std::function that holds no more than that allocates nothing.
    std::string error = native()->setAssistantProperties(std::ref(call));
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
  /// included: restore only texts that the host wrote itself. With the Assistants service before any configure().
  Result<Session> loadSession(std::string data) {
    if (core_ == nullptr) return Result<Session>({}, detail::kEmptyAssistant);
    return own(native()->loadSession(std::move(data)));
  }

  /// Ends this assistant's request from another thread.
  Canceller canceller() const noexcept { return Canceller(core_); }

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

/// Translates one text: UTF-8 to UTF-8. An empty result leaves the text as it is.
using Translation = std::function<std::string(std::string_view)>;

namespace detail {

/// A host's translation while it is registered.
struct Translator {
  Translation translation;  ///< empty while none is registered
  Translator() = default;
  /// A program or a plug-in that goes takes the function along, so the library must not call it any more.
  ~Translator() {
    if (translation) QAIRegisterCallback(nullptr);
  }
  Translator(const Translator&) = delete;
  Translator& operator=(const Translator&) = delete;
};

/// The module's only one; made when it is first used.
inline Translator& translator() {
  static Translator instance;
  return instance;
}

/// The most bytes of `text` that fit into `limit` without cutting a character of UTF-8 in two.
inline std::size_t fittingLength(std::string_view text, std::size_t limit) noexcept {
  if (text.size() <= limit) return text.size();
  std::size_t length = limit;
  while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U) --length;
  return length;
}

/// What the library calls. Whatever goes wrong leaves the buffer as it came: empty, so the text stays as it is.
inline void translate(const char* name, void* data) noexcept {
  if (std::strcmp(name, "QAILocalizeString") != 0) return;
  auto* info = static_cast<QAICallbackLocalizationInfo*>(data);
  try {
    const std::string text = translator().translation(info->text);
    text.copy(info->buffer, fittingLength(text, sizeof info->buffer - 1));
  } catch (...) {  // NOLINT(bugprone-empty-catch): the text stays as it is
  }
}

}  // namespace detail

/// Has the library's own error texts translated by `translation`; an empty function ends that. What is longer than 1023
/// bytes is cut at a character; one that throws leaves the text as it is. There is one for the whole library: each call
/// takes the place of what was registered before, by this or by QAIRegisterCallback. Called while no assistant works.
/// The function runs on the thread of the operation, on several at once when several assistants work.
inline void setTranslation(Translation translation) {
  QAIRegisterCallback(nullptr);
  detail::translator().translation = std::move(translation);
  if (detail::translator().translation) QAIRegisterCallback(&detail::translate);
}

/// Sets the HTTP settings (proxy, limits) of every later request. Called while no assistant works.
inline void setHTTPSettings(const CMRestGlobalSettings& settings) { QAISetHTTPSettings(settings); }

}  // namespace qai
