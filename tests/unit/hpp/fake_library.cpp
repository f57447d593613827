#include "fake_library.h"

#include <memory>
#include <stdexcept>

namespace {

QAICallback callback = nullptr;

void record(const std::string& event) { libraryLog().push_back(event); }

/// Writes its own beginning and end into the log.
class Logged {
 public:
  explicit Logged(const char* name) : name_(name) { record(std::string("+") + name_); }
  ~Logged() { record(std::string("-") + name_); }
  Logged(const Logged&) = delete;
  Logged& operator=(const Logged&) = delete;

 private:
  const char* name_;
};

class LoggedPool final : public ICSHTTPPoolCenter {
 public:
  ~LoggedPool() override { record("-pool"); }
  void cancel() noexcept override { record("call cancel"); }
};

class LoggedSection final : public IQAIMessageSection {
 public:
  explicit LoggedSection(std::string text) : text_(std::move(text)) {}
  std::uint32_t obtainType() const override { return 0; }
  std::string_view obtainText() const override { return text_; }

 private:
  std::string text_;
};

class LoggedMessage final : public IQAIMessage {
 public:
  LoggedMessage() {
    for (const std::string& text : libraryScript().sections) {
      owned_.push_back(std::make_unique<LoggedSection>(text));
      sections_.push_back(owned_.back().get());
    }
  }
  std::int64_t obtainCreatedTime() const override { return 1'700'000'000; }
  std::uint32_t obtainRole() const override { return 1; }
  const std::vector<IQAIMessageSection*>& obtainSections() const override { return sections_; }

 private:
  Logged logged_{"message"};
  std::vector<std::unique_ptr<LoggedSection>> owned_;
  std::vector<IQAIMessageSection*> sections_;
};

class LoggedProperties final : public IQAIProperties {
 public:
  std::vector<std::pair<std::string, std::string>> obtainPropertyList() const override { return {}; }
  CMVariant obtainProperty(const std::string& /*key*/) const override { return {}; }
  bool setProperty(const std::string& /*key*/, const CMVariant& /*value*/) override { return true; }

 private:
  Logged logged_{"properties"};
};

class LoggedSession final : public IQAISession {
 public:
  std::string obtainSessionData() const override { return "saved"; }

 private:
  Logged logged_{"session"};
};

class LoggedAssistant final : public IQAIAssistant {
 public:
  LoggedAssistant(ICSHTTPPoolCenter* pool, bool keepsProperties) : keepsProperties_(keepsProperties), pool_(pool) {}

  std::pair<std::vector<std::string>, std::string> obtainAvailableModels() override {
    return {{"model"}, libraryScript().error};
  }
  std::string setAssistantProperties(std::function<void(IQAIProperties*)> fill) override {
    fill(&properties_);
    return libraryScript().error;
  }
  IQAIProperties* obtainAssistantProperties() override {
    return keepsProperties_ ? &properties_ : new LoggedProperties;
  }
  std::pair<IQAISession*, std::string> createSession() override { return make<LoggedSession>(); }
  std::pair<IQAISession*, std::string> loadSession(std::string /*data*/) override { return make<LoggedSession>(); }
  std::string destroySession(IQAISession* /*session*/) override {
    record("call destroySession");
    return libraryScript().error;
  }
  std::pair<IQAIMessage*, std::string> addMessage(IQAISession* /*session*/, std::string /*text*/) override {
    return make<LoggedMessage>();
  }

 private:
  template <class T>
  static std::pair<T*, std::string> make() {
    if (!libraryScript().error.empty()) return {nullptr, libraryScript().error};
    return {new T, ""};
  }

  Logged logged_{"assistant"};
  bool keepsProperties_;
  std::unique_ptr<ICSHTTPPoolCenter> pool_;
  LoggedProperties properties_;
};

}  // namespace

std::vector<std::string>& libraryLog() {
  static std::vector<std::string> log;
  return log;
}

LibraryScript& libraryScript() {
  static LibraryScript script;
  return script;
}

void resetLibrary() {
  libraryScript() = {};
  libraryLog().clear();
}

ICSHTTPPoolCenter* makeLoggedPool() { return new LoggedPool; }

QAICallback registeredCallback() { return callback; }

IQAIAssistant* QAICreateAssistant(QAIAssistantType type, ICSHTTPPoolCenter* pool, const std::string& /*apiKey*/,
                                  const std::string& /*apiHost*/) {
  if (libraryScript().throwsOnCreation) throw std::runtime_error("no assistant today");
  return type > OLLAMA ? nullptr : new LoggedAssistant(pool, type == OPENAI);
}

void QAIFreeObject(IQAIObject* object) { delete object; }

void QAIRegisterCallback(QAICallback registered) { callback = registered; }

void QAISetHTTPSettings(const CMRestGlobalSettings& settings) { record("settings of " + settings.userAgent); }
