// Every operation of qai.h, with memory running out at each of its allocations.
#include "host_scene.h"

#include <cf/app.h>
#include <cf/json_shortcuts.h>
#include <cf/rest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

class EachOperation : public Swept {};
INSTANTIATE_TEST_SUITE_P(All, EachOperation, testing::ValuesIn(allServices()), serviceName);

/// A service's assistant is made; what fails leaves the pool the host's.
class Creation : public Scene {
 public:
  Creation(const TestedService& service, const standin::Server& server, bool withPool)
      : service_(service), address_(server.address()), withPool_(withPool) {}

  void run() override {
    if (withPool_) pool_.reset(CF::createHTTPPoolCenter());
    assistant_.reset(QAICreateAssistant(service_.type, pool_.get(), kKey, address_));
    static_cast<void>(pool_.release());
  }
  bool succeeded() const override { return assistant_ != nullptr; }
  std::string result() const override {
    return assistant_ == nullptr ? "none" : property(*assistant_, "api_host").stringValue();
  }

 private:
  const TestedService& service_;
  const std::string address_;
  const bool withPool_;
  std::unique_ptr<ICSHTTPPoolCenter> pool_;
  Owned<IQAIAssistant> assistant_;
};

TEST_P(EachOperation, Creation) {
  EXPECT_GT(sweepOf<Creation>("creation", false), 0U);
  EXPECT_GT(sweepOf<Creation>("creation with a pool", true), 0U);
}

/// Settings are made, at first or anew.
class Configuration : public HostScene {
 public:
  Configuration(const TestedService& service, const standin::Server& server, Begin begin)
      : HostScene(service, server, begin), given_(furtherSettings(service, server.address())), error_("not run") {}

  void run() override { error_ = assign(*assistant_, given_); }
  bool succeeded() const override { return error_.empty(); }
  std::string result() const override { return error_; }

 private:
  const Settings given_;
  std::string error_;
};

TEST_P(EachOperation, SettingOfProperties) {
  EXPECT_GT(sweepOf<Configuration>("first settings", HostScene::Begin::Created), 0U);
  EXPECT_GT(sweepOf<Configuration>("further settings", HostScene::Begin::InSession), 0U);
}

/// One key is set, by a host that goes on when memory runs out.
class PatientSetting : public HostScene {
 public:
  PatientSetting(const TestedService& service, const standin::Server& server, const std::string& key,
                 const CMVariant& value)
      : HostScene(service, server, Begin::Configured), key_(key), value_(value) {
    properties_.reset(assistant_->obtainAssistantProperties());
  }
  ~PatientSetting() override {
    if (keepsConversations()) static_cast<void>(properties_.release());
  }

  void run() override { taken_ = properties_->setProperty(key_, value_); }
  bool succeeded() const override { return taken_; }
  std::string state() const override { return describe(*properties_); }

 private:
  const std::string key_;
  const CMVariant value_;
  Owned<IQAIProperties> properties_;
  bool taken_ = false;
};

TEST_P(EachOperation, SettingOfOneKey) {
  for (const auto& [key, value] : furtherSettings(service_, standin_.address())) {
    const std::size_t points = sweepOf<PatientSetting>("setting of " + key, key, value);
    EXPECT_TRUE(points > 0 || key == "model") << key;  // the same model finds its room
  }
  const CMVariant list(
      CMVariantList{CMVariantMap{{"schemas", CMVariantList{}}, {"catalog_name", "a catalog's long name"}}});
  EXPECT_GT(sweepOf<PatientSetting>("setting of a list", std::string("db_structure"), list), 0U);
}

/// The settings are read.
class Reading : public HostScene {
 public:
  using HostScene::HostScene;
  ~Reading() override { letGo(); }

