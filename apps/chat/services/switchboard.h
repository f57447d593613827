// The conversation with whichever service answers it now, and its moves from one to another.
#pragma once

#include "conversation/answerer.h"
#include "services/chat_partner.h"
#include "services/context.h"
#include "services/database_mark.h"
#include "services/endpoint.h"
#include "services/ledger.h"

#include <functional>
#include <iosfwd>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <utility>
#include <vector>

/// Used by one thread but for cancel().
class Switchboard final : public MovableAnswerer {
 public:
  /// Finds the service of a provider. @throw std::exception with a sentence for the user
  using Choose = std::function<Endpoint(const Provider& provider)>;

  /// Asks nothing yet. Notices for the user go to `err`.
  /// @throw what `choose` throws, and std::runtime_error when the service can't be had
  Switchboard(const Provider& first, Choose choose, Setup setup, std::ostream& err);

  /// Settles the first service's model and begins a conversation: a new one, or the one in `saved`, when that is not
  /// empty. @return an error text
  std::string open(const std::string& saved = "");

  /// Has the conversation saved in `file` after each answer from here on, with the database that it is about.
  void saveIn(std::string file, DatabaseMark database = {}) {
    saveFile_ = std::move(file);
    database_ = std::move(database);
  }
  /// Whether that failed; the user was told.
  bool failedToSave() const { return failedToSave_; }

  /// What was sent since the beginning, to whichever service.
  const Ledger& ledger() const { return ledger_; }
  /// What goes along with the next question, over a database of `tables`, in words.
  Context describeNext(std::string tables) const;

  std::span<const ProviderProfile> providers() const override { return kProviderProfiles; }
  const ProviderProfile& provider() const override { return obtainProfile(line_.partner->provider()); }
  const std::string& model() const override { return setup_.model; }
  std::string moveTo(const ProviderProfile& profile, const std::string& model) override;
  std::pair<std::vector<std::string>, std::string> listModels() override { return line_.partner->listModels(); }
  std::string changeModel(const std::string& model) override;

  std::string startConversation() override;
  Answer ask(const Inquiry& inquiry) override;
  Answer askInPieces(const Inquiry& inquiry, const ShowPiece& show) override;
  ExitCode failureCode() const override { return line_.partner->failureCode(); }

  /// As with ChatPartner, for the one that is being asked; a move asks the one that it goes to.
  bool cancel() noexcept;
  void dropLateCancel() noexcept { line_.partner->dropLateCancel(); }
  void close() { line_.partner->close(); }

 private:
  struct Line {
    std::unique_ptr<standin::Server> standIn;  // null when the service is elsewhere
    std::unique_ptr<ChatPartner> partner;
  };

  Line connect(const Provider& provider);
  enum class Turns { Carried, Forgotten };
  std::string replaceLine(const Provider& provider, Setup setup, Turns turns);
  std::string makeReady(ChatPartner& next, Setup& setup, Turns turns);
  void setAsked(ChatPartner* partner);
  Answer saved(Answer answer);
  void save();

  Choose choose_;
  Setup setup_;
  std::ostream& err_;
  std::string saveFile_;  // empty: none
  DatabaseMark database_;
  bool failedToSave_ = false;
  Ledger ledger_;
  Line line_;
  std::mutex mutex_;  // guards asked_
  ChatPartner* asked_;
};
