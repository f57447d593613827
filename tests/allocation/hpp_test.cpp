// The operations of qai.hpp, with memory running out at each of their allocations.
#include "host_scene.h"

#include <qai.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace {

/// An assistant and a session of it, each with all that a host may do with it.
class ConvenientScene : public Scene {
 public:
  ConvenientScene(const TestedService& service, const standin::Server& server)
      : service_(service), address_(server.address()), host_(service.type, kKey, address_) {
    EXPECT_TRUE(host_.configure([this](qai::Fill& fill) { fill.model(service_.model); }));
    session_ = host_.createSession().value();
  }

  std::string state() const override {
    return describe(*host_.properties().native()) + "\n" + withoutIDs(session_.save());
  }

 protected:
  const TestedService& service_;
  const std::string address_;
  mutable qai::Assistant host_;
  qai::Session session_;
};

class ConvenientCreation : public ConvenientScene {
 public:
  using ConvenientScene::ConvenientScene;
  void run() override { made_ = qai::Assistant(service_.type, kKey, address_); }
  bool succeeded() const override { return static_cast<bool>(made_); }

 private:
  qai::Assistant made_;
};

/// With a key that is refused, which a host is told of though the others are taken.
class ConvenientConfiguration : public ConvenientScene {
 public:
  using ConvenientScene::ConvenientScene;
  void run() override {
    filled_ = host_.configure([this](qai::Fill& fill) {
      fill.model(service_.model).temperature(0.25).userInstructions("Answer in one sentence of ordinary length.");
      fill.systemInstructions({{"tone", "Be kind to everyone who asks anything."}}).databaseStructure("no JSON at all");
    });
  }
  bool succeeded() const override { return filled_ && filled_->error() == "Refused: db_structure"; }
  std::string result() const override { return filled_ ? filled_->error() : "none"; }

 private:
  std::optional<qai::Filled> filled_;
};

class ConvenientReading : public ConvenientScene {
 public:
  using ConvenientScene::ConvenientScene;
  void run() override {
    const qai::Properties properties = host_.properties();
    text_ = properties.apiHost() + properties.model() + properties.combinedInstructions();
  }
  bool succeeded() const override { return !text_.empty(); }
  std::string result() const override { return text_; }

 private:
  std::string text_;
};

/// Models, a further session, a turn, saving and restoring, the end: what comes of one of them.
class ConvenientStep : public ConvenientScene {
 public:
  enum class Kind { Models, Opening, Turn, StreamedTurn, Saving, Restoring, End };

  ConvenientStep(const TestedService& service, const standin::Server& server, Kind kind)
      : ConvenientScene(service, server), kind_(kind), saved_(session_.save()) {
    if (kind_ == Kind::Restoring) host_ = qai::Assistant(service.type, kKey, address_);
  }

  void run() override {
    done_ = false;
    switch (kind_) {
      case Kind::Models:
        done_ = static_cast<bool>(host_.models());
        break;
      case Kind::Opening:
        done_ = keep(host_.createSession());
        break;
      case Kind::Turn:
        done_ = static_cast<bool>(session_.ask("a question that does not fit into a short string"));
        break;
      case Kind::StreamedTurn:
        done_ = static_cast<bool>(session_.ask("a question that does not fit into a short string",
                                               [this](std::string_view piece) { size_ += piece.size(); }));
        break;
      case Kind::Saving:
        done_ = session_.save() == saved_;
        break;
      case Kind::Restoring:
        done_ = keep(host_.loadSession(saved_));
        break;
      case Kind::End:
        done_ = static_cast<bool>(session_.destroy());
        break;
    }
  }
  void runAgain() override {
    run();
    // Without memory a run can't be cancelled, and goes on at the service; there another conversation has to do.
    if (kind_ == Kind::StreamedTurn && service_.keepsConversations && !done_) {
      session_ = host_.createSession().value();
      run();
    }
    // The service may have deleted it already, and then knows it no more.
    if (kind_ == Kind::End && service_.keepsConversations && session_) session_ = qai::Session(), done_ = true;
  }
  bool succeeded() const override { return done_; }

 private:
  bool keep(qai::Result<qai::Session> made) {
    if (made) further_ = std::move(made).value();
    return static_cast<bool>(further_);
  }

  const Kind kind_;
  const std::string saved_;
  qai::Session further_;
  std::size_t size_ = 0;
  bool done_ = false;
};

class EachConvenience : public Swept {};
INSTANTIATE_TEST_SUITE_P(Sampled, EachConvenience, testing::Values(chatServices()[0], assistantsService()),
                         serviceName);

TEST_P(EachConvenience, Settings) {
  EXPECT_GT(sweepOf<ConvenientCreation>("convenient creation"), 0U);
  EXPECT_GT(sweepOf<ConvenientConfiguration>("convenient settings"), 0U);
  EXPECT_GT(sweepOf<ConvenientReading>("convenient reading"), 0U);
}

TEST_P(EachConvenience, Conversation) {
  using Kind = ConvenientStep::Kind;
  EXPECT_GT(sweepOf<ConvenientStep>("convenient models", Kind::Models), 0U);
  EXPECT_GT(sweepOf<ConvenientStep>("convenient opening", Kind::Opening), 0U);
  EXPECT_GT(sweepOf<ConvenientStep>("convenient turn", Kind::Turn), 0U);
  EXPECT_GT(sweepOf<ConvenientStep>("convenient streamed turn", Kind::StreamedTurn), 0U);
  EXPECT_GT(sweepOf<ConvenientStep>("convenient saving", Kind::Saving), 0U);
  EXPECT_GT(sweepOf<ConvenientStep>("convenient restoring", Kind::Restoring), 0U);
  sweepOf<ConvenientStep>("convenient end", Kind::End);
}

}  // namespace
