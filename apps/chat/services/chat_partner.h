// An assistant of the library, and the conversation that is held with it.
#pragma once

#include "conversation/answerer.h"
#include "services/endpoint.h"
#include "services/ledger.h"

#include <qai.hpp>

#include <atomic>
#include <string>
#include <utility>
#include <vector>

/// What an assistant is told. Empty texts stay unset.
struct Setup {
  std::string model;
  std::string temperature;
  std::string instructions;
  std::string productName;
  std::string structureJson;
};

/// One assistant with one conversation at a time, of which nothing stays at the service. Used by one thread but for
/// cancel().
class ChatPartner final : public Answerer {
 public:
  /// @throw std::runtime_error when the library does not serve the provider
  explicit ChatPartner(Endpoint endpoint);
  /// As close(), as far as there is memory for it.
  ~ChatPartner() override;

  const Provider& provider() const { return *endpoint_.provider; }
  /// Notes in `ledger`, which is borrowed, what goes to the service from here on.
  void keepLedger(Ledger& ledger) { ledger_ = &ledger; }
  /// Where requests go, for people, as of the last configure; restoreConversation may lead elsewhere.
  const std::string& destination() const { return destination_; }
  /// The size of the turns that go along with the next question; 0 when the service keeps them.
  std::size_t earlierBytes() const { return provider().keepsConversations ? 0 : earlierBytes_; }

  /// The service's models and an error text. One HTTP exchange.
  std::pair<std::vector<std::string>, std::string> listModels();
  /// @return an error text, "" when everything was taken.
  std::string configure(const Setup& setup);
  /// As configure; a model that `setup` leaves open is chosen from the service's list.
  std::string settle(Setup& setup);
  /// All that the model is told before the first question.
  std::string combinedInstructions();

  std::string startConversation() override;
  /// Whether a service that keeps the assistant may have lost it: it refused the last turn.
  bool mayBeLost() const { return isKept_ && wasRefused_; }
  /// Whether the last request failed since the service has no such thing.
  bool isMissing() const;
  /// The conversation with its settings as a text for restoreConversation, without secrets.
  std::string savedText() const;
  /// Goes on with the conversation in `saved`, at the host that it names; `setup` is told besides, with the model of
  /// `saved` when it names none. @return an error text
  std::string restoreConversation(const std::string& saved, Setup& setup);
  /// The turns so far as a text for resumeConversation, without any settings and secrets.
  std::string saveConversation() const;
  /// Begins a conversation with the turns of `saved`. @return an error text
  std::string resumeConversation(const std::string& saved);
  Answer ask(const Inquiry& inquiry) override;
  Answer askInPieces(const Inquiry& inquiry, const ShowPiece& show) override;
  ExitCode failureCode() const override { return failureCode_; }

  /// Ends the request in flight, or the next one; false when it can't be ended. An answer in pieces can be with every
  /// service. May be called from any thread.
  bool cancel() noexcept;
  /// After a turn that was cancelled: takes back a cancel that came when the request was over and would end the next.
  void dropLateCancel() noexcept;

  /// Ends the conversation and has the service forget all that it kept for it. Waits a few seconds at most for each
  /// request; the last that is asked of this object.
  void close();

 private:
  void putSettingsInPlace() const { qai::setHTTPSettings(endpoint_.settings); }
  void noteInstructions();
  void noteSending(Matter matter, std::size_t bytes, std::size_t count = 1);
  void noteInquiry(const Inquiry& inquiry);
  void noteStatus();
  std::string fail(std::string error);
  std::string failList(std::string error);
  std::string failWith(const std::string& model, std::string error);
  qai::Result<qai::Message> receive(const std::string& question, const ShowPiece& show);
  Answer readReply(const std::string& question, const qai::Result<qai::Message>& reply);
  std::string beginWith(qai::Result<qai::Session> made);
  void destroyEnded();

  Endpoint endpoint_;
  Ledger* ledger_ = nullptr;  // null: none is kept
  std::string destination_;
  std::size_t instructionBytes_ = 0;
  std::size_t earlierBytes_ = 0;
  qai::Assistant assistant_;
  qai::Canceller canceller_;
  qai::Session session_;
  std::vector<qai::Session> ended_;  // which the service may still keep
  std::atomic<bool> stop_ = false;   // the answer in pieces, or the next one
  std::atomic<bool> inPieces_ = false;
  bool isKept_ = false;       // the service keeps the assistant
  bool wasRefused_ = false;   // the last turn
  bool hasNoList_ = false;    // of models: the service answered with something else
  bool keyAccepted_ = false;  // by a request that succeeded
  ExitCode failureCode_ = ExitCode::ServiceFailed;
};