  void run() override {
    letGo();
    properties_.reset(assistant_->obtainAssistantProperties());
    values_.clear();
    list_ = properties_->obtainPropertyList();
    for (const auto& [key, description] : list_) values_.push_back(properties_->obtainProperty(key));
  }
  bool succeeded() const override { return !values_.empty() && values_.size() == list_.size(); }
  std::string result() const override { return cfWriteJson(values_); }

 private:
  void letGo() {
    if (keepsConversations()) static_cast<void>(properties_.release());
    properties_.reset();
  }

  Owned<IQAIProperties> properties_;
  std::vector<std::pair<std::string, std::string>> list_;
  CMVariantList values_;
};

/// The same, with a database described.
class ReadingOfAll : public Reading {
 public:
  ReadingOfAll(const TestedService& service, const standin::Server& server)
      : Reading(service, server, Begin::Configured) {
    EXPECT_EQ(assign(*assistant_, furtherSettings(service, server.address())), "");
  }
};

TEST_P(EachOperation, ReadingOfProperties) { EXPECT_GT(sweepOf<ReadingOfAll>("reading"), 0U); }

/// The models are listed.
class Models : public HostScene {
 public:
  Models(const TestedService& service, const standin::Server& server) : HostScene(service, server, Begin::Configured) {}

  void run() override { models_ = assistant_->obtainAvailableModels(); }
  bool succeeded() const override { return models_.second.empty() && !models_.first.empty(); }
  std::string result() const override {
    std::string text = models_.second;
    for (const std::string& model : models_.first) text += model + "\n";
    return text;
  }

 private:
  std::pair<std::vector<std::string>, std::string> models_;
};

TEST_P(EachOperation, ListOfModels) { EXPECT_GT(sweepOf<Models>("models"), 0U); }

/// A session is opened.
class Opening : public HostScene {
 public:
  Opening(const TestedService& service, const standin::Server& server)
      : HostScene(service, server, Begin::Configured) {}

  void run() override {
    auto [session, error] = assistant_->createSession();
    session_.reset(session);
    error_ = std::move(error);
  }
  bool succeeded() const override { return session_ != nullptr && error_.empty(); }
  std::string result() const override { return error_; }

 protected:
  std::string error_;
};

TEST_P(EachOperation, OpeningOfASession) { EXPECT_GT(sweepOf<Opening>("opening"), 0U); }

/// A saved conversation is restored into an assistant that knows nothing yet.
class Restoring : public HostScene {
 public:
  Restoring(const TestedService& service, const standin::Server& server) : HostScene(service, server, Begin::Created) {
    const Saver saver(service, server);
    saved_ = saver.text();
  }

  void run() override {
    auto [session, error] = assistant_->loadSession(saved_);
    session_.reset(session);
    error_ = std::move(error);
  }
  bool succeeded() const override { return session_ != nullptr && error_.empty(); }
  std::string result() const override { return error_; }

 private:
  struct Saver : HostScene {
    Saver(const TestedService& service, const standin::Server& server) : HostScene(service, server) {
      EXPECT_EQ(assign(*assistant_, furtherSettings(service, server.address())), "");
    }
    void run() override {}
    std::string text() const { return session_->obtainSessionData(); }
  };

  std::string saved_;
  std::string error_;
};

TEST_P(EachOperation, RestoringOfASession) { EXPECT_GT(sweepOf<Restoring>("restoring"), 0U); }

/// A session is saved.
class Saving : public HostScene {
 public:
  using HostScene::HostScene;

  void run() override { text_ = session_->obtainSessionData(); }
  bool succeeded() const override { return !text_.empty(); }
  std::string result() const override { return withoutIDs(text_); }

 private:
  std::string text_;
};

TEST_P(EachOperation, SavingOfASession) { EXPECT_GT(sweepOf<Saving>("saving"), 0U); }

/// A turn is taken, the `earlier`-th behind the first.
class Turn : public HostScene {
 public:
  Turn(const TestedService& service, const standin::Server& server, int earlier) : HostScene(service, server) {
    for (int i = 0; i < earlier; ++i) ask(*assistant_, session_.get(), "an earlier question of some length");
  }

  void run() override {
    auto [message, error] = assistant_->addMessage(session_.get(), kQuestion);
    message_.reset(message);
    error_ = std::move(error);
  }
  bool succeeded() const override { return message_ != nullptr && error_.empty(); }
  std::string result() const override {
    std::string text = error_;
    if (message_ == nullptr) return text;
    for (const IQAIMessageSection* section : message_->obtainSections()) text += section->obtainText();
    return text;
  }

 private:
  const std::string kQuestion = "a question that does not fit into a short string";
  Owned<IQAIMessage> message_;
  std::string error_;
};

TEST_P(EachOperation, Turn) {
  EXPECT_GT(sweepOf<Turn>("second turn", 0), 0U);
  EXPECT_GT(sweepOf<Turn>("fourth turn", 2), 0U);
}

/// The same, streamed, by a host that needs memory of its own for the pieces.
class StreamedTurn : public HostScene {
 public:
  using HostScene::HostScene;

  void run() override {
    pieces_.clear();
    message_.reset();
    error_ = "not run";
    const auto sink = [this](std::string_view piece) {
      pieces_ += piece;
      return true;
    };
    auto* streaming = qaiExtension<IQAIStreaming>(assistant_.get());
    auto [message, error] = streaming->addMessageStreaming(session_.get(), kQuestion, {}, sink);
    message_.reset(message);
    error_ = std::move(error);
  }
  /// A run that could not be cancelled for want of memory keeps the service from taking the question.
  void runAgain() override {
    run();
    const std::string busy = "while a run ";
    const std::size_t at = error_.find(busy);
    if (!keepsConversations() || at == std::string::npos) return;
    const std::size_t start = at + busy.size();
    cancel(error_.substr(start, error_.find(' ', start) - start));
    run();
  }
  bool succeeded() const override { return message_ != nullptr && error_.empty(); }
  std::string result() const override {
    if (message_ == nullptr) return error_;
    std::string text;
    for (const IQAIMessageSection* section : message_->obtainSections()) text += section->obtainText();
    return pieces_ == text ? text : "other pieces: " + pieces_;
  }

 private:
  void cancel(const std::string& run) const {
    const COJson saved(session_->obtainSessionData());
    CMRestSession session;
    session.setAuthorizationHeaderValue("Bearer " + kKey);
    session.addHeaderParam("OpenAI-Beta", "assistants=v2");
    CMRestPostRequest request;
    const COJsonValue* thread = cfFindJsonMember(&saved, "thread_id", JsonType::String);
    request.setURL(server_.address() + "/v1/threads/" + std::string(thread->obtainString()) + "/runs/" + run +
                   "/cancel");
    ICSAppFactory* app = CF::obtainAppFactory();
    const std::unique_ptr<ICSRestClient> client(app->obtainRestClientFactory()->createRestClient(app, {}, &session));
    CMRestResourceResponse* response = nullptr;
    client->executePost(request, &response);
    delete response;
  }

  const std::string kQuestion = "a question that does not fit into a short string";
  std::string pieces_;
  Owned<IQAIMessage> message_;
  std::string error_;
};

TEST_P(EachOperation, StreamedTurn) { EXPECT_GT(sweepOf<StreamedTurn>("streamed turn"), 0U); }

/// A conversation is ended.
class Ending : public HostScene {
 public:
  using HostScene::HostScene;

  void run() override { error_ = assistant_->destroySession(session_.get()); }
  bool succeeded() const override { return error_.empty(); }
  std::string result() const override { return error_; }
  /// The service may have deleted it before memory ran out, and then knows it no more.
  void runAgain() override {
    run();
    if (keepsConversations() && error_.find("No thread found") != std::string::npos) error_.clear();
  }

 private:
  std::string error_ = "not run";
};

TEST_P(EachOperation, EndOfASession) { sweepOf<Ending>("end"); }

}  // namespace
